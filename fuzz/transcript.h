#pragma once

#include <cstdint>
#include <span>

#include "vok/store.h"

namespace vok::fuzz {

/// What the store is seen to do, as one number: every answer and output, every device step, report, lock and allocation
/// folds into it in order. Two libraries that give the same number did the same.
class Transcript {
 public:
  void Restart() { value_ = kStart; }
  std::uint64_t value() const { return value_; }

  void See(std::uint64_t value) { value_ = (value_ ^ value) * kPrime ^ value_ >> 29; }
  template <typename T>
  void See(std::span<const T> values) {
    for (const T& value : values) See(value);
  }
  void See(const OpenedItem& item) {
    See(item.id);
    See(item.length);
    See(item.handle);
  }
  void See(const ItemPointer& item) {
    See(item.id);
    See(item.length);
    See(item.address);
  }
  void See(const PartitionSpace& space) {
    See(space.free_now);
    See(space.free_after_reorganisation);
    See(space.largest_item_now);
    See(space.largest_item_after_reorganisation);
  }
  void See(const BlockInfo& info) {
    for (std::uint32_t figure : {info.erase_count, info.block_size, info.used_bytes, info.largest_item, info.dead_bytes,
                                 std::uint32_t{info.state}, info.deleted_slots, info.live_slots})
      See(figure);
  }

 private:
  static constexpr std::uint64_t kStart = 0xCBF29CE484222325;
  static constexpr std::uint64_t kPrime = 0x100000001B3;

  std::uint64_t value_ = kStart;
};

/// Of the target that runs.
inline Transcript transcript;

}  // namespace vok::fuzz
