// Helpers for the storage tree's tests: files built through the platform.
#include "tree_support.h"

namespace quillbox::testing {

void BuildFile(const std::filesystem::path& path, std::initializer_list<std::u16string> elements) {
  ComPtr<IStorage> root;
  ASSERT_EQ(StgCreateDocfile(Wide(path.string()).c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                             root.put()),
            S_OK);
  for (const std::u16string& element : elements) {
    ComPtr<IStorage> at = root;
    std::u16string rest = element;
    for (std::size_t slash; (slash = rest.find(u'/')) != std::u16string::npos; rest = rest.substr(slash + 1)) {
      ComPtr<IStorage> next;
      const std::u16string part = rest.substr(0, slash);
      if (at->OpenStorage(part.c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0, next.put()) !=
          S_OK) {
        ASSERT_EQ(at->CreateStorage(part.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, next.put()), S_OK);
      }
      at = next;
    }
    if (!rest.empty() && rest.back() == u'$') {
      ComPtr<IStream> stream;
      ASSERT_EQ(at->CreateStream(rest.substr(0, rest.size() - 1).c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0,
                                 0, stream.put()),
                S_OK);
    } else {
      ComPtr<IStorage> storage;
      ASSERT_EQ(at->CreateStorage(rest.c_str(), STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, storage.put()), S_OK);
    }
  }
}

bool FileIsClosed(const std::filesystem::path& path) {
  ComPtr<IStorage> storage;
  return StgOpenStorage(Wide(path.string()).c_str(), nullptr, STGM_READWRITE | STGM_SHARE_EXCLUSIVE, nullptr, 0,
                        storage.put()) == S_OK;
}

}  // namespace quillbox::testing
