// values: a stream read from its start as variant records with _Stream's
// Read, one line (or JSON object) per record: offset, type, value.
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "document.h"
#include "json_output.h"
#include "stream_io.h"
#include "variant_text.h"

namespace quillbox::tool {
namespace {

struct ValuesOptions {
  std::string file;
  std::string path;
  bool json = false;
};

// The longest of the common type names ("Currency"); longer ones push the
// value along.
constexpr size_t kTypeWidth = 8;

// A record Read refused. A damaged record (cut short, or a text count past
// the end) comes back as E_FAIL with no error information of its own.
Status RecordFailure(HRESULT hr, ULONG at) {
  const std::string where = " at offset " + std::to_string(at);
  return Status::Library(hr, hr == E_FAIL ? "damaged variant record" + where
                                          : "the variant record" + where + " cannot be read");
}

void PrintRecord(ULONG at, int offset_width, const VARIANT& value) {
  const std::string type = VariantTypeName(value.vt);
  const std::string text = VariantValueText(value);
  std::string line = type;
  if (!text.empty()) line += std::string(type.size() < kTypeWidth ? kTypeWidth - type.size() : 0, ' ') + "  " + text;
  std::printf("%*lu  %s\n", offset_width, static_cast<unsigned long>(at), line.c_str());
}

Status Values(const ValuesOptions& options) {
  Document document;
  ComPtr<_Stream> stream;
  if (Status s = OpenStreamToRead(options.file, options.path, &document, &stream); !s.ok()) return s;
  LONG size_value = 0;
  if (Status s = Check(stream->get_Size(&size_value)); !s.ok()) return s;
  const ULONG size = static_cast<ULONG>(size_value);
  LONG start = 0;
  if (Status s = Check(stream->Seek(0, ssSeekBegin, &start)); !s.ok()) return s;

  // Offsets line up under the widest one, the size's.
  const int offset_width = static_cast<int>(std::to_string(size).size());
  nlohmann::ordered_json records = nlohmann::ordered_json::array();
  ULONG at = 0;
  while (at < size) {
    Variant value;
    if (const HRESULT hr = stream->Read(value.get()); FAILED(hr)) return RecordFailure(hr, at);
    // An object record's load may leave error information behind even
    // though Read succeeds; it must not describe the next record.
    Check(S_OK);
    if (options.json) {
      records.push_back({{"offset", at},
                         {"type", VariantTypeName((*value).vt)},
                         {"vt", (*value).vt},
                         {"value", VariantValueJson(*value)}});
    } else {
      PrintRecord(at, offset_width, *value);
    }
    // Every record holds at least its tag, so the position moves on; a
    // stream that says otherwise must not keep us here.
    ULONG next = 0;
    if (Status s = StreamPosition(stream.get(), &next); !s.ok()) return s;
    if (next <= at) {
      return Status::Tool("the variant record at offset " + std::to_string(at) + " did not move the position");
    }
    at = next;
  }
  if (options.json) PrintJson(records);
  return Status::Ok();
}

}  // namespace

void AddValuesCommand(CLI::App& app) {
  auto options = std::make_shared<ValuesOptions>();
  auto* cmd = app.add_subcommand(
      "values",
      "Read a stream from its start as variant records (Stream.Read) up to its end: each record's offset, "
      "type and value");
  cmd->add_option("FILE", options->file, "The compound document (opened read-only)")->required();
  cmd->add_option("PATH", options->path, "The stream, names joined by '/' (e.g. Typed/Variants)")->required();
  cmd->add_flag("--json", options->json,
                "Print a JSON array of {offset, type, vt, value} instead of text (see docs/tool.md)");
  cmd->callback([options] { Run([&] { return Values(*options); }); });
}

}  // namespace quillbox::tool
