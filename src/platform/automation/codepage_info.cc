// Which code pages exist and what they look like: GetACP, GetOEMCP,
// IsValidCodePage, GetCPInfo, GetCPInfoExW, and the pseudo code pages.
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/automation/codepage_table.h"
#include "quillbox/errhandlingapi.h"
#include "quillbox/winerror.h"
#include "quillbox/winnls.h"

namespace {

using quillbox::automation::CodePageKind;
using quillbox::automation::CodePageTable;
using quillbox::automation::FindCodePageTable;

constexpr UINT kDefaultAnsiCodePage = 1252;
constexpr UINT kDefaultOemCodePage = 437;
constexpr UINT kMacCodePage = 10000;

// A code page named by an environment variable, if it is one we can
// convert; read at each call so that a change takes effect at once.
UINT CodePageFromEnvironment(const char* name, UINT fallback) {
  const char* text = std::getenv(name);
  if (!text || !*text) return fallback;
  char* end = nullptr;
  const unsigned long value = std::strtoul(text, &end, 10);
  if (*end != '\0' || value == 0 || value > 65535) return fallback;
  const CodePageTable* table = FindCodePageTable(static_cast<UINT>(value));
  // UTF-7 cannot be the ANSI or OEM code page on Windows either.
  if (!table || table->kind == CodePageKind::kUtf7) return fallback;
  return static_cast<UINT>(value);
}

}  // namespace

namespace quillbox::automation {

UINT ResolveCodePage(UINT code_page) {
  switch (code_page) {
    case CP_ACP:
    case CP_THREAD_ACP:
      return GetACP();
    case CP_OEMCP:
      return GetOEMCP();
    case CP_MACCP:
      return kMacCodePage;
    default:
      return code_page;
  }
}

}  // namespace quillbox::automation

UINT GetACP(void) { return CodePageFromEnvironment("QUILLBOX_ACP", kDefaultAnsiCodePage); }

UINT GetOEMCP(void) { return CodePageFromEnvironment("QUILLBOX_OEMCP", kDefaultOemCodePage); }

BOOL IsValidCodePage(UINT CodePage) {
  // Only real code pages count; the pseudo ones (0-3) and CP_SYMBOL do not.
  if (CodePage <= CP_THREAD_ACP) return FALSE;
  return FindCodePageTable(CodePage) != nullptr;
}

BOOL GetCPInfoExW(UINT CodePage, DWORD dwFlags, LPCPINFOEXW lpCPInfoEx) {
  const CodePageTable* table = FindCodePageTable(quillbox::automation::ResolveCodePage(CodePage));
  if (!table || !lpCPInfoEx || dwFlags != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  CPINFOEXW& info = *lpCPInfoEx;
  std::memset(&info, 0, sizeof info);
  info.MaxCharSize = table->max_char_size;
  std::memcpy(info.DefaultChar, table->default_char, sizeof info.DefaultChar);
  std::memcpy(info.LeadByte, table->lead_bytes, sizeof info.LeadByte);
  info.UnicodeDefaultChar = table->unicode_default_char;
  info.CodePage = table->code_page;
  const std::string name = std::to_string(table->code_page);
  for (std::size_t i = 0; i < name.size(); ++i) info.CodePageName[i] = static_cast<WCHAR>(name[i]);
  return TRUE;
}

BOOL GetCPInfo(UINT CodePage, LPCPINFO lpCPInfo) {
  if (!lpCPInfo) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  CPINFOEXW info{};
  if (!GetCPInfoExW(CodePage, 0, &info)) return FALSE;
  lpCPInfo->MaxCharSize = info.MaxCharSize;
  std::memcpy(lpCPInfo->DefaultChar, info.DefaultChar, sizeof info.DefaultChar);
  std::memcpy(lpCPInfo->LeadByte, info.LeadByte, sizeof info.LeadByte);
  return TRUE;
}
