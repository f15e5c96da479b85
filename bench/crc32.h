// CRC-32 as the peers compute it: zlib's crc32, so the checksum costs the
// same in every peer and the comparison measures the storage libraries.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <cstdint>

namespace quillbox::bench {

class Crc32 {
 public:
  void Add(const unsigned char* p, size_t n) {
    while (n > 0) {
      const uInt chunk = n > 0x40000000u ? 0x40000000u : static_cast<uInt>(n);
      crc_ = crc32(crc_, p, chunk);
      p += chunk;
      n -= chunk;
    }
  }
  uint32_t value() const { return static_cast<uint32_t>(crc_); }

 private:
  uLong crc_ = crc32(0L, Z_NULL, 0);
};

}  // namespace quillbox::bench
