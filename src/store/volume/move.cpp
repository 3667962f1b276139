#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/read/location_cache.h"
#include "store/read/search.h"
#include "store/volume/format.h"
#include "store/volume/reorganise.h"
#include "store/volume/space.h"
#include "store/write/retire.h"

namespace vok {

namespace {

/// One item of the source block.
struct MovingItem {
  FlashAddress slot;
  SlotHeader header;
};

/// Looks for a copy that the cut move had already made of the source's first Valid item.
SearchResult FindCopyElsewhere(PartitionRecord& partition, u16 source, const SlotHeader& header) {
  SearchResult copy = FindItem(partition, header.type, header.id, Caching::kOff, SearchStart::Scan());
  if (copy.found() && copy.block == source)
    copy = FindItem(partition, header.type, copy.header.id, Caching::kOff, SearchStart::After(copy.slot));
  if (copy.found() && copy.block == source) copy = {};
  return copy;
}

/// Points the directory, or the cache entry that the item had before its old copy was retired, at the new slot.
void FollowMove(PartitionRecord& partition, const SlotHeader& header, u16 cache_entry, FlashAddress new_slot) {
  if (TypeEntry entry = DirLookupType(partition, header.type); entry && entry.Covers(header.id))
    entry.set_slot(header.id, new_slot);
  else if (cache_entry != kNoCacheEntry)
    LocationCache(partition).set_slot(cache_entry, new_slot);
}

/// Writes the copy as a Valid item of the block of best fit, which may be the target or an Active block, never a Free
/// one.
u16 CopyItem(PartitionRecord& partition, const BlockRecord& source, const MovingItem& item, FlashAddress& new_slot) {
  const ItemRecord old = LocateRecord(partition, source, item.header.word);
  const RecordPlace place = FindBlockForRecord(partition, old.length, SpaceUse::kReorganise);
  if (place.length_word == 0) return Fail(code::kInternalError);

  BlockRecord& block = partition.block_table[place.block];
  const u8* payload = old.length != 0 ? VirtualMemoryAddress(old.payload()) : nullptr;
  if (u16 code = WriteRecordBytes(block, place.length_word, payload, old.length)) return code;
  new_slot = block.next_slot;
  SlotHeader header{.type = item.header.type, .id = item.header.id, .word = LocationOf(block.base, place.length_word)};
  if (u16 code = WriteHeaderSlot(block, header)) return code;
  return CommitSlot(new_slot, header.word);
}

u16 MoveItem(PartitionRecord& partition, BlockRecord& source, const MovingItem& item) {
  FlashAddress new_slot = 0;
  if (u16 code = CopyItem(partition, source, item, new_slot)) return code;
  const LocationCache cache(partition);
  const u16 cache_entry = cache ? cache.Find(item.header.type, item.header.id) : kNoCacheEntry;
  if (u16 code = MarkItemDeleted(partition, source, item.slot)) return code;
  FollowMove(partition, item.header, cache_entry, new_slot);
  RepointHandles(partition, item.slot, new_slot);
  return code::kOk;
}

/// The source goes first: a mount that finds it Retired and the target still ReorgTarget knows that nothing is left to
/// move.
u16 FinishMove(PartitionRecord& partition, u16 source, u16 target) {
  const BlockStates& states = CurrentLayout().states;
  if (u16 code = EnterBlockState(partition.block_table[source], states.retired)) return code;
  return EnterBlockState(partition.block_table[target], states.active);
}

}  // namespace

u16 MoveBlockItems(PartitionRecord& partition, u16 source, u16 target, MoveKind kind) {
  BlockRecord& block = partition.block_table[source];
  // Items move one by one in slot order, so a cut leaves at most the first Valid one of the source copied already.
  bool may_be_copied = kind == MoveKind::kResume;
  for (SlotWalk walk(partition, block); walk.AtSlot(); walk.Advance()) {
    if (!walk.IsValidItem()) continue;
    const LockGuard lock(PartitionLock(partition));
    const MovingItem item{.slot = walk.slot(), .header = walk.header()};
    if (may_be_copied) {
      may_be_copied = false;
      const SearchResult copy = FindCopyElsewhere(partition, source, item.header);
      if (copy.error != code::kOk) return copy.error;
      if (copy.found()) {
        if (u16 code = MarkItemDeleted(partition, block, item.slot)) return code;
        FollowMove(partition, item.header, kNoCacheEntry, copy.slot);
        continue;
      }
    }
    if (u16 code = MoveItem(partition, block, item)) return code;
  }
  const LockGuard lock(PartitionLock(partition));
  return FinishMove(partition, source, target);
}

u16 CompleteReorganisation(PartitionRecord& partition, u16 source, u16 target) {
  const BlockStates& states = CurrentLayout().states;
  if (source == kNoBlock)
    return target == kNoBlock ? code::kOk : EnterBlockState(partition.block_table[target], states.active);

  MoveKind kind = MoveKind::kResume;
  if (target == kNoBlock) {
    kind = MoveKind::kFresh;
    if (u16 code = FindSpareBlock(partition, target)) return code;
    if (u16 code = EnterBlockState(partition.block_table[target], states.reorg_target)) return code;
  }
  if (u16 code = MoveBlockItems(partition, source, target, kind)) return code;
  return FormatBlock(partition, partition.block_table[source], WearSource::kFlash);
}

}  // namespace vok
