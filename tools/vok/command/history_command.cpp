#include <fmt/core.h>

#include <algorithm>

#include "answer/view_json.h"
#include "base/failure.h"
#include "base/hex_dump.h"
#include "base/table.h"
#include "base/terminal.h"
#include "block_words.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/items.h"
#include "section/losses_text.h"
#include "view/item_copies.h"

namespace vok::tool {

namespace {

/// Every section, also in what no mount comes to: an item of the type may lie where no route leads.
ImageView ViewSections(const LoadedImage& image, u16 type, u16 id, const std::string& what) {
  if (!IsItemType(type)) throw Failure(what + ": types are 1 to 65533");
  ImageView view{.version = image.version(), .sections = {}};
  for (const Section& section : image.sections().accepted)
    view.sections.push_back(ViewItem(section, {.type = type, .id = id}));
  return view;
}

void RequireServed(const SectionList& sections, u16 type, const std::string& what) {
  if (std::none_of(sections.accepted.begin(), sections.accepted.end(),
                   [type](const Section& section) { return Serves(section, type); }))
    throw Failure(what + ": no section serves the type");
}

void PrintCopies(const std::vector<ItemCopy>& copies) {
  using Align = Table::Align;
  Table table({{"COPY", Align::kRight},
               {"SECTION"},
               {"BLOCK", Align::kRight},
               {"SLOT", Align::kRight},
               {"ADDRESS", Align::kRight},
               {"STATE"},
               {"LENGTH", Align::kRight},
               {"CRC32"},
               {"CURRENT"}});
  for (std::size_t i = 0; i < copies.size(); ++i) {
    const ItemCopy& copy = copies[i];
    const SlotView& slot = *copy.slot;
    const bool sound = slot.IsSound();
    table.AddRow({std::to_string(i), copy.section->section->name, std::to_string(copy.block->index),
                  std::to_string(slot.number), sound ? HexAddress(slot.record.payload()) : "-",
                  NameOfSlotState(slot.header.word), sound ? std::to_string(slot.record.length) : "-",
                  sound ? ChecksumText(Crc32(copy.Payload())) : "no sound record", copy.IsCurrent() ? "yes" : "no"});
  }
  table.Print();
  Print("\nCurrent copies come first, then the others by block, in each block from the newest slot to the oldest.\n");
}

int DeliverCopy(const Options& options, const std::vector<ItemCopy>& copies, const std::string& what) {
  if (*options.copy >= copies.size())
    throw Failure(fmt::format("{} has no copy {}: the highest is {}", what, *options.copy, copies.size() - 1));
  const Bytes bytes = copies[*options.copy].Payload();
  if (options.output.empty()) {
    Print(HexDump(bytes));
  } else if (options.output == "-") {
    PrintBytes(bytes);
  } else {
    WriteOutput(options.output, bytes, ExistingFor(options));
  }
  return kDone;
}

}  // namespace

void TakeHistory(Arguments& arguments, Options& options) {
  arguments.Type("TYPE", options.type);
  arguments.Id("ID", options.id);
  const Argument copy =
      arguments.Number("--copy", options.copy, kTypeOrId, "show the bytes of copy N").Excludes(arguments.Json());
  arguments.Output("write the bytes of the copy to FILE (- = standard output)").Needs(copy);
}

int RunHistory(const Options& options) {
  ReadImage image(options.image, Look::kAsItLies);
  image.ShowAllBlocks();
  const std::string what = fmt::format("item type {} ID {}", options.type, options.id);
  const ImageView view = ViewSections(image.loaded(), options.type, options.id, "no " + what);
  const std::vector<ItemCopy> copies = FindCopies(view, options.type, options.id);
  if (copies.empty()) RequireServed(image.sections(), options.type, "no " + what);
  if (copies.empty()) throw Failure("no copy of " + what + " lies in the flash");
  const Losses losses = LossesOfItem(image.losses(), {.type = options.type, .id = options.id});
  if (options.copy) return DeliverCopy(options, copies, what);
  if (options.json) {
    Print(HistoryJson(options.type, options.id, copies, losses));
  } else {
    PrintCopies(copies);
  }
  return Conclude(losses);
}

}  // namespace vok::tool
