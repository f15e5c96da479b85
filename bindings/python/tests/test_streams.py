"""Stream objects as a scripting client uses them: memory streams, streams
of documents (kept across close and reopen, read back with olefile) and
streams of read-only documents."""
import datetime
import decimal
import struct

import pytest

import quillbox
from stream_helpers import READ_ONLY_OBJECT, STG_E_ACCESSDENIED, contents, write_document
from tree_helpers import closed, failure_of, file_is_held, open_ole


# -- Memory streams -------------------------------------------------------

def test_memory_stream_has_no_name_and_cannot_be_renamed(memory):
    assert memory.Name == ""
    error = failure_of(lambda: setattr(memory, "Name", "named"))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, "Impossible to rename this object by this way.")
    assert error.source == "Quillbox.Stream.1"
    assert error.iid == "{8A7D064D-6242-11D4-9F08-400004053024}"


def test_memory_streams_are_separate(storage):
    first = storage.CreateMemoryStream()
    second = storage.CreateMemoryStream()
    first.WriteLong(1)
    assert second.Size == 0


# -- Streams of documents -------------------------------------------------

def test_stream_added_to_a_document_is_empty_and_named(storage, path):
    stream = storage.CreateDocument(str(path)).RootStorage.Streams.Add("data")
    assert (stream.Name, stream.Size) == ("data", 0)


def test_streams_persist_across_close_and_reopen(storage, path):
    small = bytes(range(256)) * 3
    large = bytes(i * 13 % 256 for i in range(10000))
    root = storage.CreateDocument(str(path)).RootStorage
    first = root.Streams.Add("record")
    first.Write(7)
    first.WriteString("AB")
    first.WriteDouble(0.5)
    root.Streams.Add("small").WriteBytes(small)
    root.Storages.Add("folder").Streams.Add("large").WriteBytes(large)
    root.Streams.Add("empty")
    del root, first
    assert closed(storage, path)

    expected = {
        "record": bytes.fromhex("03 00 07 00 00 00 02 00 00 00 41 00 42 00") + struct.pack("<d", 0.5),
        "small": small,
        "folder/large": large,
        "empty": b"",
    }
    reopened = storage.OpenDocument(str(path), True).RootStorage
    assert reopened.Streams.Count == 3
    for name, data in expected.items():
        at = reopened
        *folders, leaf = name.split("/")
        for folder in folders:
            at = at.Storages.Item(folder)
        assert contents(at.Streams.Item(leaf)) == data
    record = reopened.Streams.Item("record")
    record.Seek(0)
    assert (record.Read(), record.ReadString(), record.ReadDouble()) == (7, "AB", 0.5)
    del reopened, at, record
    assert closed(storage, path)
    with open_ole(path) as ole:
        for name, data in expected.items():
            assert ole.openstream(name).read() == data


def test_changes_to_a_reopened_stream_persist(storage, path):
    write_document(storage, path, {"data": b"0123456789"})
    stream = storage.OpenDocument(str(path)).RootStorage.Streams.Item("data")
    stream.Seek(4)
    stream.WriteBytes(b"ab")
    stream.Size = 8
    del stream
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.openstream("data").read() == b"0123ab67"


def test_renaming_a_held_stream_keeps_it_working(storage, path):
    streams = storage.CreateDocument(str(path)).RootStorage.Streams
    stream = streams.Add("data")
    stream.WriteLong(1)
    stream.Name = "renamed"
    assert stream.Name == "renamed"
    stream.Seek(0, 2)
    stream.WriteLong(2)
    assert streams.Item("renamed") == stream
    assert [s.Name for s in streams] == ["renamed"]
    del streams, stream
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.listdir() == [["renamed"]]
        assert ole.openstream("renamed").read() == struct.pack("<ii", 1, 2)


def test_renaming_a_held_stream_keeps_its_position(storage, path):
    # The rename closes and reopens the element underneath; the client
    # does not see that.
    stream = storage.CreateDocument(str(path)).RootStorage.Streams.Add("data")
    stream.WriteBytes(b"abcdef")
    stream.Seek(4)
    stream.Name = "renamed"
    assert stream.Seek(0, 1) == 4
    assert stream.ReadByte() == ord("e")


def test_renaming_a_stream_of_a_storage_kept_open_by_its_child(storage, path):
    root = storage.CreateDocument(str(path)).RootStorage
    folder = root.Storages.Add("folder")
    stream = folder.Streams.Add("data")
    stream.WriteBytes(b"abc")
    folder.Name = "moved"
    assert contents(stream) == b"abc"
    stream.WriteBytes(b"d")
    del root, folder, stream
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.openstream("moved/data").read() == b"abcd"


def test_a_stream_alone_keeps_its_document_open(storage, path):
    stream = storage.CreateDocument(str(path)).RootStorage.Storages.Add("folder").Streams.Add("data")
    assert file_is_held(storage, path)
    stream.WriteBytes(b"kept")
    del stream
    assert closed(storage, path)
    with open_ole(path) as ole:
        assert ole.openstream("folder/data").read() == b"kept"


# -- Read-only documents --------------------------------------------------

CHANGING_MEMBERS = [
    ("Write", lambda s: s.Write(1)),
    ("WriteBytes", lambda s: s.WriteBytes(b"xx")),
    ("Size", lambda s: setattr(s, "Size", 2)),
    ("Name", lambda s: setattr(s, "Name", "renamed")),
    ("WriteLong", lambda s: s.WriteLong(1)),
    ("WriteInteger", lambda s: s.WriteInteger(1)),
    ("WriteBoolean", lambda s: s.WriteBoolean(True)),
    ("WriteSingle", lambda s: s.WriteSingle(1.0)),
    ("WriteDouble", lambda s: s.WriteDouble(1.0)),
    ("WriteCurrency", lambda s: s.WriteCurrency(decimal.Decimal(1))),
    ("WriteDecimal", lambda s: s.WriteDecimal(decimal.Decimal(1))),
    ("WriteDate", lambda s: s.WriteDate(datetime.datetime(2000, 1, 1))),
    ("WriteByte", lambda s: s.WriteByte(1)),
    ("WriteString", lambda s: s.WriteString("AB")),
    ("WriteString-code-page", lambda s: s.WriteString("AB", 0)),
    ("WriteString-empty-terminated", lambda s: s.WriteString("", 1200, 1)),
]


@pytest.fixture
def read_only_stream(storage, path):
    write_document(storage, path, {"data": b"0123456789"})
    return storage.OpenDocument(str(path), True).RootStorage.Streams.Item("data")


@pytest.mark.parametrize("name, change", CHANGING_MEMBERS, ids=[m[0] for m in CHANGING_MEMBERS])
def test_read_only_stream_refuses_every_change(read_only_stream, name, change):
    read_only_stream.Seek(3)
    error = failure_of(lambda: change(read_only_stream))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, READ_ONLY_OBJECT)
    assert read_only_stream.Seek(0, 1) == 3
    assert read_only_stream.Name == "data"
    assert contents(read_only_stream) == b"0123456789"


@pytest.mark.parametrize("args, description", [
    (("AB", 0, 1), READ_ONLY_OBJECT),        # the terminator's WriteByte refuses
    (("AB", 1200, 1), "Access is denied."),  # the platform refuses the text
    (("AB", 1200, 2, 2), "Access is denied."),
    (("AB", 0, 2, 4), "Access is denied."),
])
def test_read_only_stream_refuses_strings_where_the_write_is_made(read_only_stream, args, description):
    error = failure_of(lambda: read_only_stream.WriteString(*args))
    assert (error.hresult, error.description) == (STG_E_ACCESSDENIED, description)
    assert contents(read_only_stream) == b"0123456789"


def test_read_only_stream_can_be_read(read_only_stream):
    assert read_only_stream.ReadByte() == ord("0")
    assert read_only_stream.ReadBytes(3) == (b"123", 3)
    assert read_only_stream.ReadLong() == struct.unpack("<i", b"4567")[0]


def test_read_only_stream_refusals_leave_the_file_unchanged(storage, path):
    write_document(storage, path, {"data": b"0123456789"})
    before = path.read_bytes()
    stream = storage.OpenDocument(str(path), True).RootStorage.Streams.Item("data")
    for _, change in CHANGING_MEMBERS:
        failure_of(lambda: change(stream))
    del stream
    assert closed(storage, path)
    assert path.read_bytes() == before
