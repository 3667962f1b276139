#include "store/read/search.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"

namespace vok {

namespace {

bool Matches(const SlotHeader& header, u16 type, u16 id) {
  return header.type == type && (id == kAnyId || header.id == id) && IsValid(header.word);
}

/// Looks through one block from @p first on.
bool SearchBlock(const PartitionRecord& partition, u16 index, FlashAddress first, u16 type, u16 id,
                 SearchResult& result) {
  SlotWalk walk(partition, partition.block_table[index], first);
  for (; walk.AtSlot(); walk.Advance()) {
    if (!Matches(walk.header(), type, id)) continue;
    result.slot = walk.slot();
    result.block = index;
    result.header = walk.header();
    return true;
  }
  // Damage, but no reason to miss the items of the blocks that follow.
  if (walk.RanOut()) Fail(code::kInternalError);
  return false;
}

/// One pass over the header slots. Kept out of the way of searches that the index answers.
[[gnu::noinline]] bool WalkBlocks(const PartitionRecord& partition, u16 type, u16 id, SearchStart start,
                                  SearchResult& result) {
  u16 index = 0;
  FlashAddress first = 0;
  if (start.ContinuesAfterSlot()) {
    index = BlockOfAddress(partition, start.slot());
    first = start.slot() + CurrentLayout().slot_size();
  }
  for (; index < partition.block_count; ++index, first = 0) {
    const BlockRecord& block = partition.block_table[index];
    if (!IsSearched(block)) continue;
    if (SearchBlock(partition, index, first != 0 ? first : FirstSlot(block), type, id, result)) return true;
  }
  return false;
}

/// Without a slot nothing is found, and the rest means nothing.
void TakeIndexed(const ItemIndex& index, u16 type, u16 id, const IndexedSlot& found, SearchResult& result) {
  result.slot = found.slot;
  result.block = index.BlockOf(found.slot);
  result.header = {.type = type, .id = id, .word = found.word};
}

/// Most callers go on to the record, whose payload ends at its length word.
void FetchRecord(const PartitionRecord& partition, u16 block, u32 word) {
  FetchBytes(LengthWordAddress(partition.block_table[block].base, word));
}

/// One pass over the partition's slots, by the index or by a walk.
bool SearchSlots(const PartitionRecord& partition, u16 type, u16 id, SearchStart start, SearchResult& result) {
  ItemIndex* const index = IndexOf(partition);
  if (index == nullptr || (id == kAnyId && !index->CanList())) return WalkBlocks(partition, type, id, start, result);
  const FlashAddress after = start.ContinuesAfterSlot() ? start.slot() : 0;
  if (id != kAnyId) {
    TakeIndexed(*index, type, id, index->Find(type, id, after), result);
  } else if ((result.slot = index->Find(type, after)) != 0) {
    result.block = index->BlockOf(result.slot);
    result.header = ReadHeader(result.slot);
  }
  if (result.found()) FetchRecord(partition, result.block, result.header.word);
  return result.found();
}

void TakeLocation(const PartitionRecord& partition, const DirLocation& location, SearchResult& result) {
  if (location.knowledge != DirKnowledge::kFound) return;
  result.slot = location.slot;
  result.block = BlockOfAddress(partition, location.slot);
  result.header = ReadHeader(location.slot);
}

/// @return whether the directory settled the search, one way or the other
bool AskDirectory(PartitionRecord& partition, u16 type, u16 id, SearchResult& result) {
  const DirLocation location = DirFindLocation(partition, type, id);
  TakeLocation(partition, location, result);
  return location.knowledge != DirKnowledge::kUnknown;
}

/// The search in all its steps.
[[gnu::noinline]] SearchResult FindStepwise(PartitionRecord& partition, u16 type, u16 id, Caching caching,
                                            SearchStart start) {
  SearchResult result;
  const bool asks_directory = start.MayAskDirectory() && id != kAnyId;
  if (asks_directory && AskDirectory(partition, type, id, result)) return result;

  for (;;) {
    HuntFlag flag(partition);
    if (!flag.taken()) {
      result.error = code::kOutOfHuntFlags;
      return result;
    }
    if (SearchSlots(partition, type, id, start, result)) break;
    if (flag.StillValid()) return result;
  }
  if (caching == Caching::kOn) DirRecordLocation(partition, type, result.header.id, result.slot, NewItem::kNo);
  return result;
}

/// The same for an item's name while the default hooks are in force, no search runs and the index is there: nothing
/// comes between the steps, so those that only a hook could see are left out, and the record is on its way before the
/// location cache is asked and kept.
SearchResult FindAtOnce(PartitionRecord& partition, const ItemIndex& index, u16 type, u16 id, Caching caching) {
  LocationCache cache(partition);
  SearchResult result;
  const IndexedSlot found = index.Find(type, id, 0);
  if (found.slot != 0) FetchRecord(partition, index.BlockOf(found.slot), found.word);
  const DirLocation location = DirLook(partition, cache, type, id);
  if (location.knowledge == DirKnowledge::kUnknown) {
    PassHuntFlag(partition);
    if (found.slot != 0 && caching == Caching::kOn && cache) cache.Insert(type, id, found.slot);
  } else if (location.slot != found.slot) [[unlikely]] {
    TakeLocation(partition, location, result);
    return result;
  }
  TakeIndexed(index, type, id, found, result);
  return result;
}

}  // namespace

u16 SearchResult::Missing() const { return error != code::kOk ? error : Fail(code::kItemNotFound); }

SearchResult FindItem(PartitionRecord& partition, u16 type, u16 id, Caching caching, SearchStart start) {
  if (OwnHooks() == nullptr && partition.hunts_in_use == 0 && start.MayAskDirectory() && id != kAnyId)
    if (ItemIndex* const index = BuiltIndexOf(partition)) return FindAtOnce(partition, *index, type, id, caching);
  return FindStepwise(partition, type, id, caching, start);
}

}  // namespace vok
