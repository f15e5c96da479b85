// Error information: the object, and the per-thread slot that SetErrorInfo
// fills and GetErrorInfo empties.
#include "platform/com/error_info.h"

#include "platform/com/exception_guard.h"
#include "platform/com/utf.h"
#include "quillbox/oleauto.h"

namespace quillbox::com {
namespace {

HRESULT CopyOut(const std::u16string& text, BSTR* out) {
  if (!out) return E_INVALIDARG;
  if (text.empty()) {
    *out = nullptr;
    return S_OK;
  }
  BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (!copy) return E_OUTOFMEMORY;
  *out = copy;
  return S_OK;
}

HRESULT CopyIn(LPOLESTR text, std::u16string& field) {
  return GuardedCall([&] {
    field.assign(text ? text : u"", WideLength(text));
    return S_OK;
  });
}

// The thread's current error information; released when the thread ends.
thread_local ComPtr<IErrorInfo> t_error_info;

}  // namespace

STDMETHODIMP ErrorInfo::GetGUID(GUID* pGUID) {
  if (!pGUID) return E_INVALIDARG;
  *pGUID = guid_;
  return S_OK;
}
STDMETHODIMP ErrorInfo::GetSource(BSTR* out) { return CopyOut(source_, out); }
STDMETHODIMP ErrorInfo::GetDescription(BSTR* out) { return CopyOut(description_, out); }
STDMETHODIMP ErrorInfo::GetHelpFile(BSTR* out) { return CopyOut(help_file_, out); }
STDMETHODIMP ErrorInfo::GetHelpContext(DWORD* out) {
  if (!out) return E_INVALIDARG;
  *out = help_context_;
  return S_OK;
}

STDMETHODIMP ErrorInfo::SetGUID(REFGUID rguid) {
  guid_ = rguid;
  return S_OK;
}
STDMETHODIMP ErrorInfo::SetSource(LPOLESTR text) { return CopyIn(text, source_); }
STDMETHODIMP ErrorInfo::SetDescription(LPOLESTR text) { return CopyIn(text, description_); }
STDMETHODIMP ErrorInfo::SetHelpFile(LPOLESTR text) { return CopyIn(text, help_file_); }
STDMETHODIMP ErrorInfo::SetHelpContext(DWORD context) {
  help_context_ = context;
  return S_OK;
}

}  // namespace quillbox::com

using quillbox::ComPtr;
using quillbox::com::ErrorInfo;
using quillbox::com::MakeObject;
using quillbox::com::t_error_info;

HRESULT CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
  if (!pperrinfo) return E_INVALIDARG;
  ComPtr<ErrorInfo> info = MakeObject<ErrorInfo>();
  if (!info) return E_OUTOFMEMORY;
  *pperrinfo = static_cast<ICreateErrorInfo*>(info.detach());
  return S_OK;
}

HRESULT SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
  if (dwReserved != 0) return E_INVALIDARG;
  // Take the new one before dropping the old: they may be the same object.
  ComPtr<IErrorInfo> next(perrinfo);
  t_error_info = std::move(next);
  return S_OK;
}

HRESULT GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
  if (!pperrinfo || dwReserved != 0) return E_INVALIDARG;
  *pperrinfo = t_error_info.detach();
  return *pperrinfo ? S_OK : S_FALSE;
}
