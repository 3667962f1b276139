#include <filesystem>

#include "tool_fixture.h"

namespace vok::test {

namespace {

/// How the tool meets a person half-way: names, environment, standard streams, what is left out.
class HandTest : public ToolTest {
 protected:
  void ExpectTold(const std::string& arguments, int status, const std::string& what) const {
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, status) << arguments << '\n' << answer.err;
    EXPECT_NE(answer.err.find(what), std::string::npos) << arguments << '\n' << answer.err;
  }
};

TEST_F(HandTest, SlipsOfTheFingersAreUnderstood) {
  const std::string pair = ' ' + image_.Pair();
  ExpectTold("lsit" + pair, 2, "did you mean 'list'?");
  ExpectTold("list --jsno" + pair, 2, "did you mean '--json'?");
  ExpectTold("--rebuilt list" + pair, 2, "--rebuilt is an option of the command and stands behind its name");
  ExpectTold("list CPGA other" + pair, 2, "'other' is one argument too many");
  ExpectTold("list none" + pair, 1, "section none is not in the PSDT, which has CPGA");
  EXPECT_EQ(RunWell("list cpga" + pair), RunWell("list CPGA" + pair));
  EXPECT_EQ(RunWell("help read"), RunWell("read --help"));
  EXPECT_EQ(RunJson("reorganize --json -o new.bin" + pair).at("sections").size(), 3U);
}

TEST_F(HandTest, EnvironmentNamesTheImageWhereNoOptionDoes) {
  const std::string named = "VOK_PSDT=" + image_.psdt + " VOK_CODEPLUG=" + image_.codeplug;
  EXPECT_EQ(Run("list", named).out, RunWell("list " + image_.Pair()));
  EXPECT_EQ(Run("list --psdt " + image_.psdt, "VOK_CODEPLUG=" + image_.codeplug).status, 0);
  EXPECT_EQ(Run("list " + image_.Pair(), "VOK_IMAGE=none.bin").status, 0);
  EXPECT_EQ(Run("list", named + " VOK_IMAGE=none.bin").status, 2);
  EXPECT_EQ(Run("sample there", named).status, 0);
}

TEST_F(HandTest, PsdtIsFoundByItsMagic) {
  const std::string items = RunWell("list " + image_.Pair());
  Dump(image_, 0x4000);
  EXPECT_EQ(RunWell("list --image dump.bin"), items);
  const Bytes dump = Read("dump.bin");
  Overwrite("dump.bin", 0x8000, {'P', 'H', 'D', 'R', 0, 0, 0, 9});
  EXPECT_EQ(RunWell("list --image dump.bin"), items) << "a magic without records counted";
  Overwrite("dump.bin", 0x1FFE000, Bytes(dump.begin() + 0x4000, dump.begin() + 0x5000));
  ExpectTold("list --image dump.bin", 1, "a PSDT at 0x4000 and at 0x1FFE000; --psdt-address names the one to use");
  EXPECT_EQ(RunWell("list --image dump.bin --psdt-address 0x4000"), items);
}

TEST_F(HandTest, ImagesGoThroughPipes) {
  const std::string dump = Dump(image_);
  Write("item", Bytes(40, 7));
  EXPECT_EQ(Run("list --image - <dump.bin").out, RunWell("list " + dump));
  ExpectTold("delete 2 0 --image - <dump.bin", 1, "standard input cannot be changed in place");
  const Answer changed = Run("write 2 new item --json -o - --image - <dump.bin");
  EXPECT_EQ(changed.status, 0) << changed.err;
  const json told = json::parse(changed.err);
  Write("changed.bin", Bytes(changed.out.begin(), changed.out.end()));
  EXPECT_EQ(Read("changed.bin").size(), kFlashSize);
  EXPECT_EQ(Text(Bytes(40, 7)), Run("read 2 " + told.at("id").dump() + " -o - --image changed.bin").out);
  ExpectTold("write 2 new - --image - <dump.bin", 2, "both the image and the item");
}

TEST_F(HandTest, ListSortsAndChooses) {
  const std::string pair = ' ' + image_.Pair();
  const json items = RunJson("list --json --sort length --reverse --type 2-5" + pair).at("items");
  ASSERT_GT(items.size(), 3U);
  for (std::size_t i = 0; i < items.size(); ++i) {
    EXPECT_TRUE(items[i].at("type") >= 2 && items[i].at("type") <= 5);
    EXPECT_LE(items[i].at("length"), items[i == 0 ? 0 : i - 1].at("length"));
  }
  const json& largest = items[0];
  const json place = RunJson("explain --json " + largest.at("address").dump() + pair);
  EXPECT_NE(place.at("title").get<std::string>().find("ID " + largest.at("id").dump()), std::string::npos) << place;
  EXPECT_NE(RunWell("list --long" + pair).find(largest.at("crc32").get<std::string>()), std::string::npos);

  const json several = RunJson("read --json " + largest.at("type").dump() + pair).at("items");
  EXPECT_EQ(several.size(), RunJson("list --json --type " + largest.at("type").dump() + pair).at("items").size());
  EXPECT_EQ(several[0].at("data").get<std::string>().size(), 2 * several[0].at("length").get<std::size_t>());
}

TEST_F(HandTest, FindsTextAndBytesInEveryEncoding) {
  const std::string pair = ' ' + image_.Pair();
  const auto write = [&](const std::string& id, const std::string& text) {
    WriteText("item", text);
    RunWell("write 3 " + id + " item" + pair);
  };
  write("900", "north Z\xC3\xBCrich, Z\xC3\xBCrich");
  write("901", std::string("Z\0\xFC\0r\0i\0c\0h\0", 12));
  write("902", std::string("\0Z\0\xFC\0r\0i\0c\0h", 12));
  json found = RunJson("find --json 'Z\xC3\xBCrich'" + pair).at("matches");
  ASSERT_EQ(found.size(), 3U) << found;
  const std::vector<std::string> forms = {"utf-8", "utf-16le", "utf-16be"};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(found[i].at("id"), 900 + i);
    EXPECT_EQ(found[i].at("as"), forms[i]);
  }
  EXPECT_EQ(found[0].at("offsets"), json({6, 15}));
  EXPECT_EQ(RunJson("find --json -i z\xC3\xBCRICH" + pair).at("matches").size(), 3U);
  EXPECT_EQ(RunJson("find --json 0x5AC3bc" + pair).at("matches"),
            RunJson("find --json --hex '5a c3 bc'" + pair).at("matches"));
  const Answer none = Run("find --json 0x5AC3bcFFFF5AC3" + pair);
  EXPECT_EQ(none.status, 1);
  EXPECT_TRUE(json::parse(none.out).at("matches").empty());
  ExpectTold("find 0x5" + pair, 2, "pairs of hexadecimal digits");
}

TEST_F(HandTest, DiffShowsWhichBytes) {
  const Bytes before = Read(image_.codeplug);
  Write("before.bin", before);
  WriteText("item", "abcdefghijkl");
  RunWell("write 3 900 item --psdt " + image_.psdt + " --codeplug before.bin");
  Write("after.bin", Read("before.bin"));
  WriteText("item", "abXdefghijklYZ");
  RunWell("write 3 900 item --psdt " + image_.psdt + " --codeplug after.bin");
  const std::string operands = "diff --bytes before.bin after.bin --psdt " + image_.psdt;
  EXPECT_NE(Run(operands).out.find("at 2: 63 -> 58\n    at 12: nothing -> 595a\n"), std::string::npos)
      << Run(operands).out;
  const json changed = json::parse(Run(operands + " --json").out).at("changed").at(0);
  EXPECT_EQ(changed.at("bytes").at(1), json({{"offset", 12}, {"before", ""}, {"after", "595a"}}));
}

TEST_F(HandTest, TheSameThingFailsAlike) {
  const std::string pair = ' ' + image_.Pair();
  const Bytes before = Read(image_.codeplug);
  EXPECT_EQ(Run("delete --yes 2 60000-60001" + pair).status, 1);
  EXPECT_EQ(Run("delete --yes --types 65532-65533" + pair).status, 1);
  EXPECT_EQ(Read(image_.codeplug), before);
}

}  // namespace

}  // namespace vok::test
