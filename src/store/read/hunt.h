#pragma once

#include <bit>

#include "flash/codes.h"
#include "flash/hooks.h"
#include "store/volume/records.h"

/// Hunt flags: 16 tokens of a partition, one for each running search. A reorganisation clears the validity of all of
/// them before it moves an item, so that a search which may have missed the item in passing runs again.

namespace vok {

/// A hunt flag, held from construction to destruction.
class HuntFlag {
 public:
  /// Takes the lowest free flag; taken() tells whether there was one (127 is reported otherwise).
  explicit HuntFlag(PartitionRecord& partition) : partition_(partition) {
    {
      const StoreLock lock;
      const int flag = std::countr_one(partition.hunts_in_use);
      if (flag < 16) bit_ = static_cast<u16>(1u << flag);
      partition.hunts_in_use |= bit_;
    }
    if (taken())
      partition.hunts_valid |= bit_;
    else
      Fail(code::kOutOfHuntFlags);
  }
  ~HuntFlag() {
    if (!taken()) return;
    const StoreLock lock;
    partition_.hunts_in_use &= static_cast<u16>(~bit_);
  }
  HuntFlag(const HuntFlag&) = delete;
  HuntFlag& operator=(const HuntFlag&) = delete;

  bool taken() const { return bit_ != 0; }
  /// Whether no reorganisation has moved items since the flag was taken.
  bool StillValid() const { return (partition_.hunts_valid & bit_) != 0; }

 private:
  PartitionRecord& partition_;
  u16 bit_ = 0;
};

/// What a hunt flag leaves behind that is taken and given back at once while no other search runs.
inline void PassHuntFlag(PartitionRecord& partition) { partition.hunts_valid |= 1; }

/// Tells every running search of the partition that items are about to move.
inline void InvalidateHunts(PartitionRecord& partition) { partition.hunts_valid = 0; }

}  // namespace vok
