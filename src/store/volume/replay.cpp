#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/search.h"
#include "store/volume/journal.h"
#include "store/volume/scan.h"
#include "store/volume/slots.h"
#include "store/write/retire.h"

namespace vok {

namespace {

SearchResult Search(PartitionRecord& partition, u16 type, u16 id, SearchStart start = SearchStart::Scan()) {
  return FindItem(partition, type, id, Caching::kOff, start);
}

/// Programs the new bytes again; a byte programmed before the cut takes the same value twice.
u16 ReplayPartialWrite(PartitionRecord& partition, const JournalEntry& entry) {
  const SearchResult item = Search(partition, entry.type, entry.id);
  if (!item.found()) return item.error;
  const ItemRecord record = LocateRecord(partition, partition.block_table[item.block], item.header.word);
  if (u64{entry.offset} + entry.data_length > record.length || entry.data_length == 0) return code::kOk;
  return FlashProgramBuffer(record.payload() + entry.offset, VirtualMemoryAddress(entry.data), entry.data_length);
}

/// Two Valid copies mean that the new one was committed: the copy found first is retired. With one copy there is
/// nothing left to do, or the change had not come so far.
u16 ReplayReplace(PartitionRecord& partition, const JournalEntry& entry) {
  const SearchResult first = Search(partition, entry.type, entry.id);
  if (!first.found()) return first.error;
  const SearchResult second = Search(partition, entry.type, first.header.id, SearchStart::After(first.slot));
  if (!second.found()) return second.error;
  return MarkItemDeleted(partition, partition.block_table[first.block], first.slot);
}

/// Once the item stands under its new name, the old one goes.
u16 ReplayRename(PartitionRecord& partition, const JournalEntry& entry) {
  const SearchResult renamed = Search(partition, entry.type, entry.id);
  if (!renamed.found()) return renamed.error;
  const SearchResult old = Search(partition, ReadFlashWord16(entry.data), ReadFlashWord16(entry.data + 2));
  if (!old.found()) return old.error;
  return MarkItemDeleted(partition, partition.block_table[old.block], old.slot);
}

u16 Replay(PartitionRecord& partition, const JournalEntry& entry) {
  switch (entry.kind) {
    case journal::kPartialWrite: return ReplayPartialWrite(partition, entry);
    case journal::kReplace: return ReplayReplace(partition, entry);
    case journal::kRename: return ReplayRename(partition, entry);
    default: return Fail(code::kMountFailure);
  }
}

}  // namespace

u16 ReplayJournalRecord(PartitionRecord& partition, FlashAddress slot) {
  BlockRecord& block = partition.block_table[BlockOfAddress(partition, slot)];
  JournalEntry entry{};
  if (ReadJournalEntry(LocateRecord(partition, block, ReadHeader(slot).word), entry))
    if (u16 code = Replay(partition, entry)) return code;
  return MarkItemDeleted(partition, block, slot);
}

}  // namespace vok
