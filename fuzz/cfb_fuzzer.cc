// libFuzzer entry point for the compound-file engine: see cfb_walk.h for
// what one input goes through.
#include <cstddef>
#include <cstdint>

#include "cfb_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillbox::fuzz::RunOneInput(data, size);
  return 0;
}
