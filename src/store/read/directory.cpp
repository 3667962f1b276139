#include "store/read/directory.h"

#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/arena_bytes.h"
#include "store/volume/slots.h"
#include "vok/store.h"

namespace vok {

namespace {

/// A range's own fields and every entry take one unit each.
constexpr u32 kUnit = 16;
constexpr u32 kIdSlotSize = sizeof(FlashAddress);

namespace range_field {
constexpr u32 kNext = 0;  ///< arena offset of the next range, 0 = the last
constexpr u32 kFirstType = 8;
constexpr u32 kLastType = 10;
}  // namespace range_field

namespace entry_field {
constexpr u32 kIdCount = 0;
constexpr u32 kLiveItems = 2;
constexpr u32 kTable = 8;  ///< arena offset of the ID slot table
}  // namespace entry_field

u32 FreeArena(const PartitionRecord& partition) {
  return partition.directory_arena != nullptr ? partition.arena_size - partition.arena_used : 0;
}

u8* NextRange(const PartitionRecord& partition, const u8* range) {
  const u32 next = LoadFrom<u32>(range + range_field::kNext);
  return next != 0 ? partition.directory_arena + next : nullptr;
}

u8* FirstRange(const PartitionRecord& partition) {
  return partition.directory_arena != nullptr && partition.arena_used != 0 ? partition.directory_arena : nullptr;
}

u32 TypesIn(const u8* range) {
  return LoadFrom<u16>(range + range_field::kLastType) - LoadFrom<u16>(range + range_field::kFirstType) + 1u;
}

/// Chains the range at @p offset behind the last one; for the first one, which lies at the arena's base,
/// that writes the 0 which stands there.
void LinkRange(PartitionRecord& partition, u32 offset) {
  u8* last = partition.directory_arena;
  while (u8* next = NextRange(partition, last)) last = next;
  StoreTo(last + range_field::kNext, offset);
}

u16 CheckConfigurable(u8 partition) {
  if (u16 code = CheckPartitionExists(partition)) return code;
  return IsMounted(PartitionAt(partition)) ? Fail(code::kMountFailure) : code::kOk;
}

void InsertIfNew(const PartitionRecord& partition, u16 type, u16 id, FlashAddress slot) {
  LocationCache cache(partition);
  if (cache && cache.Find(type, id) == kNoCacheEntry) cache.Insert(type, id, slot);
}

void ClearEntry(TypeEntry entry) {
  entry.set_live_items(0);
  for (u16 id = 0; id < entry.id_count(); ++id) entry.set_slot(id, 0);
}

void ClearDirectory(PartitionRecord& partition) {
  for (u8* range = FirstRange(partition); range != nullptr; range = NextRange(partition, range))
    for (u32 i = 1; i <= TypesIn(range); ++i) ClearEntry(TypeEntry(partition.directory_arena, range + i * kUnit));
}

}  // namespace

u16 TypeEntry::id_count() const { return LoadFrom<u16>(entry_ + entry_field::kIdCount); }
u16 TypeEntry::live_items() const { return LoadFrom<u16>(entry_ + entry_field::kLiveItems); }
void TypeEntry::set_live_items(u16 count) { StoreTo(entry_ + entry_field::kLiveItems, count); }

void TypeEntry::SetTable(u16 id_count, u32 arena_offset) {
  StoreTo(entry_ + entry_field::kIdCount, id_count);
  StoreTo(entry_ + entry_field::kTable, arena_offset);
}

FlashAddress TypeEntry::slot(u16 id) const {
  return LoadFrom<FlashAddress>(arena_ + LoadFrom<u32>(entry_ + entry_field::kTable) + u32{id} * kIdSlotSize);
}

void TypeEntry::set_slot(u16 id, FlashAddress slot) {
  StoreTo(arena_ + LoadFrom<u32>(entry_ + entry_field::kTable) + u32{id} * kIdSlotSize, slot);
}

u16 DefineTypeRange(u8 partition, u16 first_type, u16 last_type) {
  if (u16 code = CheckConfigurable(partition)) return code;
  if (!IsItemType(first_type) || !IsItemType(last_type) || first_type > last_type) return Fail(code::kInvalidType);

  PartitionRecord& record = PartitionAt(partition);
  if (record.directory_arena == nullptr) return Fail(code::kOutOfRam);
  const LockGuard lock(DirectoryLock(record));
  const u32 size = (last_type - first_type + 2u) * kUnit;
  if (FreeArena(record) < size) return Fail(code::kOutOfRam);

  const u32 offset = record.arena_used;
  record.arena_used += size;
  u8* range = record.directory_arena + offset;
  StoreTo(range + range_field::kNext, u32{0});
  StoreTo(range + range_field::kFirstType, first_type);
  StoreTo(range + range_field::kLastType, last_type);
  LinkRange(record, offset);
  return code::kOk;
}

u16 SetTypeIdCount(u8 partition, u16 type, std::int32_t id_count) {
  if (u16 code = CheckConfigurable(partition)) return code;
  if (id_count < 1 || id_count > 0xFFFF) return Fail(code::kInvalidParameter);

  PartitionRecord& record = PartitionAt(partition);
  if (record.directory_arena == nullptr) return Fail(code::kOutOfRam);
  const LockGuard lock(DirectoryLock(record));
  const u32 size = static_cast<u32>(id_count) * kIdSlotSize;
  if (FreeArena(record) < size) return Fail(code::kOutOfRam);
  TypeEntry entry = DirLookupType(record, type);
  if (!entry) return Fail(code::kInvalidType);
  entry.SetTable(static_cast<u16>(id_count), record.arena_used);
  record.arena_used += size;
  return code::kOk;
}

TypeEntry FindTypeEntry(const PartitionRecord& partition, u16 type) {
  for (u8* range = FirstRange(partition); range != nullptr; range = NextRange(partition, range)) {
    const u16 first = LoadFrom<u16>(range + range_field::kFirstType);
    if (first <= type && type <= LoadFrom<u16>(range + range_field::kLastType))
      return TypeEntry(partition.directory_arena, range + (type - first + 1u) * kUnit);
  }
  return {};
}

DirLocation DirFindLocation(PartitionRecord& partition, u16 type, u16 id) {
  if (partition.directory_arena == nullptr) return {DirKnowledge::kUnknown, 0};
  const LockGuard lock(DirectoryLock(partition));
  return DirLook(partition, LocationCache(partition), type, id);
}

void DirRecordLocation(PartitionRecord& partition, u16 type, u16 id, FlashAddress slot, NewItem new_item) {
  if (partition.directory_arena == nullptr) return;
  const LockGuard lock(DirectoryLock(partition));
  if (new_item == NewItem::kYes) {
    if (TypeEntry entry = DirLookupType(partition, type)) {
      entry.set_live_items(static_cast<u16>(entry.live_items() + 1));
      if (entry.Covers(id)) {
        entry.set_slot(id, slot);
        return;
      }
    }
  }
  InsertIfNew(partition, type, id, slot);
}

void DirUpdateLocation(PartitionRecord& partition, u16 type, u16 id, FlashAddress slot) {
  if (partition.directory_arena == nullptr) return;
  const LockGuard lock(DirectoryLock(partition));
  if (TypeEntry entry = DirLookupType(partition, type); entry && entry.Covers(id)) {
    entry.set_slot(id, slot);
    return;
  }
  LocationCache cache(partition);
  if (!cache) return;
  if (const u16 i = cache.Find(type, id); i != kNoCacheEntry)
    cache.set_slot(i, slot);
  else
    cache.Insert(type, id, slot);
}

void DirForgetLocation(PartitionRecord& partition, u16 type, u16 id) {
  if (TypeEntry entry = DirLookupType(partition, type)) {
    entry.set_live_items(static_cast<u16>(entry.live_items() - 1));
    if (entry.Covers(id)) {
      entry.set_slot(id, 0);
      return;
    }
  }
  if (LocationCache cache(partition); cache) cache.Forget(type, id);
}

u16 DirFirstFreeId(const PartitionRecord& partition, u16 type) {
  const TypeEntry entry = DirLookupType(partition, type);
  if (!entry) return kAnyId;
  for (u16 id = 0; id < entry.id_count(); ++id)
    if (entry.slot(id) == 0) return id;
  return kAnyId;
}

void DirFillFromSlots(PartitionRecord& partition) {
  if (FirstRange(partition) == nullptr) return;
  ClearDirectory(partition);
  for (u16 i = 0; i < partition.block_count; ++i) {
    for (SlotWalk walk(partition, partition.block_table[i]); walk.AtSlot(); walk.Advance()) {
      if (!walk.IsValidItem() || walk.header().type == kJournalType) continue;
      TypeEntry entry = DirLookupType(partition, walk.header().type);
      if (!entry) continue;
      entry.set_live_items(static_cast<u16>(entry.live_items() + 1));
      if (entry.Covers(walk.header().id)) entry.set_slot(walk.header().id, walk.slot());
    }
  }
}

void PlaceLocationCache(PartitionRecord& partition) {
  partition.location_cache = nullptr;
  const u32 free = FreeArena(partition);
  if (free < LocationCache::kLeastSize) return;
  partition.location_cache = partition.directory_arena + partition.arena_used;
  LocationCache::Place(partition.location_cache, free);
  MakeCacheIndex(partition, LocationCache(partition).capacity());
}

}  // namespace vok
