#pragma once

#include "known_ends.h"

/// What must hold after a power cut.

namespace vok::sweep {

/// How the partition stands after the repair.
enum class Outcome : u8 {
  kOld,    ///< every item as before the operation
  kNew,    ///< every item as after it
  kPart,   ///< some old, some new, of an operation that changes items one by one
  kKept,   ///< every item as ever, of an operation that changes none
  kKnown,  ///< a known end
};
inline constexpr u32 kOutcomeCount = 5;
const char* TextOf(Outcome outcome);

struct Verdict {
  Outcome outcome = Outcome::kKnown;
  std::string fault;  ///< empty = everything holds
};

/// Restarts the store from the bytes in the flash and holds everything against the scenario: the repair mount, the
/// items, the figures, a second repair mount, a check mount, and a write, a delete and a reorganisation.
/// @param aftermath  in: what the cuts so far are known to have done; out: with the ends that only the mount shows
Verdict Judge(Rig& rig, const Scenario& scenario, Aftermath& aftermath);

}  // namespace vok::sweep
