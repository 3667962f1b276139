#include "view/image_view.h"

#include <algorithm>

#include "salvage.h"

namespace vok::tool {

std::span<const Finding> SectionView::FindingsOf(u16 block) const {
  return std::ranges::equal_range(findings, block, {}, &Finding::block);
}

std::span<const LostCopy> SectionView::LostIn(u16 block) const {
  return std::ranges::equal_range(lost, block, {}, &LostCopy::block);
}

namespace {

std::vector<Finding> FindingsByBlock(const Section& section) {
  std::vector<Finding> findings = InspectSection(section);
  std::ranges::stable_sort(findings, {}, &Finding::block);
  return findings;
}

SectionView ViewSectionWhole(const Section& section, const Losses& losses) {
  SectionView view{.section = &section,
                   .blocks = ViewForSalvage(PartitionAt(section.partition())),
                   .findings = FindingsByBlock(section),
                   .lost = {}};
  view.lost = MarkLostCopies(losses, section.name, view.blocks);
  return view;
}

}  // namespace

SectionView ViewSection(const Section& section, UnreachedSlots unreached) {
  SectionView view{.section = &section, .blocks = {}, .findings = FindingsByBlock(section), .lost = {}};
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
