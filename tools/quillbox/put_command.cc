// put: a file's bytes (or standard input's) become a stream's content.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "commands.h"
#include "document.h"
#include "stream_io.h"

namespace quillbox::tool {
namespace {

struct PutOptions {
  std::string file;
  std::string path;
  std::string source = "-";
};

// The source file, or standard input for "-"; closed with the object.
class Source {
 public:
  Status Open(const std::string& name) {
    name_ = name == "-" ? "standard input" : name;
    file_ = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
    if (!file_) return Status::Tool("cannot open " + name + ": " + std::strerror(errno));
    return Status::Ok();
  }
  ~Source() {
    if (file_ && file_ != stdin) std::fclose(file_);
  }

  // Up to buffer's size bytes; 0 at the end.
  Status Read(std::vector<BYTE>* buffer, size_t* count) {
    *count = std::fread(buffer->data(), 1, buffer->size(), file_);
    if (*count == 0 && std::ferror(file_)) return Status::Tool("cannot read " + name_ + ": " + std::strerror(errno));
    return Status::Ok();
  }

 private:
  std::FILE* file_ = nullptr;
  std::string name_;
};

Status Put(const PutOptions& options) {
  ElementPath path;
  if (Status s = ParsePath(options.path, &path); !s.ok()) return s;
  if (path.empty()) return Status::Tool("/ is the root storage: give the stream's path");
  Source source;
  if (Status s = source.Open(options.source); !s.ok()) return s;

  Document document;
  if (Status s = document.Open(options.file, Access::kReadWrite); !s.ok()) return s;
  ComPtr<_Storage> parent;
  if (Status s = FindStorage(document.root(), path, path.size() - 1, true, &parent); !s.ok()) return s;
  ComPtr<_Stream> stream;
  Status found = ChildStream(parent.get(), path.back(), &stream);
  if (!found.ok()) {
    if (found.code() != STG_E_FILENOTFOUND) return found;
    ComPtr<_Streams> streams;
    if (Status s = Check(parent->get_Streams(streams.put())); !s.ok()) return s;
    if (Status s = Check(streams->Add(Bstr(path.back()).get(), stream.put())); !s.ok()) return s;
  }
  // The new content replaces the old: empty the stream, write from 0.
  LONG position = 0;
  if (Status s = Check(stream->put_Size(0)); !s.ok()) return s;
  if (Status s = Check(stream->Seek(0, ssSeekBegin, &position)); !s.ok()) return s;

  std::vector<BYTE> buffer(kChunkBytes);
  for (;;) {
    size_t count = 0;
    if (Status s = source.Read(&buffer, &count); !s.ok()) return s;
    if (count == 0) return Status::Ok();
    if (Status s = WriteStream(stream.get(), buffer.data(), count); !s.ok()) return s;
  }
}

}  // namespace

void AddPutCommand(CLI::App& app) {
  auto options = std::make_shared<PutOptions>();
  auto* cmd = app.add_subcommand(
      "put",
      "Make SOURCE's bytes the content of a stream: the storages on the way and the stream are created "
      "when missing, an existing stream's content is replaced");
  cmd->add_option("FILE", options->file, "The compound document (it must exist: see 'new')")->required();
  cmd->add_option("PATH", options->path, "The stream, names joined by '/' (e.g. Data/Table)")->required();
  cmd->add_option("SOURCE", options->source, "The file to read; '-' or nothing: standard input");
  cmd->callback([options] { Run([&] { return Put(*options); }); });
}

}  // namespace quillbox::tool
