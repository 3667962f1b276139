#include "tool_fixture.h"

namespace vok::test {

namespace {

class ExplainTest : public ToolTest {
 protected:
  ExplainTest() : codeplug_(Read(image_.codeplug)), last_(SlotFromEnd(codeplug_, 1)) {}

  json Explain(std::size_t address, const std::string& more = "") const {
    return RunJson("explain --json " + std::to_string(address) + ' ' + image_.Pair() + more);
  }
  json InCodeplug(std::size_t offset) const { return Explain(kCodeplugAddress + offset); }

  Bytes codeplug_;
  SlotPlace last_;
};

std::string FactOf(const json& explanation, const std::string& what) {
  for (const auto& fact : explanation.at("facts"))
    if (fact.at("what") == what) return fact.at("value");
  return "no " + what;
}

bool Holds(const json& text, const std::string& part) {
  return text.get<std::string>().find(part) != std::string::npos;
}

TEST_F(ExplainTest, EveryPartOfARecordAndOfItsSlotIsTold) {
  const std::size_t pad = (4 - (last_.length + 2) % 4) % 4;
  const std::size_t length_word = last_.payload + last_.length + pad;
  for (const auto& [offset, part] : std::vector<std::pair<std::size_t, std::string>>{
           {last_.payload, "payload byte 0 of " + std::to_string(last_.length)},
           {last_.payload + last_.length - 1, "payload byte " + std::to_string(last_.length - 1) + " of "},
           {length_word - 1, pad != 0 ? "pad byte " : "payload byte "},
           {length_word + 1, "length word"}}) {
    const json told = InCodeplug(offset);
    EXPECT_EQ(told.at("place"), "record") << offset;
    EXPECT_EQ(told.at("slot"), last_.index);
    EXPECT_EQ(told.at("byte"), codeplug_[offset]);
    EXPECT_TRUE(Holds(FactOf(told, "part"), part)) << told;
  }
  // The byte below the lowest record, and the one behind the last slot.
  EXPECT_EQ(InCodeplug(last_.payload - 1).at("place"), "erased");
  EXPECT_EQ(InCodeplug(last_.slot + 6).at("place"), "erased");
  EXPECT_EQ(InCodeplug(last_.slot + 5).at("place"), "slot");
  const json told = InCodeplug(last_.word);
  EXPECT_EQ(told.at("slot"), last_.index);
  EXPECT_EQ(FactOf(told, "state bits"), "mask 0xC000: 0x4000 = Valid");
  EXPECT_TRUE(Holds(FactOf(told, "location bits"), "mask 0x3FFF: ")) << told;
  EXPECT_TRUE(Holds(told.at("next"), "reads give this copy"));
}

TEST_F(ExplainTest, WhatARepairMountWouldDoWithUnfinishedSlotsAndRecords) {
  for (const int state : {0xC0, 0x80}) {
    Overwrite(image_.codeplug, last_.word, WithState(codeplug_, last_, state));
    EXPECT_EQ(InCodeplug(last_.slot).at("next"), "a repair mount: cancel the slot");
  }
  Overwrite(image_.codeplug, last_.word, WithState(codeplug_, last_, 0x00));
  EXPECT_TRUE(Holds(InCodeplug(last_.slot).at("next"), "come back when the block is reorganised"));
  // The slot list ends before it.
  Overwrite(image_.codeplug, last_.slot, {0xFF, 0xFF});
  const json told = InCodeplug(last_.payload);
  EXPECT_EQ(told.at("place"), "record without slot");
  EXPECT_EQ(told.at("next"), "a repair mount: count the record as dead space");
}

TEST_F(ExplainTest, WhatARepairMountWouldDoWithABlock) {
  constexpr std::size_t kState = 12;
  Overwrite(image_.codeplug, kState, {0x07, 0xFF});
  const json told = RunLossy("explain --json " + std::to_string(kCodeplugAddress + kState) + ' ' + image_.Pair());
  EXPECT_EQ(FactOf(told, "value"), "0x07FF (2047): Retired");
  EXPECT_EQ(told.at("next"), "a repair mount: erase and format the block");
}

TEST_F(ExplainTest, FieldsOfThePsdt) {
  const json magic = Explain(kPsdtAddress + 3);
  EXPECT_EQ(magic.at("place"), "psdt header");
  EXPECT_EQ(FactOf(magic, "value"), "0x50484452 (1346913362)");
  const json start = Explain(kPsdtAddress + 96 + 4);
  EXPECT_EQ(start.at("place"), "psdt record");
  EXPECT_TRUE(Holds(FactOf(start, "field"), "start address"));
  EXPECT_EQ(FactOf(start, "value"), "0x00020000 (131072)");
  EXPECT_TRUE(Holds(Explain(kPsdtAddress + 96 + 92).at("title"), "extra range 3 last type"));
  EXPECT_EQ(Explain(kPsdtAddress + 0xFFF).at("place"), "psdt rest");
}

TEST_F(ExplainTest, AddressesOutsideTheImageAreRefused) {
  for (const std::string address : {"0", "0xDFFF", "0x1FFFF", "0xC0000", "0x2000000", "0xFFFFFFFFFFFFFFFF"})
    ExpectFailure("explain " + address + ' ' + image_.Pair(),
                  "lies outside the image, which holds 0xE000 to 0xEFFF and 0x20000 to 0xBFFFF");
  const json told = RunJson("explain --json 0 " + Dump(image_));
  EXPECT_EQ(told.at("place"), "outside sections");
}

}  // namespace

}  // namespace vok::test
