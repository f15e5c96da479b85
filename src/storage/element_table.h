// ElementTable: a collection's entries, one per element of its kind, filed
// by name (in the platform's name order, case-blind) and by key, with the
// count. Entries leave only through Erase.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quillbox/com_ptr.h"
#include "storage/element_owner.h"

namespace quillbox::storage_tree {

struct ElementEntry {
  ComPtr<IUnknown> platform;  // the open IStorage or IStream, or none
  std::u16string name;
  bool open = false;          // a live element object exists
  bool removing = false;      // a Remove is under way: counts as not found
  LONG key = 0;
  OwnedElement* object = nullptr;  // the live element object, not counted
};

class ElementTable {
 public:
  ElementTable() = default;
  ElementTable(const ElementTable&) = delete;
  ElementTable& operator=(const ElementTable&) = delete;

  // The entry named name that is not being removed, or null.
  ElementEntry* Find(std::u16string_view name) const;
  // The entry named name even while it is being removed, or null.
  ElementEntry* FindAny(std::u16string_view name) const;
  ElementEntry* FindKey(LONG key) const;

  // A new entry with the next key, filed under both indexes; null when
  // memory runs out (the table is then unchanged).
  ElementEntry* Add(std::u16string_view name, ComPtr<IUnknown> platform) noexcept;
  // Files entry under new_name instead of its name. False when memory runs
  // out (the table is then unchanged). REQUIRES: no other entry has new_name.
  bool Rename(ElementEntry* entry, std::u16string_view new_name) noexcept;
  // Removes and destroys entry.
  void Erase(ElementEntry* entry);

  LONG count() const { return count_; }
  // The keys in name order.
  std::vector<LONG> Keys() const;
  // Every entry, in name order, for closing them all.
  template <class Visit>
  void ForEach(Visit visit) const {
    for (const auto& [name, entry] : by_name_) visit(*entry);
  }

 private:
  struct NameLess {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const;
  };

  std::map<std::u16string, std::unique_ptr<ElementEntry>, NameLess> by_name_;
  std::map<LONG, ElementEntry*> by_key_;
  LONG count_ = 0;
  LONG next_key_ = 1;
};

}  // namespace quillbox::storage_tree
