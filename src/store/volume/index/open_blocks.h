#pragma once

#include <memory>
#include <span>

#include "store/volume/records.h"

namespace vok {

/// The blocks among which new records are placed, so that no writer need look at all the others. Lists are in force as
/// long as no block changes its state; a block may be closed meanwhile, but only a change of state opens one again.
class OpenBlocks {
 public:
  explicit OpenBlocks(const PartitionRecord& partition);

  /// Follows what changed. @return false without memory
  bool Refresh() { return blocks_ != nullptr && (IsFresh() || CatchUp()); }

  /// Blocks in a state that takes records (Active, ReorgTarget) and not closed yet, in rising order.
  std::span<const u16> takers() const { return {blocks_.get(), takers_}; }
  /// Free blocks in falling order.
  std::span<const u16> free() const { return {blocks_.get() + partition_.block_count - free_, free_}; }
  /// Numbers of blocks that wait for an erase, and of ReorgTarget ones.
  u32 awaiting_erase() const { return awaiting_erase_; }
  u32 targets() const { return targets_; }

 private:
  /// State words mean another thing under another layout.
  bool IsFresh() const { return layout_ == &CurrentLayout() && states_seen_ == block_state_changes; }
  bool CatchUp();

  const PartitionRecord& partition_;
  std::unique_ptr<u16[]> blocks_;  ///< takers at the front, Free ones at the back
  u32 takers_ = 0;
  u32 free_ = 0;
  u32 awaiting_erase_ = 0;
  u32 targets_ = 0;
  u32 states_seen_ = 0;
  const Layout* layout_ = nullptr;  ///< in force when the lists were made; null = there are none
};

}  // namespace vok
