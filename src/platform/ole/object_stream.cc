// OleSaveToStream and OleLoadFromStream: an object in a stream is its class
// id (16 bytes, as WriteClassStm writes it) followed by whatever the object's
// IPersistStream::Save writes. See docs/platform/ole.md.
#include "quillbox/coml2api.h"
#include "quillbox/com_ptr.h"
#include "quillbox/objbase.h"
#include "quillbox/ole2.h"

namespace quillbox::ole {
namespace {

// Only in-process servers exist here, but a stored class id says nothing of
// where its server lives: ask for any server context.
constexpr DWORD kCreationContext = CLSCTX_SERVER;

}  // namespace
}  // namespace quillbox::ole

WINOLEAPI OleSaveToStream(LPPERSISTSTREAM pPStm, LPSTREAM pStm) {
  if (!pStm) return E_INVALIDARG;
  if (!pPStm) {
    // A missing object still leaves its 16 bytes, so a reader stays in step
    // and OleLoadFromStream gives null back for it.
    const HRESULT hr = WriteClassStm(pStm, CLSID_NULL);
    return FAILED(hr) ? hr : OLE_E_BLANK;
  }
  CLSID clsid = CLSID_NULL;
  HRESULT hr = pPStm->GetClassID(&clsid);
  if (FAILED(hr)) return hr;
  hr = WriteClassStm(pStm, clsid);
  if (FAILED(hr)) return hr;
  hr = pPStm->Save(pStm, TRUE);
  return FAILED(hr) ? hr : S_OK;
}

WINOLEAPI OleLoadFromStream(LPSTREAM pStm, REFIID iidInterface, LPVOID* ppvObj) {
  if (!ppvObj) return E_POINTER;
  *ppvObj = nullptr;
  if (!pStm) return E_INVALIDARG;

  CLSID clsid = CLSID_NULL;
  HRESULT hr = ReadClassStm(pStm, &clsid);
  if (FAILED(hr)) return hr;
  // What a null object was saved as: nothing to create, whatever a client
  // may have registered under the null id.
  if (IsEqualCLSID(clsid, CLSID_NULL)) return REGDB_E_CLASSNOTREG;

  quillbox::ComPtr<IUnknown> object;  // holds the iidInterface pointer
  hr = CoCreateInstance(clsid, nullptr, quillbox::ole::kCreationContext, iidInterface,
                        object.put_void());
  if (FAILED(hr)) return hr;
  if (!object) return E_UNEXPECTED;  // a factory that answered success with nothing
  quillbox::ComPtr<IPersistStream> persist;
  hr = object->QueryInterface(IID_IPersistStream, persist.put_void());
  if (FAILED(hr)) return hr;
  hr = persist->Load(pStm);
  if (FAILED(hr)) return hr;
  *ppvObj = object.detach();
  return S_OK;
}
