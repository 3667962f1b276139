#include "tool_fixture.h"

namespace vok::test {

namespace {

class DiffTest : public ToolTest {
 protected:
  DiffTest() {
    Write("b.bin", Read(image_.codeplug));
    RunWell("unpack a " + image_.Pair());
    Write("item", {1, 2, 3});
  }

  std::string Changed(const std::string& arguments) const {
    return RunWell("--psdt " + image_.psdt + " --codeplug b.bin " + arguments);
  }
};

TEST_F(DiffTest, EqualImagesInEveryForm) {
  const std::string pair = image_.psdt + "@57344+" + image_.codeplug + "@0x20000";
  Dump(image_);
  EXPECT_EQ(RunWell("diff a " + pair), "");
  EXPECT_EQ(RunWell("diff dump.bin a"), "");
  EXPECT_EQ(RunWell("--psdt " + image_.psdt + " diff b.bin@0x20000 " + image_.codeplug), "");
  EXPECT_EQ(RunJson("diff a a --json"), json::parse(R"({"format": "vok/1", "added": [], "removed": [], "changed": [],
                            "complete": true, "losses": []})"));
}

TEST_F(DiffTest, TellsAddedRemovedAndChangedItems) {
  const json old = json::parse(Read("a/manifest.json")).at("sections").at(0).at("items");
  const std::string first = old[0]["type"].dump() + ' ' + old[0]["id"].dump();
  const std::string second = old[1]["type"].dump() + ' ' + old[1]["id"].dump();
  Changed("write " + first + " item");
  Changed("delete " + second);
  Changed("write 100 65000 item");

  const Answer answer = Run("diff a " + image_.psdt + "+b.bin");
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "~ CPGA type " + old[0]["type"].dump() + " ID " + old[0]["id"].dump() + ", " +
                            old[0]["length"].dump() + " -> 3 bytes\n- CPGA type " + old[1]["type"].dump() + " ID " +
                            old[1]["id"].dump() + ", " + old[1]["length"].dump() +
                            " bytes\n+ TUNA type 100 ID 65000, 3 bytes\n");

  const json differences = json::parse(Run("diff --json a " + image_.psdt + "+b.bin").out);
  EXPECT_EQ(differences.at("changed").at(0).at("length"), json({old[0]["length"], 3}));
  EXPECT_EQ(differences.at("changed").at(0).at("crc32"), json({old[0]["crc32"], Checksum({1, 2, 3})}));
  EXPECT_EQ(differences.at("removed").at(0).at("crc32"), old[1]["crc32"]);
  EXPECT_EQ(differences.at("added").at(0).at("section"), "TUNA");
}

TEST_F(DiffTest, TroubleIsNoDifference) {
  const Answer answer = Run("diff a none");
  EXPECT_EQ(answer.status, 2);
  EXPECT_EQ(answer.out, "");
  EXPECT_EQ(answer.err, "vok: cannot read none: No such file or directory\n");
  EXPECT_EQ(Run("diff a").status, 2);
  EXPECT_EQ(Run("--image a diff a a").status, 2);
}

}  // namespace

}  // namespace vok::test
