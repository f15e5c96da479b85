// The W3 scan: per file, Title, Author, Keywords and CreateDateTime of the
// summary set and every user-defined property (name, value), digested as
// workload.json says: "title TAB author TAB keywords TAB created LF", then
// "name TAB value LF" per user-defined property sorted by name; text as is,
// integers in decimal, booleans true/false, dates as Unix seconds.
#include "w3_scan.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <utility>
#include <vector>

#include "crc32.h"
#include "quillbox/platform.h"

namespace quillbox::bench {
namespace {

constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

std::string Utf8(const char16_t* text) {
  if (!text || !text[0]) return "";
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string out(size > 0 ? size : 0, '\0');
  if (size > 0) WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), size, nullptr, nullptr);
  if (!out.empty()) out.pop_back();  // the terminator
  return out;
}

// VT_LPSTR values come in the process's ANSI code page.
std::string Utf8FromAnsi(const char* text) {
  if (!text || !text[0]) return "";
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  std::u16string wide(size > 0 ? size : 0, u'\0');
  if (size > 0) MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size);
  return Utf8(wide.c_str());
}

long long UnixSeconds(const FILETIME& time) {
  const long long ticks = static_cast<long long>((static_cast<uint64_t>(time.dwHighDateTime) << 32) |
                                                 time.dwLowDateTime);
  const long long since = ticks - 116444736000000000ll;
  return since >= 0 ? since / 10000000 : -((-since + 9999999) / 10000000);  // floor, as the others do
}

std::string Canonical(const PROPVARIANT& v) {
  switch (v.vt) {
    case VT_LPSTR: return Utf8FromAnsi(v.pszVal);
    case VT_LPWSTR: return Utf8(v.pwszVal);
    case VT_BSTR: return Utf8(v.bstrVal);
    case VT_I2: return std::to_string(v.iVal);
    case VT_UI2: return std::to_string(v.uiVal);
    case VT_I4: return std::to_string(v.lVal);
    case VT_INT: return std::to_string(v.intVal);
    case VT_UI4: return std::to_string(v.ulVal);
    case VT_UINT: return std::to_string(v.uintVal);
    case VT_I8: return std::to_string(v.hVal.QuadPart);
    case VT_UI8: return std::to_string(v.uhVal.QuadPart);
    case VT_BOOL: return v.boolVal ? "true" : "false";
    case VT_FILETIME: return std::to_string(UnixSeconds(v.filetime));
    default: return "";
  }
}

PROPSPEC Id(PROPID id) {
  PROPSPEC spec{};
  spec.ulKind = PRSPEC_PROPID;
  spec.propid = id;
  return spec;
}

HRESULT ScanFile(const std::string& path, std::string* digest, int* user_props) {
  const std::u16string wide(path.begin(), path.end());
  ComPtr<IPropertySetStorage> sets;
  HRESULT hr = StgOpenStorageEx(wide.c_str(), STGM_READ | STGM_SHARE_DENY_WRITE, STGFMT_STORAGE, 0, nullptr, nullptr,
                                IID_IPropertySetStorage, sets.put_void());
  if (FAILED(hr)) return hr;
  ComPtr<IPropertyStorage> summary;
  if (FAILED(hr = sets->Open(FMTID_SummaryInformation, kRead, summary.put()))) return hr;
  PROPSPEC specs[4] = {Id(PIDSI_TITLE), Id(PIDSI_AUTHOR), Id(PIDSI_KEYWORDS), Id(PIDSI_CREATE_DTM)};
  PROPVARIANT values[4] = {};
  if (FAILED(hr = summary->ReadMultiple(4, specs, values))) return hr;
  *digest = Canonical(values[0]) + '\t' + Canonical(values[1]) + '\t' + Canonical(values[2]) + '\t' +
            Canonical(values[3]) + '\n';
  FreePropVariantArray(4, values);

  ComPtr<IPropertyStorage> user;
  hr = sets->Open(FMTID_UserDefinedProperties, kRead, user.put());
  if (hr == STG_E_FILENOTFOUND) return S_OK;  // no user-defined section: nothing more to digest
  if (FAILED(hr)) return hr;
  ComPtr<IEnumSTATPROPSTG> props;
  if (FAILED(hr = user->Enum(props.put()))) return hr;
  std::vector<std::pair<std::string, PROPID>> named;
  STATPROPSTG stat{};
  ULONG fetched = 0;
  while (props->Next(1, &stat, &fetched) == S_OK && fetched == 1) {
    named.emplace_back(Utf8(stat.lpwstrName), stat.propid);
    CoTaskMemFree(stat.lpwstrName);
  }
  std::sort(named.begin(), named.end());
  for (const auto& [name, id] : named) {
    PROPSPEC spec = Id(id);
    PROPVARIANT value{};
    if (FAILED(hr = user->ReadMultiple(1, &spec, &value))) return hr;
    *digest += name + '\t' + Canonical(value) + '\n';
    PropVariantClear(&value);
  }
  *user_props += static_cast<int>(named.size());
  return S_OK;
}

void AddText(Crc32* crc, const std::string& text) {
  crc->Add(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

}  // namespace

W3Result ScanW3(const std::string& dir, int files) {
  W3Result result;
  Crc32 crc;
  for (int i = 0; i < files; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "/doc%04d.doc", i);
    const std::string path = dir + name;
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (!ec) result.bytes += static_cast<long long>(size);
    std::string digest;
    const HRESULT hr = ScanFile(path, &digest, &result.user_props);
    if (FAILED(hr)) {
      if (result.error.empty()) {
        char text[64];
        std::snprintf(text, sizeof text, "doc%04d.doc: 0x%08X", i, static_cast<unsigned>(hr));
        result.error = text;
      }
      continue;
    }
    AddText(&crc, digest);
    ++result.files_read;
  }
  result.checksum = crc.value();
  return result;
}

uint32_t ExpectedW3Checksum(int files) {
  static const char* const kNames[] = {"Zo\xC3\xAB M\xC3\xBCller", "Jos\xC3\xA9 N\xC3\xBA\xC3\xB1\x65z", "Ann Smith",
                                       "J\xC3\xBCrgen Wei\xC3\x9F", "Fran\xC3\xA7ois Dupr\xC3\xA9"};
  constexpr long long kBase = 1577836800;  // 2020-01-01T00:00:00Z
  Crc32 crc;
  for (int i = 0; i < files; ++i) {
    const long long created = kBase + i * 3600ll;
    char title[32];
    std::snprintf(title, sizeof title, "Report %04d", i);
    std::string digest = std::string(title) + '\t' + kNames[i % 5] + "\talpha, beta, k" + std::to_string(i) + '\t' +
                         std::to_string(created) + '\n';
    // The generator's user-defined properties, by name: 2 + i % 5 of them.
    const int count = 2 + i % 5;
    std::vector<std::pair<std::string, std::string>> user = {{"Client", "Client " + std::to_string(i)},
                                                             {"ProjectNo", std::to_string(i * 7)}};
    if (count > 2) user.emplace_back("DueDate", std::to_string(created + 30ll * 86400));
    if (count > 3) user.emplace_back("Approved", i % 2 == 0 ? "true" : "false");
    if (count > 4) user.emplace_back("Reviewer", kNames[(i + 1) % 5]);
    if (count > 5) user.emplace_back("Revision", std::to_string(i % 13));
    std::sort(user.begin(), user.end());
    for (const auto& [name, value] : user) digest += name + '\t' + value + '\n';
    AddText(&crc, digest);
  }
  return crc.value();
}

}  // namespace quillbox::bench
