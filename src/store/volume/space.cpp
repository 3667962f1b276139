#include "store/volume/space.h"

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/index/acceleration.h"
#include "store/volume/lock_table.h"

namespace vok {

namespace {

/// The choice of a block for a record, from the blocks that are shown to it in rising order.
class Choice {
 public:
  Choice(const PartitionRecord& partition, u32 length, SpaceUse use)
      : partition_(partition), need_(RecordAndSlotSize(length)), use_(use), best_(partition.block_size) {
    // A move may use up the spare, and a write-once partition keeps none.
    if (use == SpaceUse::kReorganise || IsWriteOnce(partition)) spares_ = 1;
  }

  /// A block in use: the least room that suffices wins, on a tie the lower index.
  void OfferUsed(u16 i) {
    const BlockRecord& block = partition_.block_table[i];
    if (!TakesRecords(block)) return;
    const u32 free = UsableSpace(block);
    if (free < need_ || free >= best_) return;
    best_ = free;
    place_ = {.length_word = block.top - CurrentLayout().word_size, .block = i};
  }
  /// Blocks that are free now or will be once they are erased.
  void CountSpares(u32 spares) { spares_ += spares; }
  void CountTargets(u32 targets) {
    if (use_ == SpaceUse::kWrite) spares_ += targets;
  }
  /// A Free block may be opened. A damaged one may carry slots; it is not, when the record would not fit between them.
  bool OfferFree(u16 i) {
    if (UsableSpace(partition_.block_table[i]) < need_) return false;
    last_free_ = i;
    return true;
  }

  /// The last spare stays, so that a reorganisation always finds a target.
  RecordPlace Result() const {
    RecordPlace place = place_;
    if (place.block == kNoBlock && spares_ > 1) place.block = last_free_;
    return place;
  }

 private:
  bool TakesRecords(const BlockRecord& block) const {
    const BlockStates& states = CurrentLayout().states;
    return block.state == states.active || (use_ == SpaceUse::kReorganise && block.state == states.reorg_target);
  }

  const PartitionRecord& partition_;
  u64 need_;
  SpaceUse use_;
  u32 best_;
  u32 spares_ = 0;
  u16 last_free_ = kNoBlock;
  RecordPlace place_;
};

void OfferListed(const OpenBlocks& blocks, Choice& choice) {
  for (const u16 i : blocks.takers()) choice.OfferUsed(i);
  choice.CountSpares(blocks.awaiting_erase() + static_cast<u32>(blocks.free().size()));
  choice.CountTargets(blocks.targets());
  for (const u16 i : blocks.free())
    if (choice.OfferFree(i)) return;
}

void OfferAll(const PartitionRecord& partition, Choice& choice) {
  const BlockStates& states = CurrentLayout().states;
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& block = partition.block_table[i];
    choice.OfferUsed(i);
    choice.CountSpares(block.state == states.free || AwaitsErase(block));
    choice.CountTargets(block.state == states.reorg_target);
    if (block.state == states.free) choice.OfferFree(i);
  }
}

/// Opening comes first, so that a mount can tell a block being taken into use from a Free one.
u16 OpenBlock(BlockRecord& block) {
  if (u16 code = ProgramBlockState(block, CurrentLayout().states.opening)) return code;
  return EnterBlockState(block, CurrentLayout().states.active);
}

/// Which code tells a writer how to make room for @p length payload bytes.
u16 NoRoomCode(const PartitionRecord& partition, u32 length) {
  const SpaceSurvey survey = FreeSpaceSurvey(partition, PointersOut::kAdmit);
  const u64 need = RecordAndSlotSize(length);
  if (survey.best_reclaim >= need) return code::kNeedReorg;
  if (survey.total_reclaim >= need) return code::kNeedDeepReorg;
  return code::kPartitionFull;
}

/// Finds a place, opening the Free block offered when no block in use has one.
u16 PlaceRecord(PartitionRecord& partition, u32 length, RecordPlace& place) {
  place = FindBlockForRecord(partition, length, SpaceUse::kWrite);
  if (place.length_word != 0) return code::kOk;
  if (place.block == kNoBlock) return Fail(NoRoomCode(partition, length));

  BlockRecord& block = partition.block_table[place.block];
  if (u16 code = OpenBlock(block)) return code;
  place.length_word = block.top - CurrentLayout().word_size;
  return code::kOk;
}

}  // namespace

RecordPlace FindBlockForRecord(const PartitionRecord& partition, u32 length, SpaceUse use) {
  Choice choice(partition, length, use);
  if (const OpenBlocks* const blocks = OpenBlocksOf(partition))
    OfferListed(*blocks, choice);
  else
    OfferAll(partition, choice);
  return choice.Result();
}

u16 FindSpareBlock(const PartitionRecord& partition, u16& spare) {
  spare = kNoBlock;
  u32 least_worn = 0;
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& block = partition.block_table[i];
    if (block.state != CurrentLayout().states.free || block.wear_counter <= least_worn) continue;
    least_worn = block.wear_counter;
    spare = i;
  }
  return spare != kNoBlock ? code::kOk : Fail(code::kNoSpareBlock);
}

u16 AllocateItemRecord(PartitionRecord& partition, u16 type, u16 id, const u8* payload, u32 length, NewRecord& record) {
  RecordPlace place;
  if (u16 code = PlaceRecord(partition, length, place)) return code;

  BlockRecord& block = partition.block_table[place.block];
  if (u16 code = WriteRecordBytes(block, place.length_word, payload, length)) return code;
  record = {.slot = block.next_slot,
            .payload = place.length_word - Pad(length) - length,
            .block = place.block,
            .header = {.type = type, .id = id, .word = LocationOf(block.base, place.length_word)}};
  return WriteHeaderSlot(block, record.header);
}

u16 WriteRecordBytes(BlockRecord& block, FlashAddress length_word, const u8* payload, u32 length) {
  if (u16 code = WriteHeaderWord(length, length_word)) return code;
  if (payload != nullptr && length > 0)
    if (u16 code = FlashProgramBuffer(length_word - Pad(length) - length, payload, length)) return code;
  block.top -= RecordSize(length);
  return code::kOk;
}

u16 WriteHeaderSlot(BlockRecord& block, SlotHeader& header) {
  header.word = AllocatedWord(header.word);
  const FlashAddress slot = block.next_slot;
  if (u16 code = FlashProgram16(header.type, slot + slot_field::kType)) return code;
  if (u16 code = FlashProgram16(header.id, slot + slot_field::kId)) return code;
  if (u16 code = ProgramLocationWord(slot, header.word)) return code;
  ++block.slot_count;
  block.next_slot += CurrentLayout().slot_size();
  CloseIfFull(block);
  return code::kOk;
}

SpaceSurvey FreeSpaceSurvey(const PartitionRecord& partition, PointersOut pointers) {
  const LockTable locks(partition);
  SpaceSurvey survey;
  survey.has_pointers_out = pointers == PointersOut::kAdmit;
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& block = partition.block_table[i];
    if (block.state != CurrentLayout().states.active) continue;
    const bool has_pointers = locks.HasPointersOut(i);
    if (has_pointers && pointers == PointersOut::kSkip) continue;
    if (block.dead_bytes > survey.dead_bytes) {
      survey.most_dead = i;
      survey.dead_bytes = block.dead_bytes;
      survey.has_pointers_out = has_pointers;
    }
    const u32 reclaim = block.dead_bytes + UsableSpace(block);
    survey.best_reclaim = reclaim > survey.best_reclaim ? reclaim : survey.best_reclaim;
    survey.total_reclaim += reclaim;
  }
  return survey;
}

}  // namespace vok
