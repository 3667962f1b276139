#include <fmt/core.h>

#include <optional>

#include "commands.h"
#include "failure.h"
#include "fresh_image.h"
#include "manifest.h"
#include "mounting.h"
#include "room.h"
#include "store/volume/layout.h"
#include "terminal.h"
#include "tight_order.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

/// The item for which a section had no room.
struct NoRoom {
  const PackedSection* section;
  const PackedItem* item;
  u16 code;
};

/// Nothing can cut this writing off, so that it needs no journal records.
constexpr u8 kPlainWrite = 0;

std::optional<NoRoom> FillSection(const PackedSection& section, const std::vector<const PackedItem*>& items) {
  for (const PackedItem* const item : items) {
    u16 id = item->id;
    const u16 code = WriteItem(section.partition, kPlainWrite, item->type, &id, item->bytes.data(),
                               static_cast<u32>(item->bytes.size()));
    if (IsNoRoom(code)) return NoRoom{.section = &section, .item = item, .code = code};
    if (code != code::kOk) throw Failure(fmt::format("{}: cannot write the item", item->where), code);
  }
  return std::nullopt;
}

enum class Order { kManifest, kTight };

std::vector<const PackedItem*> Ordered(const PackedSection& section, Order order) {
  std::vector<const PackedItem*> items;
  std::vector<u32> sizes;
  for (const PackedItem& item : section.items) {
    items.push_back(&item);
    sizes.push_back(static_cast<u32>(RecordAndSlotSize(static_cast<u32>(item.bytes.size()))));
  }
  if (order == Order::kManifest) return items;
  const u32 capacity = section.block_size - block_header::kSize - CurrentLayout().word_size;
  std::vector<const PackedItem*> tight;
  for (const std::size_t index : TightOrder(sizes, capacity)) tight.push_back(items[index]);
  return tight;
}

std::optional<NoRoom> Fill(const std::vector<PackedSection>& sections, Order order) {
  for (const PackedSection& section : sections)
    if (const auto no_room = FillSection(section, Ordered(section, order))) return no_room;
  return std::nullopt;
}

[[noreturn]] void ThrowNoRoom(const NoRoom& no_room) {
  const u64 needed = RecordAndSlotSize(static_cast<u32>(no_room.item->bytes.size()));
  throw Failure(fmt::format("{}: section {} has no room for the item: {}", no_room.item->where, no_room.section->name,
                            RoomFigures(no_room.section->partition, needed)),
                no_room.code);
}

/// Items that leave gaps in their own order may fit in another.
void FillImage(FreshImage& image, const std::vector<PackedSection>& sections) {
  if (!Fill(sections, Order::kManifest)) return;
  Say("no room in the manifest's order; packing as tightly as can be");
  image.Format();
  if (const auto no_room = Fill(sections, Order::kTight)) ThrowNoRoom(*no_room);
}

}  // namespace

int RunPack(const Options& options) {
  const Manifest manifest(options.directory);
  FreshImage image(manifest.psdt(), manifest.version());
  const std::vector<PackedSection> sections = manifest.ReadItems(image.sections());
  FillImage(image, sections);
  RequireAllMounted(CheckMountSections());

  ReplaceFile(options.output, options.as_dump ? image.Dump(manifest.codeplug_end())
                                              : image.Range(manifest.codeplug_start(), manifest.codeplug_end()));
  std::size_t count = 0;
  for (const PackedSection& section : sections) count += section.items.size();
  Print(fmt::format("{} items of {} sections in {}\n", count, sections.size(), options.output));
  return kDone;
}

}  // namespace vok::tool
