#include "image/store_version.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "section/sections.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

u32 WordAt(const u8* byte) {
  return static_cast<u32>(byte[0]) << 24 | static_cast<u32>(byte[1]) << 16 | static_cast<u32>(byte[2]) << 8 | byte[3];
}

void CountBlock(const ImageBytes& image, u64 base, VersionCount& count) {
  if (!image.Covers(base, base + block_header::kSize)) return;
  const u8* const header = image.bytes.data() + (base - image.address);
  if (WordAt(header + block_header::kSignatureOffset) != block_header::kSignature) return;
  const u32 version = WordAt(header + block_header::kFormatVersionOffset);
  if (version != 0 && version <= kHighestVersion) ++count[version];
}

}  // namespace

VersionCount CountVersions(const ImageBytes& image) {
  VersionCount count{};
  for (u16 i = 0; i < psdt::RecordCount(); ++i) {
    const psdt::Record record = psdt::ReadRecord(i);
    for (u32 block = 0; block < record.block_count; ++block)
      CountBlock(image, record.start + u64{record.block_size} * block, count);
  }
  return count;
}

u16 MostFrequent(const VersionCount& count) {
  return static_cast<u16>(std::max_element(count.begin(), count.end()) - count.begin());
}

std::optional<u32> FirstSectionStart(u16 version) {
  ApplyStoreVersion(version);
  const SectionList sections = SetUpSections();
  TerminateStore();
  std::optional<u32> first;
  for (const Section& section : sections.accepted)
    if (!first || section.entry.start < *first) first = section.entry.start;
  return first;
}

void PlaceCodeplug(ImageBytes& codeplug, u16 version) {
  std::optional<u32> best;
  u32 most_blocks = 0;
  for (u16 candidate = 1; candidate <= kHighestVersion; ++candidate) {
    if (version != 0 && candidate != version) continue;
    const std::optional<u32> start = FirstSectionStart(candidate);
    if (!start) continue;
    codeplug.address = *start;
    const u32 blocks = CountVersions(codeplug)[candidate];
    if (best && blocks <= most_blocks) continue;
    best = start;
    most_blocks = blocks;
  }
  if (!best)
    throw Failure(fmt::format("codeplug {} has no place: start-up accepts no section of the PSDT", codeplug.path));
  codeplug.address = *best;
}

}  // namespace vok::tool
