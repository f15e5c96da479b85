// Reference value objects <-> VARIANT (see variant_reference_values.h).
#include "variant_reference_values.h"

#include <cstdint>
#include <cstdio>
#include <cstring>

#include "reference_lines.h"

namespace quillbox::testing {

STDMETHODIMP ValueObject::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return E_POINTER;
  if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch)) {
    *ppv = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *ppv = nullptr;
  return E_NOINTERFACE;
}

STDMETHODIMP ValueObject::GetTypeInfoCount(UINT* count) {
  if (!count) return E_POINTER;
  *count = 0;
  return S_OK;
}

STDMETHODIMP ValueObject::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                 EXCEPINFO*, UINT*) {
  ++invokes_;
  if (!has_value_ || member != DISPID_VALUE || !(flags & DISPATCH_PROPERTYGET)) return DISP_E_MEMBERNOTFOUND;
  if (!params || params->cArgs != 0) return DISP_E_BADPARAMCOUNT;
  if (result) {
    VariantInit(result);
    result->vt = VT_I4;
    result->lVal = value_;
  }
  return S_OK;
}

namespace {

std::string TypeName(const nlohmann::json& value) { return value.at("type").get<std::string>(); }

long long IntField(const nlohmann::json& value) { return std::stoll(value.at("int").get<std::string>()); }

unsigned long long UIntField(const nlohmann::json& value) {
  return std::stoull(value.at("int").get<std::string>());
}

}  // namespace

bool VariantFromReference(const nlohmann::json& value, const std::string& source_key, ValueObject* value42,
                          ValueObject* novalue, VARIANT* v) {
  VariantInit(v);
  const std::string type = TypeName(value);
  v->vt = static_cast<VARTYPE>(value.at("vt").get<int>());
  if (type == "EMPTY" || type == "NULL") return true;
  if (type == "I1") v->cVal = static_cast<CHAR>(IntField(value));
  else if (type == "UI1") v->bVal = static_cast<BYTE>(UIntField(value));
  else if (type == "I2") v->iVal = static_cast<SHORT>(IntField(value));
  else if (type == "UI2") v->uiVal = static_cast<USHORT>(UIntField(value));
  else if (type == "I4") v->lVal = static_cast<LONG>(IntField(value));
  else if (type == "UI4") v->ulVal = static_cast<ULONG>(UIntField(value));
  else if (type == "INT") v->intVal = static_cast<INT>(IntField(value));
  else if (type == "UINT") v->uintVal = static_cast<UINT>(UIntField(value));
  else if (type == "I8") v->llVal = IntField(value);
  else if (type == "UI8") v->ullVal = UIntField(value);
  else if (type == "BOOL") v->boolVal = static_cast<VARIANT_BOOL>(IntField(value));
  else if (type == "ERROR") v->scode = static_cast<SCODE>(IntField(value));
  else if (type == "R4") {}  // below
  else if (type == "R8") v->dblVal = DoubleFromBits(value.at("bits"));
  else if (type == "DATE") v->date = DoubleFromBits(value.at("bits"));
  else if (type == "CY") v->cyVal.int64 = std::stoll(value.at("cy").get<std::string>());
  else if (type == "DECIMAL") {
    DECIMAL d{};
    d.scale = static_cast<BYTE>(value.at("scale").get<int>());
    d.sign = static_cast<BYTE>(value.at("sign").get<int>());
    d.Hi32 = static_cast<ULONG>(std::stoull(value.at("hi32").get<std::string>()));
    d.Lo64 = std::stoull(value.at("lo64").get<std::string>());
    v->decVal = d;
    v->vt = VT_DECIMAL;
  } else if (type == "BSTR") {
    if (value.contains("null")) {
      v->bstrVal = nullptr;
    } else {
      const std::u16string text = Utf16FromHex(value.at("utf16"));
      v->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
  } else if (type == "DISPATCH" || type == "UNKNOWN") {
    ValueObject* object = nullptr;
    if (source_key.find("value42") != std::string::npos) object = value42;
    else if (source_key.find("novalue") != std::string::npos) object = novalue;
    if (object) object->AddRef();
    v->pdispVal = object;
  } else {
    return false;
  }
  if (type == "R4") {
    // R4 bits are 8 hex digits: read them as a float, not a double.
    const auto raw = static_cast<std::uint32_t>(std::stoul(value.at("bits").get<std::string>(), nullptr, 16));
    std::memcpy(&v->fltVal, &raw, sizeof raw);
  }
  return true;
}

std::string DescribeMismatch(const VARIANT& v, const nlohmann::json& expected) {
  const int vt = expected.at("vt").get<int>();
  if (v.vt != vt) return "vt " + std::to_string(v.vt) + " expected " + std::to_string(vt);
  const std::string type = TypeName(expected);
  auto differ = [](const std::string& got, const std::string& want) {
    return got == want ? std::string() : "got " + got + " expected " + want;
  };
  if (type == "EMPTY" || type == "NULL") return {};
  if (type == "I1") return differ(std::to_string(v.cVal), expected.at("int"));
  if (type == "UI1") return differ(std::to_string(v.bVal), expected.at("int"));
  if (type == "I2") return differ(std::to_string(v.iVal), expected.at("int"));
  if (type == "UI2") return differ(std::to_string(v.uiVal), expected.at("int"));
  if (type == "I4") return differ(std::to_string(v.lVal), expected.at("int"));
  if (type == "UI4") return differ(std::to_string(v.ulVal), expected.at("int"));
  if (type == "INT") return differ(std::to_string(v.intVal), expected.at("int"));
  if (type == "UINT") return differ(std::to_string(v.uintVal), expected.at("int"));
  if (type == "I8") return differ(std::to_string(v.llVal), expected.at("int"));
  if (type == "UI8") return differ(std::to_string(v.ullVal), expected.at("int"));
  if (type == "BOOL") return differ(std::to_string(v.boolVal), expected.at("int"));
  if (type == "ERROR") return differ(std::to_string(v.scode), expected.at("int"));
  if (type == "CY") return differ(std::to_string(v.cyVal.int64), expected.at("cy"));
  if (type == "R8") return differ(BitsFromDouble(v.dblVal), expected.at("bits"));
  if (type == "DATE") return differ(BitsFromDouble(v.date), expected.at("bits"));
  if (type == "R4") {
    std::uint32_t raw = 0;
    std::memcpy(&raw, &v.fltVal, sizeof raw);
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%08X", raw);
    const std::string problem = differ(buffer, expected.at("bits"));
    return problem.empty() ? problem : problem + " (" + std::to_string(v.fltVal) + ")";
  }
  if (type == "DECIMAL") {
    const DECIMAL& d = v.decVal;
    const std::string got = std::to_string(d.scale) + ":" + std::to_string(d.sign) + ":" + std::to_string(d.Hi32) +
                            ":" + std::to_string(d.Lo64);
    const std::string want = std::to_string(expected.at("scale").get<int>()) + ":" +
                             std::to_string(expected.at("sign").get<int>()) + ":" +
                             expected.at("hi32").get<std::string>() + ":" + expected.at("lo64").get<std::string>();
    return differ(got, want);
  }
  if (type == "BSTR") {
    if (expected.contains("null")) return v.bstrVal ? "non-null BSTR" : "";
    if (!v.bstrVal) return "null BSTR";
    return differ(HexFromUtf16(v.bstrVal, SysStringLen(v.bstrVal)), expected.at("utf16").get<std::string>());
  }
  return "unknown type " + type;
}

}  // namespace quillbox::testing
