// Per-thread diagnostic messages for result codes from damaged input.
#include "platform/storage/cfb_diagnostic.h"

#include <cstdarg>
#include <cstdio>

namespace quillbox::storage {
namespace {
thread_local std::string last_message;
}  // namespace

HRESULT Fail(HRESULT code, const char* format, ...) {
  char buffer[256];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  last_message = buffer;
  return code;
}

const std::string& LastDiagnostic() { return last_message; }
void ClearDiagnostic() { last_message.clear(); }

}  // namespace quillbox::storage
