// VarBstrCat and VarBstrCmp: joining and comparing automation strings.
#include <cstring>

#include "quillbox/oleauto.h"
#include "quillbox/winnls.h"

HRESULT VarBstrCat(BSTR bstrLeft, BSTR bstrRight, LPBSTR pbstrResult) {
  if (!pbstrResult) return E_INVALIDARG;
  // Byte lengths: odd-length strings join without losing a byte.
  const UINT left = SysStringByteLen(bstrLeft);
  const UINT right = SysStringByteLen(bstrRight);
  if (left > 0x7FFFFFFFu - right) return E_OUTOFMEMORY;
  BSTR result = SysAllocStringByteLen(nullptr, left + right);
  if (!result) return E_OUTOFMEMORY;
  if (left) std::memcpy(result, bstrLeft, left);
  if (right) std::memcpy(reinterpret_cast<char*>(result) + left, bstrRight, right);
  *pbstrResult = result;
  return S_OK;
}

namespace {

constexpr ULONG kIgnoreCase = 0x00000001;  // NORM_IGNORECASE

char16_t FoldCase(char16_t c) {
  if (c >= u'A' && c <= u'Z') return static_cast<char16_t>(c - u'A' + u'a');
  if (c >= 0x00C0 && c <= 0x00DE && c != 0x00D7) return static_cast<char16_t>(c + 0x20);
  return c;
}

// Length without trailing zero units: "a" and "a\0" compare equal.
UINT MeaningfulLength(BSTR s) {
  UINT n = SysStringLen(s);
  while (n > 0 && s[n - 1] == 0) --n;
  return n;
}

}  // namespace

HRESULT VarBstrCmp(BSTR bstrLeft, BSTR bstrRight, LCID lcid, ULONG dwFlags) {
  (void)lcid;  // one locale: English (United States), compared by code unit
  // A null string and an empty one are the same value.
  const UINT left = MeaningfulLength(bstrLeft);
  const UINT right = MeaningfulLength(bstrRight);
  const UINT common = left < right ? left : right;
  for (UINT i = 0; i < common; ++i) {
    char16_t a = bstrLeft[i], b = bstrRight[i];
    if (dwFlags & kIgnoreCase) a = FoldCase(a), b = FoldCase(b);
    if (a != b) return a < b ? VARCMP_LT : VARCMP_GT;
  }
  if (left == right) return VARCMP_EQ;
  return left < right ? VARCMP_LT : VARCMP_GT;
}
