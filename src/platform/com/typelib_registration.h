// The registry entries of a type library: HKCR\TypeLib\{libid}\<version>
// (help string, FLAGS, HELPDIR, 0\win64 = path) and HKCR\Interface\{iid}
// for each of its interfaces (name, the automation proxy, the library).
// LoadRegTypeLib finds a library through them.
#pragma once

#include <string>
#include <vector>

#include "quillbox/guiddef.h"
#include "quillbox/winerror.h"

namespace quillbox::com {

struct TypeLibInterfaceEntry {
  IID iid;
  std::u16string name;
};

struct TypeLibRegistration {
  GUID libid;
  WORD major = 1;
  WORD minor = 0;
  std::u16string help;      // the library's help string
  std::u16string path;      // the file that holds the library
  std::u16string help_dir;  // its folder
  std::vector<TypeLibInterfaceEntry> interfaces;
};

HRESULT WriteTypeLibRegistration(const TypeLibRegistration& registration);
HRESULT RemoveTypeLibRegistration(const TypeLibRegistration& registration);

// The path registered for libid at version major.minor, if any.
std::u16string RegisteredTypeLibPath(const GUID& libid, WORD major, WORD minor);

}  // namespace quillbox::com
