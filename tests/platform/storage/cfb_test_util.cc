// Test helpers: byte access, a raw compound file reader independent of the
// engine, and the red-black checker.
#include "cfb_test_util.h"

#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace quillbox::storage::testing {

std::u16string W(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

std::vector<uint8_t> ReadBytes(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

uint16_t Get16(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint16_t>(b.at(at) | (b.at(at + 1) << 8));
}
uint32_t Get32(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint32_t>(Get16(b, at)) | (static_cast<uint32_t>(Get16(b, at + 2)) << 16);
}
uint64_t Get64(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint64_t>(Get32(b, at)) | (static_cast<uint64_t>(Get32(b, at + 4)) << 32);
}
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b.at(at + i) = static_cast<uint8_t>(v >> (8 * i));
}

ComPtr<IStorage> CreateDocfile(const std::filesystem::path& path, HRESULT* result) {
  ComPtr<IStorage> storage;
  const std::u16string name = W(path.string());
  HRESULT hr = StgCreateDocfile(name.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                storage.put());
  if (result) *result = hr;
  return storage;
}

ComPtr<IStorage> OpenDocfile(const std::filesystem::path& path, DWORD mode, HRESULT* result) {
  ComPtr<IStorage> storage;
  const std::u16string name = W(path.string());
  HRESULT hr = StgOpenStorage(name.c_str(), nullptr, mode, nullptr, 0, storage.put());
  if (result) *result = hr;
  return storage;
}

void PutStream(IStorage* storage, const std::string& name, const std::vector<uint8_t>& data) {
  ComPtr<IStream> stream;
  ASSERT_EQ(storage->CreateStream(W(name).c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE,
                                  0, 0, stream.put()),
            S_OK);
  ULONG written = 0;
  ASSERT_EQ(stream->Write(data.data(), static_cast<ULONG>(data.size()), &written), S_OK);
  ASSERT_EQ(written, data.size());
}

std::vector<uint8_t> GetStream(IStorage* storage, const std::string& name) {
  ComPtr<IStream> stream;
  HRESULT hr = storage->OpenStream(W(name).c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                                   stream.put());
  EXPECT_EQ(hr, S_OK) << name;
  if (FAILED(hr)) return {};
  STATSTG stat{};
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  std::vector<uint8_t> data(stat.cbSize.QuadPart);
  ULONG got = 0;
  EXPECT_EQ(stream->Read(data.data(), static_cast<ULONG>(data.size()), &got), S_OK);
  EXPECT_EQ(got, data.size());
  return data;
}

std::vector<uint8_t> Pattern(size_t size, uint32_t seed) {
  std::vector<uint8_t> data(size);
  uint32_t x = seed * 2654435761u + 1;
  for (auto& b : data) {
    x = x * 1103515245u + 12345u;
    b = static_cast<uint8_t>(x >> 16);
  }
  return data;
}

std::vector<uint32_t> RawFile::Chain(uint32_t start) const {
  std::vector<uint32_t> out;
  std::set<uint32_t> seen;
  for (uint32_t s = start; s != 0xFFFFFFFE;) {
    EXPECT_LT(s, fat.size()) << "chain leaves the FAT";
    if (s >= fat.size() || !seen.insert(s).second) {
      ADD_FAILURE() << "bad chain from " << start;
      break;
    }
    out.push_back(s);
    s = fat[s];
  }
  return out;
}

uint32_t RawFile::Find(uint32_t parent, const std::string& name) const {
  std::vector<uint32_t> stack = {entries.at(parent).child};
  while (!stack.empty()) {
    const uint32_t id = stack.back();
    stack.pop_back();
    if (id == 0xFFFFFFFF || id >= entries.size()) continue;
    if (entries[id].name == W(name)) return id;
    stack.push_back(entries[id].left);
    stack.push_back(entries[id].right);
  }
  return 0xFFFFFFFF;
}

RawFile ReadRaw(const std::filesystem::path& path) {
  RawFile raw;
  raw.bytes = ReadBytes(path);
  const auto& b = raw.bytes;
  raw.sector_size = 1u << Get16(b, 0x1E);
  const uint32_t fat_count = Get32(b, 0x2C);
  for (uint32_t i = 0; i < fat_count && i < 109; ++i) raw.fat_sectors.push_back(Get32(b, 0x4C + 4 * i));
  const uint32_t per = raw.sector_size / 4;
  uint32_t difat = Get32(b, 0x44);
  for (uint32_t n = 0; n < Get32(b, 0x48) && raw.fat_sectors.size() < fat_count; ++n) {
    for (uint32_t i = 0; i + 1 < per && raw.fat_sectors.size() < fat_count; ++i) {
      raw.fat_sectors.push_back(Get32(b, raw.SectorOffset(difat) + 4 * i));
    }
    difat = Get32(b, raw.SectorOffset(difat) + 4 * (per - 1));
  }
  for (uint32_t s : raw.fat_sectors) {
    for (uint32_t i = 0; i < per; ++i) raw.fat.push_back(Get32(b, raw.SectorOffset(s) + 4 * i));
  }
  for (uint32_t s : raw.Chain(Get32(b, 0x30))) {
    for (uint32_t i = 0; i < raw.sector_size / 128; ++i) {
      const size_t at = raw.SectorOffset(s) + 128 * i;
      RawEntry e;
      e.name_length = Get16(b, at + 0x40);
      for (size_t k = 0; k + 2 < e.name_length && k < 62; k += 2) e.name.push_back(Get16(b, at + k));
      e.type = b.at(at + 0x42);
      e.color = b.at(at + 0x43);
      e.left = Get32(b, at + 0x44);
      e.right = Get32(b, at + 0x48);
      e.child = Get32(b, at + 0x4C);
      e.start = Get32(b, at + 0x74);
      e.size = Get64(b, at + 0x78);
      raw.entries.push_back(e);
    }
  }
  return raw;
}

namespace {

int CompareAsciiNames(const std::u16string& a, const std::u16string& b) {
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  for (size_t i = 0; i < a.size(); ++i) {
    char16_t x = a[i] >= u'a' && a[i] <= u'z' ? a[i] - 32 : a[i];
    char16_t y = b[i] >= u'a' && b[i] <= u'z' ? b[i] - 32 : b[i];
    if (x != y) return x < y ? -1 : 1;
  }
  return 0;
}

// Black height of the subtree at id, or -1 (with why) when it breaks a rule.
int Check(const RawFile& raw, uint32_t id, bool parent_red, const std::u16string* low,
          const std::u16string* high, std::string* why, int depth) {
  if (id == 0xFFFFFFFF) return 0;
  if (id >= raw.entries.size() || depth > 64) {
    *why = "link out of range or tree too deep";
    return -1;
  }
  const RawEntry& e = raw.entries[id];
  const bool red = e.color == 0;
  if (red && parent_red) {
    *why = "red entry with a red child";
    return -1;
  }
  if ((low && CompareAsciiNames(*low, e.name) >= 0) || (high && CompareAsciiNames(e.name, *high) >= 0)) {
    *why = "entries out of order";
    return -1;
  }
  const int l = Check(raw, e.left, red, low, &e.name, why, depth + 1);
  const int r = Check(raw, e.right, red, &e.name, high, why, depth + 1);
  if (l < 0 || r < 0) return -1;
  if (l != r) {
    *why = "black heights differ";
    return -1;
  }
  return l + (red ? 0 : 1);
}

}  // namespace

std::string CheckRedBlack(const RawFile& raw) {
  std::string why;
  for (size_t id = 0; id < raw.entries.size(); ++id) {
    const RawEntry& e = raw.entries[id];
    if (e.type != 1 && e.type != 5) continue;
    if (e.child != 0xFFFFFFFF && raw.entries.at(e.child).color != 1) return "root of a tree is red";
    if (Check(raw, e.child, false, nullptr, nullptr, &why, 0) < 0) return why;
  }
  return "";
}

}  // namespace quillbox::storage::testing
