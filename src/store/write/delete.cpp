#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/read/search.h"
#include "store/write/retire.h"
#include "vok/store.h"

namespace vok {

namespace {

void ForgetDeleted(PartitionRecord& partition, u16 type, u16 id) {
  if (partition.directory_arena == nullptr) return;
  const LockGuard lock(DirectoryLock(partition));
  DirForgetLocation(partition, type, id);
}

/// Retires every Valid item of the searched blocks that @p selects (slot header) names.
/// @return 0; 105 at the first failure, the items before it stay retired
template <typename Selects>
u16 DeleteSelected(PartitionRecord& partition, u32& deleted, Selects selects) {
  const LockGuard lock(PartitionLock(partition));
  deleted = 0;
  for (u16 i = 0; i < partition.block_count; ++i) {
    BlockRecord& block = partition.block_table[i];
    if (!IsSearched(block)) continue;
    for (SlotWalk walk(partition, block); walk.AtSlot(); walk.Advance()) {
      if (!walk.IsValidItem() || !selects(walk.header())) continue;
      if (u16 code = MarkItemDeleted(partition, block, walk.slot())) return code;
      ForgetDeleted(partition, walk.header().type, walk.header().id);
      ++deleted;
    }
  }
  return code::kOk;
}

}  // namespace

u16 DeleteItem(u8 partition, u16 type, u16 id) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (u16 code = CheckTypeAndId(type, id)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  const SearchResult item = FindItem(record, type, id, Caching::kOff, SearchStart::Directory());
  if (!item.found()) return item.Missing();
  const u16 code = MarkItemDeleted(record, record.block_table[item.block], item.slot);
  ForgetDeleted(record, type, id);
  return code;
}

u16 DeleteItemRange(u8 partition, u16 type, u16 first_id, u16 last_id) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (first_id == kAnyId || last_id == kAnyId || last_id < first_id) return Fail(code::kInvalidParameter);
  u32 deleted = 0;
  const u16 code = DeleteSelected(PartitionAt(partition), deleted, [=](const SlotHeader& header) {
    return header.type == type && first_id <= header.id && header.id <= last_id;
  });
  if (code != code::kOk) return code;
  return deleted != 0 ? code::kOk : Fail(code::kItemNotFound);
}

u16 DeleteTypeRange(u8 partition, u16 first_type, u16 last_type) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (first_type > kLastItemType || last_type > kLastItemType || last_type < first_type)
    return Fail(code::kInvalidParameter);
  u32 deleted = 0;
  return DeleteSelected(PartitionAt(partition), deleted, [=](const SlotHeader& header) {
    return first_type <= header.type && header.type <= last_type;
  });
}

}  // namespace vok
