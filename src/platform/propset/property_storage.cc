// IPropertyStorage: reading, writing and deleting values. Values in
// sibling elements (non-simple sets) are opened or made here.
#include "platform/propset/property_storage.h"

#include <string>

#include "platform/com/exception_guard.h"
#include "platform/propset/byte_io.h"
#include "platform/propset/set_text.h"
#include "quillbox/objbase.h"

namespace quillbox::propset {

namespace {

using Lock = std::lock_guard<std::mutex>;

constexpr DWORD kChildMode = STGM_SHARE_EXCLUSIVE;

std::u16string IndirectName(PROPID id) {
  const std::string digits = std::to_string(id);
  return u"prop" + std::u16string(digits.begin(), digits.end());
}

VARTYPE StoredType(const std::vector<uint8_t>& value) {
  return value.size() >= 2 ? static_cast<VARTYPE>(value[0] | value[1] << 8) : static_cast<VARTYPE>(VT_EMPTY);
}

// Does the section hold anything besides its reserved properties?
bool HasUserContent(const Section& section) {
  if (!section.names.empty()) return true;
  for (const auto& [id, value] : section.values) {
    if (id != PID_CODEPAGE && id != PID_LOCALE && id != PID_BEHAVIOR) return true;
  }
  return false;
}

void ClearAll(ULONG count, PROPVARIANT values[]) {
  for (ULONG i = 0; i < count; ++i) PropVariantClear(&values[i]);
}

}  // namespace

bool NamesMatch(std::u16string_view a, std::u16string_view b, bool case_sensitive) {
  if (a.size() != b.size()) return false;
  if (case_sensitive) return a == b;
  // Folding covers ASCII, Latin-1, Greek and Cyrillic, where names are
  // commonly compared without case.
  auto fold = [](char16_t c) -> char16_t {
    if (c >= u'a' && c <= u'z') return c - 32;
    if ((c >= 0xE0 && c <= 0xFE && c != 0xF7)) return c - 32;
    if (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) return c - 32;
    if (c >= 0x430 && c <= 0x44F) return c - 32;
    if (c >= 0x450 && c <= 0x45F) return c - 80;
    return c;
  };
  for (size_t i = 0; i < a.size(); ++i) {
    if (fold(a[i]) != fold(b[i])) return false;
  }
  return true;
}

HRESULT PropertyStorage::Resolve(const Section& names, const PROPSPEC& spec, PROPID* id, bool* found) {
  *found = false;
  if (spec.ulKind == PRSPEC_PROPID) {
    *id = spec.propid;
    *found = true;
    return S_OK;
  }
  if (spec.ulKind != PRSPEC_LPWSTR || !spec.lpwstr) return STG_E_INVALIDPARAMETER;
  const std::u16string_view name(spec.lpwstr);
  const bool case_sensitive = names.CaseSensitive();
  for (const auto& [known, text] : names.names) {
    if (NamesMatch(text, name, case_sensitive)) {
      *id = known;
      *found = true;
      break;
    }
  }
  return S_OK;
}

HRESULT PropertyStorage::OpenIndirect(const IndirectRef& ref, PROPVARIANT* out) {
  if (!non_simple()) return STG_E_INVALIDHEADER;
  const DWORD mode = kChildMode | (setup_.writable ? STGM_READWRITE : STGM_READ);
  HRESULT hr = S_OK;
  if (ref.vt == VT_STORAGE || ref.vt == VT_STORED_OBJECT) {
    ComPtr<IStorage> storage;
    if (FAILED(hr = setup_.set_storage->OpenStorage(ref.name.c_str(), nullptr, mode, nullptr, 0, storage.put()))) {
      return hr;
    }
    out->pStorage = storage.detach();
  } else {
    ComPtr<IStream> stream;
    if (FAILED(hr = setup_.set_storage->OpenStream(ref.name.c_str(), nullptr, mode, 0, stream.put()))) return hr;
    if (ref.vt == VT_VERSIONED_STREAM) {
      auto* versioned = static_cast<VERSIONEDSTREAM*>(CoTaskMemAlloc(sizeof(VERSIONEDSTREAM)));
      if (!versioned) return E_OUTOFMEMORY;
      versioned->guidVersion = ref.version;
      versioned->pStream = stream.detach();
      out->pVersionedStream = versioned;
    } else {
      out->pStream = stream.detach();
    }
  }
  out->vt = ref.vt;
  return S_OK;
}

HRESULT PropertyStorage::ReadOne(PROPID id, PROPVARIANT* out) {
  const auto found = section().values.find(id);
  if (found == section().values.end()) return S_FALSE;
  ByteReader in(found->second);
  IndirectRef ref;
  HRESULT hr = DecodeValue(in, section().CodePage(), out, &ref);
  if (FAILED(hr)) return hr;
  if (ref.vt != VT_EMPTY) return OpenIndirect(ref, out);
  return S_OK;
}

STDMETHODIMP PropertyStorage::ReadMultiple(ULONG cpspec, const PROPSPEC rgpspec[], PROPVARIANT rgpropvar[]) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpspec == 0) return S_FALSE;
    if (!rgpspec || !rgpropvar) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    for (ULONG i = 0; i < cpspec; ++i) PropVariantInit(&rgpropvar[i]);
    bool any = false;
    for (ULONG i = 0; i < cpspec; ++i) {
      PROPID id = 0;
      bool found = false;
      HRESULT hr = Resolve(section(), rgpspec[i], &id, &found);
      if (SUCCEEDED(hr) && found && id != PID_DICTIONARY) hr = ReadOne(id, &rgpropvar[i]);
      else if (SUCCEEDED(hr)) hr = S_FALSE;
      if (FAILED(hr)) {
        ClearAll(cpspec, rgpropvar);
        return hr;
      }
      any = any || hr == S_OK;
    }
    return any ? S_OK : S_FALSE;
  });
}

HRESULT PropertyStorage::CheckReserved(PROPID id, const PROPVARIANT& value, const Section& working) {
  switch (id) {
    case PID_DICTIONARY:
      return STG_E_INVALIDPARAMETER;  // names go through WritePropertyNames
    case PID_CODEPAGE:
      if (value.vt != VT_I2 || !IsUsableCodePage(static_cast<uint16_t>(value.iVal))) return STG_E_INVALIDPARAMETER;
      // The strings already written are in the old code page.
      if (HasUserContent(working) && static_cast<uint16_t>(value.iVal) != working.CodePage()) {
        return STG_E_INVALIDPARAMETER;
      }
      return S_OK;
    case PID_LOCALE:
    case PID_BEHAVIOR:
      return value.vt == VT_UI4 ? S_OK : STG_E_INVALIDPARAMETER;
    default:
      return id >= PID_MIN_READONLY ? STG_E_INVALIDPARAMETER : S_OK;
  }
}

HRESULT PropertyStorage::WriteIndirect(PROPID id, const PROPVARIANT& value, IndirectRef* ref) {
  ref->vt = value.vt;
  ref->name = IndirectName(id);
  IStorage* parent = setup_.set_storage.get();
  const DWORD mode = STGM_CREATE | STGM_READWRITE | kChildMode;
  HRESULT hr = S_OK;
  if (value.vt == VT_STORAGE || value.vt == VT_STORED_OBJECT) {
    ComPtr<IStorage> target;
    if (FAILED(hr = parent->CreateStorage(ref->name.c_str(), mode, 0, 0, target.put()))) return hr;
    if (value.pStorage) hr = value.pStorage->CopyTo(0, nullptr, nullptr, target.get());
    return hr;
  }
  IStream* source = value.pStream;
  if (value.vt == VT_VERSIONED_STREAM) {
    if (!value.pVersionedStream) return STG_E_INVALIDPARAMETER;
    ref->version = value.pVersionedStream->guidVersion;
    source = value.pVersionedStream->pStream;
  }
  ComPtr<IStream> target;
  if (FAILED(hr = parent->CreateStream(ref->name.c_str(), mode, 0, 0, target.put()))) return hr;
  if (!source) return S_OK;
  // The whole source stream is copied; its seek position is put back.
  LARGE_INTEGER zero{};
  ULARGE_INTEGER position{};
  if (FAILED(hr = source->Seek(zero, STREAM_SEEK_CUR, &position))) return hr;
  if (FAILED(hr = source->Seek(zero, STREAM_SEEK_SET, nullptr))) return hr;
  ULARGE_INTEGER all{};
  all.QuadPart = ~0ull;
  hr = source->CopyTo(target.get(), all, nullptr, nullptr);
  LARGE_INTEGER back{};
  back.QuadPart = static_cast<LONGLONG>(position.QuadPart);
  source->Seek(back, STREAM_SEEK_SET, nullptr);
  return hr;
}

void PropertyStorage::RemoveIndirect(PROPID id, const std::vector<uint8_t>& old_value) {
  if (non_simple() && IsIndirectType(StoredType(old_value))) {
    setup_.set_storage->DestroyElement(IndirectName(id).c_str());
  }
}

HRESULT PropertyStorage::SaveOrRestore(Section previous, uint16_t previous_version) {
  std::vector<uint8_t> bytes;
  HRESULT hr = SerializeSetImage(setup_.image, &bytes);
  if (SUCCEEDED(hr)) hr = setup_.medium->Write(bytes);
  if (FAILED(hr)) {
    section() = std::move(previous);
    setup_.image.version = previous_version;
  }
  return hr;
}

STDMETHODIMP PropertyStorage::WriteMultiple(ULONG cpspec, const PROPSPEC rgpspec[], const PROPVARIANT rgpropvar[],
                                            PROPID propidNameFirst) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpspec == 0) return S_OK;
    if (!rgpspec || !rgpropvar) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    if (!setup_.writable) return STG_E_ACCESSDENIED;
    Section working = section();
    uint16_t version = setup_.image.version;
    PROPID next_name = propidNameFirst;
    for (ULONG i = 0; i < cpspec; ++i) {
      PROPID id = 0;
      bool found = false;
      HRESULT hr = Resolve(working, rgpspec[i], &id, &found);
      if (FAILED(hr)) return hr;
      const PROPVARIANT& value = rgpropvar[i];
      if (!found) {
        // A new name takes the first free id from propidNameFirst on.
        if (propidNameFirst < PID_FIRST_USABLE || propidNameFirst >= PID_MIN_READONLY) return STG_E_INVALIDPARAMETER;
        while (working.values.count(next_name) || working.names.count(next_name)) {
          if (++next_name >= PID_MIN_READONLY) return STG_E_INVALIDPARAMETER;
        }
        id = next_name;
        const std::u16string name(rgpspec[i].lpwstr);
        if (name.size() > kMaxVersion0NameChars) version = 1;
        working.names[id] = name;
        working.has_dictionary = true;
      }
      if (FAILED(hr = CheckReserved(id, value, working))) return hr;
      const VARTYPE vt = value.vt;
      if (IsIndirectType(vt) && !non_simple()) return STG_E_PROPSETMISMATCHED;
      IndirectRef ref;
      const IndirectRef* indirect = nullptr;
      if (IsIndirectType(vt)) {
        if (FAILED(hr = WriteIndirect(id, value, &ref))) return hr;
        indirect = &ref;
      } else if (auto old = working.values.find(id); old != working.values.end()) {
        RemoveIndirect(id, old->second);
      }
      std::vector<uint8_t> bytes;
      bool needs_v1 = false;
      if (FAILED(hr = EncodeValue(value, working.CodePage(), indirect, &bytes, &needs_v1))) return hr;
      if (needs_v1) version = 1;
      working.values[id] = std::move(bytes);
      if (id == PID_BEHAVIOR && (value.ulVal & PROPSET_BEHAVIOR_CASE_SENSITIVE)) version = 1;
    }
    Section previous = std::move(section());
    section() = std::move(working);
    const uint16_t previous_version = setup_.image.version;
    setup_.image.version = version;
    return SaveOrRestore(std::move(previous), previous_version);
  });
}

STDMETHODIMP PropertyStorage::DeleteMultiple(ULONG cpspec, const PROPSPEC rgpspec[]) {
  return com::GuardedCall([&]() -> HRESULT {
    if (cpspec == 0) return S_OK;
    if (!rgpspec) return STG_E_INVALIDPOINTER;
    Lock lock(mutex_);
    if (!setup_.writable) return STG_E_ACCESSDENIED;
    Section working = section();
    for (ULONG i = 0; i < cpspec; ++i) {
      PROPID id = 0;
      bool found = false;
      HRESULT hr = Resolve(working, rgpspec[i], &id, &found);
      if (FAILED(hr)) return hr;
      if (!found) continue;
      if (id == PID_DICTIONARY || id == PID_CODEPAGE) return STG_E_INVALIDPARAMETER;
      auto old = working.values.find(id);
      if (old == working.values.end()) continue;
      RemoveIndirect(id, old->second);
      working.values.erase(old);
    }
    Section previous = std::move(section());
    section() = std::move(working);
    return SaveOrRestore(std::move(previous), setup_.image.version);
  });
}

}  // namespace quillbox::propset
