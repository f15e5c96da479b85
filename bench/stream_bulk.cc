// The Stream object moving bytes in bulk: 64 MiB in 64 KiB chunks written
// with WriteBytes to a stream of a new document and read back with
// ReadBytes, against the platform stream of a file made with
// StgCreateDocfile doing the same. Making, closing and deleting the files
// is not timed.
#include <cstdio>
#include <cstring>
#include <vector>

#include "stream_bench.h"

namespace quillbox::bench {
namespace {

constexpr ULONG kChunk = 64 * 1024;
constexpr int kChunks = 1024;
constexpr LONG kTotal = LONG{kChunk} * kChunks;  // 64 MiB

// The modes CreateDocument and Streams.Add use, and those of a read-only
// OpenDocument and its streams: both sides open their files alike.
constexpr DWORD kCreateMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kOpenRootMode = STGM_READ | STGM_SHARE_DENY_WRITE;
constexpr DWORD kOpenStreamMode = STGM_READ | STGM_SHARE_EXCLUSIVE;

constexpr char kWritePlatform[] = "BulkWrite/PlatformWrite";
constexpr char kWriteBytes[] = "BulkWrite/WriteBytes";
constexpr char kWriteBytesMaking[] = "BulkWrite/WriteBytesMakingArrays";
constexpr char kReadPlatform[] = "BulkRead/PlatformRead";
constexpr char kReadBytes[] = "BulkRead/ReadBytes";

[[maybe_unused]] const bool kRatios[] = {
    AddRatio("WriteBytes 64 KiB x 1024 / IStream::Write (arrays made before)", kWriteBytes, kWritePlatform),
    AddRatio("WriteBytes 64 KiB x 1024 / IStream::Write (making each array)", kWriteBytesMaking, kWritePlatform),
    AddRatio("ReadBytes 64 KiB x 1024 / IStream::Read (freeing each array)", kReadBytes, kReadPlatform),
};

const std::vector<BYTE>& Chunk() {
  static const std::vector<BYTE> chunk = [] {
    std::vector<BYTE> bytes(kChunk);
    for (ULONG i = 0; i < kChunk; ++i) bytes[i] = static_cast<BYTE>(i * 31 + 7);
    return bytes;
  }();
  return chunk;
}

// A one-dimensional byte array holding the chunk, as a client makes it.
SAFEARRAY* MakeArray() {
  SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, kChunk);
  void* data = nullptr;
  if (!array || FAILED(SafeArrayAccessData(array, &data))) {
    SafeArrayDestroy(array);
    return nullptr;
  }
  std::memcpy(data, Chunk().data(), kChunk);
  SafeArrayUnaccessData(array);
  return array;
}

// The stream "Data" of a document's root storage.
HRESULT DataStream(_CompoundDocument* document, bool create, ComPtr<_Stream>* stream) {
  ComPtr<_Storage> root;
  ComPtr<_Streams> streams;
  HRESULT hr = document->get_RootStorage(root.put());
  if (SUCCEEDED(hr)) hr = root->get_Streams(streams.put());
  if (FAILED(hr)) return hr;
  const Bstr name(u"Data");
  return create ? streams->Add(name.get(), stream->put()) : streams->get_Item(name.get(), stream->put());
}

// The file both read benchmarks read: 64 MiB of chunks in the stream
// "Data", written once with the platform API.
const std::string& ReadFilePath() {
  static const std::string path = [] {
    const std::string made = WorkDir() + "/read.cfb";
    ComPtr<IStorage> root;
    ComPtr<IStream> stream;
    HRESULT hr = StgCreateDocfile(Wide(made).c_str(), kCreateMode | STGM_CREATE, 0, root.put());
    if (SUCCEEDED(hr)) hr = root->CreateStream(u"Data", kCreateMode, 0, 0, stream.put());
    for (int i = 0; SUCCEEDED(hr) && i < kChunks; ++i) hr = stream->Write(Chunk().data(), kChunk, nullptr);
    return SUCCEEDED(hr) ? made : std::string();
  }();
  return path;
}

void BM_BulkWritePlatform(benchmark::State& state) {
  const std::string path = WorkDir() + "/write-platform.cfb";
  const BYTE* chunk = Chunk().data();
  for (auto _ : state) {
    state.PauseTiming();
    std::remove(path.c_str());
    ComPtr<IStorage> root;
    ComPtr<IStream> stream;
    HRESULT hr = StgCreateDocfile(Wide(path).c_str(), kCreateMode, 0, root.put());
    if (SUCCEEDED(hr)) hr = root->CreateStream(u"Data", kCreateMode, 0, 0, stream.put());
    if (FAILED(hr)) {
      Fail(state, "StgCreateDocfile or CreateStream", hr);
      break;
    }
    state.ResumeTiming();
    for (int i = 0; i < kChunks && SUCCEEDED(hr); ++i) {
      ULONG written = 0;
      hr = stream->Write(chunk, kChunk, &written);
      if (SUCCEEDED(hr) && written != kChunk) hr = STG_E_WRITEFAULT;
    }
    if (FAILED(hr)) {
      Fail(state, "IStream::Write", hr);
      break;
    }
    state.PauseTiming();
    STATSTG stat{};
    hr = stream->Stat(&stat, STATFLAG_NONAME);
    stream.reset();
    root.reset();
    if (FAILED(hr) || stat.cbSize.QuadPart != static_cast<ULONGLONG>(kTotal)) {
      Fail(state, "IStream::Stat (size after writing)", hr);
      break;
    }
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
  std::remove(path.c_str());
}

// make_arrays: each array is made and filled inside the timed loop, as a
// client making one per call pays; otherwise all are made beforehand and
// only WriteBytes (which destroys them) is timed.
void BulkWriteBytes(benchmark::State& state, bool make_arrays) {
  const std::string path = WorkDir() + (make_arrays ? "/write-bytes-making.cfb" : "/write-bytes.cfb");
  ComPtr<_StructuredStorage> factory = MakeStructuredStorage(state);
  if (!factory) return;
  for (auto _ : state) {
    state.PauseTiming();
    std::remove(path.c_str());
    ComPtr<_CompoundDocument> document;
    ComPtr<_Stream> stream;
    HRESULT hr = factory->CreateDocument(Bstr(path).get(), document.put());
    if (SUCCEEDED(hr)) hr = DataStream(document.get(), true, &stream);
    if (FAILED(hr)) {
      Fail(state, "CreateDocument or Streams.Add", hr);
      break;
    }
    std::vector<SAFEARRAY*> arrays(make_arrays ? 0 : kChunks);
    for (SAFEARRAY*& array : arrays) array = MakeArray();
    state.ResumeTiming();
    int i = 0;
    for (; i < kChunks && SUCCEEDED(hr); ++i) {
      VARIANT bytes;
      VariantInit(&bytes);
      bytes.vt = VT_ARRAY | VT_UI1;
      bytes.parray = make_arrays ? MakeArray() : arrays[i];
      LONG count = 0;
      hr = bytes.parray ? stream->WriteBytes(bytes, &count) : E_OUTOFMEMORY;
      if (FAILED(hr)) SafeArrayDestroy(bytes.parray);  // taken over only on success
      if (SUCCEEDED(hr) && count != static_cast<LONG>(kChunk)) hr = STG_E_WRITEFAULT;
    }
    if (FAILED(hr)) {
      for (; i < static_cast<int>(arrays.size()); ++i) SafeArrayDestroy(arrays[i]);
      Fail(state, "Stream.WriteBytes", hr);
      break;
    }
    state.PauseTiming();
    LONG size = 0;
    hr = stream->get_Size(&size);
    stream.reset();
    document.reset();
    if (FAILED(hr) || size != kTotal) {
      Fail(state, "Stream.Size (after writing)", hr);
      break;
    }
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
  std::remove(path.c_str());
}

void BM_BulkWriteBytes(benchmark::State& state) { BulkWriteBytes(state, false); }
void BM_BulkWriteBytesMakingArrays(benchmark::State& state) { BulkWriteBytes(state, true); }

void BM_BulkReadPlatform(benchmark::State& state) {
  const std::string& path = ReadFilePath();
  ComPtr<IStorage> root;
  ComPtr<IStream> stream;
  HRESULT hr = path.empty() ? E_FAIL : StgOpenStorage(Wide(path).c_str(), nullptr, kOpenRootMode, nullptr, 0, root.put());
  if (SUCCEEDED(hr)) hr = root->OpenStream(u"Data", nullptr, kOpenStreamMode, 0, stream.put());
  if (FAILED(hr)) return Fail(state, "making or opening the file to read", hr);
  std::vector<BYTE> buffer(kChunk);
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    for (int i = 0; i < kChunks && SUCCEEDED(hr); ++i) {
      ULONG got = 0;
      hr = stream->Read(buffer.data(), kChunk, &got);
      if (SUCCEEDED(hr) && got != kChunk) hr = STG_E_READFAULT;
    }
    if (FAILED(hr)) {
      Fail(state, "IStream::Read", hr);
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}

void BM_BulkReadBytes(benchmark::State& state) {
  const std::string& path = ReadFilePath();
  ComPtr<_StructuredStorage> factory = MakeStructuredStorage(state);
  if (!factory) return;
  ComPtr<_CompoundDocument> document;
  ComPtr<_Stream> stream;
  HRESULT hr = path.empty() ? E_FAIL : factory->OpenDocument(Bstr(path).get(), VARIANT_TRUE, document.put());
  if (SUCCEEDED(hr)) hr = DataStream(document.get(), false, &stream);
  if (FAILED(hr)) return Fail(state, "making or opening the document to read", hr);
  for (auto _ : state) {
    if (!Rewind(state, stream.get())) break;
    for (int i = 0; i < kChunks && SUCCEEDED(hr); ++i) {
      LONG count = kChunk;
      VARIANT bytes;
      VariantInit(&bytes);
      hr = stream->ReadBytes(&count, &bytes);
      LONG upper = 0;  // the array's lower bound is 1
      if (SUCCEEDED(hr) && (bytes.vt != (VT_ARRAY | VT_UI1) || FAILED(SafeArrayGetUBound(bytes.parray, 1, &upper)) ||
                            upper != static_cast<LONG>(kChunk))) {
        hr = STG_E_READFAULT;
      }
      VariantClear(&bytes);  // the client's to free: part of what a read costs
    }
    if (FAILED(hr)) {
      Fail(state, "Stream.ReadBytes", hr);
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * kTotal);
}

BENCHMARK(BM_BulkWritePlatform)->Name(kWritePlatform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BulkWriteBytes)->Name(kWriteBytes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BulkWriteBytesMakingArrays)->Name(kWriteBytesMaking)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BulkReadPlatform)->Name(kReadPlatform)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BulkReadBytes)->Name(kReadBytes)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quillbox::bench
