#include <nlohmann/json.hpp>

#include "tool_fixture.h"

namespace vok::test {

namespace {

using nlohmann::json;

class ListTest : public ToolTest {};

TEST_F(ListTest, ListsEveryItemWithItsChecksum) {
  const TestImage image = Copy("v2", "several");
  const Items expected = ExpectedItems(Text(Read(image.json)));
  EXPECT_EQ(ListedItems(RunWell("list --json " + image.Pair())), expected);
  EXPECT_EQ(ListedItems(RunWell(Dump(image) + " list --json")), expected);
}

TEST_F(ListTest, TheTableHasALineForEachItem) {
  const TestImage image = Copy("v3", "missing_signature");
  const std::string table = RunWell("list " + image.Pair());
  const std::size_t count = ExpectedItems(Text(Read(image.json))).size();
  EXPECT_EQ(static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')), count + 2);
  EXPECT_NE(table.find(std::to_string(count) + " items\n"), std::string::npos);
}

TEST_F(ListTest, ListsOneSectionOfTwoWithTheSameTag) {
  const TestImage image = Copy("v1", "clean");
  const Items all = ExpectedItems(Text(Read(image.json)));
  Overwrite(image.psdt, 288, {'T', 'U', 'N', 'A'});
  for (const auto& [name, was] : {std::pair("TUNA", "TUNA"), std::pair("TUNA.2", "XTRA")}) {
    const Items listed = ListedItems(RunWell("list --json " + image.Pair() + ' ' + name));
    const auto of_section = [was = was](const ItemKey& key) { return std::get<0>(key) == was; };
    EXPECT_EQ(listed.size(), static_cast<std::size_t>(std::count_if(all.begin(), all.end(), of_section)));
    EXPECT_FALSE(listed.empty());
  }
}

TEST_F(ListTest, FindsThePsdtAndTheCodeplugWhereTheyAreSaidToLie) {
  const TestImage image = Copy("v3", "missing_signature");
  const Items expected = ExpectedItems(Text(Read(image.json)));
  EXPECT_EQ(ListedItems(RunWell("list --json --psdt v3-psdt.bin@0x1F00000 --codeplug v3-missing_signature.bin@131072")),
            expected);
  EXPECT_EQ(ListedItems(RunWell("list --json " + Dump(image, 0x1F00000))), expected);
}

TEST_F(ListTest, ADumpMayHoldThePsdtBetweenItsSections) {
  const TestImage image = Copy("v3", "missing_signature");
  const std::string dump = Dump(image, 0x180000);
  EXPECT_EQ(ListedItems(RunWell("list --json " + dump)), ExpectedItems(Text(Read(image.json))));
}

TEST_F(ListTest, ReadDeliversTheBytesThreeWays) {
  const TestImage image = Copy("v3", "missing_signature");
  for (const ItemKey& key : ExpectedItems(Text(Read(image.json)))) {
    if (std::get<0>(key) != "PDAT" || std::get<1>(key) > 304) continue;
    const std::string read =
        "read " + std::to_string(std::get<1>(key)) + ' ' + std::to_string(std::get<2>(key)) + ' ' + image.Pair();
    EXPECT_EQ(RunWell(read + " -o item"), "");
    const Bytes bytes = Read("item");
    EXPECT_EQ(Checksum(bytes), std::get<4>(key));
    EXPECT_EQ(RunWell(read + " -o -"), Text(bytes));
    const json answer = json::parse(RunWell(read + " --json"));
    EXPECT_EQ(answer.at("crc32"), std::get<4>(key));
    EXPECT_EQ(std::string(answer.at("data")).size(), 2 * bytes.size());
  }
}

TEST_F(ListTest, ReadShowsOffsetHexadecimalAndText) {
  const TestImage image = Copy("v1", "clean");
  const Items all = ExpectedItems(Text(Read(image.json)));
  const auto short_item =
      std::find_if(all.begin(), all.end(), [](const ItemKey& key) { return std::get<3>(key) == 1; });
  ASSERT_NE(short_item, all.end());
  const std::string arguments =
      std::to_string(std::get<1>(*short_item)) + ' ' + std::to_string(std::get<2>(*short_item)) + ' ' + image.Pair();
  const std::string dump = RunWell("read " + arguments);
  const std::string data = json::parse(RunWell("read --json " + arguments)).at("data");
  EXPECT_EQ(dump.substr(0, 13), "00000000  " + data + ' ');
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 1);
}

}  // namespace

}  // namespace vok::test
