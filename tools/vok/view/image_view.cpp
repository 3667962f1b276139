#include "view/image_view.h"

#include <algorithm>

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

std::vector<BlockView> ViewBlocks(const Section& section, const KeptSlots& kept) {
  std::vector<BlockView> blocks;
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i)
    blocks.push_back(ViewBlock(partition, i, UnreachedSlots::kRead, kept));
  return blocks;
}

SectionView ViewSectionWhole(const Section& section, const Losses& losses) {
  SectionView view{
      .section = &section, .blocks = ViewBlocks(section, kNoSlot), .findings = ExamineSection(section), .lost = {}};
  view.lost = MarkLostCopies(losses, section, view.blocks);
  return view;
}

}  // namespace

SectionView ViewItem(const Section& section, const ItemKey& name) {
  const KeptSlots kept{.all = false, .type = name.type, .id = name.id};
  return {.section = &section, .blocks = ViewBlocks(section, kept), .findings = {}, .lost = {}};
}

SectionView ViewOneBlock(const Section& section, u16 block) {
  return {.section = &section,
          .blocks = {ViewBlock(PartitionAt(section.partition()), block)},
          .findings = InspectBlock(section, block),
          .lost = {}};
}

BlockView WithSlots(const SectionView& section, const BlockView& block) {
  return ViewBlock(PartitionAt(section.section->partition()), block.index, UnreachedSlots::kRead);
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
