#include <array>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/volume/journal.h"
#include "store/write/ids.h"
#include "store/write/replace.h"
#include "store/write/retire.h"
#include "vok/store.h"

namespace vok {

namespace {

u16 CheckRename(u8 partition, u16 new_type, const u16* new_id, u16 old_type, u16 old_id) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (u16 code = CheckTypeAndId(old_type, old_id)) return code;
  if (!IsItemType(new_type)) return Fail(code::kInvalidType);
  return new_id != nullptr ? code::kOk : Fail(code::kInvalidParameter);
}

/// Makes sure that the new name is free, or makes one. @return 0; 135; 100; 127
u16 SettleNewId(PartitionRecord& partition, u16 new_type, u16& new_id) {
  if (new_id == kAnyId) {
    new_id = MakeItemId(partition, new_type);
    return new_id != kAnyId ? code::kOk : Fail(code::kCannotMakeId);
  }
  const SearchResult taken = FindItem(partition, new_type, new_id, Caching::kOff, SearchStart::Directory());
  return taken.found() ? Fail(code::kTargetExists) : taken.error;
}

/// Writes the item's bytes under the new name, the slot still Allocated.
u16 CopyUnderNewName(PartitionRecord& partition, u16 new_type, u16 new_id, const SearchResult& old, NewRecord& fresh) {
  const ItemRecord bytes = LocateRecord(partition, partition.block_table[old.block], old.header.word);
  if (u16 code = AllocateItemRecord(partition, new_type, new_id, nullptr, bytes.length, fresh)) return code;
  return bytes.length > 0 ? FlashProgramBuffer(fresh.payload, VirtualMemoryAddress(bytes.payload()), bytes.length)
                          : code::kOk;
}

/// The marker names both, so that a mount which finds the new item Valid retires the old one.
u16 WriteRenameMarker(PartitionRecord& partition, const SlotHeader& fresh, u16 old_type, u16 old_id,
                      NewRecord& marker) {
  const std::array<u8, journal::kRenameDataSize> old_name = {static_cast<u8>(old_type >> 8), static_cast<u8>(old_type),
                                                             static_cast<u8>(old_id >> 8), static_cast<u8>(old_id)};
  const JournalTemplate entry{.kind = journal::kRename, .type = fresh.type, .id = fresh.id};
  return WriteJournalRecord(partition, entry, old_name.data(), journal::kRenameDataSize, marker);
}

u16 RetireOldName(PartitionRecord& partition, const SearchResult& old, u16 old_type, u16 old_id) {
  if (u16 code = MarkItemDeleted(partition, partition.block_table[old.block], old.slot)) return code;
  if (partition.directory_arena == nullptr) return code::kOk;
  const LockGuard lock(DirectoryLock(partition));
  DirForgetLocation(partition, old_type, old_id);
  return code::kOk;
}

}  // namespace

u16 RenameItem(u8 partition, u8 mode, u16 new_type, u16* new_id, u16 old_type, u16 old_id) {
  if (u16 code = CheckRename(partition, new_type, new_id, old_type, old_id)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  const SearchResult old = FindItem(record, old_type, old_id, Caching::kOff, SearchStart::Directory());
  if (!old.found()) return old.Missing();
  if (u16 code = SettleNewId(record, new_type, *new_id)) return code;

  NewRecord fresh;
  NewRecord marker;
  if (u16 code = CopyUnderNewName(record, new_type, *new_id, old, fresh)) return code;
  if (mode == kJournalled) {
    if (u16 code = WriteRenameMarker(record, fresh.header, old_type, old_id, marker)) return code;
    if (u16 code = CommitSlot(fresh.slot, fresh.header.word)) return code;
  }
  if (u16 code = RetireOldName(record, old, old_type, old_id)) return code;
  if (u16 code = mode == kJournalled ? MarkItemDeleted(record, marker.slot) : CommitSlot(fresh.slot, fresh.header.word))
    return code;
  DirRecordLocation(record, new_type, *new_id, fresh.slot, NewItem::kYes);
  return code::kOk;
}

}  // namespace vok
