#include <array>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

class ClientTest : public StoreTest {
 protected:
  void SetUp() override {
    SetUpFormatted({.blocks = 3, .locks = 2, .handles = 2});
    for (std::uint16_t id = 0; id < 3; ++id) ASSERT_EQ(Write(5, id, Payload(id, 20u + id)), 0);
  }
  std::uint16_t Register(std::uint32_t client) {
    std::uint16_t lock = 77;
    EXPECT_EQ(RegisterClient(0, client, &lock), 0);
    return lock;
  }
};
VOK_FOR_EACH_VERSION(ClientTest);

TEST_P(ClientTest, HandlesReadAndFollowTheirItem) {
  std::array<std::uint32_t, 3> handle{};
  std::uint32_t length = 0;
  ASSERT_EQ(OpenItem(0, 5, 0, &handle[0], &length), 0);
  ASSERT_EQ(OpenItem(0, 5, 1, &handle[1], &length), 0);
  EXPECT_EQ(handle[0], 0x00010000u);
  EXPECT_EQ(handle[1], 0x00010001u);
  EXPECT_EQ(OpenItem(0, 5, 2, &handle[2], &length), 136);
  EXPECT_EQ(length, 22u);
  EXPECT_EQ(handle[2], 0u);

  Bytes data(21);
  ASSERT_EQ(ReadHandle(handle[1], 21, 0, data.data()), 0);
  EXPECT_EQ(data, Payload(1, 21));
  EXPECT_EQ(ReadHandleValue(handle[1], 2, 3), static_cast<std::uint32_t>(data[3] << 8 | data[4]));
  EXPECT_EQ(ReadHandleValue(handle[1], 1, 3), data[3]);
  EXPECT_EQ(ReadHandleValue(handle[1], 4, 2),
            ReadHandleValue(handle[1], 2, 2) << 16 | ReadHandleValue(handle[1], 2, 4));
  hooks_.reports.clear();
  EXPECT_EQ(ReadHandleValue(handle[1], 3, 3) + ReadHandleValue(handle[1], 2, 0xF0000000), 0u);
  EXPECT_EQ(hooks_.reports, (std::vector<std::uint16_t>{115, 114}));
  EXPECT_EQ(ReadHandle(0x00010002, 1, 0, data.data()), 110);
  EXPECT_EQ(ReadHandle(5, 1, 0, data.data()), 116) << "partition field 0";
  EXPECT_EQ(ReadHandle(handle[1], 1, 0xFFFFFFFF, data.data()), 114);
  EXPECT_EQ(ReadHandle(handle[1], 0, 0xFFFFFFFF, nullptr), 0);

  ASSERT_EQ(Write(5, 1, Payload(9, 30)), 0);
  data.resize(30);
  ASSERT_EQ(ReadHandle(handle[1], 30, 0, data.data()), 0);
  EXPECT_EQ(data, Payload(9, 30)) << "after a rewrite";
  ASSERT_EQ(ReorganiseBlock(0, FirstOpened(), 0), 0);
  ASSERT_EQ(ReadHandle(handle[1], 30, 0, data.data()), 0);
  EXPECT_EQ(data, Payload(9, 30)) << "after a reorganisation";
  EXPECT_EQ(CloseHandle(handle[0]), 0);
  EXPECT_EQ(CloseHandle(handle[0]), 0);
  const int locks_taken = hooks_.locks_taken;
  EXPECT_EQ(CloseHandle(0x00010002), 110);
  EXPECT_EQ(hooks_.locks_taken, locks_taken) << "refused before any lock";
  EXPECT_EQ(OpenItem(0, 5, 2, &handle[2], &length), 0);
  EXPECT_EQ(handle[2], handle[0]);
}

/// A free entry holds 0, and so would the handle of a payload that damage lets begin at address 0.
TEST_P(ClientTest, FreeHandlesStayFreeWhateverMoves) {
  TerminateStore();
  PartitionDescriptor descriptor = Descriptor({.blocks = 1, .kind = 2, .handles = 2});
  descriptor.base = 0;
  ASSERT_EQ(SetUpPartitions(1, &descriptor), 0);
  ASSERT_EQ(MountPartition(0, 0), 0);
  ASSERT_EQ(Write(5, 1, Payload(1, 8)), 0);
  const std::uint32_t length = GetParam() == 1 ? 0x102 : 0x100;
  PokeWord(32 + 4, format().valid | 0x40);
  PokeWord(length, length);
  ASSERT_EQ(Write(5, 1, Payload(2, 9)), 0);
  std::uint32_t handle = 0;
  std::uint32_t ignored = 0;
  EXPECT_EQ(OpenItem(0, 5, 1, &handle, &ignored), 0);
  EXPECT_EQ(handle, 0x00010000u);
}

TEST_P(ClientTest, ListsOfHandlesWithAndWithoutASet) {
  std::array<OpenedItem, 3> records{};
  std::uint32_t count = 1;
  EXPECT_EQ(OpenItems(0, 5, nullptr, nullptr, records.data(), &count), 120);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(records[0].id, 0);
  EXPECT_EQ(records[0].length, 20u);
  records[1].handle = 0x00010009;
  EXPECT_EQ(CloseHandles(records.data(), 1), 0) << "what follows the list is not looked at";
  ValueSetChunk* set = nullptr;
  ASSERT_EQ(GetItemIdSet(0, 5, &set), 0);
  std::uint16_t cursor = 1;
  count = 3;
  EXPECT_EQ(OpenItems(0, 5, &cursor, set, records.data(), &count), 0);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(records[0].id, 1);
  EXPECT_EQ(records[1].length, 22u);
  cursor = 0;
  EXPECT_EQ(OpenItems(0, 5, &cursor, set, records.data(), &count), 136);
  EXPECT_EQ(count, 2u) << "the number collected";
  records[1].handle = 0x00010009;
  EXPECT_EQ(CloseHandles(records.data(), 2), 110);

  // The set still names 5/0 and 5/2, between which 5/1 is not collected, and one that is gone.
  FreeItemIdSet(set);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  ASSERT_EQ(GetItemIdSet(0, 5, &set), 0);
  ASSERT_EQ(Write(5, 1, {}), 0);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  ASSERT_EQ(Remount(1, {.blocks = 3, .locks = 2, .handles = 2}), 0);
  cursor = 0;
  count = 3;
  EXPECT_EQ(OpenItems(0, 5, &cursor, set, records.data(), &count), 119);
  EXPECT_EQ(count, 1u);
  std::array<ItemPointer, 3> pointers{};
  cursor = 0;
  count = 3;
  EXPECT_EQ(GetItemPointers(0, 5, &cursor, set, pointers.data(), &count, Register(3)), 119);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(pointers[0].length, 20u);
  EXPECT_EQ(OpenItems(0, 6, &(cursor = 0), set, records.data(), &count), 118) << "the set of another type";
  FreeItemIdSet(set);
}

TEST_P(ClientTest, ClientsRegisterOnceAndPointersAreCounted) {
  const std::uint16_t lock = Register(0xABCD1234);
  EXPECT_EQ(lock, 1);
  std::uint16_t other = 7;
  EXPECT_EQ(RegisterClient(0, 0, &other), 101);
  EXPECT_EQ(RegisterClient(0, 0xABCD1234, &other), 103);
  EXPECT_EQ(other, 0);
  EXPECT_EQ(Register(2), 2);
  EXPECT_EQ(RegisterClient(0, 3, &other), 101);

  std::uint64_t address = 0;
  std::uint32_t length = 0;
  EXPECT_EQ(GetItemPointer(0, 5, 1, &address, &length, 3), 113);
  ASSERT_EQ(GetItemPointer(0, 5, 1, &address, &length, lock), 0);
  EXPECT_EQ(Flash(static_cast<std::uint32_t>(address), length), Payload(1, 21));
  EXPECT_EQ(UnregisterClient(0, lock), 133);
  EXPECT_EQ(ReleasePointer(0, address, lock), 113) << "the lock is free all the same";
  EXPECT_EQ(Register(4), lock);
  EXPECT_EQ(UnregisterClient(0, lock), 0) << "registration starts the counters anew";
  EXPECT_EQ(ReleasePointer(0, kBase - 1, 2), 117);
  EXPECT_EQ(ReleasePointer(0, BlockBase(3), 2), 117);

  for (int i = 0; i < 65535; ++i) ASSERT_EQ(GetItemPointer(0, 5, 1, &address, &length, 2), 0);
  EXPECT_EQ(GetItemPointer(0, 5, 1, &address, &length, 2), 137);
  std::array<ItemPointer, 2> pointers{};  // the second one of no partition
  std::uint32_t count = 1;
  EXPECT_EQ(GetItemPointers(0, 5, nullptr, nullptr, pointers.data(), &count, 2), 137);
  EXPECT_EQ(count, 0u);
  ValueSetChunk* set = nullptr;
  std::uint16_t cursor = 1;
  count = 1;
  ASSERT_EQ(GetItemIdSet(0, 5, &set), 0);
  EXPECT_EQ(GetItemPointers(0, 5, &cursor, set, pointers.data(), &count, 2), 137);
  EXPECT_EQ(count, 0u);
  FreeItemIdSet(set);
  ASSERT_EQ(ReleasePointer(0, address, 2), 0);
  ASSERT_EQ(DeleteItemRange(0, 5, 0, 0), 0);
  ASSERT_EQ(DeleteItemRange(0, 5, 2, 2), 0);
  count = 1;
  EXPECT_EQ(GetItemPointers(0, 5, nullptr, nullptr, pointers.data(), &count, 2), 0);
  EXPECT_EQ(ReleasePointers(0, 5, pointers.data(), 1, 2), 0);
}

TEST_P(ClientTest, ReleasedPointersNoLongerCount) {
  const std::uint16_t lock = Register(9);
  ItemPointer pointer{};
  std::uint32_t count = 1;
  ASSERT_EQ(GetItemPointer(0, 5, 1, &pointer.address, &pointer.length, lock), 0);
  ASSERT_EQ(ReleasePointer(0, pointer.address, lock), 0);
  ASSERT_EQ(GetItemPointers(0, 5, nullptr, nullptr, &pointer, &count, lock), 120);
  ASSERT_EQ(ReleasePointers(0, 5, &pointer, count, lock), 0);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  std::uint16_t block = 0;
  EXPECT_EQ(CheckReorgNeed(0, 0, &block, 0), 0);
  EXPECT_EQ(block, 2) << "a client without pointers holds no block";
  EXPECT_EQ(ReleasePointer(0, pointer.address, lock), 0) << "none is out";
  EXPECT_EQ(UnregisterClient(0, lock), 0);
  EXPECT_EQ(GetItemPointer(0, 5, 1, nullptr, &pointer.length, lock), 115);
  EXPECT_EQ(GetItemPointer(0, 5, 1, &pointer.address, nullptr, lock), 115);
}

TEST_P(ClientTest, PointersOutHoldAReorganisationUntilTheirOwnersAgree) {
  const std::uint16_t lock = Register(11);
  Register(22);
  std::uint64_t address = 0;
  std::uint32_t length = 0;
  ASSERT_EQ(GetItemPointer(0, 5, 1, &address, &length, lock), 0);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  std::uint16_t block = 0;
  EXPECT_EQ(CheckReorgNeed(0, 0, &block, 0), 0);
  EXPECT_EQ(block, kAny) << "the only block with dead bytes is passed over";
  EXPECT_EQ(CheckReorgNeed(0, 0, &block, 1), 0) << "and far below one percent";
  EXPECT_EQ(block, 2);

  ASSERT_EQ(Write(5, 2, Payload(0, format().block_size / 50)), 0);
  ASSERT_EQ(DeleteItem(0, 5, 2), 0);
  EXPECT_EQ(CheckReorgNeed(0, 1, &block, 1), 133);

  const Bytes before = PartitionBytes();
  EXPECT_EQ(ReorganiseBlock(0, 2, 0), 133);
  hooks_.notify_answer = 150;
  EXPECT_EQ(ReorganiseBlock(0, 2, 1), 150);
  EXPECT_EQ(PartitionBytes(), before);
  EXPECT_EQ(Block(2).state, format().active);
  EXPECT_EQ(Block(0).state, format().free);
  hooks_.notify_answer = 0;
  hooks_.notices.clear();
  EXPECT_EQ(ReorganiseBlock(0, 2, 1), 0);
  EXPECT_EQ(hooks_.notices, (std::vector<std::string>{"11/1", "11/0"}));
  EXPECT_EQ(UnregisterClient(0, lock), 0) << "its counter was cleared";
}

TEST_P(ClientTest, AReadOnlyPartitionCountsNothingAndNeedsNoLock) {
  ASSERT_EQ(Remount(1, {.blocks = 3, .kind = 1}), 0);
  std::uint16_t lock = 9;
  EXPECT_EQ(RegisterClient(0, 5, &lock), 0);
  EXPECT_EQ(lock, 9);
  std::uint64_t address = 0;
  std::uint32_t length = 0;
  EXPECT_EQ(GetItemPointer(0, 5, 1, &address, &length, 0), 0);
  EXPECT_EQ(ReleasePointer(0, address, 0), 0);
  std::uint32_t handle = 0;
  EXPECT_EQ(OpenItem(0, 5, 1, &handle, &length), 0);
  EXPECT_EQ(CloseHandle(handle), 0);
  EXPECT_EQ(DeleteItem(0, 5, 1), 134);
  EXPECT_EQ(ReorganiseBlock(0, 2, 0), 134);
}

}  // namespace
}  // namespace vok::test
