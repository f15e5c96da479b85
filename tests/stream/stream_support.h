// Helpers for the Stream tests: a Stream object over a platform stream the
// test can inspect byte by byte, and the reported error's text.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
#include "storage/tree_support.h"
#include "support/test_support.h"

namespace quillbox::testing {

using Bytes = std::vector<uint8_t>;

// A Stream object over a memory stream held by the test too: the test
// writes through the object and looks at the bytes through the platform.
struct StreamUnderTest {
  ComPtr<IStream> platform;
  ComPtr<_Stream> stream;

  // Every byte of the platform stream; the position is left as it was.
  Bytes Contents() const;
  // The platform stream's current position.
  uint64_t Position() const;
  // Replaces the content and puts the position at 0.
  void Fill(const Bytes& bytes) const;
};

// A memory stream object, read-only if asked, holding initial.
StreamUnderTest MakeStream(bool read_only = false, const Bytes& initial = {});

// A Stream object over the given platform stream, with no owner.
ComPtr<_Stream> MakeStreamOver(IStream* platform, bool read_only = false);

// Checks a failed member: its result code and the description reported.
#define EXPECT_STREAM_FAILURE(call, code, text)             \
  do {                                                      \
    const HRESULT hr_ = (call);                             \
    EXPECT_EQ(hr_, static_cast<HRESULT>(code));             \
    EXPECT_EQ(::quillbox::testing::TakeDescription(), (text)); \
  } while (0)

}  // namespace quillbox::testing
