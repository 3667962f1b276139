#include "view/image_view.h"

#include <algorithm>

#include "salvage.h"

namespace vok::tool {

std::vector<const Finding*> SectionView::FindingsOf(u16 block) const {
  std::vector<const Finding*> found;
  for (const Finding& finding : findings)
    if (finding.block == block) found.push_back(&finding);
  return found;
}

std::size_t SectionView::LostIn(u16 block) const {
  return static_cast<std::size_t>(
      std::ranges::count_if(lost, [block](const LostCopy& copy) { return copy.block == block; }));
}

namespace {

SectionView ViewSectionWhole(const Section& section) {
  SectionView view{.section = &section,
                   .blocks = ViewForSalvage(PartitionAt(section.partition())),
                   .findings = InspectSection(section),
                   .lost = {}};
  view.lost = MarkLostCopies(view.blocks);
  return view;
}

}  // namespace

SectionView ViewSection(const Section& section, UnreachedSlots unreached) {
  SectionView view{.section = &section, .blocks = {}, .findings = InspectSection(section), .lost = {}};
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i) view.blocks.push_back(ViewBlock(partition, i, unreached));
  return view;
}

ImageView ViewImage(const LoadedImage& image) {
  RequireSetUp(image.sections());
  ImageView view{.version = image.version(), .sections = {}};
  for (const Section& section : image.sections().accepted) view.sections.push_back(ViewSectionWhole(section));
  return view;
}

}  // namespace vok::tool
