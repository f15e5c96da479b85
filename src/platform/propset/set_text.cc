// Code page conversions for property-set strings, through the platform's
// MultiByteToWideChar / WideCharToMultiByte.
#include "platform/propset/set_text.h"

#include "quillbox/winerror.h"
#include "quillbox/winnls.h"

namespace quillbox::propset {

namespace {

constexpr HRESULT kNoTranslation = HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION);

HRESULT MultiToWide(UINT code_page, std::string_view bytes, std::u16string* out) {
  out->clear();
  if (bytes.empty()) return S_OK;
  if (bytes.size() > 0x7fffffff) return STG_E_INVALIDPARAMETER;
  const int n = static_cast<int>(bytes.size());
  const int need = MultiByteToWideChar(code_page, 0, bytes.data(), n, nullptr, 0);
  if (need <= 0) return kNoTranslation;
  out->resize(static_cast<size_t>(need));
  if (MultiByteToWideChar(code_page, 0, bytes.data(), n, out->data(), need) != need) return kNoTranslation;
  return S_OK;
}

HRESULT WideToMulti(UINT code_page, std::u16string_view text, std::string* out) {
  out->clear();
  if (text.empty()) return S_OK;
  if (text.size() > 0x7fffffff) return STG_E_INVALIDPARAMETER;
  const int n = static_cast<int>(text.size());
  // UTF-8 and friends take no default-character arguments; their failures
  // are ill-formed UTF-16, which WC_ERR_INVALID_CHARS reports.
  const bool utf = code_page == CP_UTF8 || code_page == CP_UTF7;
  const DWORD flags = code_page == CP_UTF8 ? WC_ERR_INVALID_CHARS : (utf ? 0 : WC_NO_BEST_FIT_CHARS);
  BOOL used_default = FALSE;
  BOOL* used = utf ? nullptr : &used_default;
  const int need = WideCharToMultiByte(code_page, flags, text.data(), n, nullptr, 0, nullptr, used);
  if (need <= 0 || used_default) return kNoTranslation;
  out->resize(static_cast<size_t>(need));
  if (WideCharToMultiByte(code_page, flags, text.data(), n, out->data(), need, nullptr, used) != need ||
      used_default) {
    return kNoTranslation;
  }
  return S_OK;
}

}  // namespace

bool IsUsableCodePage(uint32_t code_page) {
  return code_page == kCodePageUnicode || (code_page != CP_ACP && code_page != CP_OEMCP &&
                                           code_page != CP_MACCP && code_page != CP_THREAD_ACP &&
                                           code_page <= 0xffff && IsValidCodePage(code_page));
}

HRESULT DecodeSetText(std::span<const uint8_t> bytes, uint32_t code_page, std::u16string* out) {
  if (code_page == kCodePageUnicode) {
    out->clear();
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
      const char16_t c = static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
      if (c == 0) break;
      out->push_back(c);
    }
    return S_OK;
  }
  size_t length = 0;
  while (length < bytes.size() && bytes[length] != 0) ++length;
  return MultiToWide(code_page, std::string_view(reinterpret_cast<const char*>(bytes.data()), length), out);
}

HRESULT EncodeSetText(std::u16string_view text, uint32_t code_page, std::string* out) {
  if (code_page == kCodePageUnicode) {
    out->clear();
    out->reserve(text.size() * 2);
    for (char16_t c : text) {
      out->push_back(static_cast<char>(c & 0xff));
      out->push_back(static_cast<char>(c >> 8));
    }
    return S_OK;
  }
  return WideToMulti(code_page, text, out);
}

HRESULT AnsiToWide(const char* text, std::u16string* out) {
  if (!text) {
    out->clear();
    return S_OK;
  }
  return MultiToWide(CP_ACP, text, out);
}

HRESULT WideToAnsi(std::u16string_view text, std::string* out) { return WideToMulti(CP_ACP, text, out); }

}  // namespace quillbox::propset
