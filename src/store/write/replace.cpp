#include "store/write/replace.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/read/directory.h"
#include "store/volume/journal.h"
#include "store/write/retire.h"

namespace vok {

namespace {

u16 Commit(const NewRecord& record) { return CommitSlot(record.slot, record.header.word); }

u16 ReplaceJournalled(PartitionRecord& partition, u16 type, u16 id, const SearchResult& old, const NewRecord& fresh) {
  // The marker is Valid before both copies are: a mount that finds two Valid copies then knows which change was under
  // way.
  const JournalTemplate marker{.kind = journal::kReplace, .type = type, .id = id};
  NewRecord entry;
  if (u16 code = WriteJournalRecord(partition, marker, nullptr, 0, entry)) return code;
  if (u16 code = Commit(fresh)) return code;
  if (u16 code = MarkItemDeleted(partition, partition.block_table[old.block], old.slot)) return code;
  return MarkItemDeleted(partition, entry.slot);
}

/// Without a marker two Valid copies could not be told apart, so the old one goes first.
u16 ReplacePlain(PartitionRecord& partition, const SearchResult& old, const NewRecord& fresh) {
  if (u16 code = MarkItemDeleted(partition, partition.block_table[old.block], old.slot)) return code;
  return Commit(fresh);
}

}  // namespace

u16 FinishReplacement(PartitionRecord& partition, u8 mode, u16 type, u16 id, const SearchResult& old,
                      const NewRecord& fresh) {
  const u16 code =
      mode == kJournalled ? ReplaceJournalled(partition, type, id, old, fresh) : ReplacePlain(partition, old, fresh);
  if (code != code::kOk) return code;
  DirUpdateLocation(partition, type, id, fresh.slot);
  RepointHandles(partition, old.slot, fresh.slot);
  return code::kOk;
}

OverwriteAnswer AskOverwrite(const PartitionRecord& partition, FlashAddress address, const u8* data, u32 length) {
  if (OwnHooks() == nullptr) return OverwriteAnswer::kInPlace;
  switch (OwnHooks()->CheckProgramOver(NumberOf(partition), static_cast<u32>(address), data, length)) {
    case code::kOk: return OverwriteAnswer::kInPlace;
    case code::kWriteRedundant: return OverwriteAnswer::kNothingToDo;
    case code::kInvalidParameter: return OverwriteAnswer::kRefused;
    default: return OverwriteAnswer::kNewCopy;
  }
}

}  // namespace vok
