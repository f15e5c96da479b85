"""Stream objects as a scripting client uses them: bare scalars and framed
strings in every encoding, checked byte for byte."""
import datetime
import decimal
import struct

import pytest

import quillbox
from stream_helpers import (
    DISP_E_OVERFLOW,
    EMBEDDED_ZERO_CODE_PAGE,
    EMBEDDED_ZERO_TERMINATED,
    ERROR_NO_UNICODE_TRANSLATION,
    INVALID_PARAMETER,
    M,
    READ_ERROR,
    STG_E_INSUFFICIENTMEMORY,
    STG_E_INVALIDPARAMETER,
    TRANSLATION_FAILED,
    UNKNOWN_CODE_PAGE,
    contents,
    date_bytes,
)
from tree_helpers import failure_of


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
