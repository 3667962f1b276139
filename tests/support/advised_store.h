#pragma once

#include <algorithm>

#include "support/item_map.h"
#include "support/store_fixture.h"
#include "support/strict_device.h"

namespace vok::test {

/// A store beside a plain map of its items. Changes get room as the store advises, and the map tells how much room
/// there must be: what the store says about its room, and every change that it refuses, is held against that.
class AdvisedStoreTest : public StoreTest {
 protected:
  static constexpr Geometry kGeometry{.blocks = 4, .arena = 600};
  static constexpr std::uint32_t kUsable = kGeometry.blocks - 1;  ///< one block is the spare
  static constexpr std::uint16_t kNeedReorg = 123, kNeedDeepReorg = 124, kPartitionFull = 130, kNeedsRepair = 132;

  static bool IsNoRoom(std::uint16_t code) {
    return code == kNeedReorg || code == kNeedDeepReorg || code == kPartitionFull;
  }

  std::uint32_t Capacity() const { return kUsable * (format().block_size - 32 - format().word); }
  std::uint32_t FreeByMap() const { return Capacity() - items_.live(); }
  /// Blocks too full for a further slot keep less than an empty item needs, which no figure counts.
  std::uint32_t Lost() const { return kUsable * items_.Need(0); }

  static PartitionSpace Space() {
    PartitionSpace space{};
    EXPECT_EQ(GetPartitionSpace(0, &space), 0);
    return space;
  }
  void CheckRoom() const {
    const std::uint32_t room = Space().free_after_reorganisation;
    EXPECT_LE(room, FreeByMap());
    EXPECT_TRUE(unfinished_ || room + Lost() > FreeByMap()) << room << " of " << FreeByMap();
  }

  static std::uint16_t Advised() {
    std::uint16_t block = 0;
    EXPECT_EQ(CheckReorgNeed(0, 100, &block, 0), 0);
    return block;
  }
  /// The Active block with most room but for its live items.
  std::uint16_t Roomiest() const {
    std::pair<std::uint32_t, std::uint16_t> least_used = {format().block_size + 1, kAny};
    for (std::uint16_t i = 0; i < kGeometry.blocks; ++i) {
      BlockInfo info{};
      EXPECT_EQ(GetBlockInfo(0, i, &info), 0);
      if (info.state == format().active) least_used = std::min(least_used, {info.used_bytes, i});
    }
    return least_used.second;
  }

  void Reorganise(std::uint16_t block) {
    EXPECT_EQ(ReorganiseBlock(0, block, 0), 0);
    std::uint16_t retired = kAny;
    EXPECT_EQ(EraseRetiredBlock(0, &retired), 0);
    EXPECT_EQ(retired, block);
    ++reorganisations_;
  }
  void Repair() {
    if (!unfinished_) return;
    EXPECT_EQ(Remount(2, kGeometry), 0);
    unfinished_ = false;
  }
  /// Makes room as advised: once; then until nothing dead is left; then by filling blocks up from one more, too.
  void MakeRoom(int effort) {
    if (effort > 0) Repair();
    for (std::uint32_t i = 0; i < (effort > 0 ? kUsable : 1); ++i)
      if (const std::uint16_t block = Advised(); block != kAny) Reorganise(block);
    EXPECT_TRUE(effort == 0 || Space().free_now + Lost() > FreeByMap()) << "dead bytes are left";
    if (effort > 1) Reorganise(Roomiest());
  }

  /// Makes a change that takes at most @p need bytes beside what is there.
  template <typename Change>
  std::uint16_t Attempt(std::uint32_t need, Change change) {
    chip_.words = 0;
    const std::uint16_t code = change();
    // The new copy found room but its marker did not: the slot stays Allocated until a repair.
    if (IsNoRoom(code) && chip_.words != 0) unfinished_ = true;
    EXPECT_TRUE(code != kPartitionFull || unfinished_ || FreeByMap() < need + Lost()) << "told to be full";
    return code;
  }
  /// Goes on after an attempt that gave @p code, making room for the change as long as that may help.
  template <typename Change>
  std::uint16_t Insist(std::uint16_t code, std::uint32_t need, Change change) {
    for (int effort = 0; effort < 3 && IsNoRoom(code) && (code != kPartitionFull || unfinished_); ++effort) {
      MakeRoom(effort);
      code = Attempt(need, change);
    }
    if (!IsNoRoom(code)) return code;
    ++refusals_;
    if (chip_.words != 0) {
      EXPECT_EQ(Remount(1, kGeometry), kNeedsRepair) << "the unfinished copy is not seen";
      Repair();
    }
    // A reorganisation moves an item to its target only when no other block can take it. So afterwards each other
    // block has less room than the largest item needs, and all the rest lies in one piece.
    const std::uint32_t scattered = std::max((kUsable - 1) * items_.LargestNeed(), Lost());
    EXPECT_LT(FreeByMap(), need + scattered) << "refused by " << code << " with room for it";
    return code;
  }

  ItemMap items_{format()};
  StrictDevice chip_{worker_};
  bool unfinished_ = false;  ///< an Allocated slot may be left
  int reorganisations_ = 0;
  int refusals_ = 0;
};

}  // namespace vok::test
