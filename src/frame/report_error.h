// ReportError: the one way every member reports a failure. It publishes the
// message (from the library's string table, or a ready text) as the
// thread's error information, with the interface as its GUID and the
// class's versioned ProgID as its source, and returns the result code.
#pragma once

#include "quillbox/guiddef.h"
#include "quillbox/winerror.h"

namespace quillbox::frame {

// A message is either an id of the string table (below 65536) or a ready
// wide text, told apart as string-resource ids are: by the upper bits.
class ErrorMessage {
 public:
  ErrorMessage(UINT id) : id_(id) {}  // NOLINT: ids are the common case
  ErrorMessage(const OLECHAR* text) : text_(text) {}  // NOLINT
  bool is_id() const { return text_ == nullptr; }
  UINT id() const { return id_; }
  const OLECHAR* text() const { return text_; }

 private:
  UINT id_ = 0;
  const OLECHAR* text_ = nullptr;
};

HRESULT ReportError(REFCLSID clsid, ErrorMessage message, DWORD help_context,
                    const OLECHAR* help_file, REFIID iid, HRESULT result, HINSTANCE instance);

// The short form: no help context, no help file, the library's own strings.
HRESULT ReportError(REFCLSID clsid, UINT message_id, REFIID iid, HRESULT result);

}  // namespace quillbox::frame
