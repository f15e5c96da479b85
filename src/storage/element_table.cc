// ElementTable: entries by name and by key.
#include "storage/element_table.h"

#include <new>

#include "platform/storage/cfb_format.h"

namespace quillbox::storage_tree {

// The platform's own order and equality of element names.
bool ElementTable::NameLess::operator()(std::u16string_view a, std::u16string_view b) const {
  return storage::CompareNames(a, b) < 0;
}

ElementEntry* ElementTable::Find(std::u16string_view name) const {
  ElementEntry* entry = FindAny(name);
  return entry && !entry->removing ? entry : nullptr;
}

ElementEntry* ElementTable::FindAny(std::u16string_view name) const {
  auto it = by_name_.find(name);
  return it == by_name_.end() ? nullptr : it->second.get();
}

ElementEntry* ElementTable::FindKey(LONG key) const {
  auto it = by_key_.find(key);
  return it == by_key_.end() ? nullptr : it->second;
}

ElementEntry* ElementTable::Add(std::u16string_view name, ComPtr<IUnknown> platform) noexcept {
  try {
    auto entry = std::make_unique<ElementEntry>();
    entry->name = std::u16string(name);
    entry->platform = std::move(platform);
    entry->key = next_key_;
    ElementEntry* raw = entry.get();
    auto [it, inserted] = by_name_.emplace(entry->name, std::move(entry));
    if (!inserted) return nullptr;
    try {
      by_key_.emplace(raw->key, raw);
    } catch (...) {
      by_name_.erase(it);
      return nullptr;
    }
    ++next_key_;
    ++count_;
    return raw;
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

bool ElementTable::Rename(ElementEntry* entry, std::u16string_view new_name) noexcept {
  try {
    // Both copies are made before the node leaves the map, so nothing can
    // fail while it is out.
    std::u16string key(new_name);
    std::u16string name(new_name);
    auto node = by_name_.extract(by_name_.find(entry->name));
    node.key() = std::move(key);
    node.mapped()->name = std::move(name);
    by_name_.insert(std::move(node));
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

void ElementTable::Erase(ElementEntry* entry) {
  by_key_.erase(entry->key);
  by_name_.erase(entry->name);
  --count_;
}

std::vector<LONG> ElementTable::Keys() const {
  std::vector<LONG> keys;
  keys.reserve(by_name_.size());
  for (const auto& [name, entry] : by_name_) keys.push_back(entry->key);
  return keys;
}

}  // namespace quillbox::storage_tree
