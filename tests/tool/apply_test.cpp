#include "tool_fixture.h"

namespace vok::test {

namespace {

namespace fs = std::filesystem;

/// The sample, unpacked into "in".
class ApplyTest : public ToolTest {
 protected:
  ApplyTest() {
    RunWell("sample .");
    RunWell(kPair + " unpack in");
  }

  Items ItemsOf(const std::string& codeplug) const {
    return ListedItems(RunWell("--psdt psdt.bin --codeplug " + codeplug + " list --json"));
  }

  /// Changes an item, adds one and takes one away.
  void Edit() const {
    Write("in/CPGA/10-1.bin", Bytes(500, 7));
    Write("in/CPGA/13-70.bin", {1, 2, 3});
    fs::remove(directory_ / "in/CPGA/12-0.bin");
  }

  /// By address of the block's header.
  json EraseCounts(const std::string& codeplug) const {
    const json info = RunJson("--psdt psdt.bin --codeplug " + codeplug + " info --blocks --json");
    json counts;
    for (const json& section : info.at("sections"))
      for (const json& block : section.at("blocks"))
        counts[std::to_string(block.at("address").get<int>())] = block.at("erase_count");
    return counts;
  }

  const std::string kPair = "--psdt psdt.bin --codeplug codeplug.bin";
};

TEST_F(ApplyTest, BringsTheImageToWhatTheFolderHolds) {
  Edit();
  const Bytes before = Read("codeplug.bin");
  const json plan = RunJson(kPair + " apply in --dry-run --delete --json");
  EXPECT_EQ(Read("codeplug.bin"), before);
  EXPECT_EQ(plan.at("added").size(), 1U);
  EXPECT_EQ(plan.at("changed").at(0).at("length").at(1), 500);
  EXPECT_EQ(plan.at("removed").at(0).at("type"), 12);
  const json kept = RunJson(kPair + " apply in --json");
  EXPECT_EQ(kept.at("kept").size(), 1U);
  RunWell(kPair + " read 12 0");
  EXPECT_EQ(RunJson(kPair + " apply in --delete --json").at("removed"), plan.at("removed"));
  EXPECT_EQ(Run("--psdt psdt.bin diff codeplug.bin in").out, "");
  RunWell(kPair + " check");

  const Bytes after = Read("codeplug.bin");
  EXPECT_EQ(RunWell(kPair + " apply in --delete"), "0 items changed\n");
  EXPECT_EQ(Read("codeplug.bin"), after);
  // No other copy moved: an item that stays lies where it lay, and no block was erased.
  EXPECT_EQ(RunJson(kPair + " history 10 3 --json"),
            (Write("old.bin", before), RunJson("--psdt psdt.bin --codeplug old.bin history 10 3 --json")));
  EXPECT_EQ(EraseCounts("codeplug.bin"), EraseCounts("old.bin"));
}

TEST_F(ApplyTest, MakesRoomAndChangesNothingWithoutIt) {
  for (std::uint8_t i = 0; i < 6; ++i) {
    Write("in/CPGA/13-0.bin", Bytes(60000u + i, i));
    RunWell(kPair + " apply in");
  }
  EXPECT_EQ(Run("--psdt psdt.bin diff codeplug.bin in").status, 0);
  RunWell(kPair + " check");
  const Bytes before = Read("codeplug.bin");
  Write("in/CPGA/10-1.bin", {1});
  for (int id = 1; id < 9; ++id) Write("in/CPGA/13-" + std::to_string(id) + ".bin", Bytes(60000, 3));
  const Answer full = Run(kPair + " apply in");
  EXPECT_EQ(full.status, 1);
  EXPECT_NE(full.err.find(" bytes needed"), std::string::npos) << full.err;
  EXPECT_EQ(Read("codeplug.bin"), before);
}

TEST_F(ApplyTest, RefusesFilesThatCanBeNoItemsOfTheSection) {
  const auto expect = [this](const std::string& name, const std::string& what) {
    Write("in/CPGA/" + name, {1});
    for (const std::string command : {"pack in -o out.bin", "apply in"})
      ExpectFailure((command == "apply in" ? kPair + ' ' : "") + command, "in/CPGA/" + name + ": " + what);
    fs::remove(directory_ / "in/CPGA" / name);
  };
  expect("10-65535.bin", "types are 1 to 65533 and IDs 0 to 65534");
  expect("010-77.bin", "the file of that item is named CPGA/10-77.bin");
  expect("100-9.bin", "type 100 is in no type range of section CPGA");
  Write("in/PDAT/300-9.bin", {1});
  ExpectFailure(kPair + " apply in", "section PDAT is read-only", "134: Read Only");
}

/// A section that the folder does not tell the whole of loses nothing.
TEST_F(ApplyTest, DeletesNothingOfASectionThatTheManifestLeavesOut) {
  json manifest = json::parse(Read("in/manifest.json"));
  manifest["sections"].erase(0);
  WriteText("in/manifest.json", manifest.dump());
  fs::remove_all(directory_ / "in/CPGA");
  EXPECT_EQ(RunWell(kPair + " apply in --delete"), "0 items changed\n");
}

TEST_F(ApplyTest, PackTakesEditsAndTellsThem) {
  Edit();
  ExpectFailure("pack in -o out.bin", "in/CPGA/12-0.bin: No such file or directory; --delete does without the item");
  const std::string out = RunWell("pack in --delete -o out.bin");
  for (const std::string line :
       {"changed: CPGA type 10 ID 1\n", "added: CPGA type 13 ID 70\n", "left out: CPGA type 12 ID 0\n"})
    EXPECT_NE(out.find(line), std::string::npos) << out;
  RunWell(kPair + " apply in --delete");
  EXPECT_EQ(ItemsOf("out.bin"), ItemsOf("codeplug.bin"));
  RunWell(kPair + " unpack in --force");
  RunWell("pack in --verify --force -o out.bin");
  Write("in/CPGA/13-70.bin", {9});
  ExpectFailure("pack in --verify --force -o out.bin", "/length: ");
}

TEST_F(ApplyTest, PackOntoAnImageKeepsWhatLiesOutsideTheSections) {
  const std::string dump = Dump({.psdt = "psdt.bin", .codeplug = "codeplug.bin", .json = ""});
  Overwrite("dump.bin", 0x100, {1, 2, 3});
  Overwrite("dump.bin", kFlashSize - 3, {4, 5, 6});
  Write("in/CPGA/10-1.bin", {1});
  EXPECT_NE(RunWell("pack in --dump -o anew.bin").find("bytes outside the sections are erased"), std::string::npos);
  const Bytes before = Read("dump.bin");
  RunWell("pack in --onto dump.bin -o new.bin");
  EXPECT_EQ(Read("dump.bin"), before);
  RunWell("pack in --onto dump.bin");
  const Bytes after = Read("dump.bin");
  EXPECT_TRUE(after == Read("new.bin"));
  const std::size_t end = kCodeplugAddress + Read("codeplug.bin").size();
  EXPECT_TRUE(std::equal(before.begin(), before.begin() + kCodeplugAddress, after.begin()));
  EXPECT_TRUE(std::equal(before.begin() + static_cast<std::ptrdiff_t>(end), before.end(),
                         after.begin() + static_cast<std::ptrdiff_t>(end)));
  EXPECT_EQ(Run("diff dump.bin in").status, 0);
  RunWell("pack in --onto codeplug.bin");
  EXPECT_EQ(ItemsOf("codeplug.bin"), ListedItems(RunWell("--image dump.bin list --json")));
  ExpectFailure("pack in --onto in/psdt.bin", "is neither a dump with the folder's PSDT at 0xE000 nor a codeplug");
}

/// Also the counter of a block whose signature is gone is readable.
TEST_F(ApplyTest, ARebuildKeepsTheHistoryOfErases) {
  const json before = EraseCounts("codeplug.bin");
  Overwrite("codeplug.bin", 2 * 0x20000, {0});
  RunWell(kPair + " repair --rebuild");
  const json after = EraseCounts("codeplug.bin");
  ASSERT_EQ(after.size(), before.size());
  for (const auto& [block, count] : before.items()) EXPECT_EQ(after[block], count.get<int>() + 1) << block;
  Overwrite("codeplug.bin", 8, {0, 0, 0, 0});
  RunWell(kPair + " repair --rebuild");
  EXPECT_EQ(EraseCounts("codeplug.bin").at(std::to_string(kCodeplugAddress)), 1);
}

TEST_F(ApplyTest, NewTakesWhatInfoAndUnpackTell) {
  WriteText("info.json", RunWell(kPair + " info --json"));
  for (const std::string description : {"info.json", "in/manifest.json"}) {
    RunWell("new " + description + " --force --psdt-out p.bin -o c.bin");
    json made = RunJson("--psdt p.bin --codeplug c.bin info --json");
    json given = json::parse(Read("info.json"));
    for (json* const info : {&made, &given})
      for (json& section : (*info)["sections"]) section.erase("space");
    EXPECT_EQ(made["sections"], given["sections"]);
    EXPECT_EQ(Read("c.bin").size(), Read("codeplug.bin").size());
  }
}

}  // namespace

}  // namespace vok::test
