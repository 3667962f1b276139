#include "view/explain_slot.h"

#include <fmt/core.h>

#include "block_words.h"
#include "image/image_bytes.h"

namespace vok::tool {

namespace {

std::string ItemText(const SlotHeader& header) {
  if (header.type == kJournalType) return fmt::format("journal record {}", header.id);
  return fmt::format("item type {} ID {}", header.type, header.id);
}

/// The bits of a location word, each kind with its mask.
void AddLocationBits(const BlockView& block, const SlotView& slot, Explanation& explanation) {
  const Layout& layout = CurrentLayout();
  const u32 word = slot.header.word;
  explanation.Add("location word", WordText(word, layout.word_size));
  const u32 digits = 2 * layout.word_size;
  explanation.Add("state bits", fmt::format("mask 0x{:0{}X}: 0x{:0{}X} = {}", layout.state_mask, digits,
                                            word & layout.state_mask, digits, NameOfSlotState(word)));
  explanation.Add("location bits",
                  fmt::format("mask 0x{:0{}X}: {} units of 4 bytes, length word at {}", layout.location_mask, digits,
                              word & layout.location_mask, HexAddress(LengthWordAddress(block.figures.base, word))));
  const u32 ignored = layout.all_ones() & ~(layout.state_mask | layout.location_mask);
  if (ignored != 0)
    explanation.Add("ignored bits", fmt::format("mask 0x{:0{}X}: 0x{:X}", ignored, digits, word & ignored));
}

std::string DamageOf(const SlotView& slot) {
  if (slot.header.word == 0) return "none: the slot was cancelled before it had one";
  if (slot.has_record) return "damaged: its length word leads below the start of the block";
  return slot.record.in_block ? "none: the location word was not written" : "damaged: it lies outside the block";
}

void AddRecord(const SlotView& slot, Explanation& explanation) {
  if (!slot.IsSound()) return explanation.Add("record", DamageOf(slot));
  const ItemRecord& record = slot.record;
  explanation.Add("record", fmt::format("sound, {}: {} bytes of payload, {} of pad, length word at {}",
                                        AddressRange(record.payload(), slot.record_end()), record.length,
                                        Pad(record.length), HexAddress(record.length_word)));
}

void AddSlot(const BlockView& block, const SlotView& slot, Explanation& explanation) {
  explanation.slot = slot.number;
  explanation.Add("slot", fmt::format("{} of {}, {}", slot.number, block.slots.size(),
                                      AddressRange(slot.address, slot.address + CurrentLayout().slot_size())));
  explanation.Add("names", fmt::format("{}, {}", ItemText(slot.header), NameOfSlotState(slot.header.word)));
}

std::string FieldOfSlot(const SlotHeader& header, u64 offset) {
  if (offset < slot_field::kId) return "item type " + WordText(header.type, sizeof(u16));
  if (offset < slot_field::kLocationWord)
    return (header.type == kJournalType ? "journal sequence number " : "item ID ") + WordText(header.id, sizeof(u16));
  return "location word";
}

/// Which part of a sound record an address is.
std::string PartOfRecord(const ItemRecord& record, FlashAddress address) {
  const u64 offset = address - record.payload();
  if (offset < record.length) return fmt::format("payload byte {} of {}", offset, record.length);
  if (address < record.length_word) return fmt::format("pad byte {} of {}", offset - record.length, Pad(record.length));
  return fmt::format("length word {}", WordText(record.length, CurrentLayout().word_size));
}

}  // namespace

void ExplainSlot(const BlockView& block, const SlotView& slot, Explanation& explanation) {
  const std::string field = FieldOfSlot(slot.header, explanation.address - slot.address);
  explanation.place = "slot";
  explanation.title = fmt::format("{} of slot {} ({}, {})", field, slot.number, ItemText(slot.header),
                                  NameOfSlotState(slot.header.word));
  AddSlot(block, slot, explanation);
  explanation.Add("field", field);
  AddLocationBits(block, slot, explanation);
  AddRecord(slot, explanation);
}

void ExplainRecord(const BlockView& block, const SlotView& slot, Explanation& explanation) {
  const std::string part = slot.IsSound() ? PartOfRecord(slot.record, explanation.address) : "damaged length word";
  explanation.place = "record";
  explanation.title = fmt::format("{} of {}, {}", part, ItemText(slot.header), NameOfSlotState(slot.header.word));
  AddSlot(block, slot, explanation);
  explanation.Add("part", part);
  AddRecord(slot, explanation);
  for (const SlotView& other : block.slots)
    if (other.number != slot.number && RecordCovers(other, explanation.address))
      explanation.Add("also named by", fmt::format("slot {} ({})", other.number, ItemText(other.header)));
}

bool RecordCovers(const SlotView& slot, FlashAddress address) {
  if (!slot.has_record) return false;
  const FlashAddress start = slot.IsSound() ? slot.record.payload() : slot.record.length_word;
  return address >= start && address < slot.record_end();
}

}  // namespace vok::tool
