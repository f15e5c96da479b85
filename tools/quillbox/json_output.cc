// PrintJson.
#include "json_output.h"

#include <cstdio>
#include <string>

namespace quillbox::tool {

void PrintJson(const nlohmann::ordered_json& json) {
  // Text comes out of UTF-16 through the platform's converter; replace
  // rather than throw should anything slip through.
  const std::string text = json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::printf("%s\n", text.c_str());
}

}  // namespace quillbox::tool
