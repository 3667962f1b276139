#pragma once

#include <array>

#include "store/volume/index/cache_index.h"
#include "store/volume/index/item_index.h"
#include "store/volume/index/open_blocks.h"

/// The acceleration: what the store keeps in RAM to be fast, and nothing else. Without it (VOK_ACCELERATION off, or no
/// memory for it) every operation walks the flash and does the same.

namespace vok {

namespace detail {

/// Plain pointers: workers that end with the program may still change the image after other static objects are gone.
struct Acceleration {
  ItemIndex* items = nullptr;
  CacheIndex* cache = nullptr;
  OpenBlocks* open_blocks = nullptr;
};
inline constinit std::array<Acceleration, 256> accelerations{};  ///< by partition number

inline const Acceleration& AccelerationOf(const PartitionRecord& partition) {
  return accelerations[NumberOf(partition)];
}

ItemIndex* MakeIndex(const PartitionRecord& partition);
OpenBlocks* MakeOpenBlocks(const PartitionRecord& partition);

}  // namespace detail

inline constexpr bool kAccelerationIsOn = VOK_ACCELERATION != 0;

/// The item index of a partition in step with its bytes, from its mount on; null when a walk must answer.
inline ItemIndex* IndexOf(const PartitionRecord& partition) {
  if (!kAccelerationIsOn || !IsMounted(partition) || ImageIsLent()) return nullptr;
  ItemIndex* index = detail::AccelerationOf(partition).items;
  if (index == nullptr) index = detail::MakeIndex(partition);
  return index != nullptr && index->Refresh() ? index : nullptr;
}

/// The same if there is one already; null also when it is yet to be built.
inline ItemIndex* BuiltIndexOf(const PartitionRecord& partition) {
  ItemIndex* const index = detail::AccelerationOf(partition).items;
  if (index == nullptr || !index->IsBuilt() || !IsMounted(partition) || ImageIsLent()) return nullptr;
  return index->Refresh() ? index : nullptr;
}

/// Makes the index of a location cache that was just laid out, empty.
void MakeCacheIndex(const PartitionRecord& partition, u16 capacity);
/// Null when the cache must be looked through.
inline CacheIndex* CacheIndexOf(const PartitionRecord& partition) { return detail::AccelerationOf(partition).cache; }

/// The open blocks of a partition, from its mount on; null when all blocks must be looked at.
inline const OpenBlocks* OpenBlocksOf(const PartitionRecord& partition) {
  if (!kAccelerationIsOn || !IsMounted(partition)) return nullptr;
  OpenBlocks* blocks = detail::AccelerationOf(partition).open_blocks;
  if (blocks == nullptr) blocks = detail::MakeOpenBlocks(partition);
  return blocks != nullptr && blocks->Refresh() ? blocks : nullptr;
}

/// At the end of the store.
void DropAcceleration();

}  // namespace vok
