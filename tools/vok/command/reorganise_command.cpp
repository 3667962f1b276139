#include <fmt/core.h>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/changed_image.h"
#include "building/room.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

u32 FreeBytes(u8 partition) {
  PartitionSpace space{};
  GetPartitionSpace(partition, &space);
  return space.free_now;
}

/// Each block that is reorganised has no dead bytes afterwards, and none gets new ones, so that this ends.
Regained ReorganiseSection(const Section& section) {
  Regained regained{
      .section = section.name, .blocks = 0, .free_before = FreeBytes(section.partition()), .free_after = 0};
  while (ReorganiseAsAdvised(section.name, section.partition())) ++regained.blocks;
  regained.free_after = FreeBytes(section.partition());
  return regained;
}

std::vector<const Section*> SectionsToReorganise(const SectionList& sections, const std::string& name) {
  std::vector<const Section*> chosen;
  if (!name.empty()) {
    const Section& section = FindSection(sections, name);
    RequireMounted(section);
    if (section.IsReadOnly())
      throw Failure(fmt::format("cannot reorganise section {}: it is read-only", name), code::kReadOnly);
    return {&section};
  }
  for (const Section& section : sections.accepted)
    if (section.IsMounted() && !section.IsReadOnly()) chosen.push_back(&section);
  return chosen;
}

void PrintRegained(const std::vector<Regained>& sections) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"BLOCKS", Align::kRight},
               {"FREE BEFORE", Align::kRight},
               {"FREE AFTER", Align::kRight},
               {"REGAINED", Align::kRight}});
  for (const Regained& regained : sections)
    table.AddRow({regained.section, std::to_string(regained.blocks), std::to_string(regained.free_before),
                  std::to_string(regained.free_after),
                  std::to_string(std::int64_t{regained.free_after} - regained.free_before)});
  table.Print();
}

}  // namespace

void TakeReorganise(Arguments& arguments, Options&) {
  arguments.Section("reorganise this section only");
  arguments.ChangedOutput();
  arguments.Json();
}

int RunReorganise(const Options& options) {
  const Claim claim(options.image, DestinationOf(options));
  ChangedImage image(options.image, AcceptLoss{options.accept_loss});
  std::vector<Regained> sections;
  for (const Section* const section : SectionsToReorganise(image.sections(), options.section))
    sections.push_back(ReorganiseSection(*section));
  image.Save(claim);
  if (options.json) {
    Print(RegainedJson(sections, image.losses()));
  } else {
    PrintRegained(sections);
  }
  return kDone;
}

}  // namespace vok::tool
