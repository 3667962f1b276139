#include "section/contents.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "block_words.h"
#include "flash/image.h"
#include "section/finding_list.h"
#include "section/valid_copies.h"
#include "store/volume/format.h"

namespace vok::tool {

namespace {

constexpr const char* kLeftAlone = "none: a repair leaves it as it is";

std::string TextOf(const ItemKey& name) { return fmt::format("item type {} ID {}", name.type, name.id); }

/// Where the record of a Valid slot lies, its length word included.
struct Extent {
  FlashAddress start;
  FlashAddress end;
  u32 slot;
  ItemKey name;
};

/// Looks at what lies in the blocks of a section.
class ContentInspection {
 public:
  ContentInspection(const Section& section, FindingList& findings)
      : section_(section), blocks_(section), holdings_(HoldingsOf(blocks_)), findings_(findings) {}

  void Run() {
    JudgeFormattedBlocks();
    JudgeNames();
    for (u16 i = 0; i < blocks_.blocks().size(); ++i) JudgeBlock(i);
    JudgeWear();
  }

 private:
  void JudgeFormattedBlocks();
  void JudgeNames();
  void JudgeCopies(CopyGroup copies);
  void JudgeBlock(u16 index);
  void JudgeExtent(u16 index, const Extent& extent, FlashAddress slots_end);
  void JudgeOverlaps(u16 index, std::vector<Extent> extents);
  void JudgeFreeSpace(u16 index, FlashAddress start, FlashAddress end);
  void JudgeWear();
  bool IsServed(CopyGroup copies) const;
  bool IsUnderWay(CopyGroup copies) const;
  u32 NumberOf(const ValidCopy& copy) const;
  template <typename What>
  void Add(u16 block, u32 slot, FindingCode code, const ItemKey& item, What what, const char* repair = kLeftAlone) {
    findings_.AddForSlot(block, slot, code, item, repair,
                         [&] { return fmt::format("slot Valid, {}: {}", TextOf(item), what()); });
  }

  const Section& section_;
  const SectionBlocks blocks_;
  const SectionHoldings holdings_;
  FindingList& findings_;
};

u32 ContentInspection::NumberOf(const ValidCopy& copy) const {
  return static_cast<u32>((copy.slot - FirstSlot(blocks_.blocks()[copy.block])) / CurrentLayout().slot_size());
}

bool ContentInspection::IsServed(CopyGroup copies) const {
  return std::ranges::any_of(copies, [this](const ValidCopy& copy) {
    return blocks_.HeadOf(copy.block).IsSearched() && !copy.behind && copy.sound;
  });
}

/// The blocks that a repair formats, with what it would drop.
void ContentInspection::JudgeFormattedBlocks() {
  std::map<u16, std::vector<ItemKey>> items;
  ForEachName(holdings_.copies, [&](CopyGroup copies) {
    if (IsServed(copies) || copies.front().behind) return;
    std::vector<ItemKey>& of_block = items[copies.front().block];
    if (of_block.size() < Finding::kMostItems) of_block.push_back(copies.front().name);
  });
  for (Finding& finding : findings_.findings()) {
    const auto dropped = items.find(finding.block);
    const BlockHead head = blocks_.HeadOf(finding.block);
    if (finding.slot || dropped == items.end() || (head.has_signature && !IsFormattedByRepair(head.state))) continue;
    finding.code = head.has_signature ? FindingCode::kBlockStateItems : FindingCode::kUnsignedItems;
    finding.items = dropped->second;
  }
}

void ContentInspection::JudgeNames() {
  ForEachName(holdings_.copies, [this](CopyGroup copies) { JudgeCopies(copies); });
  for (const ValidCopy& copy : holdings_.unnamed) {
    const bool type_zero = copy.name.type == 0;
    Add(copy.block, NumberOf(copy), type_zero ? FindingCode::kTypeZero : FindingCode::kIdAny, copy.name,
        [type_zero] { return type_zero ? "no item can have that type" : "no item can have that ID"; });
  }
}

/// Whether a replacement or a move of the item was cut off.
bool ContentInspection::IsUnderWay(CopyGroup copies) const {
  const auto is_source = [this](const ValidCopy& copy) {
    return blocks_.HeadOf(copy.block).state == CurrentLayout().states.reorg_source;
  };
  return std::binary_search(holdings_.replaced.begin(), holdings_.replaced.end(), copies.front().name) ||
         std::ranges::any_of(copies, is_source);
}

void ContentInspection::JudgeCopies(CopyGroup copies) {
  const ItemKey& name = copies.front().name;
  const ValidCopy* first = nullptr;
  const bool under_way = copies.size() > 1 && IsUnderWay(copies);
  for (const ValidCopy& copy : copies) {
    if (copy.behind)
      Add(
          copy.block, NumberOf(copy), FindingCode::kSlotsBehindGap, name,
          [] { return "it lies behind a slot that looks unused"; }, "none: vok repair --rebuild brings it back");
    if (copy.behind || !blocks_.HeadOf(copy.block).IsSearched()) continue;
    if (first != nullptr && !under_way)
      Add(copy.block, NumberOf(copy), FindingCode::kTwoCopies, name, [&] {
        return fmt::format("another Valid copy in block {} slot {} hides it", first->block, NumberOf(*first));
      });
    if (first == nullptr) first = &copy;
  }
  if (first != nullptr && !Serves(section_, name.type))
    Add(first->block, NumberOf(*first), FindingCode::kUnservedType, name,
        [] { return "the section does not serve the type"; });
}

void ContentInspection::JudgeBlock(u16 index) {
  const BlockRecord& block = blocks_.blocks()[index];
  if (!blocks_.HeadOf(index).IsSearched()) return;
  std::vector<Extent> extents;
  FlashAddress lowest = BlockEnd(blocks_.partition(), block);
  SlotWalk walk(blocks_.partition(), block);
  for (u32 number = 0; walk.AtSlot(); walk.Advance(), ++number) {
    const SlotHeader& header = walk.header();
    const ItemRecord record = LocateRecord(blocks_.partition(), block, header.word);
    if (header.word == 0 || !record.sound) continue;
    lowest = std::min(lowest, record.payload());
    if (IsValid(header.word))
      extents.push_back({.start = record.payload(),
                         .end = record.length_word + CurrentLayout().word_size,
                         .slot = number,
                         .name = {.type = header.type, .id = header.id}});
  }
  for (const Extent& extent : extents) JudgeExtent(index, extent, walk.slot());
  JudgeOverlaps(index, std::move(extents));
  if (!walk.RanOut()) JudgeFreeSpace(index, walk.slot(), lowest);
}

void ContentInspection::JudgeExtent(u16 index, const Extent& extent, FlashAddress slots_end) {
  if (extent.start < FirstSlot(blocks_.blocks()[index]))
    Add(index, extent.slot, FindingCode::kRecordOverHeader, extent.name,
        [] { return "its record lies over the block header"; });
  else if (extent.start < slots_end)
    Add(index, extent.slot, FindingCode::kRecordOverSlots, extent.name,
        [] { return "its record lies over the header slots"; });
}

void ContentInspection::JudgeOverlaps(u16 index, std::vector<Extent> extents) {
  std::ranges::sort(extents, {}, &Extent::start);
  const Extent* reaching = nullptr;  // of those before, the one that ends last
  for (const Extent& extent : extents) {
    if (reaching != nullptr && extent.start < reaching->end)
      Add(index, extent.slot, FindingCode::kRecordsOverlap, extent.name, [reaching] {
        return fmt::format("its record overlaps that of {} in slot {}", TextOf(reaching->name), reaching->slot);
      });
    if (reaching == nullptr || extent.end > reaching->end) reaching = &extent;
  }
}

/// What an unfinished write left there is told by its own finding.
void ContentInspection::JudgeFreeSpace(u16 index, FlashAddress start, FlashAddress end) {
  if (start >= end || !InFlash(start, end - start)) return;
  if (std::ranges::any_of(findings_.findings(), [index](const Finding& finding) { return finding.block == index; }))
    return;
  const u8* const first = VirtualMemoryAddress(start);
  const u8* const last = VirtualMemoryAddress(end);
  const u8* const programmed = std::find_if(first, last, [](u8 byte) { return byte != kErasedByte; });
  if (programmed == last) return;
  findings_.AddForBlock(
      index, FindingCode::kProgrammedFreeSpace,
      fmt::format("programmed bytes in free space, from 0x{:X} on", start + static_cast<u64>(programmed - first)),
      "none: a reorganisation of the block clears them");
}

void ContentInspection::JudgeWear() {
  constexpr u32 kUsualSpread = 1000;
  std::vector<std::pair<u32, u16>> erases;
  for (u16 i = 0; i < blocks_.blocks().size(); ++i) {
    BlockRecord block = blocks_.blocks()[i];
    ReadBlockState(block);
    if (HasSignature(block.base)) erases.emplace_back(~block.wear_counter, i);
  }
  if (erases.empty()) return;
  std::ranges::sort(erases);
  const u32 middle = erases[(erases.size() - 1) / 2].first;
  for (const auto& [count, index] : erases)
    if (count / 4 > middle && count - middle > kUsualSpread)
      findings_.AddForBlock(index, FindingCode::kWear,
                            fmt::format("erased {} times by its counter, its neighbours {} times", count, middle),
                            kLeftAlone);
}

}  // namespace

std::vector<Finding> ExamineSection(const Section& section) {
  FindingList findings(section.entry.block_count);
  InspectSection(section, findings);
  ContentInspection(section, findings).Run();
  return findings.Take();
}

void CompareFigures(const Section& section, std::vector<Finding>& findings) {
  const PartitionRecord& partition = PartitionAt(section.partition());
  for (u16 i = 0; i < partition.block_count; ++i) {
    const BlockRecord& told = partition.block_table[i];
    const BlockView view = ViewBlock(partition, i, UnreachedSlots::kSkip, kNoSlot);
    if (told.dead_bytes == view.figures.dead_bytes && told.deleted_slots == view.figures.deleted_slots) continue;
    findings.push_back(
        {.block = i,
         .slot = {},
         .code = FindingCode::kFigures,
         .what = fmt::format("the store counts {} dead bytes in {} slots, the bytes say {} in {}", told.dead_bytes,
                             told.deleted_slots, view.figures.dead_bytes, view.figures.deleted_slots),
         .repair = kLeftAlone});
  }
}

}  // namespace vok::tool
