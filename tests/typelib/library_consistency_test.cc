// The library's data holds together: every name a type refers to exists,
// DISPIDs are unique but for a property's get/put pair, the collection
// conventions hold, parameters are declared as IDL requires.
#include <map>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "typelib/type_library.h"

namespace quillbox::typelib {
namespace {

std::string Utf8(std::u16string_view text) { return std::string(text.begin(), text.end()); }

std::string Where(const InterfaceDesc& i, const MemberDesc& m) { return Utf8(i.name) + "." + Utf8(m.name); }

bool IsProperty(MemberKind kind) { return kind != MemberKind::kMethod; }

// Every type of a member: its parameters' and its result.
template <class F>
void ForEachType(F f) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      for (const ParamDesc& p : m.params) f(i, m, p.type);
      f(i, m, m.result);
    }
  }
}

TEST(LibraryData, EveryInterfaceATypeNamesExists) {
  ForEachType([](const InterfaceDesc& i, const MemberDesc& m, const TypeRef& t) {
    if (t.vt == VT_DISPATCH && t.name) {
      EXPECT_NE(FindInterface(t.name), nullptr) << Where(i, m) << " names " << Utf8(t.name);
    }
  });
}

TEST(LibraryData, EveryEnumerationATypeNamesExists) {
  ForEachType([](const InterfaceDesc& i, const MemberDesc& m, const TypeRef& t) {
    if (t.vt == VT_USERDEFINED) {
      ASSERT_NE(t.name, nullptr) << Where(i, m);
      EXPECT_NE(FindEnum(t.name), nullptr) << Where(i, m) << " names " << Utf8(t.name);
    }
  });
}

TEST(LibraryData, EveryTypeIsAnAutomationType) {
  const std::set<VARTYPE> allowed = {VT_VOID, VT_BSTR, VT_BOOL, VT_UI1, VT_I2, VT_I4, VT_R4, VT_R8, VT_CY,
                                     VT_DATE, VT_DECIMAL, VT_VARIANT, VT_UNKNOWN, VT_DISPATCH, VT_USERDEFINED};
  ForEachType([&](const InterfaceDesc& i, const MemberDesc& m, const TypeRef& t) {
    EXPECT_TRUE(allowed.count(t.vt)) << Where(i, m) << " has VARTYPE " << t.vt;
  });
}

TEST(LibraryData, EveryCoclassInterfaceExists) {
  for (const CoclassDesc& c : QuillboxLibrary().coclasses) {
    EXPECT_NE(FindInterface(c.default_interface), nullptr) << Utf8(c.name);
    if (c.source_interface) {
      EXPECT_NE(FindInterface(c.source_interface), nullptr) << Utf8(c.name);
    }
  }
}

TEST(LibraryData, InterfaceNamesAndIidsAreUnique) {
  std::set<std::u16string_view> names;
  std::set<GUID> iids;
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    EXPECT_TRUE(names.insert(i.name).second) << Utf8(i.name);
    EXPECT_TRUE(iids.insert(i.iid).second) << Utf8(i.name);
  }
  for (const CoclassDesc& c : QuillboxLibrary().coclasses) {
    EXPECT_TRUE(iids.insert(c.clsid).second) << Utf8(c.name) << " reuses an identifier";
  }
}

TEST(LibraryData, DispidsAreUniqueButForOnePropertysAccessors) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    std::map<DISPID, const MemberDesc*> first_by_id;
    std::set<std::pair<DISPID, MemberKind>> seen;
    for (const MemberDesc& m : i.members) {
      EXPECT_TRUE(seen.insert({m.id, m.kind}).second) << Where(i, m) << " repeats its DISPID and kind";
      auto [it, inserted] = first_by_id.insert({m.id, &m});
      if (inserted) continue;
      const MemberDesc& other = *it->second;
      EXPECT_TRUE(IsProperty(m.kind) && IsProperty(other.kind)) << Where(i, m) << " shares DISPID " << m.id;
      EXPECT_EQ(std::u16string_view(m.name), std::u16string_view(other.name)) << Where(i, m);
    }
  }
}

TEST(LibraryData, NewEnumIsAHiddenGetAtMinusFour) {
  int count = 0;
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      const bool named = std::u16string_view(m.name) == u"_NewEnum";
      if (!named && m.id != DISPID_NEWENUM) continue;
      ++count;
      EXPECT_TRUE(named) << Where(i, m);
      EXPECT_EQ(m.id, DISPID_NEWENUM) << Where(i, m);
      EXPECT_EQ(m.kind, MemberKind::kPropertyGet) << Where(i, m);
      EXPECT_TRUE(m.hidden) << Where(i, m);
      EXPECT_EQ(m.result.vt, VT_UNKNOWN) << Where(i, m);
      EXPECT_TRUE(m.params.empty()) << Where(i, m);
    }
  }
  // Storages, Streams, PropertySets, PropertySet and UserDefined.
  EXPECT_EQ(count, 5);
}

TEST(LibraryData, OnlyNewEnumIsHidden) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      if (m.hidden) {
        EXPECT_EQ(std::u16string_view(m.name), u"_NewEnum") << Where(i, m);
      }
    }
  }
}

TEST(LibraryData, TheDefaultMemberIsEachCollectionsItem) {
  std::set<std::u16string_view> with_default;
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      if (m.id != DISPID_VALUE) continue;
      EXPECT_EQ(std::u16string_view(m.name), u"Item") << Where(i, m);
      with_default.insert(i.name);
    }
  }
  const std::set<std::u16string_view> expected = {u"_Storages", u"_Streams", u"_PropertySets", u"_PropertySet"};
  EXPECT_EQ(with_default, expected);
}

TEST(LibraryData, PutsTakeTheValueLastAndReturnNothing) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      if (m.kind != MemberKind::kPropertyPut && m.kind != MemberKind::kPropertyPutRef) continue;
      EXPECT_FALSE(m.params.empty()) << Where(i, m);
      EXPECT_EQ(m.result.vt, VT_VOID) << Where(i, m);
      if (m.kind == MemberKind::kPropertyPutRef && !m.params.empty()) {
        const VARTYPE vt = m.params.back().type.vt;
        EXPECT_TRUE(vt == VT_DISPATCH || vt == VT_UNKNOWN) << Where(i, m) << " puts by reference a non-object";
      }
    }
  }
}

TEST(LibraryData, GetsReturnAValue) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      if (m.kind == MemberKind::kPropertyGet) {
        EXPECT_NE(m.result.vt, VT_VOID) << Where(i, m);
      }
    }
  }
}

TEST(LibraryData, OptionalParametersComeLast) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      bool optional_seen = false;
      for (const ParamDesc& p : m.params) {
        if (optional_seen) {
          EXPECT_TRUE(p.optional) << Where(i, m) << "(" << Utf8(p.name) << ")";
        }
        optional_seen = optional_seen || p.optional;
      }
    }
  }
}

TEST(LibraryData, OnlyOptionalParametersHaveDefaultsAndOnlyVariantsGoWithout) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      for (const ParamDesc& p : m.params) {
        const bool has_default = p.default_value.kind != DefaultValue::Kind::kNone;
        if (!p.optional) {
          EXPECT_FALSE(has_default) << Where(i, m) << "(" << Utf8(p.name) << ")";
        }
        if (p.optional && !has_default) {
          EXPECT_EQ(p.type.vt, VT_VARIANT) << Where(i, m) << "(" << Utf8(p.name) << ")";
        }
      }
    }
  }
}

TEST(LibraryData, EnumerationDefaultsNameAConstantOfTheirEnumeration) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      for (const ParamDesc& p : m.params) {
        if (!p.default_value.constant) continue;
        ASSERT_EQ(p.type.vt, VT_USERDEFINED) << Where(i, m);
        const EnumDesc* e = FindEnum(p.type.name);
        ASSERT_NE(e, nullptr) << Where(i, m);
        bool found = false;
        for (const EnumConstant& c : e->constants) {
          if (std::u16string_view(c.name) == p.default_value.constant) {
            found = true;
            EXPECT_EQ(c.value, p.default_value.integer) << Where(i, m);
          }
        }
        EXPECT_TRUE(found) << Where(i, m) << " defaults to " << Utf8(p.default_value.constant);
      }
    }
  }
}

TEST(LibraryData, ParameterNamesAreUniqueWithinAMember) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    for (const MemberDesc& m : i.members) {
      std::set<std::u16string_view> names;
      for (const ParamDesc& p : m.params) EXPECT_TRUE(names.insert(p.name).second) << Where(i, m);
      if (m.result.vt != VT_VOID) {
        EXPECT_TRUE(names.insert(ResultName(m)).second) << Where(i, m);
      }
    }
  }
}

TEST(LibraryLookups, FindInterfaceByNameAndByIidAgree) {
  for (const InterfaceDesc& i : QuillboxLibrary().interfaces) {
    EXPECT_EQ(FindInterface(i.name), &i);
    EXPECT_EQ(FindInterface(i.iid), &i);
  }
}

TEST(LibraryLookups, UnknownNamesAndIidsGiveNull) {
  EXPECT_EQ(FindInterface(u"_Nothing"), nullptr);
  EXPECT_EQ(FindInterface(u"_storage"), nullptr);  // names are exact
  EXPECT_EQ(FindInterface(IID_IDispatch), nullptr);
  EXPECT_EQ(FindEnum(u"ssNothingEnum"), nullptr);
  EXPECT_EQ(FindCoclass(u"Storage"), nullptr);  // the coclass is spelled "storage"
  EXPECT_EQ(FindInterface(static_cast<const char16_t*>(nullptr)), nullptr);
}

TEST(LibraryLookups, MemberHelpNamesTheMemberWhenTheDataGivesNone) {
  const InterfaceDesc* storage = FindInterface(u"_Storage");
  ASSERT_NE(storage, nullptr);
  ASSERT_FALSE(storage->members.empty());
  const MemberDesc& name_get = storage->members[0];
  ASSERT_EQ(name_get.help, nullptr);
  EXPECT_EQ(MemberHelp(name_get), u"property Name");
  const MemberDesc& load = storage->members[8];
  ASSERT_EQ(std::u16string_view(load.name), u"LoadEmbeddedObject");
  EXPECT_EQ(MemberHelp(load), u"method LoadEmbeddedObject");
}

}  // namespace
}  // namespace quillbox::typelib
