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

TEST_P(RepairTest, ARecordWithoutSlotBecomesDeadSpaceOfATypeZeroSlot) {
  CutAt(WordSteps() + 1, [&] { Write(6, 9, Payload(4, 21)); });
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Read16(Slot(3)), 0);
  EXPECT_EQ(Read16(Slot(3) + 2), 0);
  EXPECT_EQ(State(Slot(3)), 0u);
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
  for (const std::uint16_t answer : {std::uint16_t{115}, std::uint16_t{105}}) {
    hooks_.program_over_answer = answer;
    ASSERT_EQ(Remount(2), 0);
    EXPECT_EQ(Block(block_).next_slot, 0u) << "refused by the program-over check";
  }
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

TEST_P(RepairTest, TheWholeFreeAreaIsAskedFor) {
  class AskingHooks : public CountingHooks {
   public:
    std::uint16_t CheckProgramOver(std::uint8_t, std::uint32_t address, const std::uint8_t* data,
                                   std::uint32_t length) override {
      EXPECT_EQ(address + length, lowest == 0 ? address + length : lowest) << "from the top down, without gaps";
      EXPECT_EQ(Bytes(data, data + length), Bytes(length, 0xFF));
      if (lowest == 0) end = address + length;
      lowest = address;
      return 0;
    }
    std::uint32_t lowest = 0, end = 0;
  } asking;
  const BlockRecord before = Block(block_);
  PokeWord(static_cast<std::uint32_t>(before.top) - format().word, format().word == 4 ? 0x7FFFFFFF : 0xFFF0);
  TerminateStore();
  InstallPlatformHooks(&asking);
  EXPECT_EQ(Remount(2), 0);
  EXPECT_EQ(asking.lowest, before.next_slot);
  EXPECT_EQ(asking.end, before.top - 4);
  TerminateStore();
  InstallPlatformHooks(&hooks_);
}

TEST_P(RepairTest, AllocatedAndVoidSlotsAreCancelled) {
  for (const std::uint32_t state : {format().allocated, format().void_state}) {
    SetUp();
    ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
    SetState(Slot(3), state);
    ExpectRepaired("last slot");
    EXPECT_EQ(State(Slot(3)), 0u);
    EXPECT_EQ(ReadCode(6, 9), 119);
  }
}

TEST_P(RepairTest, JournalRecordsThatFitNoItemArePassedOver) {
  const Bytes news = Payload(77, 6);
  device_.steps.clear();
  ASSERT_EQ(WriteItemPart(0, 1, 5, 0, news.data(), 6, 10), 0);
  const int steps = static_cast<int>(device_.steps.size());

  // A record with an offset beyond the item: nothing is programmed, the record goes.
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
  const Bytes unfinished = PartitionBytes();
  PokeWord(length_word, 4);
  EXPECT_EQ(Remount(2), 0);
  Poke(kBase, unfinished);
  Poke16(length_word - 6 - 2 - format().word, 3);  // a rename, in a record two bytes too short for the old name
  PokeWord(length_word, 6 + format().word + 2);
  EXPECT_EQ(Remount(2), 0);
}

TEST_P(RepairTest, APartThatEndsWithItsItemIsWritten) {
  const Bytes news = Payload(77, 6);
  device_.steps.clear();
  ASSERT_EQ(WriteItemPart(0, 1, 5, 0, news.data(), 6, 24), 0);
  const int steps = static_cast<int>(device_.steps.size());
  SetUp();
  CutAt(steps - WordSteps() - 1, [&] { WriteItemPart(0, 1, 5, 0, news.data(), 6, 24); });
  ASSERT_EQ(Item(5, 0), Item3(0));
  ASSERT_EQ(Remount(2), 0);
  Bytes expected = Item3(0);
  std::copy(news.begin(), news.end(), expected.begin() + 24);
  EXPECT_EQ(Item(5, 0), expected);
}

TEST_P(RepairTest, NothingIsPlacedOverLiveItemsBelowATornLocation) {
  ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
  ASSERT_EQ(DeleteItem(0, 6, 9), 0);
  PokeWord(Slot(3) + 4, ReadWord(Slot(0) + 4) & ~format().state_mask);
  ExpectRepaired("a Deleted slot that names the highest record");
  ASSERT_EQ(Write(6, 10, Payload(5, 400)), 0);
  EXPECT_EQ(Remount(1), 0);
  for (std::uint16_t id = 0; id < 3; ++id) EXPECT_EQ(Item(5, id), Item3(id));
}

/// A cancelled slot whose location could not be rebuilt names no record.
/// In version 3 a cut may leave any bits of the location set that were to be cleared.
TEST_P(RepairTest, AnUnfinishedSlotGetsTheLocationThatItWasToHave) {
  ASSERT_EQ(Write(6, 9, Payload(4, 21)), 0);
  const std::uint32_t location = ReadWord(Slot(3) + 4) & ~format().state_mask;
  PokeWord(Slot(3) + 4, format().allocated | location | (location + 1));  // one bit more
  ExpectRepaired("a torn location");
  EXPECT_EQ(ReadWord(Slot(3) + 4), location);
}

TEST_P(RepairTest, ALocationWordOfZeroNamesNoRecord) {
  const BlockRecord before = Block(block_);
  Poke16(Slot(3), 6);
  Poke16(Slot(3) + 2, 9);
  PokeWord(Slot(3) + 4, 0);
  ASSERT_EQ(Remount(1), 0);
  const BlockRecord after = Block(block_);
  EXPECT_EQ(after.top, before.top);
  EXPECT_EQ(after.next_slot, Slot(4));
  EXPECT_EQ(after.deleted_slots, 1u);
  EXPECT_EQ(after.dead_bytes, 0u);
}

TEST_P(RepairTest, OverlappingDeadRecordsUseNoLessThanNothing) {
  SetUpFormatted();
  ASSERT_EQ(Write(5, 1, Payload(1, format().block_size / 2)), 0);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  for (std::uint32_t copy = 1; copy < 4; ++copy) Poke(Slot(copy), Flash(Slot(0), format().slot_size()));
  ASSERT_EQ(Remount(1), 0);
  BlockInfo info{};
  ASSERT_EQ(GetBlockInfo(0, block_, &info), 0);
  EXPECT_EQ(info.used_bytes, 0u);
}

TEST_P(RepairTest, TheTailOfAFullBlockIsNotLookedAt) {
  SetUpFormatted();
  std::uint16_t id = 1;
  ASSERT_EQ(WriteItem(0, 1, 5, &id, nullptr, format().largest_item() - 4), 0);
  PokeWord(static_cast<std::uint32_t>(Block(block_).top) - format().word, 0);
  EXPECT_EQ(Remount(1), 0);
}

TEST_P(RepairTest, AFreeBlockWithoutRoomIsNotOffered) {
  SetUpFormatted({.blocks = 4});
  Poke(SlotAddress(3, 0), Bytes(format().block_size - 32, 0));
  ASSERT_EQ(Remount(2, {.blocks = 4}), 0);
  EXPECT_EQ(Write(5, 1, Payload(1, 30)), 0);
  EXPECT_EQ(Block(2).state, format().active);
  EXPECT_EQ(Block(3).state, format().free);
}

/// Emptied cache entries match an item of type 0, which only damage makes.
TEST_P(RepairTest, DeletingInTypeZeroEnds) {
  for (const bool by_type : {false, true}) {
    SetUpFormatted({.arena = 512});
    ASSERT_EQ(Write(5, 0, Payload(0, 30)), 0);
    Poke16(Slot(0), 0);
    EXPECT_EQ(by_type ? DeleteTypeRange(0, 0, 0) : DeleteItemRange(0, 0, 0, 0), 0);
    EXPECT_EQ(State(Slot(0)), 0u);
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
