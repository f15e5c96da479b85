// Reaching into a compound document through the library's object model:
// opening or creating the file, element paths ("a/b/c", "" or "/" for the
// root storage), and finding the storage or stream a path names.
#pragma once

#include <string>
#include <vector>

#include "quillbox/quillbox.h"
#include "tool_support.h"

namespace quillbox::tool {

// An element path split into names. Names cannot hold '/', '\\', ':' or
// '!' (compound-file rule), so '/' separates them and a backslash starts an
// escape: "\xHH" is the character U+00HH (for the control characters that
// open names such as "\x05SummaryInformation").
using ElementPath = std::vector<std::u16string>;

Status ParsePath(const std::string& text, ElementPath* path);
// One name (the new name of mv): the same escapes, no '/'.
Status ParseName(const std::string& text, std::u16string* name);

// A name or path as the tool prints it: UTF-8, with control characters as
// "\xHH" so that it can be typed back.
std::string DisplayName(const std::u16string& name);
std::string DisplayPath(const ElementPath& path);

enum class Access { kReadOnly, kReadWrite };

// An open document and its root storage, released with the object.
class Document {
 public:
  // Opens an existing document; read-only opens deny writes to others and
  // make every element below read-only.
  Status Open(const std::string& file, Access access);
  // Creates a new document; an existing file is refused by the library.
  Status Create(const std::string& file);

  _Storage* root() const { return root_.get(); }

 private:
  Status Attach(ComPtr<_CompoundDocument> document);

  ComPtr<_CompoundDocument> document_;
  ComPtr<_Storage> root_;
};

// The storage named by the first count names of path below root. With
// create, missing storages on the way are added.
Status FindStorage(_Storage* root, const ElementPath& path, size_t count, bool create, ComPtr<_Storage>* storage);

// The child storage or stream called name, with the library's messages.
Status ChildStorage(_Storage* parent, const std::u16string& name, ComPtr<_Storage>* storage);
Status ChildStream(_Storage* parent, const std::u16string& name, ComPtr<_Stream>* stream);

// Whether parent holds a child storage called name: false when the library
// answers "not found", a failure for anything else.
Status HasChildStorage(_Storage* parent, const std::u16string& name, bool* found);

// The stream that path names (its last name, in the storage of the others);
// a path that names a storage is told as such.
Status FindStream(_Storage* root, const ElementPath& path, ComPtr<_Stream>* stream);

// What the reading commands start with: opens file read-only into
// *document and finds the stream that path (command-line text) names.
Status OpenStreamToRead(const std::string& file, const std::string& path, Document* document,
                        ComPtr<_Stream>* stream);

}  // namespace quillbox::tool
