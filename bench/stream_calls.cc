// The Stream object's cost per call, on memory streams: scalar members
// against the platform stream moving the same 4 bytes, variant records
// against WriteLong, late binding through IDispatch::Invoke against the
// early-bound call, and code-page text against UTF-16 text. Every stream is
// sized beforehand, so that the timed writes overwrite and never grow it.
#include <string>

#include "stream_bench.h"

namespace quillbox::bench {
namespace {

constexpr LONG kCalls = 1000000;
constexpr LONG kLateCalls = 100000;
constexpr LONG kStringCalls = 100000;
constexpr LONG kTextLength = 100;
constexpr DISPID kDispidWriteLong = 1007;
constexpr LONG kVariantLongRecord = 6;  // the 2-byte tag and the 4-byte value

constexpr char kPlatformWrite[] = "Calls/PlatformWrite4";
constexpr char kWriteLong[] = "Calls/WriteLong";
constexpr char kPlatformRead[] = "Calls/PlatformRead4";
constexpr char kReadLong[] = "Calls/ReadLong";
constexpr char kWriteVariant[] = "Calls/WriteVariantLong";
constexpr char kEarlyBound[] = "LateBinding/WriteLongEarly";
constexpr char kInvoke[] = "LateBinding/WriteLongInvoke";
constexpr char kUtf16[] = "Strings/WriteStringUtf16";
constexpr char kCodePage[] = "Strings/WriteString1252";

[[maybe_unused]] const bool kRatios[] = {
    AddRatio("WriteLong x 1e6 / IStream::Write of 4 bytes (memory)", kWriteLong, kPlatformWrite),
    AddRatio("ReadLong x 1e6 / IStream::Read of 4 bytes (memory)", kReadLong, kPlatformRead),
    AddRatio("Write(VARIANT Long) x 1e6 / WriteLong", kWriteVariant, kWriteLong),
    AddRatio("WriteLong through IDispatch::Invoke x 1e5 / early-bound", kInvoke, kEarlyBound),
    AddRatio("WriteString 100 chars length first: code page 1252 / UTF-16", kCodePage, kUtf16),
};

// A memory stream of StructuredStorage.CreateMemoryStream, size bytes long.
ComPtr<_Stream> MemoryStream(benchmark::State& state, LONG size) {
  ComPtr<_StructuredStorage> factory = MakeStructuredStorage(state);
  if (!factory) return nullptr;
  ComPtr<_Stream> stream;
  HRESULT hr = factory->CreateMemoryStream(stream.put());
  if (SUCCEEDED(hr)) hr = stream->put_Size(size);
  if (FAILED(hr)) {
    Fail(state, "CreateMemoryStream or Stream.Size", hr);
    return nullptr;
  }
  return stream;
}

// The platform's memory stream, size bytes long.
ComPtr<IStream> PlatformMemoryStream(benchmark::State& state, ULONGLONG size) {
  ComPtr<IStream> stream;
  HRESULT hr = CreateStreamOnHGlobal(nullptr, TRUE, stream.put());
  ULARGE_INTEGER new_size{};
  new_size.QuadPart = size;
  if (SUCCEEDED(hr)) hr = stream->SetSize(new_size);
  if (FAILED(hr)) {
    Fail(state, "CreateStreamOnHGlobal or IStream::SetSize", hr);
    return nullptr;
  }
  return stream;
}

void BM_PlatformWrite4(benchmark::State& state) {
  ComPtr<IStream> stream = PlatformMemoryStream(state, 4 * kCalls);
  if (!stream) return;
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    for (LONG i = 0; i < kCalls && SUCCEEDED(hr); ++i) {
      ULONG written = 0;
      hr = stream->Write(&i, 4, &written);
    }
    if (FAILED(hr)) {
      Fail(state, "IStream::Write", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

// calls early-bound WriteLong calls an iteration.
void WriteLongCalls(benchmark::State& state, LONG calls) {
  ComPtr<_Stream> stream = MemoryStream(state, 4 * calls);
  if (!stream) return;
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    for (LONG i = 0; i < calls && SUCCEEDED(hr); ++i) hr = stream->WriteLong(i);
    if (FAILED(hr)) {
      Fail(state, "Stream.WriteLong", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * calls);
}

void BM_WriteLong(benchmark::State& state) { WriteLongCalls(state, kCalls); }

void BM_PlatformRead4(benchmark::State& state) {
  ComPtr<IStream> stream = PlatformMemoryStream(state, 4 * kCalls);
  if (!stream) return;
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    LONG value = 0;
    for (LONG i = 0; i < kCalls && SUCCEEDED(hr); ++i) {
      ULONG got = 0;
      hr = stream->Read(&value, 4, &got);
      if (SUCCEEDED(hr) && got != 4) hr = S_FALSE;
      benchmark::DoNotOptimize(value);
    }
    if (hr != S_OK) {
      Fail(state, "IStream::Read", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

void BM_ReadLong(benchmark::State& state) {
  ComPtr<_Stream> stream = MemoryStream(state, 4 * kCalls);
  if (!stream) return;
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    LONG value = 0;
    for (LONG i = 0; i < kCalls && SUCCEEDED(hr); ++i) {
      hr = stream->ReadLong(&value);
      benchmark::DoNotOptimize(value);
    }
    if (FAILED(hr)) {
      Fail(state, "Stream.ReadLong", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

void BM_WriteVariantLong(benchmark::State& state) {
  ComPtr<_Stream> stream = MemoryStream(state, kVariantLongRecord * kCalls);
  if (!stream) return;
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    for (LONG i = 0; i < kCalls && SUCCEEDED(hr); ++i) {
      VARIANT value;
      VariantInit(&value);
      value.vt = VT_I4;
      value.lVal = i;
      LONG written = 0;
      hr = stream->Write(value, &written);
      if (SUCCEEDED(hr) && written != kVariantLongRecord) hr = STG_E_WRITEFAULT;
    }
    if (FAILED(hr)) {
      Fail(state, "Stream.Write", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kCalls);
}

void BM_WriteLongEarly(benchmark::State& state) { WriteLongCalls(state, kLateCalls); }

// As a scripting client calls a method: the argument by value, a result
// variant and the exception information offered.
void BM_WriteLongInvoke(benchmark::State& state) {
  ComPtr<_Stream> stream = MemoryStream(state, 4 * kLateCalls);
  if (!stream) return;
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_I4;
  DISPPARAMS params{&argument, nullptr, 1, 0};
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    for (LONG i = 0; i < kLateCalls && SUCCEEDED(hr); ++i) {
      argument.lVal = i;
      VARIANT result;
      VariantInit(&result);
      EXCEPINFO error{};
      UINT bad_argument = 0;
      hr = stream->Invoke(kDispidWriteLong, IID_NULL, 0, DISPATCH_METHOD, &params, &result, &error, &bad_argument);
      VariantClear(&result);
      if (FAILED(hr)) {
        SysFreeString(error.bstrSource);
        SysFreeString(error.bstrDescription);
        SysFreeString(error.bstrHelpFile);
      }
    }
    if (FAILED(hr)) {
      Fail(state, "IDispatch::Invoke(WriteLong)", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kLateCalls);
}

// 100 characters, every one of them in code page 1252 (one byte each).
std::u16string Text() {
  std::u16string text;
  const size_t length = kTextLength;
  while (text.size() < length) text += u"Stra\u00DFe, caf\u00E9, na\u00EFve fa\u00E7ade \u2014 ";
  text.resize(length);
  return text;
}

void WriteStrings(benchmark::State& state, ssCharacterTypeEnum character_type, LONG code_page, LONG bytes_per_char) {
  const LONG record = 4 + bytes_per_char * kTextLength;  // the count, then the text
  ComPtr<_Stream> stream = MemoryStream(state, record * kStringCalls);
  if (!stream) return;
  const Bstr text(Text());
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    HRESULT hr = S_OK;
    for (LONG i = 0; i < kStringCalls && SUCCEEDED(hr); ++i) {
      hr = stream->WriteString(text.get(), character_type, ssWriteLengthFirst, 0, code_page);
    }
    LONG end = 0;
    if (SUCCEEDED(hr)) hr = stream->Seek(0, ssSeekCurrent, &end);
    if (SUCCEEDED(hr) && end != record * kStringCalls) hr = STG_E_WRITEFAULT;
    if (FAILED(hr)) {
      Fail(state, "Stream.WriteString", hr);
      break;
    }
  }
  state.SetItemsProcessed(state.iterations() * kStringCalls);
}

void BM_WriteStringUtf16(benchmark::State& state) { WriteStrings(state, ssUnicodeString, 0, 2); }
void BM_WriteString1252(benchmark::State& state) { WriteStrings(state, ssSpecificCodePage, 1252, 1); }

BENCHMARK(BM_PlatformWrite4)->Name(kPlatformWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteLong)->Name(kWriteLong)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PlatformRead4)->Name(kPlatformRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadLong)->Name(kReadLong)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteVariantLong)->Name(kWriteVariant)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteLongEarly)->Name(kEarlyBound)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteLongInvoke)->Name(kInvoke)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteStringUtf16)->Name(kUtf16)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteString1252)->Name(kCodePage)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillbox::bench
