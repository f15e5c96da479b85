// The storage tree bound late, through IDispatch: properties by name, the
// default member Item, a property put, and for-each through _NewEnum.
#include <gtest/gtest.h>

#include "tree_support.h"

namespace quillbox::testing {
namespace {

DISPID IdOf(const ComPtr<IDispatch>& object, const char16_t* name) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  DISPID id = DISPID_UNKNOWN;
  EXPECT_EQ(object->GetIDsOfNames(IID_NULL, names, 1, 0, &id), S_OK);
  return id;
}

HRESULT Get(const ComPtr<IDispatch>& object, DISPID id, VARIANT* args, UINT count, VARIANT* result,
            EXCEPINFO* exception = nullptr) {
  DISPPARAMS params{args, nullptr, count, 0};
  return object->Invoke(id, IID_NULL, 0, DISPATCH_PROPERTYGET | DISPATCH_METHOD, &params, result, exception,
                        nullptr);
}

class LateBindingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    document_ = CreateDocument(dir_ / "a.doc");
    for (const char16_t* name : {u"b", u"a"}) ASSERT_TRUE(AddStorage(RootOf(document_), name));
    VARIANT root;
    VariantInit(&root);
    ASSERT_EQ(Get(document_.as<IDispatch>(), IdOf(document_.as<IDispatch>(), u"RootStorage"), nullptr, 0, &root),
              S_OK);
    ASSERT_EQ(root.vt, VT_DISPATCH);
    root_ = ComPtr<IDispatch>(root.pdispVal);
    VariantClear(&root);
    VARIANT storages;
    VariantInit(&storages);
    ASSERT_EQ(Get(root_, IdOf(root_, u"storages"), nullptr, 0, &storages), S_OK);
    ASSERT_EQ(storages.vt, VT_DISPATCH);
    storages_ = ComPtr<IDispatch>(storages.pdispVal);
    VariantClear(&storages);
  }

  ScratchDir dir_;
  ComPtr<_CompoundDocument> document_;
  ComPtr<IDispatch> root_;
  ComPtr<IDispatch> storages_;
};

TEST_F(LateBindingTest, CountIsReadByName) {
  VARIANT count;
  VariantInit(&count);
  ASSERT_EQ(Get(storages_, IdOf(storages_, u"Count"), nullptr, 0, &count), S_OK);
  EXPECT_EQ(count.vt, VT_I4);
  EXPECT_EQ(count.lVal, 2);
}

TEST_F(LateBindingTest, DefaultMemberIsItem) {
  VARIANT name;
  VariantInit(&name);
  name.vt = VT_BSTR;
  name.bstrVal = SysAllocString(u"a");
  VARIANT item;
  VariantInit(&item);
  ASSERT_EQ(Get(storages_, DISPID_VALUE, &name, 1, &item), S_OK);
  ASSERT_EQ(item.vt, VT_DISPATCH);
  ComPtr<_Storage> storage;
  ASSERT_EQ(item.pdispVal->QueryInterface(IID__Storage, storage.put_void()), S_OK);
  EXPECT_EQ(NameOf(storage), u"a");
  VariantClear(&item);
  VariantClear(&name);
}

TEST_F(LateBindingTest, FailureCarriesTheMessage) {
  VARIANT name;
  VariantInit(&name);
  name.vt = VT_BSTR;
  name.bstrVal = SysAllocString(u"missing");
  VARIANT item;
  VariantInit(&item);
  EXCEPINFO exception{};
  EXPECT_EQ(Get(storages_, DISPID_VALUE, &name, 1, &item, &exception), DISP_E_EXCEPTION);
  EXPECT_EQ(exception.scode, STG_E_FILENOTFOUND);
  EXPECT_EQ(std::u16string(exception.bstrDescription), u"Storage not found");
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrHelpFile);
  VariantClear(&name);
}

TEST_F(LateBindingTest, NamePutRenamesTheElement) {
  ComPtr<_Storage> child;
  ASSERT_EQ(StoragesOf(RootOf(document_))->get_Item(Bstr(u"a").get(), child.put()), S_OK);
  ComPtr<IDispatch> late = child.as<IDispatch>();
  VARIANT value;
  VariantInit(&value);
  value.vt = VT_BSTR;
  value.bstrVal = SysAllocString(u"renamed");
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{&value, &put_id, 1, 1};
  ASSERT_EQ(late->Invoke(IdOf(late, u"Name"), IID_NULL, 0, DISPATCH_PROPERTYPUT, &params, nullptr, nullptr, nullptr),
            S_OK);
  EXPECT_EQ(NameOf(child), u"renamed");
  VariantClear(&value);
}

TEST_F(LateBindingTest, ForEachThroughNewEnumWalksTheElements) {
  VARIANT enumerator;
  VariantInit(&enumerator);
  ASSERT_EQ(Get(storages_, DISPID_NEWENUM, nullptr, 0, &enumerator), S_OK);
  ASSERT_TRUE(enumerator.vt == VT_UNKNOWN || enumerator.vt == VT_DISPATCH);
  ComPtr<IEnumVARIANT> items;
  ASSERT_EQ(enumerator.punkVal->QueryInterface(IID_IEnumVARIANT, items.put_void()), S_OK);
  VariantClear(&enumerator);
  std::vector<std::u16string> names;
  VARIANT item;
  VariantInit(&item);
  while (items->Next(1, &item, nullptr) == S_OK) {
    ComPtr<IDispatch> element(item.pdispVal);
    VARIANT name;
    VariantInit(&name);
    EXPECT_EQ(Get(element, IdOf(element, u"Name"), nullptr, 0, &name), S_OK);
    names.emplace_back(name.bstrVal);
    VariantClear(&name);
    VariantClear(&item);
  }
  EXPECT_EQ(names, (std::vector<std::u16string>{u"a", u"b"}));
}

}  // namespace
}  // namespace quillbox::testing
