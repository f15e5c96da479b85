// Opening and listing a compound file of 100,000 elements: the time it
// takes, and the memory (peak resident set growth, from getrusage) set
// against the size of the file. The file is made once, by a child process,
// so that its making does not count in this process's peak.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

constexpr int kStorages = 1000;
constexpr int kStreamsPerStorage = 99;  // with the storages: 100,000 elements
constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kReadChild = STGM_READ | STGM_SHARE_EXCLUSIVE;

std::string FilePath() {
  const char* dir = std::getenv("QUILLBOX_BENCH_DIR");
  return std::string(dir ? dir : "/tmp") + "/quillbox-open-listing-100k.cfb";
}

std::u16string Wide(const std::string& text) { return std::u16string(text.begin(), text.end()); }

std::u16string Name(const char* format, int n) {
  char buf[32];
  std::snprintf(buf, sizeof buf, format, n);
  return Wide(buf);
}

// Small streams (16 bytes each), so the directory is most of the file.
bool MakeFile(const std::string& path) {
  const std::string temp = path + ".part";
  {
    ComPtr<IStorage> root;
    if (FAILED(StgCreateDocfile(Wide(temp).c_str(), kCreate, 0, root.put()))) return false;
    const char data[16] = "0123456789abcde";
    for (int s = 0; s < kStorages; ++s) {
      ComPtr<IStorage> storage;
      if (FAILED(root->CreateStorage(Name("Storage%04d", s).c_str(), kCreate, 0, 0, storage.put()))) return false;
      for (int t = 0; t < kStreamsPerStorage; ++t) {
        ComPtr<IStream> stream;
        if (FAILED(storage->CreateStream(Name("Stream%02d", t).c_str(), kCreate, 0, 0, stream.put()))) return false;
        if (FAILED(stream->Write(data, sizeof data, nullptr))) return false;
      }
    }
    if (FAILED(root->Commit(STGC_DEFAULT))) return false;
  }
  return std::rename(temp.c_str(), path.c_str()) == 0;
}

bool EnsureFile(const std::string& path) {
  if (std::filesystem::exists(path)) return true;
  const pid_t child = fork();
  if (child == 0) _exit(MakeFile(path) ? 0 : 1);
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

long PeakRssKib() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;  // KiB on Linux
}

// Lists storage and everything under it; gives the number of elements.
long ListAll(IStorage* storage) {
  ComPtr<IEnumSTATSTG> elements;
  if (FAILED(storage->EnumElements(0, nullptr, 0, elements.put()))) return -1;
  long count = 0;
  STATSTG stat[64];
  ULONG fetched = 0;
  for (;;) {
    const HRESULT hr = elements->Next(64, stat, &fetched);
    for (ULONG i = 0; i < fetched; ++i) {
      ++count;
      if (stat[i].type == STGTY_STORAGE) {
        ComPtr<IStorage> child;
        if (SUCCEEDED(storage->OpenStorage(stat[i].pwcsName, nullptr, kReadChild, nullptr, 0, child.put()))) {
          const long below = ListAll(child.get());
          if (below > 0) count += below;
        }
      }
      CoTaskMemFree(stat[i].pwcsName);
    }
    if (hr != S_OK) break;
  }
  return count;
}

void BM_OpenAndList100k(benchmark::State& state) {
  const std::string path = FilePath();
  if (!EnsureFile(path)) {
    state.SkipWithError("could not make the 100,000-element file");
    return;
  }
  const long rss_before = PeakRssKib();
  long elements = 0;
  for (auto _ : state) {
    ComPtr<IStorage> root;
    if (FAILED(StgOpenStorage(Wide(path).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0,
                              root.put()))) {
      state.SkipWithError("StgOpenStorage failed");
      return;
    }
    elements = ListAll(root.get());
  }
  const long rss_after = PeakRssKib();
  const double file_kib = static_cast<double>(std::filesystem::file_size(path)) / 1024.0;
  state.counters["elements"] = static_cast<double>(elements);
  state.counters["file_KiB"] = file_kib;
  state.counters["peak_rss_KiB"] = static_cast<double>(rss_after);
  state.counters["rss_growth_KiB"] = static_cast<double>(rss_after - rss_before);
  state.counters["growth_per_file_byte"] = static_cast<double>(rss_after - rss_before) / file_kib;
  if (elements != kStorages * (kStreamsPerStorage + 1)) state.SkipWithError("wrong element count");
}
BENCHMARK(BM_OpenAndList100k)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
