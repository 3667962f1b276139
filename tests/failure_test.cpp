#include <map>
#include <optional>

#include "support/failing_new.h"
#include "support/store_fixture.h"

namespace vok::test {
namespace {

using Name = std::pair<std::uint16_t, std::uint16_t>;
using Items = std::map<Name, std::optional<Bytes>>;  ///< of every name that the operations use; without bytes: no item

/// Every device step and every allocation of every operation fails in turn.
class FailureTest : public StoreTest {
 protected:
  struct Operation {
    const char* name;
    std::uint16_t (*run)();
    bool may_lose = false;  ///< without a journal record, a change that is cut off may lose the item it changes
  };

  static constexpr Geometry kGeometry{.blocks = 4, .arena = 400};

  static std::uint16_t WriteBytes(std::uint8_t mode, std::uint16_t id, std::uint32_t length) {
    return WriteItem(0, mode, 5, &id, Payload(length, length).data(), length);
  }
  static std::uint16_t WritePart(std::uint8_t mode, std::uint32_t length, std::uint32_t offset) {
    return WriteItemPart(0, mode, 5, 1, Payload(length, length).data(), length, offset);
  }
  static std::uint16_t Rename(std::uint8_t mode, std::uint16_t id) { return RenameItem(0, mode, 8, &id, 5, 1); }

  static const std::vector<Operation>& Operations() {
    static const std::vector<Operation> kOperations = {
        {"new item", [] { return WriteBytes(1, 9, 60); }},
        {"new ID", [] { return WriteBytes(1, kAny, 60); }},
        {"item that opens a block", [] { return WriteBytes(1, 9, FormatOf(GetParam()).block_size - 20000); }},
        {"same length", [] { return WriteBytes(1, 1, 100); }},
        {"other length, journalled", [] { return WriteBytes(1, 1, 70); }},
        {"other length, plain", [] { return WriteBytes(0, 1, 70); }, true},
        {"part, journalled", [] { return WritePart(1, 10, 20); }},
        {"part, plain", [] { return WritePart(0, 10, 20); }},
        {"large part, journalled", [] { return WritePart(1, 90, 5); }},
        {"longer, journalled", [] { return WritePart(1, 50, 80); }},
        {"longer, plain", [] { return WritePart(0, 50, 80); }, true},
        {"rename, journalled", [] { return Rename(1, 3); }},
        {"rename to a new ID", [] { return Rename(1, kAny); }},
        {"rename, plain", [] { return Rename(0, 3); }, true},
        {"delete", [] { return DeleteItem(0, 5, 1); }},
        {"delete IDs", [] { return DeleteItemRange(0, 5, 1, 3); }},
        {"delete types", [] { return DeleteTypeRange(0, 5, 6); }},
        {"reorganise", [] { return ReorganiseBlock(0, 3, 0); }},
        {"erase",
         [] {
           std::uint16_t block = kAny;
           const std::uint16_t code = ReorganiseBlock(0, 3, 0);
           return code != 0 ? code : EraseRetiredBlock(0, &block);
         }},
        {"make an ID",
         [] {
           std::uint16_t id = 0;
           return MakeId(0, 9, &id);
         }},
        {"set of IDs",
         [] {
           ValueSetChunk* set = nullptr;
           const std::uint16_t code = GetItemIdSet(0, 5, &set);
           EXPECT_EQ(code == 0, set != nullptr);
           FreeItemIdSet(set);
           return code;
         }},
    };
    return kOperations;
  }

  /// A block with items of several sizes and dead bytes, and no room for a further large one.
  void SetUp() override {
    SetUpFormatted(kGeometry);
    for (std::uint16_t id = 0; id < 4; ++id) ASSERT_EQ(Write(5, id, Payload(id, id == 1 ? 100 : 30u * id)), 0);
    ASSERT_EQ(Write(6, 0, Payload(6, format().block_size / 3)), 0);
    ASSERT_EQ(Write(7, 40, Payload(7, 5)), 0);
    ASSERT_EQ(DeleteItem(0, 5, 2), 0);
    bytes_ = PartitionBytes();
  }

  void Restore() {
    device_.fail_at = device_.throw_at = -1;
    device_.fails_for_good = false;
    Poke(kBase, bytes_);
    ASSERT_EQ(Remount(2, kGeometry), 0);
    device_.steps.clear();
  }

  Items ItemsNow() {
    Items items;
    for (const Name& name : std::vector<Name>{{5, 0}, {5, 1}, {5, 2}, {5, 3}, {5, 9}, {6, 0}, {7, 40}, {8, 0}, {8, 3}})
      items[name] =
          ReadCode(name.first, name.second) == 0 ? std::optional(Item(name.first, name.second)) : std::nullopt;
    return items;
  }

  /// After a change that was cut off and a repair, every item is as before or as after the change.
  void ExpectBetween(const Items& before, const Items& after, bool may_lose) {
    std::size_t there = 0, was_there = 0, will_be_there = 0;
    const Items now = ItemsNow();
    for (const auto& [name, bytes] : now) {
      const bool is_changed = before.at(name) != after.at(name);
      EXPECT_TRUE(bytes == before.at(name) || bytes == after.at(name) || (is_changed && may_lose && !bytes))
          << name.first << "/" << name.second;
      there += bytes.has_value();
      was_there += before.at(name).has_value();
      will_be_there += after.at(name).has_value();
    }
    EXPECT_TRUE(may_lose || there >= std::min(was_there, will_be_there)) << "an item is gone under both names";
  }

  Bytes bytes_;
};
VOK_FOR_EACH_VERSION(FailureTest);

TEST_P(FailureTest, EveryDeviceStepOfEveryOperation) {
  const Items before = ItemsNow();
  for (const Operation& operation : Operations()) {
    Restore();
    ASSERT_EQ(operation.run(), 0) << operation.name;
    const int steps = static_cast<int>(device_.steps.size());
    const Items after = ItemsNow();
    for (int step = 0; step < steps; ++step) {
      for (const char* how : {"once", "for good", "by throwing"}) {
        SCOPED_TRACE(testing::Message() << operation.name << ", step " << step << " " << how);
        Restore();
        (how[0] == 'b' ? device_.throw_at : device_.fail_at) = step;
        device_.fails_for_good = how[0] == 'f';
        std::uint16_t code = 0;
        if (how[0] == 'b')
          EXPECT_THROW(operation.run(), RecordingDevice::Cut);
        else
          EXPECT_TRUE((code = operation.run()) == 105 || code == 104) << code;
        EXPECT_EQ(hooks_.locks_held, 0);
        EXPECT_EQ(Item(7, 40), Payload(7, 5)) << "what is not touched can be read";
        device_.fail_at = device_.throw_at = -1;
        ASSERT_EQ(Remount(2, kGeometry), 0);
        ExpectBetween(before, after, operation.may_lose);
      }
    }
  }
}

TEST_P(FailureTest, EveryAllocationOfEveryOperation) {
  for (const Operation& operation : Operations()) {
    for (int allocations = 0;; ++allocations) {
      SCOPED_TRACE(testing::Message() << operation.name << " with " << allocations << " allocations");
      Restore();
      const int alive = hooks_.memory_alive;
      hooks_.allocations_left = allocations;
      const std::uint16_t code = operation.run();
      hooks_.allocations_left = -1;
      EXPECT_EQ(hooks_.memory_alive, alive);
      if (code == 0) break;
      EXPECT_TRUE(code == 128 || code == 100) << code;
      EXPECT_TRUE(device_.steps.empty());
      EXPECT_EQ(operation.run(), 0) << "with memory again";
    }
  }
}

/// A repair mount that a device fails at any step goes on from there with the next one.
TEST_P(FailureTest, EveryDeviceStepOfARepair) {
  for (const int cut : {-1, 0, 1, 3, 5, 9, 12, 15, 20}) {
    Restore();
    if (cut >= 0) {
      device_.throw_at = cut;
      EXPECT_THROW(cut % 2 != 0 ? Rename(1, 3) : ReorganiseBlock(0, 3, 0), RecordingDevice::Cut);
      device_.throw_at = -1;
    } else {
      // A block without a signature, one cut off while it was opened, and no length below the lowest record.
      Poke16(BlockBase(0), 0x5400);
      Poke16(BlockBase(1) + 12, format().opening);
      Poke16(static_cast<std::uint32_t>(Block(3).top) - format().word, 0x7FFF);
    }
    const Bytes damaged = PartitionBytes();
    ASSERT_EQ(Remount(2, kGeometry), 0);
    const Items repaired = ItemsNow();
    const int steps = static_cast<int>(device_.steps.size());
    for (int step = 0; step < steps; ++step) {
      SCOPED_TRACE(testing::Message() << "cut " << cut << ", step " << step);
      Poke(kBase, damaged);
      device_.fail_at = step;
      const std::uint16_t code = Remount(2, kGeometry);
      EXPECT_TRUE(code == 105 || code == 104) << code;
      std::uint32_t length = 0;
      EXPECT_EQ(GetItemLength(0, 5, 0, &length), 140) << "not mounted";
      device_.fail_at = -1;
      ASSERT_EQ(Remount(2, kGeometry), 0);
      EXPECT_EQ(ItemsNow(), repaired);
    }
  }
}

/// What the library keeps to be fast it may also do without.
TEST_P(FailureTest, EveryRequestForMemoryThatOnlySpeedNeeds) {
  const auto run_all = [this] {
    Restore();
    std::vector<std::uint16_t> codes;
    for (const Operation& operation : Operations()) codes.push_back(operation.run());
    return std::pair(codes, ItemsNow());
  };
  failing_new.requests = 0;
  const auto expected = run_all();
  const int requests = failing_new.requests;
  for (int left = 0; left < requests; ++left) {
    for (const bool for_good : {false, true}) {
      failing_new = {.left = left, .for_good = for_good};
      const auto result = run_all();
      failing_new = {};
      EXPECT_EQ(result, expected) << "request " << left;
    }
  }
}

}  // namespace
}  // namespace vok::test
