#pragma once

#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/search.h"
#include "store/read/value_set.h"

/// What the handle and the pointer listing share: filling an array of records, one for each item of a type.

namespace vok {

/// The argument checks. @return 0; a partition code; 118; 115; 112
inline u16 CheckListing(u8 partition, u16 type, const u16* cursor, const ValueSetChunk* set, const u32* count) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  if ((set != nullptr && cursor == nullptr) || count == nullptr) return Fail(code::kInvalidParameter);
  return set != nullptr && *cursor == kNoMoreValues ? Fail(code::kInvalidId) : code::kOk;
}

/// A pointer listing holds both partition locks, since the counters guard the block against a reorganisation. When it
/// fails, its count is that of the records filled; a handle listing from a set keeps the number collected.
enum class ListingKind : u8 { kHandles, kPointers };

/// @p take (item, record) makes the reference and fills the record's length and reference; its failure ends the
/// listing.
template <typename Record, typename Take>
u16 CollectAllItems(PartitionRecord& partition, u16 type, Record* records, u32& count, Take take) {
  u32 n = 0;
  u16 result = code::kOk;
  const u16 search = ForEachItem(partition, type, [&](const SearchResult& item) {
    if (n == count) {
      result = Fail(code::kItemTooBig);
      return false;
    }
    records[n].id = item.header.id;
    result = take(item, records[n]);
    if (result == code::kOk) ++n;
    return result == code::kOk;
  });
  count = n;
  return result != code::kOk ? result : search;
}

/// Takes the items whose IDs the set gave, which stand in rising order in the records; the flash gives them in any
/// order. An item between the first and the last of them that was not collected is passed over.
template <typename Record, typename Take>
u16 CollectSetItems(PartitionRecord& partition, u16 type, Record* records, u32& count, ListingKind kind, Take take) {
  u32 n = 0;
  u16 result = code::kOk;
  Record* const end = records + count;
  const u16 search = ForEachItem(partition, type, [&](const SearchResult& item) {
    Record* const record =
        std::lower_bound(records, end, item.header.id, [](const Record& entry, u16 id) { return entry.id < id; });
    if (record == end || record->id != item.header.id) return true;
    result = take(item, *record);
    return result == code::kOk && ++n < count;
  });
  if (n == count) return code::kOk;
  if (result != code::kOk && kind == ListingKind::kHandles) return result;
  count = n;
  if (result != code::kOk) return result;
  return search != code::kOk ? search : Fail(code::kItemNotFound);
}

/// Fills @p records after the argument checks. @return 0; 118 a set of another type; 120; 119; 127; a code of @p take
template <typename Record, typename Take>
u16 CollectItems(PartitionRecord& partition, u16 type, u16* cursor, const ValueSetChunk* set, Record* records,
                 u32& count, ListingKind kind, Take take) {
  for (u32 i = 0; i < count; ++i) records[i].id = kAnyId;
  if (set != nullptr) {
    if (set->key != type) return Fail(code::kInvalidType);
    CollectValues(*cursor, *set, count, [records](u32 i, u16 id) { records[i].id = id; });
    if (count == 0) return code::kOk;
  }
  {
    const LockGuard first(PartitionLock(partition));
    const LockGuard second(kind == ListingKind::kPointers ? SecondPartitionLock(partition) : nullptr);
    const u16 code = set != nullptr ? CollectSetItems(partition, type, records, count, kind, take)
                                    : CollectAllItems(partition, type, records, count, take);
    if (code != code::kOk) return code;
  }
  return set != nullptr && *cursor != kNoMoreValues ? Fail(code::kItemTooBig) : code::kOk;
}

}  // namespace vok
