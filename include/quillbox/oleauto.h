// Automation functions: strings (BSTR), error information and, with the
// automation values, variants, safe arrays, coercion and dates.
#pragma once

#include "quillbox/oaidl.h"

// Strings.
WINOLEAUTAPI_(BSTR) SysAllocString(const OLECHAR* psz);
WINOLEAUTAPI_(BSTR) SysAllocStringLen(const OLECHAR* strIn, UINT ui);
WINOLEAUTAPI_(BSTR) SysAllocStringByteLen(LPCSTR psz, UINT len);
WINOLEAUTAPI_(INT) SysReAllocString(BSTR* pbstr, const OLECHAR* psz);
WINOLEAUTAPI_(INT) SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len);
WINOLEAUTAPI_(void) SysFreeString(BSTR bstrString);
WINOLEAUTAPI_(UINT) SysStringLen(BSTR pbstr);
WINOLEAUTAPI_(UINT) SysStringByteLen(BSTR bstr);

// Thread error information: one slot per thread. GetErrorInfo hands the
// object out once and clears the slot (S_FALSE and null when it is empty).
WINOLEAUTAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo);
WINOLEAUTAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo);
WINOLEAUTAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo);

// Strings compared and joined as automation does.
#define VARCMP_LT 0
#define VARCMP_EQ 1
#define VARCMP_GT 2
#define VARCMP_NULL 3
WINOLEAUTAPI VarBstrCat(BSTR bstrLeft, BSTR bstrRight, LPBSTR pbstrResult);
WINOLEAUTAPI VarBstrCmp(BSTR bstrLeft, BSTR bstrRight, LCID lcid, ULONG dwFlags);

// Variants. VariantClear frees what the variant owns (strings, arrays,
// object references); VariantCopy copies deeply.
WINOLEAUTAPI_(void) VariantInit(VARIANTARG* pvarg);
WINOLEAUTAPI VariantClear(VARIANTARG* pvarg);
WINOLEAUTAPI VariantCopy(VARIANTARG* pvargDest, const VARIANTARG* pvargSrc);
WINOLEAUTAPI VariantCopyInd(VARIANT* pvarDest, const VARIANTARG* pvargSrc);

// Coercion flags (VariantChangeType(Ex) and the VarXxxFromYyy functions).
#define VARIANT_NOVALUEPROP 0x01
#define VARIANT_ALPHABOOL 0x02
#define VARIANT_NOUSEROVERRIDE 0x04
#define VARIANT_CALENDAR_HIJRI 0x08
#define VARIANT_LOCALBOOL 0x10
#define VARIANT_CALENDAR_THAI 0x20
#define VARIANT_CALENDAR_GREGORIAN 0x40
#define VARIANT_USE_NLS 0x80

// Converts pvargSrc to vt into pvargDest (which may be the source). The
// text forms follow the locale; on Linux that is English (United States).
WINOLEAUTAPI VariantChangeType(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, USHORT wFlags, VARTYPE vt);
WINOLEAUTAPI VariantChangeTypeEx(VARIANTARG* pvargDest, const VARIANTARG* pvarSrc, LCID lcid, USHORT wFlags,
                                 VARTYPE vt);

// Safe arrays.
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound);
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreateEx(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound, PVOID pvExtra);
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements);
WINOLEAUTAPI_(SAFEARRAY*) SafeArrayCreateVectorEx(VARTYPE vt, LONG lLbound, ULONG cElements, PVOID pvExtra);
WINOLEAUTAPI SafeArrayAllocDescriptor(UINT cDims, SAFEARRAY** ppsaOut);
WINOLEAUTAPI SafeArrayAllocDescriptorEx(VARTYPE vt, UINT cDims, SAFEARRAY** ppsaOut);
WINOLEAUTAPI SafeArrayAllocData(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayDestroy(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayDestroyData(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayDestroyDescriptor(SAFEARRAY* psa);
WINOLEAUTAPI_(UINT) SafeArrayGetDim(SAFEARRAY* psa);
WINOLEAUTAPI_(UINT) SafeArrayGetElemsize(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound);
WINOLEAUTAPI SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound);
WINOLEAUTAPI SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt);
WINOLEAUTAPI SafeArrayLock(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayUnlock(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayAccessData(SAFEARRAY* psa, void** ppvData);
WINOLEAUTAPI SafeArrayUnaccessData(SAFEARRAY* psa);
WINOLEAUTAPI SafeArrayPtrOfIndex(SAFEARRAY* psa, LONG* rgIndices, void** ppvData);
WINOLEAUTAPI SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
WINOLEAUTAPI SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv);
WINOLEAUTAPI SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut);
WINOLEAUTAPI SafeArrayCopyData(SAFEARRAY* psaSource, SAFEARRAY* psaTarget);
WINOLEAUTAPI SafeArrayRedim(SAFEARRAY* psa, SAFEARRAYBOUND* psaboundNew);

// Type libraries. A module's library is found by the module's path: one
// registered in this process for that path, else the shared object is
// loaded (its start-up registers its library). LoadRegTypeLib reads the
// path from HKCR\TypeLib\{libid}\<major.minor>\0\win64.
enum REGKIND {
  REGKIND_DEFAULT = 0,
  REGKIND_REGISTER = 1,
  REGKIND_NONE = 2,
};
WINOLEAUTAPI LoadTypeLib(LPCOLESTR szFile, ITypeLib** pptlib);
WINOLEAUTAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib);
WINOLEAUTAPI LoadRegTypeLib(REFGUID rguid, WORD wVerMajor, WORD wVerMinor, LCID lcid, ITypeLib** pptlib);
WINOLEAUTAPI QueryPathOfRegTypeLib(REFGUID guid, USHORT wMaj, USHORT wMin, LCID lcid, LPBSTR lpbstrPathName);
WINOLEAUTAPI RegisterTypeLib(ITypeLib* ptlib, LPCOLESTR szFullPath, LPCOLESTR szHelpDir);
WINOLEAUTAPI UnRegisterTypeLib(REFGUID libID, WORD wVerMajor, WORD wVerMinor, LCID lcid, SYSKIND syskind);

// IDispatch served from type information: what a standard dispatch
// implementation forwards to.
WINOLEAUTAPI DispGetIDsOfNames(ITypeInfo* ptinfo, LPOLESTR* rgszNames, UINT cNames, DISPID* rgdispid);
WINOLEAUTAPI DispInvoke(void* _this, ITypeInfo* ptinfo, DISPID dispidMember, WORD wFlags, DISPPARAMS* pparams,
                        VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr);
