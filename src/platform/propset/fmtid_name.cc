// FMTID <-> element name, and the public FmtIdToPropStgName and
// PropStgNameToFmtId over it.
#include "platform/propset/fmtid_name.h"

#include <cstring>

#include "platform/propset/byte_io.h"

namespace quillbox::propset {

namespace {

constexpr char16_t kAlphabet[] = u"abcdefghijklmnopqrstuvwxyz012345";
constexpr size_t kBase32Chars = 26;  // ceil(128 / 5)

void GuidBytes(const FMTID& fmtid, uint8_t bytes[16]) {
  std::vector<uint8_t> out;
  ByteWriter w(&out);
  w.Guid(fmtid);
  std::memcpy(bytes, out.data(), 16);
}

int CharValue(char16_t c) {
  if (c >= u'a' && c <= u'z') return c - u'a';
  if (c >= u'A' && c <= u'Z') return c - u'A';
  if (c >= u'0' && c <= u'5') return 26 + (c - u'0');
  return -1;
}

}  // namespace

std::u16string SetElementName(const FMTID& fmtid) {
  if (IsEqualGUID(fmtid, FMTID_SummaryInformation)) return kSummaryName;
  if (IsEqualGUID(fmtid, FMTID_DocSummaryInformation) || IsEqualGUID(fmtid, FMTID_UserDefinedProperties)) {
    return kDocSummaryName;
  }
  uint8_t bytes[16];
  GuidBytes(fmtid, bytes);
  std::u16string name(1, u'\005');
  for (size_t i = 0; i < kBase32Chars; ++i) {
    const size_t bit = i * 5;
    unsigned value = bytes[bit / 8] >> (bit % 8);
    if (bit % 8 > 3 && bit / 8 + 1 < 16) value |= bytes[bit / 8 + 1] << (8 - bit % 8);
    name.push_back(kAlphabet[value & 31]);
  }
  return name;
}

bool FmtIdFromElementName(std::u16string_view name, FMTID* fmtid) {
  if (name == kSummaryName) {
    *fmtid = FMTID_SummaryInformation;
    return true;
  }
  if (name == kDocSummaryName) {
    *fmtid = FMTID_DocSummaryInformation;
    return true;
  }
  if (name.size() != kBase32Chars + 1 || name[0] != u'\005') return false;
  uint8_t bytes[16] = {};
  for (size_t i = 0; i < kBase32Chars; ++i) {
    const int value = CharValue(name[i + 1]);
    if (value < 0) return false;
    const size_t bit = i * 5;
    // The last character carries only 3 bits; anything above them is not
    // a name we could have made.
    if (i == kBase32Chars - 1 && value > 7) return false;
    bytes[bit / 8] |= static_cast<uint8_t>(value << (bit % 8));
    if (bit % 8 > 3 && bit / 8 + 1 < 16) bytes[bit / 8 + 1] |= static_cast<uint8_t>(value >> (8 - bit % 8));
  }
  ByteReader in(std::span<const uint8_t>(bytes, 16));
  in.Guid(fmtid);
  return true;
}

}  // namespace quillbox::propset

WINOLEAPI FmtIdToPropStgName(const FMTID* pfmtid, LPOLESTR oszName) {
  if (!pfmtid || !oszName) return E_INVALIDARG;
  // The user-defined set has no element of its own; as a name it is the
  // document summary stream that holds it.
  const std::u16string name = quillbox::propset::SetElementName(*pfmtid);
  std::memcpy(oszName, name.c_str(), (name.size() + 1) * sizeof(char16_t));
  return S_OK;
}

WINOLEAPI PropStgNameToFmtId(const LPOLESTR oszName, FMTID* pfmtid) {
  if (!oszName || !pfmtid) return E_INVALIDARG;
  size_t n = 0;
  while (n <= CCH_MAX_PROPSTG_NAME && oszName[n]) ++n;
  if (n > CCH_MAX_PROPSTG_NAME) return STG_E_INVALIDNAME;
  FMTID fmtid;
  if (!quillbox::propset::FmtIdFromElementName(std::u16string_view(oszName, n), &fmtid)) return STG_E_INVALIDNAME;
  *pfmtid = fmtid;
  return S_OK;
}
