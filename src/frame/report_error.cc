// ReportError and its short form.
#include "frame/report_error.h"

#include <string>

#include "frame/module.h"
#include "quillbox/com_ptr.h"
#include "quillbox/objbase.h"
#include "quillbox/oleauto.h"
#include "quillbox/winnls.h"
#include "quillbox/winuser.h"

namespace quillbox::frame {
namespace {

// Messages are loaded as ANSI text into a buffer of this size.
constexpr int kMessageBufferBytes = 1024;

std::u16string LoadMessage(UINT id, HINSTANCE instance) {
  char buffer[kMessageBufferBytes];
  int length = LoadStringA(instance, id, buffer, kMessageBufferBytes);
  std::string text = length > 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "Unknown Error";
  const int need = MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
  std::u16string wide(static_cast<std::size_t>(need > 0 ? need : 0), u'\0');
  if (need > 0) {
    MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()), wide.data(), need);
  }
  return wide;
}

}  // namespace

HRESULT ReportError(REFCLSID clsid, ErrorMessage message, DWORD help_context,
                    const OLECHAR* help_file, REFIID iid, HRESULT result, HINSTANCE instance) {
  std::u16string description;
  if (message.is_id()) {
    description = LoadMessage(message.id(), instance);
    // A zero result becomes an interface-specific failure whose low word is the id.
    if (result == 0) result = static_cast<HRESULT>(0x80040000u | message.id());
  } else if (message.text()) {
    description = message.text();
  }

  ComPtr<ICreateErrorInfo> create;
  if (SUCCEEDED(CreateErrorInfo(create.put()))) {
    create->SetGUID(iid);
    LPOLESTR progid = nullptr;
    if (SUCCEEDED(ProgIDFromCLSID(clsid, &progid)) && progid) {
      create->SetSource(progid);
    }
    if (help_context != 0 && help_file) {
      create->SetHelpContext(help_context);
      create->SetHelpFile(const_cast<LPOLESTR>(help_file));
    }
    CoTaskMemFree(progid);
    create->SetDescription(description.data());
    if (ComPtr<IErrorInfo> info = create.as<IErrorInfo>()) SetErrorInfo(0, info.get());
  }
  return result == 0 ? DISP_E_EXCEPTION : result;
}

HRESULT ReportError(REFCLSID clsid, UINT message_id, REFIID iid, HRESULT result) {
  return ReportError(clsid, ErrorMessage(message_id), 0, nullptr, iid, result, ModuleInstance());
}

}  // namespace quillbox::frame
