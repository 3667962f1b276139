#include "section/mounting.h"

#include <fmt/core.h>

#include <algorithm>
#include <span>

#include "base/failure.h"
#include "base/terminal.h"
#include "flash/image.h"
#include "section/findings.h"
#include "section/items.h"
#include "section/kept_flash.h"
#include "store/volume/layout.h"
#include "store/volume/mount.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

u8 ModeNumber(MountMode mode) { return static_cast<u8>(mode); }

/// The mode in which start-up mounts the section by one of its routes.
u8 ModeByRoute(const psdt::TypeRange& range) {
  return MountModeOf({.partition = 0, .range_id = static_cast<u8>(range.id), .first_type = 0, .last_type = 0});
}

bool HasCheckRoute(const Section& section) {
  const std::vector<psdt::TypeRange> ranges = TypeRangesOf(section);
  return std::any_of(ranges.begin(), ranges.end(),
                     [](const psdt::TypeRange& range) { return ModeByRoute(range) == ModeNumber(MountMode::kCheck); });
}

u16 MountForChecking(const Section& section) {
  return MountPartition(section.partition(), ModeNumber(MountMode::kCheck));
}

/// Once for each route, until one succeeds.
u16 MountLikeStartUp(const Section& section) {
  if (!IsMountable(section)) return MountForChecking(section);
  u16 code = code::kUnmounted;
  for (const psdt::TypeRange& range : TypeRangesOf(section))
    if (code != code::kOk) code = MountPartition(section.partition(), ModeByRoute(range));
  return code;
}

u16 MountForRepair(const Section& section) {
  if (section.IsReadOnly()) return MountForChecking(section);
  return MountPartition(section.partition(), ModeNumber(MountMode::kRepair));
}

/// Of an accepted section, which lies in the image.
std::span<const u8> BytesOf(const Section& section) {
  return {VirtualMemoryAddress(section.entry.start), section.end() - section.entry.start};
}

/// Tells one state of the sections' bytes from another.
u32 Fingerprint(const SectionList& sections) {
  u32 sum = 0;
  for (const Section& section : sections.accepted) sum = Crc32(BytesOf(section), sum);
  return sum;
}

bool HasWorkLeft(const SectionList& sections) {
  return std::any_of(sections.accepted.begin(), sections.accepted.end(), [](const Section& section) {
    return section.IsMounted() && !section.IsReadOnly() && !InspectSection(section).empty();
  });
}

SectionList MountOnce(MountPurpose purpose) {
  SectionList sections = SetUpSections();
  for (Section& section : sections.accepted) {
    section.mount_code = purpose == MountPurpose::kRead ? MountLikeStartUp(section) : MountForRepair(section);
    Say(fmt::format("section {}: mount gives {}", section.name, section.mount_code));
  }
  return sections;
}

}  // namespace

bool IsMountable(const Section& section) { return !section.IsReadOnly() || HasCheckRoute(section); }

SectionList MountSections(MountPurpose purpose) {
  SectionList sections = MountOnce(purpose);
  // Hardly any image needs more, so that the sum over all its bytes waits until one does.
  u32 before = 0;
  for (bool is_first = true; HasWorkLeft(sections); is_first = false) {
    const u32 after = Fingerprint(sections);
    if (!is_first && after == before) break;
    before = after;
    sections = MountOnce(purpose);
  }
  return sections;
}

SectionList CheckMountSections() {
  SectionList sections = SetUpSections();
  for (Section& section : sections.accepted)
    section.mount_code = IsMountable(section) ? MountForChecking(section) : code::kReadOnly;
  return sections;
}

u16 TryRepairMount(const Section& section) {
  const KeptFlash kept(section);
  const u16 code = MountPartition(section.partition(), ModeNumber(MountMode::kRepair));
  kept.Restore();
  return code;
}

void RequireAllMounted(const SectionList& sections) {
  for (const Section& section : sections.accepted)
    if (IsMountable(section)) RequireMounted(section);
}

}  // namespace vok::tool
