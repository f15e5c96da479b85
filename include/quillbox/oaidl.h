// Automation interfaces and types: rich error information (IErrorInfo,
// ICreateErrorInfo, ISupportErrorInfo) and, with the automation values,
// VARIANT, SAFEARRAY, IDispatch and IEnumVARIANT.
#pragma once

#include "quillbox/unknwn.h"

inline constexpr IID IID_IErrorInfo = {0x1CF2B120, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ICreateErrorInfo = {0x22F03340, 0x547D, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};
inline constexpr IID IID_ISupportErrorInfo = {0xDF0B3D60, 0x548F, 0x101B, {0x8E, 0x65, 0x08, 0x00, 0x2B, 0x2B, 0xD1, 0x19}};

struct IErrorInfo : public IUnknown {
  STDMETHOD(GetGUID)(GUID* pGUID) = 0;
  STDMETHOD(GetSource)(BSTR* pBstrSource) = 0;
  STDMETHOD(GetDescription)(BSTR* pBstrDescription) = 0;
  STDMETHOD(GetHelpFile)(BSTR* pBstrHelpFile) = 0;
  STDMETHOD(GetHelpContext)(DWORD* pdwHelpContext) = 0;
};

struct ICreateErrorInfo : public IUnknown {
  STDMETHOD(SetGUID)(REFGUID rguid) = 0;
  STDMETHOD(SetSource)(LPOLESTR szSource) = 0;
  STDMETHOD(SetDescription)(LPOLESTR szDescription) = 0;
  STDMETHOD(SetHelpFile)(LPOLESTR szHelpFile) = 0;
  STDMETHOD(SetHelpContext)(DWORD dwHelpContext) = 0;
};

struct ISupportErrorInfo : public IUnknown {
  STDMETHOD(InterfaceSupportsErrorInfo)(REFIID riid) = 0;
};

QUILLBOX_DECLARE_INTERFACE(IErrorInfo, IUnknown, IID_IErrorInfo);
QUILLBOX_DECLARE_INTERFACE(ICreateErrorInfo, IUnknown, IID_ICreateErrorInfo);
QUILLBOX_DECLARE_INTERFACE(ISupportErrorInfo, IUnknown, IID_ISupportErrorInfo);

using LPERRORINFO = IErrorInfo*;
using LPCREATEERRORINFO = ICreateErrorInfo*;
using LPSUPPORTERRORINFO = ISupportErrorInfo*;

// ---------------------------------------------------------------------------
// Automation values. Layouts match 64-bit Windows byte for byte, so values
// can be written to files and shared with code built against those headers.
// Anonymous structs are a common extension; __extension__ keeps -Wpedantic
// quiet about them.

struct ITypeInfo;  // type information: declared for signatures only
struct IRecordInfo;
struct IDispatch;

// Currency: a 64-bit integer scaled by 10,000.
union CY {
  __extension__ struct {
    ULONG Lo;
    LONG Hi;
  };
  LONGLONG int64;
};
using CURRENCY = CY;
using LPCY = CY*;

// 96-bit unsigned integer, a sign and a power-of-ten scale (0..28). The
// first two bytes are unused, so a DECIMAL fills a VARIANT exactly with its
// vt in wReserved.
struct DECIMAL {
  USHORT wReserved;
  union {
    __extension__ struct {
      BYTE scale;
      BYTE sign;
    };
    USHORT signscale;
  };
  ULONG Hi32;
  union {
    __extension__ struct {
      ULONG Lo32;
      ULONG Mid32;
    };
    ULONGLONG Lo64;
  };
};
using LPDECIMAL = DECIMAL*;
#define DECIMAL_NEG ((BYTE)0x80)
#define DECIMAL_SETZERO(dec) \
  ((dec).Lo64 = 0, (dec).Hi32 = 0, (dec).signscale = 0)

// Element types of variants and safe arrays (VARENUM).
enum VARENUM : VARTYPE {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R4 = 4,
  VT_R8 = 5,
  VT_CY = 6,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_DECIMAL = 14,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_VOID = 24,
  VT_HRESULT = 25,
  VT_PTR = 26,
  VT_SAFEARRAY = 27,
  VT_CARRAY = 28,
  VT_USERDEFINED = 29,
  VT_LPSTR = 30,
  VT_LPWSTR = 31,
  VT_RECORD = 36,
  VT_INT_PTR = 37,
  VT_UINT_PTR = 38,
  VT_FILETIME = 64,
  VT_BLOB = 65,
  VT_STREAM = 66,
  VT_STORAGE = 67,
  VT_STREAMED_OBJECT = 68,
  VT_STORED_OBJECT = 69,
  VT_BLOB_OBJECT = 70,
  VT_CF = 71,
  VT_CLSID = 72,
  VT_VERSIONED_STREAM = 73,
  VT_BSTR_BLOB = 0x0fff,
  VT_VECTOR = 0x1000,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_RESERVED = 0x8000,
  VT_ILLEGAL = 0xffff,
  VT_ILLEGALMASKED = 0x0fff,
  VT_TYPEMASK = 0x0fff,
};

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};
using LPSAFEARRAYBOUND = SAFEARRAYBOUND*;

// A safe array's descriptor. rgsabound is stored rightmost dimension first
// (the reverse of SafeArrayCreate's argument); element indices passed to
// the element functions are leftmost dimension first.
struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
};
using LPSAFEARRAY = SAFEARRAY*;

#define FADF_AUTO 0x0001
#define FADF_STATIC 0x0002
#define FADF_EMBEDDED 0x0004
#define FADF_FIXEDSIZE 0x0010
#define FADF_RECORD 0x0020
#define FADF_HAVEIID 0x0040
#define FADF_HAVEVARTYPE 0x0080
#define FADF_BSTR 0x0100
#define FADF_UNKNOWN 0x0200
#define FADF_DISPATCH 0x0400
#define FADF_VARIANT 0x0800
#define FADF_RESERVED 0xF008
#define FADF_CREATEVECTOR 0x2000

struct VARIANT;
using VARIANTARG = VARIANT;
using LPVARIANT = VARIANT*;
using LPVARIANTARG = VARIANT*;

struct VARIANT {
  union {
    __extension__ struct {
      VARTYPE vt;
      WORD wReserved1;
      WORD wReserved2;
      WORD wReserved3;
      union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        VARIANT* pvarVal;
        PVOID byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        DECIMAL* pdecVal;
        CHAR* pcVal;
        USHORT* puiVal;
        ULONG* pulVal;
        ULONGLONG* pullVal;
        INT* pintVal;
        UINT* puintVal;
        __extension__ struct {
          PVOID pvRecord;
          IRecordInfo* pRecInfo;
        };
      };
    };
    DECIMAL decVal;
  };
};

static_assert(sizeof(CY) == 8);
static_assert(sizeof(DECIMAL) == 16);
static_assert(sizeof(VARIANT) == 24);
static_assert(offsetof(VARIANT, vt) == 0);
static_assert(offsetof(VARIANT, lVal) == 8);
static_assert(offsetof(VARIANT, pRecInfo) == 16);
static_assert(offsetof(VARIANT, decVal) == 0);
static_assert(offsetof(DECIMAL, scale) == 2);
static_assert(offsetof(DECIMAL, Hi32) == 4);
static_assert(offsetof(DECIMAL, Lo64) == 8);
static_assert(sizeof(SAFEARRAY) == 32);
static_assert(offsetof(SAFEARRAY, rgsabound) == 24);
static_assert(offsetof(SAFEARRAY, pvData) == 16);

// Accessors in the Windows style: V_VT(&v), V_I4(&v), V_BSTR(&v)...
#define V_VT(X) ((X)->vt)
#define V_ISBYREF(X) (V_VT(X) & VT_BYREF)
#define V_ISARRAY(X) (V_VT(X) & VT_ARRAY)
#define V_ISVECTOR(X) (V_VT(X) & VT_VECTOR)
#define V_NONE(X) V_I2(X)
#define V_UI1(X) ((X)->bVal)
#define V_UI1REF(X) ((X)->pbVal)
#define V_I1(X) ((X)->cVal)
#define V_I1REF(X) ((X)->pcVal)
#define V_I2(X) ((X)->iVal)
#define V_I2REF(X) ((X)->piVal)
#define V_UI2(X) ((X)->uiVal)
#define V_UI2REF(X) ((X)->puiVal)
#define V_I4(X) ((X)->lVal)
#define V_I4REF(X) ((X)->plVal)
#define V_UI4(X) ((X)->ulVal)
#define V_UI4REF(X) ((X)->pulVal)
#define V_I8(X) ((X)->llVal)
#define V_I8REF(X) ((X)->pllVal)
#define V_UI8(X) ((X)->ullVal)
#define V_UI8REF(X) ((X)->pullVal)
#define V_INT(X) ((X)->intVal)
#define V_INTREF(X) ((X)->pintVal)
#define V_UINT(X) ((X)->uintVal)
#define V_UINTREF(X) ((X)->puintVal)
#define V_R4(X) ((X)->fltVal)
#define V_R4REF(X) ((X)->pfltVal)
#define V_R8(X) ((X)->dblVal)
#define V_R8REF(X) ((X)->pdblVal)
#define V_CY(X) ((X)->cyVal)
#define V_CYREF(X) ((X)->pcyVal)
#define V_DATE(X) ((X)->date)
#define V_DATEREF(X) ((X)->pdate)
#define V_BSTR(X) ((X)->bstrVal)
#define V_BSTRREF(X) ((X)->pbstrVal)
#define V_DISPATCH(X) ((X)->pdispVal)
#define V_DISPATCHREF(X) ((X)->ppdispVal)
#define V_ERROR(X) ((X)->scode)
#define V_ERRORREF(X) ((X)->pscode)
#define V_BOOL(X) ((X)->boolVal)
#define V_BOOLREF(X) ((X)->pboolVal)
#define V_UNKNOWN(X) ((X)->punkVal)
#define V_UNKNOWNREF(X) ((X)->ppunkVal)
#define V_VARIANTREF(X) ((X)->pvarVal)
#define V_ARRAY(X) ((X)->parray)
#define V_ARRAYREF(X) ((X)->pparray)
#define V_BYREF(X) ((X)->byref)
#define V_DECIMAL(X) ((X)->decVal)
#define V_DECIMALREF(X) ((X)->pdecVal)
#define V_RECORD(X) ((X)->pvRecord)
#define V_RECORDINFO(X) ((X)->pRecInfo)

// ---------------------------------------------------------------------------
// Late binding: IDispatch and IEnumVARIANT.

using DISPID = LONG;
using MEMBERID = DISPID;
#define DISPID_UNKNOWN ((DISPID)-1)
#define DISPID_VALUE ((DISPID)0)
#define DISPID_PROPERTYPUT ((DISPID)-3)
#define DISPID_NEWENUM ((DISPID)-4)
#define DISPID_EVALUATE ((DISPID)-5)
#define DISPID_CONSTRUCTOR ((DISPID)-6)
#define DISPID_DESTRUCTOR ((DISPID)-7)
#define DISPID_COLLECT ((DISPID)-8)

#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8

struct DISPPARAMS {
  VARIANTARG* rgvarg;          // arguments, last one first
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  PVOID pvReserved;
  HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
  SCODE scode;
};
using LPEXCEPINFO = EXCEPINFO*;

inline constexpr IID IID_IDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumVARIANT = {0x00020404, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct IDispatch : public IUnknown {
  STDMETHOD(GetTypeInfoCount)(UINT* pctinfo) = 0;
  STDMETHOD(GetTypeInfo)(UINT iTInfo, LCID lcid, ITypeInfo** ppTInfo) = 0;
  STDMETHOD(GetIDsOfNames)(REFIID riid, LPOLESTR* rgszNames, UINT cNames, LCID lcid, DISPID* rgDispId) = 0;
  STDMETHOD(Invoke)(DISPID dispIdMember, REFIID riid, LCID lcid, WORD wFlags, DISPPARAMS* pDispParams,
                    VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
};
using LPDISPATCH = IDispatch*;

struct IEnumVARIANT : public IUnknown {
  STDMETHOD(Next)(ULONG celt, VARIANT* rgVar, ULONG* pCeltFetched) = 0;
  STDMETHOD(Skip)(ULONG celt) = 0;
  STDMETHOD(Reset)() = 0;
  STDMETHOD(Clone)(IEnumVARIANT** ppEnum) = 0;
};
using LPENUMVARIANT = IEnumVARIANT*;

QUILLBOX_DECLARE_INTERFACE(IDispatch, IUnknown, IID_IDispatch);
QUILLBOX_DECLARE_INTERFACE(IEnumVARIANT, IUnknown, IID_IEnumVARIANT);
