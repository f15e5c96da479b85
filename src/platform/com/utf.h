// UTF-8 and UTF-16 conversion for the platform's own text (registry, file
// names, messages). Ill-formed input becomes U+FFFD; nothing is dropped.
#pragma once

#include <string>
#include <string_view>

namespace quillbox::com {

std::u16string Utf8ToUtf16(std::string_view text);
std::string Utf16ToUtf8(std::u16string_view text);

// Length of a zero-terminated UTF-16 string (0 for null).
std::size_t WideLength(const char16_t* text);

}  // namespace quillbox::com
