#include "block_view.h"

#include <algorithm>

#include "block_words.h"
#include "slots_behind.h"
#include "store/volume/format.h"

namespace vok::tool {

namespace {

/// A location word of a slot that was cut off before it was written. In version 1 the record at the block's end has the
/// same word, and that record belongs to the first slot.
bool IsUnprogrammed(u32 number, u32 word) { return word == CurrentLayout().all_ones() && number != 0; }

SlotView ViewSlot(const PartitionRecord& partition, const BlockRecord& block, u32 number, const SlotWalk& walk) {
  const u32 word = walk.header().word;
  SlotView slot{.number = number,
                .address = walk.slot(),
                .header = walk.header(),
                .has_record = false,
                .record = LocateRecord(partition, block, word)};
  slot.has_record = word != 0 && !IsUnprogrammed(number, word) && slot.record.in_block;
  return slot;
}

void AddSlotsBehind(const PartitionRecord& partition, BlockView& view) {
  RecordLine line(view.end());
  for (const SlotView& slot : view.slots)
    if (slot.has_record) line.Take(slot.record);
  for (const FlashAddress address : SlotsBehind(partition, view.figures, view.slots_end, line)) {
    const SlotHeader header = ReadHeader(address);
    view.slots.push_back({.number = static_cast<u32>((address - FirstSlot(view.figures)) / CurrentLayout().slot_size()),
                          .address = address,
                          .header = header,
                          .has_record = true,
                          .record = LocateRecord(partition, view.figures, header.word),
                          .behind_list = true});
  }
}

/// Takes the counts and the top from the slots, by the rules of the mount scan.
void SettleFigures(const PartitionRecord& partition, const SlotWalk& walk, BlockView& view) {
  BlockRecord& figures = view.figures;
  for (const SlotView& slot : view.slots) {
    if (slot.has_record) figures.top = slot.record.payload();
    if (IsUnfinished(slot.header.word) || IsValid(slot.header.word)) continue;
    ++figures.deleted_slots;
    if (slot.header.word != 0)
      figures.dead_bytes += static_cast<u32>(RecordAndSlotSize(ItemDataLength(partition, figures, slot.header)));
  }
  figures.slot_count = static_cast<u32>(view.slots.size());
  figures.next_slot = walk.RanOut() ? 0 : walk.slot();
  if (!view.slots.empty() && !walk.RanOut()) CloseIfFull(figures);
}

u64 UnfinishedBytes(const BlockView& view) {
  u64 bytes = 0;
  for (const SlotView& slot : view.slots)
    if (IsUnfinished(slot.header.word))
      bytes += slot.IsSound() ? RecordAndSlotSize(slot.record.length) : CurrentLayout().slot_size();
  return bytes;
}

/// Damaged records may overlap and count more than there is: each share takes at most what the ones before it left.
ByteShares SharesOf(const BlockView& view) {
  ByteShares shares;
  if (view.IsToBeFormatted()) {
    shares.unfinished = view.size;
    return shares;
  }
  u32 left = view.size;
  const auto take = [&left](u64 wanted) {
    const u32 taken = static_cast<u32>(std::min<u64>(wanted, left));
    left -= taken;
    return taken;
  };
  shares.free = take(UsableSpace(view.figures));
  shares.dead = take(view.figures.dead_bytes);
  shares.unfinished = take(UnfinishedBytes(view));
  shares.live = left;
  return shares;
}

}  // namespace

std::string BlockView::StateName() const { return has_signature ? NameOfBlockState(figures.state) : "no signature"; }

bool BlockView::IsToBeFormatted() const { return !has_signature || IsFormattedByRepair(figures.state); }

u32 BlockView::LargestItemNow() const { return IsToBeFormatted() ? 0 : LargestPayload(UsableSpace(figures)); }

BlockView ViewBlock(const PartitionRecord& partition, u16 index, UnreachedSlots unreached) {
  BlockView view{.index = index,
                 .size = partition.block_size,
                 .has_signature = HasSignature(partition.block_table[index].base),
                 .format_version = 0,
                 .figures = partition.block_table[index],
                 .slots_end = 0,
                 .slots = {},
                 .shares = {}};
  ReadBlockState(view.figures);
  ResetBlockRecord(partition, view.figures);
  view.format_version = ReadFlashWord32(view.figures.base + block_header::kFormatVersionOffset);
  view.slots_end = FirstSlot(view.figures);
  if (view.has_signature || unreached == UnreachedSlots::kRead) {
    SlotWalk walk(partition, view.figures);
    for (u32 number = 0; walk.AtSlot(); walk.Advance(), ++number)
      view.slots.push_back(ViewSlot(partition, view.figures, number, walk));
    view.slots_end = walk.slot();
    SettleFigures(partition, walk, view);
    if (unreached == UnreachedSlots::kRead && !walk.RanOut()) AddSlotsBehind(partition, view);
  }
  view.shares = SharesOf(view);
  return view;
}

}  // namespace vok::tool
