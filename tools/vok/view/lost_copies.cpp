#include "view/lost_copies.h"

#include <algorithm>
#include <map>

namespace vok::tool {

namespace {

struct CopyPlace {
  u16 block;
  const SlotView* slot;
};

/// The Valid slots of a section by the items that they name, those of one item in flash order.
class CopyIndex {
 public:
  explicit CopyIndex(const std::vector<BlockView>& blocks) {
    for (const BlockView& block : blocks)
      for (const SlotView& slot : block.slots)
        if (IsValid(slot.header.word) && !slot.IsJournal())
          copies_[{.type = slot.header.type, .id = slot.header.id}].push_back({.block = block.index, .slot = &slot});
  }

  /// The copy that a loss means: a sound one before others; of an item that another copy hides, the last.
  const CopyPlace* Find(const Loss& loss, const ItemKey& name) const {
    const auto found = copies_.find(name);
    if (found == copies_.end()) return nullptr;
    const CopyPlace* meant = nullptr;
    for (const CopyPlace& copy : found->second) {
      if (loss.block && copy.block != *loss.block) continue;
      if (meant == nullptr || loss.hidden || (copy.slot->IsSound() && !meant->slot->IsSound())) meant = &copy;
    }
    return meant;
  }

 private:
  std::map<ItemKey, std::vector<CopyPlace>> copies_;
};

void MoveToLost(const SlotView& slot, BlockView& block) {
  if (!slot.IsSound()) return;
  ByteShares& shares = block.shares;
  u32& from = block.IsToBeFormatted() ? shares.unfinished : shares.live;
  const u32 bytes = static_cast<u32>(std::min<u64>(RecordAndSlotSize(slot.record.length), from));
  from -= bytes;
  shares.lost += bytes;
}

}  // namespace

std::vector<LostCopy> MarkLostCopies(const Losses& losses, const std::string& section, std::vector<BlockView>& blocks) {
  const auto concerns = [&section](const Loss& loss) { return loss.section == section && !IsEndedByRepair(loss); };
  if (std::ranges::none_of(losses, concerns)) return {};
  const CopyIndex index(blocks);
  std::vector<LostCopy> lost;
  for (std::size_t i = 0; i < losses.size(); ++i) {
    if (!concerns(losses[i])) continue;
    for (const ItemKey& name : losses[i].items) {
      const CopyPlace* const copy = index.Find(losses[i], name);
      if (copy == nullptr) continue;
      lost.push_back({.name = name, .block = copy->block, .slot = copy->slot->number, .loss = i});
      if (IsEndedByRebuild(losses[i])) MoveToLost(*copy->slot, blocks[copy->block]);
    }
  }
  std::ranges::stable_sort(lost, {}, &LostCopy::block);
  return lost;
}

}  // namespace vok::tool
