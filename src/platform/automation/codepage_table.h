// Code page tables: for each Windows code page that iconv knows, the map
// from bytes to UTF-16 and back, built once at first use from iconv and the
// fix-ups where Windows' table differs from iconv's. Tables are immutable
// once built and shared by every thread.
#pragma once

#include <cstdint>
#include <vector>

#include "quillbox/wtypes.h"

namespace quillbox::automation {

enum class CodePageKind { kSingleByte, kDoubleByte, kUtf7, kUtf8, kSymbol };

class CodePageTable {
 public:
  // Marks a UTF-16 unit with no mapping in the reverse table.
  static constexpr std::uint32_t kNoMapping = 0xFFFFFFFF;
  // Set on reverse entries that are best-fit approximations, not exact.
  static constexpr std::uint32_t kBestFitBit = 0x10000;

  UINT code_page = 0;
  CodePageKind kind = CodePageKind::kSingleByte;
  UINT max_char_size = 1;
  BYTE default_char[2] = {'?', 0};
  BYTE lead_bytes[12] = {};
  WCHAR unicode_default_char = u'?';

  bool IsLeadByte(BYTE b) const { return is_lead_[b]; }
  // UTF-16 unit of a single byte, or of a lead byte and its trail; -1 when
  // the byte or pair is not defined.
  int Decode(BYTE b) const { return single_[b]; }
  int Decode(BYTE lead, BYTE trail) const;
  // Bytes for a UTF-16 unit (one byte, or lead << 8 | trail), with
  // kBestFitBit set for an approximation; kNoMapping when there is none.
  std::uint32_t Encode(WCHAR unit) const { return reverse_.empty() ? kNoMapping : reverse_[unit]; }

  // The table builders (codepage_table.cc) fill these in.
  bool is_lead_[256] = {};
  int single_[256] = {};
  std::vector<std::int32_t> double_;  // 256 x 256 by lead, trail; -1 undefined
  std::vector<std::uint32_t> reverse_;  // 65536 entries
};

// The table of a real code page (pseudo code pages already resolved), or
// null when the code page is not one we know or iconv cannot convert it.
const CodePageTable* FindCodePageTable(UINT code_page);

// The pseudo code pages CP_ACP, CP_OEMCP, CP_MACCP and CP_THREAD_ACP mapped
// to real ones; any other value comes back unchanged.
UINT ResolveCodePage(UINT code_page);

}  // namespace quillbox::automation
