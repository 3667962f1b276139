#include "tool_fixture.h"

namespace vok::test {

namespace {

class RebuildTest : public ToolTest {
 protected:
  RebuildTest() {
    RunWell("sample .");
    Write("whole.bin", Read("codeplug.bin"));
  }

  void ExpectSameItems(const std::string& a, const std::string& b) const {
    const Answer diff = Run("diff " + a + ' ' + b + " --psdt " + psdt_);
    EXPECT_EQ(diff.status, 0) << diff.out << diff.err;
  }

  /// Rebuilds into rebuilt.bin, which must be clean, and gives the report.
  json Rebuild(const std::string& codeplug) const {
    const std::string pair = "--psdt " + psdt_ + " --codeplug ";
    const json report = json::parse(Run("repair --rebuild --json --force -o rebuilt.bin " + pair + codeplug).out);
    EXPECT_EQ(Run("check " + pair + "rebuilt.bin").status, 0);
    return report.at("sections");
  }

  std::string psdt_ = "psdt.bin";
};

constexpr std::size_t kBlock = 0x20000;
constexpr std::size_t kUsedBlock = 2;  ///< of section CPGA of the sample: 26 items
constexpr std::size_t kTuna = 4 * kBlock;

TEST_F(RebuildTest, BringsBackWhatARepairLosesToATornStateWord) {
  Overwrite("codeplug.bin", kUsedBlock * kBlock + 12, {0x04, 0xFF});
  const Bytes torn = Read("codeplug.bin");
  Write("codeplug.bin.orig", {1});
  const std::string pair = "--psdt psdt.bin --codeplug codeplug.bin";
  for (const std::string change : {"repair ", "write 1 1 codeplug.bin ", "reorganise "}) {
    const Answer refused = Run(change + pair);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("section CPGA block 2 loses 26 items; vok repair --rebuild keeps them"),
              std::string::npos)
        << refused.err;
  }
  EXPECT_EQ(Read("codeplug.bin"), torn);
  const Answer repair = Run("repair --accept-loss " + pair);
  EXPECT_EQ(repair.status, 0);
  EXPECT_EQ(
      repair.err,
      "vok: section CPGA block 2 loses 26 items; vok repair --rebuild on the original, kept as codeplug.bin.orig.2, "
      "brings them back\n");
  EXPECT_EQ(Run("diff whole.bin codeplug.bin --psdt psdt.bin").status, 1);
  EXPECT_EQ(Read("codeplug.bin.orig"), Bytes{1});
  EXPECT_EQ(Read("codeplug.bin.orig.2"), torn);
  EXPECT_EQ(Rebuild("codeplug.bin.orig.2")[0].at("chosen").size(), 26U);
  ExpectSameItems("whole.bin", "rebuilt.bin");
}

TEST_F(RebuildTest, BringsBackWhatNoRepairMounts) {
  Overwrite("codeplug.bin", 0, {0});
  Overwrite("codeplug.bin", kUsedBlock * kBlock, {0});
  EXPECT_EQ(ListedItems(RunWell("list --rebuilt --json --psdt psdt.bin --codeplug codeplug.bin")),
            ListedItems(RunWell("list --json --psdt psdt.bin --codeplug whole.bin")));
  ExpectFailure("repair --psdt psdt.bin --codeplug codeplug.bin", "; vok repair --rebuild gets 27 items out of it",
                "140: Partition Unmounted");
  RunWell("repair --rebuild --psdt psdt.bin --codeplug codeplug.bin");
  ExpectSameItems("whole.bin", "codeplug.bin");
}

TEST_F(RebuildTest, ChangesOneSectionOfADumpAndKeepsTheOriginal) {
  const std::string dump = Dump({.psdt = "psdt.bin", .codeplug = "codeplug.bin", .json = ""});
  Overwrite("dump.bin", 0x100, {1, 2, 3});
  const Bytes before = Read("dump.bin");
  RunWell("repair --rebuild TUNA " + dump);
  EXPECT_EQ(Read("dump.bin.orig"), before);
  Bytes after = Read("dump.bin");
  const auto tuna = [](Bytes& bytes) { return bytes.begin() + kCodeplugAddress + kTuna; };
  EXPECT_FALSE(std::equal(tuna(after), tuna(after) + 2 * kBlock, before.begin() + kCodeplugAddress + kTuna));
  std::copy_n(before.begin() + kCodeplugAddress + kTuna, 2 * kBlock, tuna(after));
  EXPECT_TRUE(after == before);
}

TEST_F(RebuildTest, ASectionThatIsTooFullStaysAsItIs) {
  Write("big.bin", Bytes(120000, 7));
  RunWell("write 150 1 big.bin --psdt psdt.bin --codeplug codeplug.bin");
  Bytes plug = Read("codeplug.bin");
  const auto tuna = plug.begin() + kTuna;
  // The same block again under another ID.
  std::copy_n(tuna + kBlock, kBlock, tuna);
  const Bytes name = {0, 150, 0, 1};
  std::search(tuna, tuna + kBlock, name.begin(), name.end())[3] = 2;
  Write("codeplug.bin", plug);
  ExpectFailure("repair --rebuild --psdt psdt.bin --codeplug codeplug.bin",
                "section TUNA has no room for item type 150 ID 2: 120012 bytes needed", "130: Partition Full");
  EXPECT_EQ(Read("codeplug.bin"), plug);
}

/// Slots of a version-1 image after an item that lay in slot 271 of block 2 was written or renamed anew.
class RebuildChoiceTest : public RebuildTest {
 protected:
  struct Place {
    std::size_t block;
    std::size_t slot;
  };
  static constexpr Place kOld = {2, 271};
  static constexpr Place kNew = {0, 85};
  static constexpr Place kJournal = {0, 86};
  static constexpr int kValid = 0x40;

  RebuildChoiceTest() { psdt_ = image_.psdt; }

  void Change(const std::string& command) const {
    Write("bytes.bin", {'n', 'e', 'w'});
    RunWell(command + " --psdt v1-psdt.bin --codeplug v1-clean.bin");
  }

  static std::size_t WordOf(Place place) { return place.block * 0x10000 + 0x20 + 6 * place.slot + 4; }

  void SetState(Place place, int state) const {
    const int word = Read("v1-clean.bin")[WordOf(place)];
    Overwrite("v1-clean.bin", WordOf(place), {static_cast<std::uint8_t>((word & 0x3F) | state)});
  }

  /// From where the one item is taken about which there was something to choose.
  void ExpectChosen(Place place) const {
    const json chosen = Rebuild("v1-clean.bin")[0].at("chosen");
    ASSERT_EQ(chosen.size(), 1U) << chosen;
    EXPECT_EQ(chosen[0].at("taken").at("block"), place.block) << chosen;
    EXPECT_EQ(chosen[0].at("taken").at("slot"), place.slot) << chosen;
  }

  void ExpectSameAsRepair() const {
    Run("repair --force -o repaired.bin --psdt v1-psdt.bin --codeplug v1-clean.bin");
    EXPECT_EQ(Run("diff repaired.bin rebuilt.bin --psdt " + psdt_).status, 0);
  }
};

TEST_F(RebuildChoiceTest, OfTwoCopiesAsTheStoreWould) {
  Change("write 1 1 bytes.bin");
  SetState(kOld, kValid);
  ExpectChosen(kNew);
  ExpectSameAsRepair();
  SetState(kJournal, kValid);
  ExpectChosen(kOld);
  ExpectSameAsRepair();
}

TEST_F(RebuildChoiceTest, ACopyInLineBeforeOneWithATornLocation) {
  Change("write 1 1 bytes.bin");
  SetState(kOld, kValid);
  const Bytes plug = Read("v1-clean.bin");
  const std::size_t other = WordOf({kNew.block, kNew.slot - 1});
  Overwrite("v1-clean.bin", WordOf(kNew), {plug[other], plug[other + 1]});
  ExpectChosen(kOld);
}

TEST_F(RebuildChoiceTest, NamesAnItemThatIsGone) {
  Change("write 1 5000 bytes.bin");
  Overwrite("v1-clean.bin", WordOf(kNew), {kValid, 0});
  const json damaged = Rebuild("v1-clean.bin")[0].at("damaged");
  ASSERT_EQ(damaged.size(), 1U);
  EXPECT_EQ(damaged[0].at("id"), 5000);
}

}  // namespace

}  // namespace vok::test
