// Helpers of the property-set tests.
#include "propset_test_util.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace quillbox::testing {

PROPSPEC Id(PROPID id) {
  PROPSPEC spec{};
  spec.ulKind = PRSPEC_PROPID;
  spec.propid = id;
  return spec;
}

PROPSPEC Name(const char16_t* name) {
  PROPSPEC spec{};
  spec.ulKind = PRSPEC_LPWSTR;
  spec.lpwstr = const_cast<LPOLESTR>(name);
  return spec;
}

ComPtr<IStorage> MemoryStorage() {
  ComPtr<ILockBytes> bytes;
  EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, bytes.put()), S_OK);
  ComPtr<IStorage> root;
  EXPECT_EQ(StgCreateDocfileOnILockBytes(bytes.get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                         root.put()),
            S_OK);
  return root;
}

ComPtr<IPropertySetStorage> SetsOf(IStorage* storage) {
  ComPtr<IPropertySetStorage> sets;
  EXPECT_EQ(StgCreatePropSetStg(storage, 0, sets.put()), S_OK);
  return sets;
}

std::vector<uint8_t> StreamBytes(IStorage* storage, const char16_t* name) {
  ComPtr<IStream> stream;
  EXPECT_EQ(storage->OpenStream(name, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()), S_OK);
  if (!stream) return {};
  STATSTG stat{};
  stream->Stat(&stat, STATFLAG_NONAME);
  std::vector<uint8_t> bytes(static_cast<size_t>(stat.cbSize.QuadPart));
  ULONG got = 0;
  stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got);
  bytes.resize(got);
  return bytes;
}

void PutStream(IStorage* storage, const char16_t* name, const std::vector<uint8_t>& bytes) {
  ComPtr<IStream> stream;
  ASSERT_EQ(storage->CreateStream(name, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, stream.put()),
            S_OK);
  ULONG written = 0;
  if (bytes.empty()) return;
  ASSERT_EQ(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
}

std::string Hex(const std::vector<uint8_t>& bytes) {
  std::string text;
  char cell[4];
  for (size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(cell, sizeof cell, "%02X", bytes[i]);
    text += cell;
    text += (i % 16 == 15) ? '\n' : ' ';
  }
  return text;
}

std::vector<uint8_t> OneSectionHeader(const FMTID& fmtid, uint16_t version) {
  std::vector<uint8_t> bytes = {0xFE, 0xFF, static_cast<uint8_t>(version), 0x00,  // byte order, version
                                0x0A, 0x00, 0x02, 0x00};                          // OS 10.0, Win32
  bytes.insert(bytes.end(), 16, 0x00);                                            // CLSID_NULL
  bytes.insert(bytes.end(), {0x01, 0x00, 0x00, 0x00});                            // one section
  const uint8_t* raw = reinterpret_cast<const uint8_t*>(&fmtid);                  // little-endian host
  bytes.insert(bytes.end(), raw, raw + 16);
  bytes.insert(bytes.end(), {0x30, 0x00, 0x00, 0x00});  // section at 48
  return bytes;
}

}  // namespace quillbox::testing
