// The class registry: classes a client registers at run time, unknown
// classes, and ProgID lookups through the registry.
#include <gtest/gtest.h>

#include <string>

#include "platform/com/com_object.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::com::ComObject;
using quillbox::com::MakeObject;

namespace {

constexpr CLSID kClientClass = {0x11111111, 0x2222, 0x3333, {0x44, 0x44, 1, 2, 3, 4, 5, 6}};
constexpr CLSID kUnknownClass = {0xDEADBEEF, 0x2222, 0x3333, {0x44, 0x44, 1, 2, 3, 4, 5, 7}};

// A client's own object and its class factory.
class Widget final : public ComObject<Widget, ISupportErrorInfo> {
 public:
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }
};

class WidgetFactory final : public ComObject<WidgetFactory, IClassFactory> {
 public:
  int created = 0;
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID riid, void** ppv) override {
    if (outer) return CLASS_E_NOAGGREGATION;
    ++created;
    return MakeObject<Widget>()->QueryInterface(riid, ppv);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
};

class ClassRegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (cookie_) CoRevokeClassObject(cookie_);
  }
  void RegisterWidget(DWORD flags = REGCLS_MULTIPLEUSE) {
    ASSERT_EQ(CoRegisterClassObject(kClientClass, factory_->GetUnknown(), CLSCTX_INPROC_SERVER,
                                    flags, &cookie_),
              S_OK);
  }
  ComPtr<WidgetFactory> factory_ = MakeObject<WidgetFactory>();
  DWORD cookie_ = 0;
};

TEST_F(ClassRegistryTest, CoCreateInstanceMakesAClientRegisteredClass) {
  RegisterWidget();
  ComPtr<ISupportErrorInfo> widget;
  ASSERT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(widget.put())),
            S_OK);
  EXPECT_TRUE(widget);
  EXPECT_EQ(factory_->created, 1);
}

TEST_F(ClassRegistryTest, CoGetClassObjectGivesTheRegisteredFactory) {
  RegisterWidget();
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(CoGetClassObject(kClientClass, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(factory.put())),
            S_OK);
  EXPECT_EQ(factory.get(), static_cast<IClassFactory*>(factory_.get()));
}

TEST_F(ClassRegistryTest, UnknownClassIsNotRegistered) {
  ComPtr<IUnknown> object;
  void* raw = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(CoCreateInstance(kUnknownClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &raw),
            REGDB_E_CLASSNOTREG);
  EXPECT_EQ(raw, nullptr);
}

TEST_F(ClassRegistryTest, RevokedClassIsNoLongerFound) {
  RegisterWidget();
  ASSERT_EQ(CoRevokeClassObject(cookie_), S_OK);
  cookie_ = 0;
  ComPtr<IUnknown> object;
  EXPECT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object.put())),
            REGDB_E_CLASSNOTREG);
}

TEST_F(ClassRegistryTest, RevokingAnUnknownCookieIsRefused) {
  EXPECT_EQ(CoRevokeClassObject(0xFFFFFF), E_INVALIDARG);
}

TEST_F(ClassRegistryTest, SingleUseRegistrationServesOneRequest) {
  RegisterWidget(REGCLS_SINGLEUSE);
  ComPtr<IUnknown> first, second;
  EXPECT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(first.put())), S_OK);
  EXPECT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(second.put())),
            REGDB_E_CLASSNOTREG);
}

TEST_F(ClassRegistryTest, RegistrationKeepsTheFactoryAliveUntilRevoked) {
  RegisterWidget();
  IClassFactory* raw = factory_.get();
  factory_.reset();
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(CoGetClassObject(kClientClass, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(factory.put())), S_OK);
  EXPECT_EQ(factory.get(), raw);
}

TEST_F(ClassRegistryTest, LocalServerOnlyContextFindsNothing) {
  RegisterWidget();
  ComPtr<IUnknown> object;
  EXPECT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(object.put())),
            REGDB_E_CLASSNOTREG);
}

TEST_F(ClassRegistryTest, AggregationRefusalPassesThrough) {
  RegisterWidget();
  ComPtr<IUnknown> object;
  EXPECT_EQ(CoCreateInstance(kClientClass, factory_->GetUnknown(), CLSCTX_INPROC_SERVER,
                             IID_PPV_ARGS(object.put())),
            CLASS_E_NOAGGREGATION);
}

TEST_F(ClassRegistryTest, MissingArgumentsAreRefused) {
  EXPECT_EQ(CoCreateInstance(kClientClass, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, nullptr),
            E_INVALIDARG);
  DWORD cookie;
  EXPECT_EQ(CoRegisterClassObject(kClientClass, nullptr, CLSCTX_INPROC_SERVER, 0, &cookie), E_INVALIDARG);
  EXPECT_EQ(CoRegisterClassObject(kClientClass, factory_->GetUnknown(), CLSCTX_INPROC_SERVER, 0, nullptr),
            E_INVALIDARG);
}

TEST(ProgIdLookup, ProgIdAndClsidResolveThroughTheRegistry) {
  HKEY key;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, u"Test.Widget.1\\CLSID", 0, nullptr, 0, KEY_WRITE,
                            nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const std::u16string clsid_text = u"{11111111-2222-3333-4444-010203040506}";
  RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(clsid_text.c_str()),
                 static_cast<DWORD>((clsid_text.size() + 1) * 2));
  RegCloseKey(key);
  ASSERT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, u"CLSID\\{11111111-2222-3333-4444-010203040506}\\ProgID",
                            0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  const std::u16string progid = u"Test.Widget.1";
  RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(progid.c_str()),
                 static_cast<DWORD>((progid.size() + 1) * 2));
  RegCloseKey(key);

  CLSID clsid;
  ASSERT_EQ(CLSIDFromProgID(u"Test.Widget.1", &clsid), S_OK);
  EXPECT_EQ(clsid, kClientClass);
  ASSERT_EQ(CLSIDFromString(u"test.widget.1", &clsid), S_OK) << "ProgIDs compare without case";
  EXPECT_EQ(clsid, kClientClass);
  LPOLESTR text = nullptr;
  ASSERT_EQ(ProgIDFromCLSID(kClientClass, &text), S_OK);
  EXPECT_EQ(std::u16string(text), progid);
  CoTaskMemFree(text);
}

TEST(ProgIdLookup, UnregisteredNamesAndClassesAreRefused) {
  CLSID clsid;
  EXPECT_EQ(CLSIDFromProgID(u"Nobody.Home.1", &clsid), CO_E_CLASSSTRING);
  LPOLESTR text = nullptr;
  EXPECT_EQ(ProgIDFromCLSID(kUnknownClass, &text), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(text, nullptr);
}

}  // namespace

namespace {

constexpr CLSID kServedClass = {0x5E5E5E5E, 0x1234, 0x5678, {0x9A, 0xBC, 0xDE, 0xF0, 1, 2, 3, 4}};

void SetInprocServer(REFCLSID clsid, const std::string& path) {
  LPOLESTR text = nullptr;
  ASSERT_EQ(StringFromCLSID(clsid, &text), S_OK);
  const std::string key_path = "CLSID\\" + std::string(text, text + 38) + "\\InprocServer32";
  CoTaskMemFree(text);
  HKEY key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, key_path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                            &key, nullptr),
            ERROR_SUCCESS);
  ASSERT_EQ(RegSetValueExA(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                           static_cast<DWORD>(path.size() + 1)),
            ERROR_SUCCESS);
  RegCloseKey(key);
}

TEST(InprocServers, RegisteredSharedObjectIsLoadedAndAsked) {
  SetInprocServer(kServedClass, QUILLBOX_TEST_INPROC_SERVER);
  ComPtr<ISupportErrorInfo> object;
  ASSERT_EQ(CoCreateInstance(kServedClass, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object.put())),
            S_OK);
  EXPECT_EQ(object->InterfaceSupportsErrorInfo(IID_IUnknown), S_FALSE);
}

TEST(InprocServers, MissingSharedObjectGivesDllNotFound) {
  constexpr CLSID kGone = {0x5E5E5E5F, 0x1234, 0x5678, {0x9A, 0xBC, 0xDE, 0xF0, 1, 2, 3, 5}};
  SetInprocServer(kGone, "/nonexistent/libgone.so");
  ComPtr<IUnknown> object;
  EXPECT_EQ(CoCreateInstance(kGone, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(object.put())),
            CO_E_DLLNOTFOUND);
}

}  // namespace
