#include "answer/torture_json.h"

#include "base/json_text.h"

namespace vok::tool {

namespace {

Json PlacesOf(const TortureResult& result) {
  Json places = Json::array();
  for (u32 place = 0; place < sweep::kPlaceCount; ++place) {
    Json outcomes = Json::object();
    const auto& counts = result.tally.cases[0][sweep::IndexOf(*result.operation)][place];
    for (u32 outcome = 0; outcome < sweep::kOutcomeCount; ++outcome)
      if (counts[outcome] != 0) outcomes[sweep::TextOf(static_cast<sweep::Outcome>(outcome))] = counts[outcome];
    if (!outcomes.empty())
      places.push_back({{"place", sweep::TextOf(static_cast<sweep::Place>(place))}, {"outcomes", outcomes}});
  }
  return places;
}

Json KnownEndsOf(const sweep::Tally& tally) {
  Json ends = Json::array();
  for (u32 end = 0; end < sweep::kKnownEndCount; ++end) {
    const u64 count = tally.ends[0][end] + tally.ends[1][end] + tally.ends[2][end];
    const sweep::KnownEndText text = sweep::TextOf(static_cast<sweep::KnownEnd>(end));
    if (count != 0) ends.push_back({{"rule", text.rule}, {"outcome", text.outcome}, {"cases", count}});
  }
  return ends;
}

Json ResultOf(const TortureResult& result) {
  if (!result.not_tried.empty()) return {{"operation", result.operation->name}, {"not_tried", result.not_tried}};
  return {{"operation", result.operation->name},
          {"cut_images", result.tally.images},
          {"single_cuts", result.single_cuts},
          {"one_cut", result.tally.CasesAt(0)},
          {"two_cuts", result.tally.CasesAt(1)},
          {"chains", result.tally.CasesAt(2)},
          {"whole", result.whole},
          {"places", PlacesOf(result)},
          {"known_ends", KnownEndsOf(result.tally)},
          {"faults", result.faults}};
}

}  // namespace

JsonAnswer TortureJson(const TortureSubject& subject, std::span<const TortureResult> results) {
  Json json = Answer();
  json["section"] = subject.section;
  json["operations"] = Json::array();
  for (const TortureResult& result : results) json["operations"].push_back(ResultOf(result));
  return {std::move(json), subject.losses};
}

}  // namespace vok::tool
