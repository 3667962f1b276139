#include "building/image_items.h"

#include <fmt/core.h>

#include <filesystem>

#include "building/fresh_image.h"
#include "building/manifest.h"
#include "image/image.h"
#include "image/placed_file.h"
#include "section/mounting.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

void Add(ImageItems& items, const std::string& section, u16 type, u16 id, const Bytes& bytes) {
  const ItemEntry entry{.type = type, .id = id, .length = static_cast<u32>(bytes.size()), .crc32 = Crc32(bytes)};
  items.emplace(ItemName{.section = section, .type = type, .id = id}, HeldItem{.entry = entry, .bytes = bytes});
}

ImageItems ItemsOfDirectory(const std::string& directory) {
  const Manifest manifest(directory);
  const FreshImage image(manifest.psdt(), manifest.version());
  ImageItems items;
  for (const PackedSection& section : manifest.ReadItems(image.sections()))
    for (const PackedItem& item : section.items) Add(items, section.name, item.type, item.id, item.bytes);
  return items;
}

/// Cuts PSDT+CODEPLUG in two. File names may hold a + too: the cut is at the first one that leaves two files.
bool CutPair(const std::string& operand, ImageArguments& image) {
  for (std::size_t plus = operand.find('+'); plus != std::string::npos; plus = operand.find('+', plus + 1)) {
    image.psdt = PlacedFileOf(operand.substr(0, plus));
    image.codeplug = PlacedFileOf(operand.substr(plus + 1));
    if (fs::exists(image.psdt.path) && fs::exists(image.codeplug.path)) return true;
  }
  return false;
}

ImageArguments ArgumentsOf(const std::string& operand, const ImageArguments& shared) {
  ImageArguments image = shared;
  if (!shared.psdt.path.empty()) {
    image.codeplug = PlacedFileOf(operand);
  } else if (fs::exists(operand) || !CutPair(operand, image)) {
    image.psdt = {};
    image.codeplug = {};
    image.dump = operand;
  }
  return image;
}

}  // namespace

ImageItems ReadImageItems(const std::string& operand, const ImageArguments& shared) {
  if (fs::is_directory(operand)) return ItemsOfDirectory(operand);
  const LoadedImage image(ArgumentsOf(operand, shared));
  RequireSetUp(image.sections());
  const SectionList sections = MountSections(MountPurpose::kRead);
  RequireAllMounted(sections);
  ImageItems items;
  for (const Section& section : sections.accepted)
    if (section.IsMounted())
      VisitItems(section, [&](const ItemEntry& item, const Bytes& bytes) {
        Add(items, section.name, item.type, item.id, bytes);
      });
  return items;
}

}  // namespace vok::tool
