#include "building/lost_items.h"

#include <fmt/core.h>

#include <map>

#include "base/terminal.h"

namespace vok::tool {

namespace {

/// How many items each block loses.
std::map<u16, std::size_t> CountLost(const Salvaged& before, const SectionCopies& after) {
  std::map<u16, std::size_t> lost;
  for (const SalvagedItem& item : before.items) {
    if (item.taken.state != CopyState::kValid) continue;
    const auto found = after.items.find({.type = item.type, .id = item.id});
    if (found == after.items.end() || found->second.searched.empty()) ++lost[item.taken.block];
  }
  return lost;
}

}  // namespace

std::vector<LostItems> FindLostItems(const std::vector<RebuiltSection>& before, const SectionList& mounted) {
  std::vector<LostItems> lost;
  for (std::size_t i = 0; i < before.size(); ++i) {
    const Section& section = mounted.accepted[i];
    if (!section.IsMounted()) continue;
    const std::vector<BlockView> blocks = ViewForSalvage(PartitionAt(section.partition()));
    for (const auto& [block, count] : CountLost(before[i].salvaged, SortCopies(blocks)))
      lost.push_back({.section = section.name, .block = block, .count = count});
  }
  return lost;
}

std::string TextOf(const std::vector<LostItems>& lost) {
  std::string text;
  for (const LostItems& items : lost)
    text += fmt::format("{}section {} block {} loses {} item{}", text.empty() ? "" : ", ", items.section, items.block,
                        items.count, items.count == 1 ? "" : "s");
  return text;
}

void WriteChanged(const LoadedImage& image, const Claim& claim, const std::vector<LostItems>& lost) {
  if (lost.empty()) return claim.Write(image.CurrentBytes());
  const std::string kept = claim.WriteKeeping(image.original(), image.CurrentBytes());
  Warn(fmt::format("{}; vok repair --rebuild on the original{} brings them back", TextOf(lost),
                   kept.empty() ? "" : ", kept as " + kept + ','));
}

}  // namespace vok::tool
