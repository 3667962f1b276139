#include "map/page_data.h"

#include <fmt/core.h>

#include <algorithm>

#include "answer/losses_json.h"
#include "answer/view_json.h"
#include "base/json_text.h"
#include "block_words.h"
#include "image/written_runs.h"
#include "view/condition.h"

namespace vok::tool {

namespace {

/// More findings of one block than a person reads; the page says how many it leaves out.
constexpr std::size_t kMostFindings = 200;
constexpr u32 kNoRecord = 0xFFFFFFFF;

std::size_t CountItems(const BlockView& block) {
  if (!block.IsCurrent()) return 0;
  return static_cast<std::size_t>(std::ranges::count_if(block.slots, [](const SlotView& slot) {
    return IsValid(slot.header.word) && !slot.IsJournal() && slot.IsSound();
  }));
}

void AddToBlock(const SectionView& section, const BlockView& block, Json& json) {
  json["findings_left_out"] = section.FindingsOf(block.index).size() - json["findings"].size();
  json["current"] = block.IsCurrent();
  json["items"] = CountItems(WithSlots(section, block));
  json["next_slot"] = block.figures.next_slot;
  json["lost_slots"] = Json::array();
  for (const LostCopy& copy : section.LostIn(block.index)) json["lost_slots"].push_back({copy.slot, copy.loss});
}

/// What the page needs to know of the layout to show slots in their bytes.
void AddLayout(Json& json) {
  const Layout& layout = CurrentLayout();
  json["word_size"] = layout.word_size;
  json["journal_type"] = kJournalType;
  json["slots_offset"] = block_header::kSize;
  json["slot_size"] = layout.slot_size();
  json["slot_fields"] = {
      {"type", slot_field::kType}, {"id", slot_field::kId}, {"location_word", slot_field::kLocationWord}};
  json["location_mask"] = layout.location_mask;
  json["state_mask"] = layout.state_mask;
}

/// What ends the script element that holds the text, or opens a comment in it, begins with "<".
std::string WithoutMarkup(const std::string& text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char c : text) c == '<' ? escaped += "\\u003c" : escaped += c;
  return escaped;
}

char LetterOf(u32 word) {
  const std::string state = NameOfSlotState(word);
  return state == "Void" ? 'O' : state.front();
}

void AppendWord(u32 word, Bytes& bytes) {
  for (u32 shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<u8>(word >> shift));
}

Bytes RecordsOf(const BlockView& block) {
  Bytes bytes;
  bytes.reserve(block.slots.size() * 12);
  for (const SlotView& slot : block.slots) {
    AppendWord(slot.number, bytes);
    AppendWord(slot.IsSound() ? static_cast<u32>(slot.record.payload() - block.figures.base) : kNoRecord, bytes);
    AppendWord(slot.IsSound() ? slot.record.length : kNoRecord, bytes);
  }
  return bytes;
}

}  // namespace

std::string PageFigures(const ImageView& view, const std::string& image_name) {
  Json json = MapObject(view, kMostFindings);
  json["image"] = image_name;
  AddLosses(json, view.losses);
  json["rebuilt"] = view.is_rebuilt;
  AddLayout(json);
  for (std::size_t i = 0; i < view.sections.size(); ++i) {
    const SectionView& section = view.sections[i];
    Json& blocks = json["sections"][i]["blocks"];
    for (const BlockView& block : section.blocks) AddToBlock(section, block, blocks[block.index]);
  }
  constexpr int kOneLine = -1;
  return WithoutMarkup(json.dump(kOneLine, ' ', true, Json::error_handler_t::replace));
}

void AppendPageBlock(const SectionView& section, const BlockView& bare, std::string& page) {
  const BlockView block = WithSlots(section, bare);
  for (const SlotView& slot : block.slots) page += LetterOf(slot.header.word);
  page += ' ';
  AppendBase64(RecordsOf(block), page);
  for (const WrittenRun& run : WrittenRuns(block.figures.base, block.size)) {
    page += fmt::format(" {}:", run.offset);
    AppendBase64(run.bytes, page);
  }
}

}  // namespace vok::tool
