"""Dispatch: attribute syntax over an IDispatch, as scripting clients use it.

obj.Name gets a property or gives a method to call; obj.Name = v puts (or
putrefs an object where the member has putref); obj(x) and obj[x] use the
default member; for x in obj walks _NewEnum. The type information, when the
object gives it, decides method or property, putref, and the out parameters
that make a call return a tuple; without it, the dispatcher's answers do.
"""
from . import _quillbox
from ._quillbox import ComError

DISPATCH_METHOD = 0x1
DISPATCH_PROPERTYGET = 0x2
DISPATCH_PROPERTYPUT = 0x4
DISPATCH_PROPERTYPUTREF = 0x8
DISPID_VALUE = 0
DISPID_NEWENUM = -4

INVOKE_FUNC, INVOKE_PROPERTYGET, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF = 1, 2, 4, 8
PARAMFLAG_FOUT = 0x2
PARAMFLAG_FRETVAL = 0x8
PARAMFLAG_FOPT = 0x10
PARAMFLAG_FHASDEFAULT = 0x20
VT_DISPATCH = 9
VT_UNKNOWN = 13

DISP_E_MEMBERNOTFOUND = 0x80020003
DISP_E_UNKNOWNNAME = 0x80020006
DISP_E_BADPARAMCOUNT = 0x8002000E
DISP_E_PARAMNOTOPTIONAL = 0x8002000F

# Members by interface IID: type information does not change while the
# process runs.
_described = {}


class _Member:
    """Every kind (method, get, put, putref) of one name."""

    def __init__(self, name, memid):
        self.name = name
        self.memid = memid
        self.kinds = {}  # invkind -> member description
        self.hidden = True

    def call_kind(self):
        return self.kinds.get(INVOKE_FUNC) or self.kinds.get(INVOKE_PROPERTYGET)

    def is_callable(self):
        """A method, or a property whose get takes arguments: obj.Item(1)."""
        if INVOKE_FUNC in self.kinds:
            return True
        get = self.kinds.get(INVOKE_PROPERTYGET)
        return bool(get and _inputs(get))


def _inputs(desc):
    return [p for p in desc["params"] if not p[1] & PARAMFLAG_FRETVAL]


def _members_of(oleobj):
    desc = oleobj.describe()
    if desc is None:
        return None
    members = _described.get(desc["iid"])
    if members is None:
        members = {}
        for m in desc["members"]:
            if m["restricted"]:  # IUnknown's and IDispatch's own: not for scripts
                continue
            entry = members.setdefault(m["name"].lower(), _Member(m["name"], m["memid"]))
            entry.kinds.setdefault(m["invkind"], m)
            entry.hidden = entry.hidden and m["hidden"]
        members = (desc["name"], members)
        _described[desc["iid"]] = members
    return members


def _is_object(value):
    return isinstance(value, (Dispatch, _quillbox._Dispatch, _quillbox.Enumerator, _quillbox._Unknown))


class Dispatch:
    """An automation object; see the module's description."""

    __slots__ = ("_oleobj_", "_info_")

    def __init__(self, oleobj):
        object.__setattr__(self, "_oleobj_", oleobj)
        object.__setattr__(self, "_info_", _members_of(oleobj))

    # -- names -------------------------------------------------------------
    def _member_(self, name):
        return self._info_[1].get(name.lower()) if self._info_ else None

    def _ids_(self, names):
        try:
            return self._oleobj_.ids(list(names))
        except ComError as e:
            if e.hresult == DISP_E_UNKNOWNNAME:
                raise AttributeError(f"{self._type_name_()} has no member or parameter among {names!r}") from None
            raise

    def _type_name_(self):
        return self._info_[0] if self._info_ else "object"

    # -- calls -------------------------------------------------------------
    def _call_(self, name, flags, args, kwargs):
        """Invokes `name` (None: the default member) with positional and
        named arguments; with out parameters, answers (result, outs...)."""
        member = self._member_(name) if name is not None else self._default_member_()
        desc = member.call_kind() if member and flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET) else None
        if name is None and member is not None:
            name = member.name
        kw_names = list(kwargs)
        kw_values = [kwargs[k] for k in kw_names]
        byref_args, byref_named, out_order = [], [], []
        if desc:
            lowered = [k.lower() for k in kw_names]
            for index, (pname, pflags, _vt) in enumerate(_inputs(desc)):
                if not pflags & PARAMFLAG_FOUT:
                    continue
                if index < len(args):
                    byref_args.append(index)
                    out_order.append(("arg", index))
                elif pname.lower() in lowered:
                    byref_named.append(lowered.index(pname.lower()))
                    out_order.append(("named", lowered.index(pname.lower())))
                else:  # not given: asked for by name, so that it comes back
                    kw_names.append(pname)
                    kw_values.append(None)
                    lowered.append(pname.lower())
                    byref_named.append(len(kw_values) - 1)
                    out_order.append(("named", len(kw_values) - 1))
        if name is None:
            if kw_names:
                raise TypeError("named arguments need the default member's name (no type information)")
            dispid, named_ids = DISPID_VALUE, []
        else:
            ids = self._ids_([name] + kw_names)
            dispid, named_ids = ids[0], ids[1:]
        answer = self._oleobj_.invoke(dispid, flags, tuple(args), named_ids, kw_values,
                                      byref_args, byref_named)
        if not out_order:
            return answer
        result, outs_args, outs_named = answer
        by_arg = dict(zip(byref_args, outs_args))
        by_named = dict(zip(byref_named, outs_named))
        return (result,) + tuple(by_arg[i] if kind == "arg" else by_named[i] for kind, i in out_order)

    def _default_member_(self):
        if not self._info_:
            return None
        for member in self._info_[1].values():
            if member.memid == DISPID_VALUE:
                return member
        return None

    # -- attribute syntax --------------------------------------------------
    def __getattr__(self, name):
        if name.startswith("__") and name.endswith("__"):
            raise AttributeError(name)
        if name == "_NewEnum":
            return self._oleobj_.new_enum()
        member = self._member_(name)
        if member is not None:
            if member.is_callable():
                return _Method(self, member.name)
            return self._call_(member.name, DISPATCH_PROPERTYGET, (), {})
        dispid = self._ids_([name])[0]
        try:
            return self._oleobj_.invoke(dispid, DISPATCH_PROPERTYGET, ())
        except ComError as e:
            if e.hresult in (DISP_E_MEMBERNOTFOUND, DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTOPTIONAL):
                return _Method(self, name)
            raise

    def __setattr__(self, name, value):
        if name in Dispatch.__slots__:
            raise AttributeError(f"{name} is read-only")
        member = self._member_(name)
        dispid = self._ids_([name])[0]
        if member is not None:
            ref = member.kinds.get(INVOKE_PROPERTYPUTREF)
            wants_ref = ref is not None and (_is_object(value) or value is None)
            if wants_ref and value is None:
                value = _quillbox.Variant(VT_DISPATCH, None)  # a null object, not Empty
            self._oleobj_.invoke(dispid, DISPATCH_PROPERTYPUTREF if wants_ref else DISPATCH_PROPERTYPUT, (value,))
            return
        if _is_object(value):
            try:
                self._oleobj_.invoke(dispid, DISPATCH_PROPERTYPUTREF, (value,))
                return
            except ComError as e:
                if e.hresult != DISP_E_MEMBERNOTFOUND:
                    raise
        self._oleobj_.invoke(dispid, DISPATCH_PROPERTYPUT, (value,))

    def __call__(self, *args, **kwargs):
        return self._call_(None, DISPATCH_METHOD | DISPATCH_PROPERTYGET, args, kwargs)

    def __getitem__(self, key):
        args = key if isinstance(key, tuple) else (key,)
        return self._oleobj_.invoke(DISPID_VALUE, DISPATCH_METHOD | DISPATCH_PROPERTYGET, args)

    def __setitem__(self, key, value):
        args = (key if isinstance(key, tuple) else (key,)) + (value,)
        flags = DISPATCH_PROPERTYPUTREF if _is_object(value) else DISPATCH_PROPERTYPUT
        try:
            self._oleobj_.invoke(DISPID_VALUE, flags, args)
        except ComError as e:
            if flags == DISPATCH_PROPERTYPUT or e.hresult != DISP_E_MEMBERNOTFOUND:
                raise
            self._oleobj_.invoke(DISPID_VALUE, DISPATCH_PROPERTYPUT, args)

    def __iter__(self):
        return iter(self._oleobj_.new_enum())

    def __dir__(self):
        names = set(object.__dir__(self))
        if self._info_:
            names.update(m.name for m in self._info_[1].values() if not m.hidden)
        return sorted(names)

    def __eq__(self, other):
        if not isinstance(other, Dispatch):
            return NotImplemented
        return self._oleobj_.identity() == other._oleobj_.identity()

    def __hash__(self):
        return hash(self._oleobj_.identity())

    def __repr__(self):
        return f"<quillbox.Dispatch {self._type_name_()}>"

    def _invoke_(self, name_or_dispid, flags, *args):
        """The raw call: the result as a quillbox.Variant (.vt, .value)."""
        dispid = name_or_dispid if isinstance(name_or_dispid, int) else self._ids_([name_or_dispid])[0]
        return self._oleobj_.invoke(dispid, flags, args, raw=True)


class _Method:
    """A member to call: obj.Method(...) or a property with arguments."""

    __slots__ = ("_owner", "_name")

    def __init__(self, owner, name):
        self._owner = owner
        self._name = name

    def __call__(self, *args, **kwargs):
        return self._owner._call_(self._name, DISPATCH_METHOD | DISPATCH_PROPERTYGET, args, kwargs)

    def __repr__(self):
        return f"<quillbox method {self._owner._type_name_()}.{self._name}>"
