#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/read/search.h"
#include "store/volume/space.h"
#include "store/write/ids.h"
#include "store/write/replace.h"
#include "vok/store.h"

namespace vok {

namespace {

u16 CheckWrite(u8 partition, u16 type, const u16* id, u32 length) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  if (length > LargestItem(PartitionAt(partition).block_size)) return Fail(code::kLargeChunk);
  return id != nullptr ? code::kOk : Fail(code::kInvalidParameter);
}

/// Replaces an existing item, in place when nothing but bytes change.
u16 RewriteItem(PartitionRecord& partition, u8 mode, u16 type, u16 id, const SearchResult& old, const u8* data,
                u32 length) {
  const ItemRecord record = LocateRecord(partition, partition.block_table[old.block], old.header.word);
  if (length != 0 && data != nullptr && record.length == length) {
    switch (AskOverwrite(partition, record.payload(), data, length)) {
      case OverwriteAnswer::kInPlace: return FlashProgramBuffer(record.payload(), data, length);
      case OverwriteAnswer::kNothingToDo: return code::kOk;
      case OverwriteAnswer::kRefused: return Fail(code::kInvalidParameter);
      case OverwriteAnswer::kNewCopy: break;
    }
  }
  NewRecord fresh;
  if (u16 code = AllocateItemRecord(partition, type, id, data, length, fresh)) return code;
  return FinishReplacement(partition, mode, type, id, old, fresh);
}

u16 CreateItem(PartitionRecord& partition, u16 type, u16 id, const u8* data, u32 length) {
  NewRecord fresh;
  if (u16 code = AllocateItemRecord(partition, type, id, data, length, fresh)) return code;
  if (u16 code = CommitSlot(fresh.slot, fresh.header.word)) return code;
  DirRecordLocation(partition, type, id, fresh.slot, NewItem::kYes);
  return code::kOk;
}

}  // namespace

u16 WriteItem(u8 partition, u8 mode, u16 type, u16* id, const u8* data, u32 length) {
  if (u16 code = CheckWrite(partition, type, id, length)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  if (*id != kAnyId) {
    const SearchResult old = FindItem(record, type, *id, Caching::kOff, SearchStart::Directory());
    if (old.error != code::kOk) return old.error;
    if (old.found()) return RewriteItem(record, mode, type, *id, old, data, length);
  } else {
    *id = MakeItemId(record, type);
    if (*id == kAnyId) return Fail(code::kCannotMakeId);
  }
  return CreateItem(record, type, *id, data, length);
}

}  // namespace vok
