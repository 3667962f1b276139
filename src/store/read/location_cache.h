#pragma once

#include <bit>
#include <cstddef>

#include "store/read/arena_bytes.h"
#include "store/volume/index/acceleration.h"
#include "store/volume/records.h"

namespace vok {

inline constexpr u16 kNoCacheEntry = CacheIndex::kNone;

/// The location cache: a ring of the header slots found or written last, inside the partition's arena. A miss means
/// only that the flash must be scanned.
///
/// Invariants: at most one entry for each (type, ID); type 0 marks an empty entry; head is the oldest entry, the next
/// to be overwritten. An 8-byte head is followed by 16 bytes an entry: type, ID, 4 bytes unused, header slot.
class LocationCache {
 public:
  /// The least arena space that holds a cache.
  static constexpr u32 kLeastSize = 24;

  /// A view of the partition's cache; false when it has none.
  explicit LocationCache(const PartitionRecord& partition)
      : base_(partition.location_cache), index_(CacheIndexOf(partition)) {}
  explicit operator bool() const { return base_ != nullptr; }

  /// Lays an empty cache over @p size bytes.
  static void Place(u8* base, u32 size);

  u16 capacity() const { return LoadFrom<u16>(base_ + kCapacityOffset); }

  /// The entry of an item, searched from the newest to the oldest; 65535 = none.
  u16 Find(u16 type, u16 id) const {
    const u32 key = KeyValue(type, id);
    if (index_ == nullptr || IsEmptyKey(key)) return LookThrough(key);
    return index_->Find(key);
  }
  FlashAddress slot(u16 entry) const { return LoadFrom<FlashAddress>(Entry(entry) + kSlotOffset); }
  void set_slot(u16 entry, FlashAddress slot) { StoreTo(Entry(entry) + kSlotOffset, slot); }

  /// Overwrites the oldest entry. The item must not be cached yet.
  void Insert(u16 type, u16 id, FlashAddress slot) {
    const u16 head = LoadFrom<u16>(base_ + kHeadOffset);
    SetKey(head, KeyValue(type, id));
    set_slot(head, slot);
    const u16 next = static_cast<u16>(head + 1);
    StoreTo(base_ + kHeadOffset, next == capacity() ? u16{0} : next);
  }
  /// Empties the entry of an item. It still matches an item of type 0, which only damage makes and which has no other.
  void Forget(u16 type, u16 id);

 private:
  static constexpr u32 kHeadOffset = 0;
  static constexpr u32 kCapacityOffset = 2;
  static constexpr u32 kFirstEntryOffset = 8;
  static constexpr u32 kEntrySize = 16;
  static constexpr u32 kSlotOffset = 8;

  /// Type and ID as one value, so that a search compares both at once.
  struct Key {
    u16 type;
    u16 id;
  };
  static u32 KeyValue(u16 type, u16 id) { return std::bit_cast<u32>(Key{type, id}); }
  static bool IsEmptyKey(u32 key) { return std::bit_cast<Key>(key).type == 0; }

  u8* Entry(u16 index) const { return base_ + kFirstEntryOffset + std::size_t{index} * kEntrySize; }
  u32 KeyAt(u16 entry) const { return LoadFrom<u32>(Entry(entry)); }
  /// Keeps the index in step.
  void SetKey(u16 entry, u32 key) {
    StoreTo(Entry(entry), key);
    if (index_ == nullptr) return;
    index_->Unlink(entry);
    if (!IsEmptyKey(key)) index_->Link(key, entry);
  }
  u16 LookThrough(u32 key) const;

  u8* base_;
  CacheIndex* index_;  ///< of the entries that are not empty; may be missing
};

}  // namespace vok
