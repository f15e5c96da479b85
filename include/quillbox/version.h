// The library's version.
#pragma once

#include "quillbox/wtypes.h"

// "major.minor.patch" of the loaded libquillbox.
EXTERN_C QUILLBOX_API const char* QuillboxVersion();
