"""CreateObject by ProgID and by CLSID, registration on first use, and the
library's unload answer."""
import gc
import os

import pytest

import quillbox

CLSID_STRUCTURED_STORAGE = "{85C307C5-62DE-11D4-9F08-400004053024}"
CO_E_CLASSSTRING = 0x800401F3


def test_progid_registers_library_when_registry_is_empty(private_registry):
    assert not private_registry.exists()
    obj = quillbox.CreateObject("Quillbox.StructuredStorage")
    assert isinstance(obj, quillbox.Dispatch)
    assert "Quillbox.StructuredStorage" in private_registry.read_text(encoding="utf-8")


def test_braced_clsid_creates_without_registration(private_registry):
    obj = quillbox.CreateObject(CLSID_STRUCTURED_STORAGE)
    assert obj.IsCompoundDocument(os.devnull) is False
    assert not private_registry.exists()


def test_clsid_text_is_read_in_either_case():
    obj = quillbox.CreateObject(CLSID_STRUCTURED_STORAGE.lower())
    assert isinstance(obj, quillbox.Dispatch)


def test_unknown_progid_raises_com_error():
    with pytest.raises(quillbox.ComError) as caught:
        quillbox.CreateObject("Quillbox.NoSuchClass")
    assert caught.value.hresult == CO_E_CLASSSTRING


def test_two_objects_are_different_identities():
    a = quillbox.CreateObject("Quillbox.StructuredStorage")
    b = quillbox.CreateObject("Quillbox.StructuredStorage")
    assert a != b
    assert a == a


def test_unload_answers_s_false_while_an_object_lives():
    obj = quillbox.CreateObject("Quillbox.StructuredStorage")
    assert quillbox.DllCanUnloadNow() == 1
    del obj
    gc.collect()
    assert quillbox.DllCanUnloadNow() == 0
