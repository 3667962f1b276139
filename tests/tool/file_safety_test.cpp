#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "tool_fixture.h"

namespace vok::test {

namespace {

namespace fs = std::filesystem;

/// The version-1 image, with an item to write in "item".
class FileSafetyTest : public ToolTest {
 protected:
  FileSafetyTest() { Write("item", {1, 2, 3}); }

  /// Starts "vok ARGUMENTS"; @return its process.
  pid_t Start(const std::string& arguments) const {
    const std::string command =
        "cd '" + directory_.string() + "' && exec '" + Tool() + "' " + arguments + " >/dev/null 2>&1";
    const pid_t child = fork();
    if (child == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
    return child;
  }

  /// @return the exit status, or minus the signal that ended it
  static int End(pid_t child, int request = 0) {
    if (request != 0) kill(child, request);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  }

  /// Begins "new" and waits for it to hold a complete PSDT that has no name yet: it waits for a reader of its codeplug.
  pid_t StartNewThatHangs() const {
    const pid_t child = Start("new d.json --psdt-out p.bin -o pipe");
    WaitForPath(".p.bin.vok-tmp");
    // Before there are bytes in it another command may be the first to lock it.
    while (fs::file_size(directory_ / ".p.bin.vok-tmp") == 0) std::this_thread::yield();
    return child;
  }

  void WaitForPath(const std::string& name) const {
    while (!fs::exists(directory_ / name)) std::this_thread::yield();
  }

  void MakePipe(const std::string& name) const { ASSERT_EQ(mkfifo((directory_ / name).c_str(), 0600), 0); }

  Bytes ItemNow(const std::string& type_and_id) const {
    const std::string bytes = RunWell(image_.Pair() + " read " + type_and_id + " -o -");
    return {bytes.begin(), bytes.end()};
  }
};

TEST_F(FileSafetyTest, OutputsReplaceNothingThatTheCommandReads) {
  fs::create_hard_link(directory_ / image_.psdt, directory_ / "hard");
  fs::create_symlink(image_.codeplug, directory_ / "soft");
  const Bytes psdt = Read(image_.psdt);
  const Bytes codeplug = Read(image_.codeplug);
  for (const std::string output : {"item", "v1-psdt.bin", "hard", "./hard"})
    ExpectFailure(image_.Pair() + " write 1 1 item --force -o " + output, output + ": this command reads it");
  for (const std::string command :
       {"read 1 1 -o soft", "history 1 1 --copy 0 -o soft", "map --svg soft", "map --html soft"})
    ExpectFailure(image_.Pair() + ' ' + command + " --force", "soft: this command reads it");
  RunWell(image_.Pair() + " unpack out");
  ExpectFailure("pack out --force -o out/psdt.bin", "out/psdt.bin: this command reads it");
  ExpectFailure("--psdt out/psdt.bin --codeplug soft unpack out --force", "this command reads psdt.bin in it");
  EXPECT_EQ(Read(image_.psdt), psdt);
  EXPECT_EQ(Read(image_.codeplug), codeplug);
  RunWell(image_.Pair() + " write 1 1 item -o soft");
  EXPECT_TRUE(fs::is_symlink(directory_ / "soft"));
  EXPECT_EQ(ItemNow("1 1"), Bytes({1, 2, 3}));
}

TEST_F(FileSafetyTest, OutputsReplaceOtherFilesOnlyByForce) {
  Write("there", {9});
  for (const std::string command : {"write 1 1 item -o", "delete 1 1 -o", "repair -o", "reorganise -o", "read 1 1 -o",
                                    "history 1 1 --copy 0 -o", "map --svg", "map --html"})
    ExpectFailure(image_.Pair() + ' ' + command + " there", "there: it exists; --force replaces it");
  EXPECT_EQ(Read("there"), Bytes{9});
  RunWell("sample s");
  ExpectFailure("sample s", "s/psdt.bin: it exists");
  RunWell("sample s --force");
  RunWell(image_.Pair() + " write 1 1 item --force -o there");
  EXPECT_EQ(Read("there").size(), Read(image_.codeplug).size());
  RunWell(image_.Pair() + " read 1 1 -o /dev/null");
}

TEST_F(FileSafetyTest, ImagesThatMustNotBeChangedStay) {
  const Bytes before = Read(image_.codeplug);
  ExpectFailure("--psdt v1-psdt.bin@0x30000 --codeplug v1-clean.bin@0x20000 write 1 1 item",
                "the PSDT (0x30000 to 0x31000) overlaps codeplug v1-clean.bin (0x20000 to");
  fs::permissions(directory_ / image_.codeplug, fs::perms::owner_read | fs::perms::group_read);
  ExpectFailure(image_.Pair() + " write 1 1 item", "v1-clean.bin: it is write-protected");
  EXPECT_EQ(Run(image_.Pair() + " write 1 1 item -o other.bin").status, 0);
  fs::permissions(directory_ / image_.codeplug, fs::perms::owner_all);
  ExpectFailure(image_.Pair() + " write 1 1 item", "cannot write v1-clean.bin", "", "trap '' XFSZ; ulimit -f 1;");
  EXPECT_EQ(Read(image_.codeplug), before);
}

/// The first command holds the image from before it reads it: it waits for its PSDT here.
TEST_F(FileSafetyTest, OfTwoChangesTheSecondSaysThatItIsNone) {
  MakePipe("pipe");
  const pid_t first = Start("--psdt pipe --codeplug v1-clean.bin write 1 1 item");
  std::ofstream pipe(directory_ / "pipe", std::ios::binary);
  for (const std::string place : {"", " -o other.bin"})
    ExpectFailure(image_.Pair() + " write 1 2 item" + place, "v1-clean.bin is in use by another command");
  const Bytes psdt = Read(image_.psdt);
  pipe.write(reinterpret_cast<const char*>(psdt.data()), static_cast<std::streamsize>(psdt.size()));
  pipe.close();
  EXPECT_EQ(End(first), 0);
  RunWell(image_.Pair() + " write 1 2 item");
  EXPECT_EQ(ItemNow("1 1"), Bytes({1, 2, 3}));
}

/// The file that it waits for is not the one that it has to change in the end.
TEST_F(FileSafetyTest, AWaitingChangeIsMadeInTheImageThatItMeets) {
  RunWell(image_.Pair() + " write 1 9 item -o new.bin");
  const fs::path image = fs::canonical(directory_ / image_.codeplug);
  const int held = open(image.c_str(), O_RDONLY);
  ASSERT_EQ(flock(held, LOCK_EX), 0);
  const pid_t second = Start(image_.Pair() + " write 1 2 item --wait");
  const auto has_opened = [&] {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator("/proc/" + std::to_string(second) + "/fd", ignored))
      if (fs::read_symlink(entry.path(), ignored) == image) return true;
    return false;
  };
  while (!has_opened()) std::this_thread::yield();
  fs::rename(directory_ / "new.bin", image);
  close(held);
  EXPECT_EQ(End(second), 0);
  EXPECT_EQ(ItemNow("1 9"), ItemNow("1 2"));
}

TEST_F(FileSafetyTest, ARequestToEndLeavesNothing) {
  WriteText("d.json", R"({"version": 1, "sections": [{"tag": "CPGA", "kind": "read-write", "start": 131072,
      "block_count": 2, "partition": 0, "types": [[1, 99]]}]})");
  MakePipe("pipe");
  RunWell(image_.Pair() + " unpack out");
  fs::remove(directory_ / "out/manifest.json");
  MakePipe("out/manifest.json");
  const std::set<std::string> before = Files();
  for (const int request : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(End(StartNewThatHangs(), request), -request);
    const pid_t unpack = Start(image_.Pair() + " unpack --force out");
    WaitForPath(".out.vok-tmp");
    EXPECT_EQ(End(unpack, request), -request);
    EXPECT_EQ(Files(), before);
  }
}

TEST_F(FileSafetyTest, WhatAKilledCommandLeftIsTakenOver) {
  WriteText("d.json", R"({"version": 1, "sections": [{"tag": "CPGA", "kind": "read-write", "start": 131072,
      "block_count": 2, "partition": 0, "types": [[1, 99]]}]})");
  MakePipe("pipe");
  const pid_t child = StartNewThatHangs();
  ExpectFailure("new d.json --psdt-out p.bin -o c.bin", "p.bin: another command writes it");
  EXPECT_EQ(End(child, SIGKILL), -SIGKILL);
  RunWell("new d.json --psdt-out p.bin -o c.bin");
  EXPECT_EQ(Files().count(".p.bin.vok-tmp"), 0U);
  RunWell("--psdt p.bin --codeplug c.bin check");

  fs::create_directories(directory_ / ".out.vok-tmp/CPGA");
  Write(".out.vok-tmp/CPGA/stale", {1});
  RunWell(image_.Pair() + " unpack out");
  EXPECT_EQ(Files().count(".out.vok-tmp") + Files().count("out/CPGA/stale"), 0U);
}

TEST_F(FileSafetyTest, ARangeIsDeletedOnlyWithConsent) {
  ExpectFailure(image_.Pair() + " delete 1 0-9 </dev/null", "nothing deleted: standard input is no terminal");
}

}  // namespace

}  // namespace vok::test
