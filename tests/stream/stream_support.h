// Helpers for the Stream tests: a Stream object over a platform stream the
// test can inspect byte by byte, and the reported error's text.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
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

// The description of the thread's error information (taken), or "".
std::u16string TakeErrorText();

// Checks a failed member: its result code and the description reported.
#define EXPECT_STREAM_FAILURE(call, code, text)             \
  do {                                                      \
    const HRESULT hr_ = (call);                             \
    EXPECT_EQ(hr_, static_cast<HRESULT>(code));             \
    EXPECT_EQ(::quillbox::testing::TakeErrorText(), (text)); \
  } while (0)

// An owned BSTR made from UTF-16 text (embedded zeros kept).
class OwnedBstr {
 public:
  explicit OwnedBstr(const std::u16string& text)
      : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  OwnedBstr() = default;
  ~OwnedBstr() { SysFreeString(value_); }
  OwnedBstr(const OwnedBstr&) = delete;
  OwnedBstr& operator=(const OwnedBstr&) = delete;
  BSTR get() const { return value_; }
  BSTR* put() {
    SysFreeString(value_);
    value_ = nullptr;
    return &value_;
  }
  std::u16string text() const { return value_ ? std::u16string(value_, SysStringLen(value_)) : u""; }

 private:
  BSTR value_ = nullptr;
};

}  // namespace quillbox::testing
