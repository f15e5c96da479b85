// What every document command shares: the outcome of a step (the library's
// error description and code, or a message of the tool's own), running a
// command body so that a failure reaches stderr and the exit status, owned
// BSTRs and VARIANTs, and UTF-8 <-> UTF-16 text.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "quillbox/platform.h"

namespace quillbox::tool {

// The outcome of a step. A library failure carries the description of the
// thread's error information, taken right after the failing call, and the
// call's result; a failure of the tool's own carries its text and code 0.
class Status {
 public:
  static Status Ok() { return Status(); }
  // Takes the thread's error information (if any) to describe code; some
  // members fail without any, and then fallback (when given) says what
  // went wrong.
  static Status Library(HRESULT code, std::string fallback = {});
  static Status Tool(std::string message) { return Status(E_FAIL, std::move(message), false); }

  bool ok() const { return !failed_; }
  HRESULT code() const { return code_; }
  bool from_library() const { return from_library_; }
  const std::string& message() const { return message_; }

 private:
  Status() = default;
  Status(HRESULT code, std::string message, bool from_library)
      : failed_(true), from_library_(from_library), code_(code), message_(std::move(message)) {}

  bool failed_ = false;
  bool from_library_ = false;
  HRESULT code_ = S_OK;
  std::string message_;
};

// Status of a library call's result. On success any error information a
// member left behind is dropped, so that it cannot describe a later failure.
Status Check(HRESULT hr);

// Runs a command body; a failure is written to stderr as
// "quillbox: <message> (0x........)" (the code only for library failures)
// and the exit status becomes 1.
void Run(const std::function<Status()>& body);

// An owned BSTR, freed with the object.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::u16string_view text);
  ~Bstr() { SysFreeString(value_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR get() const { return value_; }
  BSTR* put();
  std::u16string text() const;

 private:
  BSTR value_ = nullptr;
};

// An owned VARIANT, cleared with the object.
class Variant {
 public:
  Variant() { VariantInit(&value_); }
  ~Variant() { VariantClear(&value_); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  VARIANT* get() { return &value_; }
  const VARIANT& operator*() const { return value_; }

 private:
  VARIANT value_;
};

// UTF-8 and UTF-16 through the platform's code-page service; malformed
// input becomes U+FFFD.
std::u16string ToWide(std::string_view utf8);
std::string ToUtf8(std::u16string_view wide);

}  // namespace quillbox::tool
