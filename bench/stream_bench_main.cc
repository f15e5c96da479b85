// The Stream object benchmarks' program: Google Benchmark's own report, then
// each figure as a ratio against its baseline measured in the same run.
// Repetitions are interleaved at random by default, so that a change in the
// machine's load falls on both sides of a ratio alike.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "stream_bench.h"

namespace quillbox::bench {
namespace {

std::string g_work_dir;

// Filled at static initialisation, from every file of the program.
std::vector<Ratio>& RatioList() {
  static std::vector<Ratio> ratios;
  return ratios;
}

// The defaults, put before the caller's own flags (later flags win).
const char* const kDefaultFlags[] = {"--benchmark_repetitions=5", "--benchmark_enable_random_interleaving=true"};

// Seconds per iteration of every repetition, by benchmark name.
struct Samples {
  std::vector<double> cpu;
  std::vector<double> real;
  std::string error;
};
using SampleTable = std::map<std::string, Samples>;

// A reporter of Google Benchmark's own kind that also keeps the samples.
template <class Base>
class Collecting final : public Base {
 public:
  template <class... Args>
  explicit Collecting(SampleTable* table, Args... args) : Base(args...), table_(table) {}

  void ReportRuns(const std::vector<benchmark::BenchmarkReporter::Run>& runs) override {
    for (const auto& run : runs) {
      Samples& samples = (*table_)[run.run_name.function_name];
      if (run.error_occurred) samples.error = run.error_message;
      if (run.error_occurred || run.run_type != benchmark::BenchmarkReporter::Run::RT_Iteration) continue;
      const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
      samples.cpu.push_back(run.GetAdjustedCPUTime() / unit);
      samples.real.push_back(run.GetAdjustedRealTime() / unit);
    }
    Base::ReportRuns(runs);
  }

 private:
  SampleTable* table_;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void PrintSummary(const SampleTable& table, FILE* out) {
  std::fprintf(out,
               "\nStream object: each figure over its baseline from this run (medians of the repetitions;\n"
               "below 1 is faster than the baseline)\n");
  std::fprintf(out, "  %-62s %6s %6s %5s\n", "figure", "cpu", "wall", "reps");
  for (const Ratio& ratio : Ratios()) {
    const auto subject = table.find(ratio.subject);
    const auto baseline = table.find(ratio.baseline);
    std::string why;
    if (subject == table.end() || baseline == table.end()) {
      why = "not run";
    } else if (!subject->second.error.empty() || !baseline->second.error.empty()) {
      why = "failed: " + subject->second.error + baseline->second.error;
    } else if (subject->second.cpu.empty() || baseline->second.cpu.empty()) {
      why = "no samples";
    }
    if (!why.empty()) {
      std::fprintf(out, "  %-62s %s\n", ratio.label, why.c_str());
      continue;
    }
    const Samples& s = subject->second;
    const Samples& b = baseline->second;
    std::fprintf(out, "  %-62s %6.2f %6.2f %5zu\n", ratio.label, Median(s.cpu) / Median(b.cpu),
                 Median(s.real) / Median(b.real), std::min(s.cpu.size(), b.cpu.size()));
  }
}

// The format the caller asked for (the last --benchmark_format wins).
bool WantsJson(const std::vector<char*>& args) {
  bool json = false;
  for (const char* arg : args) {
    if (arg && std::strncmp(arg, "--benchmark_format=", 19) == 0) json = std::strcmp(arg + 19, "json") == 0;
  }
  return json;
}

bool MakeWorkDir() {
  const char* base = std::getenv("QUILLBOX_BENCH_DIR");
  if (!base) base = std::getenv("TMPDIR");
  std::string pattern = std::string(base ? base : "/tmp") + "/quillbox-stream-bench-XXXXXX";
  if (!mkdtemp(pattern.data())) return false;
  g_work_dir = pattern;
  return true;
}

}  // namespace

const std::string& WorkDir() { return g_work_dir; }

bool AddRatio(const char* label, const char* subject, const char* baseline) {
  RatioList().push_back(Ratio{label, subject, baseline});
  return true;
}

const std::vector<Ratio>& Ratios() { return RatioList(); }

void Fail(benchmark::State& state, const char* call, HRESULT hr) {
  char message[160];
  std::snprintf(message, sizeof message, "%s failed: 0x%08X", call, static_cast<unsigned>(hr));
  state.SkipWithError(message);
}

ComPtr<_StructuredStorage> MakeStructuredStorage(benchmark::State& state) {
  ComPtr<_StructuredStorage> factory;
  const HRESULT hr =
      CoCreateInstance(CLSID_StructuredStorage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(factory.put()));
  if (FAILED(hr)) Fail(state, "CoCreateInstance(StructuredStorage)", hr);
  return factory;
}

bool Rewind(benchmark::State& state, _Stream* stream) {
  LONG reached = -1;
  const HRESULT hr = stream->Seek(0, ssSeekBegin, &reached);
  if (FAILED(hr) || reached != 0) Fail(state, "Stream.Seek", hr);
  return SUCCEEDED(hr) && reached == 0;
}

bool Rewind(benchmark::State& state, IStream* stream) {
  const LARGE_INTEGER zero{};
  const HRESULT hr = stream->Seek(zero, STREAM_SEEK_SET, nullptr);
  if (FAILED(hr)) Fail(state, "IStream::Seek", hr);
  return SUCCEEDED(hr);
}

}  // namespace quillbox::bench

int main(int argc, char** argv) {
  using namespace quillbox::bench;
  std::vector<char*> args{argv[0]};
  for (const char* flag : kDefaultFlags) args.push_back(const_cast<char*>(flag));
  args.insert(args.end(), argv + 1, argv + argc);
  int count = static_cast<int>(args.size());
  args.push_back(nullptr);
  const bool json = WantsJson(args);  // before Initialize takes its flags out
  benchmark::Initialize(&count, args.data());
  if (benchmark::ReportUnrecognizedArguments(count, args.data())) return 1;
  if (!MakeWorkDir()) {
    std::perror("quillbox-stream-bench: cannot make the work folder");
    return 1;
  }

  SampleTable table;
  if (json) {
    // The JSON stays alone on standard output; the summary goes beside it.
    Collecting<benchmark::JSONReporter> reporter(&table);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    PrintSummary(table, stderr);
  } else {
    const auto options = isatty(STDOUT_FILENO) ? benchmark::ConsoleReporter::OO_Color
                                               : benchmark::ConsoleReporter::OO_None;
    Collecting<benchmark::ConsoleReporter> reporter(&table, options);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::cout.flush();
    PrintSummary(table, stdout);
  }
  benchmark::Shutdown();

  std::error_code ignored;
  std::filesystem::remove_all(WorkDir(), ignored);
  // Every object of the library must be gone, or a benchmark leaked one.
  if (DllCanUnloadNow() != S_OK) {
    std::fprintf(stderr, "quillbox-stream-bench: library objects left alive\n");
    return 1;
  }
  return 0;
}
