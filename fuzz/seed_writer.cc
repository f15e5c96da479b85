// Writes the compound files of our own that seed the fuzzer's corpus:
// small, each showing one feature (nested storages, empty, mini and regular
// streams, a version 4 file, many elements, a non-ASCII name).
//   cfb_seed_writer <folder>
#include <cstdio>
#include <string>
#include <vector>

#include "quillbox/platform.h"

using quillbox::ComPtr;

namespace {

constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

std::u16string Wide(const std::string& text) { return std::u16string(text.begin(), text.end()); }

bool AddStream(IStorage* parent, const char16_t* name, size_t size, unsigned char fill) {
  ComPtr<IStream> stream;
  if (FAILED(parent->CreateStream(name, kCreate, 0, 0, stream.put()))) return false;
  std::vector<unsigned char> bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(fill + i * 7);
  return size == 0 || SUCCEEDED(stream->Write(bytes.data(), static_cast<ULONG>(size), nullptr));
}

ComPtr<IStorage> Create(const std::string& path, ULONG sector_size) {
  ComPtr<IStorage> root;
  STGOPTIONS options{};
  options.usVersion = 1;
  options.ulSectorSize = sector_size;
  StgCreateStorageEx(Wide(path).c_str(), kCreate, STGFMT_DOCFILE, 0, &options, nullptr, IID_IStorage,
                     root.put_void());
  return root;
}

bool Make(const std::string& dir) {
  bool ok = true;
  {
    auto root = Create(dir + "/ours-empty.cfb", 512);
    ok = ok && root;
  }
  {
    auto root = Create(dir + "/ours-mini-regular.cfb", 512);
    ok = ok && root && AddStream(root.get(), u"Mini", 300, 1) && AddStream(root.get(), u"Regular", 5000, 2) &&
         AddStream(root.get(), u"Empty", 0, 3);
  }
  {
    auto root = Create(dir + "/ours-nested.cfb", 512);
    ComPtr<IStorage> a, b;
    ok = ok && root && SUCCEEDED(root->CreateStorage(u"A", kCreate, 0, 0, a.put())) &&
         SUCCEEDED(a->CreateStorage(u"B", kCreate, 0, 0, b.put())) && AddStream(b.get(), u"Leaf", 40, 4) &&
         AddStream(a.get(), u"\u00C4rger \u6587", 70, 5);
  }
  {
    auto root = Create(dir + "/ours-v4.cfb", 4096);
    ok = ok && root && AddStream(root.get(), u"Mini", 100, 6) && AddStream(root.get(), u"Regular", 4096, 7);
  }
  {
    auto root = Create(dir + "/ours-many.cfb", 512);
    ok = ok && root;
    for (int i = 0; ok && i < 40; ++i) {
      ok = AddStream(root.get(), Wide("S" + std::to_string(i)).c_str(), static_cast<size_t>(i) * 13, 8);
    }
  }
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: cfb_seed_writer <folder>\n");
    return 2;
  }
  if (!Make(argv[1])) {
    std::fprintf(stderr, "cfb_seed_writer: a seed could not be written\n");
    return 1;
  }
  return 0;
}
