// The Quillbox peer of the compound-file benchmark: the workloads of
// /work/shared/bench/peers/workload.json run on the platform storage API,
// one JSON line per call, in the protocol of run-peers.sh:
//   quillbox_peer W1 <dir> | W1r <file> | W2 <dir> <mib> | W2r <file> <mib>
//                 | W3 <dir> <n> | W4 <file> | W4-rewrite <file>
// (W3, the metadata scan, is in w3_scan.cc.)
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "crc32.h"
#include "quillbox/platform.h"
#include "w3_scan.h"

using quillbox::ComPtr;
using quillbox::bench::Crc32;

namespace {

constexpr int kStorages = 100;
constexpr int kStreamsPerStorage = 100;
constexpr int kStreams = kStorages * kStreamsPerStorage;
constexpr size_t kChunk = 65536;
constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kReadChild = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kWriteChild = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// The shared generator: xorshift32 from 42, a 64 KiB pool, then the W1
// layout and the W4 additions.
struct Layout {
  std::vector<unsigned char> pool = std::vector<unsigned char>(65536);
  uint32_t w1_off[kStreams], w1_size[kStreams], add_off[kStorages], add_size[kStorages];

  Layout() {
    uint32_t x = 42;
    auto next = [&x] {
      x ^= x << 13;
      x ^= x >> 17;
      x ^= x << 5;
      return x;
    };
    for (int i = 0; i < 16384; ++i) {
      const uint32_t w = next();
      for (int b = 0; b < 4; ++b) pool[4 * i + b] = static_cast<unsigned char>(w >> (8 * b));
    }
    for (int k = 0; k < kStreams; ++k) {
      w1_size[k] = 512 + next() % 7681;
      w1_off[k] = next() % 57345;
    }
    for (int s = 0; s < kStorages; ++s) {
      add_size[s] = 512 + next() % 7681;
      add_off[s] = next() % 57345;
    }
  }
};

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::u16string Wide(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string Name(const char* format, int n) {
  char buf[32];
  std::snprintf(buf, sizeof buf, format, n);
  return Wide(buf);
}

std::string Hex(uint32_t v) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%08x", v);
  return buf;
}

void Emit(const char* workload, double seconds, long long bytes, bool ok, const std::string& note,
          const std::string& extra = "") {
  std::printf("{\"peer\": \"quillbox\", \"workload\": \"%s\", \"seconds\": %.4f, \"bytes\": %lld, \"ok\": %s, "
              "\"note\": \"%s\"%s%s}\n",
              workload, seconds, bytes, ok ? "true" : "false", note.c_str(), extra.empty() ? "" : ", ",
              extra.c_str());
  std::fflush(stdout);
}

std::string Failure(const char* what, HRESULT hr) {
  char buf[128];
  std::snprintf(buf, sizeof buf, "%s failed with 0x%08X", what, static_cast<unsigned>(hr));
  return buf;
}

// ---- W1 ----

HRESULT WriteW1(const Layout& layout, const std::u16string& path) {
  ComPtr<IStorage> root;
  if (HRESULT hr = StgCreateDocfile(path.c_str(), kCreate, 0, root.put()); FAILED(hr)) return hr;
  for (int s = 0; s < kStorages; ++s) {
    ComPtr<IStorage> storage;
    if (HRESULT hr = root->CreateStorage(Name("Storage%03d", s).c_str(), kCreate, 0, 0, storage.put()); FAILED(hr)) {
      return hr;
    }
    for (int t = 0; t < kStreamsPerStorage; ++t) {
      const int k = s * kStreamsPerStorage + t;
      ComPtr<IStream> stream;
      if (HRESULT hr = storage->CreateStream(Name("Stream%03d", t).c_str(), kCreate, 0, 0, stream.put()); FAILED(hr)) {
        return hr;
      }
      ULONG done = 0;
      if (HRESULT hr = stream->Write(&layout.pool[layout.w1_off[k]], layout.w1_size[k], &done); FAILED(hr)) return hr;
    }
  }
  return root->Commit(STGC_DEFAULT);
}

HRESULT ReadW1(const std::u16string& path, Crc32* crc, long long* total) {
  ComPtr<IStorage> root;
  if (HRESULT hr = StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, root.put());
      FAILED(hr)) {
    return hr;
  }
  std::vector<unsigned char> buf(8192);
  for (int s = 0; s < kStorages; ++s) {
    ComPtr<IStorage> storage;
    if (HRESULT hr = root->OpenStorage(Name("Storage%03d", s).c_str(), nullptr, kReadChild, nullptr, 0, storage.put());
        FAILED(hr)) {
      return hr;
    }
    for (int t = 0; t < kStreamsPerStorage; ++t) {
      ComPtr<IStream> stream;
      if (HRESULT hr = storage->OpenStream(Name("Stream%03d", t).c_str(), nullptr, kReadChild, 0, stream.put());
          FAILED(hr)) {
        return hr;
      }
      ULONG got = 0;
      if (HRESULT hr = stream->Read(buf.data(), static_cast<ULONG>(buf.size()), &got); FAILED(hr)) return hr;
      crc->Add(buf.data(), got);
      *total += got;
    }
  }
  return S_OK;
}

void ExpectedW1(const Layout& layout, uint32_t* crc, long long* total) {
  Crc32 c;
  *total = 0;
  for (int k = 0; k < kStreams; ++k) {
    c.Add(&layout.pool[layout.w1_off[k]], layout.w1_size[k]);
    *total += layout.w1_size[k];
  }
  *crc = c.value();
}

void DoW1(const Layout& layout, const std::string& dir) {
  const std::string path = dir + "/quillbox-w1.cfb";
  uint32_t expected_crc;
  long long expected_total;
  ExpectedW1(layout, &expected_crc, &expected_total);
  const double t0 = Now();
  HRESULT hr = WriteW1(layout, Wide(path));
  const double t1 = Now();
  Crc32 crc;
  long long total = 0;
  if (SUCCEEDED(hr)) hr = ReadW1(Wide(path), &crc, &total);
  const double t2 = Now();
  const bool ok = SUCCEEDED(hr) && crc.value() == expected_crc && total == expected_total;
  char extra[4608];
  std::snprintf(extra, sizeof extra, "\"checksum\": \"%s\", \"write_s\": %.4f, \"read_s\": %.4f, \"file\": \"%s\"",
                Hex(crc.value()).c_str(), t1 - t0, t2 - t1, path.c_str());
  Emit("W1", t2 - t0, total, ok,
       ok ? "100x100 streams written, reopened, read, crc32 matches"
          : (FAILED(hr) ? Failure("W1", hr) : "mismatch"),
       extra);
}

void DoW1r(const Layout& layout, const std::string& path) {
  uint32_t expected_crc;
  long long expected_total;
  ExpectedW1(layout, &expected_crc, &expected_total);
  const double t0 = Now();
  Crc32 crc;
  long long total = 0;
  const HRESULT hr = ReadW1(Wide(path), &crc, &total);
  const double t1 = Now();
  const bool ok = SUCCEEDED(hr) && crc.value() == expected_crc && total == expected_total;
  Emit("W1r", t1 - t0, total, ok,
       ok ? "read-only pass over reference W1 file" : (FAILED(hr) ? Failure("W1r", hr) : "mismatch"),
       "\"checksum\": \"" + Hex(crc.value()) + "\"");
}

// ---- W2 ----

uint32_t ExpectedW2(const Layout& layout, int mib) {
  std::vector<unsigned char> chunk(layout.pool.begin(), layout.pool.end());
  Crc32 crc;
  for (uint32_t c = 0; c < static_cast<uint32_t>(mib) * 16; ++c) {
    for (int b = 0; b < 4; ++b) chunk[b] = static_cast<unsigned char>(c >> (8 * b));
    crc.Add(chunk.data(), kChunk);
  }
  return crc.value();
}

HRESULT WriteW2(const Layout& layout, const std::u16string& path, int mib) {
  ComPtr<IStorage> root;
  if (HRESULT hr = StgCreateDocfile(path.c_str(), kCreate, 0, root.put()); FAILED(hr)) return hr;
  ComPtr<IStream> stream;
  if (HRESULT hr = root->CreateStream(u"BigStream", kCreate, 0, 0, stream.put()); FAILED(hr)) return hr;
  std::vector<unsigned char> chunk(layout.pool.begin(), layout.pool.end());
  for (uint32_t c = 0; c < static_cast<uint32_t>(mib) * 16; ++c) {
    for (int b = 0; b < 4; ++b) chunk[b] = static_cast<unsigned char>(c >> (8 * b));
    ULONG done = 0;
    if (HRESULT hr = stream->Write(chunk.data(), kChunk, &done); FAILED(hr)) return hr;
    if (done != kChunk) return STG_E_WRITEFAULT;
  }
  stream = nullptr;
  return root->Commit(STGC_DEFAULT);
}

HRESULT ReadW2(const std::u16string& path, Crc32* crc, long long* total) {
  ComPtr<IStorage> root;
  if (HRESULT hr = StgOpenStorage(path.c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, root.put());
      FAILED(hr)) {
    return hr;
  }
  ComPtr<IStream> stream;
  if (HRESULT hr = root->OpenStream(u"BigStream", nullptr, kReadChild, 0, stream.put()); FAILED(hr)) return hr;
  std::vector<unsigned char> buf(kChunk);
  for (;;) {
    ULONG got = 0;
    if (HRESULT hr = stream->Read(buf.data(), kChunk, &got); FAILED(hr)) return hr;
    if (got == 0) break;
    crc->Add(buf.data(), got);
    *total += got;
  }
  return S_OK;
}

void DoW2(const Layout& layout, const std::string& dir, int mib) {
  const std::string path = dir + "/quillbox-w2.cfb";
  const uint32_t expected = ExpectedW2(layout, mib);
  const double t0 = Now();
  HRESULT hr = WriteW2(layout, Wide(path), mib);
  const double t1 = Now();
  Crc32 crc;
  long long total = 0;
  if (SUCCEEDED(hr)) hr = ReadW2(Wide(path), &crc, &total);
  const double t2 = Now();
  const bool ok = SUCCEEDED(hr) && crc.value() == expected && total == static_cast<long long>(mib) * 1048576;
  char extra[4608];
  std::snprintf(extra, sizeof extra,
                "\"checksum\": \"%s\", \"write_s\": %.4f, \"read_s\": %.4f, \"mib\": %d, \"file\": \"%s\"",
                Hex(crc.value()).c_str(), t1 - t0, t2 - t1, mib, path.c_str());
  Emit("W2", t2 - t0, total, ok,
       ok ? "one stream in 64 KiB chunks, reopened, read, crc32 matches"
          : (FAILED(hr) ? Failure("W2", hr) : "mismatch"),
       extra);
}

void DoW2r(const Layout& layout, const std::string& path, int mib) {
  const uint32_t expected = ExpectedW2(layout, mib);
  const double t0 = Now();
  Crc32 crc;
  long long total = 0;
  const HRESULT hr = ReadW2(Wide(path), &crc, &total);
  const double t1 = Now();
  const bool ok = SUCCEEDED(hr) && crc.value() == expected && total == static_cast<long long>(mib) * 1048576;
  Emit("W2r", t1 - t0, total, ok,
       ok ? "read-only pass over reference W2 file" : (FAILED(hr) ? Failure("W2r", hr) : "mismatch"),
       "\"checksum\": \"" + Hex(crc.value()) + "\", \"mib\": " + std::to_string(mib));
}

// ---- W4 ----

// In every storage: rename Stream000, delete Stream001, add Added000.
HRESULT ApplyW4(const Layout& layout, IStorage* root, long long* added) {
  for (int s = 0; s < kStorages; ++s) {
    ComPtr<IStorage> storage;
    if (HRESULT hr = root->OpenStorage(Name("Storage%03d", s).c_str(), nullptr, kWriteChild, nullptr, 0,
                                       storage.put());
        FAILED(hr)) {
      return hr;
    }
    if (HRESULT hr = storage->RenameElement(u"Stream000", u"Renamed000"); FAILED(hr)) return hr;
    if (HRESULT hr = storage->DestroyElement(u"Stream001"); FAILED(hr)) return hr;
    ComPtr<IStream> stream;
    if (HRESULT hr = storage->CreateStream(u"Added000", kCreate, 0, 0, stream.put()); FAILED(hr)) return hr;
    ULONG done = 0;
    if (HRESULT hr = stream->Write(&layout.pool[layout.add_off[s]], layout.add_size[s], &done); FAILED(hr)) return hr;
    *added += done;
  }
  return root->Commit(STGC_DEFAULT);
}

void DoW4(const Layout& layout, const std::string& path) {
  const double t0 = Now();
  long long added = 0;
  ComPtr<IStorage> root;
  HRESULT hr = StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                              root.put());
  if (SUCCEEDED(hr)) hr = ApplyW4(layout, root.get(), &added);
  root = nullptr;
  const double t1 = Now();
  Emit("W4", t1 - t0, added, SUCCEEDED(hr),
       SUCCEEDED(hr) ? "in place (direct mode): 100 renames, 100 deletions, 100 additions" : Failure("W4", hr));
}

// The same changes made by writing a new file: copy the tree, change the
// copy, put it in place of the original.
void DoW4Rewrite(const Layout& layout, const std::string& path) {
  const double t0 = Now();
  const std::string temp = path + ".rewrite";
  long long added = 0;
  HRESULT hr;
  {
    ComPtr<IStorage> source, target;
    hr = StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, source.put());
    if (SUCCEEDED(hr)) hr = StgCreateDocfile(Wide(temp).c_str(), kCreate, 0, target.put());
    if (SUCCEEDED(hr)) hr = source->CopyTo(0, nullptr, nullptr, target.get());
    if (SUCCEEDED(hr)) hr = ApplyW4(layout, target.get(), &added);
  }
  if (SUCCEEDED(hr) && std::rename(temp.c_str(), path.c_str()) != 0) hr = STG_E_WRITEFAULT;
  if (FAILED(hr)) std::remove(temp.c_str());
  const double t1 = Now();
  Emit("W4-rewrite", t1 - t0, added, SUCCEEDED(hr),
       SUCCEEDED(hr) ? "new file: CopyTo, the same changes, rename over the original" : Failure("W4-rewrite", hr));
}

// ---- W3 ----

void DoW3(const std::string& dir, int files) {
  const double t0 = Now();
  const quillbox::bench::W3Result result = quillbox::bench::ScanW3(dir, files);
  const double t1 = Now();
  const uint32_t expected = quillbox::bench::ExpectedW3Checksum(files);
  const double rate = t1 > t0 ? files / (t1 - t0) : 0.0;
  const bool ok = result.files_read == files && result.checksum == expected;
  char note[256], extra[256];
  std::snprintf(note, sizeof note, "%.1f files/s; %d/%d files read; %d user-defined props%s%s", rate,
                result.files_read, files, result.user_props, result.error.empty() ? "" : "; ", result.error.c_str());
  std::snprintf(extra, sizeof extra,
                "\"checksum\": \"%s\", \"expected\": \"%s\", \"files\": %d, \"files_per_s\": %.1f, "
                "\"user_props\": %d",
                Hex(result.checksum).c_str(), Hex(expected).c_str(), result.files_read, rate, result.user_props);
  Emit("W3", t1 - t0, result.bytes, ok, note, extra);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: quillbox_peer W1|W1r|W2|W2r|W3|W4|W4-rewrite ARGS\n");
    return 2;
  }
  const Layout layout;
  const std::string w = argv[1];
  const int mib = argc > 3 ? std::atoi(argv[3]) : 256;
  if (w == "W1") {
    DoW1(layout, argv[2]);
  } else if (w == "W1r") {
    DoW1r(layout, argv[2]);
  } else if (w == "W2") {
    DoW2(layout, argv[2], mib);
  } else if (w == "W2r") {
    DoW2r(layout, argv[2], mib);
  } else if (w == "W3") {
    DoW3(argv[2], argc > 3 ? std::atoi(argv[3]) : 2000);
  } else if (w == "W4") {
    DoW4(layout, argv[2]);
  } else if (w == "W4-rewrite") {
    DoW4Rewrite(layout, argv[2]);
  } else {
    std::fprintf(stderr, "unknown workload %s\n", w.c_str());
    return 2;
  }
  return 0;
}
