// Helpers for the compound file tests: files as bytes, an independent raw
// reader of what we wrote (header, FAT, directory) and a red-black checker.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quillbox/com_ptr.h"
#include "quillbox/coml2api.h"

namespace quillbox::storage::testing {

std::u16string W(const std::string& ascii);
std::vector<uint8_t> ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

uint16_t Get16(const std::vector<uint8_t>& b, size_t at);
uint32_t Get32(const std::vector<uint8_t>& b, size_t at);
uint64_t Get64(const std::vector<uint8_t>& b, size_t at);
void Put32(std::vector<uint8_t>& b, size_t at, uint32_t v);

// New file at path, opened read-write and exclusive.
ComPtr<IStorage> CreateDocfile(const std::filesystem::path& path, HRESULT* result = nullptr);
ComPtr<IStorage> OpenDocfile(const std::filesystem::path& path, DWORD mode, HRESULT* result = nullptr);

// A stream with these bytes under storage.
void PutStream(IStorage* storage, const std::string& name, const std::vector<uint8_t>& data);
std::vector<uint8_t> GetStream(IStorage* storage, const std::string& name);
std::vector<uint8_t> Pattern(size_t size, uint32_t seed);

// What the file says, read with no help from the engine.
struct RawEntry {
  std::u16string name;
  uint16_t name_length = 0;
  uint8_t type = 0;
  uint8_t color = 0;
  uint32_t left = 0, right = 0, child = 0, start = 0;
  uint64_t size = 0;
};

struct RawFile {
  std::vector<uint8_t> bytes;
  uint32_t sector_size = 0;
  std::vector<uint32_t> fat;
  std::vector<uint32_t> fat_sectors;
  std::vector<RawEntry> entries;

  size_t SectorOffset(uint32_t sector) const { return (static_cast<size_t>(sector) + 1) * sector_size; }
  // The chain from start, stopping (and failing the test) on a loop.
  std::vector<uint32_t> Chain(uint32_t start) const;
  // Entry id of a child of storage parent, or 0xFFFFFFFF.
  uint32_t Find(uint32_t parent, const std::string& name) const;
};

RawFile ReadRaw(const std::filesystem::path& path);

// "" when every storage's children form an ordered red-black tree, else
// what is wrong.
std::string CheckRedBlack(const RawFile& raw);

}  // namespace quillbox::storage::testing
