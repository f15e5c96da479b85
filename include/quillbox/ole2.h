// Objects in streams: OleSaveToStream writes an object's class id and then
// its own bytes; OleLoadFromStream reads the class id back, creates the
// object through the class registry and lets it load the rest.
#pragma once

#include "quillbox/objidl.h"

// Writes the class id of pPStm (16 bytes, the GUID's little-endian layout)
// and then calls pPStm->Save(pStm, TRUE). A null pPStm writes CLSID_NULL and
// answers OLE_E_BLANK; a null pStm is refused with E_INVALIDARG.
WINOLEAPI OleSaveToStream(LPPERSISTSTREAM pPStm, LPSTREAM pStm);

// Reads a class id from pStm, creates that class (CoCreateInstance, asking
// for iidInterface), and loads it through its IPersistStream from the bytes
// that follow. *ppvObj is null on every failure, CLSID_NULL included
// (REGDB_E_CLASSNOTREG).
WINOLEAPI OleLoadFromStream(LPSTREAM pStm, REFIID iidInterface, LPVOID* ppvObj);
