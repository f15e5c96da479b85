// Reading and writing PropertySetStream. Reading validates every offset,
// count and size against the bytes present; writing lays values out in id
// order, each 4-byte aligned.
#include "platform/propset/set_image.h"

#include <set>

#include "platform/propset/byte_io.h"
#include "platform/propset/set_text.h"
#include "platform/propset/value_codec.h"
#include "quillbox/winnls.h"

namespace quillbox::propset {

namespace {

constexpr HRESULT kBad = STG_E_INVALIDHEADER;

uint32_t ScalarU32(const std::vector<uint8_t>& value, VARTYPE want, bool* ok) {
  *ok = false;
  if (value.size() < 8 || (value[0] | value[1] << 8) != want) return 0;
  *ok = true;
  return value[4] | value[5] << 8 | value[6] << 16 | static_cast<uint32_t>(value[7]) << 24;
}

// The dictionary: count, then (id, length, name) entries. Unicode names are
// padded to 4 per entry. Lenient: names lose trailing zeros, an entry of
// length 0 is skipped, an unpadded Unicode entry (nonzero bytes where the
// padding should be) is read as unpadded, a repeated id keeps its first name.
HRESULT ParseDictionary(ByteReader& in, uint32_t code_page, std::map<PROPID, std::u16string>* names) {
  uint32_t count = 0;
  if (!in.U32(&count) || count > in.remaining() / 8) return kBad;
  const bool unicode = code_page == kCodePageUnicode;
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t id = 0;
    uint32_t length = 0;
    if (!in.U32(&id) || !in.U32(&length)) return kBad;
    const size_t bytes = unicode ? size_t{length} * 2 : length;
    std::span<const uint8_t> raw;
    if (length > in.remaining() || !in.Take(bytes, &raw)) return kBad;
    if (unicode && bytes % 4) {
      std::span<const uint8_t> pad;
      const size_t at = in.position();
      if (in.Take(2, &pad) && (pad[0] || pad[1])) in.Seek(at);
    }
    std::u16string name;
    if (FAILED(DecodeSetText(raw, code_page, &name))) name.clear();
    if (!name.empty()) names->emplace(id, std::move(name));
  }
  return S_OK;
}

// Bytes of the stream a parse may still take: property tables, dictionaries
// and values each use their own bytes in every file a writer makes, so
// all of them together fit in the stream. Sections or values that overlap
// (offsets pointing at the same bytes again and again) could otherwise make
// a small stream cost quadratic time and memory.
struct ParseBudget {
  size_t left;
  bool Take(size_t n) {
    if (n > left) return false;
    left -= n;
    return true;
  }
};

HRESULT ParseSection(std::span<const uint8_t> bytes, ParseBudget& budget, Section* section) {
  ByteReader in(bytes);
  uint32_t size = 0;
  uint32_t count = 0;
  if (!in.U32(&size) || !in.U32(&count) || size < 8) return kBad;
  // Lenient: a section size past the stream's end is cut to the stream.
  if (size < bytes.size()) bytes = bytes.first(size);
  if (count > (bytes.size() - 8) / 8 || !budget.Take(8 + size_t{count} * 8)) return kBad;
  std::vector<std::pair<PROPID, uint32_t>> entries(count);
  for (auto& [id, offset] : entries) {
    if (!in.U32(&id) || !in.U32(&offset)) return kBad;
    if (offset < 8 || offset >= bytes.size()) return kBad;
  }
  // The code page first: the dictionary and the strings depend on it.
  for (const auto& [id, offset] : entries) {
    if (id != PID_CODEPAGE) continue;
    size_t length = 0;
    HRESULT hr = MeasureValue(bytes.subspan(offset), kCodePageUnicode, &length);
    if (FAILED(hr)) return hr;
    if (!budget.Take(length)) return kBad;
    auto value = std::vector<uint8_t>(bytes.begin() + offset, bytes.begin() + offset + length);
    value.resize((value.size() + 3) & ~size_t{3}, 0);
    section->values.emplace(id, std::move(value));
    break;
  }
  const uint32_t code_page = section->CodePage();
  for (const auto& [id, offset] : entries) {
    if (id == PID_CODEPAGE) continue;
    if (id == PID_DICTIONARY) {
      if (section->has_dictionary) continue;
      ByteReader dictionary(bytes.subspan(offset));
      std::map<PROPID, std::u16string> names;
      // Lenient: a dictionary that does not parse (some writers put a typed
      // value at id 0) leaves the set without names rather than unreadable.
      if (SUCCEEDED(ParseDictionary(dictionary, code_page, &names))) {
        if (!budget.Take(dictionary.position())) return kBad;
        section->names = std::move(names);
        section->has_dictionary = true;
      }
      continue;
    }
    if (section->values.count(id)) continue;  // lenient: a repeated id keeps its first value
    size_t length = 0;
    HRESULT hr = MeasureValue(bytes.subspan(offset), code_page, &length);
    if (FAILED(hr)) return hr;
    if (!budget.Take(length)) return kBad;  // values overlapping again and again
    auto value = std::vector<uint8_t>(bytes.begin() + offset, bytes.begin() + offset + length);
    value.resize((value.size() + 3) & ~size_t{3}, 0);
    section->values.emplace(id, std::move(value));
  }
  return S_OK;
}

HRESULT WriteDictionary(const Section& section, ByteWriter& w) {
  const uint32_t code_page = section.CodePage();
  const bool unicode = code_page == kCodePageUnicode;
  const size_t start = w.size();
  w.U32(static_cast<uint32_t>(section.names.size()));
  for (const auto& [id, name] : section.names) {
    std::string bytes;
    HRESULT hr = EncodeSetText(name, code_page, &bytes);
    if (FAILED(hr)) return hr;
    bytes.append(unicode ? 2 : 1, '\0');
    w.U32(id);
    w.U32(static_cast<uint32_t>(unicode ? bytes.size() / 2 : bytes.size()));
    w.Bytes(bytes.data(), bytes.size());
    if (unicode) w.Pad4(start);
  }
  w.Pad4(start);
  return S_OK;
}

HRESULT WriteSection(const Section& section, ByteWriter& w) {
  const size_t start = w.size();
  const size_t count = section.values.size() + (section.has_dictionary ? 1 : 0);
  w.U32(0);  // size, patched below
  w.U32(static_cast<uint32_t>(count));
  const size_t table = w.size();
  for (size_t i = 0; i < count; ++i) w.U64(0);
  size_t slot = 0;
  auto place = [&](PROPID id) {
    w.PatchU32(table + slot * 8, id);
    w.PatchU32(table + slot * 8 + 4, static_cast<uint32_t>(w.size() - start));
    ++slot;
  };
  if (section.has_dictionary) {
    place(PID_DICTIONARY);
    HRESULT hr = WriteDictionary(section, w);
    if (FAILED(hr)) return hr;
  }
  for (const auto& [id, value] : section.values) {
    place(id);
    w.Bytes(value.data(), value.size());
  }
  w.Pad4(start);
  w.PatchU32(start, static_cast<uint32_t>(w.size() - start));
  return S_OK;
}

}  // namespace

uint32_t Section::CodePage() const {
  const auto found = values.find(PID_CODEPAGE);
  if (found != values.end()) {
    bool ok = false;
    const uint32_t raw = ScalarU32(found->second, VT_I2, &ok) & 0xffff;
    if (ok && IsUsableCodePage(raw)) return raw;
  }
  return GetACP();  // lenient: a set without a usable code page reads as ANSI
}

bool Section::CaseSensitive() const {
  const auto found = values.find(PID_BEHAVIOR);
  if (found == values.end()) return false;
  bool ok = false;
  const uint32_t behavior = ScalarU32(found->second, VT_UI4, &ok);
  return ok && (behavior & PROPSET_BEHAVIOR_CASE_SENSITIVE);
}

std::vector<uint8_t> I2Value(int16_t value) {
  const auto v = static_cast<uint16_t>(value);
  return {VT_I2, 0, 0, 0, static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8), 0, 0};
}

std::vector<uint8_t> UI4Value(uint32_t value) {
  return {VT_UI4, 0, 0, 0, static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
          static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
}

Section MakeSection(const FMTID& fmtid, uint32_t code_page, bool case_sensitive) {
  Section section;
  section.fmtid = fmtid;
  section.values[PID_CODEPAGE] = I2Value(static_cast<int16_t>(code_page));
  if (case_sensitive) section.values[PID_BEHAVIOR] = UI4Value(PROPSET_BEHAVIOR_CASE_SENSITIVE);
  return section;
}

HRESULT ParseSetImage(std::span<const uint8_t> bytes, SetImage* image) {
  if (bytes.size() > kMaxSetBytes) return kBad;
  ByteReader in(bytes);
  uint16_t order = 0;
  uint32_t count = 0;
  SetImage read;
  if (!in.U16(&order) || order != kByteOrder || !in.U16(&read.version) || read.version > 1 ||
      !in.U32(&read.system_identifier) || !in.Guid(&read.clsid) || !in.U32(&count)) {
    return kBad;
  }
  if (count > in.remaining() / kSectionEntrySize) return kBad;
  std::vector<std::pair<FMTID, uint32_t>> entries(count);
  for (auto& [fmtid, offset] : entries) {
    if (!in.Guid(&fmtid) || !in.U32(&offset)) return kBad;
  }
  std::set<uint32_t> seen;
  ParseBudget budget{bytes.size()};
  for (const auto& [fmtid, offset] : entries) {
    // Lenient: a section may start at any offset inside the stream, aligned
    // or not, but not inside the header or twice.
    if (offset < kStreamHeaderSize + count * kSectionEntrySize || offset >= bytes.size() ||
        !seen.insert(offset).second) {
      return kBad;
    }
    Section section;
    section.fmtid = fmtid;
    HRESULT hr = ParseSection(bytes.subspan(offset), budget, &section);
    if (FAILED(hr)) return hr;
    read.sections.push_back(std::move(section));
  }
  *image = std::move(read);
  return S_OK;
}

HRESULT SerializeSetImage(const SetImage& image, std::vector<uint8_t>* bytes) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  w.U16(kByteOrder);
  w.U16(image.version);
  w.U32(image.system_identifier);
  w.Guid(image.clsid);
  w.U32(static_cast<uint32_t>(image.sections.size()));
  const size_t table = w.size();
  for (const Section& section : image.sections) {
    w.Guid(section.fmtid);
    w.U32(0);
  }
  for (size_t i = 0; i < image.sections.size(); ++i) {
    w.PatchU32(table + i * kSectionEntrySize + 16, static_cast<uint32_t>(w.size()));
    HRESULT hr = WriteSection(image.sections[i], w);
    if (FAILED(hr)) return hr;
  }
  *bytes = std::move(out);
  return S_OK;
}

}  // namespace quillbox::propset
