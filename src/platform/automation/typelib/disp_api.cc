// DispGetIDsOfNames and DispInvoke: IDispatch answered by a type info, as a
// standard dispatch implementation forwards its calls.
#include "quillbox/oleauto.h"

STDAPI DispGetIDsOfNames(ITypeInfo* ptinfo, LPOLESTR* rgszNames, UINT cNames, DISPID* rgdispid) {
  if (!ptinfo) return E_INVALIDARG;
  return ptinfo->GetIDsOfNames(rgszNames, cNames, rgdispid);
}

STDAPI DispInvoke(void* _this, ITypeInfo* ptinfo, DISPID dispidMember, WORD wFlags, DISPPARAMS* pparams,
                  VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr) {
  if (!ptinfo) return E_INVALIDARG;
  return ptinfo->Invoke(_this, dispidMember, wFlags, pparams, pvarResult, pexcepinfo, puArgErr);
}
