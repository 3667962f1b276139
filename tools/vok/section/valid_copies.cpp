#include "section/valid_copies.h"

#include <algorithm>
#include <functional>

#include "flash/image.h"
#include "slots_behind.h"
#include "store/volume/format.h"

namespace vok::tool {

namespace {

/// Collects what the slots of one block hold.
class BlockWalk {
 public:
  BlockWalk(const SectionBlocks& section, u16 index, SectionHoldings& holdings)
      : section_(section), block_(section.blocks()[index]), index_(index), holdings_(holdings) {}

  void Run() {
    SlotWalk walk(section_.partition(), block_);
    for (; walk.AtSlot(); walk.Advance()) Take(walk.slot(), walk.header());
    if (walk.RanOut()) return;
    for (const FlashAddress slot : SlotsBehind(section_.partition(), block_, walk.slot(), line_)) {
      const SlotHeader header = ReadHeader(slot);
      if (header.type != kJournalType) Add(header, slot, LocateRecord(section_.partition(), block_, header.word), true);
      if (header.type != kJournalType) AddedTo(header).back().behind = true;
    }
  }

 private:
  void Take(FlashAddress slot, const SlotHeader& header) {
    const ItemRecord record = LocateRecord(section_.partition(), block_, header.word);
    // A slot that was cut off before its location was written has none; only that of the first may have all bits set.
    const bool has_word = header.word != 0 && (header.word != CurrentLayout().all_ones() || slot == FirstSlot(block_));
    const bool has_record = has_word && record.in_block;
    const bool in_line = has_record && line_.Take(record);
    if (!IsValid(header.word)) return;
    if (header.type == kJournalType) return AddJournalRecord(record);
    Add(header, slot, record, in_line);
  }

  std::vector<ValidCopy>& AddedTo(const SlotHeader& header) {
    return header.type != 0 && header.id != kAnyId ? holdings_.copies : holdings_.unnamed;
  }

  void Add(const SlotHeader& header, FlashAddress slot, const ItemRecord& record, bool in_line) {
    AddedTo(header).push_back({.name = {.type = header.type, .id = header.id},
                               .slot = static_cast<u32>(slot),
                               .block = index_,
                               .sound = record.sound,
                               .usable = record.sound && record.length <= largest_,
                               .in_line = in_line,
                               .behind = false});
  }

  void AddJournalRecord(const ItemRecord& record) {
    JournalEntry entry{};
    if (!section_.HeadOf(index_).IsSearched() || !ReadJournalEntry(record, entry)) return;
    const ItemKey name{.type = entry.type, .id = entry.id};
    if (entry.kind == journal::kReplace) holdings_.replaced.push_back(name);
    if (entry.kind == journal::kRename)
      holdings_.renames.push_back(
          {.from = {.type = ReadFlashWord16(entry.data), .id = ReadFlashWord16(entry.data + 2)}, .to = name});
  }

  const SectionBlocks& section_;
  const BlockRecord& block_;
  u16 index_;
  SectionHoldings& holdings_;
  u32 largest_ = LargestItem(section_.partition().block_size);
  RecordLine line_{BlockEnd(section_.partition(), block_)};
};

std::size_t CountValid(const SectionBlocks& blocks) {
  std::size_t count = 0;
  for (const BlockRecord& block : blocks.blocks())
    for (SlotWalk walk(blocks.partition(), block); walk.AtSlot(); walk.Advance()) count += walk.IsValidItem() ? 1 : 0;
  return count;
}

}  // namespace

bool BlockHead::IsSearched() const {
  BlockRecord block{};
  block.state = state;
  return has_signature && vok::IsSearched(block);
}

SectionBlocks::SectionBlocks(const Section& section) {
  for (u32 i = 0; i < section.entry.block_count; ++i) {
    const FlashAddress base = section.entry.start + u64{i} * section.entry.block_size;
    if (!InFlash(base, block_header::kSize)) break;
    blocks_.emplace_back().base = base;
  }
  partition_.block_table = blocks_.data();
  partition_.block_size = section.entry.block_size;
  partition_.block_count = static_cast<u16>(blocks_.size());
}

BlockHead SectionBlocks::HeadOf(u16 block) const {
  BlockRecord head = blocks_[block];
  return {.has_signature = HasSignature(head.base), .state = ReadBlockState(head)};
}

ItemRecord SectionBlocks::RecordOf(const ValidCopy& copy) const {
  return LocateRecord(partition_, blocks_[copy.block], ReadHeader(copy.slot).word);
}

std::span<const u8> SectionBlocks::PayloadOf(const ValidCopy& copy) const {
  const ItemRecord record = RecordOf(copy);
  return {VirtualMemoryAddress(record.payload()), record.length};
}

SectionHoldings HoldingsOf(const SectionBlocks& blocks) {
  SectionHoldings holdings;
  holdings.copies.reserve(CountValid(blocks));
  for (u16 i = 0; i < blocks.blocks().size(); ++i) BlockWalk(blocks, i, holdings).Run();
  const auto by_name = [](const ValidCopy& a, const ValidCopy& b) {
    return std::tie(a.name, a.slot) < std::tie(b.name, b.slot);
  };
  if (!std::ranges::is_sorted(holdings.copies, by_name)) std::ranges::sort(holdings.copies, by_name);
  std::sort(holdings.replaced.begin(), holdings.replaced.end());
  return holdings;
}

CopyGroup CopiesOf(const SectionHoldings& holdings, const ItemKey& name) {
  const auto first = std::ranges::lower_bound(holdings.copies, name, std::less<ItemKey>(), &ValidCopy::name);
  const auto last = std::ranges::upper_bound(holdings.copies, name, std::less<ItemKey>(), &ValidCopy::name);
  return {first, last};
}

}  // namespace vok::tool
