// IStorage over one storage element of a compound file (the root answers
// IRootStorage too). Children must be opened exclusively; an element open
// once cannot be opened again until released.
#pragma once

#include <memory>
#include <string>

#include "platform/com/com_object.h"
#include "platform/storage/compound_file.h"
#include "quillbox/objidl.h"

namespace quillbox::storage {

class Storage final : public com::ComObject<Storage, IStorage>, public IRootStorage {
 public:
  // REQUIRES: the element is marked open (children) or id is 0 (root). The
  // root closes the file when released.
  Storage(std::shared_ptr<CompoundFile> file, uint32_t id, DWORD mode, bool is_root)
      : file_(std::move(file)), id_(id), mode_(mode), is_root_(is_root) {}
  ~Storage();

  // A root storage over an engine.
  static ComPtr<Storage> MakeRoot(std::shared_ptr<CompoundFile> file, DWORD mode);

  // Every storage also offers its property sets, as a separate object that
  // holds the storage (the storage holds nothing back).
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ComObject::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return ComObject::Release(); }
  bool QueryExtraInterface(REFIID riid, void** ppv);

  // IStorage
  STDMETHODIMP CreateStream(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                            DWORD reserved2, IStream** ppstm) override;
  STDMETHODIMP OpenStream(const OLECHAR* pwcsName, void* reserved1, DWORD grfMode, DWORD reserved2,
                          IStream** ppstm) override;
  STDMETHODIMP CreateStorage(const OLECHAR* pwcsName, DWORD grfMode, DWORD reserved1,
                             DWORD reserved2, IStorage** ppstg) override;
  STDMETHODIMP OpenStorage(const OLECHAR* pwcsName, IStorage* pstgPriority, DWORD grfMode,
                           SNB snbExclude, DWORD reserved, IStorage** ppstg) override;
  STDMETHODIMP CopyTo(DWORD ciidExclude, const IID* rgiidExclude, SNB snbExclude,
                      IStorage* pstgDest) override;
  STDMETHODIMP MoveElementTo(const OLECHAR* pwcsName, IStorage* pstgDest,
                             const OLECHAR* pwcsNewName, DWORD grfFlags) override;
  STDMETHODIMP Commit(DWORD grfCommitFlags) override;
  STDMETHODIMP Revert() override;
  STDMETHODIMP EnumElements(DWORD reserved1, void* reserved2, DWORD reserved3,
                            IEnumSTATSTG** ppenum) override;
  STDMETHODIMP DestroyElement(const OLECHAR* pwcsName) override;
  STDMETHODIMP RenameElement(const OLECHAR* pwcsOldName, const OLECHAR* pwcsNewName) override;
  STDMETHODIMP SetElementTimes(const OLECHAR* pwcsName, const FILETIME* pctime,
                               const FILETIME* patime, const FILETIME* pmtime) override;
  STDMETHODIMP SetClass(REFCLSID clsid) override;
  STDMETHODIMP SetStateBits(DWORD grfStateBits, DWORD grfMask) override;
  STDMETHODIMP Stat(STATSTG* pstatstg, DWORD grfStatFlag) override;

  // IRootStorage
  STDMETHODIMP SwitchToFile(LPOLESTR pszFile) override;

 private:
  // Common checks of the element calls; name's element id in *id.
  HRESULT CheckOpen() const;
  HRESULT WriteEntryChange(uint32_t id);
  HRESULT CheckWritable() const;
  HRESULT FindChild(const OLECHAR* name, uint32_t* id);
  HRESULT CreateChild(const OLECHAR* name, DWORD mode, ObjectType type, uint32_t* id);
  // Is id the element ancestor or somewhere below it?
  bool Contains(uint32_t ancestor, uint32_t id);

  std::shared_ptr<CompoundFile> file_;
  uint32_t id_;
  DWORD mode_;
  bool is_root_;
};

}  // namespace quillbox::storage
