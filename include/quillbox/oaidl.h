// Automation interfaces and types: rich error information (IErrorInfo,
// ICreateErrorInfo, ISupportErrorInfo) and, with the automation values,
// VARIANT, SAFEARRAY, IDispatch and IEnumVARIANT, and type information
// (ITypeLib, ITypeInfo and their descriptions).
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

struct ITypeInfo;  // type information: declared below
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

// ---------------------------------------------------------------------------
// Type information: ITypeLib, ITypeInfo and the descriptions they hand out.
// Layouts match 64-bit Windows.

struct ITypeLib;
struct ITypeComp;

using HREFTYPE = DWORD;
#define MEMBERID_NIL DISPID_UNKNOWN

enum TYPEKIND {
  TKIND_ENUM = 0,
  TKIND_RECORD = 1,
  TKIND_MODULE = 2,
  TKIND_INTERFACE = 3,
  TKIND_DISPATCH = 4,
  TKIND_COCLASS = 5,
  TKIND_ALIAS = 6,
  TKIND_UNION = 7,
  TKIND_MAX = 8,
};

struct ARRAYDESC;

struct TYPEDESC {
  union {
    TYPEDESC* lptdesc;     // VT_PTR, VT_SAFEARRAY: the type pointed at / held
    ARRAYDESC* lpadesc;    // VT_CARRAY
    HREFTYPE hreftype;     // VT_USERDEFINED: for ITypeInfo::GetRefTypeInfo
  };
  VARTYPE vt;
};

struct ARRAYDESC {
  TYPEDESC tdescElem;
  USHORT cDims;
  SAFEARRAYBOUND rgbounds[1];
};

struct PARAMDESCEX {
  ULONG cBytes;               // the size of this structure
  VARIANTARG varDefaultValue;
};
using LPPARAMDESCEX = PARAMDESCEX*;

struct PARAMDESC {
  LPPARAMDESCEX pparamdescex;  // set when PARAMFLAG_FHASDEFAULT
  USHORT wParamFlags;
};
using LPPARAMDESC = PARAMDESC*;

#define PARAMFLAG_NONE 0x00
#define PARAMFLAG_FIN 0x01
#define PARAMFLAG_FOUT 0x02
#define PARAMFLAG_FLCID 0x04
#define PARAMFLAG_FRETVAL 0x08
#define PARAMFLAG_FOPT 0x10
#define PARAMFLAG_FHASDEFAULT 0x20
#define PARAMFLAG_FHASCUSTDATA 0x40

struct IDLDESC {
  ULONG_PTR dwReserved;
  USHORT wIDLFlags;
};
using LPIDLDESC = IDLDESC*;

#define IDLFLAG_NONE PARAMFLAG_NONE
#define IDLFLAG_FIN PARAMFLAG_FIN
#define IDLFLAG_FOUT PARAMFLAG_FOUT
#define IDLFLAG_FLCID PARAMFLAG_FLCID
#define IDLFLAG_FRETVAL PARAMFLAG_FRETVAL

struct ELEMDESC {
  TYPEDESC tdesc;
  union {
    IDLDESC idldesc;
    PARAMDESC paramdesc;
  };
};
using LPELEMDESC = ELEMDESC*;

struct TYPEATTR {
  GUID guid;
  LCID lcid;
  DWORD dwReserved;
  MEMBERID memidConstructor;
  MEMBERID memidDestructor;
  LPOLESTR lpstrSchema;
  ULONG cbSizeInstance;
  TYPEKIND typekind;
  WORD cFuncs;
  WORD cVars;
  WORD cImplTypes;
  WORD cbSizeVft;
  WORD cbAlignment;
  WORD wTypeFlags;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  TYPEDESC tdescAlias;
  IDLDESC idldescType;
};
using LPTYPEATTR = TYPEATTR*;

enum CALLCONV {
  CC_FASTCALL = 0,
  CC_CDECL = 1,
  CC_MSCPASCAL = 2,
  CC_PASCAL = CC_MSCPASCAL,
  CC_MACPASCAL = 3,
  CC_STDCALL = 4,
  CC_FPFASTCALL = 5,
  CC_SYSCALL = 6,
  CC_MPWCDECL = 7,
  CC_MPWPASCAL = 8,
  CC_MAX = 9,
};

enum FUNCKIND {
  FUNC_VIRTUAL = 0,
  FUNC_PUREVIRTUAL = 1,
  FUNC_NONVIRTUAL = 2,
  FUNC_STATIC = 3,
  FUNC_DISPATCH = 4,
};

enum INVOKEKIND {
  INVOKE_FUNC = 1,
  INVOKE_PROPERTYGET = 2,
  INVOKE_PROPERTYPUT = 4,
  INVOKE_PROPERTYPUTREF = 8,
};

struct FUNCDESC {
  MEMBERID memid;
  SCODE* lprgscode;
  ELEMDESC* lprgelemdescParam;  // cParams entries
  FUNCKIND funckind;
  INVOKEKIND invkind;
  CALLCONV callconv;
  SHORT cParams;
  SHORT cParamsOpt;
  SHORT oVft;                   // the member's offset in the vtable, in bytes
  SHORT cScodes;
  ELEMDESC elemdescFunc;        // the return type
  WORD wFuncFlags;
};
using LPFUNCDESC = FUNCDESC*;

enum VARKIND {
  VAR_PERINSTANCE = 0,
  VAR_STATIC = 1,
  VAR_CONST = 2,
  VAR_DISPATCH = 3,
};

#define IMPLTYPEFLAG_FDEFAULT 0x1
#define IMPLTYPEFLAG_FSOURCE 0x2
#define IMPLTYPEFLAG_FRESTRICTED 0x4
#define IMPLTYPEFLAG_FDEFAULTVTABLE 0x8

struct VARDESC {
  MEMBERID memid;
  LPOLESTR lpstrSchema;
  union {
    ULONG oInst;
    VARIANT* lpvarValue;  // VAR_CONST: the value
  };
  ELEMDESC elemdescVar;
  WORD wVarFlags;
  VARKIND varkind;
};
using LPVARDESC = VARDESC*;

enum TYPEFLAGS {
  TYPEFLAG_FAPPOBJECT = 0x1,
  TYPEFLAG_FCANCREATE = 0x2,
  TYPEFLAG_FLICENSED = 0x4,
  TYPEFLAG_FPREDECLID = 0x8,
  TYPEFLAG_FHIDDEN = 0x10,
  TYPEFLAG_FCONTROL = 0x20,
  TYPEFLAG_FDUAL = 0x40,
  TYPEFLAG_FNONEXTENSIBLE = 0x80,
  TYPEFLAG_FOLEAUTOMATION = 0x100,
  TYPEFLAG_FRESTRICTED = 0x200,
  TYPEFLAG_FAGGREGATABLE = 0x400,
  TYPEFLAG_FREPLACEABLE = 0x800,
  TYPEFLAG_FDISPATCHABLE = 0x1000,
  TYPEFLAG_FREVERSEBIND = 0x2000,
  TYPEFLAG_FPROXY = 0x4000,
};

enum FUNCFLAGS {
  FUNCFLAG_FRESTRICTED = 0x1,
  FUNCFLAG_FSOURCE = 0x2,
  FUNCFLAG_FBINDABLE = 0x4,
  FUNCFLAG_FREQUESTEDIT = 0x8,
  FUNCFLAG_FDISPLAYBIND = 0x10,
  FUNCFLAG_FDEFAULTBIND = 0x20,
  FUNCFLAG_FHIDDEN = 0x40,
  FUNCFLAG_FUSESGETLASTERROR = 0x80,
  FUNCFLAG_FDEFAULTCOLLELEM = 0x100,
  FUNCFLAG_FUIDEFAULT = 0x200,
  FUNCFLAG_FNONBROWSABLE = 0x400,
  FUNCFLAG_FREPLACEABLE = 0x800,
  FUNCFLAG_FIMMEDIATEBIND = 0x1000,
};

enum VARFLAGS {
  VARFLAG_FREADONLY = 0x1,
  VARFLAG_FSOURCE = 0x2,
  VARFLAG_FBINDABLE = 0x4,
  VARFLAG_FREQUESTEDIT = 0x8,
  VARFLAG_FDISPLAYBIND = 0x10,
  VARFLAG_FDEFAULTBIND = 0x20,
  VARFLAG_FHIDDEN = 0x40,
  VARFLAG_FRESTRICTED = 0x80,
  VARFLAG_FDEFAULTCOLLELEM = 0x100,
  VARFLAG_FUIDEFAULT = 0x200,
  VARFLAG_FNONBROWSABLE = 0x400,
  VARFLAG_FREPLACEABLE = 0x800,
  VARFLAG_FIMMEDIATEBIND = 0x1000,
};

enum SYSKIND {
  SYS_WIN16 = 0,
  SYS_WIN32 = 1,
  SYS_MAC = 2,
  SYS_WIN64 = 3,
};

enum LIBFLAGS {
  LIBFLAG_FRESTRICTED = 0x1,
  LIBFLAG_FCONTROL = 0x2,
  LIBFLAG_FHIDDEN = 0x4,
  LIBFLAG_FHASDISKIMAGE = 0x8,
};

struct TLIBATTR {
  GUID guid;
  LCID lcid;
  SYSKIND syskind;
  WORD wMajorVerNum;
  WORD wMinorVerNum;
  WORD wLibFlags;
};
using LPTLIBATTR = TLIBATTR*;

enum DESCKIND {
  DESCKIND_NONE = 0,
  DESCKIND_FUNCDESC = 1,
  DESCKIND_VARDESC = 2,
  DESCKIND_TYPECOMP = 3,
  DESCKIND_IMPLICITAPPOBJ = 4,
  DESCKIND_MAX = 5,
};

union BINDPTR {
  FUNCDESC* lpfuncdesc;
  VARDESC* lpvardesc;
  ITypeComp* lptcomp;
};
using LPBINDPTR = BINDPTR*;

static_assert(sizeof(TYPEDESC) == 16);
static_assert(sizeof(PARAMDESC) == 16);
static_assert(sizeof(ELEMDESC) == 32);
static_assert(sizeof(TYPEATTR) == 96);
static_assert(offsetof(TYPEATTR, typekind) == 44);
static_assert(sizeof(FUNCDESC) == 88);
static_assert(offsetof(FUNCDESC, elemdescFunc) == 48);
static_assert(sizeof(VARDESC) == 64);
static_assert(sizeof(TLIBATTR) == 32);

inline constexpr IID IID_ITypeInfo = {0x00020401, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ITypeLib = {0x00020402, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_ITypeComp = {0x00020403, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

struct ITypeComp : public IUnknown {
  STDMETHOD(Bind)(LPOLESTR szName, ULONG lHashVal, WORD wFlags, ITypeInfo** ppTInfo, DESCKIND* pDescKind,
                  BINDPTR* pBindPtr) = 0;
  STDMETHOD(BindType)(LPOLESTR szName, ULONG lHashVal, ITypeInfo** ppTInfo, ITypeComp** ppTComp) = 0;
};
using LPTYPECOMP = ITypeComp*;

struct ITypeInfo : public IUnknown {
  STDMETHOD(GetTypeAttr)(TYPEATTR** ppTypeAttr) = 0;
  STDMETHOD(GetTypeComp)(ITypeComp** ppTComp) = 0;
  STDMETHOD(GetFuncDesc)(UINT index, FUNCDESC** ppFuncDesc) = 0;
  STDMETHOD(GetVarDesc)(UINT index, VARDESC** ppVarDesc) = 0;
  STDMETHOD(GetNames)(MEMBERID memid, BSTR* rgBstrNames, UINT cMaxNames, UINT* pcNames) = 0;
  STDMETHOD(GetRefTypeOfImplType)(UINT index, HREFTYPE* pRefType) = 0;
  STDMETHOD(GetImplTypeFlags)(UINT index, INT* pImplTypeFlags) = 0;
  STDMETHOD(GetIDsOfNames)(LPOLESTR* rgszNames, UINT cNames, MEMBERID* pMemId) = 0;
  STDMETHOD(Invoke)(PVOID pvInstance, MEMBERID memid, WORD wFlags, DISPPARAMS* pDispParams,
                    VARIANT* pVarResult, EXCEPINFO* pExcepInfo, UINT* puArgErr) = 0;
  STDMETHOD(GetDocumentation)(MEMBERID memid, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                              BSTR* pBstrHelpFile) = 0;
  STDMETHOD(GetDllEntry)(MEMBERID memid, INVOKEKIND invKind, BSTR* pBstrDllName, BSTR* pBstrName,
                         WORD* pwOrdinal) = 0;
  STDMETHOD(GetRefTypeInfo)(HREFTYPE hRefType, ITypeInfo** ppTInfo) = 0;
  STDMETHOD(AddressOfMember)(MEMBERID memid, INVOKEKIND invKind, PVOID* ppv) = 0;
  STDMETHOD(CreateInstance)(IUnknown* pUnkOuter, REFIID riid, PVOID* ppvObj) = 0;
  STDMETHOD(GetMops)(MEMBERID memid, BSTR* pBstrMops) = 0;
  STDMETHOD(GetContainingTypeLib)(ITypeLib** ppTLib, UINT* pIndex) = 0;
  STDMETHOD_(void, ReleaseTypeAttr)(TYPEATTR* pTypeAttr) = 0;
  STDMETHOD_(void, ReleaseFuncDesc)(FUNCDESC* pFuncDesc) = 0;
  STDMETHOD_(void, ReleaseVarDesc)(VARDESC* pVarDesc) = 0;
};
using LPTYPEINFO = ITypeInfo*;

struct ITypeLib : public IUnknown {
  STDMETHOD_(UINT, GetTypeInfoCount)() = 0;
  STDMETHOD(GetTypeInfo)(UINT index, ITypeInfo** ppTInfo) = 0;
  STDMETHOD(GetTypeInfoType)(UINT index, TYPEKIND* pTKind) = 0;
  STDMETHOD(GetTypeInfoOfGuid)(REFGUID guid, ITypeInfo** ppTinfo) = 0;
  STDMETHOD(GetLibAttr)(TLIBATTR** ppTLibAttr) = 0;
  STDMETHOD(GetTypeComp)(ITypeComp** ppTComp) = 0;
  STDMETHOD(GetDocumentation)(INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                              BSTR* pBstrHelpFile) = 0;
  STDMETHOD(IsName)(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) = 0;
  STDMETHOD(FindName)(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                      USHORT* pcFound) = 0;
  STDMETHOD_(void, ReleaseTLibAttr)(TLIBATTR* pTLibAttr) = 0;
};
using LPTYPELIB = ITypeLib*;

QUILLBOX_DECLARE_INTERFACE(ITypeComp, IUnknown, IID_ITypeComp);
QUILLBOX_DECLARE_INTERFACE(ITypeInfo, IUnknown, IID_ITypeInfo);
QUILLBOX_DECLARE_INTERFACE(ITypeLib, IUnknown, IID_ITypeLib);
