// Reading and writing the header and directory entries byte by byte, and
// the format's rule for ordering element names.
#include "platform/storage/cfb_format.h"

#include <cstring>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {

uint16_t LoadU16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }
uint32_t LoadU32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
uint64_t LoadU64(const uint8_t* p) {
  return static_cast<uint64_t>(LoadU32(p)) | (static_cast<uint64_t>(LoadU32(p + 4)) << 32);
}
void StoreU16(uint8_t* p, uint16_t v) {
  p[0] = static_cast<uint8_t>(v);
  p[1] = static_cast<uint8_t>(v >> 8);
}
void StoreU32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<uint8_t>(v >> (8 * i));
}
void StoreU64(uint8_t* p, uint64_t v) {
  StoreU32(p, static_cast<uint32_t>(v));
  StoreU32(p + 4, static_cast<uint32_t>(v >> 32));
}
GUID LoadGuid(const uint8_t* p) {
  GUID g;
  g.Data1 = LoadU32(p);
  g.Data2 = LoadU16(p + 4);
  g.Data3 = LoadU16(p + 6);
  std::memcpy(g.Data4, p + 8, 8);
  return g;
}
void StoreGuid(uint8_t* p, const GUID& g) {
  StoreU32(p, g.Data1);
  StoreU16(p + 4, g.Data2);
  StoreU16(p + 6, g.Data3);
  std::memcpy(p + 8, g.Data4, 8);
}

CfbHeader::CfbHeader() {
  for (uint32_t& d : difat) d = kFreeSector;
}

HRESULT CfbHeader::Read(const uint8_t* b) {
  if (std::memcmp(b + kOffSignature, kSignature, sizeof kSignature) != 0) {
    return Fail(STG_E_INVALIDHEADER, "header: signature is not D0 CF 11 E0 A1 B1 1A E1");
  }
  // The minor version is not checked: writers put 0x003B or 0x003E there.
  major_version = LoadU16(b + kOffMajorVersion);
  if (major_version != 3 && major_version != 4) {
    return Fail(STG_E_INVALIDHEADER, "header: major version %u (expected 3 or 4)", major_version);
  }
  if (LoadU16(b + kOffByteOrder) != kByteOrderMark) {
    return Fail(STG_E_INVALIDHEADER, "header: byte order 0x%04X (expected 0xFFFE)",
                LoadU16(b + kOffByteOrder));
  }
  sector_shift = LoadU16(b + kOffSectorShift);
  if (major_version == 4 && sector_shift != 12) {
    return Fail(STG_E_INVALIDHEADER, "header: sector shift for version 4 (expected 12, found %u)",
                sector_shift);
  }
  // Leniency ([MS-CFB] 2.2, Sector Shift): version 3 with shift 12 is read.
  if (major_version == 3 && sector_shift != 9 && sector_shift != 12) {
    return Fail(STG_E_INVALIDHEADER, "header: sector shift for version 3 (expected 9, found %u)",
                sector_shift);
  }
  if (LoadU16(b + kOffMiniSectorShift) != kMiniSectorShift) {
    return Fail(STG_E_INVALIDHEADER, "header: mini sector shift (expected 6, found %u)",
                LoadU16(b + kOffMiniSectorShift));
  }
  if (LoadU32(b + kOffMiniCutoff) != kMiniStreamCutoff) {
    return Fail(STG_E_INVALIDHEADER, "header: mini stream cutoff (expected 4096, found %u)",
                LoadU32(b + kOffMiniCutoff));
  }
  // Leniency ([MS-CFB] 2.2, Number of Directory Sectors): version 3 files
  // must hold zero here; the value is not used, so it is ignored.
  dir_sector_count = LoadU32(b + kOffDirSectorCount);
  fat_sector_count = LoadU32(b + kOffFatSectorCount);
  first_dir_sector = LoadU32(b + kOffFirstDirSector);
  first_mini_fat_sector = LoadU32(b + kOffFirstMiniFat);
  mini_fat_sector_count = LoadU32(b + kOffMiniFatCount);
  first_difat_sector = LoadU32(b + kOffFirstDifat);
  difat_sector_count = LoadU32(b + kOffDifatCount);
  for (size_t i = 0; i < kHeaderDifatEntries; ++i) difat[i] = LoadU32(b + kOffDifat + 4 * i);
  return S_OK;
}

void CfbHeader::Write(uint8_t* b) const {
  std::memset(b, 0, kHeaderSize);
  std::memcpy(b + kOffSignature, kSignature, sizeof kSignature);
  StoreU16(b + kOffMinorVersion, kMinorVersion);
  StoreU16(b + kOffMajorVersion, major_version);
  StoreU16(b + kOffByteOrder, kByteOrderMark);
  StoreU16(b + kOffSectorShift, sector_shift);
  StoreU16(b + kOffMiniSectorShift, kMiniSectorShift);
  StoreU32(b + kOffDirSectorCount, major_version == 3 ? 0 : dir_sector_count);
  StoreU32(b + kOffFatSectorCount, fat_sector_count);
  StoreU32(b + kOffFirstDirSector, first_dir_sector);
  StoreU32(b + kOffTransaction, 0);
  StoreU32(b + kOffMiniCutoff, kMiniStreamCutoff);
  StoreU32(b + kOffFirstMiniFat, first_mini_fat_sector);
  StoreU32(b + kOffMiniFatCount, mini_fat_sector_count);
  StoreU32(b + kOffFirstDifat, first_difat_sector);
  StoreU32(b + kOffDifatCount, difat_sector_count);
  for (size_t i = 0; i < kHeaderDifatEntries; ++i) StoreU32(b + kOffDifat + 4 * i, difat[i]);
}

void DirEntry::Read(const uint8_t* b, uint16_t major_version) {
  const uint16_t length_bytes = LoadU16(b + kDirOffNameLength);
  size_t units = length_bytes >= 2 ? length_bytes / 2 - 1 : 0;
  if (units > kMaxNameUnits) units = kMaxNameUnits;
  name.clear();
  for (size_t i = 0; i < units; ++i) {
    const char16_t c = LoadU16(b + kDirOffName + 2 * i);
    if (c == 0) break;
    name.push_back(c);
  }
  const uint8_t raw_type = b[kDirOffType];
  type = (raw_type == 1 || raw_type == 2 || raw_type == 5) ? static_cast<ObjectType>(raw_type)
                                                           : ObjectType::kUnused;
  color = b[kDirOffColor] == 0 ? Color::kRed : Color::kBlack;
  left = LoadU32(b + kDirOffLeft);
  right = LoadU32(b + kDirOffRight);
  child = LoadU32(b + kDirOffChild);
  clsid = LoadGuid(b + kDirOffClsid);
  state_bits = LoadU32(b + kDirOffStateBits);
  created = LoadU64(b + kDirOffCreated);
  modified = LoadU64(b + kDirOffModified);
  start = LoadU32(b + kDirOffStart);
  size = LoadU64(b + kDirOffSize);
  // Leniency ([MS-CFB] 2.6.3, Stream Size): version-3 writers may leave
  // garbage in the high 32 bits.
  if (major_version == 3) size &= 0xFFFFFFFFu;
}

void DirEntry::Write(uint8_t* b) const {
  std::memset(b, 0, kDirEntrySize);
  const size_t units = name.size() < kMaxNameUnits ? name.size() : kMaxNameUnits;
  for (size_t i = 0; i < units; ++i) StoreU16(b + kDirOffName + 2 * i, name[i]);
  StoreU16(b + kDirOffNameLength,
           type == ObjectType::kUnused ? 0 : static_cast<uint16_t>((units + 1) * 2));
  b[kDirOffType] = static_cast<uint8_t>(type);
  b[kDirOffColor] = static_cast<uint8_t>(color);
  StoreU32(b + kDirOffLeft, left);
  StoreU32(b + kDirOffRight, right);
  StoreU32(b + kDirOffChild, child);
  StoreGuid(b + kDirOffClsid, clsid);
  StoreU32(b + kDirOffStateBits, state_bits);
  StoreU64(b + kDirOffCreated, created);
  StoreU64(b + kDirOffModified, modified);
  StoreU32(b + kDirOffStart, start);
  StoreU64(b + kDirOffSize, size);
}

char16_t UpcaseUnit(char16_t c) {
  // Simple upper-case mapping for the scripts names are written in; the
  // format asks for the Unicode default case conversion ([MS-CFB] 2.6.4).
  if (c >= u'a' && c <= u'z') return static_cast<char16_t>(c - 0x20);
  if (c < 0xB5) return c;
  if (c == 0xB5) return 0x039C;
  if ((c >= 0xE0 && c <= 0xFE && c != 0xF7)) return static_cast<char16_t>(c - 0x20);
  if (c == 0xFF) return 0x0178;
  if (c >= 0x0100 && c <= 0x017F) {
    if ((c >= 0x0139 && c <= 0x0148) || (c >= 0x0179 && c <= 0x017E)) {
      return (c % 2 == 0) ? static_cast<char16_t>(c - 1) : c;
    }
    if (c != 0x0131 && c != 0x0138 && c != 0x0149 && c != 0x017F) {
      return (c % 2 == 1) ? static_cast<char16_t>(c - 1) : c;
    }
    return c;
  }
  if (c >= 0x03B1 && c <= 0x03CB && c != 0x03C2) return static_cast<char16_t>(c - 0x20);
  if (c >= 0x0430 && c <= 0x044F) return static_cast<char16_t>(c - 0x20);
  if (c >= 0x0450 && c <= 0x045F) return static_cast<char16_t>(c - 0x50);
  if (c >= 0xFF41 && c <= 0xFF5A) return static_cast<char16_t>(c - 0x20);
  return c;
}

int CompareNames(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  for (size_t i = 0; i < a.size(); ++i) {
    const char16_t x = UpcaseUnit(a[i]);
    const char16_t y = UpcaseUnit(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

bool IsValidElementName(std::u16string_view name) {
  if (name.empty() || name.size() > kMaxNameUnits) return false;
  for (char16_t c : name) {
    if (c == u'/' || c == u'\\' || c == u':' || c == u'!') return false;
  }
  return true;
}

}  // namespace quillbox::storage
