// The registry in memory: keys with case-insensitive names, their values, and
// the three root trees. Not thread-safe; the store's mutex guards it.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillbox/winreg.h"

namespace quillbox::com::registry {

struct RegValue {
  std::u16string name;  // empty: the key's default value
  DWORD type = REG_NONE;
  std::vector<BYTE> data;  // string types hold UTF-16LE with their terminator

  bool operator==(const RegValue&) const = default;
};

// One key. Open handles share ownership of it, so a key that is deleted
// stays in memory, marked deleted, for as long as a handle refers to it.
class RegKey {
 public:
  explicit RegKey(std::u16string name);
  RegKey(const RegKey&) = delete;
  RegKey& operator=(const RegKey&) = delete;

  const std::u16string& name() const { return name_; }
  RegKey* parent() const { return parent_; }
  bool deleted() const { return deleted_; }
  std::size_t Depth() const;

  // Subkeys in the order Windows lists them: by upper-cased name.
  const std::vector<std::shared_ptr<RegKey>>& children() const { return children_; }
  std::shared_ptr<RegKey> FindChild(std::u16string_view name) const;
  // REQUIRES: no subkey of that name exists.
  std::shared_ptr<RegKey> AddChild(std::u16string name);
  // Detaches the subkey and marks it and everything below it deleted.
  void RemoveChild(const RegKey* child);
  void RemoveAllChildren();

  // Values in the order they were first set, as Windows enumerates them.
  const std::vector<RegValue>& values() const { return values_; }
  const RegValue* FindValue(std::u16string_view name) const;
  // A value that exists keeps the case of its name.
  void SetValue(std::u16string_view name, DWORD type, std::vector<BYTE> data);
  bool DeleteValue(std::u16string_view name);
  void RemoveAllValues();

  // Takes over the content of `parsed` (a fresh tree read from the file):
  // keys present in both stay the same objects, so open handles follow them;
  // keys gone from the file are marked deleted.
  void Reconcile(RegKey& parsed);

  // This key's section of the file text, remembered by the writer because
  // most keys do not change from one write to the next. Emptied whenever the
  // values change or the name of this key or of a key above it does.
  std::string& SectionText() const { return section_text_; }

 private:
  std::size_t LowerBound(std::u16string_view name) const;
  void MarkDeleted();
  void ForgetSectionTexts();

  std::u16string name_;
  RegKey* parent_ = nullptr;  // null for a root or a deleted key
  bool deleted_ = false;
  std::vector<std::shared_ptr<RegKey>> children_;
  std::vector<RegValue> values_;
  mutable std::string section_text_;
};

enum class RootKind { kClassesRoot = 0, kCurrentUser = 1, kLocalMachine = 2 };
constexpr std::size_t kRootCount = 3;

// The three trees kept in the file, indexed by RootKind.
struct RegistryRoots {
  std::array<std::shared_ptr<RegKey>, kRootCount> keys;

  static RegistryRoots MakeEmpty();
  RegKey& Get(RootKind kind) const { return *keys[static_cast<std::size_t>(kind)]; }
};

// "HKEY_CLASSES_ROOT" and so on, as the .reg text names the roots.
std::string_view RootName(RootKind kind);

}  // namespace quillbox::com::registry
