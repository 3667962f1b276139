
#include "tool_fixture.h"

namespace vok::test {

namespace {

class NewTest : public ToolTest {
 protected:
  NewTest()
      : sound_(json::parse(R"({"version": 3, "sections": [
        {"tag": "CPGA", "kind": "read-write", "start": "0x20000", "block_count": 3, "partition": 1,
         "types": [[1, 99], [1000, 1099]]},
        {"tag": "PDAT", "kind": "read-only", "start": 524288, "block_count": 1, "partition": 0, "types": [[300, 399]]}
        ]})")) {}

  void WriteDescription(const json& description) const { WriteText("d.json", description.dump()); }

  json sound_;
};

TEST_F(NewTest, MakesAnEmptyImage) {
  WriteDescription(sound_);
  RunWell("new d.json --psdt-out p.bin -o c.bin");
  EXPECT_EQ(Read("c.bin").size(), 0xA0000U - 0x20000);
  RunWell("new d.json --dump -o dump.bin");
  for (const std::string image : {"--psdt p.bin --codeplug c.bin", "--image dump.bin"}) {
    RunWell(image + " check");
    EXPECT_TRUE(ListedItems(RunWell(image + " list --json")).empty());
    const json info = RunJson(image + " info --json");
    EXPECT_EQ(info.at("version"), 3);
    const json& section = info.at("sections").at(0);
    EXPECT_EQ(section.at("partition"), 1);
    EXPECT_EQ(section.at("block_size"), 0x20000);
    EXPECT_EQ(section.at("types"), json::parse("[[1, 99], [1000, 1099]]"));
    EXPECT_EQ(info.at("sections").at(1).at("kind"), "read-only");
    EXPECT_EQ(info.at("sections").at(1).at("mounted"), true);
  }
}

TEST_F(NewTest, TellsWhatIsWrong) {
  struct Case {
    std::string path;
    json value;
    std::string what;
  };
  const std::vector<Case> cases = {
      {"/sections", json::array(), "/sections: holds no section"},
      {"/sections/0/tag", "CPG", "/sections/0/tag: is not four visible ASCII characters"},
      {"/sections/0/kind", 9, "/sections/0/kind: 9 is no section kind of store version 3"},
      {"/sections/0/start", 8, "/sections/0: 0x8 to 0x60008 overlaps the PSDT (0xE000 to 0xF000)"},
      {"/sections/1/start", 524290, "/sections/1: start is not a multiple of 4"},
      {"/sections/1/start", "0x1FF0000", "/sections/1: 0x1FF0000 to 0x2010000 does not lie inside the flash image"},
      {"/sections/0/block_count", 1, "/sections/0: a read-write section needs 2 blocks"},
      {"/sections/0/block_size", 65536, "/sections/0: block size 65536 is not the erase size 131072"},
      {"/sections/1/start", 393216, "/sections/1: 0x60000 to 0x80000 overlaps /sections/0 (0x20000 to 0x80000)"},
      {"/sections/0/partition", 2, "/sections/0: partition 2 is not in 0 to 1"},
      {"/sections/1/partition", 1, "/sections/1: partition 1 is that of /sections/0"},
      {"/sections/1/types", json::parse("[[1099, 1100]]"),
       "/sections/1: types 1099 to 1100 meet the types 1000 to 1099"},
      {"/sections/1/types/0/1", 299, "/sections/1/types/0: begins above its end"},
  };
  for (const Case& wrong : cases) {
    json description = sound_;
    description[json::json_pointer(wrong.path)] = wrong.value;
    WriteDescription(description);
    ExpectFailure("new d.json --psdt-out p.bin -o c.bin", "d.json: " + wrong.what);
  }
}

TEST_F(NewTest, TellsEverythingInOneLineEach) {
  sound_["sections"][0]["tag"] = "";
  sound_["sections"][0]["partition"] = 9;
  sound_["sections"][1].erase("start");
  WriteDescription(sound_);
  const Answer answer = Run("new d.json -o c.bin");
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 3) << answer.err;
  for (const char* const path : {"/sections/0/tag: ", "/sections/0/partition: ", "/sections/1/start: is missing"})
    EXPECT_NE(answer.err.find(std::string("vok: d.json: ") + path), std::string::npos) << answer.err;
  EXPECT_EQ(Files().count("c.bin"), 0U);
}

TEST_F(NewTest, HostileDocumentsGetOneShortLine) {
  std::string sections = R"({"version": 1, "sections": [0)";
  for (int i = 0; i < 100000; ++i) sections += ",0";
  const std::string digits(100000, '9');
  for (const auto& [text, what] : {std::pair{std::string(100000, '['), "more than 32 levels"},
                                   {R"({"version": )" + digits + '}', "number overflow"},
                                   {R"({"version": 1, ")" + digits + R"(\n": 1})", "no field of this format"},
                                   {R"({"version": 1, "sections": [{"tag": ")" + digits + "\"}]}", "four visible"},
                                   {sections + "]}", "holds 100001 sections"}}) {
    WriteText("d.json", text);
    const Answer answer = Run("new d.json -o c.bin");
    EXPECT_EQ(answer.status, 1);
    EXPECT_NE(answer.err.find(what), std::string::npos) << what;
    EXPECT_LT(answer.err.size(), 2000U) << what;
  }
}

TEST_F(NewTest, SampleIsTheOneInTheRepository) {
  RunWell("sample made/here");
  EXPECT_EQ(Read("made/here/psdt.bin"), Read(VOK_SAMPLES "/psdt.bin"));
  EXPECT_EQ(Read("made/here/codeplug.bin"), Read(VOK_SAMPLES "/codeplug.bin"));
}

}  // namespace

}  // namespace vok::test
