#include "answer/change_json.h"

#include "answer/json.h"
#include "answer/rebuild_report.h"
#include "base/hex_dump.h"
#include "base/json_text.h"

namespace vok::tool {

namespace {

void AddItem(Json& json, const std::string& section, const ItemEntry& item) {
  json["section"] = section;
  json["type"] = item.type;
  json["id"] = item.id;
  json["length"] = item.length;
  json["crc32"] = ChecksumText(item.crc32);
}

Json ChangeOf(const ItemDifference& difference) {
  return {{"section", difference.section},
          {"type", difference.after->type},
          {"id", difference.after->id},
          {"length", {difference.before->length, difference.after->length}},
          {"crc32", {ChecksumText(difference.before->crc32), ChecksumText(difference.after->crc32)}}};
}

Json ChangeWithBytes(const ItemDifference& difference) {
  Json json = ChangeOf(difference);
  json["bytes"] = Json::array();
  for (const ByteDifference& place : difference.bytes)
    json["bytes"].push_back(
        {{"offset", place.offset}, {"before", HexString(place.before)}, {"after", HexString(place.after)}});
  return json;
}

Json CopyOf(const SalvagedCopy& copy) {
  return {{"block", copy.block}, {"slot", copy.slot}, {"state", NameOf(copy.state)}, {"searched", copy.searched}};
}

Json TakenOf(const RebuiltSection& rebuilt, const SalvagedItem& item) {
  Json json = Json::object();
  AddItem(
      json, rebuilt.section->name,
      {.type = item.type, .id = item.id, .length = static_cast<u32>(item.bytes.size()), .crc32 = Crc32(item.bytes)});
  json["taken"] = CopyOf(item.taken);
  json["others"] = Json::array();
  for (const SalvagedCopy& copy : item.others) json["others"].push_back(CopyOf(copy));
  json["why"] = ReasonOf(item, rebuilt.blocks);
  if (item.old_name) json["old_name"] = {{"type", item.old_name->type}, {"id", item.old_name->id}};
  return json;
}

Json RebuiltOf(const RebuiltSection& rebuilt) {
  Json json = {{"section", rebuilt.section->name},
               {"items", rebuilt.salvaged.items.size()},
               {"chosen", Json::array()},
               {"damaged", Json::array()}};
  for (const SalvagedItem& item : rebuilt.salvaged.items)
    if (IsNoteworthy(item)) json["chosen"].push_back(TakenOf(rebuilt, item));
  for (const DamagedItem& item : rebuilt.salvaged.damaged)
    json["damaged"].push_back({{"type", item.type}, {"id", item.id}, {"copy", CopyOf(item.copy)}});
  return json;
}

void AddDifferences(Json& json, std::span<const ItemDifference> differences, bool with_bytes = false) {
  for (const char* const list : {"added", "removed", "changed"}) json[list] = Json::array();
  for (const ItemDifference& difference : differences) {
    if (difference.before == nullptr)
      AddItem(json["added"].emplace_back(Json::object()), difference.section, *difference.after);
    else if (difference.after == nullptr)
      AddItem(json["removed"].emplace_back(Json::object()), difference.section, *difference.before);
    else
      json["changed"].push_back(with_bytes ? ChangeWithBytes(difference) : ChangeOf(difference));
  }
}

}  // namespace

JsonAnswer WrittenJson(const Section& section, const ItemEntry& item, const Losses& losses) {
  Json json = Answer();
  AddItem(json, section.name, item);
  return {std::move(json), losses};
}

JsonAnswer DeletedJson(std::size_t count, const Losses& losses) {
  Json json = Answer();
  json["deleted"] = count;
  return {std::move(json), losses};
}

JsonAnswer RegainedJson(std::span<const Regained> sections, const Losses& losses) {
  Json json = Answer();
  json["sections"] = Json::array();
  for (const Regained& regained : sections)
    json["sections"].push_back({{"section", regained.section},
                                {"blocks", regained.blocks},
                                {"free_before", regained.free_before},
                                {"free_after", regained.free_after}});
  return {std::move(json), losses};
}

JsonAnswer RebuiltJson(u16 version, std::span<const RebuiltSection> sections, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["sections"] = Json::array();
  for (const RebuiltSection& rebuilt : sections) json["sections"].push_back(RebuiltOf(rebuilt));
  return {std::move(json), losses};
}

JsonAnswer DifferencesJson(std::span<const ItemDifference> differences, std::span<const ImageLosses> images,
                           bool with_bytes) {
  Json json = Answer();
  AddDifferences(json, differences, with_bytes);
  return {std::move(json), images};
}

JsonAnswer PackedJson(std::span<const PackedSection> sections, u64 erased, const Losses& losses) {
  Json json = Answer();
  json["items"] = 0;
  for (const char* const list : {"changed", "added", "left_out"}) json[list] = Json::array();
  json["erased"] = erased;
  std::size_t count = 0;
  for (const PackedSection& section : sections) {
    count += section.items.size();
    for (const PackedItem& item : section.items)
      if (item.origin != Origin::kUnpacked)
        json[item.origin == Origin::kAdded ? "added" : "changed"].push_back(
            {{"section", section.name}, {"type", item.type}, {"id", item.id}});
    for (const MissingItem& item : section.missing)
      json["left_out"].push_back({{"section", section.name}, {"type", item.type}, {"id", item.id}});
  }
  json["items"] = count;
  return {std::move(json), losses};
}

JsonAnswer AppliedJson(std::span<const ItemDifference> differences, std::span<const ItemDifference> kept, bool dry_run,
                       const Losses& losses) {
  Json json = Answer();
  json["dry_run"] = dry_run;
  AddDifferences(json, differences);
  json["kept"] = Json::array();
  for (const ItemDifference& item : kept)
    AddItem(json["kept"].emplace_back(Json::object()), item.section, *item.before);
  return {std::move(json), losses};
}

}  // namespace vok::tool
