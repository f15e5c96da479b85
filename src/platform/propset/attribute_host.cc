// Property sets in a file's extended attributes: one set per attribute,
// continued in numbered attributes when it outgrows one. Simple sets only.
#include <cerrno>

#include "platform/com/utf.h"
#include "platform/propset/attribute_store.h"
#include "platform/propset/set_image.h"

namespace quillbox::propset {

namespace {

constexpr size_t kMaxChunks = kMaxSetBytes / kAttributeChunk;

std::string AttributeBase(const std::u16string& element) {
  // Element names are "\005" and ASCII letters and digits.
  return kAttributePrefix + com::Utf16ToUtf8(std::u16string_view(element).substr(1));
}

std::string ChunkName(const std::string& base, size_t index) {
  return index == 0 ? base : base + "." + std::to_string(index);
}

class AttributeMedium final : public SetMedium {
 public:
  AttributeMedium(std::shared_ptr<AttributeStore> store, std::string base)
      : store_(std::move(store)), base_(std::move(base)) {}

  HRESULT Read(std::vector<uint8_t>* bytes) override {
    bytes->clear();
    for (size_t i = 0; i < kMaxChunks; ++i) {
      std::vector<uint8_t> chunk;
      const int error = store_->Get(ChunkName(base_, i), &chunk);
      if (error == ENODATA && i > 0) break;
      if (error) return AttributeError(error, STG_E_READFAULT);
      bytes->insert(bytes->end(), chunk.begin(), chunk.end());
      // Only a full chunk is continued; what follows a short one is stale.
      if (chunk.size() < kAttributeChunk) break;
    }
    return S_OK;
  }

  HRESULT Write(std::span<const uint8_t> bytes) override {
    const size_t chunks = std::max<size_t>(1, (bytes.size() + kAttributeChunk - 1) / kAttributeChunk);
    if (chunks > kMaxChunks) return STG_E_MEDIUMFULL;
    for (size_t i = 0; i < chunks; ++i) {
      const auto part = bytes.subspan(i * kAttributeChunk, std::min(kAttributeChunk, bytes.size() - i * kAttributeChunk));
      if (const int error = store_->Set(ChunkName(base_, i), part)) return AttributeError(error, STG_E_WRITEFAULT);
    }
    // A set that shrank leaves continuations behind: remove them (a full
    // last chunk would otherwise read on into them).
    for (size_t i = chunks; i < kMaxChunks; ++i) {
      if (store_->Remove(ChunkName(base_, i)) != 0) break;
    }
    return S_OK;
  }

  void Times(FILETIME* mtime, FILETIME* ctime, FILETIME* atime) override { store_->Times(mtime, ctime, atime); }

 private:
  std::shared_ptr<AttributeStore> store_;
  std::string base_;
};

class AttributeHost final : public SetHost {
 public:
  AttributeHost(std::shared_ptr<AttributeStore> store, bool writable)
      : store_(std::move(store)), writable_(writable) {}

  HRESULT OpenSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) override {
    if ((mode & 3) != STGM_READ && !writable_) return STG_E_ACCESSDENIED;
    const std::string base = AttributeBase(name);
    std::vector<uint8_t> probe;
    const int error = store_->Get(base, &probe);
    if (error == ENODATA) return STG_E_FILENOTFOUND;
    if (error) return AttributeError(error, STG_E_READFAULT);
    *medium = std::make_unique<AttributeMedium>(store_, base);
    return S_OK;
  }

  HRESULT CreateSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) override {
    if (!writable_) return STG_E_ACCESSDENIED;
    const std::string base = AttributeBase(name);
    std::vector<uint8_t> probe;
    const int error = store_->Get(base, &probe);
    if (error == 0 && !(mode & STGM_CREATE)) return STG_E_FILEALREADYEXISTS;
    if (error != 0 && error != ENODATA) return AttributeError(error, STG_E_READFAULT);
    *medium = std::make_unique<AttributeMedium>(store_, base);
    return S_OK;
  }

  HRESULT OpenNonSimple(const std::u16string&, DWORD, ComPtr<IStorage>*) override { return STG_E_FILENOTFOUND; }
  HRESULT CreateNonSimple(const std::u16string&, DWORD, ComPtr<IStorage>*) override { return STG_E_INVALIDFLAG; }

  HRESULT Remove(const std::u16string& name) override {
    if (!writable_) return STG_E_ACCESSDENIED;
    const std::string base = AttributeBase(name);
    const int error = store_->Remove(base);
    if (error == ENODATA) return STG_E_FILENOTFOUND;
    if (error) return AttributeError(error, STG_E_WRITEFAULT);
    for (size_t i = 1; i < kMaxChunks; ++i) {
      if (store_->Remove(ChunkName(base, i)) != 0) break;
    }
    return S_OK;
  }

  HRESULT List(std::vector<HostElement>* elements) override {
    std::vector<std::string> names;
    if (const int error = store_->List(&names)) return AttributeError(error, STG_E_READFAULT);
    const std::string prefix = kAttributePrefix;
    for (const std::string& name : names) {
      if (name.compare(0, prefix.size(), prefix) != 0) continue;
      const std::string rest = name.substr(prefix.size());
      if (rest.empty() || rest.find('.') != std::string::npos) continue;  // continuations
      HostElement element;
      element.name = u"\005" + com::Utf8ToUtf16(rest);
      store_->Times(&element.mtime, &element.ctime, &element.atime);
      elements->push_back(std::move(element));
    }
    return S_OK;
  }

  IUnknown* Container() override { return nullptr; }
  bool Writable() const override { return writable_; }

 private:
  std::shared_ptr<AttributeStore> store_;
  bool writable_;
};

}  // namespace

HRESULT AttributeError(int error, HRESULT fallback) {
  switch (error) {
    case 0:
      return S_OK;
    case ENOTSUP:
      return STG_E_INVALIDFUNCTION;
    case ENOSPC:
    case E2BIG:
    case EDQUOT:
      return STG_E_MEDIUMFULL;
    case ENOENT:
      return STG_E_FILENOTFOUND;
    case ENOTDIR:
      return STG_E_PATHNOTFOUND;
    case EACCES:
    case EPERM:
    case EROFS:
      return STG_E_ACCESSDENIED;
    case ENOMEM:
      return STG_E_INSUFFICIENTMEMORY;
    default:
      return fallback;
  }
}

std::unique_ptr<SetHost> MakeAttributeHost(std::shared_ptr<AttributeStore> store, bool writable) {
  return std::make_unique<AttributeHost>(std::move(store), writable);
}

}  // namespace quillbox::propset
