// EchoObject and its class factory. Members (DISPIDs):
//   Item (0)      get/method(index) -> items[index]; put(index, value)
//   Echo (1)      method(first) -> first
//   Value (2)     get; put; putref (LastPut tells which)
//   LastPut (3)   get -> "put" or "putref"
//   Args (4)      method(...) -> text: positional VTs in order, "|", named "id=vt"
//   Add (5)       method(first): appends to items
//   Count (6)     get -> number of items
//   Fail (7)      method: DISP_E_EXCEPTION with E_FAIL, "EchoSource", "echo failed"
//   Swap (8)      method(first, second), both by reference: swaps them, -> 42
//   _NewEnum (-4) get/method -> IEnumVARIANT over a copy of items
// Parameter names: first (0), second (1), third (2).
#include "echo_object.h"

#include <atomic>
#include <span>
#include <cstdio>
#include <string>
#include <vector>

#include "quillbox/oleauto.h"

namespace quillbox::python_test {
namespace {

std::atomic<long> g_live{0};

bool SameName(const OLECHAR* a, const char* b) {
  for (; *a && *b; ++a, ++b) {
    char16_t x = *a, y = static_cast<char16_t>(*b);
    if (x >= u'A' && x <= u'Z') x = static_cast<char16_t>(x + 32);
    if (y >= u'A' && y <= u'Z') y = static_cast<char16_t>(y + 32);
    if (x != y) return false;
  }
  return *a == 0 && *b == 0;
}

struct Name { const char* text; DISPID id; };
constexpr Name kMembers[] = {{"Item", 0}, {"Echo", 1}, {"Value", 2}, {"LastPut", 3}, {"Args", 4},
                             {"Add", 5}, {"Count", 6}, {"Fail", 7}, {"Swap", 8}, {"_NewEnum", -4}};
constexpr Name kParams[] = {{"first", 0}, {"second", 1}, {"third", 2}};

// Shared reference counting for the two classes below.
template <class Interface>
class Counted : public Interface {
 public:
  STDMETHODIMP_(ULONG) AddRef() override { return ++refs_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
  }
  virtual ~Counted() = default;

 private:
  std::atomic<ULONG> refs_{1};
};

class Enum final : public Counted<IEnumVARIANT> {
 public:
  explicit Enum(const std::vector<VARIANT>& items, ULONG at = 0) : at_(at) {
    for (const VARIANT& v : items) {
      VARIANT copy;
      VariantInit(&copy);
      VariantCopy(&copy, &v);
      items_.push_back(copy);
    }
  }
  ~Enum() override {
    for (VARIANT& v : items_) VariantClear(&v);
  }
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IEnumVARIANT)) {
      AddRef();
      *ppv = static_cast<IEnumVARIANT*>(this);
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP Next(ULONG count, VARIANT* out, ULONG* fetched) override {
    ULONG n = 0;
    for (; n < count && at_ < items_.size(); ++n, ++at_) {
      VariantInit(&out[n]);
      VariantCopy(&out[n], &items_[at_]);
    }
    if (fetched) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    const ULONG left = static_cast<ULONG>(items_.size()) - at_;
    at_ += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    at_ = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(IEnumVARIANT** out) override {
    if (!out) return E_POINTER;
    *out = new Enum(items_, at_);
    return S_OK;
  }

 private:
  std::vector<VARIANT> items_;
  ULONG at_;
};

class EchoObject final : public Counted<IDispatch> {
 public:
  EchoObject() {
    VariantInit(&value_);
    ++g_live;
  }
  ~EchoObject() override {
    VariantClear(&value_);
    for (VARIANT& v : items_) VariantClear(&v);
    --g_live;
  }
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IDispatch)) {
      AddRef();
      *ppv = static_cast<IDispatch*>(this);
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return DISP_E_BADINDEX; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    HRESULT hr = S_OK;
    for (UINT i = 0; i < count; ++i) {
      ids[i] = DISPID_UNKNOWN;
      for (const Name& n : i == 0 ? std::span<const Name>(kMembers) : std::span<const Name>(kParams)) {
        if (SameName(names[i], n.text)) ids[i] = n.id;
      }
      if (ids[i] == DISPID_UNKNOWN) hr = DISP_E_UNKNOWNNAME;
    }
    return hr;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* p, VARIANT* result, EXCEPINFO* info,
                      UINT*) override {
    VARIANT scratch;
    VariantInit(&scratch);
    if (!result) result = &scratch;
    VariantInit(result);
    const UINT positional = p->cArgs - p->cNamedArgs;
    auto arg = [&](UINT k) -> VARIANT* {  // positional k, or named k
      for (UINT n = 0; n < p->cNamedArgs; ++n) {
        if (p->rgdispidNamedArgs[n] == static_cast<DISPID>(k)) return &p->rgvarg[n];
      }
      return k < positional ? &p->rgvarg[p->cArgs - 1 - k] : nullptr;
    };
    const bool put = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
    VARIANT* put_value = put && p->cNamedArgs && p->rgdispidNamedArgs[0] == DISPID_PROPERTYPUT ? &p->rgvarg[0]
                                                                                               : nullptr;
    // Methods answer only a method call, properties only get and put.
    const bool method_ids = id == 1 || id == 4 || id == 5 || id == 7 || id == 8;
    if (method_ids && !(flags & DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
    if ((id == 3 || id == 6) && !(flags & DISPATCH_PROPERTYGET)) return DISP_E_MEMBERNOTFOUND;
    switch (id) {
      case 0: {
        VARIANT* index = put ? (positional ? &p->rgvarg[p->cArgs - 1] : nullptr) : arg(0);
        if (!index) return DISP_E_BADPARAMCOUNT;
        VARIANT i;
        VariantInit(&i);
        if (FAILED(VariantChangeType(&i, index, 0, VT_I4)) || i.lVal < 0 ||
            static_cast<std::size_t>(i.lVal) >= items_.size()) {
          return DISP_E_BADINDEX;
        }
        if (put) {
          if (!put_value) return DISP_E_PARAMNOTOPTIONAL;
          return VariantCopyInd(&items_[static_cast<std::size_t>(i.lVal)], put_value);
        }
        return VariantCopy(result, &items_[static_cast<std::size_t>(i.lVal)]);
      }
      case 1:
        if (!arg(0)) return DISP_E_BADPARAMCOUNT;
        return VariantCopyInd(result, arg(0));
      case 2:
        if (put) {
          if (!put_value) return DISP_E_PARAMNOTOPTIONAL;
          last_put_ = (flags & DISPATCH_PROPERTYPUTREF) ? u"putref" : u"put";
          return VariantCopyInd(&value_, put_value);
        }
        return VariantCopy(result, &value_);
      case 3:
        result->vt = VT_BSTR;
        result->bstrVal = SysAllocString(last_put_.c_str());
        return S_OK;
      case 4:
        return Describe(p, result);
      case 5:
        if (!arg(0)) return DISP_E_BADPARAMCOUNT;
        items_.emplace_back();
        VariantInit(&items_.back());
        return VariantCopyInd(&items_.back(), arg(0));
      case 6:
        result->vt = VT_I4;
        result->lVal = static_cast<LONG>(items_.size());
        return S_OK;
      case 7:
        if (info) {
          *info = EXCEPINFO{};
          info->scode = E_FAIL;
          info->bstrSource = SysAllocString(u"EchoSource");
          info->bstrDescription = SysAllocString(u"echo failed");
        }
        return DISP_E_EXCEPTION;
      case 8: {
        VARIANT* a = arg(0);
        VARIANT* b = arg(1);
        if (!a || !b) return DISP_E_BADPARAMCOUNT;
        if (a->vt != (VT_BYREF | VT_VARIANT) || b->vt != (VT_BYREF | VT_VARIANT)) return DISP_E_TYPEMISMATCH;
        VARIANT t = *a->pvarVal;
        *a->pvarVal = *b->pvarVal;
        *b->pvarVal = t;
        result->vt = VT_I4;
        result->lVal = 42;
        return S_OK;
      }
      case DISPID_NEWENUM:
        result->vt = VT_UNKNOWN;
        result->punkVal = new Enum(items_);
        return S_OK;
      default:
        return DISP_E_MEMBERNOTFOUND;
    }
  }

 private:
  static std::u16string Text(const VARIANT& v) {
    char buffer[32];
    if (v.vt == VT_ERROR) {
      std::snprintf(buffer, sizeof buffer, "%u:%08X", v.vt, static_cast<unsigned>(v.scode));
    } else {
      std::snprintf(buffer, sizeof buffer, "%u", v.vt);
    }
    return std::u16string(buffer, buffer + std::char_traits<char>::length(buffer));
  }
  static HRESULT Describe(DISPPARAMS* p, VARIANT* result) {
    std::u16string text;
    const UINT positional = p->cArgs - p->cNamedArgs;
    for (UINT k = 0; k < positional; ++k) {
      if (k) text += u',';
      text += Text(p->rgvarg[p->cArgs - 1 - k]);
    }
    text += u'|';
    for (UINT n = 0; n < p->cNamedArgs; ++n) {
      if (n) text += u',';
      char id[16];
      std::snprintf(id, sizeof id, "%d=", static_cast<int>(p->rgdispidNamedArgs[n]));
      text += std::u16string(id, id + std::char_traits<char>::length(id));
      text += Text(p->rgvarg[n]);
    }
    result->vt = VT_BSTR;
    result->bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return S_OK;
  }

  VARIANT value_;
  std::u16string last_put_;
  std::vector<VARIANT> items_;
};

class Factory final : public IClassFactory {
 public:
  STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IClassFactory)) {
      *ppv = static_cast<IClassFactory*>(this);
      return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return 2; }
  STDMETHODIMP_(ULONG) Release() override { return 1; }
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (!ppv) return E_POINTER;
    *ppv = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    EchoObject* object = new EchoObject();
    const HRESULT hr = object->QueryInterface(riid, ppv);
    object->Release();
    return hr;
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

}  // namespace

IClassFactory* EchoFactory() {
  static Factory factory;
  return &factory;
}

long LiveEchoObjects() { return g_live.load(); }

}  // namespace quillbox::python_test
