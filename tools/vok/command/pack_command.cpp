#include <fmt/core.h>

#include <optional>

#include "base/failure.h"
#include "base/terminal.h"
#include "building/fresh_image.h"
#include "building/manifest.h"
#include "building/room.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "filling.h"
#include "section/mounting.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

/// The item for which a section had no room.
struct NoRoom {
  const PackedSection* section;
  const PackedItem* item;
  u16 code;
};

std::optional<NoRoom> Fill(const std::vector<PackedSection>& sections, FillOrder order) {
  for (const PackedSection& section : sections) {
    const auto refused = FillPartition(section.partition, AsNewItems(section.items), order);
    if (!refused) continue;
    const PackedItem& item = section.items[refused->index];
    if (!IsNoRoom(refused->code)) throw Failure(fmt::format("{}: cannot write the item", item.where), refused->code);
    return NoRoom{.section = &section, .item = &item, .code = refused->code};
  }
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
  if (!Fill(sections, FillOrder::kAsGiven)) return;
  Say("no room in the manifest's order; packing as tightly as can be");
  image.Format();
  if (const auto no_room = Fill(sections, FillOrder::kTight)) ThrowNoRoom(*no_room);
}

}  // namespace

void TakePack(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "directory with a manifest.json").Required();
  arguments.MadeImage();
  arguments.AcceptLoss();
}

int RunPack(const Options& options) {
  RequirePlaceFor(options.output, ExistingFor(options));
  const Manifest manifest(options.directory);
  FreshImage image(manifest.psdt(), manifest.version());
  const std::vector<PackedSection> sections = manifest.ReadItems(image.sections());
  FillImage(image, sections);
  RequireAllMounted(CheckMountSections());

  WriteOutput(options.output,
              options.as_dump ? image.Dump(manifest.codeplug_end())
                              : image.Range(manifest.codeplug_start(), manifest.codeplug_end()),
              ExistingFor(options));
  std::size_t count = 0;
  for (const PackedSection& section : sections) count += section.items.size();
  Print(fmt::format("{} items of {} sections in {}\n", count, sections.size(), options.output));
  const int status = Conclude(manifest.ReadLosses());
  return options.accept_loss ? kDone : status;
}

}  // namespace vok::tool
