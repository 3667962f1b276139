#include <array>
#include <cstring>
#include <map>
#include <random>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

/// A chip with moods: it drops steps, fails at them, or changes another slot along with them.
class FickleDevice : public FlashDevice {
 public:
  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override {
    if (random() % 64 == 0) return random() % 2 == 0 ? 0 : 1;
    if (random() % 64 == 0) FlashDevice::ProgramWord16(address & ~0x7Fu, static_cast<std::uint16_t>(random() % 8));
    return FlashDevice::ProgramWord16(address, value);
  }
  std::mt19937 random{1};
};

/// The slot that a search finds is seen in a location cache of one entry, where it goes.
class IndexTest : public StoreTest {
 protected:
  static constexpr Geometry kGeometry{.blocks = 3, .arena = 24};
  static constexpr std::uint16_t kTypes = 4, kIds = 12;
  using Name = std::pair<std::uint16_t, std::uint16_t>;

  bool IsSearched(std::uint16_t state) const {
    return state == format().active || state == format().reorg_target || state == format().reorg_source;
  }
  /// The first Valid slot of each name, and the IDs of each type in flash order, by a walk of the bytes.
  void Walk() {
    first_.clear();
    listed_.clear();
    for (std::uint16_t block = 0; block < kGeometry.blocks; ++block) {
      if (!IsSearched(Block(block).state)) continue;
      const std::uint32_t end = BlockBase(block) + format().block_size;
      for (std::uint32_t slot = SlotAddress(block, 0); slot + format().slot_size() <= end;
           slot += format().slot_size()) {
        const Name name{Read16(slot), Read16(slot + 2)};
        if (name.first == kAny) break;
        if (State(slot) != format().valid) continue;
        first_.try_emplace(name, slot);
        listed_[name.first].push_back(name.second);
      }
    }
  }
  template <typename T>
  T InCache(std::size_t offset) const {
    T value;
    std::memcpy(&value, arena_.data() + 8 + offset, sizeof value);
    return value;
  }
  void CompareName(const Name& name) {
    if (Name(InCache<std::uint16_t>(0), InCache<std::uint16_t>(2)) == name) return;
    std::uint32_t length = 0;
    const auto expected = first_.find(name);
    ASSERT_EQ(GetItemLength(0, name.first, name.second, &length), expected != first_.end() ? 0 : 119);
    if (expected != first_.end()) {
      ASSERT_EQ(InCache<std::uint64_t>(8), expected->second);
    }
  }
  void CompareType(std::uint16_t type) {
    std::array<std::uint16_t, 400> ids{};
    std::uint32_t count = ids.size();
    ASSERT_EQ(ListItems(0, type, nullptr, nullptr, ids.data(), &count, nullptr), 0);
    ASSERT_EQ(std::vector<std::uint16_t>(ids.begin(), ids.begin() + count), listed_[type]) << type;
    std::uint16_t lowest = 0, made = 0;
    while (first_.count({type, lowest}) != 0) ++lowest;
    ASSERT_EQ(MakeId(0, type, &made), 0);
    ASSERT_EQ(made, lowest) << type;
  }
  void CompareAll() {
    Walk();
    for (std::uint16_t type = 1; type <= kTypes; ++type) {
      for (std::uint16_t id = 0; id < kIds; ++id) CompareName({type, id});
      CompareType(type);
    }
  }

  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  Name RandomName() { return {static_cast<std::uint16_t>(1 + Below(kTypes)), static_cast<std::uint16_t>(Below(kIds))}; }
  std::uint32_t RandomSlot() { return SlotAddress(static_cast<std::uint16_t>(Below(kGeometry.blocks)), Below(60)); }

  void Operate() {
    auto [type, id] = RandomName();
    std::uint16_t other = Below(2) == 0 ? kAny : id, block = kAny;
    switch (Below(8)) {
      case 0: DeleteItem(0, type, id); return;
      case 1: RenameItem(0, 1, static_cast<std::uint16_t>(1 + Below(kTypes)), &other, type, id); return;
      case 2: ReorganiseBlock(0, static_cast<std::uint16_t>(Below(kGeometry.blocks)), 0); return;
      case 3: EraseRetiredBlock(0, &block); return;
      case 4: DeleteItemRange(0, type, id, static_cast<std::uint16_t>(id + 2)); return;
      default: Write(type, other, Payload(Below(3), 8 * Below(5)), static_cast<std::uint8_t>(Below(2)));
    }
  }
  /// Changes bytes behind the store's back: a slot becomes a copy of another, its type, ID or state changes, a stretch
  /// of slots or a whole block is erased.
  void Meddle() {
    const std::uint32_t slot = RandomSlot();
    switch (Below(12)) {
      case 0: worker_.EraseVirtualMemory(slot, slot + 1 + Below(40)); return;
      case 1:
        if (Below(8) == 0) worker_.EraseVirtualMemory(BlockBase(1) - Below(9), BlockBase(2) - Below(9));
        return;
      case 2: return Poke16(slot, static_cast<std::uint16_t>(Below(kTypes + 1)));
      case 3: return Poke16(slot + 2, static_cast<std::uint16_t>(Below(kIds)));
      case 4: return SetState(slot, format().valid);
      case 5: return SetState(slot, 0);
      default: return Poke(slot, Flash(RandomSlot(), format().slot_size() * (1 + Below(2))));
    }
  }

  void Run(std::uint32_t seed, PlatformHooks* hooks) {
    random_.seed(seed);
    device_with_moods_.random.seed(seed);
    InstallPlatformHooks(hooks);
    SetUpFormatted(kGeometry);
    for (int i = 0; i < 20; ++i) Operate();
    InstallFlashDevice(Below(2) == 0 ? &device_with_moods_ : nullptr);
    for (int step = 0; step < 120 && !HasFatalFailure(); ++step) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
      Below(3) == 0 ? Meddle() : Operate();
      if (Below(2) == 0) CompareAll();
    }
    end_ = {PartitionBytes(), arena_};
    InstallFlashDevice(&device_);
    TerminateStore();
    InstallPlatformHooks(&hooks_);
  }

  std::pair<Bytes, Bytes> end_;  ///< the flash and the location cache after the last run
  std::mt19937 random_;
  FickleDevice device_with_moods_;
  std::map<Name, std::uint32_t> first_;
  std::map<std::uint16_t, std::vector<std::uint16_t>> listed_;
};
VOK_FOR_EACH_VERSION(IndexTest);

/// One name in so many slots that the index keeps it in another way.
TEST_P(IndexTest, ANameMayStandInThousandsOfSlots) {
  constexpr std::uint32_t kCopies = 3000;
  SetUpFormatted(kGeometry);
  ASSERT_EQ(Write(1, 1, Payload(1, 8)), 0);
  const Bytes slot = Flash(SlotAddress(FirstOpened(), 0), format().slot_size());
  for (std::uint32_t i = 1; i < kCopies; ++i) Poke(SlotAddress(FirstOpened(), i), slot);
  ASSERT_EQ(Remount(1, kGeometry), 0);
  for (std::uint32_t i = 0; i < 5; ++i) {
    EXPECT_EQ(Item(1, 1), Payload(1, 8));
    EXPECT_EQ(InCache<std::uint64_t>(8), SlotAddress(FirstOpened(), i));
    EXPECT_EQ(DeleteItem(0, 1, 1), 0);
  }
  EXPECT_EQ(ReadCode(1, 2), 119);
  ASSERT_EQ(Write(1, 2, {}), 0);
  EXPECT_EQ(DeleteItemRange(0, 1, 1, 1), 0);
  EXPECT_EQ(ReadCode(1, 1), 119);
  EXPECT_EQ(Item(1, 2), Bytes{});
}

TEST_P(IndexTest, AListThatRunsIntoTheEndOfItsBlockIsReported) {
  SetUpFormatted(kGeometry);
  ASSERT_EQ(Write(1, 1, {}), 0);
  ASSERT_EQ(Write(1, 2, {}), 0);
  ASSERT_EQ(DeleteItem(0, 1, 2), 0);
  const Bytes dead = Flash(SlotAddress(FirstOpened(), 1), format().slot_size());
  for (std::uint32_t i = 2; SlotAddress(FirstOpened(), i + 1) <= BlockBase(kGeometry.blocks); ++i)
    Poke(SlotAddress(FirstOpened(), i), dead);
  for (const bool with_own_hooks : {false, false, true, true}) {
    InstallPlatformHooks(with_own_hooks ? &hooks_ : nullptr);
    hooks_.reports.clear();
    EXPECT_EQ(ReadCode(1, 3), 119);
    EXPECT_EQ(hooks_.reports, with_own_hooks ? std::vector<std::uint16_t>({108, 119}) : std::vector<std::uint16_t>());
  }
}

TEST_P(IndexTest, AChangeMayEndWithTheFirstByteOfASlot) {
  SetUpFormatted(kGeometry);
  for (std::uint16_t id = 0; id < 3; ++id) ASSERT_EQ(Write(1, id, Payload(id, 8)), 0);
  EXPECT_EQ(Item(1, 0), Payload(0, 8));
  worker_.EraseVirtualMemory(SlotAddress(FirstOpened(), 0) + 4, SlotAddress(FirstOpened(), 1) + 1);
  EXPECT_EQ(ReadCode(1, 1), 119);
  EXPECT_EQ(Item(1, 2), Payload(2, 8));
}

TEST_P(IndexTest, WhateverChangesTheBytesSearchesFindWhatAWalkFinds) {
  for (std::uint32_t seed = 0; seed < 60 && !HasFailure(); ++seed) Run(seed, seed % 2 == 0 ? &hooks_ : nullptr);
}

/// Without hooks of one's own a search takes a shorter way.
TEST_P(IndexTest, HooksThatDoNothingChangeNothing) {
  PlatformHooks idle;
  for (std::uint32_t seed = 100; seed < 110 && !HasFailure(); ++seed) {
    Run(seed, nullptr);
    const std::pair<Bytes, Bytes> without = end_;
    Run(seed, &idle);
    EXPECT_EQ(end_, without) << seed;
  }
}

}  // namespace
}  // namespace vok::test
