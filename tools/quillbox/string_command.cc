// string: text read from a stream with _Stream's ReadString, in the
// encoding and framing it was written with (the stream records neither),
// printed as UTF-8, one string a line.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "commands.h"
#include "document.h"
#include "stream_io.h"

namespace quillbox::tool {
namespace {

struct StringOptions {
  std::string file;
  std::string path;
  std::uint64_t offset = 0;
  LONG encoding = ssUnicodeString;
  ssStringInStreamEnum framing = ssWriteLengthFirst;
  std::optional<LONG> count;
  bool all = false;
};

// Seek takes the offset's 32 bits as they are, so larger ones cannot be
// reached.
constexpr std::uint64_t kMaxOffset = 0xFFFFFFFFu;

Status CheckOptions(const StringOptions& options) {
  if (options.framing == ssFixedLength && !options.count) return Status::Tool("--framing fixed needs --count");
  if (options.framing != ssFixedLength && options.count) return Status::Tool("--count goes with --framing fixed");
  if (options.offset > kMaxOffset) return Status::Tool("--offset is past the largest stream offset (4294967295)");
  return Status::Ok();
}

// ReadString at the position: 1200 is UTF-16 as it is, any other number a
// code page handed over as CodePage with CharacterType 3.
Status ReadOne(_Stream* stream, const StringOptions& options, Bstr* text) {
  const bool unicode = options.encoding == ssUnicodeString;
  return Check(stream->ReadString(unicode ? ssUnicodeString : ssSpecificCodePage, options.framing,
                                  options.count.value_or(0), unicode ? 0 : options.encoding, text->put()));
}

// Control characters and backslashes as "\xHH", as in element names, so
// that every string stays on its line.
Status PrintOne(_Stream* stream, const StringOptions& options) {
  Bstr text;
  if (Status s = ReadOne(stream, options, &text); !s.ok()) return s;
  std::printf("%s\n", DisplayName(text.text()).c_str());
  return Status::Ok();
}

Status ReadStrings(const StringOptions& options) {
  if (Status s = CheckOptions(options); !s.ok()) return s;
  Document document;
  ComPtr<_Stream> stream;
  if (Status s = OpenStreamToRead(options.file, options.path, &document, &stream); !s.ok()) return s;
  LONG size_value = 0;
  if (Status s = Check(stream->get_Size(&size_value)); !s.ok()) return s;
  const ULONG size = static_cast<ULONG>(size_value);
  LONG start = 0;
  if (Status s = Check(stream->Seek(static_cast<LONG>(static_cast<ULONG>(options.offset)), ssSeekBegin, &start));
      !s.ok()) {
    return s;
  }
  if (!options.all) return PrintOne(stream.get(), options);
  ULONG at = static_cast<ULONG>(options.offset);
  while (at < size) {
    if (Status s = PrintOne(stream.get(), options); !s.ok()) return s;
    // A string that takes no bytes (fixed length 0) would be read forever.
    ULONG next = 0;
    if (Status s = StreamPosition(stream.get(), &next); !s.ok()) return s;
    if (next <= at) return Status::Tool("the string at offset " + std::to_string(at) + " takes no bytes: --all stops");
    at = next;
  }
  return Status::Ok();
}

}  // namespace

void AddStringCommand(CLI::App& app) {
  auto options = std::make_shared<StringOptions>();
  auto* cmd = app.add_subcommand(
      "string",
      "Read a string from a stream (Stream.ReadString) in the encoding and framing it was written with, "
      "and print it as UTF-8");
  cmd->add_option("FILE", options->file, "The compound document (opened read-only)")->required();
  cmd->add_option("PATH", options->path, "The stream, names joined by '/' (e.g. Typed/Strings/Utf16LengthFirst)")
      ->required();
  cmd->add_option("--offset", options->offset, "Start this many bytes into the stream (default 0)")
      ->check(NotNegative("a byte offset", "BYTES"));
  cmd->add_option("--encoding", options->encoding,
                  "1200 for UTF-16 as it is (the default), else the code page of the bytes (1252, 437, 932, ...)")
      ->check(NotNegative("a code page", "CODEPAGE"));
  cmd->add_option_function<std::string>(
         "--framing",
         [options](const std::string& name) {
           options->framing = name == "zero" ? ssNullTerminated : name == "fixed" ? ssFixedLength : ssWriteLengthFirst;
         },
         "length: a 4-byte count first (the default); zero: ended by a zero character; fixed: --count characters")
      ->check(CLI::IsMember({"length", "zero", "fixed"}));
  cmd->add_option("--count", options->count, "The number of characters of a fixed-length string")
      ->check(NotNegative("a character count", "CHARACTERS"));
  cmd->add_flag("--all", options->all, "Read one string after another up to the end of the stream");
  cmd->callback([options] { Run([&] { return ReadStrings(*options); }); });
}

}  // namespace quillbox::tool
