#include "answer/json.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/hex_dump.h"
#include "base/json_text.h"
#include "block_words.h"
#include "building/unpacked_folder.h"

namespace vok::tool {

namespace {

Json ItemFields(const ItemEntry& item) {
  return {{"type", item.type}, {"id", item.id}, {"length", item.length}, {"crc32", ChecksumText(item.crc32)}};
}

Json ItemOf(const Section& section, const ItemEntry& item) {
  Json json = {{"section", section.name}};
  json.update(ItemFields(item));
  if (item.address != 0) json["address"] = item.address;
  return json;
}

Json TypesOf(const Section& section) {
  Json types = Json::array();
  for (const psdt::TypeRange& range : TypeRangesOf(section)) types.push_back({range.first_type, range.last_type});
  return types;
}

Json ManifestSection(const SectionItems& listed) {
  const Section& section = *listed.section;
  Json json = {{"section", section.name},
               {"partition", section.partition()},
               {"kind", KindOf(section)},
               {"start", section.entry.start},
               {"block_size", section.entry.block_size},
               {"block_count", section.entry.block_count},
               {"types", TypesOf(section)}};
  if (!section.IsMounted()) json["mounted"] = false;
  json["items"] = Json::array();
  for (const ItemEntry& item : listed.items) {
    Json fields = ItemFields(item);
    if (!Serves(section, item.type)) fields["unserved"] = true;
    fields["file"] = ItemFileName(section, item);
    json["items"].push_back(std::move(fields));
  }
  return json;
}

Json FindingOf(const Finding& finding) {
  Json json = {{"block", finding.block}};
  AddSlots(finding, json);
  const FindingKind& kind = KindOf(finding.code);
  json["code"] = kind.code;
  json["severity"] = NameOf(kind.severity);
  json["what"] = finding.what;
  json["repair"] = finding.repair;
  json["cost"] = kind.cost;
  json["items"] = Json::array();
  for (const ItemKey& item : finding.items) json["items"].push_back({{"type", item.type}, {"id", item.id}});
  return json;
}

/// What no block is to blame for.
Json PsdtFindings(const Losses& losses) {
  Json findings = Json::array();
  const FindingKind& kind = KindOf(FindingCode::kPsdt);
  for (const Loss& loss : losses) {
    if (!loss.outside) continue;
    Json& json = findings.emplace_back(Json{{"section", loss.section},
                                            {"code", kind.code},
                                            {"severity", NameOf(kind.severity)},
                                            {"what", loss.why},
                                            {"repair", "none"},
                                            {"cost", kind.cost},
                                            {"items", Json::array()}});
    const std::size_t count = std::min(loss.items.size(), Finding::kMostItems);
    for (const ItemKey& item : std::span(loss.items).first(count))
      json["items"].push_back({{"type", item.type}, {"id", item.id}});
  }
  return findings;
}

std::string ReportOf(const SectionReport& report) {
  const Json head = {{"section", report.section->name}, {"mounted", report.code == code::kOk}, {"code", report.code}};
  std::string text = LineOf(head);
  text.back() = ',';
  text += "\"findings\":[";
  for (const Finding& finding : report.findings) {
    text += &finding == &report.findings.front() ? "\n   " : ",\n   ";
    text += LineOf(FindingOf(finding));
  }
  return text + "]}";
}

Json SpaceOf(const SectionSpace& space) {
  if (!space.section->IsMounted()) return nullptr;
  return {{"free_now", space.space.free_now},
          {"free_after_reorganisation", space.space.free_after_reorganisation},
          {"largest_item_now", space.space.largest_item_now},
          {"largest_item_after_reorganisation", space.space.largest_item_after_reorganisation}};
}

Json BlockOf(const BlockFigures& block) {
  return {{"block", block.index},
          {"address", block.address},
          {"state", NameOfBlockState(block.info.state)},
          {"erase_count", block.info.erase_count},
          {"live_slots", block.info.live_slots},
          {"deleted_slots", block.info.deleted_slots},
          {"used_bytes", block.info.used_bytes},
          {"dead_bytes", block.info.dead_bytes},
          {"free_bytes", block.free_bytes},
          {"largest_item", block.info.largest_item}};
}

Json InfoSection(const SectionSpace& space) {
  const Section& section = *space.section;
  Json json = {{"section", section.name},
               {"partition", section.partition()},
               {"mounted", section.IsMounted()},
               {"code", section.mount_code},
               {"start", section.entry.start},
               {"block_size", section.entry.block_size},
               {"block_count", section.entry.block_count},
               {"kind", KindOf(section)},
               {"types", TypesOf(section)},
               {"space", SpaceOf(space)}};
  for (const BlockFigures& block : space.blocks) json["blocks"].push_back(BlockOf(block));
  return json;
}

}  // namespace

void AddSlots(const Finding& finding, Json& json) {
  if (!finding.slot) return;
  json["slot"] = *finding.slot;
  if (finding.count == 1) return;
  json["last_slot"] = finding.last_slot;
  json["count"] = finding.count;
}

JsonAnswer ItemsJson(u16 version, std::span<const SectionItems> sections, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  JsonAnswer answer(std::move(json), losses);
  std::vector<std::pair<const Section*, const ItemEntry*>> items;
  for (const SectionItems& listed : sections)
    for (const ItemEntry& item : listed.items) items.emplace_back(listed.section, &item);
  const std::size_t count = items.size();
  answer.AddList("items", count, [items = std::move(items)](std::size_t i) {
    return LineOf(ItemOf(*items[i].first, *items[i].second));
  });
  return answer;
}

JsonAnswer ItemJson(const Section& section, const ItemEntry& item, std::span<const u8> bytes, const Losses& losses) {
  Json json = Answer();
  json.update(ItemOf(section, item));
  json["data"] = HexString(bytes);
  return {std::move(json), losses};
}

JsonAnswer LostItemJson(const ItemKey& item, const Losses& losses) {
  Json json = Answer();
  json["type"] = item.type;
  json["id"] = item.id;
  return {std::move(json), losses};
}

JsonAnswer ItemsWithBytesJson(u16 version, std::span<const ItemWithBytes> items, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["items"] = Json::array();
  for (const auto& [section, item, bytes] : items) {
    json["items"].push_back(ItemOf(*section, item));
    json["items"].back()["data"] = HexString(bytes);
  }
  return {std::move(json), losses};
}

JsonAnswer ManifestJson(const LoadedImage& image, std::span<const SectionItems> sections, const Losses& losses) {
  Json json = Answer();
  json["version"] = image.version();
  json["psdt"] = {{"file", kPsdtFileName}, {"address", image.psdt().address}};
  json["codeplug"] = {{"address", image.codeplug_start()}, {"length", image.codeplug_end() - image.codeplug_start()}};
  json["sections"] = Json::array();
  for (const SectionItems& listed : sections) json["sections"].push_back(ManifestSection(listed));
  return {std::move(json), losses};
}

JsonAnswer ReportJson(u16 version, bool clean, std::span<const SectionReport> reports, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["clean"] = clean;
  json["psdt"] = PsdtFindings(losses);
  JsonAnswer answer(std::move(json), losses);
  answer.AddList("sections", reports.size(), [reports](std::size_t i) { return ReportOf(reports[i]); });
  return answer;
}

JsonAnswer InfoJson(const LoadedImage& image, std::span<const u32> header_words, std::span<const SectionSpace> spaces,
                    std::span<const Section> passed_over, const Losses& losses) {
  Json json = Answer();
  json["version"] = image.version();
  json["psdt"] = {{"address", image.psdt().address},
                  {"length", image.psdt().bytes.size()},
                  {"records", spaces.size() + passed_over.size()},
                  {"header", Json(header_words)}};
  json["sections"] = Json::array();
  for (const SectionSpace& space : spaces) json["sections"].push_back(InfoSection(space));
  json["passed_over"] = Json::array();
  for (const Section& section : passed_over)
    json["passed_over"].push_back({{"record", section.record}, {"section", section.name}, {"why", ReasonOf(section)}});
  return {std::move(json), losses};
}

}  // namespace vok::tool
