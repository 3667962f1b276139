#pragma once

#include <array>

#include "section/findings.h"

namespace vok::tool {

/// Whether findings alike become one.
enum class Grouping : u8 { kAlike, kNone };

/// The findings of a section while they are made. A block full of garbage has one for each of its thousands of slots:
/// what is wrong in the same way with neighbouring slots is one finding, and of more than kMostOfAKind findings of one
/// code in a block the last takes the rest.
class FindingList {
 public:
  explicit FindingList(u32 block_count, Grouping grouping = Grouping::kAlike)
      : grouping_(grouping), of_blocks_(block_count) {}

  void AddForBlock(u16 block, FindingCode code, std::string what, std::string repair) {
    findings_.push_back(
        {.block = block, .slot = {}, .code = code, .what = std::move(what), .repair = std::move(repair)});
  }

  /// @param item  that it concerns, if it is one
  /// @param what  gives the text; not called for a slot that another finding takes
  template <typename What>
  void AddForSlot(u16 block, u32 slot, FindingCode code, std::optional<ItemKey> item, const char* repair, What what) {
    Finding* finding = Taker(block, slot, code, repair);
    if (finding == nullptr) {
      finding = &findings_.emplace_back(
          Finding{.block = block, .slot = slot, .last_slot = slot, .code = code, .what = what(), .repair = repair});
    }
    if (item && finding->items.size() < Finding::kMostItems) finding->items.push_back(*item);
  }

  std::vector<Finding>& findings() { return findings_; }
  /// All of them, in the order of the flash.
  std::vector<Finding> Take();

 private:
  static constexpr u16 kMostOfAKind = 16;
  struct OfKind {
    u32 last = 0;  ///< place of the last finding of the code
    u16 count = 0;
  };

  /// The finding that takes one more slot; null when the slot needs a new one.
  Finding* Taker(u16 block, u32 slot, FindingCode code, const char* repair);

  Grouping grouping_;
  std::vector<std::array<OfKind, kFindingCodeCount>> of_blocks_;
  std::vector<Finding> findings_;
};

}  // namespace vok::tool
