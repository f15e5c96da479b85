"""Stream objects as a scripting client uses them: variant records (Write,
Read), the position and size, and raw bytes, checked byte for byte."""
import datetime
import decimal
import struct

import pytest

import quillbox
from stream_helpers import (
    DISP_E_OVERFLOW,
    INVALID_PARAMETER,
    M,
    NOT_A_BYTE_ARRAY,
    READ_ERROR,
    STG_E_INSUFFICIENTMEMORY,
    STG_E_INVALIDFUNCTION,
    STG_E_INVALIDPARAMETER,
    contents,
    date_bytes,
    text_record,
)
from tree_helpers import failure_of


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
