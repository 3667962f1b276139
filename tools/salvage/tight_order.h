#pragma once

#include <span>
#include <vector>

#include "flash/types.h"

namespace vok::tool {

/// Orders things of even sizes so that they fill blocks of @p capacity bytes one after another, each as full as can be:
/// the largest thing that is left, and with it those of the others that leave least room. Written in this order by best
/// fit, a thing either goes into the block that it is meant for or fills up one that is complete, so that it never
/// takes the room of another.
/// @return the indices of all of them
std::vector<std::size_t> TightOrder(std::span<const u32> sizes, u32 capacity);

}  // namespace vok::tool
