// BSTR: UTF-16 text preceded by its length in bytes (4 bytes) and followed
// by a zero code unit. The pointer handed out points at the text, so a BSTR
// reads as a plain zero-terminated wide string, and embedded zeros are kept
// because the length, not the terminator, says where it ends.
#include <cstdlib>
#include <cstring>
#include <limits>

#include "quillbox/oleauto.h"

namespace {

constexpr std::size_t kPrefixBytes = sizeof(DWORD);
constexpr std::size_t kTerminatorBytes = sizeof(OLECHAR);
// The byte length must fit the 4-byte prefix with room for the rest.
constexpr std::size_t kMaxBytes = std::numeric_limits<DWORD>::max() - kPrefixBytes - kTerminatorBytes;

void* Block(BSTR s) { return reinterpret_cast<char*>(s) - kPrefixBytes; }

// Allocates room for byte_len bytes of text, copies from source when given,
// and writes the prefix and the terminator.
BSTR AllocateBytes(const void* source, std::size_t byte_len) {
  if (byte_len > kMaxBytes) return nullptr;
  auto* block = static_cast<char*>(std::malloc(kPrefixBytes + byte_len + kTerminatorBytes + 1));
  if (!block) return nullptr;
  const DWORD len = static_cast<DWORD>(byte_len);
  std::memcpy(block, &len, sizeof len);
  char* text = block + kPrefixBytes;
  if (source) {
    std::memmove(text, source, byte_len);
  } else {
    std::memset(text, 0, byte_len);
  }
  std::memset(text + byte_len, 0, kTerminatorBytes + 1);
  return reinterpret_cast<BSTR>(text);
}

std::size_t WideLen(const OLECHAR* s) {
  std::size_t n = 0;
  while (s[n]) ++n;
  return n;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* psz) {
  if (!psz) return nullptr;
  return AllocateBytes(psz, WideLen(psz) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
  if (ui > kMaxBytes / sizeof(OLECHAR)) return nullptr;
  return AllocateBytes(strIn, std::size_t{ui} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(LPCSTR psz, UINT len) { return AllocateBytes(psz, len); }

INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len) {
  if (!pbstr) return FALSE;
  // The source may lie inside the old string: copy before freeing.
  BSTR fresh = SysAllocStringLen(psz, len);
  if (!fresh) return FALSE;
  SysFreeString(*pbstr);
  *pbstr = fresh;
  return TRUE;
}

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
  if (!pbstr) return FALSE;
  if (!psz) {
    SysFreeString(*pbstr);
    *pbstr = nullptr;
    return TRUE;
  }
  return SysReAllocStringLen(pbstr, psz, static_cast<UINT>(WideLen(psz)));
}

void SysFreeString(BSTR bstrString) {
  if (bstrString) std::free(Block(bstrString));
}

UINT SysStringByteLen(BSTR bstr) {
  if (!bstr) return 0;
  DWORD len;
  std::memcpy(&len, Block(bstr), sizeof len);
  return len;
}

UINT SysStringLen(BSTR pbstr) { return SysStringByteLen(pbstr) / sizeof(OLECHAR); }
