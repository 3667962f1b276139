#pragma once

#include "known_ends.h"

/// What a rebuild brings back where no repair mount can.

namespace vok::sweep {

/// Builds a fresh partition from the copies that lie in @p flash, as a cut left it and before any repair mount, and
/// holds its items against the scenario: every item that the operation does not change is there, the changed ones are
/// all old or all new, and nothing else is there.
/// @param cuts  that went before: what the repair had thrown away when a later one came is gone, but each item that has
///              a Valid copy still is brought back all the same
/// @return what is wrong, empty = nothing
std::string CheckRebuild(Rig& rig, const Scenario& scenario, const Aftermath& aftermath, const Bytes& flash, u32 cuts);

}  // namespace vok::sweep
