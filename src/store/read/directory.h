#pragma once

#include "store/read/location_cache.h"
#include "store/volume/records.h"

/// The RAM item directory: from (type, ID) to the item's current header slot without a scan. Everything lies in the
/// partition's directory arena:
///
///  - type ranges, packed from the arena's base in the order of their making, each a node of (types + 1) 16-byte units,
///    and ID slot tables of 8 bytes an ID. For a type with an entry and an ID inside its table the directory is
///    authoritative: an empty slot means that the item does not exist.
///  - behind them, from the mount on, the location cache for everything else.
///
/// Invariants: a type's entry is the one of the first range that covers it; an ID slot holds the header slot of the
/// current copy, or 0; nothing carved is given back. The arena is the caller's and need not be aligned, so its parts
/// are read and written as bytes.

namespace vok {

/// A view of a type's entry; false when no range covers the type.
class TypeEntry {
 public:
  TypeEntry() = default;
  TypeEntry(u8* arena, u8* entry) : arena_(arena), entry_(entry) {}

  explicit operator bool() const { return entry_ != nullptr; }

  /// IDs in the slot table, 0 = no table.
  u16 id_count() const;
  /// Live items of the type, whether or not their IDs lie in the table.
  u16 live_items() const;
  void set_live_items(u16 count);
  void SetTable(u16 id_count, u32 arena_offset);

  bool Covers(u16 id) const { return id < id_count(); }
  FlashAddress slot(u16 id) const;
  void set_slot(u16 id, FlashAddress slot);

 private:
  u8* arena_ = nullptr;
  u8* entry_ = nullptr;
};

TypeEntry FindTypeEntry(const PartitionRecord& partition, u16 type);

/// The entry of a type, or none; nothing is carved from the arena of a partition without type ranges.
inline TypeEntry DirLookupType(const PartitionRecord& partition, u16 type) {
  return partition.arena_used != 0 ? FindTypeEntry(partition, type) : TypeEntry();
}

enum class DirKnowledge : u8 {
  kUnknown,  ///< the flash must be scanned
  kAbsent,   ///< there is no such item
  kFound,
};

struct DirLocation {
  DirKnowledge knowledge;
  FlashAddress slot;
};

/// What the directory knows of an item, for a caller who holds its lock, or whom nobody can disturb.
inline DirLocation DirLook(const PartitionRecord& partition, const LocationCache& cache, u16 type, u16 id) {
  if (const TypeEntry entry = DirLookupType(partition, type); entry && entry.Covers(id)) {
    const FlashAddress slot = entry.slot(id);
    return {slot != 0 ? DirKnowledge::kFound : DirKnowledge::kAbsent, slot};
  }
  if (cache)
    if (const u16 i = cache.Find(type, id); i != kNoCacheEntry) return {DirKnowledge::kFound, cache.slot(i)};
  return {DirKnowledge::kUnknown, 0};
}

/// The same under the lock.
DirLocation DirFindLocation(PartitionRecord& partition, u16 type, u16 id);

enum class NewItem : u8 { kNo, kYes };

/// Enters a location found by a scan, or one of a new item, which is also counted.
void DirRecordLocation(PartitionRecord& partition, u16 type, u16 id, FlashAddress slot, NewItem new_item);

/// Enters the new location of an item that moved.
void DirUpdateLocation(PartitionRecord& partition, u16 type, u16 id, FlashAddress slot);

/// Drops the location of a deleted item; the caller holds the directory lock.
void DirForgetLocation(PartitionRecord& partition, u16 type, u16 id);

/// The lowest ID whose slot is empty; 65535 when the type has no entry or its table is full.
u16 DirFirstFreeId(const PartitionRecord& partition, u16 type);

/// At the end of a mount: counts and ID slots become exactly what the Valid slots of the partition say.
void DirFillFromSlots(PartitionRecord& partition);

/// At the end of a mount: the location cache takes what is left of the arena.
void PlaceLocationCache(PartitionRecord& partition);

}  // namespace vok
