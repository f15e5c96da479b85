"""Fixtures for every test: a private registry file, and the check that
every object of the library is gone once the test drops its references."""
import gc

import pytest


@pytest.fixture(autouse=True)
def private_registry(tmp_path, monkeypatch):
    """QUILLBOX_REGISTRY names a fresh file, never the user's registry."""
    monkeypatch.setenv("QUILLBOX_REGISTRY", str(tmp_path / "registry.reg"))
    yield tmp_path / "registry.reg"


@pytest.fixture(autouse=True)
def library_unloads_after_test(request, private_registry):
    """DllCanUnloadNow answers S_OK after each test, once garbage is collected."""
    import quillbox
    yield
    request.node.funcargs.clear()  # the test's own references to fixtures' objects
    gc.collect()
    assert quillbox.DllCanUnloadNow() == 0, "an object of the library outlived the test"


@pytest.fixture
def storage():
    import quillbox
    return quillbox.CreateObject("Quillbox.StructuredStorage")


@pytest.fixture
def echo():
    """A test-only IDispatch without type information that hands back what
    it receives (tests/echo/echo_object.cc)."""
    import quillbox
    import _quillbox_echo
    return quillbox.CreateObject(_quillbox_echo.register())


@pytest.fixture
def memory(storage):
    """A memory stream (StructuredStorage.CreateMemoryStream)."""
    return storage.CreateMemoryStream()


@pytest.fixture
def path(tmp_path):
    """Where a test's document goes."""
    return tmp_path / "streams.doc"
