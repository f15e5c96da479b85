// Keys, values and the reconciliation of the live tree with a reloaded one.
#include "platform/com/registry/reg_tree.h"

#include <algorithm>
#include <utility>

#include "platform/com/registry/reg_names.h"

namespace quillbox::com::registry {

RegKey::RegKey(std::u16string name) : name_(std::move(name)) {}

std::size_t RegKey::Depth() const {
  std::size_t depth = 0;
  // Parent links only ever point up a tree of at most kMaxKeyDepth levels.
  for (const RegKey* key = parent_; key != nullptr && depth <= kMaxKeyDepth; key = key->parent_) {
    ++depth;
  }
  return depth;
}

std::size_t RegKey::LowerBound(std::u16string_view name) const {
  const auto it = std::lower_bound(children_.begin(), children_.end(), name,
                                   [](const std::shared_ptr<RegKey>& child, std::u16string_view n) {
                                     return CompareNames(child->name_, n) < 0;
                                   });
  return static_cast<std::size_t>(it - children_.begin());
}

std::shared_ptr<RegKey> RegKey::FindChild(std::u16string_view name) const {
  // The file lists keys in order, so while it is read the name sought is the
  // last subkey or comes after it.
  if (!children_.empty()) {
    const int order = CompareNames(children_.back()->name_, name);
    if (order == 0) return children_.back();
    if (order < 0) return nullptr;
  }
  const std::size_t i = LowerBound(name);
  if (i < children_.size() && NamesEqual(children_[i]->name_, name)) return children_[i];
  return nullptr;
}

std::shared_ptr<RegKey> RegKey::AddChild(std::u16string name) {
  const bool goes_last = children_.empty() || CompareNames(children_.back()->name_, name) < 0;
  const std::size_t i = goes_last ? children_.size() : LowerBound(name);
  auto child = std::make_shared<RegKey>(std::move(name));
  child->parent_ = this;
  children_.insert(children_.begin() + static_cast<std::ptrdiff_t>(i), child);
  return child;
}

void RegKey::RemoveChild(const RegKey* child) {
  const auto it = std::find_if(children_.begin(), children_.end(),
                               [child](const auto& c) { return c.get() == child; });
  if (it == children_.end()) return;
  (*it)->MarkDeleted();
  children_.erase(it);
}

void RegKey::RemoveAllChildren() {
  for (auto& child : children_) child->MarkDeleted();
  children_.clear();
}

void RegKey::MarkDeleted() {
  // Recursion depth is bounded by kMaxKeyDepth, which every path obeys.
  deleted_ = true;
  parent_ = nullptr;
  for (auto& child : children_) child->MarkDeleted();
  children_.clear();
  values_.clear();
}

const RegValue* RegKey::FindValue(std::u16string_view name) const {
  for (const auto& value : values_) {
    if (NamesEqual(value.name, name)) return &value;
  }
  return nullptr;
}

void RegKey::SetValue(std::u16string_view name, DWORD type, std::vector<BYTE> data) {
  for (auto& value : values_) {
    if (NamesEqual(value.name, name)) {
      value.type = type;
      value.data = std::move(data);
      section_text_.clear();
      return;
    }
  }
  values_.push_back(RegValue{std::u16string(name), type, std::move(data)});
  section_text_.clear();
}

bool RegKey::DeleteValue(std::u16string_view name) {
  const auto it = std::find_if(values_.begin(), values_.end(),
                               [name](const RegValue& v) { return NamesEqual(v.name, name); });
  if (it == values_.end()) return false;
  values_.erase(it);
  section_text_.clear();
  return true;
}

void RegKey::RemoveAllValues() {
  values_.clear();
  section_text_.clear();
}

void RegKey::ForgetSectionTexts() {
  // Depth is bounded by kMaxKeyDepth.
  section_text_.clear();
  for (auto& child : children_) child->ForgetSectionTexts();
}

void RegKey::Reconcile(RegKey& parsed) {
  if (values_ != parsed.values_) {
    values_ = std::move(parsed.values_);
    section_text_.clear();
  }
  // Both child lists are sorted by the same order: merge them in one pass.
  std::vector<std::shared_ptr<RegKey>> merged;
  merged.reserve(parsed.children_.size());
  std::size_t old_index = 0;
  for (auto& fresh : parsed.children_) {
    while (old_index < children_.size() &&
           CompareNames(children_[old_index]->name_, fresh->name_) < 0) {
      children_[old_index++]->MarkDeleted();
    }
    if (old_index < children_.size() && NamesEqual(children_[old_index]->name_, fresh->name_)) {
      auto kept = std::move(children_[old_index++]);
      if (kept->name_ != fresh->name_) {
        kept->name_ = std::move(fresh->name_);
        kept->ForgetSectionTexts();  // their paths hold this name
      }
      kept->Reconcile(*fresh);
      merged.push_back(std::move(kept));
    } else {
      fresh->parent_ = this;
      merged.push_back(std::move(fresh));
    }
  }
  while (old_index < children_.size()) children_[old_index++]->MarkDeleted();
  children_ = std::move(merged);
  parsed.children_.clear();
}

RegistryRoots RegistryRoots::MakeEmpty() {
  RegistryRoots roots;
  for (std::size_t i = 0; i < kRootCount; ++i) {
    const std::string_view name = RootName(static_cast<RootKind>(i));
    roots.keys[i] = std::make_shared<RegKey>(std::u16string(name.begin(), name.end()));
  }
  return roots;
}

std::string_view RootName(RootKind kind) {
  switch (kind) {
    case RootKind::kClassesRoot:
      return "HKEY_CLASSES_ROOT";
    case RootKind::kCurrentUser:
      return "HKEY_CURRENT_USER";
    case RootKind::kLocalMachine:
      return "HKEY_LOCAL_MACHINE";
  }
  return "";
}

}  // namespace quillbox::com::registry
