"""Conversions both ways, through the Echo test object, which hands back the
VARIANT it receives (Echo) or reports the VARTYPEs it received (Args)."""
import datetime
import decimal

import pytest

import quillbox

M = quillbox.DISPATCH_METHOD


def vt_of(echo, value):
    return echo._invoke_("Echo", M, value).vt


@pytest.mark.parametrize("value, vt", [
    (None, quillbox.VT_EMPTY),
    (quillbox.Null, quillbox.VT_NULL),
    (True, quillbox.VT_BOOL),
    (7, quillbox.VT_I4),
    (-2**31, quillbox.VT_I4),
    (2**31, quillbox.VT_I8),
    (-2**63, quillbox.VT_I8),
    (1.5, quillbox.VT_R8),
    ("text", quillbox.VT_BSTR),
    (b"\x00\x01", quillbox.VT_ARRAY | quillbox.VT_UI1),
    (bytearray(b"ab"), quillbox.VT_ARRAY | quillbox.VT_UI1),
    (decimal.Decimal("1.5"), quillbox.VT_DECIMAL),
    (datetime.datetime(2024, 2, 29, 12, 30), quillbox.VT_DATE),
    ([1, "a"], quillbox.VT_ARRAY | quillbox.VT_VARIANT),
    ((1, 2), quillbox.VT_ARRAY | quillbox.VT_VARIANT),
])
def test_python_value_becomes_its_vartype(echo, value, vt):
    assert vt_of(echo, value) == vt


@pytest.mark.parametrize("value", [
    None, True, False, 0, 7, -7, 2**31 - 1, -2**31, 2**31, 2**63 - 1, -2**63, 0.1, -1e300, float("inf"),
    "", "text", "non-ASCII: \u00e9\u4e2d\U0001F600", b"", b"\x00\xffbytes", decimal.Decimal("0"),
    decimal.Decimal("-123.4567"), decimal.Decimal("79228162514264337593543950335"),
    decimal.Decimal("0.0000000000000000000000000001"), datetime.datetime(2024, 2, 29, 12, 30, 15),
    datetime.datetime(1899, 12, 30), datetime.datetime(1899, 12, 29, 6, 0), datetime.datetime(1, 1, 1),
    datetime.datetime(9999, 12, 31, 23, 59, 59), datetime.datetime(2001, 5, 6, 7, 8, 9, 250000),
])
def test_value_comes_back_equal(echo, value):
    back = echo.Echo(value)
    assert back == value
    assert type(back) is type(value)


def test_null_comes_back_as_null(echo):
    assert echo.Echo(quillbox.Null) is not None
    assert echo.Echo(quillbox.Null) == quillbox.Null


def test_bytearray_comes_back_as_bytes(echo):
    assert echo.Echo(bytearray(b"ab\x00")) == b"ab\x00"


def test_byte_array_has_lower_bound_zero_and_one_dimension(echo):
    raw = echo._invoke_("Echo", M, b"xyz")
    assert raw.vt == 0x2011
    assert raw.value == b"xyz"


def test_list_and_tuple_come_back_as_tuples_of_variants(echo):
    assert echo.Echo([1, "a", None, 2.5]) == (1, "a", None, 2.5)
    assert echo.Echo(((1, 2), [3])) == ((1, 2), (3,))


def test_integer_beyond_64_bits_raises_overflow(echo):
    with pytest.raises(OverflowError):
        echo.Echo(2**64)


def test_decimal_beyond_96_bits_raises_overflow(echo):
    with pytest.raises(OverflowError):
        echo.Echo(decimal.Decimal(2**96))


def test_decimal_finer_than_28_places_is_rounded(echo):
    assert echo.Echo(decimal.Decimal("0.12345678901234567890123456789")) == \
        decimal.Decimal("0.1234567890123456789012345679")


def test_unconvertible_value_raises_type_error(echo):
    with pytest.raises(TypeError):
        echo.Echo(object())


@pytest.mark.parametrize("vt, value, expected", [
    (quillbox.VT_BOOL, 1, True),
    (quillbox.VT_I2, 300, 300),
    (quillbox.VT_UI1, 255, 255),
    (quillbox.VT_I1, -5, -5),
    (quillbox.VT_UI2, 65535, 65535),
    (quillbox.VT_UI4, 2**32 - 1, 2**32 - 1),
    (quillbox.VT_UI8, 2**40, 2**40),
    (quillbox.VT_I8, 5, 5),
    (quillbox.VT_R4, 0.5, 0.5),
    (quillbox.VT_BSTR, 12, "12"),
    (quillbox.VT_CY, decimal.Decimal("12.3456"), decimal.Decimal("12.3456")),
    (quillbox.VT_DECIMAL, 3, decimal.Decimal(3)),
    (quillbox.VT_ERROR, 0x80020004, 0x80020004),
])
def test_typed_variant_passes_its_exact_type(echo, vt, value, expected):
    raw = echo._invoke_("Echo", M, quillbox.Variant(vt, value))
    assert raw.vt == vt
    assert raw.value == expected
    assert type(raw.value) is type(expected)


def test_currency_comes_back_as_decimal(echo):
    value = echo.Echo(quillbox.Variant(quillbox.VT_CY, decimal.Decimal("-12345678901.2345")))
    assert value == decimal.Decimal("-12345678901.2345")
    assert isinstance(value, decimal.Decimal)


def test_typed_array_holds_its_element_type(echo):
    raw = echo._invoke_("Echo", M, quillbox.Variant(quillbox.VT_ARRAY | quillbox.VT_I4, [1, 2, 3]))
    assert raw.vt == quillbox.VT_ARRAY | quillbox.VT_I4
    assert raw.value == (1, 2, 3)


def test_typed_string_array_comes_back_as_tuple(echo):
    assert echo.Echo(quillbox.Variant(quillbox.VT_ARRAY | quillbox.VT_BSTR, ["a", "b"])) == ("a", "b")


def test_typed_value_that_does_not_fit_raises_com_error(echo):
    with pytest.raises(quillbox.ComError) as caught:
        echo.Echo(quillbox.Variant(quillbox.VT_UI1, 256))
    assert caught.value.hresult == 0x8002000A  # DISP_E_OVERFLOW


def test_object_goes_and_comes_back_as_the_same_object(echo):
    other = quillbox.CreateObject("Quillbox.StructuredStorage")
    back = echo.Echo(other)
    assert isinstance(back, quillbox.Dispatch)
    assert back == other


def test_object_round_trip_through_raw_invoke_is_vt_dispatch(echo):
    other = quillbox.CreateObject("Quillbox.StructuredStorage")
    raw = echo._invoke_("Echo", M, other)
    assert raw.vt == quillbox.VT_DISPATCH
    assert raw.value == other


def test_typed_null_object_is_vt_dispatch_without_object(echo):
    raw = echo._invoke_("Echo", M, quillbox.Variant(quillbox.VT_DISPATCH, None))
    assert raw.vt == quillbox.VT_DISPATCH
    assert raw.value is None


def test_variant_has_vt_and_value():
    v = quillbox.Variant(quillbox.VT_BOOL, 1)
    assert (v.vt, v.value) == (quillbox.VT_BOOL, 1)


def test_vt_constants_have_their_windows_values():
    assert (quillbox.VT_EMPTY, quillbox.VT_I4, quillbox.VT_BSTR, quillbox.VT_BOOL, quillbox.VT_VARIANT,
            quillbox.VT_DECIMAL, quillbox.VT_UI1, quillbox.VT_ARRAY, quillbox.VT_BYREF) == \
        (0, 3, 8, 11, 12, 14, 17, 0x2000, 0x4000)
