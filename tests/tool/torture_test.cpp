#include "tool_fixture.h"

namespace vok::test {

namespace {

class TortureTest : public ToolTest {
 protected:
  json Operations(const std::string& arguments) const {
    return RunJson("torture --json " + arguments).at("operations");
  }
};

TEST_F(TortureTest, EveryCutOnAUsersImageComesOutWellAndLeavesTheImageAlone) {
  for (const TestImage& image : CopyAll()) {
    const Bytes before = Read(image.codeplug);
    const json operations = Operations("--operation delete --operation append --seconds 0 --cuts 600 " + image.Pair());
    ASSERT_EQ(operations.size(), 2U) << image.codeplug;
    EXPECT_EQ(operations[0].at("operation"), "delete");
    EXPECT_TRUE(operations[0].at("whole")) << "there is nothing to repair after it";
    EXPECT_EQ(operations[0].at("one_cut"), operations[0].at("single_cuts"));
    for (const json& operation : operations) {
      EXPECT_TRUE(operation.at("faults").empty()) << operation;
      EXPECT_GT(operation.at("one_cut"), 1) << image.codeplug;
    }
    EXPECT_EQ(Read(image.codeplug), before);
  }
}

TEST_F(TortureTest, ARewriteInPlaceEndsOldOrNewOrAsItsRuleSays) {
  const json rewrite = Operations("--operation rewrite --seconds 0 " + Dump(image_))[0];
  ASSERT_EQ(rewrite.at("known_ends").size(), 1U);
  const json& places = rewrite.at("places");
  const int known = places[0].at("outcomes").at("known end");
  EXPECT_EQ(rewrite.at("known_ends")[0].at("cases"), known);
  EXPECT_EQ(places[0].at("outcomes").at("old"), 1) << "before its only step";
  EXPECT_EQ(places[1].at("outcomes").at("new"), 1) << "after it";
  EXPECT_EQ(rewrite.at("one_cut"), known + 2);
  EXPECT_TRUE(rewrite.at("whole"));
}

TEST_F(TortureTest, RefusesWhatCannotBeTried) {
  const std::string pair = image_.Pair();
  ExpectFailure("torture --item 1 60000 " + pair, "no item type 1 ID 60000");
  ExpectFailure("torture --section NONE " + pair, "section NONE is not in the PSDT");
  EXPECT_EQ(Run("torture --operation melt " + pair).status, 2);
  EXPECT_EQ(Run("torture dump.bin " + pair).status, 2) << "two images";
}

}  // namespace

}  // namespace vok::test
