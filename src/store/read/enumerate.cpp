#include <algorithm>
#include <bitset>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/read/item_ids.h"
#include "store/read/search.h"
#include "store/read/value_set.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u16 kFirstType = 1;

u16 ListTypesFromSet(u16& cursor, const ValueSetChunk& set, u16* out, u32& count) {
  if (set.key != kKeyOfTypes || cursor < kFirstType || cursor > kLastItemType) return Fail(code::kInvalidType);
  CollectValues(cursor, set, count, [out](u32 i, u16 type) { out[i] = type; });
  if (cursor != kNoMoreValues) return Fail(code::kItemTooBig);
  cursor = 0;
  return code::kOk;
}

u16 ListTypesFromFlash(PartitionRecord& partition, u16* out, u32& count) {
  const LockGuard lock(PartitionLock(partition));
  std::bitset<0x10000> listed;
  u32 n = 0;
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& block = partition.block_table[i];
    if (!IsSearched(block)) continue;
    for (SlotWalk walk(partition, block); walk.AtSlot(); walk.Advance()) {
      const u16 type = walk.header().type;
      if (!walk.IsValidItem() || listed[type]) continue;
      if (n == count) return Fail(code::kItemTooBig);
      listed.set(type);
      out[n++] = type;
    }
  }
  count = n;
  return code::kOk;
}

u16 CountItems(PartitionRecord& partition, u16 type, u32& count) {
  const LockGuard lock(PartitionLock(partition));
  if (const TypeEntry entry = DirLookupType(partition, type)) {
    count = entry.live_items();
    return code::kOk;
  }
  count = 0;
  return ForEachItem(partition, type, [&](const SearchResult&) {
    ++count;
    return true;
  });
}

u32 LengthOf(const PartitionRecord& partition, const SearchResult& item) {
  return ItemDataLength(partition, partition.block_table[item.block], item.header);
}

/// @param note  called with every item listed
template <typename Note>
u16 ListItemsFromFlash(PartitionRecord& partition, u16 type, u16* out, u32& count, Note note) {
  const LockGuard lock(PartitionLock(partition));
  u32 n = 0;
  bool too_many = false;
  const u16 code = ForEachItem(partition, type, [&](const SearchResult& item) {
    too_many = n == count;
    if (too_many) return false;
    out[n++] = item.header.id;
    note(item);
    return true;
  });
  count = n;
  return too_many ? Fail(code::kItemTooBig) : code;
}

/// Adds up the lengths of the first @p count items between the first and the last of the collected IDs, which stand in
/// rising order; an item there that was not collected counts as well.
u16 AddUpLengths(PartitionRecord& partition, u16 type, const u16* ids, u32& count, u32& total_length) {
  const LockGuard lock(PartitionLock(partition));
  u32 n = 0;
  const u16 code = ForEachItem(partition, type, [&](const SearchResult& item) {
    if (item.header.id < ids[0] || item.header.id > ids[count - 1]) return true;
    total_length += LengthOf(partition, item);
    return ++n < count;
  });
  if (n == count) return code::kOk;
  count = n;
  return code != code::kOk ? code : Fail(code::kItemNotFound);
}

u16 ListItemsFromSet(PartitionRecord& partition, u16 type, u16& cursor, const ValueSetChunk& set, u16* out, u32& count,
                     u32* total_length) {
  if (set.key != type) return Fail(code::kInvalidType);
  if (out == nullptr) {
    count = ValueSetSize(set);
    return code::kOk;
  }
  CollectValues(cursor, set, count, [out](u32 i, u16 id) { out[i] = id; });
  if (count == 0) return code::kOk;
  if (total_length != nullptr)
    if (u16 code = AddUpLengths(partition, type, out, count, *total_length)) return code;
  return cursor != kNoMoreValues ? Fail(code::kItemTooBig) : code::kOk;
}

}  // namespace

u16 ListTypes(u8 partition, u16* cursor, const ValueSetChunk* set, u16* out, u32* count) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if ((set != nullptr && cursor == nullptr) || count == nullptr) return Fail(code::kInvalidParameter);
  if (out == nullptr || *count == 0) {
    *count = 0;
    return code::kOk;
  }
  std::fill_n(out, *count, u16{0});
  return set != nullptr ? ListTypesFromSet(*cursor, *set, out, *count)
                        : ListTypesFromFlash(PartitionAt(partition), out, *count);
}

u16 ListItemIds(u8 partition, u16 type, u16* out, u32& count, std::vector<FlashAddress>& records) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  PartitionRecord& record = PartitionAt(partition);
  return ListItemsFromFlash(record, type, out, count, [&](const SearchResult& item) {
    records.push_back(LengthWordAddress(record.block_table[item.block].base, item.header.word));
  });
}

u32 LikelyItemCount(u8 partition) {
  if (store_root == nullptr || partition >= store_root->partition_count) return 0;
  const ItemIndex* const index = IndexOf(PartitionAt(partition));
  return index != nullptr ? index->size() : 0;
}

u16 ListItems(u8 partition, u16 type, u16* cursor, const ValueSetChunk* set, u16* out, u32* count, u32* total_length) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  if ((set != nullptr && cursor == nullptr) || count == nullptr || (total_length != nullptr && out == nullptr))
    return Fail(code::kInvalidParameter);
  if (set != nullptr && *cursor == kNoMoreValues) return Fail(code::kInvalidId);
  if (total_length != nullptr) {
    *total_length = 0;
    if (*count == 0) return code::kOk;
  }
  if (out != nullptr) std::fill_n(out, *count, kAnyId);

  PartitionRecord& record = PartitionAt(partition);
  if (set != nullptr) return ListItemsFromSet(record, type, *cursor, *set, out, *count, total_length);
  if (out == nullptr) return CountItems(record, type, *count);
  return ListItemsFromFlash(record, type, out, *count, [&](const SearchResult& item) {
    if (total_length != nullptr) *total_length += LengthOf(record, item);
  });
}

}  // namespace vok
