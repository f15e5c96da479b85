// touch: set a storage's creation and modification times.
#include <memory>
#include <optional>

#include "commands.h"
#include "date_text.h"
#include "document.h"

namespace quillbox::tool {
namespace {

struct TouchOptions {
  std::string file;
  std::string path;
  std::optional<std::string> created;
  std::optional<std::string> modified;
};

Status Touch(const TouchOptions& options) {
  ElementPath path;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  std::optional<DATE> created;
  std::optional<DATE> modified;
  if (options.created) {
    if (Status s = ParseDate(*options.created, &created.emplace()); !s.ok()) return s;
  }
  if (options.modified) {
    if (Status s = ParseDate(*options.modified, &modified.emplace()); !s.ok()) return s;
  } else if (!options.created) {
    modified = Now();  // like touch(1): no date given, the time is now
  }

  Document document;
  if (Status s = document.Open(options.file, Access::kReadWrite); !s.ok()) return s;
  ComPtr<_Storage> storage;
  if (path.empty()) {
    storage = ComPtr<_Storage>(document.root());
  } else {
    ComPtr<_Storage> parent;
    if (Status s = FindStorage(document.root(), path, path.size() - 1, false, &parent); !s.ok()) return s;
    Status found = ChildStorage(parent.get(), path.back(), &storage);
    if (!found.ok()) {
      // Streams have no times in the object model; say so rather than "not found".
      ComPtr<_Stream> stream;
      if (found.code() == STG_E_FILENOTFOUND && ChildStream(parent.get(), path.back(), &stream).ok()) {
        return Status::Tool(DisplayPath(path) + " is a stream: only storages have times");
      }
      return found;
    }
  }
  if (created) {
    if (Status s = Check(storage->put_Creation(*created)); !s.ok()) return s;
  }
  if (modified) return Check(storage->put_LastModified(*modified));
  return Status::Ok();
}

}  // namespace

void AddTouchCommand(CLI::App& app) {
  auto options = std::make_shared<TouchOptions>();
  auto* cmd = app.add_subcommand(
      "touch",
      "Set a storage's times (streams have none). DATE: YYYY-MM-DD[THH:MM[:SS]] in local time, or UTC with "
      "a trailing Z. With neither option the modification time becomes now");
  cmd->add_option("FILE", options->file, "The compound document")->required();
  cmd->add_option("PATH", options->path, "The storage, names joined by '/'")->required();
  cmd->add_option("--created", options->created, "The creation time");
  cmd->add_option("--modified", options->modified, "The modification time");
  cmd->callback([options] { Run([&] { return Touch(*options); }); });
}

}  // namespace quillbox::tool
