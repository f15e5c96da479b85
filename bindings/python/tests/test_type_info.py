"""What the type information adds: dir(), the enumeration constants, and
the interface of the error information."""
import pathlib
import re

import quillbox

IDL = pathlib.Path(__file__).resolve().parents[3] / "src" / "typelib" / "quillbox.idl"


def idl_constants():
    """Every `name = value` inside the IDL's typedef enum blocks."""
    text = IDL.read_text(encoding="utf-8")
    constants = {}
    for block in re.findall(r"typedef enum \w+ \{(.*?)\}", text, re.S):
        for name, value in re.findall(r"(\w+)\s*=\s*(-?\d+)", block):
            constants[name] = int(value)
    return constants


def test_dir_lists_members_from_type_information(storage):
    names = dir(storage)
    for member in ("CreateDocument", "OpenDocument", "IsCompoundDocument", "CreateMemoryStream",
                   "CreateMemoryStorage", "NtfsFilePropertySets", "RegisterDocument"):
        assert member in names


def test_dir_leaves_out_iunknown_and_idispatch_members(storage):
    names = dir(storage)
    for member in ("QueryInterface", "AddRef", "Release", "GetTypeInfoCount", "Invoke"):
        assert member not in names


def test_seek_end_constant():
    assert quillbox.constants.ssSeekEnd == 2


def test_every_enumeration_constant_of_the_library():
    expected = idl_constants()
    assert len(expected) == 48
    for name, value in expected.items():
        assert getattr(quillbox.constants, name) == value, name


def test_dir_of_constants_lists_them_all():
    assert sorted(dir(quillbox.constants)) == sorted(idl_constants())


def test_unknown_constant_raises_attribute_error():
    try:
        quillbox.constants.ssNoSuchConstant
    except AttributeError:
        return
    raise AssertionError("no AttributeError")


def test_repr_names_the_interface(storage):
    assert repr(storage) == "<quillbox.Dispatch _StructuredStorage>"
