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

/// Fills the view of a block, slot by slot.
class BlockReader {
 public:
  BlockReader(const PartitionRecord& partition, const KeptSlots& kept, BlockView& view)
      : partition_(partition), kept_(kept), view_(view), line_(view.end()) {}

  void Read(UnreachedSlots unreached) {
    SlotWalk walk(partition_, view_.figures);
    for (u32 number = 0; walk.AtSlot(); walk.Advance(), ++number)
      Take(ViewSlot(partition_, view_.figures, number, walk));
    view_.slots_end = walk.slot();
    SettleFigures(walk);
    if (unreached == UnreachedSlots::kRead && !walk.RanOut()) TakeSlotsBehind();
  }

  u64 unfinished_bytes() const { return unfinished_bytes_; }

 private:
  void Take(const SlotView& slot) {
    ++view_.slot_count;
    if (slot.has_record) {
      view_.figures.top = slot.record.payload();
      line_.Take(slot.record);
    }
    Count(slot);
    if (kept_.Has(slot.header)) view_.slots.push_back(slot);
  }

  /// By the rules of the mount scan.
  void Count(const SlotView& slot) {
    const u32 word = slot.header.word;
    if (IsUnfinished(word)) {
      unfinished_bytes_ += slot.IsSound() ? RecordAndSlotSize(slot.record.length) : CurrentLayout().slot_size();
    } else if (!IsValid(word)) {
      ++view_.figures.deleted_slots;
      if (word != 0) view_.figures.dead_bytes += static_cast<u32>(RecordAndSlotSize(slot.record.length));
    }
  }

  void SettleFigures(const SlotWalk& walk) {
    BlockRecord& figures = view_.figures;
    figures.slot_count = view_.slot_count;
    figures.next_slot = walk.RanOut() ? 0 : walk.slot();
    if (view_.slot_count != 0 && !walk.RanOut()) CloseIfFull(figures);
  }

  void TakeSlotsBehind() {
    const u32 size = CurrentLayout().slot_size();
    for (const FlashAddress address : SlotsBehind(partition_, view_.figures, view_.slots_end, line_)) {
      const SlotHeader header = ReadHeader(address);
      ++view_.slot_count;
      if (!kept_.Has(header)) continue;
      view_.slots.push_back({.number = static_cast<u32>((address - FirstSlot(view_.figures)) / size),
                             .address = address,
                             .header = header,
                             .has_record = true,
                             .record = LocateRecord(partition_, view_.figures, header.word),
                             .behind_list = true});
    }
  }

  const PartitionRecord& partition_;
  const KeptSlots& kept_;
  BlockView& view_;
  RecordLine line_;
  u64 unfinished_bytes_ = 0;
};

/// Damaged records may overlap and count more than there is: each share takes at most what the ones before it left.
ByteShares SharesOf(const BlockView& view, u64 unfinished_bytes) {
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
  shares.unfinished = take(unfinished_bytes);
  shares.live = left;
  return shares;
}

}  // namespace

std::string BlockView::StateName() const { return has_signature ? NameOfBlockState(figures.state) : "no signature"; }

bool BlockView::IsToBeFormatted() const { return !has_signature || IsFormattedByRepair(figures.state); }

u32 BlockView::LargestItemNow() const { return IsToBeFormatted() ? 0 : LargestPayload(UsableSpace(figures)); }

BlockView ViewBlock(const PartitionRecord& partition, u16 index, UnreachedSlots unreached, const KeptSlots& kept) {
  BlockView view{.index = index,
                 .size = partition.block_size,
                 .has_signature = HasSignature(partition.block_table[index].base),
                 .format_version = 0,
                 .figures = partition.block_table[index],
                 .slots_end = 0,
                 .slots = {}};
  ReadBlockState(view.figures);
  ResetBlockRecord(partition, view.figures);
  view.format_version = ReadFlashWord32(view.figures.base + block_header::kFormatVersionOffset);
  view.slots_end = FirstSlot(view.figures);
  BlockReader reader(partition, kept, view);
  if (view.has_signature || unreached == UnreachedSlots::kRead) reader.Read(unreached);
  view.shares = SharesOf(view, reader.unfinished_bytes());
  return view;
}

}  // namespace vok::tool
