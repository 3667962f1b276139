#pragma once

#include <optional>

#include "scenario.h"

/// The names of cases: version/operation/fill/seed, then step.tear for the cut of the operation and for each cut of a
/// repair that follows, as in v3/replace/half/s1/12.5/0.2.

namespace vok::sweep {

struct CaseId {
  u32 version = 0;
  const Operation* operation = nullptr;
  Fill fill = Fill::kEmpty;
  u64 seed = 0;
  std::vector<CutPoint> cuts{};
};

std::string IdOf(const Scenario& scenario, const std::vector<CutPoint>& cuts);
std::optional<CaseId> ParseCaseId(const std::string& text);

}  // namespace vok::sweep
