#include "store/read/hunt.h"

#include <bit>

#include "flash/codes.h"
#include "flash/hooks.h"

namespace vok {

HuntFlag::HuntFlag(PartitionRecord& partition) : partition_(partition) {
  {
    StoreLock lock;
    const int flag = std::countr_one(partition.hunts_in_use);
    if (flag < 16) bit_ = static_cast<u16>(1u << flag);
    partition.hunts_in_use |= bit_;
  }
  if (taken())
    partition.hunts_valid |= bit_;
  else
    Fail(code::kOutOfHuntFlags);
}

HuntFlag::~HuntFlag() {
  if (!taken()) return;
  StoreLock lock;
  partition_.hunts_in_use &= static_cast<u16>(~bit_);
}

}  // namespace vok
