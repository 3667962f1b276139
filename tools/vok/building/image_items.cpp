#include "building/image_items.h"

#include <fmt/core.h>

#include <filesystem>

#include "building/fresh_image.h"
#include "building/manifest.h"
#include "image/image.h"
#include "image/named_image.h"
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

}  // namespace

ImageItems ReadImageItems(const std::string& operand, const ImageArguments& shared) {
  if (fs::is_directory(operand)) return ItemsOfDirectory(operand);
  const LoadedImage image(ImageNamed(operand, shared));
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
