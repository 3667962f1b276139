#pragma once

#include <map>
#include <memory>

#include "store/volume/slots.h"

namespace vok {

/// An item's name as one number.
constexpr u32 NameOf(u16 type, u16 id) { return static_cast<u32>(type) << 16 | id; }
/// The name as it stands in a header slot.
inline u32 NameAt(FlashAddress slot) { return BigEndian32(VirtualMemoryAddress(slot) + slot_field::kType); }

/// A slot as the index knows it.
struct IndexedSlot {
  FlashAddress slot = 0;  ///< 0 = none
  u32 word = 0;           ///< location word
};

/// A hash table from names to header slots of the flash image, at most two thirds full; names may stand in it more than
/// once, slots only once. It keeps no names of its own: a cell has a slot address and seven bits of the name's hash,
/// the rest is read from the slot. So a slot must be erased before its name changes in flash. The location word is
/// kept, since the slots of many blocks share few lines of a processor's cache: what comes next need not wait for them.
///
/// No search passes more than a few hundred cells. Where damage, or malice, would make one longer (one name in
/// thousands of slots, names whose hashes lie close together), the table is a tree from its next filling on.
class SlotTable {
 public:
  /// Empties the table and makes room for @p slots of them and some more. @return false without memory
  bool Reserve(u32 slots);
  void Release();

  /// @return false when the table is full or must become a tree; it is to be filled anew then
  bool Insert(u32 name, const IndexedSlot& slot);
  /// Does nothing when the slot is not in the table under this name.
  void Erase(u32 name, FlashAddress slot);

  /// The lowest slot above @p after with the name.
  IndexedSlot Find(u32 name, FlashAddress after) const {
    if (is_tree_) [[unlikely]]
      return FindInTree(name, after);
    const u64 hash = HashOf(name);
    IndexedSlot lowest;
    u32 left = kLongestSearch;
    for (u32 i = HomeOf(hash); cells_[i].key != kEmpty && left > 0; i = Next(i), --left) {
      if (!SameTag(cells_[i].key, hash)) continue;
      const FlashAddress slot = FlashAddress{cells_[i].key & kSlotMask} * 2;
      if (slot > after && (lowest.slot == 0 || slot < lowest.slot) && NameAt(slot) == name)
        lowest = {.slot = slot, .word = cells_[i].word};
    }
    return lowest;
  }

  u32 size() const { return size_; }

 private:
  /// Slots have even addresses below 32 MiB, and none is so low that its key would look empty or erased.
  static constexpr u32 kEmpty = 0, kErased = 1, kSlotMask = 0xFFFFFF;
  static_assert(kFlashSize / 2 - 1 <= kSlotMask);
  /// Cells that a search passes. Names without a pattern leave runs of about two hundred in a table of millions.
  static constexpr u32 kLongestSearch = 512;

  static u64 HashOf(u32 name) { return name * u64{0x9E3779B97F4A7C15}; }
  /// Never 0, so that an erased cell matches no name.
  static u32 TagOf(u64 hash) { return static_cast<u32>(hash) | 0x01000000; }
  static bool SameTag(u32 key, u64 hash) { return ((key ^ TagOf(hash)) & ~kSlotMask) == 0; }
  static u32 KeyOf(u64 hash, FlashAddress slot) { return (TagOf(hash) & ~kSlotMask) | static_cast<u32>(slot / 2); }
  u32 HomeOf(u64 hash) const { return static_cast<u32>(hash >> shift_); }
  u32 Next(u32 i) const { return (i + 1) & mask_; }

  static u64 TreeKeyOf(u32 name, FlashAddress slot) { return u64{name} << 32 | slot; }
  bool InsertIntoTree(u32 name, const IndexedSlot& slot);
  IndexedSlot FindInTree(u32 name, FlashAddress after) const;

  struct Cell {
    u32 key;
    u32 word;
  };

  std::unique_ptr<Cell[]> cells_;
  u32 mask_ = 0;
  u32 shift_ = 0;
  u32 size_ = 0;
  u32 taken_ = 0;  ///< cells that are not empty
  u32 limit_ = 0;  ///< of them

  bool is_tree_ = false;
  std::map<u64, u32> tree_;  ///< location words by name and slot
};

}  // namespace vok
