#pragma once

#include "store/volume/slots.h"

namespace vok::tool {

/// Follows the records of a block from the top down by their length words alone. Writers place each right below the one
/// before it, also one that lost its slot, so that a length word or a location that leads anywhere else is damaged.
class RecordChain {
 public:
  /// @param slots_end  where the slots end; records do not reach below it
  explicit RecordChain(FlashAddress slots_end) : slots_end_(slots_end) {}

  /// Hardly ever do more records in a row lack their slots; in garbage nothing ends the walk.
  static constexpr u64 kMostSteps = 16;

  /// Whether records follow one another from @p from down to @p to, no more than @p most of them.
  bool Reaches(FlashAddress from, FlashAddress to, u64 most) const;

  /// Whether below the records that follow one another from @p from down nothing was written any more.
  bool EndsInFreeSpace(FlashAddress from) const;

 private:
  /// The start of the record that ends at @p end; 0 where there is none.
  FlashAddress Below(FlashAddress end) const;

  FlashAddress slots_end_;
};

/// Whether no byte from @p start to @p end was written since the last erase.
bool IsErased(FlashAddress start, FlashAddress end);

}  // namespace vok::tool
