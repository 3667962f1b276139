#include "section/stray_blocks.h"

#include <fmt/core.h>

#include <algorithm>

#include "flash/image.h"
#include "section/items.h"
#include "section/mended_psdt.h"
#include "section/signed_blocks.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

u64 EndOf(u64 address) { return std::min<u64>(address + CurrentLayout().erase_size, kFlashSize); }

u32 SumAt(u64 address) { return Crc32({VirtualMemoryAddress(address), EndOf(address) - address}); }

/// A section of that block alone.
Section SectionAt(u64 address) {
  Section section{.record = 0, .name = {}, .entry = {}, .verdict = PassOver::kAccepted};
  section.entry.start = static_cast<u32>(address);
  section.entry.block_size = CurrentLayout().erase_size;
  section.entry.block_count = 1;
  return section;
}

/// As the section of that record is called.
std::string NameOf(const MendedRecord& mended, const SectionList& sections) {
  for (const std::vector<Section>* const list : {&sections.accepted, &sections.passed_over})
    for (const Section& section : *list)
      if (section.record == mended.source) return section.name;
  return NameOfTag(mended.record.tag);
}

std::string NameAt(u64 address, const std::vector<MendedRecord>& mended, const SectionList& sections) {
  const auto found = std::ranges::find_if(mended, [address](const MendedRecord& one) { return one.Places(address); });
  return found != mended.end() ? NameOf(*found, sections) : "LOST";
}

void AddItems(const std::vector<const StrayBlock*>& blocks, std::vector<ItemKey>& items) {
  for (const StrayBlock* const block : blocks)
    ForEachName(block->holdings.copies, [&items](CopyGroup copies) { items.push_back(copies.front().name); });
  std::sort(items.begin(), items.end());
  items.erase(std::unique(items.begin(), items.end()), items.end());
  const std::vector<ItemKey> all = items;
  for (const StrayBlock* const block : blocks)
    for (const Rename& rename : block->holdings.renames)
      if (rename.from != rename.to && std::binary_search(all.begin(), all.end(), rename.to))
        std::erase(items, rename.from);
}

}  // namespace

std::vector<StrayBlock> HoldStrayBlocks(const SectionList& sections) {
  std::vector<StrayBlock> strays;
  const std::vector<u64> addresses = FindStrayBlocks(sections);
  if (addresses.empty()) return strays;
  const std::vector<MendedRecord> mended = MendRecords();
  for (const u64 address : addresses)
    strays.push_back({.address = address,
                      .section = NameAt(address, mended, sections),
                      .holdings = HoldingsOf(SectionBlocks(SectionAt(address))),
                      .sum = SumAt(address)});
  return strays;
}

void LeaveOutStrays(const Section& section, const std::vector<BlockHead>& heads, const std::vector<StrayBlock>& strays,
                    SectionHoldings& holdings) {
  if (strays.empty()) return;
  const auto is_inside = [&](const ValidCopy& copy) {
    const u64 start = section.entry.start + u64{copy.block} * section.entry.block_size;
    const FlashRange block{.start = start, .end = start + section.entry.block_size};
    return !heads[copy.block].has_signature && std::ranges::any_of(strays, [&block](const StrayBlock& stray) {
      return block.Overlaps({.start = stray.address, .end = EndOf(stray.address)});
    });
  };
  std::erase_if(holdings.copies, is_inside);
  std::erase_if(holdings.unnamed, is_inside);
}

std::vector<StrayItems> StrayItemsOf(const std::vector<StrayBlock>& strays) {
  std::vector<StrayItems> all;
  for (const StrayBlock& stray : strays) {
    if (std::ranges::find(all, stray.section, &StrayItems::section) != all.end()) continue;
    StrayItems items{.section = stray.section, .items = {}, .places = {}};
    std::vector<const StrayBlock*> blocks;
    for (const StrayBlock& block : strays) {
      if (block.section != stray.section) continue;
      blocks.push_back(&block);
      items.places += fmt::format("{}0x{:X}", items.places.empty() ? "" : ", ", block.address);
      items.changed = items.changed || SumAt(block.address) != block.sum;
    }
    AddItems(blocks, items.items);
    if (!items.items.empty()) all.push_back(std::move(items));
  }
  return all;
}

}  // namespace vok::tool
