#include "tool_fixture.h"

namespace vok::test {

namespace {

class FailureTest : public ToolTest {
 protected:
  void ExpectWrongCommandLine(const std::string& arguments, const std::string& what) const {
    const Answer answer = Run(arguments);
    EXPECT_EQ(answer.status, 2) << arguments;
    EXPECT_EQ(answer.out, "");
    EXPECT_NE(answer.err.find(what), std::string::npos) << arguments << '\n' << answer.err;
    EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
  }
};

TEST_F(FailureTest, MissingFile) {
  ExpectFailure("list --psdt none.bin --codeplug " + image_.codeplug, "cannot read none.bin: No such");
  ExpectFailure("repair --image .", "cannot read .: Is a directory");
}

TEST_F(FailureTest, FileTooShortOrTooLong) {
  Bytes codeplug = Read(image_.codeplug);
  codeplug.resize(0x60000);
  Write("short.bin", codeplug);
  ExpectFailure("read 100 0 --psdt v1-psdt.bin --codeplug short.bin@0x20000",
                "section TUNA serves the type, and the file holds 0x20000 to 0x80000 of the flash, not the whole");
  Write("short.bin", Bytes(0xE100, 0xFF));
  ExpectFailure("info --image short.bin", "short.bin ends at 0xE100: no PSDT at 0xE000");
  Write("short.bin", {});
  ExpectFailure("info --image short.bin", "short.bin is empty");
  Bytes psdt = Read(image_.psdt);
  psdt.resize(300);
  Write("short.bin", psdt);
  ExpectFailure("repair --psdt short.bin --codeplug " + image_.codeplug, "too short for its records",
                "115: Invalid Parameter");
  Write("long.bin", Bytes(kFlashSize + 1, 0xFF));
  ExpectFailure("info --image long.bin", "long.bin is longer than the flash image");
}

TEST_F(FailureTest, PsdtWithoutMagic) {
  Overwrite(image_.psdt, 0, {'P', 'H', 'D', 'X'});
  ExpectFailure("repair " + image_.Pair(), "PSDT v1-psdt.bin at 0xE000 does not begin with the magic PHDR",
                "115: Invalid Parameter");
  ExpectFailure("delete 2 9 " + Dump(image_), "PSDT dump.bin at 0xE000 does not begin with the magic",
                "115: Invalid Parameter");
}

TEST_F(FailureTest, AddressOutsideTheImage) {
  ExpectFailure("list --psdt v1-psdt.bin@0x1FFFF00 --codeplug " + image_.codeplug, "4096 bytes at 0x1FFFF00");
  ExpectFailure("list --psdt v1-psdt.bin --codeplug " + image_.codeplug + "@0x200000000", "at 0x200000000");
  Dump(image_);
  ExpectFailure("list --image dump.bin --psdt-address 0x1FFFFFF", "no PSDT at 0x1FFFFFF");
}

TEST_F(FailureTest, UnknownSection) {
  ExpectFailure("list NONE " + image_.Pair(), "section NONE is not in the PSDT");
  Overwrite(image_.psdt, 288 + 36, {0, 9});
  ExpectFailure("list XTRA " + image_.Pair(), "section XTRA is passed over");
}

TEST_F(FailureTest, ItemThatDoesNotExist) {
  ExpectFailure("read 0x2 0xFDE8 " + image_.Pair(), "item type 2 ID 65000", "119: Item not found");
  ExpectFailure("read 2 65535 " + image_.Pair(), "item type 2 ID 65535", "112: Invalid ID");
  ExpectFailure("read 0 1 " + image_.Pair(), "type 0", "115: Invalid Parameter");
  ExpectFailure("read 40000 1 " + image_.Pair(), "type 40000", "116: Invalid Partition");
}

TEST_F(FailureTest, ItemWithADamagedRecord) {
  const Bytes codeplug = Read(image_.codeplug);
  const SlotPlace last = SlotFromEnd(codeplug, 1);
  Overwrite(image_.codeplug, last.slot, {0, 2, 0xFD, 0xE8, 0x40, 0x00});
  ExpectFailure("read 2 65000 " + image_.Pair(), "item type 2 ID 65000", "108: Internal Error");
  EXPECT_EQ(RunLossy("read --json 2 65000 " + image_.Pair()).at("id"), 65000);
  EXPECT_EQ(Run("check " + image_.Pair()).status, 1);
}

TEST_F(FailureTest, NothingToStartTheStoreWith) {
  Write("erased.bin", Bytes(0xA0000, 0xFF));
  Write("no.psdt", Bytes(0x1000, 0xFF));
  ExpectFailure("list --psdt no.psdt --codeplug erased.bin", "does not begin with the magic", "115: Invalid Parameter");
  ExpectFailure("list --psdt v1-psdt.bin --codeplug erased.bin", "no block of erased.bin carries a store version");
  Overwrite(image_.psdt, 288 + 68, {0, 1});
  EXPECT_EQ(RunLossy("list --json " + image_.Pair()).at("losses").size(), 3U) << "every section is told";
}

TEST_F(FailureTest, AnAnswerThatIsNotWritten) {
  ExpectFailure("list " + image_.Pair() + " >/dev/full; }", "cannot write to standard output", "", "{");
}

TEST_F(FailureTest, WrongCommandLine) {
  const std::string& pair = image_.Pair();
  ExpectWrongCommandLine("", "no command");
  ExpectWrongCommandLine("bogus " + pair, "bogus");
  ExpectWrongCommandLine("list", "no image");
  ExpectWrongCommandLine("list --psdt v1-psdt.bin", "--psdt requires --codeplug");
  ExpectWrongCommandLine("list --image a " + pair, "excludes");
  ExpectWrongCommandLine("read " + pair, "TYPE is required");
  ExpectWrongCommandLine("read 2 65536 " + pair, "ID: 65536 is not in 0 to 65535");
  ExpectWrongCommandLine("read 2x 1 " + pair, "TYPE: '2x' is not a number");
  ExpectWrongCommandLine("list --store-version 4 " + pair, "--store-version: 4 is not in 1 to 3");
  EXPECT_EQ(RunWell("--version").rfind("vok ", 0), 0U);
  EXPECT_NE(RunWell("--help").find("unpack"), std::string::npos);
}

}  // namespace

}  // namespace vok::test
