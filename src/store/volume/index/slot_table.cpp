#include "store/volume/index/slot_table.h"

#include <bit>
#include <new>

namespace vok {

bool SlotTable::Reserve(u32 slots) {
  Release();
  const u32 wanted = slots + slots / 16 + 16;
  const u32 capacity = std::bit_ceil(wanted + wanted / 2);
  cells_.reset(new (std::nothrow) Cell[capacity]());
  if (cells_ == nullptr) return false;
  mask_ = capacity - 1;
  shift_ = 64 - static_cast<u32>(std::bit_width(mask_));
  limit_ = capacity / 3 * 2;
  return true;
}

bool SlotTable::Insert(u32 name, const IndexedSlot& slot) {
  if (taken_ >= limit_) return false;
  const u64 hash = HashOf(name);
  u32 i = HomeOf(hash);
  while (cells_[i].key > kErased) i = Next(i);
  if (cells_[i].key == kEmpty) ++taken_;
  cells_[i] = {.key = KeyOf(hash, slot.slot), .word = slot.word};
  ++size_;
  return true;
}

void SlotTable::Erase(u32 name, FlashAddress slot) {
  const u64 hash = HashOf(name);
  const u32 key = KeyOf(hash, slot);
  u32 i = HomeOf(hash);
  while (cells_[i].key != key) {
    if (cells_[i].key == kEmpty) return;
    i = Next(i);
  }
  --size_;
  cells_[i].key = kErased;
  // At the end of a run nothing lies behind the erased cells, and searches may end before them.
  if (cells_[Next(i)].key != kEmpty) return;
  for (; cells_[i].key == kErased; i = (i - 1) & mask_, --taken_) cells_[i].key = kEmpty;
}

}  // namespace vok
