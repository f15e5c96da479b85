// Memory streams for the persistence tests: made from bytes, read back whole,
// and the position they were left at.
#pragma once

#include <cstdint>
#include <vector>

#include "quillbox/platform.h"

namespace quillbox::ole::testing {

using Bytes = std::vector<uint8_t>;

// A memory stream holding initial, positioned at 0.
ComPtr<IStream> MakeMemoryStream(const Bytes& initial = {});
// Every byte of stream; its position is left as it was.
Bytes StreamBytes(IStream* stream);
// The current position of stream.
uint64_t StreamPosition(IStream* stream);
// Puts the position of stream back to 0.
void Rewind(IStream* stream);

// The 16 bytes of kPersistentObjectClsid in a stream, written out by hand.
inline const Bytes kPersistentClassBytes = {0x71, 0x86, 0x96, 0x07, 0xBC, 0xF2, 0x7C, 0x43,
                                            0xBE, 0x6F, 0xEE, 0xD5, 0x18, 0xD8, 0x74, 0x60};

// a followed by b.
Bytes Concat(const Bytes& a, const Bytes& b);

}  // namespace quillbox::ole::testing
