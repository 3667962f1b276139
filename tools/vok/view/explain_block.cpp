#include "view/explain_block.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "base/failure.h"
#include "block_words.h"
#include "section/mounting.h"
#include "view/explain_slot.h"
#include "view/next_step.h"

namespace vok::tool {

namespace {

struct HeaderField {
  u32 offset;
  u32 end;
  const char* name;
};
constexpr std::array kHeaderFields = {
    HeaderField{block_header::kSignatureOffset, block_header::kFormatVersionOffset, "signature"},
    HeaderField{block_header::kFormatVersionOffset, block_header::kWearCounterOffset, "format version"},
    HeaderField{block_header::kWearCounterOffset, block_header::kStateOffset, "wear counter"},
    HeaderField{block_header::kStateOffset, block_header::kStateOffset + sizeof(u16), "block state"},
    HeaderField{block_header::kStateOffset + sizeof(u16), block_header::kSize, "reserved bytes"}};

/// What the value of a header field means.
std::string MeaningOf(const BlockView& block, const HeaderField& field) {
  const BlockRecord& figures = block.figures;
  switch (field.offset) {
    case block_header::kSignatureOffset:
      return fmt::format("{}, {}",
                         WordText(ReadFlashWord32(figures.base + block_header::kSignatureOffset), sizeof(u32)),
                         block.has_signature ? "intact" : "not a block signature");
    case block_header::kFormatVersionOffset:
      return WordText(block.format_version, sizeof(u32)) + ": the store version that formatted the block";
    case block_header::kWearCounterOffset:
      return fmt::format("{}: formatted {} times", WordText(figures.wear_counter, sizeof(u32)), block.erase_count());
    case block_header::kStateOffset:
      return fmt::format("{}: {}", WordText(figures.state, sizeof(u16)), NameOfBlockState(figures.state));
    default: return "left erased";
  }
}

void ExplainHeader(const BlockView& block, Explanation& explanation) {
  const u64 offset = explanation.address - block.figures.base;
  const HeaderField& field = *std::find_if(kHeaderFields.begin(), kHeaderFields.end(),
                                           [offset](const HeaderField& f) { return offset < f.end; });
  explanation.place = "block header";
  explanation.title = fmt::format("{} of the block", field.name);
  explanation.Add("field", fmt::format("{}, {} at offset {}", field.name,
                                       AddressRange(block.figures.base + field.offset, block.figures.base + field.end),
                                       field.offset));
  explanation.Add("value", MeaningOf(block, field));
  explanation.next = NextOfHeader(block, field.offset);
}

/// A record whose slot was never written, below the lowest one that has a slot: where it begins, or the block's top
/// when there is none. A length that fits nowhere makes only the length word part of it.
FlashAddress StartOfTail(const BlockView& block) {
  const BlockRecord& figures = block.figures;
  if (figures.next_slot == 0 || block.slots.empty()) return figures.top;
  const u32 word = ReadHeaderWord(figures.top - CurrentLayout().word_size);
  if (word == CurrentLayout().all_ones()) return figures.top;
  return RecordAndSlotSize(word) > FreeSpace(figures) ? figures.top - CurrentLayout().word_size
                                                      : figures.top - RecordSize(word);
}

void ExplainErased(const BlockView& block, Explanation& explanation) {
  explanation.place = "erased";
  explanation.title = "erased space";
  explanation.next = NextOfFreeSpace(block);
}

void ExplainStray(const BlockView& block, Explanation& explanation) {
  explanation.place = "stray";
  explanation.title = block.has_signature ? "a written byte that no slot names" : "a byte of a block without signature";
  explanation.next = "nothing until the block is erased";
}

void ExplainTail(const BlockView& block, Explanation& explanation) {
  explanation.place = "record without slot";
  explanation.title = "part of a record that was written without its slot";
  explanation.Add("record", fmt::format("{}, length word {}", AddressRange(StartOfTail(block), block.figures.top),
                                        WordText(ReadHeaderWord(block.figures.top - CurrentLayout().word_size),
                                                 CurrentLayout().word_size)));
}

void ExplainSpace(const BlockView& block, Explanation& explanation) {
  if (block.has_signature)
    explanation.Add("free area", fmt::format("{}, {} bytes usable", AddressRange(block.slots_end, block.figures.top),
                                             UsableSpace(block.figures)));
  const bool in_tail = explanation.address >= StartOfTail(block) && explanation.address < block.figures.top;
  if (block.has_signature && in_tail) return ExplainTail(block, explanation);
  if (explanation.byte == kErasedByte) return ExplainErased(block, explanation);
  ExplainStray(block, explanation);
}

const SlotView* SlotAt(const BlockView& block, FlashAddress address) {
  if (address < FirstSlot(block.figures) || address >= block.slots_end) return nullptr;
  return &block.slots[(address - FirstSlot(block.figures)) / CurrentLayout().slot_size()];
}

/// The slot whose record covers an address: of several the one in the best state.
const SlotView* OwnerOf(const BlockView& block, FlashAddress address) {
  const SlotView* owner = nullptr;
  const auto rank = [](const SlotView& slot) { return (IsValid(slot.header.word) ? 2 : 0) + (slot.IsSound() ? 1 : 0); };
  for (const SlotView& slot : block.slots)
    if (RecordCovers(slot, address) && (owner == nullptr || rank(slot) > rank(*owner))) owner = &slot;
  return owner;
}

void ExplainInBlock(const BlockView& block, Explanation& explanation) {
  if (explanation.address < FirstSlot(block.figures)) return ExplainHeader(block, explanation);
  if (const SlotView* slot = SlotAt(block, explanation.address)) {
    ExplainSlot(block, *slot, explanation);
    explanation.next = NextOfSlot(block, *slot);
  } else if (const SlotView* owner = OwnerOf(block, explanation.address)) {
    ExplainRecord(block, *owner, explanation);
    explanation.next = NextOfSlot(block, *owner);
  } else {
    ExplainSpace(block, explanation);
  }
}

/// The finding that decides what becomes of the bytes: that of their slot, or the block's own.
const Finding* FindingFor(const SectionView& section, const BlockView& block, const Explanation& explanation) {
  const bool of_tail = explanation.place == "record without slot";
  for (const Finding& finding : section.FindingsOf(block.index)) {
    const bool same_slot = finding.slot && explanation.slot && *finding.slot == *explanation.slot;
    const bool whole_block =
        !finding.slot && (of_tail || block.IsToBeFormatted() || explanation.place == "block header");
    if (same_slot || whole_block) return &finding;
  }
  return nullptr;
}

std::string RepairText(const SectionView& section, const Finding& finding) {
  const u16 code = TryRepairMount(*section.section);
  if (code != code::kOk) return fmt::format("nothing: a repair mount of the section fails ({})", ErrorText(code));
  return "a repair mount: " + finding.repair;
}

}  // namespace

void ExplainInSection(const SectionView& section, Explanation& explanation) {
  const BlockView& block = section.blocks.front();
  explanation.section = section.section->name;
  explanation.block = block.index;
  explanation.Add("section", fmt::format("{}, partition {}, {}", section.section->name, section.section->partition(),
                                         KindOf(*section.section)));
  explanation.Add("block", fmt::format("{} of {}, {}, {}", block.index, section.section->entry.block_count,
                                       AddressRange(block.figures.base, block.end()), block.StateName()));
  explanation.Add("offset", fmt::format("{} in the block", HexAddress(explanation.address - block.figures.base)));
  ExplainInBlock(block, explanation);
  if (const Finding* finding = FindingFor(section, block, explanation))
    explanation.next = RepairText(section, *finding);
}

}  // namespace vok::tool
