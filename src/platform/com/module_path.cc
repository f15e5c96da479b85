// Finds the module's own path through the dynamic loader.
#include "platform/com/module_path.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdlib.h>

namespace quillbox::com {

std::string ModulePath() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&ModulePath), &info) == 0 || !info.dli_fname) {
    return {};
  }
  char resolved[PATH_MAX];
  if (realpath(info.dli_fname, resolved)) return resolved;
  return info.dli_fname;
}

}  // namespace quillbox::com
