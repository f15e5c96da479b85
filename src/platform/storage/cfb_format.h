// The compound file format's on-disk structures and constants ([MS-CFB]),
// one struct per structure with a matching Read and Write. See
// docs/formats/compound-file.md for what this engine writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "quillbox/guiddef.h"
#include "quillbox/winerror.h"

namespace quillbox::storage {

// Sector numbers ([MS-CFB] 2.1).
inline constexpr uint32_t kMaxRegularSector = 0xFFFFFFFA;  // MAXREGSECT: highest real sector
inline constexpr uint32_t kDifatSector = 0xFFFFFFFC;       // DIFSECT: FAT entry of a DIFAT sector
inline constexpr uint32_t kFatSector = 0xFFFFFFFD;         // FATSECT: FAT entry of a FAT sector
inline constexpr uint32_t kEndOfChain = 0xFFFFFFFE;        // ENDOFCHAIN: last sector of a chain
inline constexpr uint32_t kFreeSector = 0xFFFFFFFF;        // FREESECT: unallocated

// Directory entry numbers ([MS-CFB] 2.6.1).
inline constexpr uint32_t kMaxRegularStreamId = 0xFFFFFFFA;  // MAXREGSID
inline constexpr uint32_t kNoStream = 0xFFFFFFFF;            // NOSTREAM: no sibling / child

// Header ([MS-CFB] 2.2).
inline constexpr uint8_t kSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
inline constexpr uint16_t kMinorVersion = 0x003E;
inline constexpr uint16_t kByteOrderMark = 0xFFFE;  // little-endian
inline constexpr uint16_t kMiniSectorShift = 6;     // 64-byte mini sectors
inline constexpr uint32_t kMiniSectorSize = 64;
inline constexpr uint32_t kMiniStreamCutoff = 4096;  // smaller streams live in the mini stream
inline constexpr size_t kHeaderSize = 512;           // header fields; v4 pads its sector with zeros
inline constexpr size_t kHeaderDifatEntries = 109;   // DIFAT entries held in the header
inline constexpr size_t kDirEntrySize = 128;
inline constexpr size_t kMaxNameUnits = 31;  // element name, without the terminator

// The range-lock sector covers these bytes in files past 2 GiB ([MS-CFB] 2.2).
inline constexpr uint64_t kRangeLockOffset = 0x7FFFFF00;

// Header field offsets, for tests and diagnostics; sizes in the comments.
inline constexpr size_t kOffSignature = 0x00;        // 8 bytes: kSignature
inline constexpr size_t kOffClsid = 0x08;            // 16 bytes: zero
inline constexpr size_t kOffMinorVersion = 0x18;     // 2 bytes: 0x003E
inline constexpr size_t kOffMajorVersion = 0x1A;     // 2 bytes: 3 or 4
inline constexpr size_t kOffByteOrder = 0x1C;        // 2 bytes: 0xFFFE
inline constexpr size_t kOffSectorShift = 0x1E;      // 2 bytes: 9 (v3) or 12 (v4)
inline constexpr size_t kOffMiniSectorShift = 0x20;  // 2 bytes: 6
inline constexpr size_t kOffReserved = 0x22;         // 6 bytes: zero
inline constexpr size_t kOffDirSectorCount = 0x28;   // 4 bytes: 0 in v3, directory sectors in v4
inline constexpr size_t kOffFatSectorCount = 0x2C;   // 4 bytes: FAT sectors
inline constexpr size_t kOffFirstDirSector = 0x30;   // 4 bytes: start of the directory chain
inline constexpr size_t kOffTransaction = 0x34;      // 4 bytes: transaction signature, zero
inline constexpr size_t kOffMiniCutoff = 0x38;       // 4 bytes: 4096
inline constexpr size_t kOffFirstMiniFat = 0x3C;     // 4 bytes: start of the mini FAT chain
inline constexpr size_t kOffMiniFatCount = 0x40;     // 4 bytes: mini FAT sectors
inline constexpr size_t kOffFirstDifat = 0x44;       // 4 bytes: first DIFAT sector
inline constexpr size_t kOffDifatCount = 0x48;       // 4 bytes: DIFAT sectors
inline constexpr size_t kOffDifat = 0x4C;            // 436 bytes: the first 109 FAT sector numbers

// Directory entry field offsets ([MS-CFB] 2.6.1).
inline constexpr size_t kDirOffName = 0x00;         // 64 bytes: UTF-16LE name, zero-terminated
inline constexpr size_t kDirOffNameLength = 0x40;   // 2 bytes: name bytes including the terminator
inline constexpr size_t kDirOffType = 0x42;         // 1 byte: ObjectType
inline constexpr size_t kDirOffColor = 0x43;        // 1 byte: 0 red, 1 black
inline constexpr size_t kDirOffLeft = 0x44;         // 4 bytes: left sibling id
inline constexpr size_t kDirOffRight = 0x48;        // 4 bytes: right sibling id
inline constexpr size_t kDirOffChild = 0x4C;        // 4 bytes: child id (storages)
inline constexpr size_t kDirOffClsid = 0x50;        // 16 bytes: class id
inline constexpr size_t kDirOffStateBits = 0x60;    // 4 bytes: user state bits
inline constexpr size_t kDirOffCreated = 0x64;      // 8 bytes: FILETIME creation
inline constexpr size_t kDirOffModified = 0x6C;     // 8 bytes: FILETIME modification
inline constexpr size_t kDirOffStart = 0x74;        // 4 bytes: first sector (mini or regular)
inline constexpr size_t kDirOffSize = 0x78;         // 8 bytes: stream size

enum class ObjectType : uint8_t { kUnused = 0, kStorage = 1, kStream = 2, kRoot = 5 };
enum class Color : uint8_t { kRed = 0, kBlack = 1 };

// Little-endian field access.
uint16_t LoadU16(const uint8_t* p);
uint32_t LoadU32(const uint8_t* p);
uint64_t LoadU64(const uint8_t* p);
void StoreU16(uint8_t* p, uint16_t v);
void StoreU32(uint8_t* p, uint32_t v);
void StoreU64(uint8_t* p, uint64_t v);
GUID LoadGuid(const uint8_t* p);
void StoreGuid(uint8_t* p, const GUID& g);

// The header sector's 512 meaningful bytes.
struct CfbHeader {
  uint16_t major_version = 3;
  uint16_t sector_shift = 9;
  uint32_t dir_sector_count = 0;
  uint32_t fat_sector_count = 0;
  uint32_t first_dir_sector = kEndOfChain;
  uint32_t first_mini_fat_sector = kEndOfChain;
  uint32_t mini_fat_sector_count = 0;
  uint32_t first_difat_sector = kEndOfChain;
  uint32_t difat_sector_count = 0;
  uint32_t difat[kHeaderDifatEntries];

  CfbHeader();
  uint32_t SectorSize() const { return 1u << sector_shift; }

  // Parses and checks the fixed fields; STG_E_INVALIDHEADER (with a
  // diagnostic) when the signature, versions or shifts are wrong. Leniency:
  // a version-3 header with 4096-byte sectors is accepted ([MS-CFB] 2.2
  // ties shift 9 to version 3; some writers do not).
  HRESULT Read(const uint8_t* bytes);
  void Write(uint8_t* bytes) const;  // REQUIRES: 512 writable bytes
};

// One 128-byte directory entry.
struct DirEntry {
  std::u16string name;  // at most 31 code units, case kept
  ObjectType type = ObjectType::kUnused;
  Color color = Color::kBlack;
  uint32_t left = kNoStream;
  uint32_t right = kNoStream;
  uint32_t child = kNoStream;
  GUID clsid{};
  uint32_t state_bits = 0;
  uint64_t created = 0;   // FILETIME as one number
  uint64_t modified = 0;
  uint32_t start = kEndOfChain;
  uint64_t size = 0;

  // Reads without judging links (the directory checks them); the name
  // stops at the stated length or the first zero, whichever comes first.
  void Read(const uint8_t* bytes, uint16_t major_version);
  void Write(uint8_t* bytes) const;  // REQUIRES: 128 writable bytes
  bool IsStorageLike() const { return type == ObjectType::kStorage || type == ObjectType::kRoot; }
};

// Element names order by length first, then code unit by code unit after
// upper-casing ([MS-CFB] 2.6.4). Negative, zero or positive.
int CompareNames(std::u16string_view a, std::u16string_view b);
char16_t UpcaseUnit(char16_t c);

// Is the name usable for a new element? (length 1..31, none of / \ : !)
bool IsValidElementName(std::u16string_view name);

}  // namespace quillbox::storage
