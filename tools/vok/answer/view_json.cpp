#include "answer/view_json.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "base/hex_dump.h"
#include "base/json_text.h"
#include "block_words.h"
#include "flash/image.h"
#include "view/ranking.h"

namespace vok::tool {

namespace {

Json FindingsOf(const SectionView& section, u16 block, std::size_t most) {
  Json json = Json::array();
  const std::span<const Finding> findings = section.FindingsOf(block);
  for (const Finding& finding : findings.first(std::min(findings.size(), most))) {
    Json& added = json.emplace_back(Json::object());
    AddSlots(finding, added);
    added["code"] = KindOf(finding.code).code;
    added["severity"] = NameOf(ConditionOf(section, finding));
    added["what"] = finding.what;
    added["repair"] = finding.repair;
  }
  return json;
}

Json BlockOf(const SectionView& section, const BlockView& block, std::size_t most_findings) {
  Json json = {{"block", block.index}, {"address", block.figures.base}, {"state", block.StateName()}};
  json["state_word"] = block.figures.state;
  json["format_version"] = block.has_signature ? Json(block.format_version) : Json();
  json["erase_count"] = block.has_signature ? Json(block.erase_count()) : Json();
  json["live"] = block.shares.live;
  json["dead"] = block.shares.dead;
  json["unfinished"] = block.shares.unfinished;
  json["lost"] = block.shares.lost;
  json["free"] = block.shares.free;
  json["largest_item_now"] = block.LargestItemNow();
  json["condition"] = NameOf(ConditionOf(section, block));
  json["slot_count"] = block.slot_count;
  json["dead_slots"] = block.figures.deleted_slots;
  json["findings"] = FindingsOf(section, block.index, most_findings);
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

/// Where each block stands in RankBlocks(), from 1.
std::map<const BlockView*, std::size_t> RanksOf(const ImageView& view) {
  std::map<const BlockView*, std::size_t> ranks;
  for (const RankedBlock& ranked : RankBlocks(view)) ranks.emplace(ranked.block, ranks.size() + 1);
  return ranks;
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

}  // namespace

Json MapObject(const ImageView& view, std::size_t most_findings) {
  const std::map<const BlockView*, std::size_t> ranks = RanksOf(view);
  Json json = {{"format", "vok/1"}, {"version", view.version}, {"worst", WorstOf(view)}, {"sections", Json::array()}};
  for (const SectionView& section : view.sections) {
    Json& added = json["sections"].emplace_back(SectionOf(section));
    added["blocks"] = Json::array();
    for (const BlockView& block : section.blocks) {
      Json& added_block = added["blocks"].emplace_back(BlockOf(section, block, most_findings));
      added_block["rank"] = ranks.at(&block);
    }
  }
  return json;
}

JsonAnswer MapJson(const ImageView& view, const Losses& losses) {
  Json json = MapObject(view);
  return {std::move(json), losses};
}

JsonAnswer ExplanationJson(const Explanation& explanation, const Losses& losses) {
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
  return {std::move(json), losses};
}

JsonAnswer HistoryJson(u16 type, u16 id, std::span<const ItemCopy> copies, const Losses& losses) {
  Json json = {{"format", "vok/1"}, {"type", type}, {"id", id}, {"order", "current, then by block and slot"}};
  json["copies"] = Json::array();
  for (std::size_t i = 0; i < copies.size(); ++i) json["copies"].push_back(CopyOf(i, copies[i]));
  return {std::move(json), losses};
}

}  // namespace vok::tool
