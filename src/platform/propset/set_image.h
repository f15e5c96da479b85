// PropertySetStream: the header, the sections, each section's id/offset
// table, dictionary and values, parsed from bytes and written back. See
// docs/formats/property-sets.md for the layout we write and
// docs/platform/propset.md for what we accept beyond it.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "quillbox/propidl.h"

namespace quillbox::propset {

inline constexpr uint16_t kByteOrder = 0xFFFE;        // bytes FE FF at offset 0
inline constexpr uint32_t kSystemIdentifier = 0x0002000A;  // OS 10.0, Win32 platform
inline constexpr size_t kStreamHeaderSize = 28;       // byte order .. section count
inline constexpr size_t kSectionEntrySize = 20;       // FMTID + offset
inline constexpr size_t kMaxSetBytes = 64u << 20;     // larger streams are refused
inline constexpr uint32_t kMaxVersion0NameChars = 127;

// One section: the values as they sit in the file (TypedPropertyValue,
// padded to 4), keyed by id, and the names of the dictionary (id 0).
struct Section {
  FMTID fmtid{};
  std::map<PROPID, std::vector<uint8_t>> values;
  std::map<PROPID, std::u16string> names;
  bool has_dictionary = false;

  // The code page property (1), or the process's ANSI code page when it is
  // missing or unusable.
  uint32_t CodePage() const;
  bool CaseSensitive() const;
};

struct SetImage {
  uint16_t version = 0;
  uint32_t system_identifier = kSystemIdentifier;
  CLSID clsid{};
  std::vector<Section> sections;
};

// STG_E_INVALIDHEADER for anything that cannot be read safely.
HRESULT ParseSetImage(std::span<const uint8_t> bytes, SetImage* image);
// Fails only when a dictionary name cannot be held by its code page.
HRESULT SerializeSetImage(const SetImage& image, std::vector<uint8_t>* bytes);

// A fresh section: the code page property alone, plus the behavior
// property when names are case-sensitive.
Section MakeSection(const FMTID& fmtid, uint32_t code_page, bool case_sensitive);

// Little-endian value bytes of the two scalar forms used by the reserved
// properties.
std::vector<uint8_t> I2Value(int16_t value);
std::vector<uint8_t> UI4Value(uint32_t value);

}  // namespace quillbox::propset
