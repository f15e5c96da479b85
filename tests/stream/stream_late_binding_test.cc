// Stream through IDispatch: the members reached by DISPID with the
// arguments a scripting client sends.
#include <gtest/gtest.h>

#include "stream_support.h"

namespace quillbox::testing {
namespace {

constexpr DISPID kWrite = 1000;
constexpr DISPID kWriteBytes = 1005;

HRESULT Call(const ComPtr<_Stream>& stream, DISPID id, VARIANT* args, UINT count, VARIANT* result) {
  DISPPARAMS params{args, nullptr, count, 0};
  EXCEPINFO error{};
  const HRESULT hr = stream->Invoke(id, IID_NULL, 0, DISPATCH_METHOD, &params, result, &error, nullptr);
  SysFreeString(error.bstrSource);
  SysFreeString(error.bstrDescription);
  SysFreeString(error.bstrHelpFile);
  return hr;
}

TEST(StreamLateBinding, WriteOfSevenGivesSixBytes) {
  StreamUnderTest s = MakeStream();
  VARIANT seven;
  VariantInit(&seven);
  seven.vt = VT_I4;
  seven.lVal = 7;
  VARIANT count;
  VariantInit(&count);
  ASSERT_EQ(Call(s.stream, kWrite, &seven, 1, &count), S_OK);
  EXPECT_EQ(count.vt, VT_I4);
  EXPECT_EQ(count.lVal, 6);
  EXPECT_EQ(s.Contents(), (Bytes{0x03, 0x00, 0x07, 0x00, 0x00, 0x00}));
}

// WriteBytes takes its array over; through the dispatcher the argument is
// the dispatcher's copy, which it frees once, and the caller's own array is
// still the caller's to free.
TEST(StreamLateBinding, WriteBytesLeavesTheCallersArrayToTheCaller) {
  StreamUnderTest s = MakeStream();
  VARIANT bytes;
  VariantInit(&bytes);
  bytes.vt = VT_ARRAY | VT_UI1;
  bytes.parray = SafeArrayCreateVector(VT_UI1, 0, 3);
  BYTE* data = nullptr;
  ASSERT_EQ(SafeArrayAccessData(bytes.parray, reinterpret_cast<void**>(&data)), S_OK);
  data[0] = 0x10;
  data[1] = 0x00;
  data[2] = 0xFF;
  SafeArrayUnaccessData(bytes.parray);
  VARIANT count;
  VariantInit(&count);
  ASSERT_EQ(Call(s.stream, kWriteBytes, &bytes, 1, &count), S_OK);
  EXPECT_EQ(count.lVal, 3);
  EXPECT_EQ(s.Contents(), (Bytes{0x10, 0x00, 0xFF}));
  EXPECT_EQ(VariantClear(&bytes), S_OK);
}

}  // namespace
}  // namespace quillbox::testing
