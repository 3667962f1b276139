#include "building/rebuild.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/terminal.h"
#include "building/fresh_section.h"
#include "building/room.h"
#include "filling.h"
#include "flash/image.h"
#include "section/findings.h"
#include "store/volume/mount.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

u16 MountForChecking(const Section& section) {
  return MountPartition(section.partition(), static_cast<u8>(MountMode::kCheck));
}

void EmptySection(const Section& section, std::span<const u32> wear) {
  FillErased(section.entry.start, static_cast<u32>(section.end() - section.entry.start));
  FormatSection(section, wear);
  SetUpForFilling();
  if (const u16 code = MountForChecking(section))
    throw Failure(fmt::format("section {} does not mount after a format", section.name), code);
}

[[noreturn]] void ThrowRefused(const Section& section, const SalvagedItem& item, u16 code) {
  const std::string name = fmt::format("item type {} ID {}", item.type, item.id);
  if (!IsNoRoom(code)) throw Failure(fmt::format("cannot write {} in section {}", name, section.name), code);
  const u64 needed = RecordAndSlotSize(static_cast<u32>(item.bytes.size()));
  throw Failure(
      fmt::format("section {} has no room for {}: {}", section.name, name, RoomFigures(section.partition(), needed)),
      code);
}

void RebuildSection(const RebuiltSection& rebuilt) {
  const Section& section = *rebuilt.section;
  const std::vector<SalvagedItem>& items = rebuilt.salvaged.items;
  const std::vector<u32> wear = WearAfterErase(section);
  EmptySection(section, wear);
  auto refused = FillPartition(section.partition(), AsNewItems(items), FillOrder::kAsGiven);
  if (!refused) return;
  Say(fmt::format("section {}: no room in the order of the items; filling it as tightly as can be", section.name));
  EmptySection(section, wear);
  refused = FillPartition(section.partition(), AsNewItems(items), FillOrder::kTight);
  if (refused) ThrowRefused(section, items[refused->index], refused->code);
}

void RequireClean(const Section& section) {
  if (const u16 code = MountForChecking(section))
    throw Failure(fmt::format("section {} does not pass a check after it was rebuilt", section.name), code);
  if (!InspectSection(section).empty())
    throw Failure(fmt::format("something is unfinished in section {} after it was rebuilt", section.name));
}

}  // namespace

RebuiltSection SalvageSection(const Section& section) {
  RebuiltSection rebuilt{
      .section = &section, .blocks = ViewForSalvage(PartitionAt(section.partition())), .salvaged = {}};
  rebuilt.salvaged = Salvage(rebuilt.blocks);
  return rebuilt;
}

std::vector<RebuiltSection> SalvageSections(const SectionList& sections) {
  std::vector<RebuiltSection> salvaged;
  for (const Section& section : sections.accepted) salvaged.push_back(SalvageSection(section));
  return salvaged;
}

void Rebuild(const LoadedImage& image, const std::vector<RebuiltSection>& sections) {
  for (const RebuiltSection& rebuilt : sections) RequireApart(*rebuilt.section, image.sections(), image.psdt());
  for (const RebuiltSection& rebuilt : sections) RebuildSection(rebuilt);
  RequireSetUp(SetUpSections());
  for (const RebuiltSection& rebuilt : sections) RequireClean(*rebuilt.section);
}

}  // namespace vok::tool
