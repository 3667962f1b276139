#include "answer/find_json.h"

#include "base/hex_dump.h"
#include "base/json_text.h"

namespace vok::tool {

JsonAnswer FoundJson(u16 version, std::span<const FoundItem> found, const Losses& losses) {
  Json json = Answer();
  json["version"] = version;
  json["matches"] = Json::array();
  for (const FoundItem& match : found)
    json["matches"].push_back({{"section", match.section->name},
                               {"type", match.item.type},
                               {"id", match.item.id},
                               {"length", match.item.length},
                               {"crc32", ChecksumText(match.item.crc32)},
                               {"as", match.as},
                               {"offsets", match.offsets}});
  return {std::move(json), losses};
}

}  // namespace vok::tool
