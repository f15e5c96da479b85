// Shared text pieces of the IDL and header writers.
#include "typelib/writer_text.h"

#include <cstdio>

#include "platform/com/guid_text.h"
#include "platform/com/utf.h"

namespace quillbox::typelib {

std::string Narrow(const char16_t* text) {
  return text ? com::Utf16ToUtf8(text) : std::string();
}

std::string GuidBareText(const GUID& guid) {
  std::string braced = com::GuidToNarrowText(guid);
  return braced.substr(1, braced.size() - 2);
}

std::string GuidInitializer(const GUID& g) {
  char text[128];
  std::snprintf(text, sizeof text,
                "{0x%08X, 0x%04X, 0x%04X, {0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X, 0x%02X}}",
                static_cast<unsigned>(g.Data1), static_cast<unsigned>(g.Data2), static_cast<unsigned>(g.Data3),
                g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
  return text;
}

std::string JoinParams(const std::string& head, const std::vector<std::string>& params, const std::string& tail,
                       std::size_t indent) {
  std::string line = head + "(";
  for (std::size_t i = 0; i < params.size(); ++i) line += (i ? ", " : "") + params[i];
  line += ")" + tail;
  if (params.size() < 2 || line.size() <= 100) return line;
  std::string wrapped = head + "(\n";
  for (std::size_t i = 0; i < params.size(); ++i) {
    wrapped += std::string(indent, ' ') + params[i] + (i + 1 < params.size() ? ",\n" : "");
  }
  return wrapped + ")" + tail;
}

}  // namespace quillbox::typelib
