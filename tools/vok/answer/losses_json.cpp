#include "answer/losses_json.h"

namespace vok::tool {

namespace {

Json LossOf(const Loss& loss) {
  Json json = {{"section", loss.section}};
  if (loss.block) json["block"] = *loss.block;
  json["items"] = Json::array();
  for (const ItemKey& item : loss.items) json["items"].push_back({{"type", item.type}, {"id", item.id}});
  json["why"] = loss.why;
  json["remedy"] = loss.remedy;
  return json;
}

}  // namespace

void AddLosses(Json& answer, const Losses& losses) {
  answer["complete"] = losses.empty();
  answer["losses"] = Json::array();
  for (const Loss& loss : losses) answer["losses"].push_back(LossOf(loss));
}

}  // namespace vok::tool
