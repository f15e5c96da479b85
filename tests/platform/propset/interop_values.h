// Helpers of the property-set interoperability tests: the sets of a
// compound file on disk read into plain values (text as UTF-16, integers,
// booleans, times as Unix seconds), so other writers' values compare
// against what a test expects.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "quillbox/platform.h"

namespace quillbox::testing {

// One property read back: its type and its value in the matching field.
struct PlainValue {
  VARTYPE vt = VT_EMPTY;
  std::u16string text;      // VT_LPSTR (from the ANSI code page), VT_LPWSTR, VT_BSTR
  long long number = 0;     // integers; VT_BOOL: 1 or 0; VT_FILETIME: Unix seconds
  double real = 0;          // VT_R8, VT_R4
};

// Every property of one set, by id (names in names, for sets with a dictionary).
struct PlainSet {
  std::map<PROPID, PlainValue> values;
  std::map<std::u16string, PROPID> names;
  UINT code_page = 0;
  // The value of the property with this name (VT_EMPTY when absent).
  PlainValue Named(const std::u16string& name) const;
  PlainValue Id(PROPID id) const;
};

// Reads the set fmtid of the compound file at path; the HRESULT of the
// first failing call.
HRESULT ReadPlainSet(const std::filesystem::path& path, const FMTID& fmtid, PlainSet* set);

PlainValue ToPlain(const PROPVARIANT& value);

// FILETIME <-> Unix seconds.
FILETIME FileTimeOfUnix(long long seconds);
long long UnixOfFileTime(const FILETIME& time);

// UTF-16 text in the process's ANSI code page, allocated with CoTaskMemAlloc.
LPSTR AnsiCopy(const std::u16string& text);

// Non-ASCII characters as \uXXXX, for comparing with another program's output.
std::string Escaped(const std::u16string& text);

}  // namespace quillbox::testing
