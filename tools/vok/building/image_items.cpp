#include "building/image_items.h"

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>

#include "building/fresh_image.h"
#include "building/manifest.h"
#include "building/read_image.h"
#include "image/named_image.h"

namespace vok::tool {

namespace fs = std::filesystem;

namespace {

void Add(ImageItems& items, const std::string& section, u16 type, u16 id, const Bytes& bytes) {
  const ItemEntry entry{.type = type, .id = id, .length = static_cast<u32>(bytes.size()), .crc32 = Crc32(bytes)};
  items.emplace(ItemName{.section = section, .type = type, .id = id}, HeldItem{.entry = entry, .bytes = bytes});
}

ImageContents ContentsOfDirectory(const std::string& directory) {
  const Manifest manifest(directory);
  const FreshImage image(manifest.ReadPsdt(), manifest.version(), manifest.codeplug());
  ImageContents contents{.items = {}, .losses = manifest.ReadLosses()};
  for (const PackedSection& section : manifest.ReadItems(image.sections(), {.edits = true, .missing = true}))
    for (const PackedItem& item : section.items) Add(contents.items, section.name, item.type, item.id, item.bytes);
  return contents;
}

}  // namespace

bool ImageContents::HasLost(const ItemName& name) const {
  return std::ranges::any_of(losses, [&name](const Loss& loss) {
    const ItemKey item{.type = name.type, .id = name.id};
    return loss.section == name.section && (loss.absent || std::ranges::find(loss.items, item) != loss.items.end());
  });
}

ImageContents ReadContents(const std::string& operand, const ImageArguments& shared) {
  if (fs::is_directory(operand)) return ContentsOfDirectory(operand);
  const ReadImage image(ImageNamed(operand, shared));
  ImageContents contents{.items = {}, .losses = image.losses()};
  for (const Section& section : image.sections().accepted)
    if (section.IsMounted())
      VisitItems(section, [&](const ItemEntry& item, const Bytes& bytes) {
        Add(contents.items, section.name, item.type, item.id, bytes);
      });
  return contents;
}

}  // namespace vok::tool
