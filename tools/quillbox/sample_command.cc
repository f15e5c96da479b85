// sample: a small document that shows what the library writes: storages
// three levels deep with times set, streams of raw bytes, and streams of
// typed values (variant records, bare scalars, strings in several framings
// and code pages).
#include <memory>
#include <vector>

#include "commands.h"
#include "date_text.h"
#include "document.h"
#include "stream_io.h"

namespace quillbox::tool {
namespace {

Status AddStorage(_Storage* parent, const std::u16string& name, ComPtr<_Storage>* storage) {
  ComPtr<_Storages> storages;
  if (Status s = Check(parent->get_Storages(storages.put())); !s.ok()) return s;
  return Check(storages->Add(Bstr(name).get(), storage->put()));
}

Status AddStream(_Storage* parent, const std::u16string& name, ComPtr<_Stream>* stream) {
  ComPtr<_Streams> streams;
  if (Status s = Check(parent->get_Streams(streams.put())); !s.ok()) return s;
  return Check(streams->Add(Bstr(name).get(), stream->put()));
}

Status AddBytes(_Storage* parent, const std::u16string& name, const std::vector<BYTE>& bytes) {
  ComPtr<_Stream> stream;
  if (Status s = AddStream(parent, name, &stream); !s.ok()) return s;
  return WriteStream(stream.get(), bytes.data(), bytes.size());
}

// Fixed dates (UTC), so that every sample shows the same times.
DATE SampleDate(const char* text) {
  DATE date = 0.0;
  ParseDate(text, &date);
  return date;
}

Status SetTimes(_Storage* storage, const char* created, const char* modified) {
  if (Status s = Check(storage->put_Creation(SampleDate(created))); !s.ok()) return s;
  return Check(storage->put_LastModified(SampleDate(modified)));
}

// Raw/: every byte value, a run of zeros long enough to leave the small
// streams' area, and a line of text.
Status AddRaw(_Storage* root) {
  ComPtr<_Storage> raw;
  if (Status s = AddStorage(root, u"Raw", &raw); !s.ok()) return s;
  std::vector<BYTE> every(256);
  for (size_t i = 0; i < every.size(); ++i) every[i] = static_cast<BYTE>(i);
  const std::string greeting = "Hello from quillbox\n";
  if (Status s = AddBytes(raw.get(), u"Bytes", every); !s.ok()) return s;
  if (Status s = AddBytes(raw.get(), u"Zeros", std::vector<BYTE>(5000, 0)); !s.ok()) return s;
  if (Status s = AddBytes(raw.get(), u"Greeting", std::vector<BYTE>(greeting.begin(), greeting.end())); !s.ok()) {
    return s;
  }
  return SetTimes(raw.get(), "2024-04-02T10:00:00Z", "2024-04-30T16:20:00Z");
}

// Variant records: each value with its type tag.
Status AddVariants(_Storage* typed) {
  ComPtr<_Stream> stream;
  if (Status s = AddStream(typed, u"Variants", &stream); !s.ok()) return s;
  std::vector<std::unique_ptr<Variant>> values;
  auto add = [&](VARTYPE type) -> VARIANT& {
    values.push_back(std::make_unique<Variant>());
    values.back()->get()->vt = type;
    return *values.back()->get();
  };
  add(VT_I4).lVal = 42;
  add(VT_R8).dblVal = 3.25;
  add(VT_BSTR).bstrVal = SysAllocString(u"quillbox");
  add(VT_DATE).date = SampleDate("2024-05-01T12:30:00Z");
  add(VT_BOOL).boolVal = VARIANT_TRUE;
  for (const auto& value : values) {
    LONG written = 0;
    if (Status s = Check(stream->Write(**value, &written)); !s.ok()) return s;
  }
  return Status::Ok();
}

// Bare scalars: no tags, read back by knowing their order.
Status AddScalars(_Storage* typed) {
  ComPtr<_Stream> stream;
  if (Status s = AddStream(typed, u"Scalars", &stream); !s.ok()) return s;
  if (Status s = Check(stream->WriteLong(7)); !s.ok()) return s;
  if (Status s = Check(stream->WriteDouble(2.5)); !s.ok()) return s;
  if (Status s = Check(stream->WriteBoolean(VARIANT_TRUE)); !s.ok()) return s;
  return Check(stream->WriteDate(SampleDate("2024-05-01T12:30:00Z")));
}

// One text in several framings and encodings, one stream each.
Status AddStrings(_Storage* typed) {
  ComPtr<_Storage> strings;
  if (Status s = AddStorage(typed, u"Strings", &strings); !s.ok()) return s;
  struct Framing {
    const char16_t* name;
    ssCharacterTypeEnum encoding;
    ssStringInStreamEnum framing;
    LONG char_count;
    LONG code_page;
  };
  const Framing framings[] = {
      {u"Utf16LengthFirst", ssUnicodeString, ssWriteLengthFirst, 0, 1200},
      {u"Utf16NullTerminated", ssUnicodeString, ssNullTerminated, 0, 1200},
      {u"Cp1252NullTerminated", ssSpecificCodePage, ssNullTerminated, 0, 1252},
      {u"Cp437Fixed12", ssSpecificCodePage, ssFixedLength, 12, 437},
      {u"AnsiLengthFirst", ssCurrentCodePageString, ssWriteLengthFirst, 0, 1200},
  };
  const Bstr text(u"Grüße, Quillbox");
  for (const auto& f : framings) {
    ComPtr<_Stream> stream;
    if (Status s = AddStream(strings.get(), f.name, &stream); !s.ok()) return s;
    if (Status s = Check(stream->WriteString(text.get(), f.encoding, f.framing, f.char_count, f.code_page)); !s.ok()) {
      return s;
    }
  }
  return SetTimes(strings.get(), "2024-04-02T10:00:00Z", "2024-04-30T16:20:00Z");
}

// Archive/2024/May/Notes: nesting, with times on every level.
Status AddArchive(_Storage* root) {
  ComPtr<_Storage> archive;
  ComPtr<_Storage> year;
  ComPtr<_Storage> month;
  if (Status s = AddStorage(root, u"Archive", &archive); !s.ok()) return s;
  if (Status s = AddStorage(archive.get(), u"2024", &year); !s.ok()) return s;
  if (Status s = AddStorage(year.get(), u"May", &month); !s.ok()) return s;
  const std::string notes = "Three levels down.\n";
  if (Status s = AddBytes(month.get(), u"Notes", std::vector<BYTE>(notes.begin(), notes.end())); !s.ok()) return s;
  if (Status s = SetTimes(archive.get(), "2024-01-01T08:00:00Z", "2024-05-31T18:00:00Z"); !s.ok()) return s;
  if (Status s = SetTimes(year.get(), "2024-01-01T08:00:00Z", "2024-05-31T18:00:00Z"); !s.ok()) return s;
  return SetTimes(month.get(), "2024-05-01T09:15:00Z", "2024-05-31T18:00:00Z");
}

Status Sample(const std::string& file) {
  Document document;
  if (Status s = document.Create(file); !s.ok()) return s;
  if (Status s = AddRaw(document.root()); !s.ok()) return s;
  ComPtr<_Storage> typed;
  if (Status s = AddStorage(document.root(), u"Typed", &typed); !s.ok()) return s;
  if (Status s = AddVariants(typed.get()); !s.ok()) return s;
  if (Status s = AddScalars(typed.get()); !s.ok()) return s;
  if (Status s = AddStrings(typed.get()); !s.ok()) return s;
  if (Status s = SetTimes(typed.get(), "2024-04-02T10:00:00Z", "2024-04-30T16:20:00Z"); !s.ok()) return s;
  return AddArchive(document.root());
}

}  // namespace

void AddSampleCommand(CLI::App& app) {
  auto file = std::make_shared<std::string>();
  auto* cmd = app.add_subcommand(
      "sample",
      "Create a sample document: storages three levels deep with times, streams of raw bytes, and streams of "
      "typed values (variant records, scalars, strings in several framings and code pages)");
  cmd->add_option("FILE", *file, "The new document; an existing file is never overwritten")->required();
  cmd->callback([file] { Run([&] { return Sample(*file); }); });
}

}  // namespace quillbox::tool
