// Helpers for the storage tree's tests: wide names, owned BSTRs, the last
// error's description, and documents made through StructuredStorage.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "quillbox/platform.h"
#include "quillbox/quillbox.h"
#include "support/test_support.h"

namespace quillbox::testing {

inline std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// An owned BSTR, freed with the object.
class Bstr {
 public:
  Bstr() = default;
  // Embedded zeros are kept.
  explicit Bstr(const std::u16string& text)
      : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  explicit Bstr(const std::string& text) : Bstr(Wide(text)) {}
  ~Bstr() { SysFreeString(value_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR get() const { return value_; }
  BSTR* put() {
    SysFreeString(value_);
    value_ = nullptr;
    return &value_;
  }
  std::u16string text() const { return value_ ? std::u16string(value_, SysStringLen(value_)) : u""; }

 private:
  BSTR value_ = nullptr;
};

// The description of the thread's error information (taken), or "".
inline std::u16string TakeDescription() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK) return u"";
  BSTR b = nullptr;
  info->GetDescription(&b);
  std::u16string s(b ? b : u"");
  SysFreeString(b);
  return s;
}

inline ComPtr<_StructuredStorage> MakeStructuredStorage() {
  ComPtr<_StructuredStorage> root;
  EXPECT_EQ(CoCreateInstance(CLSID_StructuredStorage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(root.put())),
            S_OK);
  return root;
}

inline ComPtr<_CompoundDocument> CreateDocument(const std::filesystem::path& path) {
  ComPtr<_CompoundDocument> document;
  EXPECT_EQ(MakeStructuredStorage()->CreateDocument(Bstr(path.string()).get(), document.put()), S_OK);
  return document;
}

inline ComPtr<_CompoundDocument> OpenDocument(const std::filesystem::path& path, VARIANT_BOOL read_only) {
  ComPtr<_CompoundDocument> document;
  EXPECT_EQ(MakeStructuredStorage()->OpenDocument(Bstr(path.string()).get(), read_only, document.put()), S_OK);
  return document;
}

inline ComPtr<_Storage> RootOf(const ComPtr<_CompoundDocument>& document) {
  ComPtr<_Storage> root;
  EXPECT_EQ(document->get_RootStorage(root.put()), S_OK);
  return root;
}

inline ComPtr<_Storages> StoragesOf(const ComPtr<_Storage>& storage) {
  ComPtr<_Storages> storages;
  EXPECT_EQ(storage->get_Storages(storages.put()), S_OK);
  return storages;
}

inline ComPtr<_Streams> StreamsOf(const ComPtr<_Storage>& storage) {
  ComPtr<_Streams> streams;
  EXPECT_EQ(storage->get_Streams(streams.put()), S_OK);
  return streams;
}

inline ComPtr<_Storage> AddStorage(const ComPtr<_Storage>& parent, const std::u16string& name) {
  ComPtr<_Storage> child;
  EXPECT_EQ(StoragesOf(parent)->Add(Bstr(name).get(), child.put()), S_OK);
  return child;
}

inline std::u16string NameOf(const ComPtr<_Storage>& storage) {
  Bstr name;
  EXPECT_EQ(storage->get_Name(name.put()), S_OK);
  return name.text();
}

inline LONG CountOf(const ComPtr<_Storages>& storages) {
  LONG count = -1;
  EXPECT_EQ(storages->get_Count(&count), S_OK);
  return count;
}

// Builds a compound file directly through the platform: storages and
// streams by path ("a/b" is storage b in storage a; a name ending in '$' is
// a stream).
void BuildFile(const std::filesystem::path& path, std::initializer_list<std::u16string> elements);

// Is nobody holding the file? An exclusive open succeeds only then.
bool FileIsClosed(const std::filesystem::path& path);

}  // namespace quillbox::testing
