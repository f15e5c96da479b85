// Little-endian reading and writing of the property-set format's fields.
// ByteReader never reads past its span: every read reports whether the bytes
// were there, so a damaged set turns into STG_E_INVALIDHEADER, not a crash.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "quillbox/guiddef.h"

namespace quillbox::propset {

class ByteReader {
 public:
  explicit ByteReader(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  size_t position() const { return position_; }
  size_t remaining() const { return bytes_.size() - position_; }
  std::span<const uint8_t> bytes() const { return bytes_; }
  bool Seek(size_t position) {
    if (position > bytes_.size()) return false;
    position_ = position;
    return true;
  }
  bool Skip(size_t count) { return count <= remaining() && Seek(position_ + count); }
  // Moves on to the next multiple of 4 (from the span's start); a value cut
  // short before its padding is still whole, so running out here is fine.
  void Align4() { position_ = std::min(bytes_.size(), (position_ + 3) & ~size_t{3}); }

  bool Read(void* out, size_t count) {
    if (count > remaining()) return false;
    if (count) std::memcpy(out, bytes_.data() + position_, count);
    position_ += count;
    return true;
  }
  bool U8(uint8_t* v) { return Read(v, 1); }
  bool U16(uint16_t* v) { return ReadLe(v); }
  bool U32(uint32_t* v) { return ReadLe(v); }
  bool U64(uint64_t* v) { return ReadLe(v); }
  bool Guid(GUID* g) {
    uint8_t raw[16];
    if (!Read(raw, 16)) return false;
    g->Data1 = raw[0] | raw[1] << 8 | raw[2] << 16 | static_cast<uint32_t>(raw[3]) << 24;
    g->Data2 = static_cast<uint16_t>(raw[4] | raw[5] << 8);
    g->Data3 = static_cast<uint16_t>(raw[6] | raw[7] << 8);
    std::memcpy(g->Data4, raw + 8, 8);
    return true;
  }
  // A view of the next count bytes, consumed.
  bool Take(size_t count, std::span<const uint8_t>* out) {
    if (count > remaining()) return false;
    *out = bytes_.subspan(position_, count);
    position_ += count;
    return true;
  }

 private:
  template <class T>
  bool ReadLe(T* v) {
    uint8_t raw[sizeof(T)];
    if (!Read(raw, sizeof(T))) return false;
    T value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) value |= static_cast<T>(static_cast<T>(raw[i]) << (8 * i));
    *v = value;
    return true;
  }

  std::span<const uint8_t> bytes_;
  size_t position_ = 0;
};

class ByteWriter {
 public:
  explicit ByteWriter(std::vector<uint8_t>* out) : out_(out) {}

  size_t size() const { return out_->size(); }
  void Bytes(const void* data, size_t count) {
    const auto* p = static_cast<const uint8_t*>(data);
    out_->insert(out_->end(), p, p + count);
  }
  void U8(uint8_t v) { out_->push_back(v); }
  void U16(uint16_t v) { Le(v); }
  void U32(uint32_t v) { Le(v); }
  void U64(uint64_t v) { Le(v); }
  void Guid(const GUID& g) {
    U32(g.Data1);
    U16(g.Data2);
    U16(g.Data3);
    Bytes(g.Data4, 8);
  }
  // Zero bytes up to the next multiple of 4, counted from start.
  void Pad4(size_t start = 0) {
    while ((out_->size() - start) % 4) out_->push_back(0);
  }
  void PatchU32(size_t at, uint32_t v) {
    for (int i = 0; i < 4; ++i) (*out_)[at + i] = static_cast<uint8_t>(v >> (8 * i));
  }

 private:
  template <class T>
  void Le(T v) {
    for (size_t i = 0; i < sizeof(T); ++i) out_->push_back(static_cast<uint8_t>(v >> (8 * i)));
  }
  std::vector<uint8_t>* out_;
};

}  // namespace quillbox::propset
