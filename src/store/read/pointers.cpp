#include <limits>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/clients.h"
#include "store/read/listing.h"
#include "store/volume/lock_table.h"
#include "vok/store.h"

namespace vok {

namespace {

/// Counts the pointer, unless the partition is read-only, and gives it out.
/// @return 0; 137
u16 GivePointer(PartitionRecord& partition, const SearchResult& item, u16 lock, u32& length, u64& address) {
  if (!IsReadOnly(partition)) {
    u16& counter = LockTable(partition).pointers_out(lock, item.block);
    if (counter == std::numeric_limits<u16>::max()) return Fail(code::kTooManyPointers);
    ++counter;
  }
  const ItemRecord record = LocateRecord(partition, partition.block_table[item.block], item.header.word);
  length = record.length;
  address = record.payload();
  return code::kOk;
}

/// A read-only partition takes any lock number.
u16 CheckLock(const PartitionRecord& partition, u16& lock_number) {
  return IsReadOnly(partition) ? code::kOk : CheckLockNumber(partition, lock_number);
}

void TakeBack(PartitionRecord& partition, u16 lock, u64 address) {
  u16& counter = LockTable(partition).pointers_out(lock, BlockOfAddress(partition, address));
  if (counter != 0) --counter;
}

}  // namespace

u16 GetItemPointer(u8 partition, u16 type, u16 id, u64* address, u32* length, u16 lock_number) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (u16 code = CheckTypeAndId(type, id)) return code;
  if (address == nullptr || length == nullptr) return Fail(code::kInvalidParameter);
  PartitionRecord& record = PartitionAt(partition);
  if (u16 code = CheckLock(record, lock_number)) return code;

  const LockGuard first(PartitionLock(record));
  const LockGuard second(SecondPartitionLock(record));
  const SearchResult item = FindItem(record, type, id, Caching::kOff, SearchStart::Directory());
  return item.found() ? GivePointer(record, item, lock_number, *length, *address) : item.Missing();
}

u16 GetItemPointers(u8 partition, u16 type, u16* cursor, const ValueSetChunk* set, ItemPointer* records, u32* count,
                    u16 lock_number) {
  if (u16 code = CheckListing(partition, type, cursor, set, count)) return code;
  PartitionRecord& record = PartitionAt(partition);
  if (u16 code = CheckLock(record, lock_number)) return code;
  if (records == nullptr || *count == 0) {
    *count = 0;
    return code::kOk;
  }
  const auto give = [&record, lock_number](const SearchResult& item, ItemPointer& out) {
    return GivePointer(record, item, lock_number, out.length, out.address);
  };
  return CollectItems(record, type, cursor, set, records, *count, ListingKind::kPointers, give);
}

u16 ReleasePointer(u8 partition, u64 address, u16 lock_number) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  PartitionRecord& record = PartitionAt(partition);
  if (!InPartition(record, address)) return Fail(code::kInvalidPointer);
  if (IsReadOnly(record)) return code::kOk;
  if (u16 code = CheckLockNumber(record, lock_number)) return code;
  const LockGuard lock(PartitionLock(record));
  TakeBack(record, lock_number, address);
  return code::kOk;
}

u16 ReleasePointers(u8 partition, u16 type, const ItemPointer* records, u32 count, u16 lock_number) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (records == nullptr || count == 0) return code::kOk;
  if (!IsItemType(type)) return Fail(code::kInvalidType);
  PartitionRecord& record = PartitionAt(partition);
  if (IsReadOnly(record)) return code::kOk;
  if (u16 code = CheckLockNumber(record, lock_number)) return code;
  const LockGuard lock(PartitionLock(record));
  for (u32 i = 0; i < count; ++i) {
    if (!InPartition(record, records[i].address)) return Fail(code::kInvalidPointer);
    TakeBack(record, lock_number, records[i].address);
  }
  return code::kOk;
}

}  // namespace vok
