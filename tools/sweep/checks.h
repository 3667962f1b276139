#pragma once

#include "judge.h"

/// The single checks of a mounted partition. Each answers what is wrong, empty = nothing. The invariants I1 to I10
/// stand in docs/reliability.md.

namespace vok::sweep {

/// The items in the flash against those of the scenario (I1 to I6). @param outcome  out
std::string CheckItems(const Scenario& scenario, const Aftermath& aftermath, const Partition& flash, Outcome& outcome);

/// The items of a partition that no longer mounts: those that the operation does not change (I1), and of the others
/// that each is old, new, or what a known end makes of it.
std::string CheckUnrepaired(const Scenario& scenario, const Aftermath& aftermath, const Items& items);

/// What the store reads against the flash.
std::string CheckReading(const Scenario& scenario, const Aftermath& aftermath, const Items& items);

/// The store's figures against a recount (I9). Straight after a repair that put a placeholder at a block's end the
/// block may still count as open with less room than an empty item takes.
enum class AfterRepair : bool { kNo, kYes };
std::string CheckFigures(Partition flash, u32 base, AfterRepair after_repair);

/// That every block is in use or Free, and one is Free (I8).
std::string CheckBlocks(const Partition& flash);

/// That the store still takes a write, a delete and a reorganisation.
std::string CheckService(Rig& rig, const Aftermath& aftermath, Items items);

}  // namespace vok::sweep
