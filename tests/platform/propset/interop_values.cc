// Helpers of the property-set interoperability tests.
#include "interop_values.h"

#include <cstdio>
#include <cstring>

namespace quillbox::testing {

namespace {

constexpr long long kUnixEpochTicks = 116444736000000000ll;  // 1970-01-01 in FILETIME ticks

std::u16string FromAnsi(const char* text) {
  if (!text || !*text) return u"";
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::u16string out(size > 0 ? size : 0, u'\0');
  if (size > 0) MultiByteToWideChar(CP_ACP, 0, text, -1, out.data(), size);
  if (!out.empty()) out.pop_back();
  return out;
}

}  // namespace

PlainValue ToPlain(const PROPVARIANT& v) {
  PlainValue out;
  out.vt = v.vt;
  switch (v.vt) {
    case VT_LPSTR: out.text = FromAnsi(v.pszVal); break;
    case VT_LPWSTR: out.text = v.pwszVal ? v.pwszVal : u""; break;
    case VT_BSTR: out.text = v.bstrVal ? v.bstrVal : u""; break;
    case VT_I2: out.number = v.iVal; break;
    case VT_UI2: out.number = v.uiVal; break;
    case VT_I4: out.number = v.lVal; break;
    case VT_UI4: out.number = v.ulVal; break;
    case VT_INT: out.number = v.intVal; break;
    case VT_UINT: out.number = v.uintVal; break;
    case VT_I8: out.number = v.hVal.QuadPart; break;
    case VT_BOOL: out.number = v.boolVal ? 1 : 0; break;
    case VT_FILETIME: out.number = UnixOfFileTime(v.filetime); break;
    case VT_R8: out.real = v.dblVal; break;
    case VT_R4: out.real = v.fltVal; break;
    default: break;
  }
  return out;
}

PlainValue PlainSet::Named(const std::u16string& name) const {
  const auto found = names.find(name);
  return found == names.end() ? PlainValue{} : Id(found->second);
}

PlainValue PlainSet::Id(PROPID id) const {
  const auto found = values.find(id);
  return found == values.end() ? PlainValue{} : found->second;
}

HRESULT ReadPlainSet(const std::filesystem::path& path, const FMTID& fmtid, PlainSet* set) {
  const std::string narrow = path.string();
  const std::u16string wide(narrow.begin(), narrow.end());  // scratch paths are ASCII
  ComPtr<IPropertySetStorage> sets;
  HRESULT hr = StgOpenStorageEx(wide.c_str(), STGM_READ | STGM_SHARE_DENY_WRITE, STGFMT_STORAGE, 0, nullptr, nullptr,
                                IID_IPropertySetStorage, sets.put_void());
  if (FAILED(hr)) return hr;
  ComPtr<IPropertyStorage> props;
  if (FAILED(hr = sets->Open(fmtid, STGM_READ | STGM_SHARE_EXCLUSIVE, props.put()))) return hr;
  PROPSPEC code_page{};
  code_page.ulKind = PRSPEC_PROPID;
  code_page.propid = PID_CODEPAGE;
  PROPVARIANT page{};
  if (props->ReadMultiple(1, &code_page, &page) == S_OK && page.vt == VT_I2) set->code_page = static_cast<uint16_t>(page.iVal);
  PropVariantClear(&page);
  ComPtr<IEnumSTATPROPSTG> listing;
  if (FAILED(hr = props->Enum(listing.put()))) return hr;
  STATPROPSTG stat{};
  ULONG fetched = 0;
  while (listing->Next(1, &stat, &fetched) == S_OK && fetched == 1) {
    if (stat.lpwstrName) {
      set->names[stat.lpwstrName] = stat.propid;
      CoTaskMemFree(stat.lpwstrName);
    }
    PROPSPEC spec{};
    spec.ulKind = PRSPEC_PROPID;
    spec.propid = stat.propid;
    PROPVARIANT value{};
    if (FAILED(hr = props->ReadMultiple(1, &spec, &value))) return hr;
    set->values[stat.propid] = ToPlain(value);
    PropVariantClear(&value);
  }
  return S_OK;
}

FILETIME FileTimeOfUnix(long long seconds) {
  const unsigned long long ticks = static_cast<unsigned long long>(seconds * 10000000ll + kUnixEpochTicks);
  return FILETIME{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

long long UnixOfFileTime(const FILETIME& time) {
  const long long ticks =
      static_cast<long long>((static_cast<unsigned long long>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
  const long long since = ticks - kUnixEpochTicks;
  return since >= 0 ? since / 10000000 : -((-since + 9999999) / 10000000);
}

LPSTR AnsiCopy(const std::u16string& text) {
  const int size = WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr);
  auto* out = static_cast<LPSTR>(CoTaskMemAlloc(size > 0 ? size : 1));
  if (!out) return nullptr;
  out[0] = 0;
  if (size > 0) WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, out, size, nullptr, nullptr);
  return out;
}

std::string Escaped(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) {
    if (c >= 0x20 && c < 0x7F) {
      out += static_cast<char>(c);
    } else {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", static_cast<unsigned>(c));
      out += buf;
    }
  }
  return out;
}

}  // namespace quillbox::testing
