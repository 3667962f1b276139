#include "support/store_fixture.h"

namespace vok::test {
namespace {

class ReadTest : public StoreTest {};
VOK_FOR_EACH_VERSION(ReadTest);

TEST_P(ReadTest, TheBytesOfOneItemLieAsLaidDown) {
  SetUpFormatted({.blocks = 2});
  ASSERT_EQ(Write(5, 1, {0xAA, 0xBB, 0xCC}), 0);
  const std::uint32_t base = BlockBase(1);
  const std::uint32_t end = base + format().block_size;
  EXPECT_EQ(Read16(base + 12), format().active);
  const std::uint32_t location = (format().block_size - 4) / 4;
  EXPECT_EQ(Flash(base + 32, 4), (Bytes{0, 5, 0, 1}));
  EXPECT_EQ(ReadWord(base + 36), location | format().valid);
  EXPECT_EQ(Read16(base + 32 + format().slot_size()), 0xFFFF);
  Bytes record{0xAA, 0xBB, 0xCC, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  for (std::uint32_t i = 0; i < format().word; ++i) record[8 - 1 - i] = i == 0 ? 3 : 0;
  EXPECT_EQ(Flash(end - 8, 8), record);
  EXPECT_EQ(Block(1).top, end - 8);
  EXPECT_EQ(Block(1).next_slot, base + 32 + format().slot_size());
}

TEST_P(ReadTest, OffsetsLengthsAndMissingBuffers) {
  SetUpFormatted();
  const Bytes data = Payload(1, 10);
  ASSERT_EQ(Write(5, 1, data), 0);
  ASSERT_EQ(Write(5, 2, {}), 0);
  Bytes buffer(16, 0xEE);
  const auto read = [&](std::uint16_t id, std::uint32_t& length, std::uint32_t offset) {
    return ReadItem(0, 5, id, buffer.data(), &length, offset);
  };
  std::uint32_t length = 16;
  EXPECT_EQ(read(1, length, 4), 0);
  EXPECT_EQ(length, 6u);
  EXPECT_TRUE(std::equal(data.begin() + 4, data.end(), buffer.begin()));
  EXPECT_EQ(buffer[6], 0xEE);
  length = 3;
  EXPECT_EQ(read(1, length, 5), 120);
  EXPECT_EQ(length, 3u);
  EXPECT_TRUE(std::equal(data.begin() + 5, data.begin() + 8, buffer.begin()));
  length = 9;
  EXPECT_EQ(ReadItem(0, 5, 1, nullptr, &length, 10), 0);
  EXPECT_EQ(length, 0u);
  length = 9;
  EXPECT_EQ(read(1, length, 11), 114);
  EXPECT_EQ(length, 9u);
  EXPECT_EQ(ReadItem(0, 5, 1, nullptr, &length, 3), 115);
  EXPECT_EQ(length, 7u) << "what would have been delivered";
  EXPECT_EQ(ReadItem(0, 5, 2, nullptr, &length, 0), 0);
  EXPECT_EQ(length, 0u);
  hooks_.reports.clear();
  EXPECT_EQ(ReadItem(0, 5, 1, buffer.data(), nullptr, 0), 115);
  EXPECT_EQ(read(9, length, 0), 119);
  EXPECT_EQ(read(kAny, length, 0), 112);
  EXPECT_EQ(ReadItem(0, 0xFFFE, 1, buffer.data(), &length, 0), 118);
  EXPECT_EQ(ReadItem(1, 5, 1, buffer.data(), &length, 0), 116);
  EXPECT_EQ(hooks_.reports, (std::vector<std::uint16_t>{115, 119, 112, 118, 116})) << "each failure once";
}

TEST_P(ReadTest, ADamagedRecordGives108AndCountsAsEmptyElsewhere) {
  SetUpFormatted();
  ASSERT_EQ(Write(5, 1, Payload(1, 10)), 0);
  const auto length_word = static_cast<std::uint32_t>(BlockBase(3) - format().word);
  PokeWord(length_word, 0xFFFF);
  if (format().word == 4) PokeWord(length_word, 0x7FFFFFF7);
  std::uint32_t length = 100;
  Bytes buffer(100);
  EXPECT_EQ(ReadItem(0, 5, 1, buffer.data(), &length, 0), 108);
  EXPECT_EQ(GetItemLength(0, 5, 1, &length), 0);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(Write(5, 1, Payload(2, 10)), 0) << "it can be replaced";
  EXPECT_EQ(Item(5, 1), Payload(2, 10));
}

/// Hooks that disturb the search under way as a reorganisation would, once.
class DisturbingHooks : public CountingHooks {
 public:
  void ReportError(std::uint16_t code) override {
    CountingHooks::ReportError(code);
    if (code != 108 || !armed) return;
    armed = false;
    reorganise_code = ReorganiseBlock(0, 2, 0);
  }
  bool armed = false;
  std::uint16_t reorganise_code = 0xFFFF;
};

TEST_P(ReadTest, ASearchThatAReorganisationDisturbsRunsAgain) {
  // Block 1 holds slots up to its end, so a search passes it with a report; in that moment block 2, not searched yet,
  // moves into block 0, which the search has passed already.
  SetUpFormatted({.blocks = 3, .kind = 0});
  ASSERT_EQ(Write(5, 1, Payload(1, 20)), 0);
  TerminateStore();
  Bytes slots(format().block_size - 32, 0);
  for (std::size_t i = 1; i < slots.size(); i += format().slot_size()) slots[i] = 9;
  Poke(BlockBase(1) + 32, slots);
  Poke16(BlockBase(1) + 12, format().active);
  DisturbingHooks disturbing;
  InstallPlatformHooks(&disturbing);
  SetUpAgain({.blocks = 3});
  ASSERT_EQ(MountPartition(0, 2), 0);
  EXPECT_EQ(Block(1).next_slot, 0u) << "a list that runs into the block's end closes the block";
  disturbing.armed = true;
  EXPECT_EQ(Item(5, 1), Payload(1, 20));
  EXPECT_EQ(disturbing.reorganise_code, 0);
  EXPECT_EQ(Block(0).state, format().active) << "the item did move behind the search";
  EXPECT_EQ(disturbing.reports, (std::vector<std::uint16_t>{108})) << "the second pass finds it in the first block";
  TerminateStore();
  EXPECT_EQ(disturbing.memory_alive, 0);
  InstallPlatformHooks(&hooks_);
}

TEST_P(ReadTest, HuntFlagsRunOut) {
  // Each report of a search starts another search, sixteen deep.
  class NestingHooks : public CountingHooks {
   public:
    void ReportError(std::uint16_t code) override {
      CountingHooks::ReportError(code);
      if (code != 108) return;
      std::uint32_t length = 0;
      deepest = GetItemLength(0, 5, 9, &length) == 127 ? depth : deepest;
      ++depth;
    }
    int depth = 0;
    int deepest = -1;
  } nesting;
  SetUpFormatted();
  TerminateStore();
  Poke(BlockBase(1) + 32, Bytes(format().block_size - 32, 0));
  Poke16(BlockBase(1) + 12, format().active);
  SetUpAgain();
  ASSERT_EQ(MountPartition(0, 2), 0);
  InstallPlatformHooks(&nesting);
  std::uint32_t length = 0;
  EXPECT_EQ(GetItemLength(0, 5, 1, &length), 119);
  EXPECT_EQ(nesting.deepest, 0) << "the innermost search found all 16 flags taken";
  EXPECT_EQ(std::count(nesting.reports.begin(), nesting.reports.end(), 127), 1);
  InstallPlatformHooks(&hooks_);
}

}  // namespace
}  // namespace vok::test
