#include "tool_fixture.h"

namespace vok::test {

namespace {

class UnpackTest : public ToolTest {
 protected:
  /// The items of an unpacked directory, each judged by the bytes of its own file.
  Items UnpackedItems(const std::string& directory) const {
    Items items;
    const json manifest = Manifest(directory);
    for (const auto& section : manifest.at("sections")) {
      const std::string name = section.at("section");
      for (const auto& item : section.at("items")) {
        const Bytes bytes = Read(directory + '/' + std::string(item.at("file")));
        EXPECT_EQ(bytes.size(), item.at("length"));
        EXPECT_EQ(Checksum(bytes), item.at("crc32"));
        items.emplace(name, item.at("type"), item.at("id"), static_cast<int>(bytes.size()), Checksum(bytes));
      }
    }
    return items;
  }

  json Manifest(const std::string& directory) const { return json::parse(Read(directory + "/manifest.json")); }
};

TEST_F(UnpackTest, GivesTheItemsOfAnUnfinishedImageInThreeVersions) {
  for (const TestImage& image : CopyAll()) {
    const std::string directory = image.codeplug + ".d";
    const Bytes before = Read(image.codeplug);
    RunWell(image.Pair() + " unpack " + directory);
    const Items expected = ExpectedItems(Text(Read(image.json)));
    EXPECT_EQ(UnpackedItems(directory), expected) << image.codeplug;
    EXPECT_EQ(Read(directory + "/psdt.bin"), Read(image.psdt));
    EXPECT_EQ(Read(image.codeplug), before);
  }
}

TEST_F(UnpackTest, ManifestDescribesTheLayout) {
  const TestImage image = Copy("v3", "missing_signature");
  RunWell("unpack out " + image.Pair());
  const json manifest = Manifest("out");
  EXPECT_EQ(manifest.at("format"), "vok/1");
  EXPECT_EQ(manifest.at("version"), 3);
  EXPECT_EQ(manifest.at("psdt"), json({{"file", "psdt.bin"}, {"address", kPsdtAddress}}));
  EXPECT_EQ(manifest.at("codeplug"), json({{"address", kCodeplugAddress}, {"length", 0x160000}}));
  json section = manifest.at("sections").at(0);
  section.erase("items");
  EXPECT_EQ(section, json::parse(R"({"section": "CPGA", "partition": 0, "kind": "read-write", "start": 131072,
      "block_size": 131072, "block_count": 4, "types": [[1, 99], [1000, 1099]]})"));
  EXPECT_EQ(manifest.at("sections").at(3).at("kind"), "read-only");
}

TEST_F(UnpackTest, TakesAnEmptyDirectoryAndRefusesAFullOne) {
  std::filesystem::create_directory(directory_ / "out");
  RunWell("unpack out/ " + image_.Pair());
  ExpectFailure("unpack out " + image_.Pair(), "out: it exists and is not empty");

  Write("out/mine", {1});
  std::filesystem::remove(directory_ / "out/TUNA/100-0.bin");
  RunWell("unpack --force out " + image_.Pair());
  EXPECT_EQ(Read("out/mine"), Bytes{1});
  EXPECT_EQ(UnpackedItems("out"), ExpectedItems(Text(Read(image_.json))));
}

TEST_F(UnpackTest, NeverReplacesWhatItDidNotMake) {
  std::filesystem::create_directory(directory_ / "home");
  Write("home/letter", {1});
  ExpectFailure("unpack --force home " + image_.Pair(), "holds no manifest.json");
  ExpectFailure("unpack --force . " + image_.Pair(), "current directory");
  ExpectFailure("unpack v1-psdt.bin " + image_.Pair(), "is no directory");
}

TEST_F(UnpackTest, LeavesNothingWhenTheDiskIsFull) {
  RunWell("unpack old " + image_.Pair());
  const std::string no_room = "trap '' XFSZ; ulimit -f 1;";
  ExpectFailure("unpack new " + image_.Pair(), "cannot write", "", no_room);
  ExpectFailure("unpack --force old " + image_.Pair(), "cannot write", "", no_room);
  EXPECT_EQ(UnpackedItems("old"), ExpectedItems(Text(Read(image_.json))));
}

TEST_F(UnpackTest, SectionNamesNeverLeaveTheDirectory) {
  Overwrite(image_.psdt, 96, {'.', '.', '/', 'x'});
  Overwrite(image_.psdt, 192, {'X', 'T', 'R', 'A'});
  RunWell("unpack out " + image_.Pair());
  EXPECT_TRUE(std::filesystem::exists(directory_ / "out/%2E%2E%2Fx"));
  EXPECT_TRUE(std::filesystem::exists(directory_ / "out/XTRA"));
  EXPECT_TRUE(std::filesystem::exists(directory_ / "out/XTRA.2"));
  EXPECT_EQ(UnpackedItems("out").size(), ExpectedItems(Text(Read(image_.json))).size());
}

}  // namespace

}  // namespace vok::test
