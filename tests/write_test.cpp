#include <algorithm>
#include <functional>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

using Steps = std::vector<std::string>;

class WriteTest : public StoreTest {
 protected:
  /// Names for the recorded steps: what each touches rather than where, one entry for a word of two programs.
  Steps Story() const {
    Steps story;
    for (const std::string& step : device_.steps) {
      const std::string name = NameOf(step);
      if (story.empty() || story.back() != name || name == "bytes") story.push_back(name);
    }
    return story;
  }

  std::string NameOf(const std::string& step) const {
    const auto space = step.find(' ');
    const auto address = static_cast<std::uint32_t>(std::stoul(step.substr(space + 1), nullptr, 16));
    if (step[0] == 'b') return "bytes";
    const std::uint32_t offset = (address - kBase) % format().block_size;
    if (offset == 12) return "block state";
    const std::uint32_t in_slot = (offset - 32) % format().slot_size();
    if (offset > format().block_size / 2) return "record word";
    return "slot " + std::to_string((offset - 32) / format().slot_size()) + (in_slot < 4 ? "" : " word");
  }

  Steps StoryOf(const std::function<void()>& operation) {
    device_.steps.clear();
    operation();
    return Story();
  }

  std::uint16_t Part(std::uint8_t mode, std::uint32_t length, std::uint32_t offset) {
    return WriteItemPart(0, mode, 5, 1, Payload(99, length + 1).data(), length, offset);
  }

  /// What the first write of a partition does to open its block, done.
  void SetUpOpened() {
    SetUpFormatted();
    ASSERT_EQ(Write(5, 1, Payload(1, 100)), 0);
  }
};
VOK_FOR_EACH_VERSION(WriteTest);

TEST_P(WriteTest, StepsOfNewItemsAndReplacements) {
  SetUpFormatted();
  const Steps record = {"record word", "bytes"};
  EXPECT_EQ(StoryOf([&] { Write(5, 1, Payload(1, 100)); }),
            (Steps{"block state", "record word", "bytes", "slot 0", "slot 0 word"}));
  EXPECT_EQ(StoryOf([&] { Write(5, 1, Payload(2, 100)); }), (Steps{"bytes"})) << "same length: over the old bytes";
  EXPECT_EQ(Item(5, 1), Payload(2, 100));
  EXPECT_EQ(Block(FirstOpened()).slot_count, 1u);

  // Copy, marker, commit, old copy retired, marker retired.
  EXPECT_EQ(StoryOf([&] { Write(5, 1, Payload(3, 90)); }),
            (Steps{"record word", "bytes", "slot 1", "slot 1 word", "record word", "slot 2", "slot 2 word",
                   "record word", "slot 2 word", "slot 1 word", "slot 0 word", "slot 2 word"}));
  EXPECT_EQ(StoryOf([&] { Write(5, 1, Payload(3, 80), 0); }),
            (Steps{"record word", "bytes", "slot 3", "slot 3 word", "slot 1 word", "slot 3 word"}))
      << "plain: the old copy goes before the new one is committed";
  EXPECT_EQ(StoryOf([&] { Write(5, 1, {}, 0); }),
            (Steps{"record word", "slot 4", "slot 4 word", "slot 3 word", "slot 4 word"}));
  EXPECT_EQ(Item(5, 1), Bytes{});
}

TEST_P(WriteTest, PartsGoInPlaceUnderTheThresholdAndByCopyAboveIt) {
  const std::uint32_t threshold = (3 * format().word + 4) / 2 + 50;
  SetUpOpened();
  const Steps journalled = {"record word", "slot 1",      "slot 1 word", "record word",
                            "bytes",       "slot 1 word", "bytes",       "slot 1 word"};
  EXPECT_EQ(StoryOf([&] { EXPECT_EQ(Part(1, threshold - 1, 3), 0); }), journalled);
  Bytes expected = Payload(1, 100);
  const Bytes news = Payload(99, threshold - 1);
  std::copy(news.begin(), news.end(), expected.begin() + 3);
  EXPECT_EQ(Item(5, 1), expected);
  EXPECT_EQ(Block(FirstOpened()).dead_bytes,
            format().record_size(6 + format().word + threshold - 1) + format().slot_size());
  SetUpOpened();
  StoryOf([&] { EXPECT_EQ(Part(1, threshold, 3), 0); });
  const auto bulks = [this] {
    return std::count_if(device_.steps.begin(), device_.steps.end(), [](const auto& s) { return s[0] == 'b'; });
  };
  EXPECT_EQ(bulks(), 3) << "old head, new bytes, old tail";
  EXPECT_EQ(Block(FirstOpened()).slot_count, 3u);

  SetUpOpened();
  EXPECT_EQ(StoryOf([&] { EXPECT_EQ(Part(0, 100, 0), 0); }), (Steps{"bytes"}));
  StoryOf([&] { EXPECT_EQ(Part(2, 4, 0), 0); });
  EXPECT_EQ(Block(FirstOpened()).slot_count, 2u) << "any other mode copies";
  EXPECT_EQ(bulks(), 2) << "no head";
  StoryOf([&] { EXPECT_EQ(Part(1, 7, 0xFFFFFFFF), 0); });
  EXPECT_EQ(bulks(), 2) << "no tail";
  EXPECT_EQ(Part(1, 3, 107), 0);
  EXPECT_EQ(Part(1, 20, 100), 0);
  EXPECT_EQ(Item(5, 1).size(), 120u);
  EXPECT_EQ(Part(1, 1, 121), 114);
  device_.steps.clear();
  EXPECT_EQ(Part(1, 0, 120), 0);
  EXPECT_TRUE(device_.steps.empty());
  EXPECT_EQ(Part(1, format().largest_item(), 0xFFFFFFFF), 121);
  EXPECT_EQ(WriteItemPart(0, 1, 5, 1, nullptr, 1, 0), 115);
  EXPECT_EQ(WriteItemPart(0, 1, 5, 2, arena_.data(), 0, 0), 115) << "no data comes before not found";
}

/// One that could not be written has taken its number all the same.
TEST_P(WriteTest, JournalRecordsAreNumberedUpTo65534) {
  class Failing : public FlashDevice {
    std::uint16_t ProgramWord16(std::uint32_t, std::uint16_t) override { return 1; }
  } failing;
  SetUpOpened();
  EXPECT_EQ(Part(1, 4, 0) + Part(1, 4, 0), 0);
  InstallFlashDevice(&failing);
  for (int i = 2; i < 65534; ++i) Part(1, 4, 0);
  InstallFlashDevice(&device_);
  EXPECT_EQ(Part(1, 4, 0) + Part(1, 4, 0), 0);
  for (const auto& [slot, number] : {std::pair{1, 0}, {2, 1}, {3, 65534}, {4, 0}})
    EXPECT_EQ(Read16(SlotAddress(FirstOpened(), static_cast<std::uint32_t>(slot)) + 2), number);
}

TEST_P(WriteTest, TheProgramOverCheckDecides) {
  SetUpOpened();
  for (const std::uint16_t answer : {std::uint16_t{142}, std::uint16_t{115}, std::uint16_t{7}}) {
    hooks_.program_over_answer = answer;
    const std::uint32_t slots = Block(FirstOpened()).slot_count;
    const Bytes before = Item(5, 1);
    device_.steps.clear();
    EXPECT_EQ(Write(5, 1, Payload(answer, 100)), answer == 115 ? 115 : 0);
    EXPECT_EQ(Part(0, 5, 0), answer == 115 ? 115 : 0);
    if (answer == 7) {
      EXPECT_EQ(Block(FirstOpened()).slot_count, slots + 3) << "two new copies and a marker";
      continue;
    }
    EXPECT_TRUE(device_.steps.empty()) << answer;
    EXPECT_EQ(Item(5, 1), before);
  }
}

TEST_P(WriteTest, SizesIdsAndArguments) {
  SetUpFormatted();
  std::uint16_t id = 0;
  const std::uint32_t largest = format().largest_item();
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, largest + 1), 121);
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, largest), 0);
  EXPECT_EQ(Block(FirstOpened()).next_slot, 0u) << "exactly full";
  EXPECT_EQ(Item(5, 0), Bytes(largest, 0xFF));
  EXPECT_EQ(WriteItem(0, 1, 0xFFFE, &id, nullptr, 1), 118);
  EXPECT_EQ(WriteItem(0, 1, 5, nullptr, nullptr, 1), 115);

  for (std::uint16_t i = 1; i < 1024; ++i) ASSERT_EQ(Write(i != 700 ? 5 : 6, i, {}), 0) << i;
  for (const std::uint16_t expected : {std::uint16_t{700}, std::uint16_t{1024}}) {
    EXPECT_EQ(MakeId(0, 5, &id), 0);
    EXPECT_EQ(id, expected);
    id = kAny;
    EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, 0), 0);
    EXPECT_EQ(id, expected);
  }
  hooks_.allocations_left = 1;  // the second chunk of the set
  id = kAny;
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, 0), 100);
  EXPECT_EQ(id, kAny);
  hooks_.allocations_left = -1;
}

TEST_P(WriteTest, BestFitKeepsTheSpareAndTellsHowToMakeRoom) {
  SetUpFormatted({.blocks = 3});
  const std::uint32_t largest = format().largest_item();
  const std::uint32_t half = largest / 2 / 4 * 4;
  ASSERT_EQ(Write(5, 0, Payload(0, largest - 600)), 0);
  ASSERT_EQ(Write(5, 1, Payload(1, half)), 0);
  EXPECT_EQ(Block(2).slot_count, 1u);
  EXPECT_EQ(Block(1).slot_count, 1u) << "the second block is opened, the third stays the spare";
  ASSERT_EQ(Write(5, 2, Payload(2, 100)), 0);
  EXPECT_EQ(Block(2).slot_count, 2u) << "the fuller block that still takes it";
  EXPECT_EQ(Block(0).state, format().free);

  const Bytes before = PartitionBytes();
  std::uint16_t id = 9;
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, largest), 130);
  EXPECT_EQ(PartitionBytes(), before);
  ASSERT_EQ(DeleteItem(0, 5, 0), 0);
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, largest - 400), 123);
  ASSERT_EQ(DeleteItem(0, 5, 1), 0);
  ASSERT_EQ(Write(5, 3, Payload(3, half - 400)), 0);
  EXPECT_EQ(WriteItem(0, 1, 5, &id, nullptr, largest), 124);
}

}  // namespace
}  // namespace vok::test
