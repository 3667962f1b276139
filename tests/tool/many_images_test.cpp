#include <fstream>
#include <map>
#include <sstream>

#include "tool_fixture.h"

namespace vok::test {

namespace {

class ManyImagesTest : public ToolTest {
 protected:
  /// The lines of a JSON run by image.
  static std::map<std::string, json> Lines(const Answer& answer) {
    std::map<std::string, json> lines;
    std::istringstream text(answer.out);
    for (std::string line; std::getline(text, line);) {
      json object = json::parse(line);
      const std::string image = object.at("image");
      EXPECT_TRUE(lines.emplace(image, std::move(object)).second) << answer.out;
    }
    return lines;
  }

  /// A codeplug for image_'s PSDT with a slot that a repair has to cancel.
  void WriteUnfinished(const std::string& name) const {
    Bytes codeplug = Read(image_.codeplug);
    const SlotPlace last = SlotFromEnd(codeplug, 1);
    codeplug[last.word] = WithState(codeplug, last, 0xC0).front();
    Write(name, codeplug);
  }

  std::string psdt_ = " --psdt " + image_.psdt + ' ';
};

TEST_F(ManyImagesTest, EachHasTheAnswerThatItHasAlone) {
  WriteUnfinished("bad one.bin");
  WriteText("junk.bin", "no image");
  const std::string clean = image_.codeplug;
  WriteText("list", "bad one.bin\r\n\n" + clean + "\njunk.bin\n.\nmissing.bin");
  for (const std::string jobs : {"1", "3"}) {
    const Answer many = Run("check --json --images-from - -j " + jobs + psdt_ + "<list");
    EXPECT_EQ(many.status, 1);
    EXPECT_EQ(many.err, "vok: 5 images: 1 with status 0, 4 with another\n");
    std::map<std::string, json> lines = Lines(many);
    ASSERT_EQ(lines.size(), 5U);
    for (const std::string& image : {std::string("bad one.bin"), clean}) {
      json& line = lines.at(image);
      const Answer alone = Run("check --json" + psdt_ + "--codeplug '" + image + "'");
      EXPECT_EQ(line.at("status"), alone.status);
      line.erase("image");
      line.erase("status");
      line.erase("messages");
      EXPECT_EQ(line, json::parse(alone.out));
    }
    EXPECT_EQ(lines.at(".").at("status"), 1);
    EXPECT_NE(lines.at("missing.bin").dump().find("No such file"), std::string::npos);
    EXPECT_FALSE(lines.at("junk.bin").contains("clean"));
  }
  const Answer text = Run("list CPGA --images junk.bin " + image_.psdt + '+' + clean);
  EXPECT_NE(text.err.find("vok: junk.bin: "), std::string::npos) << text.err;
  EXPECT_NE(text.out.find("==> v1-psdt.bin+" + clean + " <==\n" + RunWell("list CPGA " + image_.Pair())),
            std::string::npos)
      << text.out;
}

TEST_F(ManyImagesTest, OneWhoseProcessDiesStopsNoOther) {
  // The process reads a pipe into which nobody writes when it is killed.
  const std::string script =
      "mkfifo pipe; '" VOK_TOOL "' check --json --images " + image_.codeplug + " pipe 'again.bin'" + psdt_ +
      ">lines 2>messages & tool=$!; exec 3>pipe\n"
      "for process in /proc/[0-9]*; do read pid name state parent rest 2>/dev/null <$process/stat\n"
      "  [ \"$parent\" != $tool ] || kill -KILL $pid; done; wait $tool; echo $? >status; exec 3>&-; rm pipe; ";
  Write("again.bin", Read(image_.codeplug));
  Run("--version", script);
  EXPECT_EQ(Text(Read("status")), "1\n");
  EXPECT_EQ(Text(Read("messages")), "vok: 3 images: 2 with status 0, 1 died\n");
  const std::map<std::string, json> lines = Lines({.status = 0, .out = Text(Read("lines")), .err = ""});
  EXPECT_EQ(lines.at("pipe").at("died"), "signal 9 (Killed)");
  EXPECT_EQ(lines.at("again.bin").at("clean"), true);
}

TEST_F(ManyImagesTest, ChangesAndFoldersAreThoseOfEachImage) {
  std::filesystem::create_directory(directory_ / "other");
  WriteUnfinished("a.bin");
  Write("other/a.bin", Read(image_.codeplug));
  RunWell("unpack one" + psdt_ + "--codeplug a.bin");
  const Answer unpacked = Run("unpack all --images a.bin other/a.bin" + psdt_);
  EXPECT_EQ(unpacked.status, 0) << unpacked.err;
  EXPECT_EQ(Run("diff one all/a.bin").status, 0);
  EXPECT_EQ(Run("diff other/a.bin all/a.bin.2" + psdt_).status, 0);

  EXPECT_EQ(Run("repair --images a.bin other/a.bin" + psdt_).status, 0);
  EXPECT_EQ(Read("other/a.bin"), Read(image_.codeplug));
  EXPECT_EQ(Run("check a.bin" + psdt_).status, 0);
  EXPECT_EQ(Run("diff other/a.bin --images a.bin other/a.bin" + psdt_).status, 1);
  EXPECT_EQ(Run("diff other/a.bin --images missing.bin a.bin" + psdt_).status, 2);
}

TEST_F(ManyImagesTest, WrongCommandLines) {
  for (const std::string arguments :
       {"check --image a --images b", "list --images a --images-from b", "diff a b --images c", "diff a",
        "repair -o a --images b", "check --jobs 0 b", "info --images a", "check --psdt-address 0 --codeplug a b"})
    EXPECT_EQ(Run(arguments).status, 2) << arguments;
  ExpectFailure("check --images-from /dev/null", "names no image");
}

TEST_F(ManyImagesTest, ABarOnATerminalThatIsGoneInTheEnd) {
  const std::string arguments = "check --json " + image_.codeplug + psdt_;
  Run("--version", "script -qec \"'" VOK_TOOL "' " + arguments + "\" typescript >/dev/null; ");
  const std::string shown = Text(Read("typescript"));
  EXPECT_NE(shown.find("\r[........................] images 0/1\x1b[K\r\x1b[K{"), std::string::npos) << shown;
  EXPECT_NE(shown.find("[########################] images 1/1, 0 failed\x1b[K\r\x1b[Kvok: 1 images"),
            std::string::npos);
  EXPECT_EQ(Run(arguments).err.find('\r'), std::string::npos);
}

}  // namespace

}  // namespace vok::test
