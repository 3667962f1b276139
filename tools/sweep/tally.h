#pragma once

#include "judge.h"

/// What came of the cases, counted.

namespace vok::sweep {

inline constexpr u32 kMostOperations = 32;
inline constexpr u32 kDepths = 3;  ///< one cut; a second in the repair; chains of 3 to 6

struct Tally {
  using Outcomes = std::array<u64, kOutcomeCount>;

  std::array<std::array<std::array<Outcomes, kPlaceCount>, kMostOperations>, kDepths> cases{};
  std::array<std::array<u64, kKnownEndCount>, kDepths> ends{};
  u64 images = 0;    ///< flash contents that a power cut left
  u64 rebuilds = 0;  ///< cases in which a rebuild was looked at, too
  u64 faults = 0;

  void Add(u32 depth, u32 operation, Place place, const Verdict& verdict, const Aftermath& aftermath);
  void Add(const Tally& other);
  u64 CasesAt(u32 depth) const;
};

}  // namespace vok::sweep
