// Property sets: PROPVARIANT and the counted arrays it carries, PROPSPEC,
// IPropertyStorage, IPropertySetStorage and their enumerators, the
// well-known format identifiers and property ids, and the functions around
// them (PropVariantCopy/Clear, StgCreatePropSetStg, the FMTID <-> element
// name mapping). Layouts match 64-bit Windows.
#pragma once

#include "quillbox/oaidl.h"
#include "quillbox/objidl.h"

using FMTID = GUID;
using REFFMTID = const FMTID&;

// ---------------------------------------------------------------------------
// Values.

struct BLOB {
  ULONG cbSize;
  BYTE* pBlobData;
};
using LPBLOB = BLOB*;

struct BSTRBLOB {
  ULONG cbSize;
  BYTE* pData;
};

// Clipboard data: cbSize counts ulClipFmt (4 bytes) and the data after it.
struct CLIPDATA {
  ULONG cbSize;
  LONG ulClipFmt;
  BYTE* pClipData;
};
#define CBPCLIPDATA(clipdata) ((clipdata).cbSize - sizeof((clipdata).ulClipFmt))

struct VERSIONEDSTREAM {
  GUID guidVersion;
  IStream* pStream;
};
using LPVERSIONEDSTREAM = VERSIONEDSTREAM*;

struct PROPVARIANT;

#define QUILLBOX_COUNTED_ARRAY(Name, Type) \
  struct Name {                            \
    ULONG cElems;                          \
    Type* pElems;                          \
  }
QUILLBOX_COUNTED_ARRAY(CAC, CHAR);
QUILLBOX_COUNTED_ARRAY(CAUB, UCHAR);
QUILLBOX_COUNTED_ARRAY(CAI, SHORT);
QUILLBOX_COUNTED_ARRAY(CAUI, USHORT);
QUILLBOX_COUNTED_ARRAY(CAL, LONG);
QUILLBOX_COUNTED_ARRAY(CAUL, ULONG);
QUILLBOX_COUNTED_ARRAY(CAH, LARGE_INTEGER);
QUILLBOX_COUNTED_ARRAY(CAUH, ULARGE_INTEGER);
QUILLBOX_COUNTED_ARRAY(CAFLT, FLOAT);
QUILLBOX_COUNTED_ARRAY(CADBL, DOUBLE);
QUILLBOX_COUNTED_ARRAY(CABOOL, VARIANT_BOOL);
QUILLBOX_COUNTED_ARRAY(CASCODE, SCODE);
QUILLBOX_COUNTED_ARRAY(CACY, CY);
QUILLBOX_COUNTED_ARRAY(CADATE, DATE);
QUILLBOX_COUNTED_ARRAY(CAFILETIME, FILETIME);
QUILLBOX_COUNTED_ARRAY(CACLSID, CLSID);
QUILLBOX_COUNTED_ARRAY(CACLIPDATA, CLIPDATA);
QUILLBOX_COUNTED_ARRAY(CABSTR, BSTR);
QUILLBOX_COUNTED_ARRAY(CABSTRBLOB, BSTRBLOB);
QUILLBOX_COUNTED_ARRAY(CALPSTR, LPSTR);
QUILLBOX_COUNTED_ARRAY(CALPWSTR, LPWSTR);
QUILLBOX_COUNTED_ARRAY(CAPROPVARIANT, PROPVARIANT);
#undef QUILLBOX_COUNTED_ARRAY

// A property value: a VARIANT's layout with the property-set types added.
// Memory it owns comes from CoTaskMemAlloc (strings, blobs, arrays),
// SysAllocString (BSTR) or is a counted reference (streams, storages).
struct PROPVARIANT {
  union {
    __extension__ struct {
      VARTYPE vt;
      WORD wReserved1;
      WORD wReserved2;
      WORD wReserved3;
      union {
        CHAR cVal;
        UCHAR bVal;
        SHORT iVal;
        USHORT uiVal;
        LONG lVal;
        ULONG ulVal;
        INT intVal;
        UINT uintVal;
        LARGE_INTEGER hVal;
        ULARGE_INTEGER uhVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        FILETIME filetime;
        CLSID* puuid;
        CLIPDATA* pclipdata;
        BSTR bstrVal;
        BSTRBLOB bstrblobVal;
        BLOB blob;
        LPSTR pszVal;
        LPWSTR pwszVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        IStream* pStream;
        IStorage* pStorage;
        LPVERSIONEDSTREAM pVersionedStream;
        LPSAFEARRAY parray;
        CAC cac;
        CAUB caub;
        CAI cai;
        CAUI caui;
        CAL cal;
        CAUL caul;
        CAH cah;
        CAUH cauh;
        CAFLT caflt;
        CADBL cadbl;
        CABOOL cabool;
        CASCODE cascode;
        CACY cacy;
        CADATE cadate;
        CAFILETIME cafiletime;
        CACLSID cauuid;
        CACLIPDATA caclipdata;
        CABSTR cabstr;
        CABSTRBLOB cabstrblob;
        CALPSTR calpstr;
        CALPWSTR calpwstr;
        CAPROPVARIANT capropvar;
        CHAR* pcVal;
        UCHAR* pbVal;
        SHORT* piVal;
        USHORT* puiVal;
        LONG* plVal;
        ULONG* pulVal;
        INT* pintVal;
        UINT* puintVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        DECIMAL* pdecVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        LPSAFEARRAY* pparray;
        PROPVARIANT* pvarVal;
      };
    };
    DECIMAL decVal;
  };
};
using LPPROPVARIANT = PROPVARIANT*;
using REFPROPVARIANT = const PROPVARIANT&;

static_assert(sizeof(PROPVARIANT) == 24);
static_assert(offsetof(PROPVARIANT, lVal) == 8);
static_assert(offsetof(PROPVARIANT, decVal) == 0);

// ---------------------------------------------------------------------------
// Naming properties and describing them.

#define PRSPEC_INVALID 0xffffffff
#define PRSPEC_LPWSTR 0
#define PRSPEC_PROPID 1

struct PROPSPEC {
  ULONG ulKind;
  union {
    PROPID propid;
    LPOLESTR lpwstr;
  };
};

// Reserved property ids.
#define PID_DICTIONARY 0x00000000
#define PID_CODEPAGE 0x00000001
#define PID_FIRST_USABLE 0x00000002
#define PID_FIRST_NAME_DEFAULT 0x00000fff
#define PID_LOCALE 0x80000000
#define PID_MODIFY_TIME 0x80000001
#define PID_SECURITY 0x80000002
#define PID_BEHAVIOR 0x80000003
#define PID_ILLEGAL 0xffffffff
#define PID_MIN_READONLY 0x80000000
#define PID_MAX_READONLY 0xbfffffff

// Behavior property bits.
#define PROPSET_BEHAVIOR_CASE_SENSITIVE 1

// Summary information (FMTID_SummaryInformation).
#define PIDSI_TITLE 0x00000002
#define PIDSI_SUBJECT 0x00000003
#define PIDSI_AUTHOR 0x00000004
#define PIDSI_KEYWORDS 0x00000005
#define PIDSI_COMMENTS 0x00000006
#define PIDSI_TEMPLATE 0x00000007
#define PIDSI_LASTAUTHOR 0x00000008
#define PIDSI_REVNUMBER 0x00000009
#define PIDSI_EDITTIME 0x0000000a
#define PIDSI_LASTPRINTED 0x0000000b
#define PIDSI_CREATE_DTM 0x0000000c
#define PIDSI_LASTSAVE_DTM 0x0000000d
#define PIDSI_PAGECOUNT 0x0000000e
#define PIDSI_WORDCOUNT 0x0000000f
#define PIDSI_CHARCOUNT 0x00000010
#define PIDSI_THUMBNAIL 0x00000011
#define PIDSI_APPNAME 0x00000012
#define PIDSI_DOC_SECURITY 0x00000013

// Document summary information (FMTID_DocSummaryInformation).
#define PIDDSI_CATEGORY 0x00000002
#define PIDDSI_PRESFORMAT 0x00000003
#define PIDDSI_BYTECOUNT 0x00000004
#define PIDDSI_LINECOUNT 0x00000005
#define PIDDSI_PARCOUNT 0x00000006
#define PIDDSI_SLIDECOUNT 0x00000007
#define PIDDSI_NOTECOUNT 0x00000008
#define PIDDSI_HIDDENCOUNT 0x00000009
#define PIDDSI_MMCLIPCOUNT 0x0000000a
#define PIDDSI_SCALE 0x0000000b
#define PIDDSI_HEADINGPAIR 0x0000000c
#define PIDDSI_DOCPARTS 0x0000000d
#define PIDDSI_MANAGER 0x0000000e
#define PIDDSI_COMPANY 0x0000000f
#define PIDDSI_LINKSDIRTY 0x00000010

struct STATPROPSTG {
  LPOLESTR lpwstrName;  // CoTaskMemAlloc'd, or null for an unnamed property
  PROPID propid;
  VARTYPE vt;
};

// Property set flags (IPropertySetStorage::Create, STATPROPSETSTG::grfFlags).
#define PROPSETFLAG_DEFAULT 0
#define PROPSETFLAG_NONSIMPLE 1
#define PROPSETFLAG_ANSI 2
#define PROPSETFLAG_UNBUFFERED 4
#define PROPSETFLAG_CASE_SENSITIVE 8

#define PROPSETHDR_OSVERSION_UNKNOWN 0xFFFFFFFF

struct STATPROPSETSTG {
  FMTID fmtid;
  CLSID clsid;
  DWORD grfFlags;
  FILETIME mtime;
  FILETIME ctime;
  FILETIME atime;
  DWORD dwOSVersion;
};

// Characters in a property set's element name, terminator not included.
#define CCH_MAX_PROPSTG_NAME 31

inline constexpr FMTID FMTID_SummaryInformation = {0xF29F85E0, 0x4FF9, 0x1068, {0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9}};
inline constexpr FMTID FMTID_DocSummaryInformation = {0xD5CDD502, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};
inline constexpr FMTID FMTID_UserDefinedProperties = {0xD5CDD505, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};

inline constexpr IID IID_IPropertyStorage = {0x00000138, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumSTATPROPSTG = {0x00000139, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IPropertySetStorage = {0x0000013A, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumSTATPROPSETSTG = {0x0000013B, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// ---------------------------------------------------------------------------
// Interfaces, in Windows slot order.

struct IEnumSTATPROPSTG : public IUnknown {
  STDMETHOD(Next)(ULONG celt, STATPROPSTG* rgelt, ULONG* pceltFetched) = 0;
  STDMETHOD(Skip)(ULONG celt) = 0;
  STDMETHOD(Reset)() = 0;
  STDMETHOD(Clone)(IEnumSTATPROPSTG** ppenum) = 0;
};

struct IEnumSTATPROPSETSTG : public IUnknown {
  STDMETHOD(Next)(ULONG celt, STATPROPSETSTG* rgelt, ULONG* pceltFetched) = 0;
  STDMETHOD(Skip)(ULONG celt) = 0;
  STDMETHOD(Reset)() = 0;
  STDMETHOD(Clone)(IEnumSTATPROPSETSTG** ppenum) = 0;
};

struct IPropertyStorage : public IUnknown {
  STDMETHOD(ReadMultiple)(ULONG cpspec, const PROPSPEC rgpspec[], PROPVARIANT rgpropvar[]) = 0;
  STDMETHOD(WriteMultiple)(ULONG cpspec, const PROPSPEC rgpspec[], const PROPVARIANT rgpropvar[],
                           PROPID propidNameFirst) = 0;
  STDMETHOD(DeleteMultiple)(ULONG cpspec, const PROPSPEC rgpspec[]) = 0;
  STDMETHOD(ReadPropertyNames)(ULONG cpropid, const PROPID rgpropid[], LPOLESTR rglpwstrName[]) = 0;
  STDMETHOD(WritePropertyNames)(ULONG cpropid, const PROPID rgpropid[], const LPOLESTR rglpwstrName[]) = 0;
  STDMETHOD(DeletePropertyNames)(ULONG cpropid, const PROPID rgpropid[]) = 0;
  STDMETHOD(Commit)(DWORD grfCommitFlags) = 0;
  STDMETHOD(Revert)() = 0;
  STDMETHOD(Enum)(IEnumSTATPROPSTG** ppenum) = 0;
  STDMETHOD(SetTimes)(const FILETIME* pctime, const FILETIME* patime, const FILETIME* pmtime) = 0;
  STDMETHOD(SetClass)(REFCLSID clsid) = 0;
  STDMETHOD(Stat)(STATPROPSETSTG* pstatpsstg) = 0;
};

struct IPropertySetStorage : public IUnknown {
  STDMETHOD(Create)(REFFMTID rfmtid, const CLSID* pclsid, DWORD grfFlags, DWORD grfMode,
                    IPropertyStorage** ppprstg) = 0;
  STDMETHOD(Open)(REFFMTID rfmtid, DWORD grfMode, IPropertyStorage** ppprstg) = 0;
  STDMETHOD(Delete)(REFFMTID rfmtid) = 0;
  STDMETHOD(Enum)(IEnumSTATPROPSETSTG** ppenum) = 0;
};

QUILLBOX_DECLARE_INTERFACE(IEnumSTATPROPSTG, IUnknown, IID_IEnumSTATPROPSTG);
QUILLBOX_DECLARE_INTERFACE(IEnumSTATPROPSETSTG, IUnknown, IID_IEnumSTATPROPSETSTG);
QUILLBOX_DECLARE_INTERFACE(IPropertyStorage, IUnknown, IID_IPropertyStorage);
QUILLBOX_DECLARE_INTERFACE(IPropertySetStorage, IUnknown, IID_IPropertySetStorage);

using LPPROPERTYSTORAGE = IPropertyStorage*;
using LPPROPERTYSETSTORAGE = IPropertySetStorage*;

// ---------------------------------------------------------------------------
// Functions.

// PropVariantClear frees what the value owns and leaves VT_EMPTY (an
// unknown type gives STG_E_INVALIDPARAMETER); PropVariantCopy copies deeply
// (streams and storages are shared with one more reference).
WINOLEAPI PropVariantClear(PROPVARIANT* pvar);
WINOLEAPI PropVariantCopy(PROPVARIANT* pvarDest, const PROPVARIANT* pvarSrc);
WINOLEAPI FreePropVariantArray(ULONG cVariants, PROPVARIANT* rgvars);
inline void PropVariantInit(PROPVARIANT* pvar) {
  static_assert(sizeof(PROPVARIANT) == 24);
  for (size_t i = 0; i < sizeof(PROPVARIANT); ++i) reinterpret_cast<unsigned char*>(pvar)[i] = 0;
}

// Conversion between the automation types (as VariantChangeType does) and
// the string kinds VT_LPSTR (ANSI code page) and VT_LPWSTR.
using PROPVAR_CHANGE_FLAGS = int;
#define PVCHF_DEFAULT 0x00000000
#define PVCHF_NOVALUEPROP 0x00000001
#define PVCHF_ALPHABOOL 0x00000002
#define PVCHF_NOUSEROVERRIDE 0x00000004
#define PVCHF_LOCALBOOL 0x00000008
#define PVCHF_NOHEXSTRING 0x00000010
WINOLEAPI PropVariantChangeType(PROPVARIANT* ppropvarDest, REFPROPVARIANT propvarSrc,
                                PROPVAR_CHANGE_FLAGS flags, VARTYPE vt);

// The property sets of a storage (the same object QueryInterface gives).
WINOLEAPI StgCreatePropSetStg(IStorage* pStorage, DWORD dwReserved, IPropertySetStorage** ppPropSetStg);

// FMTID <-> element name ("\005SummaryInformation", or 26 characters of
// base 32 after the \005). oszName holds CCH_MAX_PROPSTG_NAME + 1 characters.
WINOLEAPI FmtIdToPropStgName(const FMTID* pfmtid, LPOLESTR oszName);
WINOLEAPI PropStgNameToFmtId(const LPOLESTR oszName, FMTID* pfmtid);
