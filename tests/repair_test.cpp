#include "support/store_fixture.h"

namespace vok::test {
namespace {

/// A partition whose block in use holds items 5/0 … 5/2 of 30, 7 and 0 bytes, in slots 0 to 2.
class RepairTest : public StoreTest {
 protected:
  void SetUp() override {
    SetUpFormatted();
    for (std::uint16_t id = 0; id < 3; ++id) ASSERT_EQ(Write(5, id, Item3(id)), 0);
    block_ = FirstOpened();
  }

  static Bytes Item3(std::uint16_t id) { return Payload(id, id == 0 ? 30 : id == 1 ? 7 : 0); }

  /// Check mode refuses without a device step; repair mode ends with a partition that a check accepts.
  void ExpectRepaired(const char* what) {
    const Bytes before = PartitionBytes();
    EXPECT_EQ(Remount(1), 132) << what;
    EXPECT_EQ(PartitionBytes(), before) << what;
    EXPECT_EQ(Remount(2), 0) << what;
    EXPECT_EQ(Remount(2), 0) << what;
    EXPECT_TRUE(device_.steps.empty()) << what << ": a second repair has nothing to do";
    EXPECT_EQ(Remount(1), 0) << what;
    for (std::uint16_t id = 0; id < 3; ++id) EXPECT_EQ(Item(5, id), Item3(id)) << what;
  }

  /// Cuts the power before the given device step of @p operation.
  template <typename Operation>
  void CutAt(int step, Operation operation) {
    device_.steps.clear();
    device_.throw_at = step;
    EXPECT_THROW(operation(), RecordingDevice::Cut);
    device_.throw_at = -1;
  }

  std::uint32_t Slot(std::uint32_t index) const { return SlotAddress(block_, index); }

  /// Steps of one location or length word.
  int WordSteps() const { return static_cast<int>(format().word / 2); }

  std::uint16_t block_ = 0;
};
VOK_FOR_EACH_VERSION(RepairTest);

TEST_P(RepairTest, AWriteCutAnywhereBeforeItsCommitLeavesNoItem) {
  SetUpFormatted();
  ASSERT_EQ(Write(5, 0, Payload(0, 30)), 0);
  device_.steps.clear();
  ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
  const int steps = static_cast<int>(device_.steps.size());
  ASSERT_EQ(steps, WordSteps() + 1 + 2 + 2 * WordSteps()) << "length word, payload, type and ID, Allocated, Valid";
  for (int step = 1; step < steps; ++step) {
    SetUp();
    CutAt(step, [&] { Write(6, 9, Payload(4, 21)); });
    if (Remount(1) == 0)
      continue;  // half a length word of zeros is an erased word still, and half a commit a whole one
    EXPECT_EQ(Remount(2), 0) << step;
    EXPECT_EQ(ReadCode(6, 9), 119) << step;
    EXPECT_EQ(Remount(1), 0) << step;
    EXPECT_EQ(Write(6, 9, Payload(4, 21)), 0) << step;
    for (std::uint16_t id = 0; id < 3; ++id) EXPECT_EQ(Item(5, id), Item3(id)) << step;
  }
}

TEST_P(RepairTest, ARecordWithoutSlotBecomesDeadSpaceOfATypeZeroSlot) {
  const std::uint32_t top = static_cast<std::uint32_t>(Block(block_).top);
  const std::uint32_t dead = Block(block_).dead_bytes;
  CutAt(WordSteps() + 1, [&] { Write(6, 9, Payload(4, 21)); });
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Read16(Slot(3)), 0);
  EXPECT_EQ(Read16(Slot(3) + 2), 0);
  EXPECT_EQ(State(Slot(3)), 0u);
  EXPECT_EQ(Block(block_).top, top - format().record_size(21));
  EXPECT_EQ(Block(block_).dead_bytes, dead + format().record_size(21) + format().slot_size());
  EXPECT_EQ(Block(block_).deleted_slots, 1u);
}

TEST_P(RepairTest, GarbageBelowTheLowestRecordIsClearedOrClosesTheBlock) {
  const BlockRecord before = Block(block_);
  const auto below_top = static_cast<std::uint32_t>(before.top - format().word);
  PokeWord(below_top, 0xFFF0);  // no length that fits
  if (format().word == 4) PokeWord(below_top, 0x7FFFFFFF);
  ExpectRepaired("garbage");
  EXPECT_EQ(Block(block_).top, (before.top - format().word) & ~std::uint64_t{3});

  SetUp();
  PokeWord(below_top, 0xFFF0);
  if (format().word == 4) PokeWord(below_top, 0x7FFFFFFF);
  hooks_.program_over_answer = 105;
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Block(block_).next_slot, 0u) << "refused by the program-over check";
  hooks_.allocations_left = 5;  // the tables of the set-up
  EXPECT_EQ(Remount(2), 128);
  hooks_.allocations_left = -1;
  hooks_.program_over_answer = 0;

  SetUp();
  PokeWord(below_top, 8);
  PokeWord(static_cast<std::uint32_t>(before.top) - format().record_size(8) - format().word,
           0x55);  // and more below it
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Block(block_).next_slot, 0u);
}

TEST_P(RepairTest, AllocatedAndVoidSlotsAreCancelled) {
  for (const std::uint32_t state : {format().allocated, format().void_state}) {
    SetUp();
    ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
    SetState(Slot(3), state);
    ExpectRepaired("last slot");
    EXPECT_EQ(State(Slot(3)), 0u);
    EXPECT_EQ(ReadCode(6, 9), 119);
    EXPECT_EQ(Block(block_).deleted_slots, 1u);
  }
}

TEST_P(RepairTest, ASlotWhoseLocationWasNeverProgrammedGetsTheOneItWouldHaveHad) {
  CutAt(2 * WordSteps() + 3 - WordSteps(), [&] { Write(6, 9, Payload(4, 21)); });
  ASSERT_EQ(Read16(Slot(3)), 6);
  ASSERT_EQ(ReadWord(Slot(3) + 4), format().word == 2 ? 0xFFFFu : 0xFFFFFFFFu);
  const std::uint64_t top = Block(block_).top;
  ASSERT_EQ(Remount(2), 0);
  if (GetParam() == 3) return;  // version 3 deletes the slot as it stands; its location leads out of the block
  EXPECT_EQ(State(Slot(3)), 0u);
  EXPECT_EQ(Block(block_).top, top);
  EXPECT_EQ(Remount(1), 0);
}

TEST_P(RepairTest, AReplaceMarkerRetiresTheFirstOfTwoCopies) {
  // Old copy in slot 0, new copy in slot 3, marker in slot 4: cut before the old copy is retired.
  device_.steps.clear();
  ASSERT_EQ(Write(5, 0, Payload(9, 40)), 0);
  const int steps = static_cast<int>(device_.steps.size());
  SetUp();
  CutAt(steps - 2 * WordSteps(), [&] { Write(5, 0, Payload(9, 40)); });
  ASSERT_EQ(State(Slot(0)), format().valid);
  ASSERT_EQ(State(Slot(3)), format().valid);
  ASSERT_EQ(State(Slot(4)), format().valid);
  EXPECT_EQ(Remount(1), 132);
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Item(5, 0), Payload(9, 40));
  EXPECT_EQ(State(Slot(0)), 0u);
  EXPECT_EQ(State(Slot(4)), 0u);

  SetUp();  // the marker alone: the old copy stays
  CutAt(steps - 3 * WordSteps(), [&] { Write(5, 0, Payload(9, 40)); });
  SetState(Slot(3), 0);
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Item(5, 0), Item3(0));
  EXPECT_EQ(Remount(1), 0);
}

TEST_P(RepairTest, JournalRecordsAreReplayedOrPassedOver) {
  const Bytes news = Payload(77, 6);
  device_.steps.clear();
  ASSERT_EQ(WriteItemPart(0, 1, 5, 0, news.data(), 6, 10), 0);
  const int steps = static_cast<int>(device_.steps.size());
  SetUp();
  CutAt(steps - WordSteps() - 1, [&] { WriteItemPart(0, 1, 5, 0, news.data(), 6, 10); });
  EXPECT_EQ(Remount(1), 132);
  ASSERT_EQ(Remount(2), 0);
  Bytes expected = Item3(0);
  std::copy(news.begin(), news.end(), expected.begin() + 10);
  EXPECT_EQ(Item(5, 0), expected);

  // The same record with an offset beyond the item: nothing is programmed, the record goes.
  SetUp();
  CutAt(steps - WordSteps() - 1, [&] { WriteItemPart(0, 1, 5, 0, news.data(), 6, 10); });
  const auto entry = static_cast<std::uint32_t>(Block(block_).top);
  ASSERT_EQ(Read16(entry), 1);
  PokeWord(entry + 6, 25);
  ExpectRepaired("offset beyond the item");

  // An unknown kind ends the mount; a record too short for its fields is retired without effect.
  SetUp();
  CutAt(steps - WordSteps() - 1, [&] { WriteItemPart(0, 1, 5, 0, news.data(), 6, 10); });
  Poke16(entry, 4);
  EXPECT_EQ(Remount(2), 122);
  const std::uint32_t length = 6 + format().word + 6;
  const std::uint32_t length_word = entry + format().record_size(length) - format().word;
  PokeWord(length_word, 4);
  EXPECT_EQ(Remount(2), 0);
}

TEST_P(RepairTest, ARenameMarkerRetiresTheOldNameOnceTheNewOneIsValid) {
  std::uint16_t id = 44;
  device_.steps.clear();
  ASSERT_EQ(RenameItem(0, 1, 8, &id, 5, 0), 0);
  const int steps = static_cast<int>(device_.steps.size());
  SetUp();
  CutAt(steps - 2 * WordSteps(), [&] { RenameItem(0, 1, 8, &id, 5, 0); });
  EXPECT_EQ(Remount(1), 132);
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(ReadCode(5, 0), 119);
  EXPECT_EQ(Item(8, 44), Item3(0));
}

TEST_P(RepairTest, AReorganisationIsFinishedFromEveryStep) {
  device_.steps.clear();
  ASSERT_EQ(ReorganiseBlock(0, block_, 0), 0);
  const int steps = static_cast<int>(device_.steps.size());
  for (int step = 1; step < steps; ++step) {
    SetUp();
    CutAt(step, [&] { ReorganiseBlock(0, block_, 0); });
    EXPECT_EQ(Remount(1), 132) << step;
    ASSERT_EQ(Remount(2), 0) << step;
    EXPECT_EQ(Remount(1), 0) << step;
    for (std::uint16_t id = 0; id < 3; ++id) EXPECT_EQ(Item(5, id), Item3(id)) << step;
  }
}

TEST_P(RepairTest, ADeviceThatDropsProgramsEndsTheRepair) {
  class Deaf : public FlashDevice {
    std::uint16_t ProgramWord16(std::uint32_t, std::uint16_t) override { return 0; }
  } deaf;
  ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
  SetState(Slot(3), format().allocated);
  InstallFlashDevice(&deaf);
  EXPECT_EQ(Remount(2), 105);
  InstallFlashDevice(&device_);
}

}  // namespace
}  // namespace vok::test
