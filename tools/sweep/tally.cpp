#include "tally.h"

namespace vok::sweep {

namespace {
constexpr std::array<const char*, kOutcomeCount> kOutcomeTexts = {"old", "new", "old or new each", "all kept",
                                                                  "known end"};
}

const char* TextOf(Outcome outcome) { return kOutcomeTexts[static_cast<u32>(outcome)]; }

void Tally::Add(u32 depth, u32 operation, Place place, const Verdict& verdict, const Aftermath& aftermath) {
  if (!verdict.fault.empty()) {
    ++faults;
    return;
  }
  ++cases[depth][operation][static_cast<u32>(place)][static_cast<u32>(verdict.outcome)];
  for (u32 end = 0; end < kKnownEndCount; ++end) ends[depth][end] += aftermath.Has(static_cast<KnownEnd>(end));
}

void Tally::Add(const Tally& other) {
  for (u32 depth = 0; depth < kDepths; ++depth) {
    for (u32 operation = 0; operation < kMostOperations; ++operation)
      for (u32 place = 0; place < kPlaceCount; ++place)
        for (u32 outcome = 0; outcome < kOutcomeCount; ++outcome)
          cases[depth][operation][place][outcome] += other.cases[depth][operation][place][outcome];
    for (u32 end = 0; end < kKnownEndCount; ++end) ends[depth][end] += other.ends[depth][end];
  }
  images += other.images;
  rebuilds += other.rebuilds;
  faults += other.faults;
}

u64 Tally::CasesAt(u32 depth) const {
  u64 sum = 0;
  for (const auto& operation : cases[depth])
    for (const Outcomes& outcomes : operation)
      for (u64 count : outcomes) sum += count;
  return sum;
}

}  // namespace vok::sweep
