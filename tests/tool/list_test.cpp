#include "tool_fixture.h"

namespace vok::test {

namespace {

class ListTest : public ToolTest {};

TEST_F(ListTest, ListsOneSectionOfTwoWithTheSameTag) {
  const Items whole = ListedItems(RunWell("list --json XTRA " + image_.Pair()));
  EXPECT_FALSE(whole.empty());
  Overwrite(image_.psdt, 288, {'T', 'U', 'N', 'A'});
  Items listed;
  for (const auto& [section, type, id, length, checksum] : ListedItems(RunWell("list --json TUNA.2 " + image_.Pair())))
    listed.emplace("XTRA", type, id, length, checksum);
  EXPECT_EQ(listed, whole);
}

TEST_F(ListTest, FindsThePsdtAndTheCodeplugWhereTheyAreSaidToLie) {
  const TestImage image = Copy("v3", "missing_signature");
  const Items expected = ExpectedItems(Text(Read(image.json)));
  EXPECT_EQ(ListedItems(RunWell("list --json --psdt v3-psdt.bin@0x1F00000 --codeplug v3-missing_signature.bin@131072")),
            expected);
  for (const std::uint32_t address : {0x1F00000u, 0x180000u})  // behind the sections, and between them
    EXPECT_EQ(ListedItems(RunWell("list --json " + Dump(image, address))), expected);
}

TEST_F(ListTest, ReadDeliversTheBytesThreeWays) {
  const TestImage image = Copy("v3", "missing_signature");
  for (const ItemKey& key : ExpectedItems(Text(Read(image.json)))) {
    if (std::get<0>(key) != "PDAT" || std::get<1>(key) > 304) continue;
    const std::string read =
        "read " + std::to_string(std::get<1>(key)) + ' ' + std::to_string(std::get<2>(key)) + ' ' + image.Pair();
    EXPECT_EQ(RunWell(read + " --force -o item"), "");
    const Bytes bytes = Read("item");
    EXPECT_EQ(Checksum(bytes), std::get<4>(key));
    EXPECT_EQ(RunWell(read + " -o -"), Text(bytes));
    const json answer = RunJson(read + " --json");
    EXPECT_EQ(answer.at("crc32"), std::get<4>(key));
    const std::string data = answer.at("data");
    EXPECT_EQ(data.size(), 2 * bytes.size());
    const std::string start = data.empty() ? "" : "00000000  " + data.substr(0, 2) + ' ';
    EXPECT_EQ(RunWell(read).substr(0, 13), start);
  }
}

}  // namespace

}  // namespace vok::test
