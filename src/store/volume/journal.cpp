#include "store/volume/journal.h"

#include "flash/codes.h"
#include "flash/hooks.h"

namespace vok {

namespace {

u32 FixedSize() { return journal::kOffsetWordOffset + CurrentLayout().word_size; }

u16 NextJournalId() {
  StoreLock lock;
  u16& sequence = store_root->journal_sequence;
  const u16 id = sequence;
  sequence = id + 1 == kAnyId ? u16{0} : static_cast<u16>(id + 1);
  return id;
}

u16 ProgramFields(const JournalTemplate& entry, FlashAddress start) {
  if (u16 code = FlashProgram16(entry.kind, start + journal::kKindOffset)) return code;
  if (u16 code = FlashProgram16(entry.type, start + journal::kTypeOffset)) return code;
  if (u16 code = FlashProgram16(entry.id, start + journal::kIdOffset)) return code;
  // The word that says "no offset" is the erased one.
  if ((entry.offset & CurrentLayout().all_ones()) == CurrentLayout().all_ones()) return code::kOk;
  return WriteHeaderWord(entry.offset, start + journal::kOffsetWordOffset);
}

}  // namespace

u16 WriteJournalRecord(PartitionRecord& partition, const JournalTemplate& entry, const u8* data, u32 length,
                       NewRecord& record) {
  const u16 id = NextJournalId();
  if (u16 code = AllocateItemRecord(partition, kJournalType, id, nullptr, FixedSize() + length, record)) return code;
  if (u16 code = ProgramFields(entry, record.payload)) return code;
  if (length != 0)
    if (u16 code = FlashProgramBuffer(record.payload + FixedSize(), data, length)) return code;
  return CommitSlot(record.slot, record.header.word);
}

bool ReadJournalEntry(const ItemRecord& record, JournalEntry& entry) {
  if (!record.sound || record.length < FixedSize()) return false;
  const FlashAddress start = record.payload();
  entry = {.kind = ReadFlashWord16(start + journal::kKindOffset),
           .type = ReadFlashWord16(start + journal::kTypeOffset),
           .id = ReadFlashWord16(start + journal::kIdOffset),
           .offset = ReadHeaderWord(start + journal::kOffsetWordOffset),
           .data = start + FixedSize(),
           .data_length = record.length - FixedSize()};
  return entry.kind != journal::kRename || entry.data_length >= journal::kRenameDataSize;
}

}  // namespace vok
