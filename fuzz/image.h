#pragma once

#include "world.h"

namespace vok::fuzz {

/// Fills the partition's bytes as the input says: headers, slots, records, journal records, stray bytes, with every
/// field chosen from likely values or free.
void FillPartition(World& world, Input& input);

/// A type or an ID: those that the images hold, the forbidden ones, or any.
std::uint16_t TakeType(Input& input);
std::uint16_t TakeId(Input& input);

}  // namespace vok::fuzz
