#include "building/fresh_section.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "flash/image.h"
#include "image/image.h"
#include "store/volume/format.h"
#include "vok/store.h"

namespace vok::tool {

namespace {
constexpr u8 kReadOnlyKind = 1;
constexpr u8 kWriteOnceKind = 2;
}  // namespace

void FormatSection(const Section& section) {
  for (u32 block = 0; block < section.entry.block_count; ++block) {
    const FlashAddress base = section.entry.start + u64{block} * section.entry.block_size;
    if (InFlash(base, section.entry.block_size)) WriteDefaultBlockHeader(base, block + 1 == section.entry.block_count);
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
