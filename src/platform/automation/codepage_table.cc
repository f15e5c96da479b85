// Code page tables built from iconv (see codepage_table.h). iconv is opened
// once per code page, when its table is first needed, and closed again: the
// table then answers every conversion without iconv.
#include "platform/automation/codepage_table.h"

#include <iconv.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>

#include "platform/automation/codepage_fixups.h"

namespace quillbox::automation {
namespace {

struct CodePageSpec {
  UINT code_page;
  const char* iconv_name;  // null for the algorithmic pages
  CodePageKind kind;
  BYTE lead_ranges[12];  // pairs of first and last lead byte, zero-ended
  WCHAR unicode_default;
};

// Every Windows code page we offer. Lead-byte ranges are Windows' own.
constexpr CodePageSpec kSpecs[] = {
    {437, "CP437", CodePageKind::kSingleByte, {}, u'?'},
    {737, "CP737", CodePageKind::kSingleByte, {}, u'?'},
    {775, "CP775", CodePageKind::kSingleByte, {}, u'?'},
    {850, "CP850", CodePageKind::kSingleByte, {}, u'?'},
    {852, "CP852", CodePageKind::kSingleByte, {}, u'?'},
    {855, "CP855", CodePageKind::kSingleByte, {}, u'?'},
    {857, "CP857", CodePageKind::kSingleByte, {}, u'?'},
    {858, "CP858", CodePageKind::kSingleByte, {}, u'?'},
    {860, "CP860", CodePageKind::kSingleByte, {}, u'?'},
    {861, "CP861", CodePageKind::kSingleByte, {}, u'?'},
    {862, "CP862", CodePageKind::kSingleByte, {}, u'?'},
    {863, "CP863", CodePageKind::kSingleByte, {}, u'?'},
    {864, "CP864", CodePageKind::kSingleByte, {}, u'?'},
    {865, "CP865", CodePageKind::kSingleByte, {}, u'?'},
    {866, "CP866", CodePageKind::kSingleByte, {}, u'?'},
    {869, "CP869", CodePageKind::kSingleByte, {}, u'?'},
    {874, "CP874", CodePageKind::kSingleByte, {}, u'?'},
    {932, "CP932", CodePageKind::kDoubleByte, {0x81, 0x9F, 0xE0, 0xFC}, u'\u30FB'},
    {936, "CP936", CodePageKind::kDoubleByte, {0x81, 0xFE}, u'?'},
    {949, "CP949", CodePageKind::kDoubleByte, {0x81, 0xFE}, u'?'},
    {950, "CP950", CodePageKind::kDoubleByte, {0x81, 0xFE}, u'?'},
    {1250, "CP1250", CodePageKind::kSingleByte, {}, u'?'},
    {1251, "CP1251", CodePageKind::kSingleByte, {}, u'?'},
    {1252, "CP1252", CodePageKind::kSingleByte, {}, u'?'},
    {1253, "CP1253", CodePageKind::kSingleByte, {}, u'?'},
    {1254, "CP1254", CodePageKind::kSingleByte, {}, u'?'},
    {1255, "CP1255", CodePageKind::kSingleByte, {}, u'?'},
    {1256, "CP1256", CodePageKind::kSingleByte, {}, u'?'},
    {1257, "CP1257", CodePageKind::kSingleByte, {}, u'?'},
    {1258, "CP1258", CodePageKind::kSingleByte, {}, u'?'},
    {1361, "JOHAB", CodePageKind::kDoubleByte, {0x84, 0xD3, 0xD8, 0xDE, 0xE0, 0xF9}, u'?'},
    {10000, "MACINTOSH", CodePageKind::kSingleByte, {}, u'?'},
    {10007, "MAC-CYRILLIC", CodePageKind::kSingleByte, {}, u'?'},
    {20127, "ASCII", CodePageKind::kSingleByte, {}, u'?'},
    {20866, "KOI8-R", CodePageKind::kSingleByte, {}, u'?'},
    {20932, "EUC-JP", CodePageKind::kDoubleByte, {0x8E, 0x8E, 0xA1, 0xFE}, u'\u30FB'},
    {21866, "KOI8-U", CodePageKind::kSingleByte, {}, u'?'},
    {28591, "ISO-8859-1", CodePageKind::kSingleByte, {}, u'?'},
    {28592, "ISO-8859-2", CodePageKind::kSingleByte, {}, u'?'},
    {28593, "ISO-8859-3", CodePageKind::kSingleByte, {}, u'?'},
    {28594, "ISO-8859-4", CodePageKind::kSingleByte, {}, u'?'},
    {28595, "ISO-8859-5", CodePageKind::kSingleByte, {}, u'?'},
    {28596, "ISO-8859-6", CodePageKind::kSingleByte, {}, u'?'},
    {28597, "ISO-8859-7", CodePageKind::kSingleByte, {}, u'?'},
    {28598, "ISO-8859-8", CodePageKind::kSingleByte, {}, u'?'},
    {28599, "ISO-8859-9", CodePageKind::kSingleByte, {}, u'?'},
    {28603, "ISO-8859-13", CodePageKind::kSingleByte, {}, u'?'},
    {28605, "ISO-8859-15", CodePageKind::kSingleByte, {}, u'?'},
    {65000, nullptr, CodePageKind::kUtf7, {}, u'\uFFFD'},
    {65001, nullptr, CodePageKind::kUtf8, {}, u'\uFFFD'},
};

const CodePageSpec* FindSpec(UINT code_page) {
  for (const auto& spec : kSpecs) {
    if (spec.code_page == code_page) return &spec;
  }
  return nullptr;
}

// One sequence of bytes through iconv: the single UTF-16 unit it gives, or
// -1 when iconv refuses it, gives nothing or gives more than one unit.
int ConvertOne(iconv_t cd, const BYTE* bytes, std::size_t size) {
  iconv(cd, nullptr, nullptr, nullptr, nullptr);  // back to the initial state
  char in[2];
  std::memcpy(in, bytes, size);
  char out[8];
  char* in_ptr = in;
  char* out_ptr = out;
  std::size_t in_left = size;
  std::size_t out_left = sizeof out;
  if (iconv(cd, &in_ptr, &in_left, &out_ptr, &out_left) == static_cast<std::size_t>(-1)) return -1;
  // Some converters (1255, 1258) hold a base letter back in case a
  // combining mark follows: flush it out.
  if (iconv(cd, nullptr, nullptr, &out_ptr, &out_left) == static_cast<std::size_t>(-1)) return -1;
  if (in_left != 0 || sizeof out - out_left != 2) return -1;
  return static_cast<BYTE>(out[0]) | (static_cast<BYTE>(out[1]) << 8);
}

void AddReverse(CodePageTable& table, int unit, std::uint32_t bytes) {
  // The first byte sequence in byte order wins where several map to one unit.
  if (unit >= 0 && table.reverse_[unit] == CodePageTable::kNoMapping) table.reverse_[unit] = bytes;
}

// Windows keeps every byte of a single-byte page round-trippable: a C1
// byte that the page does not define stands for the C1 control itself. The
// double-byte pages give their user-defined areas to the private-use block.
void ApplyWindowsDefaults(CodePageTable& table) {
  if (table.kind == CodePageKind::kSingleByte) {
    for (int b = 0x80; b < 0xA0; ++b) {
      if (table.single_[b] < 0) table.single_[b] = b;
    }
  }
  for (const UserDefinedArea& area : UserDefinedAreas()) {
    if (area.code_page != table.code_page) continue;
    int unit = area.first_unit;
    for (int lead = area.first_lead; lead <= area.last_lead; ++lead) {
      for (const auto& [first, last] : area.trails) {
        for (int trail = first; first && trail <= last; ++trail, ++unit) {
          if (table.double_[lead << 8 | trail] < 0) table.double_[lead << 8 | trail] = unit;
        }
      }
    }
  }
}

std::unique_ptr<CodePageTable> BuildTable(const CodePageSpec& spec) {
  auto table = std::make_unique<CodePageTable>();
  table->code_page = spec.code_page;
  table->kind = spec.kind;
  table->unicode_default_char = spec.unicode_default;
  std::memcpy(table->lead_bytes, spec.lead_ranges, sizeof table->lead_bytes);
  if (spec.kind == CodePageKind::kUtf7) table->max_char_size = 5;
  if (spec.kind == CodePageKind::kUtf8) table->max_char_size = 4;
  if (!spec.iconv_name) return table;

  iconv_t cd = iconv_open("UTF-16LE", spec.iconv_name);
  if (cd == reinterpret_cast<iconv_t>(-1)) return nullptr;
  for (int i = 0; i + 1 < 12 && spec.lead_ranges[i]; i += 2) {
    for (int b = spec.lead_ranges[i]; b <= spec.lead_ranges[i + 1]; ++b) table->is_lead_[b] = true;
  }
  table->reverse_.assign(0x10000, CodePageTable::kNoMapping);
  if (spec.kind == CodePageKind::kDoubleByte) {
    table->max_char_size = 2;
    table->double_.assign(0x10000, -1);
  }
  for (int b = 0; b < 256; ++b) {
    const BYTE byte = static_cast<BYTE>(b);
    table->single_[b] = table->is_lead_[b] ? -1 : ConvertOne(cd, &byte, 1);
    if (!table->is_lead_[b]) continue;
    for (int t = 1; t < 256; ++t) {
      const BYTE pair[2] = {byte, static_cast<BYTE>(t)};
      table->double_[b << 8 | t] = ConvertOne(cd, pair, 2);
    }
  }
  iconv_close(cd);

  ApplyWindowsDefaults(*table);
  for (std::size_t code = 0; code < table->double_.size(); ++code) {
    const int unit = table->double_[code];
    if (unit < 0) continue;
    if (const WCHAR jamo = ConjoiningJamo(spec.code_page, static_cast<WCHAR>(unit))) table->double_[code] = jamo;
  }
  for (const ByteOverride& fix : ByteOverrides()) {
    if (fix.code_page != spec.code_page) continue;
    if (fix.bytes > 0xFF) {
      table->double_[fix.bytes] = fix.unit;
    } else {
      table->single_[fix.bytes] = fix.unit;
    }
  }
  // Exact reverse mappings: single bytes first, then pairs, in byte order.
  for (int b = 0; b < 256; ++b) AddReverse(*table, table->single_[b], static_cast<std::uint32_t>(b));
  if (!table->double_.empty()) {
    for (int code = 0x100; code < 0x10000; ++code) AddReverse(*table, table->double_[code], code);
  }
  // Best fit fills only the units that have no exact mapping.
  for (const BestFitRule& rule : BestFitRulesFor(spec.code_page)) {
    if (table->reverse_[rule.unit] != CodePageTable::kNoMapping) continue;
    for (const WCHAR candidate : rule.candidates) {
      const std::uint32_t bytes = table->reverse_[candidate];
      if (bytes == CodePageTable::kNoMapping || (bytes & CodePageTable::kBestFitBit)) continue;
      table->reverse_[rule.unit] = bytes | CodePageTable::kBestFitBit;
      break;
    }
  }
  const WCHAR fold_limit = DiacriticFoldingLimit(spec.code_page);
  if (fold_limit) {
    for (int unit = 0x80; unit <= fold_limit; ++unit) {
      const WCHAR base = BaseLetter(static_cast<WCHAR>(unit));
      if (!base || table->reverse_[unit] != CodePageTable::kNoMapping) continue;
      const std::uint32_t bytes = table->reverse_[base];
      if (bytes != CodePageTable::kNoMapping && !(bytes & CodePageTable::kBestFitBit)) table->reverse_[unit] = (bytes & 0xFFFF) | CodePageTable::kBestFitBit;
    }
  }
  return table;
}

}  // namespace

int CodePageTable::Decode(BYTE lead, BYTE trail) const {
  if (double_.empty()) return -1;
  return double_[lead << 8 | trail];
}

const CodePageTable* FindCodePageTable(UINT code_page) {
  const CodePageSpec* spec = FindSpec(code_page);
  if (!spec) return nullptr;
  // Built once per page under the lock; a page iconv cannot open is
  // remembered as null so it is not tried again.
  static std::mutex mutex;
  static std::map<UINT, std::unique_ptr<CodePageTable>> tables;
  std::lock_guard<std::mutex> lock(mutex);
  auto it = tables.find(code_page);
  if (it == tables.end()) it = tables.emplace(code_page, BuildTable(*spec)).first;
  return it->second.get();
}

}  // namespace quillbox::automation
