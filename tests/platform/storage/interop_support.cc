// Helpers for the interoperability tests.
#include "interop_support.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <vector>

#include "platform/com/utf.h"

namespace quillbox::testing {

int RunCommand(const std::string& command, std::string* output) {
  output->clear();
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return -1;
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, pipe)) > 0) output->append(buf, n);
  const int status = pclose(pipe);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string ShellQuote(const std::string& text) {
  std::string out = "'";
  for (char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

bool HaveProgram(const std::string& path) { return access(path.c_str(), X_OK) == 0; }

std::u16string ToWide(const std::string& utf8) { return com::Utf8ToUtf16(utf8); }
std::string ToUtf8(const std::u16string& wide) { return com::Utf16ToUtf8(wide); }

std::string Hex(const std::string& bytes) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    out += kDigits[c >> 4];
    out += kDigits[c & 15];
  }
  return out;
}

std::string Unhex(const std::string& hex) {
  std::string out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return out;
}

std::string Differences(const Tree& expected, const Tree& actual) {
  auto describe = [](const std::optional<std::string>& e) {
    return e ? "stream of " + std::to_string(e->size()) + " bytes" : std::string("storage");
  };
  std::string out;
  for (const auto& [path, element] : expected) {
    auto it = actual.find(path);
    if (it == actual.end()) {
      out += "missing " + path + " (" + describe(element) + "); ";
    } else if (it->second != element) {
      std::string where;
      if (element && it->second) {
        size_t i = 0;
        while (i < element->size() && i < it->second->size() && (*element)[i] == (*it->second)[i]) ++i;
        where = ", first difference at byte " + std::to_string(i);
      }
      out += "changed " + path + ": expected " + describe(element) + ", got " + describe(it->second) + where + "; ";
    }
  }
  for (const auto& [path, element] : actual) {
    if (!expected.count(path)) out += "extra " + path + " (" + describe(element) + "); ";
  }
  return out;
}

namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::string Bytes(size_t size, int seed) {
  std::string out(size, '\0');
  for (size_t i = 0; i < size; ++i) out[i] = static_cast<char>((i * 131 + seed * 17 + (i >> 8)) & 0xFF);
  return out;
}

void AddStream(IStorage* parent, const std::string& prefix, const std::string& name, size_t size, int seed,
               Tree* tree) {
  ComPtr<IStream> stream;
  ASSERT_EQ(parent->CreateStream(ToWide(name).c_str(), kCreate, 0, 0, stream.put()), S_OK) << name;
  const std::string data = Bytes(size, seed);
  if (size) {
    ASSERT_EQ(stream->Write(data.data(), static_cast<ULONG>(size), nullptr), S_OK) << name;
  }
  (*tree)[prefix + name] = data;
}

}  // namespace

Tree WriteSample(const std::filesystem::path& path, ULONG sector_size) {
  Tree tree;
  ComPtr<IStorage> root;
  STGOPTIONS options{};
  options.usVersion = 1;
  options.ulSectorSize = sector_size;
  EXPECT_EQ(StgCreateStorageEx(ToWide(path.string()).c_str(), kCreate, STGFMT_DOCFILE, 0, &options, nullptr,
                               IID_IStorage, root.put_void()),
            S_OK);
  if (!root) return tree;
  AddStream(root.get(), "", "Empty", 0, 1, &tree);
  AddStream(root.get(), "", "Mini", 300, 2, &tree);
  AddStream(root.get(), "", "Regular", 5000, 3, &tree);
  AddStream(root.get(), "", "Edge4096", 4096, 4, &tree);
  AddStream(root.get(), "", "Edge4095", 4095, 5, &tree);
  ComPtr<IStorage> a, nested, empty;
  EXPECT_EQ(root->CreateStorage(u"Storage A", kCreate, 0, 0, a.put()), S_OK);
  EXPECT_EQ(root->CreateStorage(u"Empty storage", kCreate, 0, 0, empty.put()), S_OK);
  if (!a || !empty) return tree;
  tree["Storage A"] = std::nullopt;
  tree["Empty storage"] = std::nullopt;
  EXPECT_EQ(a->CreateStorage(u"Nested", kCreate, 0, 0, nested.put()), S_OK);
  if (!nested) return tree;
  tree["Storage A/Nested"] = std::nullopt;
  AddStream(nested.get(), "Storage A/Nested/", "Leaf", 40, 6, &tree);
  AddStream(a.get(), "Storage A/", "\xC3\x84rger \xE6\x96\x87\xE6\x9B\xB8", 70, 7, &tree);  // Ärger 文書
  AddStream(a.get(), "Storage A/", "Gro\xC3\x9F", 9000, 8, &tree);                         // Groß
  EXPECT_EQ(root->Commit(STGC_DEFAULT), S_OK);
  return tree;
}

HRESULT ReadTree(IStorage* storage, const std::string& prefix, Tree* tree) {
  ComPtr<IEnumSTATSTG> elements;
  if (HRESULT hr = storage->EnumElements(0, nullptr, 0, elements.put()); FAILED(hr)) return hr;
  STATSTG stat;
  ULONG fetched = 0;
  while (elements->Next(1, &stat, &fetched) == S_OK && fetched == 1) {
    const std::u16string name = stat.pwcsName;
    CoTaskMemFree(stat.pwcsName);
    const std::string path = prefix + ToUtf8(name);
    if (stat.type == STGTY_STORAGE) {
      (*tree)[path] = std::nullopt;
      ComPtr<IStorage> child;
      if (HRESULT hr = storage->OpenStorage(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                                            child.put());
          FAILED(hr)) {
        return hr;
      }
      if (HRESULT hr = ReadTree(child.get(), path + "/", tree); FAILED(hr)) return hr;
    } else {
      ComPtr<IStream> stream;
      if (HRESULT hr = storage->OpenStream(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, stream.put());
          FAILED(hr)) {
        return hr;
      }
      std::string data;
      std::vector<char> buf(65536);
      for (;;) {
        ULONG got = 0;
        if (HRESULT hr = stream->Read(buf.data(), static_cast<ULONG>(buf.size()), &got); FAILED(hr)) return hr;
        if (got == 0) break;
        data.append(buf.data(), got);
      }
      if (data.size() != stat.cbSize.QuadPart) return STG_E_DOCFILECORRUPT;
      (*tree)[path] = data;
    }
  }
  return S_OK;
}

HRESULT ReadTree(const std::filesystem::path& path, Tree* tree) {
  ComPtr<IStorage> root;
  if (HRESULT hr = StgOpenStorage(ToWide(path.string()).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr,
                                  0, root.put());
      FAILED(hr)) {
    return hr;
  }
  return ReadTree(root.get(), "", tree);
}

}  // namespace quillbox::testing
