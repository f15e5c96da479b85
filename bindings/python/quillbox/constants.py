"""Every enumeration constant of the Quillbox type library, by name:
quillbox.constants.ssSeekEnd. Read from the registered type library
(registering the library first when it is not)."""
from . import _quillbox

_loaded = {}


def _values():
    if not _loaded:
        _loaded.update(_quillbox._constants())
    return _loaded


def __getattr__(name):
    if name.startswith("__"):
        raise AttributeError(name)
    values = _values()
    if name in values:
        return values[name]
    if not values:
        raise AttributeError(f"{name}: the type library's constants are not available in this build")
    raise AttributeError(f"the Quillbox type library has no constant {name!r}")


def __dir__():
    return sorted(_values())
