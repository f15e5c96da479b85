// Memory streams for the persistence tests.
#include "memory_stream.h"

#include <gtest/gtest.h>

namespace quillbox::ole::testing {

ComPtr<IStream> MakeMemoryStream(const Bytes& initial) {
  ComPtr<IStream> stream;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, stream.put()), S_OK);
  if (!stream) return stream;
  if (!initial.empty()) {
    ULONG written = 0;
    EXPECT_EQ(stream->Write(initial.data(), static_cast<ULONG>(initial.size()), &written), S_OK);
    EXPECT_EQ(written, initial.size());
    Rewind(stream.get());
  }
  return stream;
}

uint64_t StreamPosition(IStream* stream) {
  LARGE_INTEGER zero{};
  ULARGE_INTEGER at{};
  EXPECT_EQ(stream->Seek(zero, STREAM_SEEK_CUR, &at), S_OK);
  return at.QuadPart;
}

void Rewind(IStream* stream) {
  LARGE_INTEGER zero{};
  EXPECT_EQ(stream->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
}

Bytes StreamBytes(IStream* stream) {
  const uint64_t kept = StreamPosition(stream);
  STATSTG stat{};
  EXPECT_EQ(stream->Stat(&stat, STATFLAG_NONAME), S_OK);
  Bytes bytes(static_cast<size_t>(stat.cbSize.QuadPart));
  Rewind(stream);
  ULONG got = 0;
  if (!bytes.empty()) {
    EXPECT_EQ(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got), S_OK);
  }
  bytes.resize(got);
  LARGE_INTEGER back{};
  back.QuadPart = static_cast<LONGLONG>(kept);
  EXPECT_EQ(stream->Seek(back, STREAM_SEEK_SET, nullptr), S_OK);
  return bytes;
}

Bytes Concat(const Bytes& a, const Bytes& b) {
  Bytes joined = a;
  joined.insert(joined.end(), b.begin(), b.end());
  return joined;
}

}  // namespace quillbox::ole::testing
