#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/item_bytes.h"
#include "store/read/search.h"
#include "vok/store.h"

namespace vok {

namespace {

u16 CheckItem(u8 partition, u16 type, u16 id, const u32* length) {
  if (u16 code = CheckPartitionMounted(partition)) return code;
  if (u16 code = CheckTypeAndId(type, id)) return code;
  return length != nullptr ? code::kOk : Fail(code::kInvalidParameter);
}

[[gnu::always_inline]] inline u16 FindRecord(PartitionRecord& partition, u16 type, u16 id, ItemRecord& bytes) {
  const SearchResult item = FindItem(partition, type, id, Caching::kOn, SearchStart::Directory());
  if (!item.found()) return item.Missing();
  bytes = LocateRecord(partition, partition.block_table[item.block], item.header.word);
  return bytes.sound ? code::kOk : Fail(code::kInternalError);
}

}  // namespace

u16 ReadItem(u8 partition, u16 type, u16 id, u8* buffer, u32* length, u32 offset) {
  if (u16 code = CheckItem(partition, type, id, length)) return code;
  ItemRecord bytes{};
  if (u16 code = FindRecord(PartitionAt(partition), type, id, bytes)) return code;
  if (offset > bytes.length) return Fail(code::kInvalidOffset);
  const u32 rest = bytes.length - offset;
  const bool too_big = rest > *length;
  if (!too_big) *length = rest;
  if (*length != 0) {
    if (buffer == nullptr) return Fail(code::kInvalidParameter);
    CopyFromFlash(buffer, bytes.payload() + offset, *length);
  }
  return too_big ? Fail(code::kItemTooBig) : code::kOk;
}

u16 FindItemBytes(u8 partition, u16 type, u16 id, u32 most, std::span<const u8>& found) {
  if (u16 code = CheckItem(partition, type, id, &most)) return code;
  ItemRecord bytes{};
  if (u16 code = FindRecord(PartitionAt(partition), type, id, bytes)) return code;
  if (bytes.length > most) return Fail(code::kItemTooBig);
  if (!InFlash(bytes.payload(), bytes.length)) return Fail(code::kInternalError);
  found = {VirtualMemoryAddress(bytes.payload()), bytes.length};
  return code::kOk;
}

u16 GetItemLength(u8 partition, u16 type, u16 id, u32* length) {
  if (u16 code = CheckItem(partition, type, id, length)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const SearchResult item = FindItem(record, type, id, Caching::kOn, SearchStart::Directory());
  if (!item.found()) return item.Missing();
  *length = ItemDataLength(record, record.block_table[item.block], item.header);
  return code::kOk;
}

}  // namespace vok
