// Documents, element paths and element look-up through the object model.
#include "document.h"

#include <cstdio>

namespace quillbox::tool {
namespace {

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// One name's UTF-8 text with its "\xHH" escapes undone.
Status Unescape(const std::string& text, std::u16string* name) {
  std::u16string out;
  std::string plain;  // UTF-8 run between escapes
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      plain += text[i];
      continue;
    }
    const int high = text.size() - i >= 4 && text[i + 1] == 'x' ? HexDigit(text[i + 2]) : -1;
    const int low = high >= 0 ? HexDigit(text[i + 3]) : -1;
    if (low < 0) return Status::Tool("bad escape in \"" + text + "\": a backslash must start \\xHH");
    out += ToWide(plain);
    plain.clear();
    out += static_cast<char16_t>(high * 16 + low);
    i += 3;
  }
  out += ToWide(plain);
  *name = std::move(out);
  return Status::Ok();
}

// The application object, the one class a client creates itself.
Status MakeStructuredStorage(ComPtr<_StructuredStorage>* root) {
  return Check(CoCreateInstance(CLSID_StructuredStorage, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(root->put())));
}

}  // namespace

Status ParsePath(const std::string& text, ElementPath* path) {
  ElementPath names;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find('/', start);
    if (end == std::string::npos) end = text.size();
    // Empty names (a leading, trailing or doubled '/') are skipped.
    if (end > start) {
      std::u16string name;
      if (Status s = Unescape(text.substr(start, end - start), &name); !s.ok()) return s;
      names.push_back(std::move(name));
    }
    start = end + 1;
  }
  *path = std::move(names);
  return Status::Ok();
}

Status ParseName(const std::string& text, std::u16string* name) {
  if (text.find('/') != std::string::npos) {
    return Status::Tool("\"" + text + "\" is a path: the new name is one name, without '/'");
  }
  return Unescape(text, name);
}

std::string DisplayName(const std::u16string& name) {
  std::u16string plain;
  std::string out;
  for (char16_t c : name) {
    if (c >= 0x20 && c != 0x7F && c != u'\\') {
      plain += c;
      continue;
    }
    out += ToUtf8(plain);
    plain.clear();
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(c));
    out += escape;
  }
  return out + ToUtf8(plain);
}

std::string DisplayPath(const ElementPath& path) {
  std::string out;
  for (const auto& name : path) out += "/" + DisplayName(name);
  return out.empty() ? "/" : out;
}

Status Document::Open(const std::string& file, Access access) {
  ComPtr<_StructuredStorage> root;
  if (Status s = MakeStructuredStorage(&root); !s.ok()) return s;
  ComPtr<_CompoundDocument> document;
  const VARIANT_BOOL read_only = access == Access::kReadOnly ? VARIANT_TRUE : VARIANT_FALSE;
  if (Status s = Check(root->OpenDocument(Bstr(ToWide(file)).get(), read_only, document.put())); !s.ok()) {
    return s;
  }
  return Attach(std::move(document));
}

Status Document::Create(const std::string& file) {
  ComPtr<_StructuredStorage> root;
  if (Status s = MakeStructuredStorage(&root); !s.ok()) return s;
  ComPtr<_CompoundDocument> document;
  if (Status s = Check(root->CreateDocument(Bstr(ToWide(file)).get(), document.put())); !s.ok()) return s;
  return Attach(std::move(document));
}

Status Document::Attach(ComPtr<_CompoundDocument> document) {
  ComPtr<_Storage> root;
  if (Status s = Check(document->get_RootStorage(root.put())); !s.ok()) return s;
  document_ = std::move(document);
  root_ = std::move(root);
  return Status::Ok();
}

Status ChildStorage(_Storage* parent, const std::u16string& name, ComPtr<_Storage>* storage) {
  ComPtr<_Storages> storages;
  if (Status s = Check(parent->get_Storages(storages.put())); !s.ok()) return s;
  return Check(storages->get_Item(Bstr(name).get(), storage->put()));
}

Status ChildStream(_Storage* parent, const std::u16string& name, ComPtr<_Stream>* stream) {
  ComPtr<_Streams> streams;
  if (Status s = Check(parent->get_Streams(streams.put())); !s.ok()) return s;
  return Check(streams->get_Item(Bstr(name).get(), stream->put()));
}

Status HasChildStorage(_Storage* parent, const std::u16string& name, bool* found) {
  ComPtr<_Storage> child;
  Status s = ChildStorage(parent, name, &child);
  *found = s.ok();
  return s.ok() || s.code() == STG_E_FILENOTFOUND ? Status::Ok() : s;
}

Status FindStorage(_Storage* root, const ElementPath& path, size_t count, bool create, ComPtr<_Storage>* storage) {
  ComPtr<_Storage> current(root);
  for (size_t i = 0; i < count && i < path.size(); ++i) {
    ComPtr<_Storage> child;
    Status s = ChildStorage(current.get(), path[i], &child);
    if (!s.ok() && create && s.code() == STG_E_FILENOTFOUND) {
      ComPtr<_Storages> storages;
      if (s = Check(current->get_Storages(storages.put())); s.ok()) {
        s = Check(storages->Add(Bstr(path[i]).get(), child.put()));
      }
    }
    if (!s.ok()) return s;
    current = std::move(child);
  }
  *storage = std::move(current);
  return Status::Ok();
}

Status FindStream(_Storage* root, const ElementPath& path, ComPtr<_Stream>* stream) {
  if (path.empty()) return Status::Tool("/ is the root storage, not a stream");
  ComPtr<_Storage> parent;
  if (Status s = FindStorage(root, path, path.size() - 1, false, &parent); !s.ok()) return s;
  Status s = ChildStream(parent.get(), path.back(), stream);
  if (s.ok() || s.code() != STG_E_FILENOTFOUND) return s;
  bool is_storage = false;
  if (HasChildStorage(parent.get(), path.back(), &is_storage).ok() && is_storage) {
    return Status::Tool(DisplayPath(path) + " is a storage, not a stream");
  }
  return s;
}

Status OpenStreamToRead(const std::string& file, const std::string& path, Document* document,
                        ComPtr<_Stream>* stream) {
  ElementPath names;
  if (Status s = ParsePath(path, &names); !s.ok()) return s;
  if (Status s = document->Open(file, Access::kReadOnly); !s.ok()) return s;
  return FindStream(document->root(), names, stream);
}

}  // namespace quillbox::tool
