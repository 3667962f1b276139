#include "store/volume/index/acceleration.h"

#include <algorithm>
#include <new>

namespace vok {

namespace {

u32 partitions_in_use = 0;

void BeforeImageChange(FlashAddress address, u64 count) {
  for (u32 i = 0; i < partitions_in_use; ++i)
    if (ItemIndex* const index = detail::accelerations[i].items) index->BeforeChange(address, count);
}

}  // namespace

ItemIndex* detail::MakeIndex(const PartitionRecord& partition) {
  if (partition.block_count == 0) return nullptr;
  auto* const index = new (std::nothrow) ItemIndex(partition);
  if (index == nullptr) return nullptr;
  const u8 number = NumberOf(partition);
  accelerations[number].items = index;
  partitions_in_use = std::max(partitions_in_use, number + 1u);
  const FlashAddress base = PartitionBase(partition);
  WatchImage(base, base + u64{partition.block_size} * partition.block_count, BeforeImageChange);
  return index;
}

OpenBlocks* detail::MakeOpenBlocks(const PartitionRecord& partition) {
  return accelerations[NumberOf(partition)].open_blocks = new (std::nothrow) OpenBlocks(partition);
}

void MakeCacheIndex(const PartitionRecord& partition, u16 capacity) {
  if (!kAccelerationIsOn) return;
  CacheIndex*& index = detail::accelerations[NumberOf(partition)].cache;
  delete index;
  index = CacheIndex::Make(capacity).release();
}

void DropAcceleration() {
  for (detail::Acceleration& acceleration : detail::accelerations) {
    delete acceleration.items;
    delete acceleration.cache;
    delete acceleration.open_blocks;
    acceleration = {};
  }
  partitions_in_use = 0;
  StopWatchingImage();
}

}  // namespace vok
