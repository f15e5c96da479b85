"""Helpers of the storage tree's and the streams' tests: the error a call
raises, whether a file is still held, and an independent reader of
compound files (python3-olefile)."""
import gc

import pytest

import quillbox

try:
    import olefile
except ImportError:  # installed by make deps; without it the cross-checks fail
    olefile = None

STG_E_SHAREVIOLATION = 0x80030020


def failure_of(action):
    """The ComError that action() raises."""
    with pytest.raises(quillbox.ComError) as caught:
        action()
    return caught.value


def file_is_held(storage, path):
    """Does an object of the library hold the file? Another read-write open
    is then refused, as every open shares nothing."""
    try:
        storage.OpenDocument(str(path))
    except quillbox.ComError as e:
        assert (e.hresult, e.description) == (STG_E_SHAREVIOLATION, "Share violation.")
        return True
    return False


def closed(storage, path):
    """Drops what the test's frames no longer reach (exception tracebacks
    hold cycles), then tells whether the file is free again."""
    gc.collect()
    return not file_is_held(storage, path)


def open_ole(path):
    """The file opened with olefile, which shares no code with the library."""
    if olefile is None:
        pytest.fail("python3-olefile is missing: make deps installs it")
    return olefile.OleFileIO(str(path))
