"""The StructuredStorage class through late binding: IsCompoundDocument,
errors with their fields, named and missing arguments."""
import pytest

import cfb_fixture
import quillbox

E_NOTIMPL = 0x80004001
DISP_E_BADPARAMCOUNT = 0x8002000E
STG_E_FILENOTFOUND = 0x80030002
IID_STRUCTURED_STORAGE = "{85C307C4-62DE-11D4-9F08-400004053024}"


def test_is_compound_document_true_for_a_compound_file(storage, tmp_path):
    path = cfb_fixture.write_compound_file(tmp_path / "doc.cfb")
    assert storage.IsCompoundDocument(str(path)) is True


def test_is_compound_document_false_for_a_text_file(storage, tmp_path):
    path = tmp_path / "plain.txt"
    path.write_text("not a compound file")
    assert storage.IsCompoundDocument(str(path)) is False


def test_is_compound_document_false_for_a_missing_file(storage, tmp_path):
    assert storage.IsCompoundDocument(str(tmp_path / "absent.doc")) is False


def test_method_name_is_matched_without_case(storage, tmp_path):
    path = cfb_fixture.write_compound_file(tmp_path / "doc.cfb")
    assert storage.iscompounddocument(str(path)) is True


def test_keyword_argument_is_passed_by_name(storage, tmp_path):
    path = cfb_fixture.write_compound_file(tmp_path / "doc.cfb")
    assert storage.IsCompoundDocument(filename=str(path)) is True


def test_unknown_keyword_raises_attribute_error(storage):
    with pytest.raises(AttributeError):
        storage.IsCompoundDocument(nosuchparameter="x")


def test_unknown_member_raises_attribute_error(storage):
    with pytest.raises(AttributeError):
        storage.NoSuchMember


def test_not_supported_member_raises_com_error_with_its_fields(storage):
    with pytest.raises(quillbox.ComError) as caught:
        storage.NtfsFilePropertySets("x")
    error = caught.value
    assert error.hresult == E_NOTIMPL
    assert error.description == "Not supported."
    assert error.source == "Quillbox.StructuredStorage.1"
    assert error.iid == IID_STRUCTURED_STORAGE


def test_omitted_optional_argument_reaches_the_member(storage, tmp_path):
    # ReadOnly is optional: the call binds, and the member itself answers
    # that the file is not there.
    with pytest.raises(quillbox.ComError) as caught:
        storage.OpenDocument(str(tmp_path / "absent.doc"))
    assert caught.value.hresult == STG_E_FILENOTFOUND


def test_missing_marker_is_an_omitted_optional_argument(storage, tmp_path):
    with pytest.raises(quillbox.ComError) as caught:
        storage.OpenDocument(str(tmp_path / "absent.doc"), quillbox.Missing)
    assert caught.value.hresult == STG_E_FILENOTFOUND


def test_omitted_required_argument_is_a_parameter_count_error(storage):
    with pytest.raises(quillbox.ComError) as caught:
        storage.IsCompoundDocument()
    assert caught.value.hresult == DISP_E_BADPARAMCOUNT
