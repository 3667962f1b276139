#include "tool_fixture.h"

namespace vok::test {

namespace {

class RepairTest : public ToolTest {
 protected:
  void ExpectRepaired(const std::string& image, const TestImage& original) const {
    EXPECT_EQ(Run("check " + image).status, 0);
    EXPECT_EQ(ListedItems(RunWell("list --json " + image)), ExpectedItems(Text(Read(original.json))));
  }
};

TEST_F(RepairTest, InPlace) {
  for (const TestImage& image : {Copy("v2", "several"), Copy("v3", "missing_signature")}) {
    const std::size_t size = Read(image.codeplug).size();
    const std::set<std::string> files = Files();
    EXPECT_NE(RunWell("repair " + image.Pair()).find("clean now"), std::string::npos);
    EXPECT_EQ(Read(image.codeplug).size(), size);
    EXPECT_EQ(Files(), files);
    ExpectRepaired(image.Pair(), image);
  }
}

TEST_F(RepairTest, OfADumpKeepsItsPsdtAndTheBytesAround) {
  const TestImage image = Copy("v2", "several");
  const std::string dump = Dump(image);
  Overwrite("dump.bin", 0x100, {1, 2, 3});
  const Bytes before = Read("dump.bin");
  RunWell("repair " + dump);
  const Bytes unrepaired = Read(image.codeplug);
  RunWell("repair -o fixed.bin " + image.Pair());
  EXPECT_EQ(Read(image.codeplug), unrepaired);
  Bytes expected = before;
  const Bytes fixed = Read("fixed.bin");
  std::copy(fixed.begin(), fixed.end(), expected.begin() + kCodeplugAddress);
  EXPECT_TRUE(Read("dump.bin") == expected);
  ExpectRepaired(dump, image);
}

TEST_F(RepairTest, CleanImageStaysAsItIs) {
  const Bytes before = Read(image_.codeplug);
  EXPECT_NE(RunWell("repair " + image_.Pair()).find("nothing to repair"), std::string::npos);
  RunWell("repair -o copy.bin " + image_.Pair());
  EXPECT_EQ(Read(image_.codeplug), before);
  EXPECT_EQ(Read("copy.bin"), before);
}

TEST_F(RepairTest, WritesNothingWhenASectionDoesNotMount) {
  const TestImage image = Copy("v2", "several");
  Overwrite(image.codeplug, 0, {0});
  Overwrite(image.codeplug, 0x20000, {0});
  const Bytes before = Read(image.codeplug);
  for (const std::string command : {"repair ", "repair -o new.bin ", "list CPGA "})
    ExpectFailure(command + image.Pair(), "section CPGA is not mounted", "140: Partition Unmounted");
  EXPECT_EQ(Read(image.codeplug), before);
  const json list = RunLossy("list --json " + image.Pair());
  EXPECT_EQ(list.at("items").size() + list.at("losses").at(0).at("items").size(),
            ExpectedItems(Text(Read(image.json))).size());
  RunWell("unpack --skip-unmounted out " + image.Pair());
}

TEST_F(RepairTest, AFullDiskLosesNothing) {
  const TestImage image = Copy("v2", "several");
  const Bytes before = Read(image.codeplug);
  ExpectFailure("repair " + image.Pair(), "cannot write v2-several.bin", "", "trap '' XFSZ; ulimit -f 100;");
  EXPECT_EQ(Read(image.codeplug), before);
}

TEST_F(RepairTest, KeepsPermissionsAndLinks) {
  namespace fs = std::filesystem;
  const TestImage image = Copy("v2", "several");
  fs::permissions(directory_ / image.codeplug, fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink(image.codeplug, directory_ / "link.bin");
  RunWell("repair --psdt v2-psdt.bin --codeplug link.bin");
  EXPECT_TRUE(fs::is_symlink(directory_ / "link.bin"));
  EXPECT_EQ(fs::status(directory_ / image.codeplug).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  ExpectRepaired(image.Pair(), image);
}

TEST_F(RepairTest, GoesOnUntilNothingIsLeft) {
  // A mount that cancels a slot does not see a journal record before it in the same block; the next one does.
  const Bytes clean = Read(image_.codeplug);
  const SlotPlace unfinished = SlotFromEnd(clean, 1);
  const SlotPlace journal = SlotFromEnd(clean, 2);
  ASSERT_GE(journal.length, 8U);
  Overwrite(image_.codeplug, unfinished.word, WithState(clean, unfinished, 0x80));
  Overwrite(image_.codeplug, journal.slot, {0xFF, 0xFE});
  Overwrite(image_.codeplug, journal.word, WithState(clean, journal, 0x40));
  Overwrite(image_.codeplug, journal.payload, {0, 2, 0, 99, 0x27, 0x0F, 0xFF, 0xFF});
  EXPECT_EQ(Run("check " + image_.Pair()).status, 1);
  RunWell("repair " + image_.Pair());
  EXPECT_EQ(Run("check " + image_.Pair()).status, 0);
}

}  // namespace

}  // namespace vok::test
