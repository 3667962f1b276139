#include "room.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>

#include "failure.h"
#include "store/volume/layout.h"
#include "store/volume/space.h"
#include "terminal.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

void ReorganiseAndErase(const std::string& name, u8 partition, u16 block) {
  constexpr u8 kNoForce = 0;
  u16 code = ReorganiseBlock(partition, block, kNoForce);
  u16 retired = block;
  if (code == code::kOk) code = EraseRetiredBlock(partition, &retired);
  if (code != code::kOk) throw Failure(fmt::format("cannot reorganise block {} of section {}", block, name), code);
  Say(fmt::format("section {}: reorganised block {}", name, block));
}

/// The Active blocks, the emptiest first.
std::vector<u16> ActiveBlocks(u8 partition) {
  std::map<u16, u32> used;
  std::vector<u16> blocks;
  for (u16 i = 0; i < PartitionAt(partition).block_count; ++i) {
    BlockInfo info{};
    GetBlockInfo(partition, i, &info);
    used[i] = info.used_bytes;
    if (info.state == CurrentLayout().states.active) blocks.push_back(i);
  }
  std::stable_sort(blocks.begin(), blocks.end(), [&used](u16 a, u16 b) { return used[a] < used[b]; });
  return blocks;
}

/// Free bytes that are spread over blocks without dead ones are of no use to a large item until live items of one block
/// fill up the others. Each round empties another block.
bool Compact(const std::string& name, u8 partition, std::size_t round) {
  const std::vector<u16> blocks = ActiveBlocks(partition);
  if (round >= blocks.size()) return false;
  ReorganiseAndErase(name, partition, blocks[round]);
  return true;
}

/// Nothing can be reorganised without a Free block to move items to.
bool HasSpare(u8 partition) {
  u16 spare = kNoBlock;
  return FindSpareBlock(PartitionAt(partition), spare) == code::kOk;
}

}  // namespace

bool IsNoRoom(u16 code) {
  return code == code::kNeedReorg || code == code::kNeedDeepReorg || code == code::kPartitionFull;
}

bool ReorganiseAsAdvised(const std::string& name, u8 partition) {
  constexpr u8 kAnyDeadBytes = 0;
  constexpr u8 kAdmitPointers = 1;
  // The answer itself leaves out blocks with less than a hundredth of dead bytes.
  u16 block = kNoBlock;
  CheckReorgNeed(partition, kAnyDeadBytes, &block, kAdmitPointers);
  if (block == kNoBlock) return false;
  ReorganiseAndErase(name, partition, block);
  return true;
}

u16 AttemptWithRoom(ChangedImage& image, const std::string& name, u8 partition, const std::function<u16()>& attempt) {
  std::size_t rounds = 0;
  for (;;) {
    const u16 code = attempt();
    if (!IsNoRoom(code)) return code;
    Say(fmt::format("section {}: no room ({})", name, ErrorText(code)));
    // A change that found room for its record but none for its marker leaves the record unfinished; after a mount its
    // bytes count as dead.
    image.Remount();
    if (!HasSpare(partition)) return code;
    if (ReorganiseAsAdvised(name, partition)) continue;
    if (code == code::kPartitionFull || !Compact(name, partition, rounds++)) return code;
  }
}

std::string RoomFigures(u8 partition, u32 length) {
  PartitionSpace space{};
  GetPartitionSpace(partition, &space);
  const u32 more = space.free_after_reorganisation - std::min(space.free_now, space.free_after_reorganisation);
  return fmt::format("{} bytes needed, {} free, {} more by reorganising{}", RecordAndSlotSize(length), space.free_now,
                     more, more == 0 || HasSpare(partition) ? "" : ", for which no block is spare");
}

}  // namespace vok::tool
