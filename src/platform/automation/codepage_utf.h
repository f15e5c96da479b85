// The algorithmic code pages: UTF-8 (65001) and UTF-7 (65000), with the
// replacement and error rules of MultiByteToWideChar / WideCharToMultiByte.
// Pure functions, safe from any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillbox::automation {

// Ill-formed sequences become U+FFFD; returns false if there was one.
bool DecodeUtf8(std::string_view bytes, std::u16string* out);
// Lone surrogates become U+FFFD (EF BF BD); returns false if there was one.
bool EncodeUtf8(std::u16string_view text, std::string* out);

// Bytes outside base64 runs pass through as the unit of the same value;
// leftover bits of a run are dropped.
void DecodeUtf7(std::string_view bytes, std::u16string* out);
void EncodeUtf7(std::u16string_view text, std::string* out);

}  // namespace quillbox::automation
