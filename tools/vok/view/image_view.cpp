#include "view/image_view.h"

#include <algorithm>

#include "salvage.h"
#include "section/contents.h"

namespace vok::tool {

namespace {

/// Those of a block among things that are sorted by block.
template <typename Thing>
std::span<const Thing> OfBlock(const std::vector<Thing>& things, u16 block) {
  const auto first = std::ranges::lower_bound(things, block, {}, &Thing::block);
  const auto last = std::ranges::upper_bound(things, block, {}, &Thing::block);
  return {first, last};
}

}  // namespace

std::span<const Finding> SectionView::FindingsOf(u16 block) const { return OfBlock(findings, block); }

std::span<const LostCopy> SectionView::LostIn(u16 block) const { return OfBlock(lost, block); }

namespace {

SectionView ViewSectionWhole(const Section& section, const Losses& losses) {
  SectionView view{.section = &section,
                   .blocks = ViewForSalvage(PartitionAt(section.partition())),
                   .findings = ExamineSection(section),
                   .lost = {}};
  view.lost = MarkLostCopies(losses, section.name, view.blocks);
  return view;
}

}  // namespace

SectionView ViewSection(const Section& section, UnreachedSlots unreached) {
  SectionView view{.section = &section, .blocks = {}, .findings = InspectSection(section), .lost = {}};
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i) view.blocks.push_back(ViewBlock(partition, i, unreached));
  return view;
}

ImageView ViewImage(const ReadImage& image) {
  RequireSetUp(image.sections());
  ImageView view{
      .version = image.version(), .is_rebuilt = image.is_rebuilt(), .losses = image.losses(), .sections = {}};
  for (const Section& section : image.sections().accepted)
    view.sections.push_back(ViewSectionWhole(section, view.losses));
  return view;
}

}  // namespace vok::tool
