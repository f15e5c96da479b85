// Helpers for the Stream tests.
#include "stream_support.h"

#include "stream/stream.h"

namespace quillbox::testing {

Bytes StreamUnderTest::Contents() const {
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{};
  EXPECT_EQ(platform->Seek(zero, STREAM_SEEK_CUR, &here), S_OK);
  STATSTG stat{};
  EXPECT_EQ(platform->Stat(&stat, STATFLAG_NONAME), S_OK);
  Bytes bytes(stat.cbSize.QuadPart);
  EXPECT_EQ(platform->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
  ULONG got = 0;
  if (!bytes.empty()) {
    EXPECT_EQ(platform->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got), S_OK);
  }
  LARGE_INTEGER back{};
  back.QuadPart = static_cast<LONGLONG>(here.QuadPart);
  EXPECT_EQ(platform->Seek(back, STREAM_SEEK_SET, nullptr), S_OK);
  return bytes;
}

uint64_t StreamUnderTest::Position() const {
  LARGE_INTEGER zero{};
  ULARGE_INTEGER here{};
  EXPECT_EQ(platform->Seek(zero, STREAM_SEEK_CUR, &here), S_OK);
  return here.QuadPart;
}

void StreamUnderTest::Fill(const Bytes& bytes) const {
  ULARGE_INTEGER size{};
  size.QuadPart = bytes.size();
  EXPECT_EQ(platform->SetSize(size), S_OK);
  LARGE_INTEGER zero{};
  EXPECT_EQ(platform->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
  if (!bytes.empty()) {
    EXPECT_EQ(platform->Write(bytes.data(), static_cast<ULONG>(bytes.size()), nullptr), S_OK);
  }
  EXPECT_EQ(platform->Seek(zero, STREAM_SEEK_SET, nullptr), S_OK);
}

StreamUnderTest MakeStream(bool read_only, const Bytes& initial) {
  StreamUnderTest made;
  EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, made.platform.put()), S_OK);
  made.Fill(initial);
  made.stream = MakeStreamOver(made.platform.get(), read_only);
  return made;
}

ComPtr<_Stream> MakeStreamOver(IStream* platform, bool read_only) {
  ComPtr<stream_object::Stream> object = com::MakeObject<stream_object::Stream>();
  UINT message = 0;
  EXPECT_EQ(object->Initialize(0, platform, read_only, nullptr, nullptr, &message), S_OK);
  return ComPtr<_Stream>(static_cast<_Stream*>(object.get()));
}

}  // namespace quillbox::testing
