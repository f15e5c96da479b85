// The contract between a parent of the storage tree and its children: the
// ElementOwner role a parent offers (a document for its root storage and
// standard sets, a collection for the elements it opened), and the
// OwnedElement side a child offers so its parent can close and reopen it.
#pragma once

#include "quillbox/oaidl.h"

namespace quillbox::storage_tree {

// Which time SetChildTime changes.
enum class ElementTime : LONG { kLastModified = 0, kCreation = 1 };

// Offered by every parent. A child keeps a counted reference on its parent
// object and this plain pointer beside it; a parent keeps only plain
// pointers to its children and learns of their end through ReleaseChild.
// Failing operations return the result code and set *message_id to the
// message the child reports.
class ElementOwner {
 public:
  // destroy: parents are reference-counted objects and end with their count.
  virtual ~ElementOwner() = default;
  // The child with this key is being destroyed: forget it.
  virtual void ReleaseChild(LONG key) = 0;
  virtual HRESULT RenameChild(LONG key, const OLECHAR* new_name, UINT* message_id) = 0;
  virtual HRESULT SetChildTime(LONG key, DATE date, ElementTime which, UINT* message_id) = 0;
  // Opens the child's platform element again and hands it to the child.
  virtual HRESULT ReopenChild(LONG key, UINT* message_id) = 0;
};

// Offered by every element object (Storage, and Stream later) to its parent.
class OwnedElement {
 public:
  // Releases the platform element (and everything the element opened below
  // it), so that the parent may rename it; the element reopens itself
  // through ReopenChild on its next use.
  virtual void ClosePlatformElement() = 0;
  // The parent reopened the element: keep this interface (IStorage or
  // IStream, as the element's kind is). REQUIRES: element is not null.
  virtual void TakePlatformElement(IUnknown* element) = 0;
  // The element's dual interface, not counted.
  virtual IDispatch* Dispatch() = 0;

 protected:
  ~OwnedElement() = default;
};

}  // namespace quillbox::storage_tree
