#include <fstream>

#include "section/finding_kinds.h"
#include "tool_fixture.h"

namespace vok::test {

namespace {

class CheckTest : public ToolTest {
 protected:
  json Check(const std::string& image, int status) const {
    const Answer answer = Run("check --json " + image);
    EXPECT_EQ(answer.status, status) << answer.out;
    json report = json::parse(answer.out);
    EXPECT_EQ(answer.err.empty(), report.at("complete"));
    EXPECT_EQ(report.at("clean"), status == 0);
    for (const auto& section : report.at("sections"))
      EXPECT_EQ(section.at("code") == 0 || section.at("code") == 134, section.at("findings").empty()) << section;
    return report;
  }

  /// Expects one finding alone. @p codeplug_offset and @p bytes are written into a clean image first.
  void ExpectFinding(std::size_t codeplug_offset, const Bytes& bytes, const std::string& what, int block,
                     const json& slot) const {
    Copy("v1", "clean");
    Overwrite(image_.codeplug, codeplug_offset, bytes);
    const json findings = Check(image_.Pair(), 1).at("sections").at(0).at("findings");
    ASSERT_EQ(findings.size(), 1U) << findings;
    EXPECT_NE(std::string(findings[0].at("what")).find(what), std::string::npos) << findings;
    EXPECT_EQ(findings[0].at("block"), block);
    EXPECT_EQ(findings[0].value("slot", json()), slot);
  }
};

constexpr std::size_t kBlockSize = 0x10000;
constexpr std::size_t kState = 12;

TEST_F(CheckTest, FinishedImageIsClean) {
  Check(image_.Pair(), 0);
  Check(Dump(image_), 0);
  EXPECT_NE(RunWell("check " + image_.Pair()).find("\nclean\n"), std::string::npos);
}

TEST_F(CheckTest, TellsWhatIsUnfinishedAndChangesNothing) {
  const TestImage image = Copy("v2", "several");
  const Bytes before = Read(image.codeplug);
  const json report = Check(image.Pair(), 1);
  EXPECT_EQ(Check(Dump(image), 1), report);
  EXPECT_EQ(Read(image.codeplug), before);
  std::size_t unfinished = 0;
  for (const auto& section : report.at("sections")) unfinished += section.at("mounted") ? 0 : 1;
  EXPECT_EQ(unfinished, 3U) << "unfinished work in three sections";
}

TEST_F(CheckTest, NamesEveryBlockState) {
  const std::size_t last = 3 * kBlockSize;
  ExpectFinding(last, {0}, "no block signature", 3, {});
  ExpectFinding(last + kState, {0x6F, 0xFF}, "Opening", 3, {});
  ExpectFinding(last + kState, {0xFF, 0xFF}, "Erased", 3, {});
  ExpectFinding(last + kState, {0x07, 0xFF}, "Retired", 3, {});
  ExpectFinding(last + kState, {0x12, 0x34}, "0x1234 (unknown)", 3, {});
  ExpectFinding(last + kState, {0x3F, 0xFF}, "ReorgTarget", 3, {});
}

TEST_F(CheckTest, FindsARecordWithoutSlotAndUnfinishedSlots) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace last = SlotFromEnd(codeplug, 1);
  ExpectFinding(last.word, WithState(codeplug, last, 0xC0), "slot Allocated", 0, last.index);
  ExpectFinding(last.word, WithState(codeplug, last, 0x80), "slot Void", 0, last.index);
  ExpectFinding(last.payload - 2, {0x00, 0x01}, "record written without a slot", 0, {});
}

TEST_F(CheckTest, FindsJournalRecordsOfEveryKind) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace last = SlotFromEnd(codeplug, 1);
  // Type, ID and the record from its beginning to its length word, as the item of that slot becomes one of the store's.
  const auto expect = [&](std::uint8_t kind, const std::string& what) {
    Bytes bytes(codeplug.begin() + static_cast<std::ptrdiff_t>(last.slot),
                codeplug.begin() + static_cast<std::ptrdiff_t>(last.payload + last.length));
    bytes[0] = 0xFF;
    bytes[1] = 0xFE;
    bytes[4] = WithState(codeplug, last, 0x40)[0];
    const Bytes fields = {0, kind, 0, 5, 0, 7};
    std::copy(fields.begin(), fields.end(), bytes.end() - static_cast<std::ptrdiff_t>(last.length));
    ExpectFinding(last.slot, bytes, what, 0, last.index);
  };
  ASSERT_GE(last.length, 12U);
  expect(1, "partial write of item type 5 ID 7");
  expect(2, "replacement of item type 5 ID 7");
  expect(3, "rename to item type 5 ID 7");
  expect(9, "unknown kind 9");
}

/// What no mount looks at, each in the first block of a clean image.
TEST_F(CheckTest, FindsWhatIsWrongWithRecordsAndNames) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace last = SlotFromEnd(codeplug, 1);
  const SlotPlace before = SlotFromEnd(codeplug, 2);
  const auto expect = [&](std::size_t offset, const Bytes& bytes, const std::string& code,
                          const std::string& severity) {
    Copy("v1", "clean");
    Overwrite(image_.codeplug, offset, bytes);
    const json report = json::parse(Run("check --json " + image_.Pair()).out);
    std::string found;
    for (const auto& finding : report.at("sections").at(0).at("findings")) {
      if (finding.at("code") == code) {
        EXPECT_EQ(finding.at("severity"), severity);
      }
      found += std::string(finding.at("code")) + ' ';
    }
    EXPECT_NE(found.find(code), std::string::npos) << code << ": " << found;
    EXPECT_EQ(report.at("clean"), severity == "note") << code;
  };
  const auto slice = [&](std::size_t at, std::size_t count) {
    const auto first = codeplug.begin() + static_cast<std::ptrdiff_t>(at);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(count));
  };
  expect(last.slot, {0, 0}, "damage.type-zero", "error");
  expect(last.slot, {0x12, 0x34}, "damage.unserved-type", "error");
  expect(last.slot + 2, {0xFF, 0xFF}, "damage.id-65535", "error");
  expect(last.slot, slice(before.slot, 4), "damage.two-copies", "error");
  expect(last.word, slice(before.word, 2), "damage.records-overlap", "error");
  expect(before.slot, {0xFF, 0xFF}, "damage.slots-behind-gap", "error");
  expect(last.slot + 300, {0x00}, "due.programmed-free-space", "due");
  expect(8, {0xFF, 0xF0, 0, 0}, "note.wear", "note");
  expect(12, {0x12}, "damage.block-state", "error");
  expect(0, {0}, "damage.no-signature", "error");
}

/// A block full of garbage had a finding for each slot, gigabytes of them in all.
TEST_F(CheckTest, TellsOnceWhatIsWrongWithNeighbours) {
  Bytes slots;
  for (int i = 0; i < 600; ++i)
    for (const int byte : {0, 0, i >> 8, i & 0xFF, i == 300 ? 0x3F : 0x7F, i == 300 ? 0xFF : 0xF0})
      slots.push_back(static_cast<std::uint8_t>(byte));
  Overwrite(image_.codeplug, 0x20, slots);
  std::map<std::string, std::vector<json>> by_code;
  const json report = Check(image_.Pair(), 1);
  for (const json& finding : report.at("sections").at(0).at("findings")) by_code[finding.at("code")].push_back(finding);
  const std::vector<json>& unnamed = by_code["damage.type-zero"];
  ASSERT_EQ(unnamed.size(), 2U) << "around the dead slot";
  EXPECT_EQ(unnamed[0].at("slot"), 0);
  EXPECT_EQ(unnamed[0].at("last_slot"), 299);
  EXPECT_EQ(unnamed[1].at("count"), 299);
  EXPECT_EQ(unnamed[1].at("items").size(), 100U);
}

TEST_F(CheckTest, EveryCodeIsExplained) {
  std::ifstream file(VOK_DOCS "/check.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};
  std::size_t rows = 0;
  for (std::size_t at = page.find("\n| `"); at != std::string::npos; at = page.find("\n| `", at + 1)) ++rows;
  EXPECT_EQ(rows, tool::FindingKinds().size());
  for (const tool::FindingKind& kind : tool::FindingKinds())
    EXPECT_NE(page.find("| `" + std::string(kind.code) + "` | " + tool::NameOf(kind.severity) + " |"),
              std::string::npos)
        << kind.code;
}

TEST_F(CheckTest, SaysWhenARepairCannotHelp) {
  Overwrite(image_.codeplug, 0, {0});
  Overwrite(image_.codeplug, kBlockSize, {0});
  const json section = Check(image_.Pair(), 1).at("sections").at(0);
  EXPECT_EQ(section.at("code"), 125);
  ASSERT_EQ(section.at("findings").size(), 2U);
  EXPECT_EQ(section.at("findings")[0].at("repair"), "cannot be repaired (VOK Error #125: Partition Needs Create)");
}

TEST_F(CheckTest, AReadOnlySectionOfVersion1IsNotMountedByStartUpAndReadAllTheSame) {
  Overwrite(image_.psdt, 288 + 36, {0, 2});
  const json section = Check(image_.Pair(), 0).at("sections").at(2);
  EXPECT_EQ(section.at("mounted"), false);
  EXPECT_EQ(section.at("code"), 134);
  EXPECT_EQ(ListedItems(RunWell("list --json " + image_.Pair())), ExpectedItems(Text(Read(image_.json))));
}

}  // namespace

}  // namespace vok::test
