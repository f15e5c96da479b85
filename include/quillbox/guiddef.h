// GUID, CLSID, IID and FMTID: 128-bit identifiers laid out as on Windows,
// with equality, ordering and hashing for use in standard containers.
#pragma once

#include <cstring>
#include <functional>

#include "quillbox/wtypes.h"

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};
static_assert(sizeof(GUID) == 16, "a GUID is 16 bytes on disk and in memory");

using IID = GUID;
using CLSID = GUID;
using FMTID = GUID;
using LPGUID = GUID*;
using LPIID = IID*;
using LPCLSID = CLSID*;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFFMTID = const FMTID&;

inline constexpr GUID GUID_NULL = {0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
inline constexpr IID IID_NULL = GUID_NULL;
inline constexpr CLSID CLSID_NULL = GUID_NULL;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool IsEqualIID(REFIID a, REFIID b) { return IsEqualGUID(a, b); }
inline bool IsEqualCLSID(REFCLSID a, REFCLSID b) { return IsEqualGUID(a, b); }
inline bool InlineIsEqualGUID(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }

inline bool operator==(const GUID& a, const GUID& b) { return IsEqualGUID(a, b); }
inline bool operator!=(const GUID& a, const GUID& b) { return !IsEqualGUID(a, b); }
// Orders by the fields as numbers (Data1, Data2, Data3, then the bytes of
// Data4): the order of the braced text, so sorted GUIDs read sorted.
inline bool operator<(const GUID& a, const GUID& b) {
  if (a.Data1 != b.Data1) return a.Data1 < b.Data1;
  if (a.Data2 != b.Data2) return a.Data2 < b.Data2;
  if (a.Data3 != b.Data3) return a.Data3 < b.Data3;
  return std::memcmp(a.Data4, b.Data4, sizeof a.Data4) < 0;
}
inline bool operator>(const GUID& a, const GUID& b) { return b < a; }
inline bool operator<=(const GUID& a, const GUID& b) { return !(b < a); }
inline bool operator>=(const GUID& a, const GUID& b) { return !(a < b); }

template <>
struct std::hash<GUID> {
  std::size_t operator()(const GUID& g) const noexcept {
    std::uint64_t lo, hi;
    std::memcpy(&lo, &g, 8);
    std::memcpy(&hi, reinterpret_cast<const unsigned char*>(&g) + 8, 8);
    return std::hash<std::uint64_t>{}(lo ^ (hi * 0x9E3779B97F4A7C15ull));
  }
};
