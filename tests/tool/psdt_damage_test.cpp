#include "tool_fixture.h"

namespace vok::test {

namespace {

/// Images of which the PSDT, or the file, leaves something out: what a command does not give it tells, and a rebuilt
/// view gives it.
class PsdtDamageTest : public ToolTest {
 protected:
  using Name = std::pair<int, int>;

  static void AddNames(const json& items, std::set<Name>& names) {
    for (const auto& item : items) names.emplace(item.at("type"), item.at("id"));
  }

  static std::set<Name> Told(const json& answer) {
    std::set<Name> names;
    for (const auto& loss : answer.at("losses")) AddNames(loss.at("items"), names);
    return names;
  }

  static std::set<Name> Listed(const json& answer) {
    std::set<Name> names;
    AddNames(answer.at("items"), names);
    return names;
  }

  /// Expects every command that reads to tell what it does not give, and the rebuilt view to give @p all.
  void ExpectAllToldAndRebuilt(const std::string& image, const std::set<Name>& all) const {
    SCOPED_TRACE(image);
    const json list = RunLossy("list --json " + image, "");
    std::set<Name> names = Listed(list);
    names.merge(Told(list));
    EXPECT_EQ(names, all);
    EXPECT_EQ(Listed(json::parse(Run("list --json --rebuilt " + image).out)), all);
    const json check = RunLossy("check --json " + image, "");
    EXPECT_EQ(Told(check), Told(list));
    EXPECT_EQ(check.at("clean"), false);
    EXPECT_FALSE(check.at("psdt").empty());
    for (const char* const command : {"map --json ", "info --json ", "find --json Channel "})
      EXPECT_EQ(RunLossy(command + image, "").at("losses"), list.at("losses")) << command;
    EXPECT_NE(Run("history 200 0 " + image).out, "");
  }

  std::set<Name> AllNames() const {
    std::set<Name> names;
    AddNames(json::parse(Text(Read(image_.json))).at("items"), names);
    return names;
  }
};

constexpr std::size_t kRecordSize = 96;

struct Damage {
  std::size_t record;  ///< 0 = the header
  std::size_t offset;
  Bytes bytes;
};

TEST_F(PsdtDamageTest, EveryItemIsGivenOrToldAndARebuiltViewGivesAll) {
  const std::set<Name> all = AllNames();
  const Bytes psdt = Read(image_.psdt);
  const std::vector<Damage> damages = {
      {.record = 0, .offset = 0, .bytes = {0}},           // magic
      {.record = 0, .offset = 6, .bytes = {0, 2}},        // a record fewer
      {.record = 0, .offset = 6, .bytes = {0xFF, 0xFF}},  // more than fit
      {.record = 1, .offset = 4, .bytes = {0, 1}},        // CPGA begins a block before
      {.record = 2, .offset = 4, .bytes = {0, 7}},        // TUNA a block behind, over XTRA
      {.record = 2, .offset = 6, .bytes = {1}},           // TUNA where no block begins
      {.record = 2, .offset = 8, .bytes = {0, 0, 0x80}},  // smaller blocks
      {.record = 3, .offset = 8, .bytes = {1}},           // blocks that leave the flash
      {.record = 3, .offset = 36, .bytes = {0, 9}},       // kind
      {.record = 1, .offset = 38, .bytes = {0, 2}},       // fewer blocks
      {.record = 3, .offset = 38, .bytes = {0, 1}},       // too few for a partition: nothing can be set up
      {.record = 3, .offset = 38, .bytes = {0, 9}},       // more than the file has
      {.record = 2, .offset = 68, .bytes = {0, 0x10}},    // partition number
      {.record = 2, .offset = 68, .bytes = {0, 2}}};      // partition number of another
  for (const Damage& damage : damages) {
    Write(image_.psdt, psdt);
    Overwrite(image_.psdt, damage.record * kRecordSize + damage.offset, damage.bytes);
    SCOPED_TRACE(std::to_string(damage.record) + " at " + std::to_string(damage.offset));
    ExpectAllToldAndRebuilt(image_.Pair(), all);
    if (damage.record == 1) ExpectAllToldAndRebuilt(image_.Pair() + "@0x20000", all);
  }
  RunLossy("list --json " + Dump(image_), "");
}

TEST_F(PsdtDamageTest, ARebuiltFolderHasAPsdtThatWorks) {
  Overwrite(image_.psdt, 2 * kRecordSize + 68, {0, 0x10});
  EXPECT_EQ(Run("unpack --rebuilt out " + image_.Pair()).status, 1);
  Run("pack out --dump -o made.bin");
  EXPECT_EQ(ListedItems(RunWell("list --json --image made.bin")), ExpectedItems(Text(Read(image_.json))));
}

TEST_F(PsdtDamageTest, AFileThatIsCutShortOpensWithTheRest) {
  Bytes codeplug = Read(image_.codeplug);
  codeplug.resize(0x70000);  // three of the four blocks of TUNA, nothing of XTRA
  Write("cut.bin", codeplug);
  const std::string cut = "--psdt v1-psdt.bin --codeplug cut.bin@0x20000";
  const json list = RunLossy("list --json " + cut, "section XTRA: the file holds 0x20000 to 0x90000 of the flash");
  EXPECT_EQ(Told(list), (std::set<Name>{{150, 7}}));
  EXPECT_TRUE(Listed(json::parse(Run("list --json --rebuilt " + cut).out)).contains({150, 7}));
  const Answer diff = Run("diff --json v1-clean.bin cut.bin@0x20000 --psdt v1-psdt.bin");
  EXPECT_EQ(diff.status, 2);
  EXPECT_EQ(json::parse(diff.out).at("removed"), json::array()) << "what may be there is no difference";

  WriteText("item", "new bytes");
  ExpectFailure("write 100 0 item " + cut, "section TUNA serves the type, and the file holds");
  EXPECT_EQ(Run("write 2 60000 item " + cut).status, 0);
  EXPECT_EQ(Run("repair --rebuild " + cut).status, 1);
  EXPECT_EQ(Read("cut.bin").size(), codeplug.size());
  EXPECT_EQ(Run("unpack out " + cut).status, 1);
  EXPECT_EQ(Run("pack out -o packed.bin").status, 1);
  EXPECT_EQ(Listed(json::parse(Run("list --json --psdt v1-psdt.bin --codeplug packed.bin@0x20000").out)),
            Listed(json::parse(Run("list --json " + cut).out)));
}

TEST_F(PsdtDamageTest, NoChangeGoesThroughSectionsThatOverlap) {
  WriteText("item", "new bytes");
  Overwrite(image_.psdt, 2 * kRecordSize + 5, {7});
  ExpectFailure("write 2 9 item " + image_.Pair(), "sections TUNA (0x70000 to 0xB0000) and XTRA (0xA0000 to 0xC0000)");
}

}  // namespace

}  // namespace vok::test
