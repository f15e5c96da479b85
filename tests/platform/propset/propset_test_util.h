// Helpers of the property-set tests: a compound file in memory, its
// property sets, raw stream bytes, and PROPVARIANT/PROPSPEC shorthands.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quillbox/platform.h"

namespace quillbox::testing {

// A PROPVARIANT cleared when it goes out of scope.
struct PropVar : PROPVARIANT {
  PropVar() { PropVariantInit(this); }
  ~PropVar() { PropVariantClear(this); }
  PropVar(const PropVar&) = delete;
  PropVar& operator=(const PropVar&) = delete;
};

PROPSPEC Id(PROPID id);
PROPSPEC Name(const char16_t* name);

// A new compound file in memory (root storage).
ComPtr<IStorage> MemoryStorage();
ComPtr<IPropertySetStorage> SetsOf(IStorage* storage);
// The whole content of a stream element of storage.
std::vector<uint8_t> StreamBytes(IStorage* storage, const char16_t* name);
// Replaces (or makes) a stream element with bytes.
void PutStream(IStorage* storage, const char16_t* name, const std::vector<uint8_t>& bytes);

// Hex dump for failure messages.
std::string Hex(const std::vector<uint8_t>& bytes);

// An FMTID for tests.
inline constexpr FMTID kTestFmtid = {0x12345678, 0x9ABC, 0xDEF0, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};

// The fixed bytes of a stream header with one section at offset 48.
std::vector<uint8_t> OneSectionHeader(const FMTID& fmtid, uint16_t version = 0);

}  // namespace quillbox::testing
