// The type-library service: an ITypeLib (and its ITypeInfo objects) made
// from a module's LibraryDesc. These are platform objects: they do not
// count in the module lock, so clients may keep them as long as they like.
#pragma once

#include <memory>
#include <vector>

#include "platform/automation/typelib/type_description.h"
#include "platform/automation/typelib/type_info.h"
#include "platform/com/com_object.h"

namespace quillbox::automation {

// Builds the ITypeLib that serves `desc`, which must outlive the object
// (a module's description is constant data).
HRESULT CreateTypeLibFromDescription(const LibraryDesc& desc, ITypeLib** out);

// The library object. The types it lists come first in its table of type
// infos, in the order interfaces, enumerations, coclasses; the vtable views
// of dual interfaces follow. An HREFTYPE is an index into that table.
class TypeLib final : public com::ComObject<TypeLib, ITypeLib>, private HrefResolver {
 public:
  explicit TypeLib(const LibraryDesc& desc);

  const LibraryDesc& desc() const { return desc_; }
  // The type info at href, or null.
  TypeInfo* InfoAt(HREFTYPE href) const;
  // The library's index of the interface or enumeration named `name`, or kNoHref.
  HREFTYPE HrefOfName(const char16_t* name) const override;

  // ITypeLib
  STDMETHODIMP_(UINT) GetTypeInfoCount() override;
  STDMETHODIMP GetTypeInfo(UINT index, ITypeInfo** ppTInfo) override;
  STDMETHODIMP GetTypeInfoType(UINT index, TYPEKIND* pTKind) override;
  STDMETHODIMP GetTypeInfoOfGuid(REFGUID guid, ITypeInfo** ppTinfo) override;
  STDMETHODIMP GetLibAttr(TLIBATTR** ppTLibAttr) override;
  STDMETHODIMP GetTypeComp(ITypeComp** ppTComp) override;
  STDMETHODIMP GetDocumentation(INT index, BSTR* pBstrName, BSTR* pBstrDocString, DWORD* pdwHelpContext,
                                BSTR* pBstrHelpFile) override;
  STDMETHODIMP IsName(LPOLESTR szNameBuf, ULONG lHashVal, BOOL* pfName) override;
  STDMETHODIMP FindName(LPOLESTR szNameBuf, ULONG lHashVal, ITypeInfo** ppTInfo, MEMBERID* rgMemId,
                        USHORT* pcFound) override;
  STDMETHODIMP_(void) ReleaseTLibAttr(TLIBATTR* pTLibAttr) override;

 private:
  friend class com::ComObject<TypeLib, ITypeLib>;
  ~TypeLib() = default;

  const LibraryDesc& desc_;
  std::vector<TypeSubject> subjects_;
  UINT listed_ = 0;  // how many of subjects_ the library lists
  std::vector<std::unique_ptr<TypeInfo>> infos_;
  TLIBATTR attr_{};
};

}  // namespace quillbox::automation
