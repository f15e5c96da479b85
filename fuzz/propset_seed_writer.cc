// Writes the property-set streams of our own that seed the property-set
// fuzzer's corpus: a set holding every type we write (scalars, strings,
// vectors, an array), with names, in a Unicode (1200) and an ANSI (1252)
// set; summary and document summary sets with a user-defined section; an
// empty set; a case-sensitive one; a non-simple set's CONTENTS.
//   propset_seed_writer <folder>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

PROPSPEC Id(PROPID id) {
  PROPSPEC spec{};
  spec.ulKind = PRSPEC_PROPID;
  spec.propid = id;
  return spec;
}

// Values of every type we write; WriteMultiple only reads them, so they
// point at this object's own arrays.
struct AllTypes {
  CHAR ansi[16] = "ANSI \xE9t\xE9";
  CHAR ansi2[8] = "second";
  LPSTR ansi_items[2] = {ansi, ansi2};
  OLECHAR wide[16] = u"wide \u4e2d\u6587";
  LPWSTR wide_items[2] = {wide, wide};
  BYTE blob[5] = {1, 2, 3, 4, 5};
  CLSID clsid = {0x11223344, 0x5566, 0x7788, {9, 10, 11, 12, 13, 14, 15, 16}};
  CLSID clsids[2] = {clsid, clsid};
  BYTE clip_bytes[8] = {0xFF, 0xFF, 0xFF, 0xFF, 3, 0, 0, 0};
  CLIPDATA clip{8, -1, clip_bytes};
  SHORT shorts[3] = {-1, 2, -3};
  double doubles[2] = {0.5, -1e300};
  FILETIME times[2] = {{1, 2}, {0x89ABCDEF, 0x01D00000}};
  PROPVARIANT variants[3] = {};
  BSTR bstr = SysAllocString(u"Caf\u00e9 BSTR");
  BSTR bstrs[2] = {bstr, bstr};
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 3);
  std::vector<PROPVARIANT> values;

  AllTypes() {
    variants[0].vt = VT_I4;
    variants[0].lVal = 42;
    variants[1].vt = VT_LPWSTR;
    variants[1].pwszVal = wide;
    variants[2].vt = VT_R8;
    variants[2].dblVal = 3.25;
    if (array) {
      for (LONG i = 0; i < 3; ++i) {
        LONG item = 100 * i - 7;
        SafeArrayPutElement(array, &i, &item);
      }
    }
    auto add = [&](VARTYPE vt, auto set) {
      PROPVARIANT v{};
      v.vt = vt;
      set(v);
      values.push_back(v);
    };
    add(VT_EMPTY, [](PROPVARIANT&) {});
    add(VT_NULL, [](PROPVARIANT&) {});
    add(VT_I1, [](PROPVARIANT& v) { v.cVal = -5; });
    add(VT_UI1, [](PROPVARIANT& v) { v.bVal = 250; });
    add(VT_I2, [](PROPVARIANT& v) { v.iVal = -1234; });
    add(VT_UI2, [](PROPVARIANT& v) { v.uiVal = 65000; });
    add(VT_I4, [](PROPVARIANT& v) { v.lVal = -7; });
    add(VT_UI4, [](PROPVARIANT& v) { v.ulVal = 4000000000u; });
    add(VT_INT, [](PROPVARIANT& v) { v.intVal = -99; });
    add(VT_UINT, [](PROPVARIANT& v) { v.uintVal = 99; });
    add(VT_I8, [](PROPVARIANT& v) { v.hVal.QuadPart = -(1ll << 40); });
    add(VT_UI8, [](PROPVARIANT& v) { v.uhVal.QuadPart = 1ull << 63; });
    add(VT_R4, [](PROPVARIANT& v) { v.fltVal = 1.5f; });
    add(VT_R8, [](PROPVARIANT& v) { v.dblVal = -2.25; });
    add(VT_CY, [](PROPVARIANT& v) { v.cyVal.int64 = 123456789; });
    add(VT_DATE, [](PROPVARIANT& v) { v.date = 45000.5; });
    add(VT_BOOL, [](PROPVARIANT& v) { v.boolVal = VARIANT_TRUE; });
    add(VT_ERROR, [](PROPVARIANT& v) { v.scode = E_FAIL; });
    add(VT_FILETIME, [](PROPVARIANT& v) { v.filetime = {0x89ABCDEF, 0x01D00000}; });
    add(VT_DECIMAL, [](PROPVARIANT& v) {
      v.decVal.Lo64 = 12345;
      v.decVal.scale = 3;
      v.vt = VT_DECIMAL;
    });
    add(VT_BSTR, [&](PROPVARIANT& v) { v.bstrVal = bstr; });
    add(VT_LPSTR, [&](PROPVARIANT& v) { v.pszVal = ansi; });
    add(VT_LPWSTR, [&](PROPVARIANT& v) { v.pwszVal = wide; });
    add(VT_BLOB, [&](PROPVARIANT& v) { v.blob = {5, blob}; });
    add(VT_BLOB_OBJECT, [&](PROPVARIANT& v) { v.blob = {5, blob}; });
    add(VT_CLSID, [&](PROPVARIANT& v) { v.puuid = &clsid; });
    add(VT_CF, [&](PROPVARIANT& v) { v.pclipdata = &clip; });
    add(VT_VECTOR | VT_I2, [&](PROPVARIANT& v) { v.cai = {3, shorts}; });
    add(VT_VECTOR | VT_R8, [&](PROPVARIANT& v) { v.cadbl = {2, doubles}; });
    add(VT_VECTOR | VT_FILETIME, [&](PROPVARIANT& v) { v.cafiletime = {2, times}; });
    add(VT_VECTOR | VT_LPSTR, [&](PROPVARIANT& v) { v.calpstr = {2, ansi_items}; });
    add(VT_VECTOR | VT_LPWSTR, [&](PROPVARIANT& v) { v.calpwstr = {2, wide_items}; });
    add(VT_VECTOR | VT_BSTR, [&](PROPVARIANT& v) { v.cabstr = {2, bstrs}; });
    add(VT_VECTOR | VT_CLSID, [&](PROPVARIANT& v) { v.cauuid = {2, clsids}; });
    add(VT_VECTOR | VT_CF, [&](PROPVARIANT& v) { v.caclipdata = {1, &clip}; });
    add(VT_VECTOR | VT_VARIANT, [&](PROPVARIANT& v) { v.capropvar = {3, variants}; });
    if (array) add(VT_ARRAY | VT_I4, [&](PROPVARIANT& v) { v.parray = array; });
  }
  ~AllTypes() {
    SysFreeString(bstr);
    if (array) SafeArrayDestroy(array);
  }
};

bool Save(const std::string& path, IStorage* where, const char16_t* stream_name) {
  ComPtr<IStream> stream;
  if (FAILED(where->OpenStream(stream_name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()))) return false;
  std::vector<char> bytes;
  char buf[4096];
  ULONG got = 0;
  while (SUCCEEDED(stream->Read(buf, sizeof buf, &got)) && got > 0) bytes.insert(bytes.end(), buf, buf + got);
  std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return !bytes.empty();
}

ComPtr<IStorage> NewMemoryStorage() {
  ComPtr<ILockBytes> memory;
  ComPtr<IStorage> root;
  if (SUCCEEDED(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put()))) {
    StgCreateDocfileOnILockBytes(memory.get(), kCreate, 0, root.put());
  }
  return root;
}

ComPtr<IPropertyStorage> NewSet(IStorage* root, const FMTID& fmtid, DWORD flags) {
  ComPtr<IPropertySetStorage> sets;
  ComPtr<IPropertyStorage> set;
  if (SUCCEEDED(root->QueryInterface(IID_IPropertySetStorage, sets.put_void()))) {
    sets->Create(fmtid, nullptr, flags, kCreate, set.put());
  }
  return set;
}

// Every type under ids 2.., each with a name.
bool WriteAllTypes(IPropertyStorage* set) {
  AllTypes all;
  bool ok = true;
  for (size_t i = 0; i < all.values.size(); ++i) {
    PROPSPEC spec = Id(static_cast<PROPID>(2 + i));
    ok = SUCCEEDED(set->WriteMultiple(1, &spec, &all.values[i], PID_FIRST_USABLE)) && ok;
    std::u16string name = u"Type " + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)) +
                          std::u16string(i / 26 + 1, u'\u00e9');
    PROPID id = spec.propid;
    LPOLESTR text = name.data();
    ok = SUCCEEDED(set->WritePropertyNames(1, &id, &text)) && ok;
  }
  return ok;
}

bool WriteText(IPropertyStorage* set, PROPID id, const char* text) {
  PROPSPEC spec = Id(id);
  PROPVARIANT v{};
  v.vt = VT_LPSTR;
  v.pszVal = const_cast<LPSTR>(text);
  return SUCCEEDED(set->WriteMultiple(1, &spec, &v, PID_FIRST_USABLE));
}

const FMTID kOther = {0x6B1F3A20, 0x5D21, 0x4C7A, {0x9E, 0x01, 0x42, 0x7A, 0x11, 0xC3, 0x88, 0x5F}};

bool Make(const std::string& dir) {
  bool ok = true;
  for (auto [flags, label] : {std::pair{DWORD{PROPSETFLAG_DEFAULT}, "unicode"}, std::pair{DWORD{PROPSETFLAG_ANSI}, "ansi"}}) {
    auto root = NewMemoryStorage();
    ok = ok && root;
    if (!root) continue;
    {
      auto set = NewSet(root.get(), kOther, flags);
      ok = ok && set && WriteAllTypes(set.get());
    }
    OLECHAR name[32] = {};
    FmtIdToPropStgName(&kOther, name);
    ok = Save(dir + "/ours-all-types-" + label + ".propset", root.get(), name) && ok;
  }
  {
    auto root = NewMemoryStorage();
    {
      auto summary = NewSet(root.get(), FMTID_SummaryInformation, PROPSETFLAG_ANSI);
      ok = ok && summary && WriteText(summary.get(), PIDSI_TITLE, "Title \xE9") &&
           WriteText(summary.get(), PIDSI_AUTHOR, "Ann Smith");
      auto doc = NewSet(root.get(), FMTID_DocSummaryInformation, PROPSETFLAG_ANSI);
      ok = ok && doc && WriteText(doc.get(), PIDDSI_COMPANY, "Example");
      doc = nullptr;
      auto user = NewSet(root.get(), FMTID_UserDefinedProperties, PROPSETFLAG_ANSI);
      ok = ok && user && WriteAllTypes(user.get());
    }
    ok = Save(dir + "/ours-summary.propset", root.get(), u"\005SummaryInformation") && ok;
    ok = Save(dir + "/ours-docsummary-user.propset", root.get(), u"\005DocumentSummaryInformation") && ok;
  }
  {
    auto root = NewMemoryStorage();
    { ok = ok && NewSet(root.get(), kOther, PROPSETFLAG_DEFAULT); }
    OLECHAR name[32] = {};
    FmtIdToPropStgName(&kOther, name);
    ok = Save(dir + "/ours-empty.propset", root.get(), name) && ok;
  }
  {
    auto root = NewMemoryStorage();
    {
      auto set = NewSet(root.get(), kOther, PROPSETFLAG_CASE_SENSITIVE);
      ok = ok && set && WriteAllTypes(set.get());
    }
    OLECHAR name[32] = {};
    FmtIdToPropStgName(&kOther, name);
    ok = Save(dir + "/ours-case-sensitive.propset", root.get(), name) && ok;
  }
  {
    auto root = NewMemoryStorage();
    {
      auto set = NewSet(root.get(), kOther, PROPSETFLAG_NONSIMPLE);
      ok = ok && set && WriteText(set.get(), 2, "non-simple");
    }
    OLECHAR name[32] = {};
    FmtIdToPropStgName(&kOther, name);
    ComPtr<IStorage> inner;
    ok = SUCCEEDED(root->OpenStorage(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, inner.put())) &&
         Save(dir + "/ours-nonsimple-contents.propset", inner.get(), u"CONTENTS") && ok;
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: propset_seed_writer <folder>\n");
    return 2;
  }
  if (!Make(argv[1])) {
    std::fprintf(stderr, "propset_seed_writer: a seed could not be written\n");
    return 1;
  }
  return 0;
}
