#include "answer/json.h"

#include <fmt/core.h>

#include "answer/losses_json.h"
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
  if (finding.slot) json["slot"] = *finding.slot;
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
    for (const ItemKey& item : loss.items) json["items"].push_back({{"type", item.type}, {"id", item.id}});
  }
  return findings;
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

std::string ItemsJson(u16 version, std::span<const SectionItems> sections, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["items"] = Json::array();
  for (const SectionItems& listed : sections)
    for (const ItemEntry& item : listed.items) json["items"].push_back(ItemOf(*listed.section, item));
  AddLosses(json, losses);
  return JsonText(json);
}

std::string ItemJson(const Section& section, const ItemEntry& item, std::span<const u8> bytes, const Losses& losses) {
  Json json = Answer();
  json.update(ItemOf(section, item));
  json["data"] = HexString(bytes);
  AddLosses(json, losses);
  return JsonText(json);
}

std::string LostItemJson(const ItemKey& item, const Losses& losses) {
  Json json = Answer();
  json["type"] = item.type;
  json["id"] = item.id;
  AddLosses(json, losses);
  return JsonText(json);
}

std::string ItemsWithBytesJson(u16 version, std::span<const ItemWithBytes> items, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["items"] = Json::array();
  for (const auto& [section, item, bytes] : items) {
    json["items"].push_back(ItemOf(*section, item));
    json["items"].back()["data"] = HexString(bytes);
  }
  AddLosses(json, losses);
  return JsonText(json);
}

std::string ManifestJson(const LoadedImage& image, std::span<const SectionItems> sections, const Losses& losses) {
  Json json = Answer();
  json["version"] = image.version();
  json["psdt"] = {{"file", kPsdtFileName}, {"address", image.psdt().address}};
  json["codeplug"] = {{"address", image.codeplug_start()}, {"length", image.codeplug_end() - image.codeplug_start()}};
  json["sections"] = Json::array();
  for (const SectionItems& listed : sections) json["sections"].push_back(ManifestSection(listed));
  AddLosses(json, losses);
  return JsonText(json);
}

std::string ReportJson(u16 version, bool clean, std::span<const SectionReport> reports, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["clean"] = clean;
  json["sections"] = Json::array();
  for (const SectionReport& report : reports) {
    Json findings = Json::array();
    for (const Finding& finding : report.findings) findings.push_back(FindingOf(finding));
    json["sections"].push_back({{"section", report.section->name},
                                {"mounted", report.code == code::kOk},
                                {"code", report.code},
                                {"findings", std::move(findings)}});
  }
  json["psdt"] = PsdtFindings(losses);
  AddLosses(json, losses);
  return JsonText(json);
}

std::string InfoJson(const LoadedImage& image, std::span<const u32> header_words, std::span<const SectionSpace> spaces,
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
  AddLosses(json, losses);
  return JsonText(json);
}

}  // namespace vok::tool
