// The bytes we write, checked against sets computed by hand from the
// format's layout: header, section, id/offset table, values, padding.
#include <gtest/gtest.h>

#include <cstring>

#include "propset_test_util.h"

namespace quillbox::testing {
namespace {

std::vector<uint8_t> WriteOne(DWORD flags, PROPID id, const PROPVARIANT& value) {
  ComPtr<IStorage> root = MemoryStorage();
  {
    ComPtr<IPropertyStorage> set;
    EXPECT_EQ(SetsOf(root.get())->Create(kTestFmtid, nullptr, flags, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                        set.put()),
              S_OK);
    PROPSPEC spec = Id(id);
    EXPECT_EQ(set->WriteMultiple(1, &spec, &value, PID_FIRST_USABLE), S_OK);
  }
  OLECHAR name[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, name);
  return StreamBytes(root.get(), name);
}

TEST(FormatBytes, UnicodeSetWithOneI4MatchesHandComputedBytes) {
  PropVar value;
  value.vt = VT_I4;
  value.lVal = 0x12345678;
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x28, 0x00, 0x00, 0x00,  // section size 40
      0x02, 0x00, 0x00, 0x00,  // two properties
      0x01, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,  // code page at 24
      0x02, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00,  // id 2 at 32
      0x02, 0x00, 0x00, 0x00, 0xB0, 0x04, 0x00, 0x00,  // VT_I2 1200
      0x03, 0x00, 0x00, 0x00, 0x78, 0x56, 0x34, 0x12,  // VT_I4
  });
  const std::vector<uint8_t> got = WriteOne(PROPSETFLAG_DEFAULT, 2, value);
  EXPECT_EQ(got, expected) << Hex(got);
}

TEST(FormatBytes, AnsiSetWithLpstrCountsTerminatorAndPads) {
  PropVar value;
  value.vt = VT_LPSTR;
  value.pszVal = static_cast<LPSTR>(CoTaskMemAlloc(4));
  std::memcpy(value.pszVal, "abc", 4);
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x2C, 0x00, 0x00, 0x00,  // section size 44
      0x02, 0x00, 0x00, 0x00,
      0x01, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,
      0x03, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00,
      0x02, 0x00, 0x00, 0x00, 0xE4, 0x04, 0x00, 0x00,  // VT_I2 1252
      0x1E, 0x00, 0x00, 0x00, 0x04, 0x00, 0x00, 0x00,  // VT_LPSTR, 4 bytes with the terminator
      'a', 'b', 'c', 0x00,
  });
  const std::vector<uint8_t> got = WriteOne(PROPSETFLAG_ANSI, 3, value);
  EXPECT_EQ(got, expected) << Hex(got);
}

TEST(FormatBytes, UnicodeBstrIsUtf16WithByteCountAndPadding) {
  PropVar value;
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"Hi!");
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x30, 0x00, 0x00, 0x00,  // section size 48
      0x02, 0x00, 0x00, 0x00,
      0x01, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,
      0x02, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00,
      0x02, 0x00, 0x00, 0x00, 0xB0, 0x04, 0x00, 0x00,
      0x08, 0x00, 0x00, 0x00, 0x08, 0x00, 0x00, 0x00,  // VT_BSTR, 8 bytes
      'H', 0x00, 'i', 0x00, '!', 0x00, 0x00, 0x00,
  });
  const std::vector<uint8_t> got = WriteOne(PROPSETFLAG_DEFAULT, 2, value);
  EXPECT_EQ(got, expected) << Hex(got);
}

TEST(FormatBytes, VectorOfI2IsPackedThenPadded) {
  PropVar value;
  value.vt = VT_VECTOR | VT_I2;
  value.cai.cElems = 3;
  value.cai.pElems = static_cast<SHORT*>(CoTaskMemAlloc(6));
  value.cai.pElems[0] = 1;
  value.cai.pElems[1] = -1;
  value.cai.pElems[2] = 0x0203;
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x30, 0x00, 0x00, 0x00,  // section size 48
      0x02, 0x00, 0x00, 0x00,
      0x01, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,
      0x02, 0x00, 0x00, 0x00, 0x20, 0x00, 0x00, 0x00,
      0x02, 0x00, 0x00, 0x00, 0xB0, 0x04, 0x00, 0x00,
      0x02, 0x10, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // VT_VECTOR|VT_I2, 3 elements
      0x01, 0x00, 0xFF, 0xFF, 0x03, 0x02, 0x00, 0x00,  // packed, 2 bytes of padding
  });
  const std::vector<uint8_t> got = WriteOne(PROPSETFLAG_DEFAULT, 2, value);
  EXPECT_EQ(got, expected) << Hex(got);
}

TEST(FormatBytes, UnicodeDictionaryEntriesArePaddedToFour) {
  ComPtr<IStorage> root = MemoryStorage();
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(SetsOf(root.get())->Create(kTestFmtid, nullptr, PROPSETFLAG_DEFAULT,
                                         STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, set.put()),
              S_OK);
    PROPID id = 5;
    LPOLESTR name = const_cast<LPOLESTR>(u"Ab");
    ASSERT_EQ(set->WritePropertyNames(1, &id, &name), S_OK);
  }
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x34, 0x00, 0x00, 0x00,  // section size 52
      0x02, 0x00, 0x00, 0x00,
      0x00, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,  // dictionary at 24
      0x01, 0x00, 0x00, 0x00, 0x2C, 0x00, 0x00, 0x00,  // code page at 44
      0x01, 0x00, 0x00, 0x00,                          // one entry
      0x05, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // id 5, 3 characters
      'A', 0x00, 'b', 0x00, 0x00, 0x00, 0x00, 0x00,    // name, terminator, padding
      0x02, 0x00, 0x00, 0x00, 0xB0, 0x04, 0x00, 0x00,
  });
  OLECHAR element[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, element);
  const std::vector<uint8_t> got = StreamBytes(root.get(), element);
  EXPECT_EQ(got, expected) << Hex(got);
}

TEST(FormatBytes, AnsiDictionaryEntriesArePacked) {
  ComPtr<IStorage> root = MemoryStorage();
  {
    ComPtr<IPropertyStorage> set;
    ASSERT_EQ(SetsOf(root.get())->Create(kTestFmtid, nullptr, PROPSETFLAG_ANSI,
                                         STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, set.put()),
              S_OK);
    PROPID ids[] = {5, 6};
    LPOLESTR names[] = {const_cast<LPOLESTR>(u"Ab"), const_cast<LPOLESTR>(u"C")};
    ASSERT_EQ(set->WritePropertyNames(2, ids, names), S_OK);
  }
  std::vector<uint8_t> expected = OneSectionHeader(kTestFmtid);
  expected.insert(expected.end(), {
      0x3C, 0x00, 0x00, 0x00,  // section size 60
      0x02, 0x00, 0x00, 0x00,
      0x00, 0x00, 0x00, 0x00, 0x18, 0x00, 0x00, 0x00,
      0x01, 0x00, 0x00, 0x00, 0x34, 0x00, 0x00, 0x00,  // code page at 52
      0x02, 0x00, 0x00, 0x00,                          // two entries
      0x05, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 'A', 'b', 0x00,  // no padding between
      0x06, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 'C', 0x00,
      0x00, 0x00, 0x00,                                // dictionary padded to 4
      0x02, 0x00, 0x00, 0x00, 0xE4, 0x04, 0x00, 0x00,
  });
  OLECHAR element[CCH_MAX_PROPSTG_NAME + 1];
  FmtIdToPropStgName(&kTestFmtid, element);
  const std::vector<uint8_t> got = StreamBytes(root.get(), element);
  EXPECT_EQ(got, expected) << Hex(got);
}

}  // namespace
}  // namespace quillbox::testing
