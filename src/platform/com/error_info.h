// The error-information object behind CreateErrorInfo: description, source,
// interface GUID, help file and help context, set through ICreateErrorInfo
// and read through IErrorInfo.
#pragma once

#include <string>

#include "platform/com/com_object.h"
#include "quillbox/oaidl.h"

namespace quillbox::com {

class ErrorInfo final : public ComObject<ErrorInfo, IErrorInfo, ICreateErrorInfo> {
 public:
  // IErrorInfo
  STDMETHODIMP GetGUID(GUID* pGUID) override;
  STDMETHODIMP GetSource(BSTR* pBstrSource) override;
  STDMETHODIMP GetDescription(BSTR* pBstrDescription) override;
  STDMETHODIMP GetHelpFile(BSTR* pBstrHelpFile) override;
  STDMETHODIMP GetHelpContext(DWORD* pdwHelpContext) override;

  // ICreateErrorInfo
  STDMETHODIMP SetGUID(REFGUID rguid) override;
  STDMETHODIMP SetSource(LPOLESTR szSource) override;
  STDMETHODIMP SetDescription(LPOLESTR szDescription) override;
  STDMETHODIMP SetHelpFile(LPOLESTR szHelpFile) override;
  STDMETHODIMP SetHelpContext(DWORD dwHelpContext) override;

 private:
  friend class ComObject<ErrorInfo, IErrorInfo, ICreateErrorInfo>;
  ~ErrorInfo() = default;

  GUID guid_ = GUID_NULL;
  std::u16string source_;
  std::u16string description_;
  std::u16string help_file_;
  DWORD help_context_ = 0;
};

}  // namespace quillbox::com
