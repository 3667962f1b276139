#include <cstdlib>
#include <random>

#include "tool_fixture.h"

namespace vok::test {

namespace {

/// Damaged images: whatever lies in the blocks, a check foretells what a repair does, a repaired image has the items
/// that the tool gave before, and every item is listed or told as lost. VOK_SEED runs one seed alone.
class DamageTest : public ToolTest {
 protected:
  void Damage(const TestImage& image, unsigned seed) const {
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t limit) { return random() % limit; };
    Bytes codeplug = Read(image.codeplug);
    for (std::size_t changes = 1 + below(8); changes > 0; --changes) {
      const std::size_t block = below(codeplug.size() / kBlockSize) * kBlockSize;
      const std::array<std::size_t, 3> places = {below(16), 0x20 + below(800), kBlockSize - 1 - below(3000)};
      codeplug[block + places[below(places.size())]] = static_cast<std::uint8_t>(random());
    }
    Write(image.codeplug, codeplug);
  }

  /// @return whether some section cannot be repaired
  static bool ExpectsNoRepair(const json& report) {
    bool hopeless = false;
    for (const auto& section : report.at("sections"))
      for (const auto& finding : section.at("findings"))
        hopeless = hopeless || std::string(finding.at("repair")).rfind("cannot", 0) == 0;
    return hopeless;
  }

  static void ExpectFindingsToMatchMount(const json& report) {
    for (const auto& section : report.at("sections")) {
      std::size_t seen_by_mount = 0;
      const std::set<std::string> seen = {"damage.no-signature", "damage.block-state", "damage.journal-record"};
      for (const auto& finding : section.at("findings"))
        if ((finding.at("severity") == "due" && finding.at("code") != "due.programmed-free-space") ||
            seen.contains(finding.at("code")))
          ++seen_by_mount;
      EXPECT_EQ(section.at("code") == 0, seen_by_mount == 0) << section;
    }
  }

  static void ExpectEveryByteCountedOnce(const json& map) {
    for (const auto& section : map.at("sections")) {
      for (const auto& block : section.at("blocks")) {
        std::int64_t sum = 0;
        for (const char* const share : {"live", "dead", "unfinished", "lost", "free"})
          sum += block.at(share).get<int>();
        EXPECT_EQ(sum, section.at("block_size")) << block;
      }
    }
  }

  void RunSeed(unsigned seed) const {
    SCOPED_TRACE("VOK_SEED=" + std::to_string(seed));
    Copy("v1", "clean");
    Damage(image_, seed);
    const std::string pair = "--store-version 1 " + image_.Pair();
    const Answer check = Run("check --json " + pair);
    ASSERT_TRUE(check.status == 0 || check.status == 1) << check.err;
    const json report = json::parse(check.out);
    ExpectFindingsToMatchMount(report);
    ExpectEveryByteCountedOnce(json::parse(Run("map --json --svg /dev/null --html page.html --force " + pair).out));
    EXPECT_LE(Run("explain " + std::to_string(kCodeplugAddress + seed * 16411 % 0xA0000) + ' ' + pair).status, 1);
    const json before = json::parse(Run("list --json " + pair).out);
    EXPECT_EQ(report.at("losses"), before.at("losses"));
    const Answer repair = Run("repair --accept-loss " + pair);
    EXPECT_EQ(repair.status, json::parse(Run("check --json " + pair).out).at("clean") ? 0 : 1) << repair.err;
    if (ExpectsNoRepair(report)) {
      EXPECT_EQ(repair.status, 1) << check.out;
    }
    EXPECT_EQ(json::parse(Run("list --json " + pair).out).at("items"), before.at("items"));
  }

  static constexpr std::size_t kBlockSize = 0x10000;
};

TEST_F(DamageTest, CheckForetellsRepair) {
  if (const char* seed = std::getenv("VOK_SEED")) return RunSeed(static_cast<unsigned>(std::atol(seed)));
  for (unsigned seed = 1; seed <= 40; ++seed) RunSeed(seed);
}

/// Damage inside one block: what is not told is given with its own bytes, and a rebuilt view gives what is readable.
class BlockDamageTest : public ToolTest {
 protected:
  static std::size_t LengthWord(const Bytes& codeplug, const SlotPlace& place) {
    return (static_cast<std::size_t>(codeplug[place.word] << 8 | codeplug[place.word + 1]) & 0x3FFF) * 4 + 2;
  }

  static Items Without(Items items, const json& losses) {
    for (const auto& loss : losses)
      for (const auto& lost : loss.at("items"))
        std::erase_if(items, [&](const ItemKey& item) {
          return std::get<1>(item) == lost.at("type") && std::get<2>(item) == lost.at("id");
        });
    return items;
  }

  /// @param gone  items that nothing names any more
  void Expect(std::size_t gone, std::size_t unreadable, const std::string& told) const {
    const Items all = ExpectedItems(Text(Read(image_.json)));
    const json list = RunLossy("list --json " + image_.Pair(), told);
    EXPECT_EQ(Without(ListedItems(list.dump()), list.at("losses")).size() + gone,
              Without(all, list.at("losses")).size());
    for (const ItemKey& item : Without(ListedItems(list.dump()), list.at("losses"))) EXPECT_TRUE(all.contains(item));
    const Items rebuilt = ListedItems(Run("list --json --rebuilt " + image_.Pair()).out);
    EXPECT_EQ(rebuilt.size() + gone + unreadable, all.size());
  }

  const Bytes codeplug_ = Read(image_.codeplug);
  const SlotPlace fifth_ = SlotFromEnd(codeplug_, 5);
  const SlotPlace sixth_ = SlotFromEnd(codeplug_, 6);
};

TEST_F(BlockDamageTest, SlotsBehindAGapAreFoundWhateverLiesBesideIt) {
  Overwrite(image_.codeplug, sixth_.slot, Bytes(12, 0xFF));
  Expect(2, 0, "behind a slot that looks unused");
  Write(image_.codeplug, codeplug_);
  Overwrite(image_.codeplug, fifth_.slot, {0xFF, 0xFF});
  Overwrite(image_.codeplug, LengthWord(codeplug_, sixth_), {0xFF, 0xFF});
  Expect(1, 1, "the record cannot be read");
}

}  // namespace

}  // namespace vok::test
