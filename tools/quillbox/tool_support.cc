// Status, Run, Bstr and text conversion for the document commands.
#include "tool_support.h"

#include <cstdio>
#include <new>

#include "commands.h"

namespace quillbox::tool {
namespace {

// The thread's error information, taken (so it is not seen twice).
ComPtr<IErrorInfo> TakeErrorInfo() {
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, info.put()) != S_OK) return nullptr;
  return info;
}

// Some messages of the library end in a blank or a line feed.
std::string TrimRight(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

}  // namespace

Status Status::Library(HRESULT code, std::string fallback) {
  std::string description;
  if (ComPtr<IErrorInfo> info = TakeErrorInfo()) {
    Bstr text;
    if (SUCCEEDED(info->GetDescription(text.put()))) description = TrimRight(ToUtf8(text.text()));
  }
  if (description.empty()) description = std::move(fallback);
  if (description.empty()) description = "the library reported a failure without a description";
  return Status(code, std::move(description), true);
}

Status Check(HRESULT hr) {
  if (FAILED(hr)) return Status::Library(hr);
  TakeErrorInfo();
  return Status::Ok();
}

void Run(const std::function<Status()>& body) {
  Status status = Status::Ok();
  try {
    status = body();
  } catch (const std::bad_alloc&) {
    status = Status::Tool("out of memory");
  }
  if (status.ok()) return;
  std::fflush(stdout);
  if (status.from_library()) {
    std::fprintf(stderr, "quillbox: %s (0x%08X)\n", status.message().c_str(), static_cast<unsigned>(status.code()));
  } else {
    std::fprintf(stderr, "quillbox: %s\n", status.message().c_str());
  }
  SetExitCode(1);
}

Bstr::Bstr(std::u16string_view text)
    : value_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {
  if (!value_) throw std::bad_alloc();
}

BSTR* Bstr::put() {
  SysFreeString(value_);
  value_ = nullptr;
  return &value_;
}

std::u16string Bstr::text() const { return value_ ? std::u16string(value_, SysStringLen(value_)) : u""; }

std::u16string ToWide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int size = static_cast<int>(utf8.size());
  const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, nullptr, 0);
  std::u16string wide(static_cast<size_t>(n > 0 ? n : 0), u'\0');
  if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), n);
  return wide;
}

std::string ToUtf8(std::u16string_view wide) {
  if (wide.empty()) return {};
  const int size = static_cast<int>(wide.size());
  const int n = WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(n > 0 ? n : 0), '\0');
  if (n > 0) WideCharToMultiByte(CP_UTF8, 0, wide.data(), size, utf8.data(), n, nullptr, nullptr);
  return utf8;
}

}  // namespace quillbox::tool
