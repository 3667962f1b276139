#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/listing.h"
#include "vok/store.h"

namespace vok {

namespace {

u8 PartitionOf(u32 handle) { return static_cast<u8>((handle >> 16) - 1); }

/// The table entry that a handle names in a mounted partition, or null.
u64* HandleEntry(const PartitionRecord& partition, u32 handle) {
  const u32 index = handle & 0xFFFF;
  return index < partition.handle_count ? partition.handle_table + index : nullptr;
}

/// Stores a payload address in the lowest free entry. @return 0; 136
u16 TakeHandle(PartitionRecord& partition, FlashAddress payload, u32& handle) {
  for (u32 i = 0; i < partition.handle_count; ++i) {
    if (partition.handle_table[i] != 0) continue;
    partition.handle_table[i] = payload;
    handle = (NumberOf(partition) + 1u) << 16 | i;
    return code::kOk;
  }
  return Fail(code::kTooManyHandles);
}

/// @param length  out, also when no handle is free
u16 OpenHandle(PartitionRecord& partition, const SearchResult& item, u32& length, u32& handle) {
  const ItemRecord record = LocateRecord(partition, partition.block_table[item.block], item.header.word);
  length = record.length;
  if (!IsReadOnly(partition)) return TakeHandle(partition, record.payload(), handle);
  // A read-only partition has no lock of its own that the caller could hold.
  const StoreLock lock;
  return TakeHandle(partition, record.payload(), handle);
}

/// Frees the entry of a handle under the lock that guards it. @return 0; 110
u16 CloseEntry(PartitionRecord& partition, u32 handle) {
  u64* entry = HandleEntry(partition, handle);
  if (entry == nullptr) return Fail(code::kInvalidHandle);
  *entry = 0;
  return code::kOk;
}

/// Runs @p step under the lock of the partition's handle table.
template <typename Step>
u16 UnderHandleLock(PartitionRecord& partition, Step step) {
  if (IsReadOnly(partition)) {
    const StoreLock lock;
    return step();
  }
  const LockGuard lock(PartitionLock(partition));
  return step();
}

u32 FailWithZero(u16 code) {
  Fail(code);
  return 0;
}

}  // namespace

u16 OpenItem(u8 partition, u16 type, u16 id, u32* handle, u32* length) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (u16 code = CheckTypeAndId(type, id)) return code;
  if (handle == nullptr || length == nullptr) return Fail(code::kInvalidParameter);
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  const SearchResult item = FindItem(record, type, id, Caching::kOff, SearchStart::Directory());
  return item.found() ? OpenHandle(record, item, *length, *handle) : item.Missing();
}

u16 OpenItems(u8 partition, u16 type, u16* cursor, const ValueSetChunk* set, OpenedItem* records, u32* count) {
  if (u16 code = CheckListing(partition, type, cursor, set, count)) return code;
  if (records == nullptr || *count == 0) {
    *count = 0;
    return code::kOk;
  }
  PartitionRecord& record = PartitionAt(partition);
  const auto open = [&record](const SearchResult& item, OpenedItem& out) {
    return OpenHandle(record, item, out.length, out.handle);
  };
  return CollectItems(record, type, cursor, set, records, *count, ListingKind::kHandles, open);
}

u16 ReadHandle(u32 handle, u32 length, u32 offset, u8* buffer) {
  if (u16 code = CheckPartitionMounted(PartitionOf(handle))) return code;
  const u64* entry = HandleEntry(PartitionAt(PartitionOf(handle)), handle);
  if (entry == nullptr) return code::kInvalidHandle;
  if (length == 0) return code::kOk;
  if (buffer == nullptr) return Fail(code::kInvalidParameter);
  if (!InFlash(*entry + offset, length)) return Fail(code::kInvalidOffset);
  CopyFromFlash(buffer, *entry + offset, length);
  return code::kOk;
}

u32 ReadHandleValue(u32 handle, u8 width, u32 offset) {
  if (CheckPartitionMounted(PartitionOf(handle)) != code::kOk) return 0;
  const u64* entry = HandleEntry(PartitionAt(PartitionOf(handle)), handle);
  if (entry == nullptr) return FailWithZero(code::kInvalidHandle);
  if (width != 1 && width != 2 && width != 4) return FailWithZero(code::kInvalidParameter);
  const FlashAddress address = *entry + offset;
  if (!InFlash(address, width)) return FailWithZero(code::kInvalidOffset);
  if (width == 1) return *VirtualMemoryAddress(address);
  return width == 2 ? ReadFlashWord16(address) : ReadFlashWord32(address);
}

u16 CloseHandle(u32 handle) {
  if (u16 code = CheckPartitionMounted(PartitionOf(handle))) return code;
  PartitionRecord& partition = PartitionAt(PartitionOf(handle));
  if (HandleEntry(partition, handle) == nullptr) return Fail(code::kInvalidHandle);
  return UnderHandleLock(partition, [&] { return CloseEntry(partition, handle); });
}

u16 CloseHandles(const OpenedItem* records, u32 count) {
  if (records == nullptr || count == 0) return code::kOk;
  const u8 number = PartitionOf(records[0].handle);
  if (u16 code = CheckPartitionMounted(number)) return code;
  PartitionRecord& partition = PartitionAt(number);
  return UnderHandleLock(partition, [&] {
    for (u32 i = 0; i < count; ++i)
      if (u16 code = CloseEntry(partition, records[i].handle)) return code;
    return code::kOk;
  });
}

}  // namespace vok
