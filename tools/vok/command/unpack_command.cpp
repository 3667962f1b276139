#include <fmt/core.h>

#include <algorithm>
#include <filesystem>

#include "answer/json.h"
#include "base/staging.h"
#include "base/terminal.h"
#include "building/unpacked_folder.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "image/image.h"
#include "section/items.h"
#include "section/mounting.h"

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

}  // namespace

void TakeUnpack(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "directory to make").Required();
  arguments.Force("replace what an earlier unpack made");
  arguments.Flag("--skip-unmounted", options.skip_unmounted, "leave out sections that do not mount");
  arguments.ManyImages(ManyUse::kFolders);
}

int RunUnpack(const Options& options) {
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  const SectionList sections = MountSections(MountPurpose::kRead);
  if (!options.skip_unmounted) RequireAllMounted(sections);

  StagingDirectory directory(options.directory, ExistingFor(options));
  const std::set<std::filesystem::path> earlier = MadeFiles(options.directory);
  std::vector<SectionItems> unpacked;
  std::size_t count = 0;
  for (const Section& section : sections.accepted) {
    unpacked.push_back(UnpackSection(section, directory));
    count += unpacked.back().items.size();
  }
  directory.Write(kPsdtFileName, image.psdt().bytes);
  directory.Write(kManifestFileName, AsBytes(ManifestJson(image, unpacked)));
  directory.Publish(earlier);
  Print(fmt::format("{} items of {} sections in {}\n", count, unpacked.size(), options.directory));
  return kDone;
}

}  // namespace vok::tool
