// CompoundDocument: one compound file, opened or created by
// StructuredStorage. It owns the file's root platform storage (the file
// closes when the document goes) and hands out four children, each made on
// first request and reused while it lives: the root Storage (slot 0) and the
// three standard property sets (slots 1 to 3). As their parent it refuses
// what a root cannot do: be renamed, have its times set.
#pragma once

#include <array>
#include <string>

#include "frame/automation_object.h"
#include "quillbox/quillbox.h"
#include "storage/element_owner.h"

namespace quillbox::storage_tree {

class Storage;

class CompoundDocument final : public frame::AutomationObject<CompoundDocument, _CompoundDocument>,
                               public ElementOwner {
 public:
  static constexpr const CLSID& kClsid = CLSID_CompoundDocument;

  // The class-table creator: a document without a file (its members fail).
  static HRESULT Create(REFIID riid, void** ppv);

  // Keeps the root storage (counted), the file name and the read-only flag.
  // REQUIRES: called once, before any member.
  void Initialize(IStorage* root, const OLECHAR* file_name, bool read_only);

  // _CompoundDocument.
  STDMETHODIMP SaveAs(BSTR file_name) override;
  STDMETHODIMP get_filename(BSTR* result) override;
  STDMETHODIMP get_RootStorage(_Storage** result) override;
  STDMETHODIMP get_SummaryInformation(_SummaryInformation** result) override;
  STDMETHODIMP get_DocumentSummaryInformation(_DocumentSummary** result) override;
  STDMETHODIMP get_UserDefined(_UserDefined** result) override;

  // ElementOwner.
  void ReleaseChild(LONG key) override;
  HRESULT RenameChild(LONG key, const OLECHAR* new_name, UINT* message_id) override;
  HRESULT SetChildTime(LONG key, DATE date, ElementTime which, UINT* message_id) override;
  HRESULT ReopenChild(LONG key, UINT* message_id) override;

 private:
  static constexpr LONG kRootSlot = 0;
  static constexpr std::size_t kSlots = 4;

  // The root Storage of slot 0, made when there is none; reports failures.
  HRESULT RootStorageObject(ComPtr<Storage>* storage);

  std::u16string file_name_;
  ComPtr<IStorage> root_;
  // The four slots, plain pointers: a child holds the document, never the
  // other way round. Slot 0 is the root storage, 1 to 3 the standard sets.
  Storage* root_storage_ = nullptr;
  std::array<IUnknown*, kSlots - 1> standard_sets_{};
  std::array<bool, kSlots> created_{};
  bool read_only_ = false;
};

}  // namespace quillbox::storage_tree
