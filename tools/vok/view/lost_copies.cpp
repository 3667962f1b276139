#include "view/lost_copies.h"

#include <algorithm>
#include <functional>
#include <tuple>

namespace vok::tool {

namespace {

constexpr u16 kNotFound = 0xFFFF;

/// What the losses name, by name; where it lies is to be found.
std::vector<LostCopy> NamedBy(const Losses& losses, const std::string& section) {
  std::vector<LostCopy> lost;
  for (std::size_t i = 0; i < losses.size(); ++i) {
    if (losses[i].section != section || IsEndedByRepair(losses[i])) continue;
    lost.reserve(lost.size() + losses[i].items.size());
    for (const ItemKey& name : losses[i].items)
      lost.push_back({.name = name, .slot = 0, .loss = static_cast<u32>(i), .block = kNotFound, .is_sound = false});
  }
  std::ranges::sort(
      lost, [](const LostCopy& a, const LostCopy& b) { return std::tie(a.name, a.loss) < std::tie(b.name, b.loss); });
  return lost;
}

void MoveToLost(const SlotView& slot, BlockView& block) {
  if (!slot.IsSound()) return;
  ByteShares& shares = block.shares;
  u32& from = block.IsToBeFormatted() ? shares.unfinished : shares.live;
  const u32 bytes = static_cast<u32>(std::min<u64>(RecordAndSlotSize(slot.record.length), from));
  from -= bytes;
  shares.lost += bytes;
}

/// Finds the copies that the losses mean: a sound one before others; of an item that another copy hides, the last.
class LostCopySearch {
 public:
  LostCopySearch(const Losses& losses, std::vector<LostCopy>& lost) : losses_(losses), lost_(lost) {}

  /// @param whole  the block with its slots
  void LookInto(const BlockView& whole, BlockView& block) {
    for (const SlotView& slot : whole.slots)
      if (IsValid(slot.header.word) && !slot.IsJournal()) Take(slot, block);
  }

 private:
  void Take(const SlotView& slot, BlockView& block) {
    const ItemKey name{.type = slot.header.type, .id = slot.header.id};
    // Neighbouring slots mostly name neighbouring items.
    if (next_ == lost_.size() || lost_[next_].name != name)
      next_ = static_cast<std::size_t>(std::ranges::lower_bound(lost_, name, std::less<ItemKey>(), &LostCopy::name) -
                                       lost_.begin());
    for (; next_ < lost_.size() && lost_[next_].name == name; ++next_) Consider(slot, block, lost_[next_]);
  }

  void Consider(const SlotView& slot, BlockView& block, LostCopy& copy) {
    const Loss& loss = losses_[copy.loss];
    if (loss.block && *loss.block != block.index) return;
    if (copy.block != kNotFound && !loss.hidden && (copy.is_sound || !slot.IsSound())) return;
    copy.block = block.index;
    copy.slot = slot.number;
    copy.is_sound = slot.IsSound();
    if (IsEndedByRebuild(loss)) MoveToLost(slot, block);
  }

  const Losses& losses_;
  std::vector<LostCopy>& lost_;
  std::size_t next_ = 0;
};

}  // namespace

std::vector<LostCopy> MarkLostCopies(const Losses& losses, const Section& section, std::vector<BlockView>& blocks) {
  std::vector<LostCopy> lost = NamedBy(losses, section.name);
  if (lost.empty()) return lost;
  LostCopySearch search(losses, lost);
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (BlockView& block : blocks) search.LookInto(ViewBlock(partition, block.index, UnreachedSlots::kRead), block);
  std::erase_if(lost, [](const LostCopy& copy) { return copy.block == kNotFound; });
  std::ranges::sort(lost, [](const LostCopy& a, const LostCopy& b) {
    return std::tie(a.block, a.slot, a.loss) < std::tie(b.block, b.slot, b.loss);
  });
  return lost;
}

}  // namespace vok::tool
