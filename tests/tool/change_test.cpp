#include "tool_fixture.h"

namespace vok::test {

namespace {

/// Two sections of store version 1, empty at first.
class ChangeTest : public ToolTest {
 protected:
  ChangeTest() {
    const std::string description = R"({"version": 1, "sections": [
        {"tag": "CPGA", "kind": "read-write", "start": 131072, "block_count": 2, "partition": 0, "types": [[1, 99]]},
        {"tag": "TUNA", "kind": "read-write", "start": 262144, "block_count": 2, "partition": 1, "types": [[100, 199]]}
        ]})";
    WriteText("d.json", description);
    RunWell("new d.json --psdt-out p.bin -o c.bin");
  }

  void WriteItem(const std::string& type_and_id, std::size_t length, std::uint8_t value) const {
    Write("item", Bytes(length, value));
    RunWell(kPair + " write " + type_and_id + " item");
  }
  Bytes ReadItem(const std::string& type_and_id) const {
    RunWell(kPair + " read " + type_and_id + " --force -o got");
    return Read("got");
  }
  json Block(std::size_t index) const {
    return RunJson(kPair + " info --blocks --json")["sections"][0]["blocks"][index];
  }
  std::size_t CountItems() const { return ListedItems(RunWell(kPair + " list --json")).size(); }

  const std::string kPair = "--psdt p.bin --codeplug c.bin";
};

TEST_F(ChangeTest, WritesAndReplacesAnItem) {
  Write("item", {'o', 'n', 'e'});
  EXPECT_EQ(RunWell(kPair + " write 5 3 item"), "");
  EXPECT_EQ(RunWell(kPair + " write 5 new item"), "0\n");
  EXPECT_EQ(RunWell(kPair + " write 5 new item -o other.bin"), "1\n");
  EXPECT_EQ(CountItems(), 2U) << "the third item went to another file";

  const Answer answer = Run(kPair + " write 5 3 - --json", "printf longer |");
  EXPECT_EQ(answer.status, 0) << answer.err;
  EXPECT_EQ(json::parse(answer.out), json::parse(R"({"format": "vok/1", "section": "CPGA", "type": 5, "id": 3,
      "length": 6, "complete": true, "losses": [], "crc32": ")" +
                                                 Checksum({'l', 'o', 'n', 'g', 'e', 'r'}) + "\"}"));
  EXPECT_EQ(Text(ReadItem("5 3")), "longer");
  EXPECT_EQ(Text(ReadItem("5 0")), "one");
  RunWell(kPair + " check");
}

/// Each attempt leaves an unfinished copy in the block that the next one fills, while the room for the marker lies in
/// another: reorganising only the block with most dead bytes would go on for ever.
TEST_F(ChangeTest, MakesRoomForTheMarkerInAnotherBlock) {
  const std::string description = R"({"version": 1, "sections": [
      {"tag": "CPGA", "kind": "read-write", "start": 131072, "block_count": 3, "partition": 0, "types": [[1, 99]]}]})";
  WriteText("d.json", description);
  RunWell("new d.json --psdt-out p.bin -o c.bin --force");
  WriteItem("5 0", 20000, 1);
  WriteItem("5 1", 46000, 2);
  WriteItem("5 2", Block(1)["largest_item"], 3);
  RunWell(kPair + " delete 5 2");
  const std::size_t largest = Block(2)["largest_item"];
  Write("item", Bytes(largest, 4));
  const Answer answer = Run(kPair + " --verbose write 5 0 item", "ulimit -t 10;");
  EXPECT_EQ(answer.status, 0) << answer.err;
  EXPECT_NE(answer.err.find("reorganised block"), std::string::npos) << answer.err;
  EXPECT_EQ(ReadItem("5 0"), Bytes(largest, 4));
  EXPECT_EQ(ReadItem("5 1"), Bytes(46000, 2));
  RunWell(kPair + " check");
}

/// The item and its new copy fit, and nothing makes room for the marker: it ends all the same.
TEST_F(ChangeTest, GivesUpWhenTheMarkerNeverFindsRoom) {
  WriteItem("5 0", 20000, 1);
  const std::size_t largest = Block(1)["largest_item"];
  const Bytes before = Read("c.bin");
  Write("item", Bytes(largest, 2));
  ExpectFailure(kPair + " write 5 0 item", "45508 bytes needed, 45492 free", "130: Partition Full", "ulimit -t 10;");
  EXPECT_EQ(Read("c.bin"), before);
}

TEST_F(ChangeTest, TellsTheFiguresWhenNothingMakesRoom) {
  WriteItem("5 0", 40000, 1);
  const Bytes before = Read("c.bin");
  Write("item", Bytes(30000, 2));
  ExpectFailure(kPair + " write 5 1 item",
                "item type 5 ID 1 in section CPGA: 30010 bytes needed, 25492 free, 0 more by reorganising",
                "130: Partition Full");
  ExpectFailure(kPair + " rename 5 0 6 new", "40032 bytes needed, 25492 free", "130: Partition Full");
  Write("item", Bytes(65495, 2));
  ExpectFailure(kPair + " write 5 1 item", "65495 bytes, the largest item has 65494", "121: Large Chunk");
  ExpectFailure(kPair + " write 200 1 item", "no section serves type 200", "116: Invalid Partition");
  EXPECT_EQ(Read("c.bin"), before);
}

TEST_F(ChangeTest, RenamesWithinASection) {
  WriteItem("5 0", 10, 1);
  WriteItem("5 1", 20, 2);
  EXPECT_EQ(RunWell(kPair + " rename 5 0 6 new"), "0\n");
  EXPECT_EQ(RunWell(kPair + " rename 5 1 5 9"), "");
  EXPECT_EQ(ReadItem("6 0"), Bytes(10, 1));
  EXPECT_EQ(ReadItem("5 9"), Bytes(20, 2));
  EXPECT_EQ(CountItems(), 2U);
  ExpectFailure(kPair + " rename 5 9 6 0", "cannot rename item type 5 ID 9", "135: Target Exists");
  ExpectFailure(kPair + " rename 5 9 100 0", "section CPGA and type 100 to section TUNA", "116: Invalid Partition");
}

TEST_F(ChangeTest, DeletesOneItemAndRanges) {
  for (const char* const name : {"5 0", "5 1", "5 2", "5 7", "6 0", "8 0", "100 0"}) WriteItem(name, 10, 1);
  EXPECT_EQ(RunWell(kPair + " delete 5 7"), "1 item deleted\n");
  ExpectFailure(kPair + " delete 5 7", "cannot delete item type 5 ID 7", "119: Item not found");
  EXPECT_EQ(RunWell(kPair + " delete 5 1-100 --yes"), "2 items deleted\n");
  ExpectFailure(kPair + " delete 5 1-100 --yes", "cannot delete item type 5 ID 1 to 100", "119: Item not found");
  EXPECT_EQ(RunWell(kPair + " delete --types 6-150 --section CPGA -o other.bin --yes"), "2 items deleted\n");
  EXPECT_EQ(CountItems(), 4U);
  EXPECT_EQ(RunJson(kPair + " delete --types 6-150 --json --yes").at("deleted"), 3);
  EXPECT_EQ(ReadItem("5 0"), Bytes(10, 1));
  EXPECT_EQ(CountItems(), 1U);
  EXPECT_EQ(Run(kPair + " delete 5").status, 2);
}

TEST_F(ChangeTest, ReorganiseRegainsEveryDeadByte) {
  WriteItem("5 0", 10000, 1);
  WriteItem("5 0", 20000, 2);
  WriteItem("5 1", 10, 3);
  const json before = Block(1);
  const int dead = before["dead_bytes"];
  EXPECT_GT(dead, 10000);

  const json answer = RunJson(kPair + " reorganise --json");
  const json section = answer.at("sections").at(0);
  EXPECT_EQ(section.at("free_after").get<int>() - section.at("free_before").get<int>(), dead);
  EXPECT_EQ(answer.at("sections").at(1).at("blocks"), 0);
  EXPECT_EQ(Block(0)["dead_bytes"], 0);
  EXPECT_EQ(ReadItem("5 0"), Bytes(20000, 2));
  RunWell(kPair + " check");
}

TEST_F(ChangeTest, ReadOnlySectionsStayAsTheyAre) {
  const TestImage image = Copy("v3", "missing_signature");
  Write("item", {1});
  ExpectFailure(image.Pair() + " write 300 0 item", "section PDAT: the section is read-only", "134: Read Only");
  ExpectFailure(image.Pair() + " delete --types 1-65533", "section PDAT is read-only", "134: Read Only");
  ExpectFailure(image.Pair() + " reorganise PDAT", "section PDAT: it is read-only", "134: Read Only");
}

}  // namespace

}  // namespace vok::test
