// Printing a command's JSON document to standard output, the same way for
// every command that offers --json.
#pragma once

#include <nlohmann/json.hpp>

namespace quillbox::tool {

// Two-space indentation and a final line feed. Text that is not valid
// UTF-8 is replaced rather than thrown on.
void PrintJson(const nlohmann::ordered_json& json);

}  // namespace quillbox::tool
