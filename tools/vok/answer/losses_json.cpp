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

void AddLosses(Json& answer, std::span<const ImageLosses> images) {
  Json losses = Json::array();
  for (const ImageLosses& image : images)
    for (const Loss& loss : *image.losses) {
      losses.push_back({{"image", image.image}});
      losses.back().update(LossOf(loss));
    }
  answer["complete"] = losses.empty();
  answer["losses"] = std::move(losses);
}

}  // namespace vok::tool
