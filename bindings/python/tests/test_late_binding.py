"""Attribute syntax through the Echo test object (no type information):
get/put/putref, the default member, named and missing arguments, _NewEnum,
by-reference outputs and errors."""
import pytest

import quillbox

M = quillbox.DISPATCH_METHOD
VT_I4, VT_BSTR, VT_ERROR = 3, 8, 10
DISP_E_PARAMNOTFOUND = 0x80020004


def test_property_put_then_get(echo):
    echo.Value = "stored"
    assert echo.Value == "stored"
    assert echo.LastPut == "put"


def test_assigning_an_object_uses_putref(echo):
    other = quillbox.CreateObject("Quillbox.StructuredStorage")
    echo.Value = other
    assert echo.LastPut == "putref"
    assert echo.Value == other


def test_assigning_a_plain_value_uses_put(echo):
    echo.Value = 5
    assert echo.LastPut == "put"


def test_call_and_index_use_the_default_member(echo):
    echo.Add("zero")
    echo.Add("one")
    assert echo(1) == "one"
    assert echo[0] == "zero"


def test_index_assignment_puts_the_default_member(echo):
    echo.Add("zero")
    echo[0] = "changed"
    assert echo[0] == "changed"


def test_positional_arguments_arrive_in_order(echo):
    assert echo.Args(1, "a") == f"{VT_I4},{VT_BSTR}|"


def test_keyword_arguments_arrive_as_named_arguments(echo):
    assert echo.Args(1, third="c") == f"{VT_I4}|2={VT_BSTR}"


def test_missing_arrives_as_param_not_found(echo):
    assert echo.Args(1, quillbox.Missing, 3) == f"{VT_I4},{VT_ERROR}:{DISP_E_PARAMNOTFOUND:08X},{VT_I4}|"


def test_for_walks_new_enum(echo):
    for item in ("a", 2, None):
        echo.Add(item)
    assert [x for x in echo] == ["a", 2, None]


def test_new_enum_gives_the_enumerator(echo):
    for item in range(5):
        echo.Add(item)
    e = echo._NewEnum
    assert isinstance(e, quillbox.Enumerator)
    assert e.Next(2) == [0, 1]
    assert e.Skip(1) is True
    copy = e.Clone()
    assert e.Next(10) == [3, 4]
    assert e.Next(1) == []
    assert copy.Next(1) == [3]
    e.Reset()
    assert e.Next(1) == [0]
    assert e.Skip(10) is False


def test_raw_invoke_by_dispid(echo):
    raw = echo._invoke_(1, M, 5)
    assert (raw.vt, raw.value) == (VT_I4, 5)


def test_by_reference_arguments_come_back_after_the_result(echo):
    result = echo._oleobj_.invoke(8, M, ("left", 2), byref_args=[0, 1])
    assert result == (42, [2, "left"], [])


def test_failure_raises_com_error_with_exception_fields(echo):
    with pytest.raises(quillbox.ComError) as caught:
        echo.Fail()
    error = caught.value
    assert error.hresult == 0x80004005
    assert error.description == "echo failed"
    assert error.source == "EchoSource"
    assert error.iid is None


def test_unknown_name_raises_attribute_error(echo):
    with pytest.raises(AttributeError):
        echo.NoSuchThing


def test_echo_objects_are_released(echo):
    import gc
    import _quillbox_echo
    extra = quillbox.CreateObject(_quillbox_echo.register())
    before = _quillbox_echo.live()
    del extra
    gc.collect()
    assert _quillbox_echo.live() == before - 1


class _DescribedEcho:
    """The Echo object's _Dispatch with a description of Swap as type
    information would give it: two [in, out] VARIANT parameters, a long
    result (PARAMFLAG_FIN | PARAMFLAG_FOUT = 3, VT_VARIANT = 12)."""

    def __init__(self, inner):
        self._inner = inner

    def describe(self):
        swap = {"name": "Swap", "memid": 8, "invkind": 1, "hidden": False, "restricted": False,
                "params": [("first", 3, 12), ("second", 3, 12)], "result": 3}
        return {"name": "_Echo", "iid": "{E1C40001-7E57-4D0B-9C1A-0000000000E1}", "members": [swap]}

    def __getattr__(self, name):
        return getattr(self._inner, name)


def test_in_out_parameters_make_a_tuple_after_the_result(echo):
    described = quillbox.Dispatch(_DescribedEcho(echo._oleobj_))
    assert described.Swap("left", 2) == (42, 2, "left")


def test_in_out_parameter_given_by_name_comes_back_in_parameter_order(echo):
    described = quillbox.Dispatch(_DescribedEcho(echo._oleobj_))
    assert described.Swap("left", second=2) == (42, 2, "left")


def test_out_parameter_not_given_is_asked_for_and_returned(echo):
    described = quillbox.Dispatch(_DescribedEcho(echo._oleobj_))
    assert described.Swap("left") == (42, None, "left")
