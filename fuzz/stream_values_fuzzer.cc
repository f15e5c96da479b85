// libFuzzer entry point for the Stream object's reading members: the input
// is a small program and the stream's bytes; see stream_values_walk.h.
#include <cstddef>
#include <cstdint>

#include "stream_values_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillbox::fuzz::RunOneStreamProgram(data, size);
  return 0;
}
