// What the Stream object benchmarks share: their scratch folder, owned
// BSTRs, and the list of ratios the summary prints (each benchmark set
// against its baseline from the same run).
#pragma once

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "quillbox/platform.h"
#include "quillbox/quillbox.h"

namespace quillbox::bench {

// The folder the file benchmarks write in, made by main for this run.
const std::string& WorkDir();

inline std::u16string Wide(const std::string& text) { return std::u16string(text.begin(), text.end()); }

// An owned BSTR, freed with the object.
class Bstr {
 public:
  explicit Bstr(const std::u16string& text) : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  explicit Bstr(const std::string& text) : Bstr(Wide(text)) {}
  ~Bstr() { SysFreeString(value_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR get() const { return value_; }

 private:
  BSTR value_ = nullptr;
};

// One line of the summary: subject's time over baseline's, both medians of
// the repetitions of this run.
struct Ratio {
  const char* label;
  const char* subject;   // benchmark names, as registered
  const char* baseline;
};

// Adds a line to the summary; returns a value so that it can run at static
// initialisation beside the benchmarks it names.
bool AddRatio(const char* label, const char* subject, const char* baseline);
const std::vector<Ratio>& Ratios();

// Ends the benchmark with a message naming the call and its result.
void Fail(benchmark::State& state, const char* call, HRESULT hr);

// The object model's root, or null (and the benchmark failed).
ComPtr<_StructuredStorage> MakeStructuredStorage(benchmark::State& state);

// Puts a Stream object's position at the start; false (and the benchmark
// failed) when it cannot.
bool Rewind(benchmark::State& state, _Stream* stream);
bool Rewind(benchmark::State& state, IStream* stream);

}  // namespace quillbox::bench
