#pragma once

#include "rig.h"

/// Building blocks of base images, all written by the store itself.

namespace vok::sweep {

/// Writes a partition's base image, item by item, and remembers what it must hold. A call that the store refuses is an
/// error of the sweep and throws std::logic_error.
class Builder {
 public:
  /// Formats every block Free.
  explicit Builder(Rig& rig);

  void Write(ItemName name, const Bytes& bytes);
  void Delete(ItemName name);

  /// The room of the Active block that has most of it.
  u32 Room() const;
  /// Fills that block to @p left bytes with two items, @p first and the ID after it; the first takes most.
  void FillTo(u32 left, ItemName first, u64 seed);

  const Items& items() const { return items_; }
  Rig& rig() { return rig_; }

 private:
  void FillBy(u32 bytes, ItemName name, u64 seed);

  Rig& rig_;
  Items items_;
};

}  // namespace vok::sweep
