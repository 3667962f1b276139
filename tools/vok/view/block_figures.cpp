#include "view/block_figures.h"

#include <algorithm>

#include "store/volume/layout.h"

namespace vok::tool {

namespace {

/// Damaged records may overlap, so that they count more bytes than the block has.
u32 FreeBytes(const BlockInfo& info) {
  const Layout& layout = CurrentLayout();
  const u64 taken = u64{info.used_bytes} + info.dead_bytes;
  if (info.state == layout.states.active)
    return info.block_size - static_cast<u32>(std::min<u64>(taken, info.block_size));
  if (info.state == layout.states.free) return info.block_size - layout.word_size - block_header::kSize;
  return 0;
}

}  // namespace

std::vector<BlockFigures> BlocksOf(const Section& section) {
  std::vector<BlockFigures> blocks;
  if (!section.IsMounted()) return blocks;
  for (u16 i = 0; i < section.entry.block_count; ++i) {
    BlockInfo info{};
    GetBlockInfo(section.partition(), i, &info);
    blocks.push_back({.index = i,
                      .address = section.entry.start + u64{section.entry.block_size} * i,
                      .info = info,
                      .free_bytes = FreeBytes(info)});
  }
  return blocks;
}

}  // namespace vok::tool
