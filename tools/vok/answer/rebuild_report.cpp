#include "answer/rebuild_report.h"

#include <fmt/core.h>

#include "base/table.h"
#include "base/terminal.h"

namespace vok::tool {

namespace {

std::string ReasonOf(Choice choice) {
  switch (choice) {
    case Choice::kOnlyCopy: return "the only copy";
    case Choice::kSearched: return "the others lie in blocks that reads pass over";
    case Choice::kMetFirst: return "a search meets it first";
    case Choice::kReplaced: return "a journal record says that it replaces the one that a search meets first";
    case Choice::kContiguous: return "the record of the one that a search takes lies out of line";
    case Choice::kUnfinishedWrite:
      return "none is Valid: its write was cut off after the old one was retired, or found no room before a delete";
  }
  return "";
}

std::string PlaceOf(const SalvagedCopy& copy) { return fmt::format("{}/{}", copy.block, copy.slot); }

std::string PlacesOf(const std::vector<SalvagedCopy>& copies) {
  std::string places;
  for (const SalvagedCopy& copy : copies) places += (places.empty() ? "" : ", ") + PlaceOf(copy);
  return places.empty() ? "-" : places;
}

std::string BlockNote(const SalvagedCopy& copy, std::span<const BlockView> blocks) {
  return copy.searched ? "" : fmt::format("; reads pass over its block ({})", blocks[copy.block].StateName());
}

std::size_t NoteCount(const RebuiltSection& rebuilt) {
  std::size_t count = rebuilt.salvaged.damaged.size();
  for (const SalvagedItem& item : rebuilt.salvaged.items) count += IsNoteworthy(item) ? 1 : 0;
  return count;
}

void PrintNotes(std::span<const RebuiltSection> sections) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"TYPE", Align::kRight},
               {"ID", Align::kRight},
               {"BLOCK/SLOT", Align::kRight},
               {"STATE"},
               {"TAKEN"},
               {"WHY"},
               {"OTHERS"}});
  for (const RebuiltSection& rebuilt : sections) {
    const auto add = [&](const auto& item, const SalvagedCopy& copy, const char* taken, const std::string& others) {
      table.AddRow({rebuilt.section->name, std::to_string(item.type), std::to_string(item.id), PlaceOf(copy),
                    NameOf(copy.state), taken, ReasonOf(item, rebuilt.blocks), others});
    };
    for (const SalvagedItem& item : rebuilt.salvaged.items)
      if (IsNoteworthy(item)) add(item, item.taken, "yes", PlacesOf(item.others));
    for (const DamagedItem& item : rebuilt.salvaged.damaged) add(item, item.copy, "no", "-");
  }
  table.Print();
}

}  // namespace

bool IsNoteworthy(const SalvagedItem& item) {
  return item.why != Choice::kOnlyCopy || !item.taken.searched || item.part_writes != 0 || item.old_name;
}

std::string NameOf(CopyState state) {
  switch (state) {
    case CopyState::kValid: return "Valid";
    case CopyState::kUnfinished: return "unfinished";
    case CopyState::kHalfCommitted: return "half committed";
  }
  return "";
}

std::string ReasonOf(const SalvagedItem& item, std::span<const BlockView> blocks) {
  std::string why = ReasonOf(item.why) + BlockNote(item.taken, blocks);
  if (item.part_writes != 0) why += "; a part write was finished";
  if (item.old_name)
    why += fmt::format("; its rename from type {} ID {} was finished", item.old_name->type, item.old_name->id);
  return why;
}

std::string ReasonOf(const DamagedItem& item, std::span<const BlockView> blocks) {
  return "cannot be brought back: its record is damaged" + BlockNote(item.copy, blocks);
}

void PrintRebuilt(std::span<const RebuiltSection> sections) {
  using Align = Table::Align;
  Table table({{"SECTION"}, {"BLOCKS", Align::kRight}, {"ITEMS", Align::kRight}, {"NOTES", Align::kRight}});
  std::size_t notes = 0;
  for (const RebuiltSection& rebuilt : sections) {
    const std::size_t count = NoteCount(rebuilt);
    table.AddRow({rebuilt.section->name, std::to_string(rebuilt.blocks.size()),
                  std::to_string(rebuilt.salvaged.items.size()), std::to_string(count)});
    notes += count;
  }
  table.Print();
  if (notes == 0) return;
  Print("\n");
  PrintNotes(sections);
}

}  // namespace vok::tool
