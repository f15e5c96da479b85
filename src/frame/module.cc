// The module object.
#include "frame/module.h"

#include <mutex>

#include "frame/message_table.h"
#include "platform/com/string_resources.h"

namespace quillbox::frame {

HINSTANCE ModuleInstance() {
  static const HINSTANCE instance = [] {
    HINSTANCE self = com::ThisModuleInstance();
    com::RegisterStringTable(self, &MessageTable());
    return self;
  }();
  return instance;
}

}  // namespace quillbox::frame
