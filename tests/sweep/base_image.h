#pragma once

#include <optional>

#include "scenario.h"

/// The base images on which every operation is tried, and the names of the cases.

namespace vok::sweep {

/// How full the block is on which the operation works.
enum class Fill : u8 {
  kEmpty,  ///< only what the operation needs
  kHalf,
  kFull,        ///< the operation's own records take the last byte; no room at all for one that writes none
  kNearlyFull,  ///< 1 % of the block is left
};
inline constexpr std::array<Fill, 4> kFills = {Fill::kEmpty, Fill::kHalf, Fill::kFull, Fill::kNearlyFull};

/// What a scenario is made from.
struct Recipe {
  u32 version;
  const Operation* operation;
  Fill fill;
  u64 seed;
};

/// Whether the operation makes use of a fill: those that work on erased flash have the first one only.
bool TakesFill(const Operation& operation, Fill fill);

/// Builds the base image and runs the operation once, uncut.
/// @throws std::logic_error when the operation does not do what it is there for
Scenario MakeScenario(Rig& rig, const Recipe& recipe);

/// A case by its name: version/operation/fill/seed, then step.tear for each cut.
struct CaseId {
  Recipe recipe;
  std::vector<CutPoint> cuts;
};
std::optional<CaseId> ParseCaseId(const std::string& text);

}  // namespace vok::sweep
