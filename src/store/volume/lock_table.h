#pragma once

#include <cstddef>

#include "store/volume/records.h"

namespace vok {

/// The client locks of a partition: for each lock the client ID, a flag byte, and one pointers-out counter for each
/// block. A view; a partition without a table has no locks.
class LockTable {
 public:
  explicit LockTable(const PartitionRecord& partition)
      : words_(partition.lock_table), count_(partition.lock_count), stride_(WordsPerLock(partition.block_count)) {}

  static constexpr std::size_t WordCount(u16 lock_count, u16 block_count) {
    return std::size_t{WordsPerLock(block_count)} * lock_count;
  }

  u16 count() const { return count_; }

  /// The client ID of a lock, 0 = free.
  u32 key(u16 lock) const { return static_cast<u32>(Entry(lock)[0]) << 16 | Entry(lock)[1]; }
  void set_key(u16 lock, u32 key) {
    Entry(lock)[0] = static_cast<u16>(key >> 16);
    Entry(lock)[1] = static_cast<u16>(key);
  }
  bool IsRegistered(u16 lock) const { return key(lock) != 0; }

  /// Set while the client knows of a reorganisation whose end it has not been told.
  u16& flag(u16 lock) { return Entry(lock)[2]; }

  u16& pointers_out(u16 lock, u16 block) { return Entry(lock)[kFixedWords + block]; }
  u16 pointers_out(u16 lock, u16 block) const { return Entry(lock)[kFixedWords + block]; }

  /// Whether any registered client holds pointers into a block.
  bool HasPointersOut(u16 block) const {
    for (u16 lock = 0; lock < count_; ++lock)
      if (IsRegistered(lock) && pointers_out(lock, block) != 0) return true;
    return false;
  }

 private:
  static constexpr u32 kFixedWords = 3;
  static constexpr u32 WordsPerLock(u16 block_count) { return kFixedWords + block_count; }

  u16* Entry(u16 lock) const { return words_ + std::size_t{lock} * stride_; }

  u16* words_;
  u16 count_;
  u32 stride_;
};

}  // namespace vok
