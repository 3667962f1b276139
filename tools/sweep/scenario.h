#pragma once

#include "operations.h"

/// A scenario: one operation on one base image, and what it does when nothing interrupts it.

namespace vok::sweep {

struct Scenario {
  std::string id;  ///< the first part of the names of its cases
  Geometry geometry;
  const Operation* operation;
  Inputs inputs;
  Bytes base;
  Items before;

  Items after{};            ///< what Complete() finds
  Trace trace{};            ///< so too
  Overwritable in_place{};  ///< the payload of the changed item in the base, for an operation that programs over it
};

/// Runs the operation once, uncut. The rig is configured for the scenario's geometry.
/// @return why the operation does not do what it is there for; empty = it does
std::string Complete(Rig& rig, Scenario& scenario);

/// What a strict chip makes an exception for while the operation runs.
void AllowInOperation(const Scenario& scenario, Witness& witness);

/// Puts the base image into the flash and gets the store ready for the operation.
void Prepare(Rig& rig, const Scenario& scenario);

/// The name of a case, as in v3/replace/half/s1/12.5/0.2: the scenario, then step.tear for the cut of the operation and
/// for each cut of a repair that follows.
std::string IdOf(const Scenario& scenario, const std::vector<CutPoint>& cuts);

}  // namespace vok::sweep
