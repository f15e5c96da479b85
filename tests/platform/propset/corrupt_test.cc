// Damaged sets give STG_E_INVALIDHEADER (never a crash, a hang or a huge
// allocation), and the deliberate leniencies read what real files carry.
#include <gtest/gtest.h>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kRead = STGM_READ | STGM_SHARE_EXCLUSIVE;

void PutU32(std::vector<uint8_t>* bytes, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) (*bytes)[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

// A small set: code page 1200, a BSTR at id 2, a dictionary naming it.
std::vector<uint8_t> ValidSet() {
  ComPtr<IStorage> root = MemoryStorage();
  {
    ComPtr<IPropertyStorage> set;
    EXPECT_EQ(SetsOf(root.get())->Create(FMTID_SummaryInformation, nullptr, 0, kCreate, set.put()), S_OK);
    PropVar value;
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(u"title");
    PROPSPEC spec = Name(u"Named");
    EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  }
  return StreamBytes(root.get(), u"\005SummaryInformation");
}

HRESULT OpenBytes(const std::vector<uint8_t>& bytes, ComPtr<IPropertyStorage>* set,
                  ComPtr<IStorage>* root_out = nullptr) {
  ComPtr<IStorage> root = MemoryStorage();
  PutStream(root.get(), u"\005SummaryInformation", bytes);
  HRESULT hr = SetsOf(root.get())->Open(FMTID_SummaryInformation, kRead, set->put());
  if (root_out) *root_out = root;
  return hr;
}

TEST(Corrupt, WrongByteOrderIsInvalidHeader) {
  auto bytes = ValidSet();
  bytes[0] = 0xFF;
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, SectionOffsetPastEndIsInvalidHeader) {
  auto bytes = ValidSet();
  PutU32(&bytes, 44, 0x7fffffff);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, HugeSectionCountIsInvalidHeader) {
  auto bytes = ValidSet();
  PutU32(&bytes, 24, 0xffffffff);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, HugePropertyCountIsInvalidHeader) {
  auto bytes = ValidSet();
  PutU32(&bytes, 52, 0x10000000);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, PropertyOffsetPastSectionIsInvalidHeader) {
  auto bytes = ValidSet();
  PutU32(&bytes, 48 + 12, 0x00ffffff);  // first table entry's offset
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, StringSizePastSectionIsInvalidHeader) {
  auto bytes = ValidSet();
  // The BSTR is the last value: find its type word (08 00 00 00) from the end.
  size_t at = bytes.size();
  for (size_t i = 48; i + 8 <= bytes.size(); i += 4) {
    if (bytes[i] == VT_BSTR && bytes[i + 1] == 0 && bytes[i + 2] == 0 && bytes[i + 3] == 0) at = i;
  }
  ASSERT_LT(at, bytes.size());
  PutU32(&bytes, at + 4, 0xfffffff0);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, VectorCountBeyondBytesIsRefusedWithoutAllocating) {
  std::vector<uint8_t> bytes = OneSectionHeader(FMTID_SummaryInformation);
  bytes.insert(bytes.end(), {0x20, 0, 0, 0, 0x01, 0, 0, 0, 0x02, 0, 0, 0, 0x10, 0, 0, 0,
                             0x03, 0x10, 0, 0, 0xff, 0xff, 0xff, 0x0f, 0, 0, 0, 0, 0, 0, 0, 0});
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

// Thousands of properties whose offsets all point at one 4000-byte value:
// a 20 KB stream that would cost 8 MB (and quadratic time) if every
// property copied the same bytes again.
TEST(Corrupt, PropertiesSharingOneLargeValueAreInvalidHeader) {
  constexpr uint32_t kCount = 2000;
  constexpr uint32_t kBlob = 4000;
  auto bytes = OneSectionHeader(FMTID_SummaryInformation);
  const size_t section = bytes.size();
  const uint32_t value_at = 8 + 8 * kCount;
  bytes.resize(section + value_at + 8 + kBlob, 0x41);
  PutU32(&bytes, section, value_at + 8 + kBlob);
  PutU32(&bytes, section + 4, kCount);
  for (uint32_t i = 0; i < kCount; ++i) {
    PutU32(&bytes, section + 8 + 8 * i, 2 + i);
    PutU32(&bytes, section + 12 + 8 * i, value_at);
  }
  PutU32(&bytes, section + value_at, VT_BLOB);
  PutU32(&bytes, section + value_at + 4, kBlob);
  ComPtr<IPropertyStorage> set;
  EXPECT_EQ(OpenBytes(bytes, &set), STG_E_INVALIDHEADER);
}

TEST(Corrupt, EveryTruncationFailsCleanly) {
  const auto valid = ValidSet();
  for (size_t size = 0; size < valid.size(); ++size) {
    std::vector<uint8_t> bytes(valid.begin(), valid.begin() + static_cast<std::ptrdiff_t>(size));
    ComPtr<IPropertyStorage> set;
    const HRESULT hr = OpenBytes(bytes, &set);
    if (SUCCEEDED(hr)) {  // cut only in trailing padding
      PropVar value;
      PROPSPEC spec = Name(u"Named");
      set->ReadMultiple(1, &spec, &value);
    } else {
      EXPECT_EQ(hr, STG_E_INVALIDHEADER) << "size " << size;
    }
  }
}

TEST(Corrupt, EverySingleByteFlipFailsCleanlyOrReads) {
  const auto valid = ValidSet();
  for (size_t at = 0; at < valid.size(); ++at) {
    auto bytes = valid;
    bytes[at] ^= 0xA5;
    ComPtr<IPropertyStorage> set;
    if (SUCCEEDED(OpenBytes(bytes, &set))) {
      PROPSPEC specs[] = {Id(2), Name(u"Named"), Id(1)};
      PROPVARIANT values[3];
      if (SUCCEEDED(set->ReadMultiple(3, specs, values))) FreePropVariantArray(3, values);
    }
  }
}

// ---- leniencies ----

TEST(Lenient, SectionAtUnalignedOffsetIsRead) {
  auto valid = ValidSet();
  std::vector<uint8_t> bytes(valid.begin(), valid.begin() + 48);
  bytes.push_back(0xEE);  // one stray byte before the section
  bytes.insert(bytes.end(), valid.begin() + 48, valid.end());
  PutU32(&bytes, 44, 49);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(OpenBytes(bytes, &set), S_OK);
  PropVar value;
  PROPSPEC spec = Name(u"Named");
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  EXPECT_EQ(std::u16string(value.bstrVal), u"title");
}

TEST(Lenient, MissingCodePageReadsAsAnsi) {
  std::vector<uint8_t> bytes = OneSectionHeader(FMTID_SummaryInformation);
  bytes.insert(bytes.end(), {0x1C, 0, 0, 0, 0x01, 0, 0, 0, 0x02, 0, 0, 0, 0x10, 0, 0, 0,
                             0x1E, 0, 0, 0, 0x03, 0, 0, 0, 'h', 0xE9, 0, 0});
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(OpenBytes(bytes, &set), S_OK);
  PropVar value;
  PROPSPEC spec = Id(2);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  EXPECT_STREQ(value.pszVal, "h\xE9");
}

TEST(Lenient, StringSizeCountingPastTerminatorStopsAtTerminator) {
  std::vector<uint8_t> bytes = OneSectionHeader(FMTID_SummaryInformation);
  bytes.insert(bytes.end(), {0x28, 0, 0, 0, 0x02, 0, 0, 0, 0x01, 0, 0, 0, 0x18, 0, 0, 0, 0x02, 0, 0, 0, 0x20, 0, 0, 0,
                             0x02, 0, 0, 0, 0xE4, 0x04, 0, 0,
                             0x1E, 0, 0, 0, 0x08, 0, 0, 0, 'a', 'b', 0, 0, 0, 0, 0, 0});
  PutU32(&bytes, 48, static_cast<uint32_t>(bytes.size() - 48));
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(OpenBytes(bytes, &set), S_OK);
  PropVar value;
  PROPSPEC spec = Id(2);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  EXPECT_STREQ(value.pszVal, "ab");
}

TEST(Lenient, DictionaryNamesLoseTrailingZeros) {
  std::vector<uint8_t> bytes = OneSectionHeader(FMTID_SummaryInformation);
  bytes.insert(bytes.end(), {0x00, 0, 0, 0, 0x02, 0, 0, 0, 0x00, 0, 0, 0, 0x18, 0, 0, 0, 0x01, 0, 0, 0, 0x2C, 0, 0, 0,
                             0x01, 0, 0, 0, 0x05, 0, 0, 0, 0x06, 0, 0, 0, 'N', 'm', 0, 0, 0, 0, 0, 0,
                             0x02, 0, 0, 0, 0xE4, 0x04, 0, 0});
  PutU32(&bytes, 48, static_cast<uint32_t>(bytes.size() - 48));
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(OpenBytes(bytes, &set), S_OK);
  PROPID id = 5;
  LPOLESTR name = nullptr;
  ASSERT_EQ(set->ReadPropertyNames(1, &id, &name), S_OK);
  EXPECT_EQ(std::u16string(name), u"Nm");
  CoTaskMemFree(name);
}

TEST(Lenient, TypedValueWhereDictionaryWasExpectedLeavesSetReadable) {
  std::vector<uint8_t> bytes = OneSectionHeader(FMTID_SummaryInformation);
  // id 0 points at a VT_LPSTR (whose "count" then runs past the section).
  bytes.insert(bytes.end(), {0x00, 0, 0, 0, 0x03, 0, 0, 0, 0x00, 0, 0, 0, 0x20, 0, 0, 0, 0x01, 0, 0, 0, 0x2C, 0, 0, 0,
                             0x02, 0, 0, 0, 0x34, 0, 0, 0,
                             0x1E, 0, 0, 0, 0x04, 0, 0, 0, 'x', 'y', 'z', 0,
                             0x02, 0, 0, 0, 0xE4, 0x04, 0, 0, 0x03, 0, 0, 0, 0x2A, 0, 0, 0});
  PutU32(&bytes, 48, static_cast<uint32_t>(bytes.size() - 48));
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(OpenBytes(bytes, &set), S_OK);
  PropVar value;
  PROPSPEC spec = Id(2);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  EXPECT_EQ(value.lVal, 42);
}

TEST(LargeSet, SetGrownPastOneMegabyteReadsBack) {
  ComPtr<IStorage> root = MemoryStorage();
  ComPtr<IPropertySetStorage> sets = SetsOf(root.get());
  std::vector<BYTE> pattern(64 * 1024);
  for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<BYTE>(i * 7);
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(sets->Create(kTestFmtid, nullptr, 0, kCreate, set.put()), S_OK);
    for (PROPID id = 2; id < 2 + 20; ++id) {
      PROPVARIANT value{};
      value.vt = VT_BLOB;
      value.blob.cbSize = static_cast<ULONG>(pattern.size());
      value.blob.pBlobData = pattern.data();
      PROPSPEC spec = Id(id);
      ASSERT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
    }
  }
  OLECHAR element[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, element);
  EXPECT_GT(StreamBytes(root.get(), element).size(), 1u << 20);
  ComPtr<IPropertyStorage> set;
  ASSERT_EQ(sets->Open(kTestFmtid, kRead, set.put()), S_OK);
  PropVar value;
  PROPSPEC spec = Id(21);
  ASSERT_EQ(set->ReadMultiple(1, &spec, &value), S_OK);
  ASSERT_EQ(value.blob.cbSize, pattern.size());
  EXPECT_EQ(std::vector<BYTE>(value.blob.pBlobData, value.blob.pBlobData + value.blob.cbSize), pattern);
}

}  // namespace
}  // namespace quillbox::testing
