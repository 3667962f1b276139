#include "store/volume/index/open_blocks.h"

#include <new>

namespace vok {

OpenBlocks::OpenBlocks(const PartitionRecord& partition)
    : partition_(partition), blocks_(new (std::nothrow) u16[partition.block_count]) {}

bool OpenBlocks::CatchUp() {
  const BlockStates& states = CurrentLayout().states;
  takers_ = free_ = awaiting_erase_ = targets_ = 0;
  for (u16 i = 0; i < partition_.block_count; ++i) {
    const BlockRecord& block = partition_.block_table[i];
    if (block.state == states.free) blocks_[partition_.block_count - ++free_] = i;
    if (AwaitsErase(block)) ++awaiting_erase_;
    if (block.state == states.reorg_target) ++targets_;
    const bool takes_records = block.state == states.active || block.state == states.reorg_target;
    if (takes_records && block.next_slot != 0) blocks_[takers_++] = i;
  }
  states_seen_ = block_state_changes;
  layout_ = &CurrentLayout();
  return true;
}

}  // namespace vok
