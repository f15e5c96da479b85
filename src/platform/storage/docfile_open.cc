// Creating and opening root storages on files and lock bytes, including
// STGM_CONVERT and STGM_DELETEONRELEASE.
#include "platform/storage/docfile_open.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/com/utf.h"
#include "platform/storage/cfb_format.h"
#include "platform/storage/compound_file.h"
#include "platform/storage/file_lock_bytes.h"
#include "platform/storage/stg_modes.h"

namespace quillbox::storage {
namespace {

constexpr DWORD kCreationFlags = STGM_CREATE | STGM_CONVERT | STGM_DELETEONRELEASE;

struct FileCloser {
  void operator()(FILE* f) const { std::fclose(f); }
};
using TempFile = std::unique_ptr<FILE, FileCloser>;

// Copies the lock bytes' current contents aside (a temporary file, so a
// large file never sits in memory).
HRESULT SetAside(ILockBytes* bytes, TempFile* out) {
  STATSTG stat{};
  HRESULT hr = bytes->Stat(&stat, STATFLAG_NONAME);
  if (FAILED(hr)) return hr;
  TempFile temp(std::tmpfile());
  if (!temp) return STG_E_MEDIUMFULL;
  std::vector<uint8_t> buffer(64 * 1024);
  for (uint64_t at = 0; at < stat.cbSize.QuadPart;) {
    ULARGE_INTEGER offset;
    offset.QuadPart = at;
    ULONG got = 0;
    if (FAILED(hr = bytes->ReadAt(offset, buffer.data(), static_cast<ULONG>(buffer.size()), &got))) {
      return hr;
    }
    if (got == 0) break;
    if (std::fwrite(buffer.data(), 1, got, temp.get()) != got) return STG_E_MEDIUMFULL;
    at += got;
  }
  std::rewind(temp.get());
  *out = std::move(temp);
  return S_OK;
}

HRESULT WriteContents(CompoundFile& file, FILE* from) {
  uint32_t id = 0;
  HRESULT hr = file.CreateElement(0, u"CONTENTS", ObjectType::kStream, &id);
  if (FAILED(hr)) return hr;
  std::shared_ptr<StreamData> data;
  if (FAILED(hr = file.OpenStreamData(id, &data))) return hr;
  std::vector<uint8_t> buffer(64 * 1024);
  uint64_t at = 0;
  for (size_t got; (got = std::fread(buffer.data(), 1, buffer.size(), from)) > 0; at += got) {
    if (FAILED(hr = file.WriteStream(*data, at, buffer.data(), static_cast<uint32_t>(got)))) return hr;
  }
  return S_OK;
}

// A fresh engine over bytes, keeping their old contents as CONTENTS when
// convert is set.
HRESULT BuildNew(ComPtr<ILockBytes> bytes, DWORD mode, uint16_t major_version, bool convert,
                 ComPtr<Storage>* out) {
  TempFile kept;
  HRESULT hr;
  if (convert && FAILED(hr = SetAside(bytes.get(), &kept))) return hr;
  std::shared_ptr<CompoundFile> file;
  if (FAILED(hr = CompoundFile::Create(bytes, major_version, &file))) return hr;
  if (convert && FAILED(hr = WriteContents(*file, kept.get()))) return hr;
  ComPtr<Storage> root = Storage::MakeRoot(file, mode & ~kCreationFlags);
  if (!root) return E_OUTOFMEMORY;
  *out = std::move(root);
  return convert ? STG_S_CONVERTED : S_OK;
}

HRESULT LockBytesSize(ILockBytes* bytes, uint64_t* size) {
  STATSTG stat{};
  HRESULT hr = bytes->Stat(&stat, STATFLAG_NONAME);
  if (SUCCEEDED(hr)) *size = stat.cbSize.QuadPart;
  return hr;
}

std::string PathOf(const WCHAR* name) {
  return com::Utf16ToUtf8(std::u16string_view(name, com::WideLength(name)));
}

}  // namespace

HRESULT HasCompoundHeader(ILockBytes* bytes) {
  uint8_t header[kHeaderSize];
  ULARGE_INTEGER at;
  at.QuadPart = 0;
  ULONG got = 0;
  HRESULT hr = bytes->ReadAt(at, header, sizeof header, &got);
  if (FAILED(hr)) return hr;
  if (got < kHeaderSize || std::memcmp(header, kSignature, sizeof kSignature) != 0) return S_FALSE;
  return S_OK;
}

HRESULT CreateDocfileOn(ILockBytes* bytes, DWORD mode, uint16_t major_version, ComPtr<Storage>* out) {
  uint64_t size = 0;
  HRESULT hr = LockBytesSize(bytes, &size);
  if (FAILED(hr)) return hr;
  const bool convert = (mode & STGM_CONVERT) && size > 0;
  if (size > 0 && !(mode & (STGM_CREATE | STGM_CONVERT))) return STG_E_FILEALREADYEXISTS;
  return BuildNew(ComPtr<ILockBytes>(bytes), mode, major_version, convert, out);
}

HRESULT OpenDocfileOn(ILockBytes* bytes, DWORD mode, ComPtr<Storage>* out) {
  HRESULT hr = HasCompoundHeader(bytes);
  if (FAILED(hr)) return hr;
  if (hr == S_FALSE) return STG_E_FILEALREADYEXISTS;  // as Windows answers for other files
  std::shared_ptr<CompoundFile> file;
  if (FAILED(hr = CompoundFile::Open(ComPtr<ILockBytes>(bytes), CanWrite(mode), &file))) return hr;
  ComPtr<Storage> root = Storage::MakeRoot(file, mode);
  if (!root) return E_OUTOFMEMORY;
  *out = std::move(root);
  return S_OK;
}

HRESULT CreateDocfileAt(const WCHAR* name, DWORD mode, uint16_t major_version, ComPtr<Storage>* out) {
  ComPtr<FileLockBytes> bytes;
  HRESULT hr;
  bool convert = false;
  bool created = false;
  if (!name) {
    hr = FileLockBytes::CreateTemporary(mode, &bytes);
  } else if (mode & STGM_CREATE) {
    hr = FileLockBytes::Open(PathOf(name), FileOpen::kCreateAlways, mode, &bytes);
  } else if (mode & STGM_CONVERT) {
    hr = FileLockBytes::Open(PathOf(name), FileOpen::kOpenExisting, mode, &bytes);
    convert = SUCCEEDED(hr);
    if (hr == STG_E_FILENOTFOUND) {
      hr = FileLockBytes::Open(PathOf(name), FileOpen::kCreateNew, mode, &bytes);
      created = true;
    }
  } else {
    hr = FileLockBytes::Open(PathOf(name), FileOpen::kCreateNew, mode, &bytes);
    created = true;
  }
  if (FAILED(hr)) return hr;
  if (mode & STGM_DELETEONRELEASE) bytes->SetDeleteOnRelease(true);
  hr = BuildNew(ComPtr<ILockBytes>(bytes.get()), mode, major_version, convert, out);
  if (FAILED(hr) && created) bytes->SetDeleteOnRelease(true);
  return hr;
}

HRESULT OpenDocfileAt(const WCHAR* name, DWORD mode, ComPtr<Storage>* out) {
  ComPtr<FileLockBytes> bytes;
  HRESULT hr = FileLockBytes::Open(PathOf(name), FileOpen::kOpenExisting, mode, &bytes);
  if (FAILED(hr)) return hr;
  return OpenDocfileOn(bytes.get(), mode, out);
}

}  // namespace quillbox::storage
