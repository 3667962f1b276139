#include "store/read/index/acceleration.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace vok {

namespace {

constexpr bool kIsOn = VOK_ACCELERATION != 0;

/// By partition number. Plain pointers, since workers that end with the program may still change the image after other
/// static objects are gone.
constinit std::array<ItemIndex*, 256> indexes{};
u32 partitions_in_use = 0;

void BeforeImageChange(FlashAddress address, u64 count) {
  for (u32 i = 0; i < partitions_in_use; ++i)
    if (indexes[i] != nullptr) indexes[i]->BeforeChange(address, count);
}

ItemIndex* MakeIndex(const PartitionRecord& partition) {
  if (partition.block_count == 0) return nullptr;
  auto* const index = new (std::nothrow) ItemIndex(partition);
  if (index == nullptr) return nullptr;
  const u8 number = NumberOf(partition);
  indexes[number] = index;
  partitions_in_use = std::max(partitions_in_use, number + 1u);
  const FlashAddress base = PartitionBase(partition);
  WatchImage(base, base + u64{partition.block_size} * partition.block_count, BeforeImageChange);
  return index;
}

}  // namespace

ItemIndex* IndexOf(const PartitionRecord& partition) {
  if (!kIsOn || ImageIsLent() || !IsMounted(partition)) return nullptr;
  ItemIndex* index = indexes[NumberOf(partition)];
  if (index == nullptr) index = MakeIndex(partition);
  return index != nullptr && index->Refresh() ? index : nullptr;
}

void DropAcceleration() {
  for (ItemIndex*& index : indexes) delete std::exchange(index, nullptr);
  partitions_in_use = 0;
  StopWatchingImage();
}

}  // namespace vok
