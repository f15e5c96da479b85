"""Stream objects as a scripting client uses them: variant records (Write,
Read), raw bytes, the position, bare scalars and framed strings, in memory
and in documents (read-only ones included), checked byte for byte; the
bytes of a document are also read back with olefile."""
import datetime
import decimal
import struct

import pytest

import quillbox
from tree_helpers import closed, failure_of, file_is_held, open_ole

M = quillbox.DISPATCH_METHOD
DISP_E_OVERFLOW = 0x8002000A
STG_E_INVALIDFUNCTION = 0x80030001
STG_E_ACCESSDENIED = 0x80030005
STG_E_INSUFFICIENTMEMORY = 0x80030008
STG_E_INVALIDPARAMETER = 0x80030057
ERROR_NO_UNICODE_TRANSLATION = 0x80070459

INVALID_PARAMETER = "Invalid parameter."
READ_ERROR = "Error while reading the Stream."
READ_ONLY_OBJECT = "Impossible action with a read only object."
NOT_A_BYTE_ARRAY = "The first argument must be a one dimensional bytes array."
TRANSLATION_FAILED = "A failed attempt was made to translate a Unicode string to or from ANSI. \n"
EMBEDDED_ZERO_CODE_PAGE = "Cannot change CodePage for a string that contain embedded null characters."
EMBEDDED_ZERO_TERMINATED = "Can't use null terminated storage for a string that contain embedded null characters."
UNKNOWN_CODE_PAGE = "Code page not found or not supported."

EPOCH = datetime.datetime(1899, 12, 30)


def contents(stream):
    """Every byte of the stream (the position moves to the end)."""
    size = stream.Size
    if size == 0:
        return b""
    stream.Seek(0)
    data, count = stream.ReadBytes(size)
    assert count == size
    return data


def date_bytes(moment):
    """An automation date: binary64 days since 30 December 1899."""
    return struct.pack("<d", (moment - EPOCH).total_seconds() / 86400.0)


def text_record(tag, text):
    """A string record: tag, byte count (text and terminator), UTF-16 text, terminator."""
    body = text.encode("utf-16-le") + b"\0\0"
    return struct.pack("<HI", tag, len(body)) + body


@pytest.fixture
def memory(storage):
    return storage.CreateMemoryStream()


@pytest.fixture
def path(tmp_path):
    return tmp_path / "streams.doc"


def write_document(storage, path, streams):
    """A document whose streams (slash-separated paths) hold the given
    bytes, written through the library and closed again."""
    root = storage.CreateDocument(str(path)).RootStorage
    for name, data in streams.items():
        at = root
        *folders, leaf = name.split("/")
        for folder in folders:
            at = at.Storages.Item(folder) if folder in [s.Name for s in at.Storages] else at.Storages.Add(folder)
        if data:
            assert at.Streams.Add(leaf).WriteBytes(data) == len(data)
        else:
            at.Streams.Add(leaf)
    del root, at
    assert closed(storage, path)


# -- Write and Read: variant records --------------------------------------

def test_write_of_a_long_gives_its_tag_and_four_bytes(memory):
    assert memory.Write(7) == 6
    assert contents(memory) == bytes.fromhex("03 00 07 00 00 00")


def test_write_of_empty_is_a_string_record_of_nothing(memory):
    assert memory.Write(None) == 8
    assert contents(memory) == bytes.fromhex("00 00 02 00 00 00 00 00")
    memory.Seek(0)
    assert memory.Read() is None


def test_write_of_a_string_gives_its_count_text_and_terminator(memory):
    assert memory.Write("ab") == 12
    assert contents(memory) == bytes.fromhex("08 00 06 00 00 00 61 00 62 00 00 00")


def test_write_of_null_succeeds_with_the_tag_alone(memory):
    assert memory.Write(quillbox.Null) == 2
    assert contents(memory) == bytes.fromhex("01 00")
    memory.Seek(0)
    assert memory.Read() == quillbox.Null


def test_write_of_an_empty_object_gives_a_null_class_id(memory):
    assert memory.Write(quillbox.Variant(quillbox.VT_DISPATCH, None)) == 18
    assert contents(memory) == bytes.fromhex("09 00") + bytes(16)


def test_write_of_an_object_that_cannot_save_itself_gives_the_tag_alone(memory, storage):
    assert memory.Write(storage) == 2
    assert contents(memory) == bytes.fromhex("09 00")


ROUND_TRIPS = [
    # (value written, its record, the value read, its type)
    (-123456, struct.pack("<Hi", 3, -123456), -123456, quillbox.VT_I4),
    (2.5, struct.pack("<Hd", 5, 2.5), 2.5, quillbox.VT_R8),
    ("text", text_record(8, "text"), "text", quillbox.VT_BSTR),
    ("", text_record(8, ""), "", quillbox.VT_BSTR),
    (datetime.datetime(2024, 2, 29, 13, 45, 30), b"\x07\x00" + date_bytes(datetime.datetime(2024, 2, 29, 13, 45, 30)),
     datetime.datetime(2024, 2, 29, 13, 45, 30), quillbox.VT_DATE),
    (True, bytes.fromhex("0B 00 FF FF"), True, quillbox.VT_BOOL),
    (False, bytes.fromhex("0B 00 00 00"), False, quillbox.VT_BOOL),
    (None, bytes.fromhex("00 00 02 00 00 00 00 00"), None, quillbox.VT_EMPTY),
    (quillbox.Variant(quillbox.VT_CY, decimal.Decimal("12.3456")), struct.pack("<Hq", 6, 123456),
     decimal.Decimal("12.3456"), quillbox.VT_CY),
    (quillbox.Variant(quillbox.VT_I2, -5), struct.pack("<Hh", 2, -5), -5, quillbox.VT_I2),
    (quillbox.Variant(quillbox.VT_UI1, 200), struct.pack("<HB", 17, 200), 200, quillbox.VT_UI1),
    (quillbox.Variant(quillbox.VT_R4, 1.5), struct.pack("<Hf", 4, 1.5), 1.5, quillbox.VT_R4),
    (quillbox.Variant(quillbox.VT_ERROR, 0x80004005), struct.pack("<HI", 10, 0x80004005), 0x80004005,
     quillbox.VT_ERROR),
    (2 ** 40, text_record(20, str(2 ** 40)), 2 ** 40, quillbox.VT_I8),
    (decimal.Decimal("1.5"), text_record(14, "1.5"), decimal.Decimal("1.5"), quillbox.VT_DECIMAL),
]


@pytest.mark.parametrize("value, record, expected, vt", ROUND_TRIPS,
                         ids=[f"{vt}-{i}" for i, (_, _, _, vt) in enumerate(ROUND_TRIPS)])
def test_write_then_read_round_trips(memory, value, record, expected, vt):
    assert memory.Write(value) == len(record)
    assert contents(memory) == record
    memory.Seek(0)
    read = memory._invoke_("Read", M)
    assert (read.vt, read.value) == (vt, expected)
    assert memory.Seek(0, quillbox.constants.ssSeekCurrent) == len(record)


def test_records_follow_one_another(memory):
    for value in (1, "two", 3.0, None, True):
        memory.Write(value)
    memory.Seek(0)
    assert [memory.Read() for _ in range(5)] == [1, "two", 3.0, None, True]


def test_read_at_the_end_fails(memory):
    memory.Write(1)
    with pytest.raises(quillbox.ComError):
        memory.Read()


# -- Position and size ----------------------------------------------------

def test_seek_to_the_end_returns_the_size(memory):
    memory.WriteBytes(bytes(range(10)))
    assert memory.Seek(0, 2) == 10
    assert memory.Seek(0, quillbox.constants.ssSeekEnd) == memory.Size


def test_seek_origin_defaults_to_the_beginning(memory):
    memory.WriteBytes(bytes(range(10)))
    assert memory.Seek(3) == 3
    assert memory.ReadByte() == 3


def test_seek_origin_may_be_named(memory):
    memory.WriteBytes(bytes(range(10)))
    assert memory.Seek(0, seekpos=2) == 10


def test_seek_back_from_the_current_position_moves_four_gigabytes_on(storage, path):
    # Python's -4 arrives as the LONG -4; the displacement is not
    # sign-extended, so the position becomes 10 + 4294967292, whose low 32
    # bits are 6. Reading there finds the end, not the byte at 6.
    stream = storage.CreateDocument(str(path)).RootStorage.Streams.Add("data")
    stream.WriteBytes(bytes(range(10)))
    assert stream.Seek(10) == 10
    assert stream.Seek(-4, 1) == 6
    error = failure_of(stream.ReadByte)
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, READ_ERROR)
    assert stream.Size == 10
    assert stream.Seek(6) == 6
    assert stream.ReadByte() == 6


def test_seek_of_a_memory_stream_past_what_memory_holds_is_refused(memory):
    memory.WriteBytes(bytes(range(10)))
    error = failure_of(lambda: memory.Seek(-4, 1))
    assert (error.hresult, error.description) == (STG_E_INVALIDFUNCTION, INVALID_PARAMETER)
    assert memory.Seek(0, 1) == 10


def test_seek_by_more_than_a_long_overflows_in_the_call(memory):
    error = failure_of(lambda: memory.Seek(0xFFFFFFFC, 1))
    assert error.hresult == DISP_E_OVERFLOW


def test_seek_with_an_unknown_origin_is_an_invalid_parameter(memory):
    error = failure_of(lambda: memory.Seek(0, 3))
    assert (error.hresult, error.description) == (STG_E_INVALIDFUNCTION, INVALID_PARAMETER)


def test_size_put_truncates_and_leaves_the_position(memory):
    memory.WriteBytes(b"abcdef")
    memory.Seek(2)
    memory.Size = 3
    assert memory.Size == 3
    assert memory.Seek(0, 1) == 2
    assert contents(memory) == b"abc"


def test_size_put_extends_with_zeros(memory):
    memory.WriteBytes(b"ab")
    memory.Size = 5
    assert contents(memory) == b"ab\0\0\0"


# -- ReadBytes and WriteBytes ---------------------------------------------

def test_read_bytes_past_the_end_is_zero_filled_and_keeps_its_count(memory):
    memory.WriteBytes(b"\x01\x02\x03\x04\x05\x06")
    memory.Seek(2)
    data, count = memory.ReadBytes(10)
    # The library's array has lower bound 1; the binding hands any
    # one-dimensional byte array over as bytes, indexed from 0.
    assert data == b"\x03\x04\x05\x06" + bytes(6)
    assert count == 10


def test_read_bytes_answers_a_byte_array(memory):
    memory.WriteBytes(b"xyz")
    memory.Seek(0)
    dispid = memory._oleobj_.ids(["ReadBytes"])[0]
    result, outs, _ = memory._oleobj_.invoke(dispid, M, (3,), byref_args=[0], raw=True)
    assert (result.vt, result.value) == (quillbox.VT_ARRAY | quillbox.VT_UI1, b"xyz")
    assert outs == [3]


def test_read_bytes_count_may_be_named(memory):
    memory.WriteBytes(b"xyz")
    memory.Seek(0)
    assert memory.ReadBytes(NbBytes=2) == (b"xy", 2)


@pytest.mark.parametrize("count", [0, -1])
def test_read_bytes_of_no_bytes_is_an_invalid_parameter(memory, count):
    error = failure_of(lambda: memory.ReadBytes(count))
    assert (error.hresult, error.description) == (STG_E_INVALIDPARAMETER, INVALID_PARAMETER)


@pytest.mark.parametrize("data", [b"\x00\x01\xfe\xff", bytearray(b"\x00\x01\xfe\xff"),
                                  quillbox.Variant(quillbox.VT_ARRAY | quillbox.VT_UI1, [0, 1, 254, 255])])
def test_write_bytes_writes_a_byte_array(memory, data):
    assert memory.WriteBytes(data) == 4
    assert contents(memory) == b"\x00\x01\xfe\xff"


def test_write_bytes_of_an_empty_array_writes_nothing(memory):
    assert memory.WriteBytes(b"") == 0
    assert memory.Size == 0


@pytest.mark.parametrize("data", [[0, 1, 2], "text", 5, quillbox.Variant(quillbox.VT_ARRAY | quillbox.VT_I4, [1])])
def test_write_bytes_of_anything_else_is_refused(memory, data):
    error = failure_of(lambda: memory.WriteBytes(data))
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, NOT_A_BYTE_ARRAY)
    assert memory.Size == 0


def test_write_bytes_then_read_bytes_of_a_large_block(memory):
    data = bytes(i * 7 % 251 for i in range(70000))
    assert memory.WriteBytes(data) == len(data)
    assert contents(memory) == data


# -- Scalars --------------------------------------------------------------

def test_long_one_read_as_a_single_is_the_smallest_denormal(memory):
    memory.WriteLong(1)
    memory.Seek(0)
    assert memory.ReadSingle() == struct.unpack("<f", b"\x01\x00\x00\x00")[0]


def test_boolean_true_is_two_bytes_of_ones(memory):
    memory.WriteBoolean(True)
    assert contents(memory) == b"\xff\xff"
    memory.Seek(0)
    assert memory.ReadInteger() == -1


def test_integer_minus_one_is_the_same_two_bytes(memory):
    memory.WriteInteger(-1)
    assert contents(memory) == b"\xff\xff"
    memory.Seek(0)
    assert memory.ReadBoolean() is True


def test_boolean_read_from_bytes_one_and_zero_is_true(memory):
    # The stored 01 00 comes back as it is; the binding turns any non-zero
    # VT_BOOL into True.
    memory.WriteByte(1)
    memory.WriteByte(0)
    memory.Seek(0)
    raw = memory._invoke_("ReadBoolean", M)
    assert (raw.vt, raw.value) == (quillbox.VT_BOOL, True)


SCALARS = [
    ("Byte", 255, b"\xff", 255),
    ("Integer", -2, struct.pack("<h", -2), -2),
    ("Boolean", False, b"\0\0", False),
    ("Long", -5, struct.pack("<i", -5), -5),
    ("Single", 1.5, struct.pack("<f", 1.5), 1.5),
    ("Double", 2.25, struct.pack("<d", 2.25), 2.25),
    ("Currency", decimal.Decimal("-12.3456"), struct.pack("<q", -123456), decimal.Decimal("-12.3456")),
    ("Date", datetime.datetime(1999, 12, 31, 23, 59, 59), date_bytes(datetime.datetime(1999, 12, 31, 23, 59, 59)),
     datetime.datetime(1999, 12, 31, 23, 59, 59)),
]


@pytest.mark.parametrize("kind, value, image, expected", SCALARS, ids=[s[0] for s in SCALARS])
def test_scalar_is_written_as_its_bare_image_and_read_back(memory, kind, value, image, expected):
    getattr(memory, "Write" + kind)(value)
    assert contents(memory) == image
    memory.Seek(0)
    assert getattr(memory, "Read" + kind)() == expected


def test_decimal_is_written_as_its_sixteen_byte_image(memory):
    memory.WriteDecimal(decimal.Decimal("1.5"))
    image = contents(memory)
    # The two reserved bytes are whatever the call left in the argument.
    assert image[2:] == bytes([1, 0]) + struct.pack("<IQ", 0, 15)
    memory.Seek(0)
    assert memory.ReadDecimal() == decimal.Decimal("1.5")


def test_negative_decimal_keeps_its_sign_and_magnitude(memory):
    value = decimal.Decimal("-79228162514264337593543950335")
    memory.WriteDecimal(value)
    image = contents(memory)
    assert image[2:] == bytes([0, 0x80]) + struct.pack("<IQ", 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF)
    memory.Seek(0)
    assert memory.ReadDecimal() == value


def test_scalars_follow_one_another_without_tags(memory):
    memory.WriteLong(1)
    memory.WriteDouble(2.0)
    assert memory.Size == 12
    memory.Seek(0)
    assert (memory.ReadLong(), memory.ReadDouble()) == (1, 2.0)


def test_read_long_at_the_end_fails_and_moves_to_the_end(memory):
    memory.WriteBytes(b"abc")
    memory.Seek(0)
    error = failure_of(memory.ReadLong)
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, READ_ERROR)
    assert memory.Seek(0, 1) == 3


def test_read_byte_at_the_end_fails(memory):
    error = failure_of(memory.ReadByte)
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, READ_ERROR)


def test_byte_out_of_range_overflows_in_the_call(memory):
    error = failure_of(lambda: memory.WriteByte(256))
    assert error.hresult == DISP_E_OVERFLOW
    assert memory.Size == 0


# -- Strings --------------------------------------------------------------

def string_bytes(memory, text, *args, **kwargs):
    memory.Size = 0
    memory.Seek(0)
    memory.WriteString(text, *args, **kwargs)
    return contents(memory)


def read_string(memory, *args, **kwargs):
    memory.Seek(0)
    return memory.ReadString(*args, **kwargs)


def test_string_with_defaults_is_length_first_utf16(memory):
    assert string_bytes(memory, "AB") == bytes.fromhex("02 00 00 00 41 00 42 00")
    assert read_string(memory) == "AB"


@pytest.mark.parametrize("text, args, image", [
    ("AB", (0,), "02 00 00 00 41 42"),
    ("", (0,), "00 00 00 00"),
    ("", (), "00 00 00 00"),
    ("AB", (1200, 1), "41 00 42 00 00 00"),
    ("AB", (0, 1), "41 42 00"),
    ("", (1200, 1), "00 00"),
    ("", (0, 1), "00"),
    ("ABC", (1200, 2, 5), "41 00 42 00 43 00 00 00 00 00"),
    ("ABCDEF", (0, 2, 3), "41 42 43"),
    ("ABC", (0, 2, 5), "41 42 43 00 00"),
])
def test_string_framings_and_encodings(memory, text, args, image):
    assert string_bytes(memory, text, *args) == bytes.fromhex(image)


@pytest.mark.parametrize("text, args, expected", [
    ("AB", (0,), "AB"),
    ("AB", (1200, 1), "AB"),
    ("AB", (0, 1), "AB"),
    ("ABC", (1200, 2, 5), "ABC"),
    ("ABCDEF", (0, 2, 3), "ABC"),
    ("ABC", (0, 2, 5), "ABC"),
    ("", (0,), ""),
    ("", (1200, 1), ""),
])
def test_string_read_back_with_the_same_settings(memory, text, args, expected):
    string_bytes(memory, text, *args)
    assert read_string(memory, *args) == expected
    assert memory.Seek(0, 1) == memory.Size


def test_string_settings_may_be_named(memory):
    image = string_bytes(memory, "ABC", StringType=2, NbChar=4, CharacterType=0)
    assert image == bytes.fromhex("41 42 43 00")
    assert read_string(memory, NbChar=4, StringType=2, CharacterType=0) == "ABC"


def test_string_with_a_specific_code_page(memory):
    assert string_bytes(memory, "AB", 3, 0, 0, 1252) == bytes.fromhex("02 00 00 00 41 42")
    assert read_string(memory, 3, CodePage=1252) == "AB"


@pytest.mark.parametrize("framing, nb_char", [(0, 0), (1, 0), (2, 6)])
def test_string_in_windows_1252(memory, framing, nb_char):
    text = "café €"
    encoded = text.encode("cp1252")
    image = string_bytes(memory, text, 1252, framing, nb_char)
    expected = {0: struct.pack("<i", len(encoded)) + encoded, 1: encoded + b"\0", 2: encoded}[framing]
    assert image == expected
    assert read_string(memory, 1252, framing, nb_char) == text


@pytest.mark.parametrize("framing, nb_char", [(0, 0), (1, 0), (2, 3)])
def test_string_in_shift_jis_with_double_byte_characters(memory, framing, nb_char):
    text = "日本a"
    encoded = text.encode("cp932")
    image = string_bytes(memory, text, 932, framing, nb_char)
    expected = {0: struct.pack("<i", len(encoded)) + encoded, 1: encoded + b"\0", 2: encoded}[framing]
    assert image == expected
    assert read_string(memory, 932, framing, nb_char) == text


def test_fixed_length_code_page_padding_counts_characters_not_bytes(memory):
    # Two characters of two bytes each, padded by one unit to three.
    image = string_bytes(memory, "日本", 932, 2, 3)
    assert image == "日本".encode("cp932") + b"\0"
    assert read_string(memory, 932, 2, 3) == "日本"


def test_fixed_length_of_zero_writes_nothing(memory):
    assert string_bytes(memory, "ABC", 1200, 2, 0) == b""


def test_fixed_length_empty_text_in_a_code_page_fails_to_translate(memory):
    error = failure_of(lambda: memory.WriteString("", 0, 2, 4))
    assert (error.hresult, error.description) == (ERROR_NO_UNICODE_TRANSLATION, TRANSLATION_FAILED)


def test_embedded_zero_with_zero_termination_is_refused(memory):
    error = failure_of(lambda: memory.WriteString("A\0B", 1200, 1))
    assert (error.hresult, error.description) == (ERROR_NO_UNICODE_TRANSLATION, EMBEDDED_ZERO_TERMINATED)
    assert memory.Size == 0


def test_embedded_zero_in_a_code_page_is_refused(memory):
    error = failure_of(lambda: memory.WriteString("A\0B", 0))
    assert (error.hresult, error.description) == (ERROR_NO_UNICODE_TRANSLATION, EMBEDDED_ZERO_CODE_PAGE)
    assert memory.Size == 0


def test_embedded_zero_in_utf16_length_first_round_trips(memory):
    assert string_bytes(memory, "A\0B") == bytes.fromhex("03 00 00 00 41 00 00 00 42 00")
    assert read_string(memory) == "A\0B"


@pytest.mark.parametrize("member", ["WriteString", "ReadString"])
def test_unknown_code_page_is_refused_before_anything_moves(memory, member):
    memory.WriteBytes(b"\x02\x00\x00\x00AB")
    memory.Seek(1)
    args = ("AB", 3, 0, 0, 12345) if member == "WriteString" else (3, 0, 0, 12345)
    error = failure_of(lambda: getattr(memory, member)(*args))
    assert (error.hresult, error.description) == (STG_E_INVALIDPARAMETER, UNKNOWN_CODE_PAGE)
    assert memory.Seek(0, 1) == 1
    assert contents(memory) == b"\x02\x00\x00\x00AB"


def test_unknown_framing_on_write_is_an_invalid_parameter(memory):
    error = failure_of(lambda: memory.WriteString("AB", 1200, 3))
    assert (error.hresult, error.description) == (STG_E_INVALIDPARAMETER, INVALID_PARAMETER)


def test_unknown_framing_on_read_succeeds_without_a_string(memory):
    memory.WriteBytes(b"AB")
    memory.Seek(0)
    raw = memory._invoke_("ReadString", M, 1200, 7)
    assert raw.vt == quillbox.VT_BSTR
    assert raw.value == ""  # no string: the binding reads a null BSTR as ""
    assert memory.Seek(0, 1) == 0


def test_zero_terminated_read_without_terminator_fails(memory):
    memory.WriteBytes(b"A\x00B\x00")
    error = failure_of(lambda: read_string(memory, 1200, 1))
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, READ_ERROR)


def test_fixed_length_utf16_read_stops_at_the_first_zero(memory):
    memory.WriteBytes(bytes.fromhex("41 00 00 00 42 00 00 00"))
    assert read_string(memory, 1200, 2, 4) == "A"
    assert memory.Seek(0, 1) == 8


def test_length_first_read_at_the_end_fails(memory):
    error = failure_of(memory.ReadString)
    assert (error.hresult, error.description) == (STG_E_INSUFFICIENTMEMORY, READ_ERROR)


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
