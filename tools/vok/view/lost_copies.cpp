#include "view/lost_copies.h"

#include <algorithm>

namespace vok::tool {

namespace {

void MoveToLost(const SlotView& slot, BlockView& block) {
  ByteShares& shares = block.shares;
  u32& from = block.IsToBeFormatted() ? shares.unfinished : shares.live;
  const u32 bytes = static_cast<u32>(std::min<u64>(RecordAndSlotSize(slot.record.length), from));
  from -= bytes;
  shares.lost += bytes;
}

}  // namespace

std::vector<LostCopy> MarkLostCopies(std::vector<BlockView>& blocks) {
  std::vector<LostCopy> lost;
  for (const auto& [name, item] : SortCopies(blocks).items) {
    if (!item.searched.empty() || item.elsewhere.empty()) continue;
    const CopyView& copy = item.elsewhere.front();
    lost.push_back({.name = name, .block = copy.block->index, .slot = copy.slot->number});
    MoveToLost(*copy.slot, blocks[copy.block->index]);
  }
  return lost;
}

}  // namespace vok::tool
