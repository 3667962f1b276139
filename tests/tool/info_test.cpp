#include "tool_fixture.h"

namespace vok::test {

namespace {

class InfoTest : public ToolTest {};

TEST_F(InfoTest, DescribesSectionsAndTheirSpace) {
  const TestImage image = Copy("v3", "missing_signature");
  const json info = RunJson("info --json " + image.Pair());
  EXPECT_EQ(RunJson(Dump(image) + " info --json"), info);
  EXPECT_EQ(info.at("format"), "vok/1");
  EXPECT_EQ(info.at("version"), 3);
  EXPECT_EQ(info.at("psdt").at("records"), 4);
  EXPECT_EQ(info.at("psdt").at("header").at(0), 0x50484452);
  EXPECT_EQ(info.at("passed_over"), json::array());
  ASSERT_EQ(info.at("sections").size(), 4U);
  json section = info.at("sections").at(0);
  const json space = section.at("space");
  EXPECT_GE(space.at("free_after_reorganisation"), space.at("free_now"));
  EXPECT_GT(space.at("largest_item_now"), 0);
  section.erase("space");
  EXPECT_EQ(section, json::parse(R"({"section": "CPGA", "partition": 0, "mounted": true, "code": 0, "start": 131072,
      "block_size": 131072, "block_count": 4, "kind": "read-write", "types": [[1, 99], [1000, 1099]]})"));
}

TEST_F(InfoTest, TellsWhatStartUpPassesOver) {
  Overwrite(image_.psdt, 288 + 36, {0, 9});
  const json info = RunLossy("info --json " + image_.Pair(), "136 items not served: start-up passes the section over");
  EXPECT_EQ(info.at("sections").size(), 2U);
  EXPECT_EQ(info.at("passed_over"),
            json::parse(R"([{"record": 2, "section": "XTRA", "why": "its kind is none of this store version"}])"));
  EXPECT_NE(Run("info " + image_.Pair()).out.find("record 2 (XTRA) is passed over"), std::string::npos);
}

TEST_F(InfoTest, WorksWhenTheStoreCannotBeSetUp) {
  Overwrite(image_.psdt, 288 + 68, {0, 1});
  const json info = RunLossy("info --json " + image_.Pair());
  for (const auto& section : info.at("sections")) {
    EXPECT_EQ(section.at("mounted"), false);
    EXPECT_EQ(section.at("code"), 138);
    EXPECT_EQ(section.at("space"), json());
  }
  EXPECT_NE(Run("info " + image_.Pair()).out.find("cannot be set up: VOK Error #115"), std::string::npos);
}

TEST_F(InfoTest, TheStoreVersionIsThatOfMostBlocks) {
  Overwrite(image_.codeplug, 4, {0, 0, 0, 3});
  EXPECT_EQ(RunJson("info --json " + image_.Pair()).at("version"), 1);
  EXPECT_EQ(RunLossy("info --json --store-version 2 " + image_.Pair() + "@0x20000").at("version"), 2);
}

}  // namespace

}  // namespace vok::test
