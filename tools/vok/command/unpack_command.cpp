#include <fmt/core.h>

#include <algorithm>
#include <filesystem>

#include "answer/json.h"
#include "base/staging.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "building/unpacked_folder.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/items.h"

namespace vok::tool {

namespace {

SectionItems UnpackSection(const Section& section, const StagingDirectory& directory) {
  SectionItems unpacked{.section = &section, .items = {}};
  if (!section.IsMounted()) return unpacked;
  directory.MakeFolder(section.name);
  VisitItems(section, [&](const ItemEntry& item, const Bytes& bytes) {
    directory.Write(ItemFileName(section, item), bytes);
    unpacked.items.push_back(item);
  });
  // The order in flash is lost when the items are packed again; this one is not.
  std::sort(unpacked.items.begin(), unpacked.items.end(),
            [](const ItemEntry& a, const ItemEntry& b) { return std::pair(a.type, a.id) < std::pair(b.type, b.id); });
  return unpacked;
}

/// What is lost beside the sections that were to be left out.
Losses WithoutUnmounted(const Losses& losses, const SectionList& sections) {
  Losses rest = losses;
  for (const Section& section : sections.accepted)
    if (!section.IsMounted()) std::erase_if(rest, [&](const Loss& loss) { return loss.section == section.name; });
  return rest;
}

}  // namespace

void TakeUnpack(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "directory to make").Required();
  arguments.Force("replace what an earlier unpack made");
  arguments.Rebuilt();
  arguments.Flag("--skip-unmounted", options.skip_unmounted, "leave out sections that do not mount");
  arguments.ManyImages(ManyUse::kFolders);
}

int RunUnpack(const Options& options) {
  const ReadImage image(options.image);
  StagingDirectory directory(options.directory, ExistingFor(options));
  const std::set<std::filesystem::path> earlier = MadeFiles(options.directory);
  std::vector<SectionItems> unpacked;
  std::size_t count = 0;
  for (const Section& section : image.sections().accepted) {
    unpacked.push_back(UnpackSection(section, directory));
    count += unpacked.back().items.size();
  }
  directory.Write(kPsdtFileName, image.loaded().psdt_in_force());
  directory.Write(kManifestFileName, AsBytes(TextOf(ManifestJson(image.loaded(), unpacked, image.losses()))));
  directory.Publish(earlier);
  Print(fmt::format("{} items of {} sections in {}\n", count, unpacked.size(), options.directory));
  return Conclude(options.skip_unmounted ? WithoutUnmounted(image.losses(), image.sections()) : image.losses());
}

}  // namespace vok::tool
