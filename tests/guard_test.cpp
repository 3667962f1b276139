#include <functional>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

/// What every operation does before and around its work: who it serves, what it refuses, which locks it takes.
class GuardTest : public StoreTest {
 protected:
  static constexpr Geometry kGeometry{.blocks = 3, .arena = 512};

  struct Operation {
    const char* name;
    bool writes;
    const char* locks;
    std::function<std::uint16_t(std::uint8_t partition)> run;
  };

  std::vector<Operation> Operations();
  std::uint32_t HandleIn(std::uint8_t partition) const { return (partition + 1u) << 16 | (handle_ & 0xFFFF); }

  /// Items 5/1 and 5/2, a retired block, a client with one pointer out.
  void SetUp() override {
    SetUpFormatted(kGeometry);
    for (std::uint16_t id = 1; id < 3; ++id) ASSERT_EQ(Write(5, id, Payload(id, 20)), 0);
    ASSERT_EQ(RegisterClient(0, 77, &lock_), 0);
  }

  std::uint16_t id_ = 0, cursor_ = 0, lock_ = 0, block_ = 0;
  std::uint32_t count_ = 1, length_ = 20, handle_ = 0;
  std::uint64_t address_ = 0;
  Bytes bytes_ = Bytes(20);
  ValueSetChunk* set_ = nullptr;
  OpenedItem opened_{};
  ItemPointer pointer_{};
};
VOK_FOR_EACH_VERSION(GuardTest);

std::vector<GuardTest::Operation> GuardTest::Operations() {
  return {
      {"ReadItem", false, "2", [this](auto p) { return ReadItem(p, 5, 1, bytes_.data(), &(length_ = 20), 0); }},
      {"GetItemLength", false, "2", [this](auto p) { return GetItemLength(p, 5, 1, &length_); }},
      {"ListTypes", false, "0", [this](auto p) { return ListTypes(p, nullptr, nullptr, &id_, &(count_ = 1)); }},
      {"ListItems", false, "0SSSSSS",
       [this](auto p) { return ListItems(p, 5, nullptr, nullptr, nullptr, &count_, nullptr); }},
      {"GetItemIdSet", false, "", [this](auto p) { return GetItemIdSet(p, 5, &set_); }},
      {"MakeId", false, "0", [this](auto p) { return MakeId(p, 5, &id_); }},
      {"GetPartitionSpace", false, "01",
       [this](auto p) {
         PartitionSpace s;
         return GetPartitionSpace(p, &s);
       }},
      {"GetPartitionRecord", false, "",
       [this](auto p) {
         PartitionRecord r;
         return GetPartitionRecord(p, &r);
       }},
      {"GetBlockInfo", false, "",
       [this](auto p) {
         BlockInfo i;
         return GetBlockInfo(p, 0, &i);
       }},
      {"CheckReorgNeed", false, "", [this](auto p) { return CheckReorgNeed(p, 99, &block_, 0); }},
      {"OpenItem", false, "02", [this](auto p) { return OpenItem(p, 5, 1, &handle_, &length_); }},
      {"ReadHandle", false, "", [this](auto p) { return ReadHandle(HandleIn(p), 1, 0, bytes_.data()); }},
      {"CloseHandle", false, "0", [this](auto p) { return CloseHandle(HandleIn(p)); }},
      {"OpenItems", false, "0SS",
       [this](auto p) { return OpenItems(p, 6, nullptr, nullptr, &opened_, &(count_ = 1)); }},
      {"CloseHandles", false, "0",
       [this](auto p) {
         opened_.handle = HandleIn(p);
         return CloseHandles(&opened_, 1);
       }},
      {"GetItemPointer", false, "012", [this](auto p) { return GetItemPointer(p, 5, 1, &address_, &length_, lock_); }},
      {"ReleasePointer", false, "0", [this](auto p) { return ReleasePointer(p, address_, lock_); }},
      {"GetItemPointers", false, "01SS",
       [this](auto p) { return GetItemPointers(p, 6, nullptr, nullptr, &pointer_, &(count_ = 1), lock_); }},
      {"ReleasePointers", false, "0",
       [this](auto p) {
         pointer_.address = address_;
         return ReleasePointers(p, 5, &pointer_, 1, lock_);
       }},
      {"UnregisterClient", false, "S", [this](auto p) { return UnregisterClient(p, lock_); }},
      {"RegisterClient", false, "S", [this](auto p) { return RegisterClient(p, 78, &lock_); }},
      {"WriteItem", true, "02S2", [this](auto p) { return WriteItem(p, 1, 5, &(id_ = 1), bytes_.data(), 19); }},
      {"WriteItem", true, "02", [this](auto p) { return WriteItem(p, 1, 6, &(id_ = kAny), bytes_.data(), 19); }},
      {"WriteItemPart", true, "02S", [this](auto p) { return WriteItemPart(p, 1, 5, 1, bytes_.data(), 2, 0); }},
      {"WriteItemPart", true, "02S2", [this](auto p) { return WriteItemPart(p, 1, 5, 1, bytes_.data(), 20, 10); }},
      {"RenameItem", true, "022SSS22", [this](auto p) { return RenameItem(p, 1, 7, &(id_ = 1), 5, 1); }},
      {"DeleteItem", true, "022", [this](auto p) { return DeleteItem(p, 7, 1); }},
      {"DeleteItemRange", true, "02", [this](auto p) { return DeleteItemRange(p, 5, 2, 2); }},
      {"DeleteTypeRange", true, "0", [this](auto p) { return DeleteTypeRange(p, 8, 9); }},
      {"ReorganiseBlock", true, "01000", [this](auto p) { return ReorganiseBlock(p, 2, 0); }},
      {"EraseRetiredBlock", true, "S", [this](auto p) { return EraseRetiredBlock(p, &(block_ = kAny)); }},
  };
}

TEST_P(GuardTest, EveryOperationTakesItsLocksAndGivesThemBack) {
  for (const Operation& operation : Operations()) {
    hooks_.lock_story.clear();
    EXPECT_EQ(operation.run(0), 0) << operation.name;
    EXPECT_EQ(hooks_.lock_story, operation.locks) << operation.name;
    EXPECT_EQ(hooks_.locks_held, 0) << operation.name;
  }
  FreeItemIdSet(set_);
}

TEST_P(GuardTest, MissingArgumentsAreInvalidAndNothingAskedIsNothingDone) {
  ASSERT_EQ(OpenItem(0, 5, 1, &handle_, &length_), 0);
  ASSERT_EQ(GetItemIdSet(0, 5, &set_), 0);
  const std::vector<std::function<std::uint16_t()>> calls = {
      [] { return GetItemLength(0, 5, 1, nullptr); },
      [this] { return ListTypes(0, nullptr, nullptr, &id_, nullptr); },
      [this] { return ListItems(0, 5, nullptr, nullptr, &id_, nullptr, nullptr); },
      [this] { return ListItems(0, 5, nullptr, set_, &id_, &count_, nullptr); },
      [this] { return OpenItem(0, 5, 1, nullptr, &length_); },
      [this] { return OpenItem(0, 5, 1, &handle_, nullptr); },
      [this] { return ReadHandle(handle_, 1, 0, nullptr); },
      [this] { return OpenItems(0, 5, nullptr, nullptr, &opened_, nullptr); },
      [this] { return OpenItems(0, 5, nullptr, set_, &opened_, &count_); },
      [this] { return GetItemPointers(0, 5, nullptr, nullptr, &pointer_, nullptr, lock_); },
      [] { return RegisterClient(0, 78, nullptr); },
      [] { return MakeId(0, 5, nullptr); },
      [] { return GetItemIdSet(0, 5, nullptr); },
      [] { return GetPartitionRecord(0, nullptr); },
      [] { return GetPartitionSpace(0, nullptr); },
      [] { return GetBlockInfo(0, 0, nullptr); },
      [] { return CheckReorgNeed(0, 0, nullptr, 0); },
      [] { return EraseRetiredBlock(0, nullptr); },
      [] { return ItemOverhead(1, 0, nullptr); },
  };
  for (std::size_t i = 0; i < calls.size(); ++i) EXPECT_EQ(calls[i](), 115) << i;
  EXPECT_EQ(CloseHandles(nullptr, 1) + CloseHandles(&opened_, 0), 0);
  EXPECT_EQ(ReleasePointers(0, 5, nullptr, 1, lock_) + ReleasePointers(0, 5, &pointer_, 0, lock_), 0);
  for (const std::uint32_t most : {0u, 1u}) {
    count_ = most;
    EXPECT_EQ(GetItemPointers(0, 5, nullptr, nullptr, most == 0 ? &pointer_ : nullptr, &count_, lock_), 0);
    EXPECT_EQ(count_, 0u);
    count_ = most;
    EXPECT_EQ(OpenItems(0, 5, nullptr, nullptr, most == 0 ? &opened_ : nullptr, &count_), 0);
    EXPECT_EQ(count_, 0u);
  }
  EXPECT_EQ(ReleasePointers(0, 5, &pointer_, 1, lock_), 117) << "address 0";
  FreeItemIdSet(set_);
}

TEST_P(GuardTest, EveryOperationNeedsAMountedPartitionThatItMayChange) {
  const auto expect = [this](std::uint8_t partition, std::uint16_t code, bool writers_only) {
    for (const Operation& operation : Operations()) {
      if (writers_only && !operation.writes) continue;
      hooks_.reports.clear();
      device_.steps.clear();
      EXPECT_EQ(operation.run(partition), code) << operation.name;
      EXPECT_EQ(hooks_.reports, (std::vector<std::uint16_t>{code})) << operation.name;
      EXPECT_TRUE(device_.steps.empty()) << operation.name;
    }
  };
  expect(1, 116, false);
  TerminateStore();
  expect(0, 138, false);
  SetUpAgain({.blocks = 3, .kind = 1});
  expect(0, 140, false);
  ASSERT_EQ(MountPartition(0, 1), 0);
  expect(0, 134, true);
}

}  // namespace
}  // namespace vok::test
