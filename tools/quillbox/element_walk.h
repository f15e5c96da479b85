// Reading a storage's elements through its collections' enumerators: names,
// stream sizes, storage times and class ids, as far down as asked.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "quillbox/quillbox.h"
#include "tool_support.h"

namespace quillbox::tool {

struct Element {
  std::u16string name;
  bool is_storage = false;
  ULONG size = 0;              // streams
  DATE created = 0.0;          // storages; 0.0 when never set
  DATE modified = 0.0;         // storages
  std::u16string clsid;        // storages; empty for the null class id
  std::vector<Element> children;  // storages first, then streams, each in the document's order
};

// Deeper nesting than this is refused rather than followed.
inline constexpr int kMaxDepth = 256;
inline constexpr int kAllLevels = -1;

// Describes storage and, levels deep, what it holds (0: the storage alone;
// 1: also its children; kAllLevels: everything, up to kMaxDepth).
Status DescribeStorage(_Storage* storage, int levels, Element* element);

}  // namespace quillbox::tool
