#include <fmt/core.h>

#include "answer/json.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/items.h"
#include "section/losses_text.h"

namespace vok::tool {

namespace {

/// The sections to list: the one that was named, or all. One that is not mounted has no items to list.
std::vector<SectionItems> ListSections(const ReadImage& image, const std::string& name) {
  std::vector<SectionItems> listed;
  for (const Section& section : image.sections().accepted)
    if (section.IsMounted() && (name.empty() || section.name == name))
      listed.push_back({.section = &section, .items = ListSection(section)});
  return listed;
}

/// Of a section that is named and not mounted there is nothing to list.
void RequireSection(const ReadImage& image, const Options& options) {
  const Section& section = FindSection(image.sections(), options.section);
  if (!options.json) RequireMounted(section, "; " + TextOf(LossesOfSection(image.losses(), section.name)));
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
  arguments.Rebuilt();
  arguments.ManyImages(ManyUse::kOptions);
}

int RunList(const Options& options) {
  const ReadImage image(options.image);
  if (!options.section.empty()) RequireSection(image, options);
  const std::vector<SectionItems> listed = ListSections(image, options.section);
  const Losses losses = options.section.empty() ? image.losses() : LossesOfSection(image.losses(), options.section);
  if (options.json) {
    Print(ItemsJson(image.version(), listed, losses));
  } else {
    PrintItems(listed);
  }
  return Conclude(losses);
}

}  // namespace vok::tool
