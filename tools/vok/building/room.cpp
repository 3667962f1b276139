#include "building/room.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <utility>

#include "base/failure.h"
#include "base/terminal.h"
#include "store/volume/layout.h"
#include "store/volume/space.h"
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

/// Nothing can be reorganised without a Free block to move items to.
bool HasSpare(u8 partition) {
  u16 spare = kNoBlock;
  return FindSpareBlock(PartitionAt(partition), spare) == code::kOk;
}

/// Makes room after one failed attempt after another, with more effort each time. It gives up in the end: a failed
/// attempt may leave dead bytes of its own, so that there being some is no reason to go on.
class RoomMaker {
 public:
  RoomMaker(const std::string& name, u8 partition) : name_(name), partition_(partition) {}

  /// @return false when nothing is left to try
  bool MakeRoom(u16 code) {
    if (!HasSpare(partition_)) return false;
    if (code == code::kNeedReorg && !std::exchange(emptied_, true)) return EmptyBest();
    const bool advised = ReorganiseAsAdvised(name_, partition_);
    const std::size_t round = rounds_++;
    if (advised && round == 0) return true;
    while (ReorganiseAsAdvised(name_, partition_)) continue;
    if (advised && round == 1) return true;
    return code != code::kPartitionFull && Compact();
  }

 private:
  /// One block has room enough once its dead bytes are regained: the one with least live bytes is sure to be it, while
  /// the one with most dead bytes, which the store advises, may fill that one up with its live items.
  bool EmptyBest() {
    const std::vector<u16> blocks = ActiveBlocks(partition_);
    if (blocks.empty()) return false;
    ReorganiseAndErase(name_, partition_, blocks.front());
    return true;
  }

  /// Free bytes that are spread over blocks without dead ones are of no use to a large item until live items of one
  /// block fill up the others. Each call empties another block.
  bool Compact() {
    const std::vector<u16> blocks = ActiveBlocks(partition_);
    if (compacted_ >= blocks.size()) return false;
    ReorganiseAndErase(name_, partition_, blocks[compacted_++]);
    return true;
  }

  const std::string& name_;
  u8 partition_;
  bool emptied_ = false;
  std::size_t rounds_ = 0;
  std::size_t compacted_ = 0;
};

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
  RoomMaker room(name, partition);
  for (;;) {
    const u16 code = attempt();
    if (!IsNoRoom(code)) return code;
    Say(fmt::format("section {}: no room ({})", name, ErrorText(code)));
    // A change that found room for its record but none for its marker leaves the record unfinished; after a mount its
    // bytes count as dead.
    image.Remount();
    if (!room.MakeRoom(code)) return code;
  }
}

std::string RoomFigures(u8 partition, u64 needed) {
  PartitionSpace space{};
  GetPartitionSpace(partition, &space);
  const u32 more = space.free_after_reorganisation - std::min(space.free_now, space.free_after_reorganisation);
  const bool in_pieces = space.free_now >= needed;
  return fmt::format("{} bytes needed, {} free{}, {} more by reorganising{}", needed, space.free_now,
                     in_pieces ? fmt::format(" (no item above {} fits in one block)", space.largest_item_now) : "",
                     more, more == 0 || HasSpare(partition) ? "" : ", for which no block is spare");
}

}  // namespace vok::tool
