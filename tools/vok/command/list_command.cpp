#include <fmt/core.h>

#include "answer/json.h"
#include "base/table.h"
#include "base/terminal.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "image/image.h"
#include "section/items.h"
#include "section/mounting.h"

namespace vok::tool {

namespace {

/// The sections to list: the one that was named, or all that start-up can mount.
std::vector<const Section*> SectionsToList(const SectionList& sections, const std::string& name) {
  if (!name.empty()) return {&FindSection(sections, name)};
  RequireAllMounted(sections);
  std::vector<const Section*> listed;
  for (const Section& section : sections.accepted)
    if (section.IsMounted()) listed.push_back(&section);
  return listed;
}

void PrintItems(const std::vector<SectionItems>& sections) {
  using Align = Table::Align;
  Table table({{"SECTION"}, {"TYPE", Align::kRight}, {"ID", Align::kRight}, {"LENGTH", Align::kRight}});
  std::size_t count = 0;
  for (const SectionItems& listed : sections) {
    for (const ItemEntry& item : listed.items)
      table.AddRow(
          {listed.section->name, std::to_string(item.type), std::to_string(item.id), std::to_string(item.length)});
    count += listed.items.size();
  }
  table.Print();
  Print(fmt::format("{} items\n", count));
}

}  // namespace

void TakeList(Arguments& arguments, Options&) {
  arguments.Section("list this section only");
  arguments.Json();
  arguments.ManyImages(ManyUse::kOptions);
}

int RunList(const Options& options) {
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  const SectionList sections = MountSections(MountPurpose::kRead);
  std::vector<SectionItems> listed;
  for (const Section* section : SectionsToList(sections, options.section))
    listed.push_back({.section = section, .items = ListSection(*section)});
  if (options.json) {
    Print(ItemsJson(image.version(), listed));
  } else {
    PrintItems(listed);
  }
  return kDone;
}

}  // namespace vok::tool
