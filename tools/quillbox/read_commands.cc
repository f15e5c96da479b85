// cat and hexdump: a stream's bytes, raw to standard output or as the
// canonical hex+ASCII display of hexdump -C.
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "document.h"
#include "stream_io.h"

namespace quillbox::tool {
namespace {

struct ReadOptions {
  std::string file;
  std::string path;
  std::uint64_t offset = 0;
  std::optional<std::uint64_t> length;
  bool all_lines = false;  // hexdump -v
};

Status ReadRange(const ReadOptions& options, const ChunkSink& sink) {
  Document document;
  ComPtr<_Stream> stream;
  if (Status s = OpenStreamToRead(options.file, options.path, &document, &stream); !s.ok()) return s;
  return ReadStream(stream.get(), options.offset, options.length, sink);
}

Status Cat(const ReadOptions& options) {
  return ReadRange(options, [](const BYTE* data, size_t count, std::uint64_t) {
    if (std::fwrite(data, 1, count, stdout) != count) return Status::Tool("cannot write to standard output");
    return Status::Ok();
  });
}

// hexdump -C: the offset, 16 bytes in hex (a gap after the eighth), the
// printable ones between bars; a run of lines equal to the one before is one
// "*" unless all_lines; the end offset closes the display.
class HexLines {
 public:
  explicit HexLines(bool all_lines) : all_lines_(all_lines) {}

  void Add(const BYTE* data, size_t count, std::uint64_t at) {
    for (size_t i = 0; i < count; ++i) {
      if (line_.empty()) line_at_ = at + i;
      line_.push_back(data[i]);
      if (line_.size() == 16) Flush();
    }
    end_ = at + count;
    any_ = any_ || count > 0;
  }

  void Finish() {
    Flush();
    if (any_) std::printf("%08llx\n", static_cast<unsigned long long>(end_));
  }

 private:
  void Flush() {
    if (line_.empty()) return;
    if (!all_lines_ && line_.size() == 16 && line_ == previous_) {
      if (!starred_) std::printf("*\n");
      starred_ = true;
    } else {
      Print();
      starred_ = false;
    }
    previous_ = std::move(line_);
    line_.clear();
  }

  void Print() const {
    std::string text;
    char cell[24];
    std::snprintf(cell, sizeof cell, "%08llx", static_cast<unsigned long long>(line_at_));
    text = std::string(cell) + " ";
    for (size_t i = 0; i < 16; ++i) {
      if (i % 8 == 0) text += ' ';
      if (i < line_.size()) {
        std::snprintf(cell, sizeof cell, "%02x ", line_[i]);
        text += cell;
      } else {
        text += "   ";
      }
    }
    text += " |";
    for (BYTE b : line_) text += b >= 0x20 && b < 0x7F ? static_cast<char>(b) : '.';
    std::printf("%s|\n", text.c_str());
  }

  bool all_lines_;
  std::vector<BYTE> line_;
  std::vector<BYTE> previous_;
  std::uint64_t line_at_ = 0;
  std::uint64_t end_ = 0;
  bool starred_ = false;
  bool any_ = false;
};

Status Hexdump(const ReadOptions& options) {
  HexLines lines(options.all_lines);
  Status s = ReadRange(options, [&](const BYTE* data, size_t count, std::uint64_t at) {
    lines.Add(data, count, at);
    return Status::Ok();
  });
  if (s.ok()) lines.Finish();
  return s;
}

const CLI::Validator kByteCount = NotNegative("a byte count", "BYTES");

void AddReadOptions(CLI::App* cmd, ReadOptions* options) {
  cmd->add_option("FILE", options->file, "The compound document (opened read-only)")->required();
  cmd->add_option("PATH", options->path, "The stream, names joined by '/' (e.g. Data/Table)")->required();
  cmd->add_option("--offset", options->offset, "Start this many bytes into the stream (default 0)")
      ->check(kByteCount);
  cmd->add_option("--length", options->length, "At most this many bytes (default: to the end)")
      ->check(kByteCount);
}

}  // namespace

CLI::Validator NotNegative(const std::string& what, const std::string& name) {
  return CLI::Validator(
      [what](std::string& text) {
        return text.find('-') == std::string::npos ? std::string() : what + " is not negative";
      },
      name);
}

void AddReadCommands(CLI::App& app) {
  auto cat_options = std::make_shared<ReadOptions>();
  auto* cat = app.add_subcommand("cat", "Write a stream's bytes to standard output, unchanged");
  AddReadOptions(cat, cat_options.get());
  cat->callback([cat_options] { Run([&] { return Cat(*cat_options); }); });

  auto hex_options = std::make_shared<ReadOptions>();
  auto* hex = app.add_subcommand(
      "hexdump", "Show a stream's bytes as hexdump -C does: offset, 16 bytes in hex, the printable characters");
  AddReadOptions(hex, hex_options.get());
  hex->add_flag("-v,--no-squeeze", hex_options->all_lines, "Show every line (by default a run of equal lines is '*')");
  hex->callback([hex_options] { Run([&] { return Hexdump(*hex_options); }); });
}

}  // namespace quillbox::tool
