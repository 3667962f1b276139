#include "answer/view_json.h"

#include <fmt/core.h>

#include <map>

#include "base/hex_dump.h"
#include "base/json_text.h"
#include "block_words.h"
#include "flash/image.h"
#include "image/written_runs.h"

namespace vok::tool {

namespace {

Json FindingsOf(const SectionView& section, u16 block) {
  Json json = Json::array();
  for (const Finding* finding : section.FindingsOf(block)) {
    Json& added = json.emplace_back(Json::object());
    if (finding->slot) added["slot"] = *finding->slot;
    added["what"] = finding->what;
    added["repair"] = finding->repair;
  }
  return json;
}

Json BlockOf(const SectionView& section, const BlockView& block) {
  Json json = {{"block", block.index}, {"address", block.figures.base}, {"state", block.StateName()}};
  json["state_word"] = block.figures.state;
  json["format_version"] = block.has_signature ? Json(block.format_version) : Json();
  json["erase_count"] = block.has_signature ? Json(block.erase_count()) : Json();
  json["live"] = block.shares.live;
  json["dead"] = block.shares.dead;
  json["unfinished"] = block.shares.unfinished;
  json["free"] = block.shares.free;
  json["largest_item_now"] = block.LargestItemNow();
  json["slot_count"] = block.slots.size();
  json["dead_slots"] = block.figures.deleted_slots;
  json["findings"] = FindingsOf(section, block.index);
  return json;
}

Json SectionOf(const SectionView& view) {
  const Section& section = *view.section;
  return {{"section", section.name},
          {"partition", section.partition()},
          {"kind", KindOf(section)},
          {"start", section.entry.start},
          {"block_size", section.entry.block_size},
          {"block_count", section.entry.block_count}};
}

Json WorstOf(const ImageView& view) {
  const std::optional<RankedBlock> worst = WorstBlock(view);
  if (!worst) return nullptr;
  return {{"section", worst->section->section->name}, {"block", worst->block->index}, {"why", TroubleOf(*worst)}};
}

using BlockJson = Json (*)(const SectionView& section, const BlockView& block);

/// Where each block stands in RankBlocks(), from 1.
std::map<const BlockView*, std::size_t> RanksOf(const ImageView& view) {
  std::map<const BlockView*, std::size_t> ranks;
  for (const RankedBlock& ranked : RankBlocks(view)) ranks.emplace(ranked.block, ranks.size() + 1);
  return ranks;
}

Json MapOf(const ImageView& view, BlockJson block_json) {
  const std::map<const BlockView*, std::size_t> ranks = RanksOf(view);
  Json json = {{"format", "vok/1"}, {"version", view.version}, {"worst", WorstOf(view)}, {"sections", Json::array()}};
  for (const SectionView& section : view.sections) {
    Json& added = json["sections"].emplace_back(SectionOf(section));
    added["blocks"] = Json::array();
    for (const BlockView& block : section.blocks) {
      Json& added_block = added["blocks"].emplace_back(block_json(section, block));
      added_block["rank"] = ranks.at(&block);
    }
  }
  return json;
}

Json CopyOf(std::size_t number, const ItemCopy& copy) {
  const SlotView& slot = *copy.slot;
  const bool sound = slot.IsSound();
  return {{"copy", number},
          {"section", copy.section->section->name},
          {"block", copy.block->index},
          {"slot", slot.number},
          {"slot_address", slot.address},
          {"address", sound ? Json(slot.record.payload()) : Json()},
          {"state", NameOfSlotState(slot.header.word)},
          {"current", copy.IsCurrent()},
          {"length", sound ? Json(slot.record.length) : Json()},
          {"crc32", sound ? Json(ChecksumText(Crc32(copy.Payload()))) : Json()}};
}

/// Type, ID, location word, state, then, of a sound record, the block offset and length of its payload.
Json PageSlot(const BlockView& block, const SlotView& slot) {
  Json json = {slot.header.type, slot.header.id, slot.header.word, NameOfSlotState(slot.header.word)};
  if (!slot.IsSound()) return json;
  json.push_back(slot.record.payload() - block.figures.base);
  json.push_back(slot.record.length);
  return json;
}

Json PageBlock(const SectionView& section, const BlockView& block) {
  Json json = BlockOf(section, block);
  json["current"] = block.IsCurrent();
  json["wear_counter"] = block.figures.wear_counter;
  json["next_slot"] = block.figures.next_slot;
  json["top"] = block.figures.top;
  json["slots"] = Json::array();
  for (const SlotView& slot : block.slots) json["slots"].push_back(PageSlot(block, slot));
  json["runs"] = Json::array();
  for (const WrittenRun& run : WrittenRuns(block.figures.base, block.size))
    json["runs"].push_back({run.offset, Base64(run.bytes)});
  return json;
}

}  // namespace

std::string MapJson(const ImageView& view) { return JsonText(MapOf(view, BlockOf)); }

std::string ExplanationJson(const Explanation& explanation) {
  Json json = {{"format", "vok/1"},
               {"address", explanation.address},
               {"byte", explanation.byte},
               {"place", explanation.place},
               {"title", explanation.title}};
  if (!explanation.section.empty()) json["section"] = explanation.section;
  if (explanation.block) json["block"] = *explanation.block;
  if (explanation.slot) json["slot"] = *explanation.slot;
  json["facts"] = Json::array();
  for (const Fact& fact : explanation.facts) json["facts"].push_back({{"what", fact.what}, {"value", fact.value}});
  json["next"] = explanation.next;
  return JsonText(json);
}

std::string HistoryJson(u16 type, u16 id, std::span<const ItemCopy> copies) {
  Json json = {{"format", "vok/1"}, {"type", type}, {"id", id}, {"order", "current, then by block and slot"}};
  json["copies"] = Json::array();
  for (std::size_t i = 0; i < copies.size(); ++i) json["copies"].push_back(CopyOf(i, copies[i]));
  return JsonText(json);
}

std::string PageJson(const ImageView& view, const std::string& image_name) {
  Json json = MapOf(view, PageBlock);
  json["image"] = image_name;
  json["word_size"] = CurrentLayout().word_size;
  json["journal_type"] = kJournalType;
  json["slot_size"] = CurrentLayout().slot_size();
  json["slots_offset"] = block_header::kSize;
  json["location_mask"] = CurrentLayout().location_mask;
  json["state_mask"] = CurrentLayout().state_mask;
  constexpr int kOneLine = -1;
  const std::string text = json.dump(kOneLine, ' ', true, Json::error_handler_t::replace);
  // What ends the script element that holds the data, or opens a comment in it, begins with this character.
  std::string escaped;
  for (const char c : text) c == '<' ? escaped += "\\u003c" : escaped += c;
  return escaped;
}

}  // namespace vok::tool
