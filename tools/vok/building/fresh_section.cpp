#include "building/fresh_section.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "flash/image.h"
#include "image/image.h"
#include "store/volume/format.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {
constexpr u8 kReadOnlyKind = 1;
constexpr u8 kWriteOnceKind = 2;
/// More erases than this no chip takes: a word that counts more is none of a counter.
constexpr u32 kMostErases = 1000000;

FlashAddress BlockBase(const Section& section, u32 block) {
  return section.entry.start + u64{block} * section.entry.block_size;
}

u32 WearAfterErase(FlashAddress base) {
  const u32 counter = ReadFlashWord32(base + block_header::kWearCounterOffset);
  return ~counter < kMostErases ? counter - 1 : block_header::kFirstWearCounter;
}

}  // namespace

std::vector<u32> WearAfterErase(const Section& section) {
  std::vector<u32> wear;
  for (u32 block = 0; block < section.entry.block_count; ++block)
    wear.push_back(WearAfterErase(BlockBase(section, block)));
  return wear;
}

void FormatSection(const Section& section, std::span<const u32> wear) {
  for (u32 block = 0; block < section.entry.block_count; ++block) {
    const FlashAddress base = BlockBase(section, block);
    const u32 counter = wear.empty() ? block_header::kFirstWearCounter : wear[block];
    if (InFlash(base, section.entry.block_size))
      WriteDefaultBlockHeader(base, block + 1 == section.entry.block_count, counter);
  }
}

void SetUpForFilling() {
  TerminateStore();
  const StartupPlan& plan = PrepareStore();
  auto descriptors = plan.descriptors;
  for (PartitionDescriptor& descriptor : descriptors)
    if (descriptor.flags == kReadOnlyKind) descriptor.flags = kWriteOnceKind;
  TerminateStore();
  SectionList sections;
  sections.setup_code = SetUpPartitions(plan.accepted, descriptors.data());
  RequireSetUp(sections);
}

void RequireApart(const Section& section, const SectionList& sections, const ImageBytes& psdt) {
  if (section.entry.start < psdt.end() && psdt.address < section.end())
    throw Failure(fmt::format("section {} lies over the PSDT", section.name));
  for (const Section& other : sections.accepted)
    if (other.record != section.record && Overlap(section, other))
      throw Failure(fmt::format("sections {} and {} overlap", section.name, other.name));
}

}  // namespace vok::tool
