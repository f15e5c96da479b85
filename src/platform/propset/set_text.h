// Text in a property set's code page: UTF-16LE for CP_WINUNICODE (1200),
// otherwise the bytes of that code page. Conversions are strict: a
// character the code page cannot hold is refused with
// HRESULT_FROM_WIN32(ERROR_NO_UNICODE_TRANSLATION), never replaced.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "quillbox/wtypes.h"

namespace quillbox::propset {

inline constexpr uint32_t kCodePageUnicode = 1200;  // CP_WINUNICODE

// Set bytes -> UTF-16 (stops at the first terminator; bytes of a trailing
// half character in UTF-16 are dropped).
HRESULT DecodeSetText(std::span<const uint8_t> bytes, uint32_t code_page, std::u16string* out);
// UTF-16 -> set bytes, without a terminator.
HRESULT EncodeSetText(std::u16string_view text, uint32_t code_page, std::string* out);

// The process's ANSI code page text (what VT_LPSTR holds in memory).
HRESULT AnsiToWide(const char* text, std::u16string* out);
HRESULT WideToAnsi(std::u16string_view text, std::string* out);

// Is code_page one a property set may carry (1200 or a known code page)?
bool IsUsableCodePage(uint32_t code_page);

}  // namespace quillbox::propset
