#include "section/signed_blocks.h"

#include <algorithm>
#include <set>

#include "flash/image.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

bool BeginsBlock(std::span<const u8> bytes) {
  const u32 version = BigEndian32(bytes.data() + block_header::kFormatVersionOffset);
  return BigEndian32(bytes.data() + block_header::kSignatureOffset) == block_header::kSignature && version != 0 &&
         version <= kHighestVersion;
}

bool Serves(const psdt::Record& record, u16 type) {
  return std::ranges::any_of(record.ranges, [&record, type](const psdt::TypeRange& range) {
    const bool counts = &range == record.ranges.data() || range.id != psdt::kNoRange;
    return counts && type >= range.first_type && type <= range.last_type;
  });
}

/// Calls @p use (type) for each Valid item in the slots of a block.
template <typename Use>
void ForValidTypes(std::span<const u8> block, Use use) {
  const Layout& layout = CurrentLayout();
  for (std::size_t slot = block_header::kSize; slot + layout.slot_size() <= block.size(); slot += layout.slot_size()) {
    const u16 type = BigEndian16(block.data() + slot + slot_field::kType);
    if (type == kUnusedType) return;
    const u8* const word = block.data() + slot + slot_field::kLocationWord;
    if (IsItemType(type) && IsValid(layout.word_size == sizeof(u16) ? BigEndian16(word) : BigEndian32(word))) use(type);
  }
}

/// Whether the PSDT places a block there.
bool IsOnGrid(const Section& section, u64 address) {
  if (address < section.entry.start || address >= section.end()) return false;
  return (address - section.entry.start) % section.entry.block_size == 0;
}

}  // namespace

std::vector<u64> FindSignedBlocks(std::span<const u8> bytes, const FlashRange& range, std::span<const u64> phases) {
  const u64 step = CurrentLayout().erase_size;
  std::set<u64> found;
  for (const u64 phase : phases)
    for (u64 at = range.start + (phase % step + step - range.start % step) % step;
         at + block_header::kSize <= range.end; at += step)
      if (BeginsBlock(bytes.subspan(at, block_header::kSize))) found.insert(at);
  return {found.begin(), found.end()};
}

std::optional<std::size_t> OwnerOf(std::span<const u8> block, std::span<const psdt::Record> records) {
  std::vector<u32> votes(records.size());
  ForValidTypes(block, [&](u16 type) {
    for (std::size_t i = 0; i < records.size(); ++i) votes[i] += Serves(records[i], type) ? 1 : 0;
  });
  const auto most = std::ranges::max_element(votes);
  if (most == votes.end() || *most == 0) return std::nullopt;
  return static_cast<std::size_t>(most - votes.begin());
}

std::vector<u64> FindStrayBlocks(const SectionList& sections) {
  const FlashRange& file = CurrentLoadedRanges().file;
  std::vector<u64> phases = {0, file.start};
  for (const std::vector<Section>* const list : {&sections.accepted, &sections.passed_over})
    for (const Section& section : *list) phases.push_back(section.entry.start);
  std::vector<u64> strays = FindSignedBlocks({VirtualMemoryAddress(0), kFlashSize}, file, phases);
  std::erase_if(strays, [&sections](u64 address) {
    const auto places = [address](const Section& section) { return IsOnGrid(section, address); };
    return std::ranges::any_of(sections.accepted, places) || std::ranges::any_of(sections.passed_over, places);
  });
  return strays;
}

}  // namespace vok::tool
