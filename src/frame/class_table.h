// The class table: one row per class that has a class factory and registry
// entries, in the library's order. A row's class factory is made on the
// first request and kept for the life of the process.
#pragma once

#include <span>

#include "quillbox/unknwn.h"

namespace quillbox::frame {

// Makes a new object of the row's class and queries it for riid.
using CreateFunction = HRESULT (*)(REFIID riid, void** ppv);

struct ClassRow {
  const char16_t* name;  // "Storage"
  CLSID clsid;
  IID default_iid;
  unsigned script_id;  // registry script resource id
};

std::span<const ClassRow> ClassTable();

// The row of clsid, or null.
const ClassRow* FindClassRow(REFCLSID clsid);

// Each class of the object model registers how its objects are made (at
// start-up, from its own file), so the frame needs no knowledge of them.
bool RegisterClassCreator(REFCLSID clsid, CreateFunction create);
// The creator of clsid, or null when no class of this build registered one.
CreateFunction FindClassCreator(REFCLSID clsid);

// The Stream class: registered with a ProgID, but its class object is
// never handed out.
extern const CLSID kStreamClsid;

}  // namespace quillbox::frame
