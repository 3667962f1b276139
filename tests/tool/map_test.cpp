#include <map>

#include "tool_fixture.h"

namespace vok::test {

namespace {

class MapTest : public ToolTest {
 protected:
  json Map(const std::string& image) const { return RunJson("map --json " + image); }
};

/// Runs the tool at a terminal.
constexpr const char* kAtTerminal =
    "at_terminal() { script -qec \"$*\" /dev/null </dev/null; }; export TERM=xterm; at_terminal";

void ExpectFiguresOfStore(const json& block, const json& store) {
  const std::int64_t slots = block.at("slot_count");
  const std::int64_t dead_slots = block.at("dead_slots");
  EXPECT_EQ(block.at("state"), store.at("state"));
  EXPECT_EQ(block.at("erase_count"), store.at("erase_count"));
  EXPECT_EQ(dead_slots, store.at("deleted_slots"));
  EXPECT_EQ(slots - dead_slots, store.at("live_slots"));
  EXPECT_EQ(block.at("unfinished"), 0);
  if (block.at("state") != "Active") return;
  EXPECT_EQ(block.at("live"), store.at("used_bytes"));
  EXPECT_EQ(block.at("dead"), store.at("dead_bytes"));
  EXPECT_EQ(block.at("largest_item_now"), store.at("largest_item"));
}

TEST_F(MapTest, FiguresOfACleanImageAreThoseOfTheStore) {
  for (const TestImage& image : CopyAll()) {
    SCOPED_TRACE(image.codeplug);
    RunWell("repair " + image.Pair());
    const json map = Map(image.Pair());
    const json info = RunJson("info --blocks --json " + image.Pair());
    ASSERT_EQ(map.at("sections").size(), info.at("sections").size());
    for (std::size_t i = 0; i < map.at("sections").size(); ++i) {
      const json& section = map.at("sections")[i];
      const json& told = info.at("sections")[i];
      EXPECT_EQ(section.at("section"), told.at("section"));
      for (std::size_t k = 0; k < section.at("blocks").size(); ++k)
        ExpectFiguresOfStore(section.at("blocks")[k], told.at("blocks")[k]);
    }
  }
}

TEST_F(MapTest, WorstBlockHasFindingsAndThenTheMostDeadBytes) {
  const json map = Map(Copy("v2", "several").Pair());
  std::map<int, std::pair<bool, std::int64_t>> by_rank;
  for (const auto& section : map.at("sections"))
    for (const auto& block : section.at("blocks"))
      by_rank[block.at("rank")] = {!block.at("findings").empty(), block.at("dead")};
  for (auto it = std::next(by_rank.begin()); it != by_rank.end(); ++it) EXPECT_GE(std::prev(it)->second, it->second);
  EXPECT_EQ(map.at("worst").at("section"), "CPGA");
  EXPECT_EQ(map.at("worst").at("block"), 2);
}

TEST_F(MapTest, TellsDamageFromWhatARepairFinishesAndFromDeadBytes) {
  const json block = Map(Copy("v3", "missing_signature").Pair()).at("worst");
  EXPECT_EQ(block.at("why"), "1 finding");  // the block was empty
  EXPECT_NE(RunWell("map " + Copy("v3", "missing_signature").Pair()).find("repair due"), std::string::npos);

  const std::string sample = "--psdt " VOK_SAMPLES "/psdt.bin --codeplug ";
  Write("damaged.bin", Read(VOK_SAMPLES "/codeplug.bin"));
  EXPECT_EQ(RunWell("map " + sample + "damaged.bin").find("lost"), std::string::npos);
  Overwrite("damaged.bin", 0x40000, {0});
  const Answer shown = Run("map " + sample + "damaged.bin");
  EXPECT_NE(shown.out.find("26 items lost"), std::string::npos) << shown.out;
  EXPECT_NE(shown.out.find("!R"), std::string::npos) << shown.out;
  const json lost = json::parse(Run("map --json " + sample + "damaged.bin").out).at("sections")[0].at("blocks")[2];
  EXPECT_EQ(lost.at("condition"), "error");
  EXPECT_EQ(lost.at("dead"), 0);
  EXPECT_EQ(lost.at("lost").get<int>() + lost.at("unfinished").get<int>(), 0x20000);
}

TEST_F(MapTest, PictureInTheReadmeIsThatOfTheSample) {
  RunWell("map --svg map.svg --psdt " VOK_SAMPLES "/psdt.bin --codeplug " VOK_SAMPLES "/codeplug.bin");
  EXPECT_EQ(Text(Read("map.svg")), Text(Read(VOK_SAMPLES "/../docs/map.svg")))
      << "make it anew: vok --psdt samples/psdt.bin --codeplug samples/codeplug.bin map --force --svg docs/map.svg";
}

TEST_F(MapTest, ColoursATerminalAndNothingElse) {
  const std::string map = "map " + Copy("v2", "several").Pair();
  const std::string piped = RunWell(map);
  const Answer shown = Run(map, kAtTerminal);
  const Answer plain = Run(map, std::string("export NO_COLOR=1; ") + kAtTerminal);
  EXPECT_EQ(piped.find('\x1b'), std::string::npos);
  EXPECT_NE(shown.out.find("\x1b[7m"), std::string::npos);
  EXPECT_EQ(plain.out.find('\x1b'), std::string::npos);
  for (const char* const mark : {"#x", "x!", "!."})
    EXPECT_NE(piped.find(mark), std::string::npos) << mark << '\n' << piped;
}

TEST_F(MapTest, PageIsOneFileWithItsDataOutOfReachOfTheMarkup) {
  const TestImage image = Copy("v3", "missing_signature");
  Write("<!--<script>.bin", Read(image.codeplug));
  RunWell("map --html page.html --psdt " + image.psdt + " --codeplug '<!--<script>.bin'");
  const std::string page = Text(Read("page.html"));
  const std::string opening = "type=\"application/json\">";
  const std::size_t start = page.find(opening) + opening.size();
  const std::string data = page.substr(start, page.find("</script>", start) - start);
  EXPECT_EQ(data.find('<'), std::string::npos);
  EXPECT_EQ(json::parse(data).at("image"), "<!--<script>.bin");
  for (const char* const foreign : {"http:", "https:", "src=", "@import", "url("})
    EXPECT_EQ(page.find(foreign), std::string::npos) << foreign;
}

}  // namespace

}  // namespace vok::test
