// A failing medium never breaks what was already written: a scripted session
// on memory lock bytes is run once to count its writes, then again with each
// write in turn failing. Every failure must come back as a failed call, and
// the image must still open with every element that a successful call wrote
// reading back intact.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <ostream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fault_lock_bytes.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::testing::FaultLockBytes;

namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr DWORD kOpen = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::string Pattern(int seed, size_t size) {
  std::string out(size, '\0');
  for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>((i * 31 + seed * 7 + i / 251) & 0xFF);
  return out;
}

// What the session believes is on the medium: an element is certain when
// the calls that made it all succeeded; a failed call makes it uncertain.
struct Expected {
  std::map<std::u16string, std::optional<std::string>> certain;  // nullopt: a storage
  std::set<std::u16string> gone;                                   // must not be found
};

// Thrown by a session told to stop at its first failed call.
struct StopSession {};

class Session {
 public:
  Session(FaultLockBytes* faulty, unsigned fail_at, bool go_on_after_failure)
      : faulty_(faulty), fail_at_(fail_at), go_on_after_failure_(go_on_after_failure) {}

  // Runs fn and says whether it succeeded; checks that a call during which
  // the planned write failed reports the failure.
  bool Call(const std::string& what, const std::function<HRESULT()>& fn) {
    const unsigned before = faulty_->count();
    const HRESULT hr = fn();
    const unsigned after = faulty_->count();
    if (std::getenv("QUILLBOX_FAULT_TRACE")) {  // to find where a given write falls
      std::fprintf(stderr, "%-28s writes %u..%u -> 0x%08X\n", what.c_str(), before + 1, after,
                   static_cast<unsigned>(hr));
    }
    if (fail_at_ != 0 && before < fail_at_ && fail_at_ <= after) {
      if (SUCCEEDED(hr)) problems.push_back(what + " succeeded although its write failed");
    }
    if (FAILED(hr) && !go_on_after_failure_) throw StopSession{};
    return SUCCEEDED(hr);
  }

  void Certain(const std::u16string& path, std::optional<std::string> contents) {
    expected.certain[path] = std::move(contents);
    expected.gone.erase(path);
  }
  void Uncertain(const std::u16string& path) {
    expected.certain.erase(path);
    expected.gone.erase(path);
  }
  void Gone(const std::u16string& path) {
    expected.certain.erase(path);
    expected.gone.insert(path);
  }

  // A stream made and written in chunks; contents certain only if all went well.
  void MakeStream(IStorage* parent, const std::u16string& parent_path, const std::u16string& name,
                  const std::vector<size_t>& chunks, int seed) {
    const std::u16string path = parent_path + name;
    ComPtr<IStream> stream;
    if (!Call("CreateStream", [&] { return parent->CreateStream(name.c_str(), kCreate, 0, 0, stream.put()); })) {
      Uncertain(path);
      return;
    }
    std::string written;
    Certain(path, written);
    for (size_t size : chunks) {
      const std::string data = Pattern(seed++, size);
      ULONG done = 0;
      if (!Call("Write", [&] { return stream->Write(data.data(), static_cast<ULONG>(size), &done); }) ||
          done != size) {
        Uncertain(path);
        return;
      }
      written += data;
      Certain(path, written);
    }
  }

  Expected expected;
  std::vector<std::string> problems;

 private:
  FaultLockBytes* faulty_;
  unsigned fail_at_;
  bool go_on_after_failure_;
};

// The scripted session: storages, empty, mini and regular streams, streams
// that cross the mini-stream line both ways, a full directory, a non-ASCII
// name, a rename, two removals and an overwrite in place.
void RunScript(Session& s, ILockBytes* medium) {
  ComPtr<IStorage> root;
  if (!s.Call("StgCreateDocfileOnILockBytes",
              [&] { return StgCreateDocfileOnILockBytes(medium, kCreate, 0, root.put()); })) {
    return;
  }
  s.Certain(u"", std::nullopt);
  s.MakeStream(root.get(), u"", u"Small", {100}, 1);
  s.MakeStream(root.get(), u"", u"Empty", {}, 2);

  ComPtr<IStorage> sub;
  if (s.Call("CreateStorage Sub", [&] { return root->CreateStorage(u"Sub", kCreate, 0, 0, sub.put()); })) {
    s.Certain(u"Sub", std::nullopt);
    s.MakeStream(sub.get(), u"Sub/", u"Big", {3000, 3000, 4000}, 3);
    s.MakeStream(sub.get(), u"Sub/", u"Edge", {4096}, 4);
    ComPtr<IStorage> deep;
    if (s.Call("CreateStorage Deep", [&] { return sub->CreateStorage(u"Deep", kCreate, 0, 0, deep.put()); })) {
      s.Certain(u"Sub/Deep", std::nullopt);
      s.MakeStream(deep.get(), u"Sub/Deep/", u"Leaf", {500}, 5);
    } else {
      s.Uncertain(u"Sub/Deep");
    }
  } else {
    s.Uncertain(u"Sub");
  }

  s.MakeStream(root.get(), u"", u"Grow", {4000, 200, 9000}, 6);  // mini, then regular
  s.MakeStream(root.get(), u"", u"Shrink", {5000}, 7);
  if (s.expected.certain.count(u"Shrink")) {
    ComPtr<IStream> shrink;
    ULARGE_INTEGER size;
    size.QuadPart = 1000;
    const std::string before = *s.expected.certain[u"Shrink"];
    if (s.Call("OpenStream Shrink", [&] { return root->OpenStream(u"Shrink", nullptr, kOpen, 0, shrink.put()); }) &&
        s.Call("SetSize Shrink", [&] { return shrink->SetSize(size); })) {
      s.Certain(u"Shrink", before.substr(0, 1000));  // regular back to mini
    } else {
      s.Uncertain(u"Shrink");
    }
  }
  for (int i = 0; i < 8; ++i) {
    const std::u16string name = u"Many" + std::u16string(1, static_cast<char16_t>(u'0' + i));
    s.MakeStream(root.get(), u"", name, {64}, 10 + i);
  }
  s.MakeStream(root.get(), u"", u"\u00DCn\u00EFc\u00F8d\u00E9 \u6587\u66F8", {300}, 20);

  if (s.expected.certain.count(u"Small")) {
    const auto contents = s.expected.certain[u"Small"];
    if (s.Call("RenameElement", [&] { return root->RenameElement(u"Small", u"Renamed"); })) {
      s.Gone(u"Small");
      s.Certain(u"Renamed", contents);
    } else {
      s.Uncertain(u"Small");
      s.Uncertain(u"Renamed");
    }
  }
  if (sub) {
    if (s.Call("DestroyElement Edge", [&] { return sub->DestroyElement(u"Edge"); })) {
      s.Gone(u"Sub/Edge");
    } else {
      s.Uncertain(u"Sub/Edge");
    }
  }
  if (s.Call("DestroyElement Many3", [&] { return root->DestroyElement(u"Many3"); })) {
    s.Gone(u"Many3");
  } else {
    s.Uncertain(u"Many3");
  }
  if (s.expected.certain.count(u"Renamed")) {
    std::string contents = *s.expected.certain[u"Renamed"];
    ComPtr<IStream> stream;
    LARGE_INTEGER at;
    at.QuadPart = 10;
    const std::string patch = Pattern(30, 50);
    if (s.Call("OpenStream Renamed", [&] { return root->OpenStream(u"Renamed", nullptr, kOpen, 0, stream.put()); }) &&
        s.Call("Seek", [&] { return stream->Seek(at, STREAM_SEEK_SET, nullptr); }) &&
        s.Call("Write in place", [&] { return stream->Write(patch.data(), 50, nullptr); })) {
      contents.replace(10, 50, patch);
      s.Certain(u"Renamed", contents);
    } else {
      s.Uncertain(u"Renamed");
    }
  }
  s.Call("Commit", [&] { return root->Commit(STGC_DEFAULT); });
}

// Opens the element at path (storages along the way), or says why not.
HRESULT OpenPath(IStorage* root, const std::u16string& path, ComPtr<IStorage>* storage,
                 ComPtr<IStream>* stream) {
  ComPtr<IStorage> at(root);
  size_t start = 0;
  for (;;) {
    const size_t slash = path.find(u'/', start);
    const std::u16string part = path.substr(start, slash == std::u16string::npos ? slash : slash - start);
    if (slash == std::u16string::npos) {
      if (stream) return at->OpenStream(part.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream->put());
      return at->OpenStorage(part.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, storage->put());
    }
    ComPtr<IStorage> next;
    if (HRESULT hr = at->OpenStorage(part.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, next.put());
        FAILED(hr)) {
      return hr;
    }
    at = next;
    start = slash + 1;
  }
}

std::string ReadAll(IStream* stream) {
  std::string out;
  char buf[4096];
  for (int guard = 0; guard < 100000; ++guard) {
    ULONG got = 0;
    if (FAILED(stream->Read(buf, sizeof buf, &got)) || got == 0) break;
    out.append(buf, got);
  }
  return out;
}

// Walks every element under storage, reading every stream; only the absence
// of crashes and hangs is asked of parts the session is unsure of.
void WalkEverything(IStorage* storage, int depth) {
  if (depth > 32) return;
  ComPtr<IEnumSTATSTG> elements;
  if (FAILED(storage->EnumElements(0, nullptr, 0, elements.put()))) return;
  STATSTG stat;
  ULONG fetched = 0;
  for (int guard = 0; guard < 10000 && elements->Next(1, &stat, &fetched) == S_OK && fetched == 1; ++guard) {
    if (stat.type == STGTY_STREAM) {
      ComPtr<IStream> stream;
      if (SUCCEEDED(storage->OpenStream(stat.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put()))) {
        ReadAll(stream.get());
      }
    } else if (stat.type == STGTY_STORAGE) {
      ComPtr<IStorage> child;
      if (SUCCEEDED(storage->OpenStorage(stat.pwcsName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                         child.put()))) {
        WalkEverything(child.get(), depth + 1);
      }
    }
    CoTaskMemFree(stat.pwcsName);
  }
}

std::string Narrow(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) out += c < 0x80 ? static_cast<char>(c) : '?';
  return out;
}

std::string Hr(HRESULT hr) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", static_cast<unsigned>(hr));
  return buf;
}

// Checks the image against what the session expects; gives the first
// problem found, or "".
std::string CheckImage(ILockBytes* medium, const Expected& expected) {
  ComPtr<IStorage> root;
  const HRESULT opened = StgOpenStorageOnILockBytes(medium, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                                    root.put());
  if (!expected.certain.count(u"")) return "";  // the docfile itself was never made
  if (opened != S_OK) return "the image no longer opens (" + Hr(opened) + ")";
  for (const auto& [path, contents] : expected.certain) {
    if (path.empty()) continue;
    if (contents) {
      ComPtr<IStream> stream;
      if (HRESULT hr = OpenPath(root.get(), path, nullptr, &stream); hr != S_OK) {
        return "stream " + Narrow(path) + " does not open (" + Hr(hr) + ")";
      }
      STATSTG stat;
      if (HRESULT hr = stream->Stat(&stat, STATFLAG_NONAME); hr != S_OK) return "Stat of " + Narrow(path) + " " + Hr(hr);
      if (stat.cbSize.QuadPart != contents->size()) {
        return "stream " + Narrow(path) + " has " + std::to_string(stat.cbSize.QuadPart) + " bytes, not " +
               std::to_string(contents->size());
      }
      if (ReadAll(stream.get()) != *contents) return "stream " + Narrow(path) + " has other bytes";
    } else {
      ComPtr<IStorage> storage;
      if (HRESULT hr = OpenPath(root.get(), path, &storage, nullptr); hr != S_OK) {
        return "storage " + Narrow(path) + " does not open (" + Hr(hr) + ")";
      }
    }
  }
  for (const auto& path : expected.gone) {
    ComPtr<IStream> stream;
    if (HRESULT hr = OpenPath(root.get(), path, nullptr, &stream); hr != STG_E_FILENOTFOUND) {
      return Narrow(path) + " was removed but OpenStream gives " + Hr(hr);
    }
  }
  WalkEverything(root.get(), 0);
  return "";
}

struct FaultPlan {
  const char* name;
  HRESULT failure;
  bool count_set_size;
  bool go_on_after_failure;  // or stop the session at the first failed call
};

void PrintTo(const FaultPlan& plan, std::ostream* os) { *os << plan.name; }

class FaultInjection : public ::testing::TestWithParam<FaultPlan> {};

// Runs the session with the fail_at-th counted operation failing and checks
// the image; gives the number of counted operations and adds what went wrong
// to problems.
unsigned RunAndCheck(const FaultPlan& plan, unsigned fail_at, std::vector<std::string>* problems) {
  ComPtr<ILockBytes> memory;
  EXPECT_EQ(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put()), S_OK);
  auto faulty = quillbox::com::MakeObject<FaultLockBytes>(memory.get(), fail_at, plan.failure, plan.count_set_size);
  Session session(faulty.get(), fail_at, plan.go_on_after_failure);
  try {
    RunScript(session, faulty.get());  // every object of the session is released here
  } catch (const StopSession&) {
  }
  const unsigned count = faulty->count();
  faulty = nullptr;
  const std::string image = CheckImage(memory.get(), session.expected);
  if (!image.empty()) session.problems.push_back(image);
  for (const auto& problem : session.problems) {
    problems->push_back("failing write " + std::to_string(fail_at) + ": " + problem);
  }
  return count;
}

// "ThenStop" plans end the session at the first failed call: what was
// written before must survive. "ThenGoOn" plans carry on with the same
// objects: what succeeded after the failure must be intact too.
TEST_P(FaultInjection, EveryFailedWriteLeavesSucceededElementsIntact) {
  std::vector<std::string> problems;
  const unsigned total = RunAndCheck(GetParam(), 0, &problems);
  ASSERT_TRUE(problems.empty()) << "the session fails without any fault: " << problems.front();
  ASSERT_GT(total, 10u) << "the session wrote almost nothing";
  size_t broken_runs = 0;
  for (unsigned n = 1; n <= total; ++n) {
    const size_t before = problems.size();
    RunAndCheck(GetParam(), n, &problems);
    broken_runs += problems.size() > before;
  }
  std::string report;
  for (size_t i = 0; i < problems.size() && i < 12; ++i) report += "\n  " + problems[i];
  EXPECT_EQ(broken_runs, 0u) << broken_runs << " of " << total << " runs went wrong; the first:" << report;
}

INSTANTIATE_TEST_SUITE_P(
    Plans, FaultInjection,
    ::testing::Values(FaultPlan{"WriteFaultThenStop", STG_E_WRITEFAULT, false, false},
                      FaultPlan{"MediumFullWithSetSizeThenStop", STG_E_MEDIUMFULL, true, false},
                      FaultPlan{"WriteFaultThenGoOn", STG_E_WRITEFAULT, false, true},
                      FaultPlan{"MediumFullWithSetSizeThenGoOn", STG_E_MEDIUMFULL, true, true}),
    [](const ::testing::TestParamInfo<FaultPlan>& info) { return std::string(info.param.name); });

}  // namespace
