// Every property type written and read back, in a Unicode (1200) set and in
// an ANSI (1252) set, through a fresh open so the bytes are what is read.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

template <class T>
T* TaskArray(std::initializer_list<T> items) {
  T* out = static_cast<T*>(CoTaskMemAlloc(sizeof(T) * items.size()));
  size_t i = 0;
  for (const T& item : items) out[i++] = item;
  return out;
}

LPSTR TaskAnsi(const char* text) {
  auto* out = static_cast<LPSTR>(CoTaskMemAlloc(std::strlen(text) + 1));
  std::memcpy(out, text, std::strlen(text) + 1);
  return out;
}

LPWSTR TaskWide(const char16_t* text) {
  size_t n = 0;
  while (text[n]) ++n;
  auto* out = static_cast<LPWSTR>(CoTaskMemAlloc((n + 1) * 2));
  std::memcpy(out, text, (n + 1) * 2);
  return out;
}

struct Case {
  const char* name;
  std::function<void(PROPVARIANT*)> make;
  std::function<void(const PROPVARIANT&)> check;
};

std::vector<Case> Cases() {
  std::vector<Case> cases;
  auto scalar = [&](const char* name, VARTYPE vt, auto setter, auto checker) {
    cases.push_back({name, [=](PROPVARIANT* v) { v->vt = vt; setter(v); },
                     [=](const PROPVARIANT& v) { EXPECT_EQ(v.vt, vt); checker(v); }});
  };
  scalar("EMPTY", VT_EMPTY, [](PROPVARIANT*) {}, [](const PROPVARIANT&) {});
  scalar("NULL", VT_NULL, [](PROPVARIANT*) {}, [](const PROPVARIANT&) {});
  scalar("I1", VT_I1, [](PROPVARIANT* v) { v->cVal = -5; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.cVal, -5); });
  scalar("UI1", VT_UI1, [](PROPVARIANT* v) { v->bVal = 250; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.bVal, 250); });
  scalar("I2", VT_I2, [](PROPVARIANT* v) { v->iVal = -1234; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.iVal, -1234); });
  scalar("UI2", VT_UI2, [](PROPVARIANT* v) { v->uiVal = 65000; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.uiVal, 65000); });
  scalar("I4", VT_I4, [](PROPVARIANT* v) { v->lVal = -7; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.lVal, -7); });
  scalar("UI4", VT_UI4, [](PROPVARIANT* v) { v->ulVal = 4000000000u; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.ulVal, 4000000000u); });
  scalar("INT", VT_INT, [](PROPVARIANT* v) { v->intVal = -99; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.intVal, -99); });
  scalar("UINT", VT_UINT, [](PROPVARIANT* v) { v->uintVal = 99; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.uintVal, 99u); });
  scalar("I8", VT_I8, [](PROPVARIANT* v) { v->hVal.QuadPart = -(1ll << 40); }, [](const PROPVARIANT& v) { EXPECT_EQ(v.hVal.QuadPart, -(1ll << 40)); });
  scalar("UI8", VT_UI8, [](PROPVARIANT* v) { v->uhVal.QuadPart = 1ull << 63; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.uhVal.QuadPart, 1ull << 63); });
  scalar("R4", VT_R4, [](PROPVARIANT* v) { v->fltVal = 1.5f; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.fltVal, 1.5f); });
  scalar("R8", VT_R8, [](PROPVARIANT* v) { v->dblVal = -2.25; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.dblVal, -2.25); });
  scalar("CY", VT_CY, [](PROPVARIANT* v) { v->cyVal.int64 = 123456789; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.cyVal.int64, 123456789); });
  scalar("DATE", VT_DATE, [](PROPVARIANT* v) { v->date = 45000.5; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.date, 45000.5); });
  scalar("BOOL", VT_BOOL, [](PROPVARIANT* v) { v->boolVal = VARIANT_TRUE; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.boolVal, VARIANT_TRUE); });
  scalar("ERROR", VT_ERROR, [](PROPVARIANT* v) { v->scode = E_FAIL; }, [](const PROPVARIANT& v) { EXPECT_EQ(v.scode, E_FAIL); });
  scalar("FILETIME", VT_FILETIME, [](PROPVARIANT* v) { v->filetime = {0x89ABCDEF, 0x01D00000}; },
         [](const PROPVARIANT& v) { EXPECT_EQ(v.filetime.dwLowDateTime, 0x89ABCDEFu); EXPECT_EQ(v.filetime.dwHighDateTime, 0x01D00000u); });
  scalar("DECIMAL", VT_DECIMAL, [](PROPVARIANT* v) { v->decVal.Lo64 = 12345; v->decVal.Hi32 = 7; v->decVal.scale = 3; v->decVal.sign = DECIMAL_NEG; v->vt = VT_DECIMAL; },
         [](const PROPVARIANT& v) { EXPECT_EQ(v.decVal.Lo64, 12345u); EXPECT_EQ(v.decVal.Hi32, 7u); EXPECT_EQ(v.decVal.scale, 3); EXPECT_EQ(v.decVal.sign, DECIMAL_NEG); });
  scalar("BSTR", VT_BSTR, [](PROPVARIANT* v) { v->bstrVal = SysAllocString(u"Caf\u00e9 text"); },
         [](const PROPVARIANT& v) { EXPECT_EQ(std::u16string(v.bstrVal), u"Caf\u00e9 text"); });
  scalar("LPSTR", VT_LPSTR, [](PROPVARIANT* v) { v->pszVal = TaskAnsi("ANSI \xE9"); },
         [](const PROPVARIANT& v) { EXPECT_STREQ(v.pszVal, "ANSI \xE9"); });
  scalar("LPWSTR", VT_LPWSTR, [](PROPVARIANT* v) { v->pwszVal = TaskWide(u"wide \u4e2d\u6587"); },
         [](const PROPVARIANT& v) { EXPECT_EQ(std::u16string(v.pwszVal), u"wide \u4e2d\u6587"); });
  scalar("BLOB", VT_BLOB, [](PROPVARIANT* v) { v->blob.cbSize = 5; v->blob.pBlobData = TaskArray<BYTE>({1, 2, 3, 4, 5}); },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.blob.cbSize, 5u); EXPECT_EQ(v.blob.pBlobData[4], 5); });
  scalar("BLOB_OBJECT", VT_BLOB_OBJECT, [](PROPVARIANT* v) { v->blob.cbSize = 2; v->blob.pBlobData = TaskArray<BYTE>({9, 8}); },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.blob.cbSize, 2u); EXPECT_EQ(v.blob.pBlobData[1], 8); });
  scalar("CF", VT_CF, [](PROPVARIANT* v) {
           v->pclipdata = static_cast<CLIPDATA*>(CoTaskMemAlloc(sizeof(CLIPDATA)));
           v->pclipdata->cbSize = 7; v->pclipdata->ulClipFmt = -1; v->pclipdata->pClipData = TaskArray<BYTE>({3, 0, 7});
         },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.pclipdata->cbSize, 7u); EXPECT_EQ(v.pclipdata->ulClipFmt, -1); EXPECT_EQ(v.pclipdata->pClipData[2], 7); });
  scalar("CLSID", VT_CLSID, [](PROPVARIANT* v) { v->puuid = TaskArray<CLSID>({kTestFmtid}); },
         [](const PROPVARIANT& v) { EXPECT_TRUE(IsEqualGUID(*v.puuid, kTestFmtid)); });
  scalar("VECTOR_UI1", VT_VECTOR | VT_UI1, [](PROPVARIANT* v) { v->caub = {3, TaskArray<UCHAR>({1, 2, 3})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.caub.cElems, 3u); EXPECT_EQ(v.caub.pElems[2], 3); });
  scalar("VECTOR_I1", VT_VECTOR | VT_I1, [](PROPVARIANT* v) { v->cac = {2, TaskArray<CHAR>({-1, 1})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cac.cElems, 2u); EXPECT_EQ(v.cac.pElems[0], -1); });
  scalar("VECTOR_UI2", VT_VECTOR | VT_UI2, [](PROPVARIANT* v) { v->caui = {1, TaskArray<USHORT>({60000})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.caui.cElems, 1u); EXPECT_EQ(v.caui.pElems[0], 60000); });
  scalar("VECTOR_I4", VT_VECTOR | VT_I4, [](PROPVARIANT* v) { v->cal = {2, TaskArray<LONG>({-1, 2})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cal.cElems, 2u); EXPECT_EQ(v.cal.pElems[1], 2); });
  scalar("VECTOR_UI4", VT_VECTOR | VT_UI4, [](PROPVARIANT* v) { v->caul = {1, TaskArray<ULONG>({7})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.caul.cElems, 1u); EXPECT_EQ(v.caul.pElems[0], 7u); });
  scalar("VECTOR_I8", VT_VECTOR | VT_I8, [](PROPVARIANT* v) { LARGE_INTEGER x; x.QuadPart = -3; v->cah = {1, TaskArray<LARGE_INTEGER>({x})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cah.cElems, 1u); EXPECT_EQ(v.cah.pElems[0].QuadPart, -3); });
  scalar("VECTOR_UI8", VT_VECTOR | VT_UI8, [](PROPVARIANT* v) { ULARGE_INTEGER x; x.QuadPart = 3; v->cauh = {1, TaskArray<ULARGE_INTEGER>({x})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cauh.cElems, 1u); EXPECT_EQ(v.cauh.pElems[0].QuadPart, 3u); });
  scalar("VECTOR_R4", VT_VECTOR | VT_R4, [](PROPVARIANT* v) { v->caflt = {1, TaskArray<FLOAT>({0.5f})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.caflt.cElems, 1u); EXPECT_EQ(v.caflt.pElems[0], 0.5f); });
  scalar("VECTOR_R8", VT_VECTOR | VT_R8, [](PROPVARIANT* v) { v->cadbl = {2, TaskArray<DOUBLE>({0.25, 8})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cadbl.cElems, 2u); EXPECT_EQ(v.cadbl.pElems[1], 8); });
  scalar("VECTOR_CY", VT_VECTOR | VT_CY, [](PROPVARIANT* v) { CY c; c.int64 = 5; v->cacy = {1, TaskArray<CY>({c})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cacy.cElems, 1u); EXPECT_EQ(v.cacy.pElems[0].int64, 5); });
  scalar("VECTOR_DATE", VT_VECTOR | VT_DATE, [](PROPVARIANT* v) { v->cadate = {1, TaskArray<DATE>({2.5})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cadate.cElems, 1u); EXPECT_EQ(v.cadate.pElems[0], 2.5); });
  scalar("VECTOR_BOOL", VT_VECTOR | VT_BOOL, [](PROPVARIANT* v) { v->cabool = {3, TaskArray<VARIANT_BOOL>({VARIANT_TRUE, VARIANT_FALSE, VARIANT_TRUE})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cabool.cElems, 3u); EXPECT_EQ(v.cabool.pElems[2], VARIANT_TRUE); });
  scalar("VECTOR_ERROR", VT_VECTOR | VT_ERROR, [](PROPVARIANT* v) { v->cascode = {1, TaskArray<SCODE>({E_FAIL})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cascode.cElems, 1u); EXPECT_EQ(v.cascode.pElems[0], E_FAIL); });
  scalar("VECTOR_FILETIME", VT_VECTOR | VT_FILETIME, [](PROPVARIANT* v) { v->cafiletime = {1, TaskArray<FILETIME>({{1, 2}})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cafiletime.cElems, 1u); EXPECT_EQ(v.cafiletime.pElems[0].dwHighDateTime, 2u); });
  scalar("VECTOR_CLSID", VT_VECTOR | VT_CLSID, [](PROPVARIANT* v) { v->cauuid = {2, TaskArray<CLSID>({kTestFmtid, CLSID_NULL})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cauuid.cElems, 2u); EXPECT_TRUE(IsEqualGUID(v.cauuid.pElems[0], kTestFmtid)); });
  scalar("VECTOR_BSTR", VT_VECTOR | VT_BSTR, [](PROPVARIANT* v) { v->cabstr = {2, TaskArray<BSTR>({SysAllocString(u"one"), SysAllocString(u"three")})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.cabstr.cElems, 2u); EXPECT_EQ(std::u16string(v.cabstr.pElems[1]), u"three"); });
  scalar("VECTOR_LPSTR", VT_VECTOR | VT_LPSTR, [](PROPVARIANT* v) { v->calpstr = {3, TaskArray<LPSTR>({TaskAnsi("a"), TaskAnsi("bcde"), TaskAnsi("")})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.calpstr.cElems, 3u); EXPECT_STREQ(v.calpstr.pElems[1], "bcde"); EXPECT_STREQ(v.calpstr.pElems[2], ""); });
  scalar("VECTOR_LPWSTR", VT_VECTOR | VT_LPWSTR, [](PROPVARIANT* v) { v->calpwstr = {2, TaskArray<LPWSTR>({TaskWide(u"x"), TaskWide(u"yz")})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.calpwstr.cElems, 2u); EXPECT_EQ(std::u16string(v.calpwstr.pElems[1]), u"yz"); });
  scalar("VECTOR_CF", VT_VECTOR | VT_CF, [](PROPVARIANT* v) { v->caclipdata = {1, TaskArray<CLIPDATA>({{5, 3, TaskArray<BYTE>({42})}})}; },
         [](const PROPVARIANT& v) { ASSERT_EQ(v.caclipdata.cElems, 1u); EXPECT_EQ(v.caclipdata.pElems[0].pClipData[0], 42); });
  scalar("VECTOR_VARIANT", VT_VECTOR | VT_VARIANT, [](PROPVARIANT* v) {
           auto* items = static_cast<PROPVARIANT*>(CoTaskMemAlloc(2 * sizeof(PROPVARIANT)));
           PropVariantInit(&items[0]); PropVariantInit(&items[1]);
           items[0].vt = VT_LPSTR; items[0].pszVal = TaskAnsi("Title");
           items[1].vt = VT_I4; items[1].lVal = 1;
           v->capropvar = {2, items};
         },
         [](const PROPVARIANT& v) {
           ASSERT_EQ(v.capropvar.cElems, 2u);
           EXPECT_STREQ(v.capropvar.pElems[0].pszVal, "Title");
           EXPECT_EQ(v.capropvar.pElems[1].lVal, 1);
         });
  scalar("ARRAY_I4", VT_ARRAY | VT_I4, [](PROPVARIANT* v) {
           SAFEARRAYBOUND bounds[2] = {{2, 1}, {3, -1}};
           v->parray = SafeArrayCreate(VT_I4, 2, bounds);
           for (LONG i = 0; i < 6; ++i) static_cast<LONG*>(v->parray->pvData)[i] = i * 10;
         },
         [](const PROPVARIANT& v) {
           ASSERT_EQ(SafeArrayGetDim(v.parray), 2u);
           LONG lower = 0;
           SafeArrayGetLBound(v.parray, 2, &lower);
           EXPECT_EQ(lower, -1);
           EXPECT_EQ(static_cast<LONG*>(v.parray->pvData)[5], 50);
         });
  scalar("ARRAY_BSTR", VT_ARRAY | VT_BSTR, [](PROPVARIANT* v) {
           v->parray = SafeArrayCreateVector(VT_BSTR, 0, 2);
           static_cast<BSTR*>(v->parray->pvData)[0] = SysAllocString(u"p");
           static_cast<BSTR*>(v->parray->pvData)[1] = SysAllocString(u"qr");
         },
         [](const PROPVARIANT& v) { EXPECT_EQ(std::u16string(static_cast<BSTR*>(v.parray->pvData)[1]), u"qr"); });
  scalar("ARRAY_VARIANT", VT_ARRAY | VT_VARIANT, [](PROPVARIANT* v) {
           v->parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
           auto* items = static_cast<VARIANT*>(v->parray->pvData);
           items[0].vt = VT_R8; items[0].dblVal = 3.5;
           items[1].vt = VT_BSTR; items[1].bstrVal = SysAllocString(u"s");
         },
         [](const PROPVARIANT& v) {
           auto* items = static_cast<VARIANT*>(v.parray->pvData);
           EXPECT_EQ(items[0].dblVal, 3.5);
           EXPECT_EQ(std::u16string(items[1].bstrVal), u"s");
         });
  scalar("ARRAY_DECIMAL", VT_ARRAY | VT_DECIMAL, [](PROPVARIANT* v) {
           v->parray = SafeArrayCreateVector(VT_DECIMAL, 0, 1);
           static_cast<DECIMAL*>(v->parray->pvData)[0].Lo64 = 77;
         },
         [](const PROPVARIANT& v) { EXPECT_EQ(static_cast<DECIMAL*>(v.parray->pvData)[0].Lo64, 77u); });
  return cases;
}

class TypeRoundTrip : public ::testing::TestWithParam<DWORD> {};

TEST_P(TypeRoundTrip, EveryTypeReadsBackAsWritten) {
  ComPtr<IStorage> root = MemoryStorage();
  ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
  const std::vector<Case> cases = Cases();
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
    for (size_t i = 0; i < cases.size(); ++i) {
      PropVar value;
      cases[i].make(&value);
      PROPSPEC spec = Id(static_cast<PROPID>(100 + i));
      EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK) << cases[i].name;
    }
  }
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Open(kTestFmtid, kRead, set.put()), S_OK);
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(cases[i].name);
    PropVar value;
    PROPSPEC spec = Id(static_cast<PROPID>(100 + i));
    ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
    cases[i].check(value);
  }
  STATPROPSETSTG stat{};
  ASSERT_EQ(set->Stat(&stat), S_OK);
  EXPECT_EQ(stat.grfFlags & PROPSETFLAG_ANSI, GetParam() & PROPSETFLAG_ANSI);
}

TEST_P(TypeRoundTrip, VersionOneTypesRaiseTheSetVersion) {
  ComPtr<IStorage> root = MemoryStorage();
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(SetsOf(root.get())->Create(kTestFmtid, nullptr, GetParam(), kCreate, set.put()), S_OK);
    PropVar value;
    value.vt = VT_I1;
    PROPSPEC spec = Id(2);
    ASSERT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  }
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, name);
  const std::vector<uint8_t> bytes = StreamBytes(root.get(), name);
  ASSERT_GE(bytes.size(), 4u);
  EXPECT_EQ(bytes[2], 1);  // version 1
}

INSTANTIATE_TEST_SUITE_P(CodePages, TypeRoundTrip, ::testing::Values(PROPSETFLAG_DEFAULT, PROPSETFLAG_ANSI),
                         [](const auto& info) { return info.param == PROPSETFLAG_ANSI ? "Ansi1252" : "Unicode1200"; });

}  // namespace
}  // namespace quillbox::testing
