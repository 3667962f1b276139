#include <array>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

class MountTest : public StoreTest {
 protected:
  PartitionDescriptor Descriptor(std::uint16_t blocks, std::uint8_t kind) {
    return StoreTest::Descriptor({.blocks = blocks, .kind = kind, .locks = 1, .handles = 1});
  }

  std::uint16_t SetUpOne(const PartitionDescriptor& descriptor) {
    const std::uint16_t code = SetUpPartitions(1, &descriptor);
    if (code == 0) TerminateStore();
    return code;
  }
};
VOK_FOR_EACH_VERSION(MountTest);

TEST_P(MountTest, SetUpRefusesBadDescriptorsAndFreesWhatItMade) {
  EXPECT_EQ(SetUpPartitions(0, nullptr), 115);
  EXPECT_EQ(SetUpPartitions(1, nullptr), 115);
  EXPECT_EQ(SetUpOne(Descriptor(1, 0)), 109) << "a read/write partition needs a spare";
  EXPECT_EQ(SetUpOne(Descriptor(0, 1)), 109);
  EXPECT_EQ(SetUpOne(Descriptor(1, 2)), 0);
  EXPECT_EQ(SetUpOne(Descriptor(1, 3)), 115);
  auto odd = Descriptor(2, 0);
  odd.base = ~std::uint64_t{3};
  EXPECT_EQ(SetUpOne(odd), 115) << "addresses would wrap around";
  odd.base = kBase + 2;
  EXPECT_EQ(SetUpOne(odd), 115);
  odd = Descriptor(2, 0);
  odd.state = 0;
  EXPECT_EQ(SetUpOne(odd), 115);
  EXPECT_EQ(SetUpOne(Descriptor(65535 / 48 + 1, 0)), 128) << "a table beyond 65535 bytes";
  EXPECT_EQ(SetUpOne(Descriptor(65535 / 48, 0)), 0);

  const std::array<PartitionDescriptor, 2> two = {Descriptor(2, 0), Descriptor(3, 0)};
  for (int locks = 0; locks < 4; ++locks) {
    hooks_.locks_left = locks;
    EXPECT_EQ(SetUpPartitions(2, two.data()), 129) << locks;
    EXPECT_EQ(hooks_.memory_alive + hooks_.locks_alive, 0) << locks;
  }
  hooks_.locks_left = -1;
  for (int allocations = 0; allocations < 8; ++allocations) {
    hooks_.allocations_left = allocations;
    EXPECT_EQ(SetUpPartitions(2, two.data()), 128) << allocations;
    EXPECT_EQ(hooks_.memory_alive, 0) << allocations;
    EXPECT_EQ(hooks_.locks_alive, 0) << allocations;
  }
  hooks_.allocations_left = -1;
  ASSERT_EQ(SetUpPartitions(2, two.data()), 0);
  EXPECT_EQ(SetUpPartitions(2, two.data()), 107);
}

TEST_P(MountTest, SetUpMakesTheLocksThatAreTaken) {
  for (const std::uint8_t kind : Bytes{0, 1, 2}) {
    for (const std::uint32_t arena : {0u, 64u}) {
      SetUpErased({.blocks = 2, .kind = kind, .arena = arena});
      EXPECT_EQ(hooks_.locks_alive, (kind != 1 ? 2 : 0) + (arena != 0 ? 1 : 0)) << int{kind} << '/' << arena;
    }
  }
}

TEST_P(MountTest, ModesAndGuardsAnswerInOrder) {
  EXPECT_EQ(MountPartition(0, 2), 138);
  std::array<PartitionDescriptor, 3> three = {Descriptor(2, 0), Descriptor(1, 1), Descriptor(9, 3)};
  three[2].state = 2;
  three[2].base = 1;
  three[2].block_size = 0;
  ASSERT_EQ(SetUpPartitions(3, three.data()), 0);
  EXPECT_EQ(MountPartition(3, 0), 116);
  EXPECT_EQ(MountPartition(0, 3), 111);
  EXPECT_EQ(ReadCode(5, 1), 140);
  EXPECT_EQ(MountPartition(1, 0), 134);
  EXPECT_EQ(MountPartition(1, 2), 134);
  EXPECT_EQ(MountPartition(0, 0), 0);
  EXPECT_EQ(MountPartition(0, 2), 122);
  EXPECT_EQ(MountPartition(2, 2), 0) << "an unused partition has nothing to do";
  std::uint32_t length = 0;
  EXPECT_EQ(GetItemLength(2, 5, 1, &length), 119);
  EXPECT_EQ(ReleasePointer(2, 0, 1), 117) << "it holds no address";
  EXPECT_EQ(TerminateStore(), 0);
  EXPECT_EQ(TerminateStore(), 138);
}

TEST_P(MountTest, FormatWritesTheHeaderInOrderAndCountsWear) {
  SetUpErased({.blocks = 2});
  ASSERT_EQ(MountPartition(0, 0), 0);
  std::array<char, 32> version{};
  std::snprintf(version.data(), version.size(), "16 40006=%x", GetParam());
  std::array<char, 32> state{};
  std::snprintf(state.data(), state.size(), "16 4000c=%x", format().free);
  const std::vector<std::string> first(device_.steps.begin(), device_.steps.begin() + 8);
  EXPECT_EQ(first, (std::vector<std::string>{"erase 40000", "16 40000=5461", "16 40002=7271", "16 40004=0",
                                             version.data(), "16 40008=ffff", "16 4000a=fffe", state.data()}));
  EXPECT_EQ(Block(1).wear_counter, 0xFFFFFFFEu);
  ASSERT_EQ(Remount(0, {.blocks = 2}), 0);
  EXPECT_EQ(Block(1).wear_counter, 0xFFFFFFFDu);
  EXPECT_EQ(Read16(BlockBase(1) + 10), 0xFFFD);
}

TEST_P(MountTest, UnfinishedBlockHeadersFailTheCheckAndAreFinishedByARepair) {
  const Format& f = format();
  using Case = std::pair<std::uint16_t, std::uint16_t>;
  for (const auto& [state, repaired] : {Case{f.opening, f.active}, Case{0xFFFF, f.free}, Case{f.retired, f.free},
                                        Case{f.reorg_target, f.active}, Case{0x1234, f.free}}) {
    SCOPED_TRACE(state);
    SetUpFormatted();
    ASSERT_EQ(Write(5, 1, Payload(1, 50)), 0);
    Poke16(BlockBase(0) + 12, state);
    const Bytes before = PartitionBytes();
    EXPECT_EQ(Remount(1), 132);
    EXPECT_TRUE(device_.steps.empty());
    EXPECT_EQ(PartitionBytes(), before);
    EXPECT_EQ(Remount(2), 0);
    EXPECT_EQ(Block(0).state, repaired);
    EXPECT_EQ(Read16(BlockBase(0) + 12), repaired);
    EXPECT_EQ(Item(5, 1), Payload(1, 50));
    EXPECT_EQ(Remount(1), 0);
  }
}

TEST_P(MountTest, OneMissingSignatureIsAnInterruptedFormatTwoAreNoPartition) {
  SetUpFormatted();
  ASSERT_EQ(Write(5, 1, Payload(1, 50)), 0);
  Poke16(BlockBase(0), 0x5400);
  EXPECT_EQ(Remount(1), 132);
  ASSERT_EQ(Remount(2), 0);
  EXPECT_EQ(Block(0).wear_counter, 0xFFFFFFFEu);
  EXPECT_EQ(Item(5, 1), Payload(1, 50));
  Poke16(BlockBase(0), 0x5400);
  Poke16(BlockBase(1), 0x5400);
  EXPECT_EQ(Remount(2), 125);
  TerminateStore();
  SetUpErased({.blocks = 1, .kind = 2});
  EXPECT_EQ(MountPartition(0, 2), 125) << "the only block";
}

}  // namespace
}  // namespace vok::test
