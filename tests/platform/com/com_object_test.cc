// The object base: reference counting, QueryInterface from the interface
// list and its bases, and the module lock that library objects hold.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "platform/com/com_object.h"
#include "platform/com/library_object.h"
#include "platform/com/module_lock.h"
#include "quillbox/platform.h"

using quillbox::ComPtr;
using quillbox::com::ComObject;
using quillbox::com::LibraryObject;
using quillbox::com::MakeObject;
using quillbox::com::ModuleLockCount;

namespace {

int g_destroyed = 0;

class Plain final : public ComObject<Plain, IClassFactory, ISupportErrorInfo> {
 public:
  STDMETHODIMP CreateInstance(IUnknown*, REFIID, void**) override { return E_NOTIMPL; }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }
  ~Plain() { ++g_destroyed; }
};

class Counted final : public LibraryObject<Counted, ISupportErrorInfo> {
 public:
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID) override { return S_OK; }
};

TEST(ComObject, FirstReferenceIsOneAndLastReleaseDestroys) {
  g_destroyed = 0;
  ComPtr<Plain> p = MakeObject<Plain>();
  EXPECT_EQ(p->AddRef(), 2u);
  EXPECT_EQ(p->Release(), 1u);
  p.reset();
  EXPECT_EQ(g_destroyed, 1);
}

TEST(ComObject, QueryInterfaceFindsListedInterfacesAndTheirBases) {
  ComPtr<Plain> p = MakeObject<Plain>();
  EXPECT_TRUE(p.as<IClassFactory>());
  EXPECT_TRUE(p.as<ISupportErrorInfo>());
  EXPECT_TRUE(p.as<IUnknown>());
  EXPECT_FALSE(p.as<IErrorInfo>());
}

TEST(ComObject, IUnknownIsTheSameFromEveryInterface) {
  ComPtr<Plain> p = MakeObject<Plain>();
  auto a = p.as<IClassFactory>().as<IUnknown>();
  auto b = p.as<ISupportErrorInfo>().as<IUnknown>();
  EXPECT_EQ(a.get(), b.get());
}

TEST(ComObject, UnknownInterfaceGivesNoInterfaceAndNull) {
  ComPtr<Plain> p = MakeObject<Plain>();
  void* out = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(p->QueryInterface(IID_IErrorInfo, &out), E_NOINTERFACE);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(p->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(ComObject, SuccessfulQueryInterfaceCountsAReference) {
  ComPtr<Plain> p = MakeObject<Plain>();
  IClassFactory* f = nullptr;
  ASSERT_EQ(p->QueryInterface(IID_PPV_ARGS(&f)), S_OK);
  EXPECT_EQ(f->Release(), 1u);
}

TEST(ModuleLock, LibraryObjectsHoldTheModuleLockWhileAlive) {
  const LONG before = ModuleLockCount();
  ASSERT_EQ(DllCanUnloadNow(), S_OK);
  {
    ComPtr<Counted> a = MakeObject<Counted>();
    ComPtr<Counted> b = MakeObject<Counted>();
    EXPECT_EQ(ModuleLockCount(), before + 2);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
  }
  EXPECT_EQ(ModuleLockCount(), before);
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ModuleLock, PlatformObjectsDoNotHoldTheModuleLock) {
  ComPtr<Plain> p = MakeObject<Plain>();
  EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(ModuleLock, CountChangesAtomicallyAcrossThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 10000; ++i) MakeObject<Counted>();
    });
  }
  for (auto& t : threads) t.join();
  EXPECT_EQ(ModuleLockCount(), 0);
}

}  // namespace
