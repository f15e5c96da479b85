// libFuzzer entry point for the property-set engine: the input is the bytes
// of one property-set stream; see propset_walk.h for what it goes through.
#include <cstddef>
#include <cstdint>

#include "propset_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  quillbox::fuzz::RunOnePropertySet(data, size);
  return 0;
}
