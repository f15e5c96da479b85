// ElementSource: what the enumerator EnumStorage asks of the collection it
// walks. Keys are the collection's entry keys, taken in a snapshot.
#pragma once

#include "quillbox/oaidl.h"

namespace quillbox::storage_tree {

class ElementSource {
 public:
  // False once the entry was removed (or is being removed).
  virtual bool IsPresent(LONG key) = 0;
  // The element object of the key, counted; on failure *message_id is set.
  virtual HRESULT GetElementObject(LONG key, IDispatch** object, UINT* message_id) = 0;
  // A new copy of the element's name; on failure *message_id is set.
  virtual HRESULT GetElementName(LONG key, BSTR* name, UINT* message_id) = 0;

 protected:
  ~ElementSource() = default;
};

}  // namespace quillbox::storage_tree
