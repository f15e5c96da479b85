// Directory loading with loop checks, entry allocation and the red-black
// sibling trees.
#include "platform/storage/directory.h"

#include <algorithm>
#include <utility>

#include "platform/storage/cfb_diagnostic.h"

namespace quillbox::storage {
namespace {

DirEntry BlankEntry() {
  DirEntry e;
  e.color = Color::kRed;  // an unused entry is all zeros but for its links
  e.start = 0;
  return e;
}

}  // namespace

HRESULT Directory::WriteEntry(uint32_t id) {
  const uint32_t per = fat_.io().sector_size() / kDirEntrySize;
  uint8_t bytes[kDirEntrySize];
  entries_[id].Write(bytes);
  return fat_.io().Write(sectors_[id / per], (id % per) * kDirEntrySize, bytes, kDirEntrySize);
}

HRESULT Directory::InitNew() {
  uint32_t sector = 0;
  HRESULT hr = fat_.Allocate(kEndOfChain, &sector);
  if (FAILED(hr)) return hr;
  sectors_ = {sector};
  fat_.header().first_dir_sector = sector;
  fat_.header().dir_sector_count = 1;
  const uint32_t per = fat_.io().sector_size() / kDirEntrySize;
  entries_.assign(per, BlankEntry());
  DirEntry& root = entries_[0];
  root.name = u"Root Entry";
  root.type = ObjectType::kRoot;
  root.color = Color::kBlack;
  root.start = kEndOfChain;
  for (uint32_t i = 0; i < per; ++i) {
    if (FAILED(hr = WriteEntry(i))) return hr;
  }
  trusted_ = {0};
  ordered_.clear();
  return fat_.WriteHeader();
}

HRESULT Directory::Load() {
  const uint32_t first = fat_.header().first_dir_sector;
  uint64_t length = 0;
  HRESULT hr = fat_.ChainLength(first, &length);
  if (FAILED(hr)) return hr;
  if (length == 0) return CFB_CORRUPT("directory chain is empty");
  const uint32_t size = fat_.io().sector_size();
  const uint32_t per = size / kDirEntrySize;
  if (length * per > kMaxRegularStreamId) return CFB_CORRUPT("directory of %llu sectors is too long",
                                                             static_cast<unsigned long long>(length));
  entries_.clear();
  sectors_.clear();
  trusted_.clear();
  ordered_.clear();
  free_hint_ = 1;
  entries_.reserve(length * per);
  uint32_t sector = first;
  for (uint64_t n = 0; n < length; ++n) {
    sectors_.push_back(sector);
    if (FAILED(hr = fat_.Next(sector, &sector))) return hr;
  }
  hr = fat_.io().ReadEach(sectors_, [&](size_t, const uint8_t* bytes) {
    for (uint32_t i = 0; i < per; ++i) {
      DirEntry e;
      e.Read(&bytes[i * kDirEntrySize], fat_.header().major_version);
      entries_.push_back(std::move(e));
    }
    return S_OK;
  });
  if (FAILED(hr)) return hr;
  if (entries_[0].type != ObjectType::kRoot) {
    return CFB_CORRUPT("directory entry 0 is not the root (type %u)",
                       static_cast<unsigned>(entries_[0].type));
  }
  return CheckTree();
}

HRESULT Directory::CheckTree() {
  std::vector<bool> seen(entries_.size(), false);
  seen[0] = true;
  std::vector<uint32_t> storages = {0};
  std::vector<uint32_t> stack;
  while (!storages.empty()) {
    const uint32_t storage = storages.back();
    storages.pop_back();
    stack.assign(1, entries_[storage].child);
    while (!stack.empty()) {
      const uint32_t id = stack.back();
      stack.pop_back();
      if (id == kNoStream) continue;
      if (id >= entries_.size()) {
        return CFB_CORRUPT("directory link to entry %u beyond the directory (%zu entries)", id,
                           entries_.size());
      }
      if (seen[id]) return CFB_CORRUPT("loop in the directory tree at entry %u", id);
      seen[id] = true;
      const DirEntry& e = entries_[id];
      if (e.type != ObjectType::kStorage && e.type != ObjectType::kStream) {
        return CFB_CORRUPT("directory entry %u in the tree has type %u", id,
                           static_cast<unsigned>(e.type));
      }
      stack.push_back(e.left);
      stack.push_back(e.right);
      if (e.type == ObjectType::kStorage) storages.push_back(id);
    }
  }
  // Leniency ([MS-CFB] 2.6.1): entries no tree reaches are left alone and
  // never reused.
  return S_OK;
}

HRESULT Directory::Children(uint32_t parent, std::vector<uint32_t>* out) const {
  out->clear();
  std::vector<uint32_t> stack;
  uint32_t id = entries_[parent].child;
  size_t steps = 0;
  while (id != kNoStream || !stack.empty()) {
    if (++steps > 2 * entries_.size() + 2) return CFB_CORRUPT("loop in the tree of storage %u", parent);
    if (id != kNoStream) {
      if (id >= entries_.size()) return CFB_CORRUPT("directory link to entry %u beyond the directory", id);
      stack.push_back(id);
      id = entries_[id].left;
    } else {
      id = stack.back();
      stack.pop_back();
      out->push_back(id);
      id = entries_[id].right;
    }
  }
  return S_OK;
}

bool Directory::IsOrdered(uint32_t parent) const {
  std::vector<uint32_t> order;
  if (FAILED(Children(parent, &order))) return false;
  for (size_t i = 1; i < order.size(); ++i) {
    if (CompareNames(entries_[order[i - 1]].name, entries_[order[i]].name) >= 0) return false;
  }
  return true;
}

bool Directory::IsOrderedRedBlack(uint32_t parent) const {
  if (!IsOrdered(parent)) return false;
  const uint32_t root = entries_[parent].child;
  if (root == kNoStream) return true;
  if (entries_[root].color != Color::kBlack) return false;
  // Every path from the root to a missing child holds the same number of
  // black entries, and no red entry has a red child.
  struct Step { uint32_t id; int blacks; };
  std::vector<Step> stack = {{root, 0}};
  int expected = -1;
  while (!stack.empty()) {
    const Step s = stack.back();
    stack.pop_back();
    const DirEntry& e = entries_[s.id];
    const int blacks = s.blacks + (e.color == Color::kBlack ? 1 : 0);
    for (uint32_t next : {e.left, e.right}) {
      if (next == kNoStream) {
        if (expected < 0) expected = blacks;
        if (blacks != expected) return false;
      } else {
        if (e.color == Color::kRed && entries_[next].color == Color::kRed) return false;
        stack.push_back({next, blacks});
      }
    }
  }
  return true;
}

HRESULT Directory::Find(uint32_t parent, std::u16string_view name, uint32_t* id) {
  // A tree in name order is searched down one path, balanced or not; the
  // check is made once per storage until its tree changes.
  auto known = ordered_.find(parent);
  if (known == ordered_.end()) {
    known = ordered_.emplace(parent, trusted_.count(parent) != 0 || IsOrdered(parent)).first;
  }
  if (known->second) {
    uint32_t cur = entries_[parent].child;
    for (size_t steps = 0; cur != kNoStream && steps <= entries_.size(); ++steps) {
      const int c = CompareNames(name, entries_[cur].name);
      if (c == 0) {
        *id = cur;
        return S_OK;
      }
      cur = c < 0 ? entries_[cur].left : entries_[cur].right;
    }
    return STG_E_FILENOTFOUND;
  }
  // Leniency ([MS-CFB] 2.6.4): a tree out of order is searched in full.
  std::vector<uint32_t> all;
  HRESULT hr = Children(parent, &all);
  if (FAILED(hr)) return hr;
  for (uint32_t child : all) {
    if (CompareNames(name, entries_[child].name) == 0) {
      *id = child;
      return S_OK;
    }
  }
  return STG_E_FILENOTFOUND;
}

HRESULT Directory::AllocateEntry(uint32_t* id) {
  for (size_t i = free_hint_; i < entries_.size(); ++i) {
    if (entries_[i].type == ObjectType::kUnused) {
      free_hint_ = i + 1;
      *id = static_cast<uint32_t>(i);
      return S_OK;
    }
  }
  const uint32_t per = fat_.io().sector_size() / kDirEntrySize;
  if (entries_.size() + per > kMaxRegularStreamId) return STG_E_DOCFILETOOLARGE;
  uint32_t sector = 0;
  HRESULT hr = fat_.Allocate(sectors_.back(), &sector);
  if (FAILED(hr)) return hr;
  sectors_.push_back(sector);
  const size_t first = entries_.size();
  entries_.resize(first + per, BlankEntry());
  // The fresh sector is written whole, so nothing of it is read first.
  std::vector<uint8_t> bytes(fat_.io().sector_size());
  for (uint32_t i = 0; i < per; ++i) entries_[first + i].Write(&bytes[i * kDirEntrySize]);
  if (FAILED(hr = fat_.io().Write(sector, 0, bytes.data(), fat_.io().sector_size()))) return hr;
  if (fat_.header().major_version == 4) {
    fat_.header().dir_sector_count = static_cast<uint32_t>(sectors_.size());
    if (FAILED(hr = fat_.WriteHeader())) return hr;
  }
  free_hint_ = first + 1;
  *id = static_cast<uint32_t>(first);
  return S_OK;
}

HRESULT Directory::FreeEntry(uint32_t id) {
  entries_[id] = BlankEntry();
  free_hint_ = std::min<size_t>(free_hint_, id);
  trusted_.erase(id);
  ordered_.erase(id);
  return WriteEntry(id);
}

HRESULT Directory::EnsureBalanced(uint32_t parent) {
  if (trusted_.count(parent)) return S_OK;
  if (IsOrderedRedBlack(parent)) {
    trusted_.insert(parent);
    ordered_[parent] = true;
    return S_OK;
  }
  // Leniency ([MS-CFB] 2.6.4): an unbalanced or all-red tree from another
  // writer is rebuilt before it is changed.
  std::vector<uint32_t> ids;
  HRESULT hr = Children(parent, &ids);
  if (FAILED(hr)) return hr;
  std::stable_sort(ids.begin(), ids.end(), [this](uint32_t a, uint32_t b) {
    return CompareNames(entries_[a].name, entries_[b].name) < 0;
  });
  if (FAILED(hr = Rebuild(parent, std::move(ids)))) return hr;
  trusted_.insert(parent);
  ordered_[parent] = true;
  return S_OK;
}

HRESULT Directory::Insert(uint32_t parent, uint32_t id) {
  HRESULT hr = EnsureBalanced(parent);
  if (FAILED(hr)) return hr;
  DirEntry& node = entries_[id];
  node.left = node.right = kNoStream;
  node.color = Color::kRed;
  std::set<uint32_t> dirty = {id};
  std::vector<uint32_t> path;
  for (uint32_t cur = entries_[parent].child; cur != kNoStream;) {
    path.push_back(cur);
    const int c = CompareNames(node.name, entries_[cur].name);
    if (c == 0) return STG_E_FILEALREADYEXISTS;
    cur = c < 0 ? entries_[cur].left : entries_[cur].right;
  }
  if (path.empty()) {
    entries_[parent].child = id;
    dirty.insert(parent);
  } else {
    DirEntry& above = entries_[path.back()];
    (CompareNames(node.name, above.name) < 0 ? above.left : above.right) = id;
    dirty.insert(path.back());
  }
  path.push_back(id);
  // The link that points at path[depth]: its parent's, or the storage's.
  auto relink = [&](size_t depth, uint32_t from, uint32_t to) {
    if (depth == 0) {
      entries_[parent].child = to;
      dirty.insert(parent);
      return;
    }
    DirEntry& above = entries_[path[depth - 1]];
    (above.left == from ? above.left : above.right) = to;
    dirty.insert(path[depth - 1]);
  };
  size_t i = path.size() - 1;
  while (i >= 2) {
    uint32_t x = path[i];
    uint32_t p = path[i - 1];
    if (entries_[p].color == Color::kBlack) break;
    const uint32_t g = path[i - 2];
    const bool p_is_left = entries_[g].left == p;
    const uint32_t uncle = p_is_left ? entries_[g].right : entries_[g].left;
    dirty.insert({x, p, g});
    if (uncle != kNoStream && entries_[uncle].color == Color::kRed) {
      entries_[p].color = Color::kBlack;
      entries_[uncle].color = Color::kBlack;
      entries_[g].color = Color::kRed;
      dirty.insert(uncle);
      i -= 2;
      continue;
    }
    if (p_is_left) {
      if (entries_[p].right == x) {
        entries_[p].right = entries_[x].left;
        entries_[x].left = p;
        entries_[g].left = x;
        std::swap(x, p);
      }
      entries_[g].left = entries_[p].right;
      entries_[p].right = g;
    } else {
      if (entries_[p].left == x) {
        entries_[p].left = entries_[x].right;
        entries_[x].right = p;
        entries_[g].right = x;
        std::swap(x, p);
      }
      entries_[g].right = entries_[p].left;
      entries_[p].left = g;
    }
    relink(i - 2, g, p);
    entries_[p].color = Color::kBlack;
    entries_[g].color = Color::kRed;
    break;
  }
  const uint32_t root = entries_[parent].child;
  if (entries_[root].color != Color::kBlack) {
    entries_[root].color = Color::kBlack;
    dirty.insert(root);
  }
  for (uint32_t d : dirty) {
    if (FAILED(hr = WriteEntry(d))) return hr;
  }
  return S_OK;
}

HRESULT Directory::Remove(uint32_t parent, uint32_t id) {
  std::vector<uint32_t> ids;
  HRESULT hr = Children(parent, &ids);
  if (FAILED(hr)) return hr;
  ids.erase(std::remove(ids.begin(), ids.end(), id), ids.end());
  std::stable_sort(ids.begin(), ids.end(), [this](uint32_t a, uint32_t b) {
    return CompareNames(entries_[a].name, entries_[b].name) < 0;
  });
  if (FAILED(hr = Rebuild(parent, std::move(ids)))) return hr;
  trusted_.insert(parent);
  ordered_[parent] = true;
  return S_OK;
}

HRESULT Directory::Rebuild(uint32_t parent, std::vector<uint32_t> ids) {
  // A tree split at the middle has every missing child at the last two
  // depths; the entries at the deepest level turn red, all others black,
  // which makes a valid red-black tree.
  struct Shape { uint32_t left, right; int depth; };
  std::vector<Shape> shape(ids.size());
  int max_depth = 0;
  auto build = [&](auto& self, size_t lo, size_t hi, int depth) -> uint32_t {
    if (lo >= hi) return kNoStream;
    const size_t mid = lo + (hi - lo) / 2;
    max_depth = std::max(max_depth, depth);
    shape[mid] = {self(self, lo, mid, depth + 1), self(self, mid + 1, hi, depth + 1), depth};
    return ids[mid];
  };
  const uint32_t root = build(build, 0, ids.size(), 0);
  HRESULT hr;
  for (size_t n = 0; n < ids.size(); ++n) {
    DirEntry& e = entries_[ids[n]];
    const Color color = (shape[n].depth == max_depth && max_depth > 0) ? Color::kRed : Color::kBlack;
    if (e.left != shape[n].left || e.right != shape[n].right || e.color != color) {
      e.left = shape[n].left;
      e.right = shape[n].right;
      e.color = color;
      if (FAILED(hr = WriteEntry(ids[n]))) return hr;
    }
  }
  if (entries_[parent].child != root) {
    entries_[parent].child = root;
    if (FAILED(hr = WriteEntry(parent))) return hr;
  }
  return S_OK;
}

}  // namespace quillbox::storage
