#include <algorithm>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/journal.h"
#include "store/write/replace.h"
#include "store/write/retire.h"
#include "vok/store.h"

namespace vok {

namespace {

constexpr u32 kAppend = 0xFFFFFFFF;

/// A change of part of an item: @p length bytes at @p offset.
struct PartWrite {
  u8 mode;
  u16 type;
  u16 id;
  const u8* data;
  u32 length;
  u32 offset;
};

u16 CheckPartWrite(u8 partition, u16 type, u16 id, const u8* data) {
  if (u16 code = CheckPartitionWritable(partition)) return code;
  if (u16 code = CheckTypeAndId(type, id)) return code;
  return data != nullptr ? code::kOk : Fail(code::kInvalidParameter);
}

/// Whether the change is programmed over the old bytes. From the threshold on, a journal record with the new bytes and
/// their second programming cost more than a new copy.
bool MayGoInPlace(u8 mode, u32 length, u32 item_length) {
  if (mode == kPlain) return true;
  const u32 threshold = (3 * CurrentLayout().word_size + 4) / 2 + item_length / 2;
  return mode == kJournalled && length < threshold;
}

/// The journal record holds the new bytes before the first old one is touched, so a mount can program them again.
u16 ProgramInPlace(PartitionRecord& partition, const PartWrite& part, FlashAddress payload) {
  if (part.mode != kJournalled) return FlashProgramBuffer(payload + part.offset, part.data, part.length);
  const JournalTemplate announcement{
      .kind = journal::kPartialWrite, .type = part.type, .id = part.id, .offset = part.offset};
  NewRecord entry;
  if (u16 code = WriteJournalRecord(partition, announcement, part.data, part.length, entry)) return code;
  if (u16 code = FlashProgramBuffer(payload + part.offset, part.data, part.length)) return code;
  return MarkItemDeleted(partition, entry.slot);
}

/// Fills a new copy from the old bytes around the new ones.
u16 ProgramCopy(const ItemRecord& old, const PartWrite& part, FlashAddress payload) {
  const u8* const old_bytes = old.length != 0 ? VirtualMemoryAddress(old.payload()) : nullptr;
  if (part.offset > 0)
    if (u16 code = FlashProgramBuffer(payload, old_bytes, part.offset)) return code;
  if (u16 code = FlashProgramBuffer(payload + part.offset, part.data, part.length)) return code;
  const u32 end = part.offset + part.length;
  return end < old.length ? FlashProgramBuffer(payload + end, old_bytes + end, old.length - end) : code::kOk;
}

u16 WriteByCopy(PartitionRecord& partition, const SearchResult& item, const ItemRecord& old, const PartWrite& part) {
  const u64 length = std::max<u64>(old.length, u64{part.offset} + part.length);
  if (length > LargestItem(partition.block_size)) return Fail(code::kLargeChunk);
  NewRecord fresh;
  if (u16 code =
          AllocateItemRecord(partition, item.header.type, item.header.id, nullptr, static_cast<u32>(length), fresh))
    return code;
  if (u16 code = ProgramCopy(old, part, fresh.payload)) return code;
  return FinishReplacement(partition, part.mode, part.type, part.id, item, fresh);
}

}  // namespace

u16 WriteItemPart(u8 partition, u8 mode, u16 type, u16 id, const u8* data, u32 length, u32 offset) {
  if (u16 code = CheckPartWrite(partition, type, id, data)) return code;
  PartitionRecord& record = PartitionAt(partition);
  const LockGuard lock(PartitionLock(record));
  const SearchResult item = FindItem(record, type, id, Caching::kOff, SearchStart::Directory());
  if (!item.found()) return item.Missing();

  const ItemRecord old = LocateRecord(record, record.block_table[item.block], item.header.word);
  const PartWrite part{.mode = mode,
                       .type = type,
                       .id = id,
                       .data = data,
                       .length = length,
                       .offset = offset == kAppend ? old.length : offset};
  if (part.offset > old.length) return Fail(code::kInvalidOffset);
  if (length == 0) return code::kOk;
  if (u64{part.offset} + length <= old.length) {
    switch (AskOverwrite(record, old.payload() + part.offset, data, length)) {
      case OverwriteAnswer::kInPlace:
        if (!MayGoInPlace(mode, length, old.length)) break;
        return ProgramInPlace(record, part, old.payload());
      case OverwriteAnswer::kNothingToDo: return code::kOk;
      case OverwriteAnswer::kRefused: return Fail(code::kInvalidParameter);
      case OverwriteAnswer::kNewCopy: break;
    }
  }
  return WriteByCopy(record, item, old, part);
}

}  // namespace vok
