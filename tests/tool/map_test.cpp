#include <map>
#include <nlohmann/json.hpp>
#include <random>

#include "tool_fixture.h"

namespace vok::test {

namespace {

using nlohmann::json;

class MapTest : public ToolTest {
 protected:
  json Map(const std::string& image) const { return json::parse(RunWell("map --json " + image)); }

  /// A clean image of a version; those that are not clean are repaired first.
  std::string CleanImage(const std::string& version, const std::string& name) const {
    const TestImage image = Copy(version, name);
    RunWell("repair " + image.Pair());
    return image.Pair();
  }
};

/// Runs the tool at a terminal.
constexpr const char* kAtTerminal =
    "at_terminal() { script -qec \"$*\" /dev/null </dev/null; }; export TERM=xterm; at_terminal";

/// What the store would count free: every Active block, and every Free one but the first, which is the spare.
json SpaceOf(const json& section) {
  std::int64_t free = 0;
  std::int64_t dead = 0;
  bool has_spare = false;
  for (const auto& block : section.at("blocks")) {
    const bool is_spare = block.at("state") == "Free" && !has_spare;
    has_spare = has_spare || is_spare;
    if (!is_spare) free += block.at("free").get<std::int64_t>();
    dead += block.at("dead").get<std::int64_t>();
  }
  return {{"free_now", free}, {"free_after_reorganisation", free + dead}};
}

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

std::int64_t SharesOf(const json& block) {
  std::int64_t sum = 0;
  for (const char* const share : {"live", "dead", "unfinished", "free"}) sum += block.at(share).get<std::int64_t>();
  return sum;
}

std::string WithoutColour(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\x1b')
      i = text.find('m', i);
    else if (text[i] != '\r')
      plain += text[i];
  }
  return plain;
}

TEST_F(MapTest, FiguresOfACleanImageAreThoseOfTheStore) {
  const std::map<std::string, std::string> images = {{"v1", "clean"}, {"v2", "several"}, {"v3", "missing_signature"}};
  for (const auto& [version, name] : images) {
    SCOPED_TRACE(version);
    const std::string image = CleanImage(version, name);
    const json map = Map(image);
    const json info = json::parse(RunWell("info --blocks --json " + image));
    ASSERT_EQ(map.at("sections").size(), info.at("sections").size());
    for (std::size_t i = 0; i < map.at("sections").size(); ++i) {
      const json& section = map.at("sections")[i];
      const json& told = info.at("sections")[i];
      EXPECT_EQ(section.at("section"), told.at("section"));
      const json space = SpaceOf(section);
      for (const auto& [figure, value] : space.items()) EXPECT_EQ(value, told.at("space").at(figure)) << figure;
      for (std::size_t k = 0; k < section.at("blocks").size(); ++k)
        ExpectFiguresOfStore(section.at("blocks")[k], told.at("blocks")[k]);
    }
  }
}

TEST_F(MapTest, ShowsTheImageAsItLiesBeforeAnyRepair) {
  const TestImage image = Copy("v2", "several");
  const Bytes before = Read(image.codeplug);
  const json sections = Map(image.Pair()).at("sections");
  EXPECT_EQ(sections[1].at("blocks")[1].at("state"), "Opening");
  const json& cut_off = sections[2].at("blocks")[1];
  EXPECT_GT(cut_off.at("unfinished"), 0);
  EXPECT_EQ(cut_off.at("findings")[0].at("slot"), 150);
  EXPECT_EQ(Read(image.codeplug), before);
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

  EXPECT_EQ(Map(Copy("v3", "missing_signature").Pair()).at("worst").at("why"),
            "1 finding, 131072 dead bytes (100.0 %)");
}

/// VOK_SEED runs one seed alone.
TEST_F(MapTest, WhateverLiesInABlockEveryByteIsCountedOnce) {
  const char* const one = std::getenv("VOK_SEED");
  const unsigned first = one != nullptr ? static_cast<unsigned>(std::atoi(one)) : 1;
  for (unsigned seed = first; seed < (one != nullptr ? first + 1 : 11); ++seed) {
    SCOPED_TRACE("VOK_SEED=" + std::to_string(seed));
    std::mt19937 random(seed);
    const TestImage image = Copy("v1", "clean");
    Bytes codeplug = Read(image.codeplug);
    for (int changes = 0; changes < 40; ++changes) {
      const std::size_t block = random() % (codeplug.size() / 0x10000) * 0x10000;
      codeplug[block + (random() % 2 == 0 ? 12 + random() % 600 : random() % 0x10000)] =
          static_cast<std::uint8_t>(random());
    }
    Write(image.codeplug, codeplug);
    const std::string pair = "--store-version 1 " + image.Pair();
    const json map = Map(pair + " --svg /dev/null --html page.html");
    for (const auto& section : map.at("sections"))
      for (const auto& block : section.at("blocks")) EXPECT_EQ(SharesOf(block), section.at("block_size")) << block;
    for (int i = 0; i < 4; ++i)
      RunWell("explain " + std::to_string(kCodeplugAddress + random() % codeplug.size()) + ' ' + pair);
  }
}

TEST_F(MapTest, ColoursATerminalAndNothingElse) {
  const std::string map = "map " + Copy("v2", "several").Pair();
  const std::string piped = RunWell(map);
  const Answer shown = Run(map, kAtTerminal);
  const Answer plain = Run(map, std::string("export NO_COLOR=1; ") + kAtTerminal);
  EXPECT_EQ(piped.find('\x1b'), std::string::npos);
  EXPECT_NE(shown.out.find("\x1b[30;42m"), std::string::npos);
  EXPECT_EQ(plain.out.find('\x1b'), std::string::npos);
  EXPECT_EQ(WithoutColour(shown.out), WithoutColour(plain.out));
  for (const char* const mark : {"#x", "x!", "!."})
    EXPECT_NE(piped.find(mark), std::string::npos) << mark << '\n' << piped;
}

TEST_F(MapTest, BarIsAsWideAsTheScreenLeaves) {
  const std::string map = "map " + Copy("v1", "clean").Pair();
  const Answer wide = Run(map, "COLUMNS=140");
  const std::string line = wide.out.substr(0, wide.out.find('\n'));
  EXPECT_EQ(line.size(), 140U) << line;
  EXPECT_GT(line.size(), RunWell(map).find('\n'));
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
