#pragma once

#include <vector>

#include "section/sections.h"
#include "vok/store.h"

namespace vok::tool {

/// What the store tells of one block, and the bytes that are free in it.
struct BlockFigures {
  u16 index;
  u64 address;
  BlockInfo info;
  u32 free_bytes;
};

/// The blocks of a section; none unless it is mounted.
std::vector<BlockFigures> BlocksOf(const Section& section);

}  // namespace vok::tool
