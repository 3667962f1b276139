#include "support/store_fixture.h"

namespace vok::test {
namespace {

class DirectoryTest : public StoreTest {
 protected:
  /// Moves the bytes of a slot's ID out of the way, so that only a remembered location still finds the item.
  void HideSlot(std::uint32_t slot) { Poke16(slot + 2, 0x7777); }
  static std::uint32_t CacheBytes(std::uint32_t entries) { return 8 + 16 * entries; }
};
VOK_FOR_EACH_VERSION(DirectoryTest);

TEST_P(DirectoryTest, ConfigurationIsCheckedAndCarvedFromTheArena) {
  EXPECT_EQ(DefineTypeRange(0, 1, 2), 138);
  SetUpErased({.arena = 160});
  EXPECT_EQ(DefineTypeRange(1, 1, 2), 116);
  EXPECT_EQ(DefineTypeRange(0, 0, 2), 118);
  EXPECT_EQ(DefineTypeRange(0, 3, 2), 118);
  EXPECT_EQ(DefineTypeRange(0, 65533, 65534), 118);
  EXPECT_EQ(DefineTypeRange(0, 65533, 65533), 0);  // 32 bytes
  EXPECT_EQ(DefineTypeRange(0, 10, 12), 0);        // 64 bytes
  EXPECT_EQ(DefineTypeRange(0, 20, 23), 128) << "80 bytes do not fit";
  EXPECT_EQ(SetTypeIdCount(0, 11, 0), 115);
  EXPECT_EQ(SetTypeIdCount(0, 11, 65536), 115);
  EXPECT_EQ(SetTypeIdCount(0, 13, 1), 118);
  EXPECT_EQ(SetTypeIdCount(0, 11, 9), 128);
  EXPECT_EQ(SetTypeIdCount(0, 11, 8), 0);
  ASSERT_EQ(MountPartition(0, 0), 0);
  EXPECT_EQ(DefineTypeRange(0, 1, 1), 122);
  EXPECT_EQ(SetTypeIdCount(0, 11, 1), 122);
}

TEST_P(DirectoryTest, AConfiguredTypeIsAnsweredFromItsTableAlone) {
  SetUpErased({.arena = 512});
  ASSERT_EQ(DefineTypeRange(0, 5, 6), 0);
  ASSERT_EQ(SetTypeIdCount(0, 5, 4), 0);
  ASSERT_EQ(MountPartition(0, 0), 0);
  for (std::uint16_t id = 0; id < 6; ++id) ASSERT_EQ(Write(5, id, Payload(id, 8)), 0);
  std::uint32_t count = 0;
  ASSERT_EQ(ListItems(0, 5, nullptr, nullptr, nullptr, &count, nullptr), 0);
  EXPECT_EQ(count, 6u) << "IDs outside the table count, too";

  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  SetState(SlotAddress(FirstOpened(), 2), format().valid);
  for (const bool with_own_hooks : {false, false, true}) {
    InstallPlatformHooks(with_own_hooks ? &hooks_ : nullptr);
    EXPECT_EQ(ReadCode(5, 2), 119) << "an empty slot means absent, whatever a scan would find";
    EXPECT_EQ(Item(5, 3), Payload(3, 8));
    EXPECT_EQ(Item(5, 5), Payload(5, 8)) << "an ID outside the table";
    EXPECT_EQ(ReadCode(5, 9), 119);
  }
  std::uint16_t id = 0;
  ASSERT_EQ(MakeId(0, 5, &id), 0);
  EXPECT_EQ(id, 2);
  ASSERT_EQ(Write(5, 2, Payload(2, 9)), 0);
  SetState(SlotAddress(FirstOpened(), 2), 0);
  ASSERT_EQ(MakeId(0, 5, &id), 0);
  EXPECT_EQ(id, 6) << "a full table: the lowest ID not on the flash";
}

TEST_P(DirectoryTest, TheMountFillsTheTablesFromTheValidSlots) {
  SetUpFormatted({.arena = 512});
  for (std::uint16_t id = 0; id < 3; ++id) ASSERT_EQ(Write(5, id, Payload(id, 8)), 0);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  TerminateStore();
  SetUpAgain({.arena = 512});
  ASSERT_EQ(DefineTypeRange(0, 5, 5), 0);
  ASSERT_EQ(SetTypeIdCount(0, 5, 8), 0);
  const std::uint32_t slot = SlotAddress(FirstOpened(), 2);
  SetState(slot, format().allocated);
  EXPECT_EQ(MountPartition(0, 1), 132);
  SetState(slot, format().valid);
  ASSERT_EQ(MountPartition(0, 1), 0);
  std::uint32_t count = 0;
  ASSERT_EQ(ListItems(0, 5, nullptr, nullptr, nullptr, &count, nullptr), 0);
  EXPECT_EQ(count, 2u) << "a failed mount before does not count twice";
  EXPECT_EQ(Block(FirstOpened()).deleted_slots, 1u);
  HideSlot(SlotAddress(FirstOpened(), 2));
  EXPECT_EQ(ReadCode(5, 2), 0);
  EXPECT_EQ(ReadCode(5, 1), 119);
}

TEST_P(DirectoryTest, TheCacheKeepsTheNewestLocationsAndDropsTheOldest) {
  SetUpFormatted({.arena = CacheBytes(3)});
  for (std::uint16_t id = 0; id < 4; ++id) ASSERT_EQ(Write(5, id, Payload(id, 8)), 0);
  for (std::uint16_t id = 0; id < 4; ++id) HideSlot(SlotAddress(FirstOpened(), id));
  EXPECT_EQ(ReadCode(5, 0), 119) << "overwritten by the fourth";
  for (std::uint16_t id = 1; id < 4; ++id) EXPECT_EQ(ReadCode(5, id), 0) << id;
  ASSERT_EQ(Write(5, 2, Payload(2, 12)), 0) << "replaced in place";
  for (std::uint16_t id = 1; id < 4; ++id) EXPECT_EQ(ReadCode(5, id), 0) << id;
  ASSERT_EQ(DeleteItem(0, 5, 3), 0);
  EXPECT_EQ(ReadCode(5, 3), 119);
  ASSERT_EQ(Write(6, 0, Payload(1, 8)), 0);
  EXPECT_EQ(ReadCode(5, 1), 119) << "head moves on over the emptied entry";
}

TEST_P(DirectoryTest, TheCacheTakesWhatIsLeftAndNothingLessThanOneEntry) {
  for (const std::uint32_t arena : {23u, 24u, 39u, 40u}) {
    SetUpFormatted({.arena = arena});
    ASSERT_EQ(Write(5, 0, Payload(0, 8)), 0);
    ASSERT_EQ(Write(5, 1, Payload(1, 8)), 0);
    HideSlot(SlotAddress(FirstOpened(), 0));
    HideSlot(SlotAddress(FirstOpened(), 1));
    EXPECT_EQ(ReadCode(5, 1), arena < 24 ? 119 : 0) << arena;
    EXPECT_EQ(ReadCode(5, 0), arena < 40 ? 119 : 0) << arena;
  }
}

}  // namespace
}  // namespace vok::test
