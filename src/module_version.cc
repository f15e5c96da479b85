// The library's version, for tools and diagnostics.
#include "quillbox/version.h"

extern "C" QUILLBOX_API const char* QuillboxVersion() { return "1.0.0"; }
