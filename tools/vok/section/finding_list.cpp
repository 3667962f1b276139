#include "section/finding_list.h"

#include <fmt/core.h>

#include <algorithm>
#include <tuple>

namespace vok::tool {

Finding* FindingList::Taker(u16 block, u32 slot, FindingCode code, const char* repair) {
  if (grouping_ == Grouping::kNone) return nullptr;
  OfKind& of_kind = of_blocks_[block][static_cast<std::size_t>(code)];
  if (of_kind.count != 0) {
    Finding& last = findings_[of_kind.last];
    const bool is_neighbour = slot == last.last_slot + 1 && last.repair == repair;
    if (is_neighbour || of_kind.count == kMostOfAKind) {
      last.slot = std::min(*last.slot, slot);
      last.last_slot = std::max(last.last_slot, slot);
      ++last.count;
      return &last;
    }
  }
  of_kind = {.last = static_cast<u32>(findings_.size()), .count = static_cast<u16>(of_kind.count + 1)};
  return nullptr;
}

std::vector<Finding> FindingList::Take() {
  for (Finding& finding : findings_)
    if (finding.count > 1)
      finding.what +=
          fmt::format(", and {} more like it in slots {} to {}", finding.count - 1, *finding.slot, finding.last_slot);
  std::ranges::stable_sort(findings_, [](const Finding& a, const Finding& b) {
    return std::tie(a.block, a.slot) < std::tie(b.block, b.slot);
  });
  return std::move(findings_);
}

}  // namespace vok::tool
