// What the property-set fuzzer does with one input, shared with the test
// that replays its corpus: the bytes become the streams of a summary set, a
// document summary set (with its user-defined section) and a non-simple
// set's CONTENTS in a compound file in memory; every set is read through
// (Stat, Enum, ReadMultiple of every id, ReadPropertyNames), then a copy
// gets a pass of changes (writes of every value read, new values and names,
// deletions) and is read through again. Every loop has a bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cfb_walk.h"
#include "quillbox/platform.h"

namespace quillbox::fuzz {

inline constexpr int kMaxPropertiesPerSet = 4096;
inline constexpr int kMaxSets = 16;
// A non-simple set's storage: the set with this FMTID.
inline constexpr FMTID kFuzzNonSimpleFmtid = {0x6B1F3A20, 0x5D21, 0x4C7A, {0x9E, 0x01, 0x42, 0x7A, 0x11, 0xC3, 0x88, 0x5F}};

// The set of ids and names one read found, for the write pass.
struct SetContent {
  std::vector<PROPID> ids;
};

inline void ReadSet(IPropertyStorage* set, SetContent* content) {
  STATPROPSETSTG stat{};
  set->Stat(&stat);
  ComPtr<IEnumSTATPROPSTG> props;
  std::vector<PROPID> ids = {0, 1, 2, 0x80000000, 0x80000003};
  if (SUCCEEDED(set->Enum(props.put()))) {
    for (int i = 0; i < kMaxPropertiesPerSet; ++i) {
      STATPROPSTG prop{};
      ULONG fetched = 0;
      if (props->Next(1, &prop, &fetched) != S_OK || fetched != 1) break;
      ids.push_back(prop.propid);
      if (content) content->ids.push_back(prop.propid);
      if (prop.lpwstrName) {
        // Read by name too: the dictionary's lookup.
        PROPSPEC spec{};
        spec.ulKind = PRSPEC_LPWSTR;
        spec.lpwstr = prop.lpwstrName;
        PROPVARIANT value;
        PropVariantInit(&value);
        if (SUCCEEDED(set->ReadMultiple(1, &spec, &value))) PropVariantClear(&value);
        CoTaskMemFree(prop.lpwstrName);
      }
    }
    props = nullptr;
  }
  std::vector<PROPSPEC> specs(ids.size());
  for (size_t i = 0; i < ids.size(); ++i) {
    specs[i].ulKind = PRSPEC_PROPID;
    specs[i].propid = ids[i];
  }
  std::vector<PROPVARIANT> values(ids.size());
  if (SUCCEEDED(set->ReadMultiple(static_cast<ULONG>(specs.size()), specs.data(), values.data()))) {
    FreePropVariantArray(static_cast<ULONG>(values.size()), values.data());
  }
  std::vector<LPOLESTR> names(ids.size(), nullptr);
  if (SUCCEEDED(set->ReadPropertyNames(static_cast<ULONG>(ids.size()), ids.data(), names.data()))) {
    for (LPOLESTR name : names) CoTaskMemFree(name);
  }
}

// The compound file the input is put into: the same bytes as three sets.
inline ComPtr<IStorage> StorageWithSets(const std::uint8_t* data, std::size_t size) {
  constexpr DWORD kCreate = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  ComPtr<ILockBytes> memory;
  ComPtr<IStorage> root;
  if (FAILED(CreateILockBytesOnHGlobal(nullptr, TRUE, memory.put())) ||
      FAILED(StgCreateDocfileOnILockBytes(memory.get(), kCreate, 0, root.put()))) {
    return nullptr;
  }
  auto put = [&](IStorage* where, const char16_t* name) {
    ComPtr<IStream> stream;
    if (SUCCEEDED(where->CreateStream(name, kCreate, 0, 0, stream.put())) && size) {
      stream->Write(data, static_cast<ULONG>(size), nullptr);
    }
  };
  put(root.get(), u"\005SummaryInformation");
  put(root.get(), u"\005DocumentSummaryInformation");
  OLECHAR name[32] = {};
  ComPtr<IStorage> nonsimple;
  if (SUCCEEDED(FmtIdToPropStgName(&kFuzzNonSimpleFmtid, name)) &&
      SUCCEEDED(root->CreateStorage(name, kCreate, 0, 0, nonsimple.put()))) {
    put(nonsimple.get(), u"CONTENTS");
  }
  return root;
}

// Every set the storage lists, and the user-defined one, read through.
inline void ReadAllSets(IStorage* root, DWORD mode, std::vector<std::pair<FMTID, SetContent>>* found) {
  ComPtr<IPropertySetStorage> sets;
  if (FAILED(root->QueryInterface(IID_IPropertySetStorage, sets.put_void()))) return;
  std::vector<FMTID> fmtids = {FMTID_UserDefinedProperties};
  ComPtr<IEnumSTATPROPSETSTG> listing;
  if (SUCCEEDED(sets->Enum(listing.put()))) {
    for (int i = 0; i < kMaxSets; ++i) {
      STATPROPSETSTG stat{};
      ULONG fetched = 0;
      if (listing->Next(1, &stat, &fetched) != S_OK || fetched != 1) break;
      fmtids.push_back(stat.fmtid);
    }
  }
  for (const FMTID& fmtid : fmtids) {
    ComPtr<IPropertyStorage> set;
    if (FAILED(sets->Open(fmtid, mode, set.put()))) continue;
    SetContent content;
    ReadSet(set.get(), found ? &content : nullptr);
    if (found) found->emplace_back(fmtid, std::move(content));
  }
}

// Changes to each set: every value read written again under a new id (the
// encoder meets what the decoder made), a text and a vector added with
// names, one property and one name removed.
inline void ChangeSet(IPropertyStorage* set, const SetContent& content) {
  size_t copied = 0;
  for (PROPID id : content.ids) {
    if (copied++ >= 64) break;
    PROPSPEC from{};
    from.ulKind = PRSPEC_PROPID;
    from.propid = id;
    PROPVARIANT value;
    PropVariantInit(&value);
    if (FAILED(set->ReadMultiple(1, &from, &value))) continue;
    PROPSPEC to{};
    to.ulKind = PRSPEC_PROPID;
    to.propid = 0x1000 + static_cast<PROPID>(copied);
    set->WriteMultiple(1, &to, &value, PID_FIRST_USABLE);
    PropVariantClear(&value);
  }
  PROPSPEC named[2] = {};
  named[0].ulKind = PRSPEC_LPWSTR;
  named[0].lpwstr = const_cast<LPOLESTR>(u"FuzzText");
  named[1].ulKind = PRSPEC_LPWSTR;
  named[1].lpwstr = const_cast<LPOLESTR>(u"FuzzVector");
  PROPVARIANT values[2] = {};
  values[0].vt = VT_LPWSTR;
  values[0].pwszVal = const_cast<LPWSTR>(u"written by the fuzzer \u00e9");
  LONG numbers[3] = {1, -2, 3};
  values[1].vt = VT_VECTOR | VT_I4;
  values[1].cal.cElems = 3;
  values[1].cal.pElems = numbers;
  set->WriteMultiple(2, named, values, PID_FIRST_USABLE);
  PROPID label_id = 0x2000;
  LPOLESTR label = const_cast<LPOLESTR>(u"FuzzLabel");
  set->WritePropertyNames(1, &label_id, &label);
  if (!content.ids.empty()) {
    PROPSPEC gone{};
    gone.ulKind = PRSPEC_PROPID;
    gone.propid = content.ids.front();
    set->DeleteMultiple(1, &gone);
    set->DeletePropertyNames(1, &gone.propid);
  }
  set->Commit(STGC_DEFAULT);
}

inline void WritePropertySets(const std::uint8_t* data, std::size_t size) {
  constexpr DWORD kRw = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
  ComPtr<IStorage> root = StorageWithSets(data, size);
  if (!root) return;
  std::vector<std::pair<FMTID, SetContent>> found;
  ReadAllSets(root.get(), STGM_READ | STGM_SHARE_EXCLUSIVE, &found);
  ComPtr<IPropertySetStorage> sets;
  if (FAILED(root->QueryInterface(IID_IPropertySetStorage, sets.put_void()))) return;
  for (const auto& [fmtid, content] : found) {
    ComPtr<IPropertyStorage> set;
    if (SUCCEEDED(sets->Open(fmtid, kRw, set.put()))) ChangeSet(set.get(), content);
  }
  ReadAllSets(root.get(), STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr);
}

inline void RunOnePropertySet(const std::uint8_t* data, std::size_t size) {
  if (ComPtr<IStorage> root = StorageWithSets(data, size)) {
    ReadAllSets(root.get(), STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr);
  }
  WritePropertySets(data, size);
}

}  // namespace quillbox::fuzz
