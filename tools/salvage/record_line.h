#pragma once

#include <algorithm>

#include "store/volume/slots.h"

namespace vok::tool {

/// Follows the records of a block in slot order, as writers place them: each ends where the one before it begins. What
/// a torn erase left, or a location word that was cut off, hardly ever looks so.
class RecordLine {
 public:
  explicit RecordLine(FlashAddress block_end) : lowest_(block_end), floor_(block_end) {}

  /// Takes the record of the next slot. @return whether it lies in line
  bool Take(const ItemRecord& record) {
    const FlashAddress end = record.length_word + CurrentLayout().word_size;
    const bool in_line = is_exact_ ? end == lowest_ : end <= lowest_;
    lowest_ = record.payload();
    floor_ = std::min(floor_, lowest_);
    // Where a record begins whose length is damaged, nobody knows; the next one lies somewhere below.
    is_exact_ = record.sound;
    return in_line;
  }

  /// Where the last record begins; the block's end before the first.
  FlashAddress lowest() const { return lowest_; }
  /// The lowest address of any record: a damaged location may lead the last one up again.
  FlashAddress floor() const { return floor_; }
  /// Whether the next record must end just there.
  bool IsExact() const { return is_exact_; }

 private:
  FlashAddress lowest_;
  FlashAddress floor_;
  bool is_exact_ = true;
};

}  // namespace vok::tool
