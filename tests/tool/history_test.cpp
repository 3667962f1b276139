#include "tool_fixture.h"

namespace vok::test {

namespace {

class HistoryTest : public ToolTest {
 protected:
  json Copies(const std::string& item, const std::string& image) const {
    return RunJson("history --json " + item + ' ' + image).at("copies");
  }
};

/// Type and ID of a slot.
std::string ItemAt(const Bytes& codeplug, const SlotPlace& place) {
  const auto half = [&codeplug](std::size_t at) { return codeplug[at] << 8 | codeplug[at + 1]; };
  return std::to_string(half(place.slot)) + ' ' + std::to_string(half(place.slot + 2));
}

TEST_F(HistoryTest, AnItemThatWasDeletedIsGotBack) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace place = SlotFromEnd(codeplug, 1);
  const auto first = codeplug.begin() + static_cast<std::ptrdiff_t>(place.payload);
  const Bytes payload(first, first + static_cast<std::ptrdiff_t>(place.length));
  const std::string item = ItemAt(codeplug, place);
  ASSERT_TRUE(Copies(item, image_.Pair())[0].at("current"));
  Overwrite(image_.codeplug, place.word, WithState(codeplug, place, 0x00));

  const json copy = Copies(item, image_.Pair())[0];
  EXPECT_EQ(copy.at("state"), "Deleted");
  EXPECT_FALSE(copy.at("current"));
  EXPECT_EQ(copy.at("slot"), place.index);
  EXPECT_EQ(copy.at("address"), kCodeplugAddress + place.payload);
  EXPECT_EQ(copy.at("crc32"), Checksum(payload));
  RunWell("history " + item + " --copy 0 -o old.bin " + image_.Pair());
  EXPECT_EQ(Read("old.bin"), payload);
}

TEST_F(HistoryTest, EveryVersionOfARewrittenItemIsKeptNewestFirst) {
  const std::string pair = image_.Pair();
  // Of different lengths: a rewrite of the same length may reuse the record.
  std::vector<std::string> versions = {RunWell("read 1 1 -o - " + pair)};
  for (const std::string bytes : {"a", "two", "fourth"}) {
    WriteText("bytes.bin", bytes);
    RunWell("write 1 1 bytes.bin " + pair);
    versions.insert(versions.begin(), bytes);
  }
  const json copies = Copies("1 1", pair);
  ASSERT_EQ(copies.size(), versions.size());
  for (std::size_t i = 0; i < versions.size(); ++i) {
    EXPECT_EQ(copies[i].at("copy"), i);
    EXPECT_EQ(copies[i].at("current"), i == 0);
    EXPECT_EQ(RunWell("history 1 1 --copy " + std::to_string(i) + " -o - " + pair), versions[i]);
  }
}

TEST_F(HistoryTest, BothCopiesOfAnUnfinishedReplacementAreCurrent) {
  const json copies = Copies("1099 0", Copy("v2", "several").Pair());
  ASSERT_GE(copies.size(), 2U);
  EXPECT_TRUE(copies[0].at("current"));
  EXPECT_TRUE(copies[1].at("current"));
  EXPECT_LT(copies[0].at("slot"), copies[1].at("slot"));
}

TEST_F(HistoryTest, RefusesWhatIsNotThere) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace place = SlotFromEnd(codeplug, 1);
  const std::string item = ItemAt(codeplug, place);
  ExpectFailure("history 1 60000 " + image_.Pair(), "no copy of item type 1 ID 60000");
  ExpectFailure("history 500 1 " + image_.Pair(), "no section serves the type");
  ExpectFailure("history " + item + " --copy 99 -o old.bin " + image_.Pair(), "has no copy 99");
  EXPECT_EQ(Run("history " + item + " -o old.bin " + image_.Pair()).status, 2);

  // A length that leads out of the block.
  Overwrite(image_.codeplug, place.payload + place.length + (4 - (place.length + 2) % 4) % 4, {0xFF, 0xF0});
  ExpectFailure("history " + item + " --copy 0 -o old.bin " + image_.Pair(), "is damaged");
}

}  // namespace

}  // namespace vok::test
