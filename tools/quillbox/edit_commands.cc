// new, mkdir, rm and mv: making a document and changing its tree.
#include <memory>

#include "commands.h"
#include "document.h"

namespace quillbox::tool {
namespace {

struct EditOptions {
  std::string file;
  std::string path;
  std::string new_name;
  bool parents = false;
};

Status New(const EditOptions& options) {
  Document document;
  return document.Create(options.file);
}

Status MakeStorage(const EditOptions& options) {
  ElementPath path;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  if (path.empty()) return Status::Tool("/ is the root storage, which every document has");
  Document document;
  if (Status s = document.Open(options.file, Access::kReadWrite); !s.ok()) return s;
  ComPtr<_Storage> storage;
  if (options.parents) return FindStorage(document.root(), path, path.size(), true, &storage);
  ComPtr<_Storage> parent;
  if (Status s = FindStorage(document.root(), path, path.size() - 1, false, &parent); !s.ok()) return s;
  ComPtr<_Storages> storages;
  if (Status s = Check(parent->get_Storages(storages.put())); !s.ok()) return s;
  return Check(storages->Add(Bstr(path.back()).get(), storage.put()));
}

// A storage goes with everything in it. The library refuses to remove an
// element that is open, so nothing of it is opened first: the storage
// collection is asked, and when it has no such storage, the streams.
Status Remove(const EditOptions& options) {
  ElementPath path;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  if (path.empty()) return Status::Tool("/ is the root storage, which cannot be removed");
  Document document;
  if (Status s = document.Open(options.file, Access::kReadWrite); !s.ok()) return s;
  ComPtr<_Storage> parent;
  if (Status s = FindStorage(document.root(), path, path.size() - 1, false, &parent); !s.ok()) return s;
  const Bstr name(path.back());
  ComPtr<_Storages> storages;
  if (Status s = Check(parent->get_Storages(storages.put())); !s.ok()) return s;
  Status removed = Check(storages->Remove(name.get()));
  if (removed.ok() || removed.code() != STG_E_FILENOTFOUND) return removed;
  ComPtr<_Streams> streams;
  if (Status s = Check(parent->get_Streams(streams.put())); !s.ok()) return s;
  return Check(streams->Remove(name.get()));
}

// The element's own Name put renames it where it is; the root storage's
// refusal is the library's.
Status Rename(const EditOptions& options) {
  ElementPath path;
  std::u16string new_name;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  if (Status s = ParseName(options.new_name, &new_name); !s.ok()) return s;
  Document document;
  if (Status s = document.Open(options.file, Access::kReadWrite); !s.ok()) return s;
  if (path.empty()) return Check(document.root()->put_Name(Bstr(new_name).get()));
  ComPtr<_Storage> parent;
  if (Status s = FindStorage(document.root(), path, path.size() - 1, false, &parent); !s.ok()) return s;
  ComPtr<_Storage> storage;
  Status found = ChildStorage(parent.get(), path.back(), &storage);
  if (found.ok()) return Check(storage->put_Name(Bstr(new_name).get()));
  if (found.code() != STG_E_FILENOTFOUND) return found;
  ComPtr<_Stream> stream;
  if (Status s = ChildStream(parent.get(), path.back(), &stream); !s.ok()) return s;
  return Check(stream->put_Name(Bstr(new_name).get()));
}

void AddFile(CLI::App* cmd, EditOptions* options) {
  cmd->add_option("FILE", options->file, "The compound document")->required();
}

}  // namespace

void AddEditCommands(CLI::App& app) {
  auto new_options = std::make_shared<EditOptions>();
  auto* create = app.add_subcommand(
      "new", "Create an empty compound document; an existing file is never overwritten (\"File already exist.\")");
  AddFile(create, new_options.get());
  create->callback([new_options] { Run([&] { return New(*new_options); }); });

  auto mkdir_options = std::make_shared<EditOptions>();
  auto* mkdir = app.add_subcommand(
      "mkdir", "Create a storage; its parent must exist unless -p, which also accepts a storage that exists");
  AddFile(mkdir, mkdir_options.get());
  mkdir->add_option("PATH", mkdir_options->path, "The new storage, names joined by '/'")->required();
  mkdir->add_flag("-p,--parents", mkdir_options->parents, "Create the missing storages on the way, like mkdir -p");
  mkdir->callback([mkdir_options] { Run([&] { return MakeStorage(*mkdir_options); }); });

  auto rm_options = std::make_shared<EditOptions>();
  auto* rm = app.add_subcommand("rm", "Remove a stream, or a storage with everything in it");
  AddFile(rm, rm_options.get());
  rm->add_option("PATH", rm_options->path, "The element, names joined by '/'")->required();
  rm->callback([rm_options] { Run([&] { return Remove(*rm_options); }); });

  auto mv_options = std::make_shared<EditOptions>();
  auto* mv = app.add_subcommand("mv", "Rename a storage or stream where it is (it stays in the same storage)");
  AddFile(mv, mv_options.get());
  mv->add_option("PATH", mv_options->path, "The element, names joined by '/'")->required();
  mv->add_option("NEWNAME", mv_options->new_name, "Its new name (one name, no '/')")->required();
  mv->callback([mv_options] { Run([&] { return Rename(*mv_options); }); });
}

}  // namespace quillbox::tool
