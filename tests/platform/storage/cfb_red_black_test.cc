// The directory's sibling trees stay ordered red-black trees as elements
// come and go (checked by reading the directory bytes back).
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

#include "cfb_test_util.h"
#include "quillbox/objbase.h"
#include "support/test_support.h"

namespace quillbox::storage::testing {
namespace {

constexpr DWORD kRW = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::string RandomName(std::mt19937& rng) {
  static const char kChars[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
  std::string name(1 + rng() % 12, 'a');
  for (char& c : name) c = kChars[rng() % (sizeof kChars - 1)];
  return name;
}

TEST(CfbRedBlackTest, RandomInsertsAndDeletesKeepInvariants) {
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "rb.cfb";
  auto root = CreateDocfile(path);
  ASSERT_TRUE(root);
  std::mt19937 rng(12345);
  std::set<std::string> upper_names;  // names compare without case
  std::vector<std::string> present;
  for (int round = 0; round < 12; ++round) {
    for (int i = 0; i < 40; ++i) {
      const std::string name = RandomName(rng);
      std::string upper = name;
      std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
      ComPtr<IStream> stream;
      const HRESULT hr = root->CreateStream(W(name).c_str(), kRW, 0, 0, stream.put());
      if (upper_names.count(upper)) {
        EXPECT_EQ(hr, STG_E_FILEALREADYEXISTS) << name;
      } else {
        ASSERT_EQ(hr, S_OK) << name;
        upper_names.insert(upper);
        present.push_back(name);
      }
    }
    for (int i = 0; i < 25 && !present.empty(); ++i) {
      const size_t pick = rng() % present.size();
      ASSERT_EQ(root->DestroyElement(W(present[pick]).c_str()), S_OK);
      std::string upper = present[pick];
      std::transform(upper.begin(), upper.end(), upper.begin(), ::toupper);
      upper_names.erase(upper);
      present.erase(present.begin() + static_cast<long>(pick));
    }
    const RawFile raw = ReadRaw(path);
    ASSERT_EQ(CheckRedBlack(raw), "") << "round " << round;
    size_t live = 0;
    for (const auto& e : raw.entries) live += e.type == 2;
    EXPECT_EQ(live, present.size());
  }
}

TEST(CfbRedBlackTest, SortedInsertsStayBalanced) {
  quillbox::testing::ScratchDir dir;
  const auto path = dir / "rb.cfb";
  auto root = CreateDocfile(path);
  for (int i = 0; i < 300; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "n%05d", i);
    ComPtr<IStorage> sub;
    ASSERT_EQ(root->CreateStorage(W(name).c_str(), kRW, 0, 0, sub.put()), S_OK);
  }
  EXPECT_EQ(CheckRedBlack(ReadRaw(path)), "");
}

TEST(CfbRedBlackTest, NamesOrderShorterFirstThenUpperCased) {
  quillbox::testing::ScratchDir dir;
  auto root = CreateDocfile(dir / "o.cfb");
  for (const char* name : {"bb", "a", "AAA", "B", "ab"}) PutStream(root.get(), name, {1});
  ComPtr<IEnumSTATSTG> items;
  ASSERT_EQ(root->EnumElements(0, nullptr, 0, items.put()), S_OK);
  std::vector<std::u16string> order;
  STATSTG stat;
  while (items->Next(1, &stat, nullptr) == S_OK) {
    order.push_back(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
  }
  EXPECT_EQ(order, (std::vector<std::u16string>{u"a", u"B", u"ab", u"bb", u"AAA"}));
}

TEST(CfbRedBlackTest, LookupIgnoresCaseAndStatKeepsIt) {
  quillbox::testing::ScratchDir dir;
  auto root = CreateDocfile(dir / "o.cfb");
  PutStream(root.get(), "MiXed", {1, 2});
  ComPtr<IStream> stream;
  ASSERT_EQ(root->OpenStream(u"mixed", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()), S_OK);
  STATSTG stat{};
  ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
  EXPECT_EQ(std::u16string(stat.pwcsName), u"MiXed");
  CoTaskMemFree(stat.pwcsName);
}

}  // namespace
}  // namespace quillbox::storage::testing
