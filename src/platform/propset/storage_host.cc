// Property sets as elements of a storage: a stream per simple set, a
// storage (with a CONTENTS stream) per non-simple one.
#include <limits>

#include "platform/propset/set_host.h"
#include "quillbox/objbase.h"

namespace quillbox::propset {

namespace {

class StreamMedium final : public SetMedium {
 public:
  explicit StreamMedium(ComPtr<IStream> stream) : stream_(std::move(stream)) {}

  HRESULT Read(std::vector<uint8_t>* bytes) override {
    STATSTG stat{};
    HRESULT hr = stream_->Stat(&stat, STATFLAG_NONAME);
    if (FAILED(hr)) return hr;
    if (stat.cbSize.QuadPart > (64u << 20)) return STG_E_INVALIDHEADER;
    bytes->resize(static_cast<size_t>(stat.cbSize.QuadPart));
    if (bytes->empty()) return S_OK;
    LARGE_INTEGER zero{};
    if (FAILED(hr = stream_->Seek(zero, STREAM_SEEK_SET, nullptr))) return hr;
    ULONG got = 0;
    if (FAILED(hr = stream_->Read(bytes->data(), static_cast<ULONG>(bytes->size()), &got))) return hr;
    bytes->resize(got);
    return S_OK;
  }

  HRESULT Write(std::span<const uint8_t> bytes) override {
    if (bytes.size() > std::numeric_limits<ULONG>::max()) return STG_E_MEDIUMFULL;
    LARGE_INTEGER zero{};
    HRESULT hr = stream_->Seek(zero, STREAM_SEEK_SET, nullptr);
    if (FAILED(hr)) return hr;
    ULONG written = 0;
    if (FAILED(hr = stream_->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written))) return hr;
    if (written != bytes.size()) return STG_E_MEDIUMFULL;
    ULARGE_INTEGER size{};
    size.QuadPart = bytes.size();
    return stream_->SetSize(size);
  }

  void Times(FILETIME* mtime, FILETIME* ctime, FILETIME* atime) override {
    STATSTG stat{};
    if (SUCCEEDED(stream_->Stat(&stat, STATFLAG_NONAME))) {
      *mtime = stat.mtime;
      *ctime = stat.ctime;
      *atime = stat.atime;
    }
  }

 private:
  ComPtr<IStream> stream_;
};

class StorageHost final : public SetHost {
 public:
  explicit StorageHost(IStorage* storage) : storage_(storage) {}

  HRESULT OpenSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) override {
    ComPtr<IStream> stream;
    HRESULT hr = storage_->OpenStream(name.c_str(), nullptr, mode, 0, stream.put());
    if (FAILED(hr)) return hr;
    *medium = MakeStreamMedium(std::move(stream));
    return S_OK;
  }

  HRESULT CreateSimple(const std::u16string& name, DWORD mode, std::unique_ptr<SetMedium>* medium) override {
    ComPtr<IStream> stream;
    HRESULT hr = storage_->CreateStream(name.c_str(), mode, 0, 0, stream.put());
    if (FAILED(hr)) return hr;
    *medium = MakeStreamMedium(std::move(stream));
    return S_OK;
  }

  HRESULT OpenNonSimple(const std::u16string& name, DWORD mode, ComPtr<IStorage>* storage) override {
    return storage_->OpenStorage(name.c_str(), nullptr, mode, nullptr, 0, storage->put());
  }

  HRESULT CreateNonSimple(const std::u16string& name, DWORD mode, ComPtr<IStorage>* storage) override {
    return storage_->CreateStorage(name.c_str(), mode, 0, 0, storage->put());
  }

  HRESULT Remove(const std::u16string& name) override { return storage_->DestroyElement(name.c_str()); }

  HRESULT List(std::vector<HostElement>* elements) override {
    ComPtr<IEnumSTATSTG> listing;
    HRESULT hr = storage_->EnumElements(0, nullptr, 0, listing.put());
    if (FAILED(hr)) return hr;
    STATSTG stat{};
    ULONG got = 0;
    while (listing->Next(1, &stat, &got) == S_OK && got == 1) {
      HostElement element;
      if (stat.pwcsName) element.name = stat.pwcsName;
      CoTaskMemFree(stat.pwcsName);
      if (element.name.empty() || element.name[0] != u'\005') continue;
      element.is_storage = stat.type == STGTY_STORAGE;
      element.mtime = stat.mtime;
      element.ctime = stat.ctime;
      element.atime = stat.atime;
      elements->push_back(std::move(element));
    }
    return S_OK;
  }

  IUnknown* Container() override { return storage_.get(); }

  bool Writable() const override { return true; }  // the storage's own mode decides

 private:
  ComPtr<IStorage> storage_;
};

}  // namespace

std::unique_ptr<SetMedium> MakeStreamMedium(ComPtr<IStream> stream) {
  return std::make_unique<StreamMedium>(std::move(stream));
}

std::unique_ptr<SetHost> MakeStorageHost(IStorage* storage) { return std::make_unique<StorageHost>(storage); }

}  // namespace quillbox::propset
