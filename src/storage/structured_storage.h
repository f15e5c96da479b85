// StructuredStorage: the application object, the one class a client
// creates itself. It holds nothing; each member opens or creates a platform
// object and hands it back wrapped in a library object.
#pragma once

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"

namespace quillbox::storage_tree {

class StructuredStorage final : public frame::AutomationObject<StructuredStorage, _StructuredStorage> {
 public:
  static constexpr const CLSID& kClsid = CLSID_StructuredStorage;

  // The class-table creator.
  static HRESULT Create(REFIID riid, void** ppv);

  STDMETHODIMP CreateDocument(BSTR filename, _CompoundDocument** result) override;
  STDMETHODIMP OpenDocument(BSTR filename, VARIANT_BOOL read_only, _CompoundDocument** result) override;
  STDMETHODIMP NtfsFilePropertySets(BSTR filename, VARIANT_BOOL read_only,
                                    _NtfsFilePropertySets** result) override;
  STDMETHODIMP CreateMemoryStream(_Stream** result) override;
  STDMETHODIMP CreateMemoryStorage(_Storage** result) override;
  STDMETHODIMP RegisterDocument(BSTR document_name, BSTR file_extension, BSTR open_command,
                                BSTR print_command, BSTR file_for_default_icon, LONG icon_index,
                                VARIANT_BOOL register_thumbnail) override;
  STDMETHODIMP IsCompoundDocument(BSTR filename, VARIANT_BOOL* result) override;
};

}  // namespace quillbox::storage_tree
