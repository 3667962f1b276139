#include <array>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

class ChangeTest : public StoreTest {
 protected:
  std::uint32_t CostOf(std::uint32_t length) const { return format().record_size(length) + format().slot_size(); }
};
VOK_FOR_EACH_VERSION(ChangeTest);

TEST_P(ChangeTest, RenameMovesTheBytesUnderANewName) {
  for (const std::uint8_t mode : {std::uint8_t{0}, std::uint8_t{1}}) {
    SetUpFormatted({.arena = 512});
    ASSERT_EQ(Write(5, 1, Payload(1, 33)), 0);
    ASSERT_EQ(Write(5, 2, {}), 0);
    std::uint16_t id = 2;
    EXPECT_EQ(RenameItem(0, mode, 5, &id, 5, 1), 135);
    EXPECT_EQ(RenameItem(0, mode, 0xFFFE, &id, 5, 1), 118);
    EXPECT_EQ(RenameItem(0, mode, 6, nullptr, 5, 1), 115);
    EXPECT_EQ(RenameItem(0, mode, 6, &id, 5, 9), 119);
    id = kAny;
    EXPECT_EQ(RenameItem(0, mode, 6, &id, 5, 1), 0);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(Item(6, 0), Payload(1, 33));
    EXPECT_EQ(ReadCode(5, 1), 119);
  }
}

TEST_P(ChangeTest, DeletesCountDeadSpaceAndRespectTheirRanges) {
  SetUpFormatted({.arena = 512});
  for (std::uint16_t id = 0; id < 8; ++id)
    ASSERT_EQ(Write(static_cast<std::uint16_t>(5 + id / 4), id, Payload(id, id)), 0);
  EXPECT_EQ(DeleteItem(0, 5, 9), 119);
  EXPECT_EQ(DeleteItem(0, 5, kAny), 112);
  EXPECT_EQ(DeleteItem(0, 5, 3), 0);
  EXPECT_EQ(Block(FirstOpened()).dead_bytes, CostOf(3));
  EXPECT_EQ(DeleteItemRange(0, 5, 2, 1), 115);
  EXPECT_EQ(DeleteItemRange(0, 5, 1, kAny), 115);
  EXPECT_EQ(DeleteItemRange(0, 5, kAny, kAny), 115);
  EXPECT_EQ(DeleteItemRange(0, 5, 3, 3), 119);
  EXPECT_EQ(DeleteItemRange(0, 5, 1, 2), 0);
  EXPECT_EQ(Block(FirstOpened()).dead_bytes, CostOf(1) + CostOf(2) + CostOf(3));
  EXPECT_EQ(DeleteTypeRange(0, 1, 0xFFFE), 115);
  EXPECT_EQ(DeleteTypeRange(0, 7, 9), 0);
  EXPECT_EQ(Item(5, 0), Bytes{});
  EXPECT_EQ(DeleteTypeRange(0, 0, 0xFFFD), 0);
  for (std::uint16_t id = 0; id < 8; ++id) EXPECT_EQ(ReadCode(static_cast<std::uint16_t>(5 + id / 4), id), 119);
  ASSERT_EQ(Write(5, 1, Payload(1, 4)), 0);
  device_.steps.clear();
  device_.fail_at = 0;
  EXPECT_EQ(DeleteItem(0, 5, 1), 105);
  device_.fail_at = -1;
}

TEST_P(ChangeTest, ReorganisationMovesByBestFitAndRetiresTheSource) {
  SetUpFormatted({.blocks = 4});
  const std::uint32_t largest = format().largest_item();
  ASSERT_EQ(Write(5, 0, Payload(0, largest - 2000)), 0);
  for (std::uint16_t id = 1; id < 6; ++id) ASSERT_EQ(Write(5, id, Payload(id, 3000)), 0);
  ASSERT_EQ(Block(2).slot_count, 5u);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  ASSERT_EQ(Write(5, 3, Payload(33, 500)), 0) << "goes to the fuller block";
  EXPECT_EQ(ReorganiseBlock(0, 4, 0), 109);
  EXPECT_EQ(ReorganiseBlock(0, 1, 0), 109) << "not Active";
  ASSERT_EQ(ReorganiseBlock(0, 2, 0), 0);
  EXPECT_EQ(Block(2).state, format().retired);
  EXPECT_EQ(Block(0).state, format().active) << "of equally worn blocks the lower index";
  for (const std::uint16_t id : {std::uint16_t{1}, std::uint16_t{4}, std::uint16_t{5}})
    EXPECT_EQ(Item(5, id), Payload(id, 3000));
  EXPECT_EQ(Item(5, 3), Payload(33, 500));

  std::uint16_t block = 3;
  EXPECT_EQ(EraseRetiredBlock(0, &block), 109);
  block = kAny;
  const std::uint32_t wear = Block(2).wear_counter;
  device_.steps.clear();
  device_.fail_at = 0;
  EXPECT_EQ(EraseRetiredBlock(0, &block), 104);
  EXPECT_EQ(block, 2);
  device_.fail_at = -1;
  EXPECT_EQ(EraseRetiredBlock(0, &block), 0) << "an Erasing block is taken again";
  EXPECT_EQ(Block(2).wear_counter, wear - 1);
  EXPECT_EQ(Block(2).state, format().free);
  block = kAny;
  EXPECT_EQ(EraseRetiredBlock(0, &block), 0);
  EXPECT_EQ(block, kAny);
}

TEST_P(ChangeTest, RetiredBlocksAreRoomAfterAReorganisation) {
  SetUpFormatted({.blocks = 4});
  ASSERT_EQ(Write(5, 0, Payload(0, 100)), 0);
  ASSERT_EQ(Write(5, 1, Payload(0, 100)), 0);
  ASSERT_EQ(ReorganiseBlock(0, 3, 0), 0);
  ASSERT_EQ(ReorganiseBlock(0, 0, 0), 0);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  PartitionSpace space{};
  ASSERT_EQ(GetPartitionSpace(0, &space), 0);
  // One of the retired blocks is held back.
  const std::uint32_t empty = format().block_size - format().word - 32;
  EXPECT_EQ(space.free_now, 2 * empty - 2 * CostOf(100));
  EXPECT_EQ(space.free_after_reorganisation, 3 * empty - CostOf(100));
}

TEST_P(ChangeTest, WithoutASpareOrRoomAReorganisationIsRefused) {
  SetUpFormatted({.blocks = 2});
  ASSERT_EQ(Write(5, 0, Payload(0, 100)), 0);
  ASSERT_EQ(ReorganiseBlock(0, 1, 0), 0);
  EXPECT_EQ(ReorganiseBlock(0, 0, 0), 126);
  SetUpFormatted({.blocks = 2, .kind = 2});
  ASSERT_EQ(Write(5, 0, Payload(0, 100)), 0);
  EXPECT_EQ(ReorganiseBlock(0, 1, 0), 141);
  ASSERT_EQ(Write(5, 1, Payload(0, format().largest_item())), 0) << "a write-once partition keeps no spare";
}

TEST_P(ChangeTest, TheAdviceAndTheFiguresFollowTheBytes) {
  SetUpFormatted({.blocks = 2});
  BlockInfo info{};
  ASSERT_EQ(GetBlockInfo(0, 0, &info), 0);
  EXPECT_EQ(info.erase_count, 1u);
  EXPECT_EQ(info.used_bytes + info.largest_item + info.dead_bytes, 0u);
  EXPECT_EQ(GetBlockInfo(0, 2, &info), 109);

  // Dead bytes right below and right at 99 percent of what a block takes.
  const std::uint32_t room = format().block_size - format().word - 32;
  std::uint32_t enough = (99 * room + 99) / 100;
  while ((enough - 2 * format().slot_size()) % 4 != 0) ++enough;
  std::uint16_t block = 0;
  for (const std::uint32_t dead : {enough - 4, enough}) {
    SetUpFormatted({.blocks = 2});
    ASSERT_EQ(Write(5, 1, Payload(1, dead - CostOf(0) - format().slot_size() - format().word)), 0);
    ASSERT_EQ(Write(5, 2, {}), 0);
    ASSERT_EQ(DeleteTypeRange(0, 5, 5), 0);
    ASSERT_EQ(Block(1).dead_bytes, dead);
    EXPECT_EQ(CheckReorgNeed(0, 98, &block, 0), dead == enough ? 123 : 0);
    EXPECT_EQ(CheckReorgNeed(0, 99, &block, 0), 0);
  }
  EXPECT_EQ(CheckReorgNeed(0, 101, &block, 0), 115);
  SetUpFormatted({.blocks = 2});
  const std::uint32_t one_percent = (room + 99) / 100;
  ASSERT_EQ(Write(5, 1, Payload(1, one_percent / 4 * 4)), 0);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  ASSERT_EQ(Write(5, 2, Payload(1, 4)), 0);
  ASSERT_EQ(GetBlockInfo(0, 1, &info), 0);
  PartitionSpace space{};
  ASSERT_EQ(GetPartitionSpace(0, &space), 0);
  EXPECT_EQ(info.largest_item, space.largest_item_now);
  EXPECT_EQ(info.used_bytes, format().block_size - space.free_now - info.dead_bytes);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  EXPECT_EQ(CheckReorgNeed(0, 0, &block, 0), 123);
  EXPECT_EQ(block, 1);
  EXPECT_EQ(CheckReorgNeed(0, 1, &block, 0), 0);

  std::uint8_t overhead = 0;
  EXPECT_EQ(ItemOverhead(0, 0, &overhead), 116);
  for (std::uint32_t bytes = 0; bytes < 8; ++bytes) {
    ASSERT_EQ(ItemOverhead(1, bytes, &overhead), 0);
    EXPECT_EQ(overhead, CostOf(bytes) - bytes);
  }
}

}  // namespace
}  // namespace vok::test
