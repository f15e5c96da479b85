// Diagnostics for damaged files: the engine returns a result code and keeps
// a message naming the structure and the numbers ("FAT sector 3 pointed to
// twice") for whoever wants to know why.
#pragma once

#include <string>

#include "quillbox/winerror.h"

namespace quillbox::storage {

// Records the message (printf-style) for this thread and returns code.
HRESULT Fail(HRESULT code, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Shorthand for Fail(STG_E_DOCFILECORRUPT, ...).
#define CFB_CORRUPT(...) ::quillbox::storage::Fail(STG_E_DOCFILECORRUPT, __VA_ARGS__)

// The last message recorded on this thread ("" when none).
const std::string& LastDiagnostic();
void ClearDiagnostic();

}  // namespace quillbox::storage
