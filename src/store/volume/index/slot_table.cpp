#include "store/volume/index/slot_table.h"

#include <bit>
#include <new>

namespace vok {

void SlotTable::Release() {
  const bool stays_tree = is_tree_;
  *this = {};
  is_tree_ = stays_tree;
}

bool SlotTable::Reserve(u32 slots) {
  Release();
  if (is_tree_) return true;
  const u32 wanted = slots + slots / 16 + 16;
  const u32 capacity = std::bit_ceil(wanted + wanted / 2);
  cells_.reset(new (std::nothrow) Cell[capacity]());
  if (cells_ == nullptr) return false;
  mask_ = capacity - 1;
  shift_ = 64 - static_cast<u32>(std::bit_width(mask_));
  limit_ = capacity / 3 * 2;
  return true;
}

bool SlotTable::InsertIntoTree(u32 name, const IndexedSlot& slot) {
  try {
    tree_[TreeKeyOf(name, slot.slot)] = slot.word;
  } catch (const std::bad_alloc&) {
    return false;
  }
  ++size_;
  return true;
}

IndexedSlot SlotTable::FindInTree(u32 name, FlashAddress after) const {
  const auto found = tree_.upper_bound(TreeKeyOf(name, after));
  if (found == tree_.end() || found->first >> 32 != name) return {};
  return {.slot = static_cast<u32>(found->first), .word = found->second};
}

bool SlotTable::Insert(u32 name, const IndexedSlot& slot) {
  if (is_tree_) return InsertIntoTree(name, slot);
  if (taken_ >= limit_) return false;
  const u64 hash = HashOf(name);
  u32 i = HomeOf(hash);
  for (u32 passed = 0; cells_[i].key > kErased; i = Next(i)) {
    is_tree_ = ++passed >= kLongestSearch;
    if (is_tree_) return false;
  }
  if (cells_[i].key == kEmpty) ++taken_;
  cells_[i] = {.key = KeyOf(hash, slot.slot), .word = slot.word};
  ++size_;
  return true;
}

void SlotTable::Erase(u32 name, FlashAddress slot) {
  if (is_tree_) {
    size_ -= static_cast<u32>(tree_.erase(TreeKeyOf(name, slot)));
    return;
  }
  const u64 hash = HashOf(name);
  const u32 key = KeyOf(hash, slot);
  u32 i = HomeOf(hash);
  for (u32 passed = 0; cells_[i].key != key; i = Next(i))
    if (cells_[i].key == kEmpty || ++passed >= kLongestSearch) return;
  --size_;
  cells_[i].key = kErased;
  // At the end of a run nothing lies behind the erased cells, and searches may end before them.
  if (cells_[Next(i)].key != kEmpty) return;
  for (; cells_[i].key == kErased; i = (i - 1) & mask_, --taken_) cells_[i].key = kEmpty;
}

}  // namespace vok
