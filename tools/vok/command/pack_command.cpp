#include <fmt/core.h>

#include <optional>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/fresh_image.h"
#include "building/manifest.h"
#include "building/onto.h"
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

/// The image as a file, and what of it was not carried over.
struct Made {
  Bytes bytes;
  u64 erased = 0;  ///< bytes outside the sections
};

Made MakeAnew(const Options& options, const Manifest& manifest, const FreshImage& image, const ImageBytes& psdt) {
  const u64 start = options.as_dump ? 0 : manifest.codeplug_start();
  Made made{.bytes =
                options.as_dump ? image.Dump(manifest.codeplug_end()) : image.Range(start, manifest.codeplug_end())};
  made.erased = CountOutside(image, psdt, start, start + made.bytes.size());
  return made;
}

const char* NameOf(Origin origin) { return origin == Origin::kAdded ? "added" : "changed"; }

void PrintEdits(const std::vector<PackedSection>& sections) {
  for (const PackedSection& section : sections) {
    for (const PackedItem& item : section.items)
      if (item.origin != Origin::kUnpacked)
        Print(fmt::format("{}: {} type {} ID {}\n", NameOf(item.origin), section.name, item.type, item.id));
    for (const MissingItem& item : section.missing)
      Print(fmt::format("left out: {} type {} ID {}\n", section.name, item.type, item.id));
  }
}

void PrintAnswer(const std::vector<PackedSection>& sections, u64 erased, const std::string& path) {
  PrintEdits(sections);
  std::size_t count = 0;
  for (const PackedSection& section : sections) count += section.items.size();
  Print(fmt::format("{} items of {} sections in {}\n", count, sections.size(), path));
  if (erased != 0)
    Print(fmt::format("{} bytes outside the sections are erased; --onto IMAGE keeps those of an image\n", erased));
}

int TellPacked(const Options& options, const Manifest& manifest, const std::vector<PackedSection>& sections, u64 erased,
               const std::string& path) {
  const Losses losses = manifest.ReadLosses();
  if (options.json) {
    Print(PackedJson(sections, erased, losses));
  } else {
    PrintAnswer(sections, erased, path);
  }
  const int status = Conclude(losses);
  return options.accept_loss ? kDone : status;
}

int PackOnto(const Options& options, const Manifest& manifest, FreshImage& image, const ImageBytes& psdt,
             const std::vector<PackedSection>& sections) {
  const Claim claim(options.onto, DestinationOf(options));
  claim.Write(OntoImage(options.onto, manifest, psdt).With(image));
  return TellPacked(options, manifest, sections, 0, claim.path());
}

}  // namespace

void TakePack(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "directory with a manifest.json").Required();
  const Argument onto = arguments.File("--onto", options.onto, "keep the bytes of FILE outside the sections");
  arguments.ChangedOutput("write the codeplug to FILE (default with --onto: over that image)");
  arguments.Dump().Excludes(onto);
  const Argument verify = arguments.Flag("--verify", options.verify, "refuse files that are not as the manifest says");
  arguments.Flag("--delete", options.remove, "leave out items whose file is gone").Excludes(verify);
  arguments.Json();
  arguments.Check([&options] {
    if (options.output.empty() && options.onto.empty()) throw WrongCommandLine("pack needs --output or --onto");
  });
}

int RunPack(const Options& options) {
  if (options.onto.empty()) RequirePlaceFor(options.output, ExistingFor(options));
  const Manifest manifest(options.directory);
  const ImageBytes psdt = manifest.ReadPsdt();
  FreshImage image(psdt, manifest.version(), manifest.codeplug());
  const std::vector<PackedSection> sections =
      manifest.ReadItems(image.sections(), {.edits = !options.verify, .missing = options.remove});
  FillImage(image, sections);
  RequireAllMounted(CheckMountSections());

  if (!options.onto.empty()) return PackOnto(options, manifest, image, psdt, sections);
  const Made made = MakeAnew(options, manifest, image, psdt);
  WriteOutput(options.output, made.bytes, ExistingFor(options));
  return TellPacked(options, manifest, sections, made.erased, options.output);
}

}  // namespace vok::tool
