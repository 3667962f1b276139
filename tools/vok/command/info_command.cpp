#include <fmt/core.h>

#include <algorithm>

#include "answer/json.h"
#include "base/failure.h"
#include "base/table.h"
#include "base/terminal.h"
#include "block_words.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

std::vector<u32> HeaderWords() {
  std::vector<u32> words;
  for (u32 i = 0; i < psdt::kHeaderWords; ++i) words.push_back(psdt::ReadHeaderWord(i));
  return words;
}

/// The store adds up what dead records claim; where damage makes them overlap that may be more than there is.
PartitionSpace SpaceOf(const Section& section) {
  PartitionSpace space{};
  GetPartitionSpace(section.partition(), &space);
  const u32 largest = LargestItem(section.entry.block_size);
  const u32 all = section.entry.block_size * section.entry.block_count;
  space.largest_item_now = std::min(space.largest_item_now, largest);
  space.largest_item_after_reorganisation = std::min(space.largest_item_after_reorganisation, largest);
  space.free_after_reorganisation = std::min(space.free_after_reorganisation, all);
  return space;
}

std::vector<SectionSpace> SpacesOf(const SectionList& sections, bool with_blocks) {
  std::vector<SectionSpace> spaces;
  for (const Section& section : sections.accepted) {
    SectionSpace& space = spaces.emplace_back(SectionSpace{.section = &section, .space = {}});
    if (section.IsMounted()) space.space = SpaceOf(section);
    if (with_blocks) space.blocks = BlocksOf(section);
  }
  return spaces;
}

std::string TypesText(const Section& section) {
  std::string text;
  for (const psdt::TypeRange& range : TypeRangesOf(section))
    text += fmt::format("{}{}-{}", text.empty() ? "" : " ", range.first_type, range.last_type);
  return text;
}

void PrintHead(const LoadedImage& image) {
  Print(fmt::format("Store version  {}\n", image.version()));
  Print(fmt::format("PSDT           {} at {}, {} bytes, {} record{}\n", image.psdt().path,
                    HexAddress(image.psdt().address), image.psdt().bytes.size(), psdt::RecordCount(),
                    psdt::RecordCount() == 1 ? "" : "s"));
  Print("PSDT header   ");
  for (const u32 word : HeaderWords()) Print(fmt::format(" {:08X}", word));
  Print("\n\n");
}

void PrintSections(const SectionList& sections) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"PARTITION", Align::kRight},
               {"KIND"},
               {"START", Align::kRight},
               {"END", Align::kRight},
               {"BLOCKS", Align::kRight},
               {"BLOCK SIZE", Align::kRight},
               {"TYPES"},
               {"MOUNTED"}});
  for (const Section& section : sections.accepted)
    table.AddRow({section.name, std::to_string(section.partition()), KindOf(section), HexAddress(section.entry.start),
                  HexAddress(section.end()), std::to_string(section.entry.block_count),
                  std::to_string(section.entry.block_size), TypesText(section),
                  section.IsMounted() ? "yes" : fmt::format("no ({})", ErrorText(section.mount_code))});
  table.Print();
}

void PrintSpaces(const std::vector<SectionSpace>& spaces) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"FREE NOW", Align::kRight},
               {"FREE AFTER REORGANISATION", Align::kRight},
               {"LARGEST ITEM NOW", Align::kRight},
               {"LARGEST AFTER REORGANISATION", Align::kRight}});
  for (const SectionSpace& space : spaces)
    if (space.section->IsMounted())
      table.AddRow({space.section->name, std::to_string(space.space.free_now),
                    std::to_string(space.space.free_after_reorganisation), std::to_string(space.space.largest_item_now),
                    std::to_string(space.space.largest_item_after_reorganisation)});
  Print("\n");
  table.Print();
}

void PrintBlocks(const std::vector<SectionSpace>& spaces) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"BLOCK", Align::kRight},
               {"ADDRESS", Align::kRight},
               {"STATE"},
               {"ERASED", Align::kRight},
               {"LIVE SLOTS", Align::kRight},
               {"DELETED", Align::kRight},
               {"USED", Align::kRight},
               {"DEAD", Align::kRight},
               {"FREE", Align::kRight},
               {"LARGEST ITEM", Align::kRight}});
  for (const SectionSpace& space : spaces)
    for (const BlockFigures& block : space.blocks)
      table.AddRow({space.section->name, std::to_string(block.index), HexAddress(block.address),
                    NameOfBlockState(block.info.state), std::to_string(block.info.erase_count),
                    std::to_string(block.info.live_slots), std::to_string(block.info.deleted_slots),
                    std::to_string(block.info.used_bytes), std::to_string(block.info.dead_bytes),
                    std::to_string(block.free_bytes), std::to_string(block.info.largest_item)});
  Print("\n");
  table.Print();
}

void PrintPassedOver(const SectionList& sections) {
  for (const Section& section : sections.passed_over)
    Print(fmt::format("\nrecord {} ({}) is passed over: {}\n", section.record, section.name, ReasonOf(section)));
  if (sections.setup_code != code::kOk)
    Print(fmt::format("\nthe partitions cannot be set up: {}\n", ErrorText(sections.setup_code)));
}

}  // namespace

void TakeInfo(Arguments& arguments, Options& options) {
  arguments.Flag("--blocks", options.blocks, "also show wear and space of every block");
  arguments.Json();
  arguments.Rebuilt();
}

int RunInfo(const Options& options) {
  const ReadImage read(options.image);
  const LoadedImage& image = read.loaded();
  const SectionList& sections = read.sections();
  const std::vector<SectionSpace> spaces = SpacesOf(sections, options.blocks);
  if (options.json) {
    Print(InfoJson(image, HeaderWords(), spaces, sections.passed_over, read.losses()));
    return Conclude(read.losses());
  }
  PrintHead(image);
  PrintSections(sections);
  PrintSpaces(spaces);
  if (options.blocks) PrintBlocks(spaces);
  PrintPassedOver(sections);
  return Conclude(read.losses());
}

}  // namespace vok::tool
