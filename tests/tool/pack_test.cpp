
#include "tool_fixture.h"

namespace vok::test {

namespace {

class PackTest : public ToolTest {
 protected:
  json Manifest(const std::string& directory) const { return json::parse(Read(directory + "/manifest.json")); }
  void WriteManifest(const json& manifest) const { WriteText("in/manifest.json", manifest.dump()); }

  /// Every file of two directories is the same.
  void ExpectSame(const std::string& a, const std::string& b) const {
    std::size_t count = 0;
    for (const std::string& file : Files()) {
      if (file.rfind(a + '/', 0) != 0 || !std::filesystem::is_regular_file(directory_ / file)) continue;
      EXPECT_EQ(Read(file), Read(b + file.substr(a.size()))) << file;
      ++count;
    }
    EXPECT_GT(count, 500U);
  }

  /// A directory "in" with the version-1 test PSDT and no items yet.
  json MakeHandWritten() const {
    std::filesystem::create_directory(directory_ / "in");
    Write("in/psdt.bin", Read(image_.psdt));
    return json::parse(R"({"format": "vok/1", "version": 1, "psdt": {"address": 57344},
        "codeplug": {"address": "0x20000", "length": 655360},
        "sections": [{"section": "XTRA", "items": []}, {"section": "CPGA", "items": []}]})");
  }

  void AddItem(json& manifest, int section, int type, int id, std::size_t length) const {
    const std::string name = manifest["sections"][static_cast<std::size_t>(section)]["section"];
    std::filesystem::create_directory(directory_ / "in" / name);
    Write("in/" + name + '/' + std::to_string(type) + '-' + std::to_string(id) + ".bin",
          Bytes(length, static_cast<std::uint8_t>(id)));
    manifest["sections"][static_cast<std::size_t>(section)]["items"].push_back({{"type", type}, {"id", id}});
  }
};

TEST_F(PackTest, UnpackedAgainGivesTheSameManifestAndFiles) {
  for (const TestImage& image : CopyAll()) {
    const std::string first = image.codeplug + ".1";
    RunWell(image.Pair() + " unpack " + first);
    RunWell("pack " + first + " --force -o pair.bin");
    RunWell("pack --dump --force -o dump.bin " + first);
    EXPECT_EQ(Read("pair.bin").size(), Read(image.codeplug).size());
    const std::string pair = "--codeplug pair.bin --psdt " + image.psdt;
    RunWell(pair + " check");
    RunWell("check --image dump.bin");
    RunWell(pair + " unpack " + image.codeplug + ".2");
    RunWell("unpack --image dump.bin " + image.codeplug + ".3");
    ExpectSame(first, image.codeplug + ".2");
    ExpectSame(first, image.codeplug + ".3");
  }
}

TEST_F(PackTest, NamesAWrongFieldWithItsPath) {
  json sound = MakeHandWritten();
  AddItem(sound, 0, 200, 7, 11);
  AddItem(sound, 0, 201, 8, 11);
  struct Case {
    std::string path;
    json value;
    std::string what;
  };
  const std::string item = "/sections/0/items/1";
  const std::vector<Case> cases = {
      {"/format", "vok/2", "/format: vok/2 is not vok/1"},
      {"/version", 4, "/version: 4 is not in 1 to 3"},
      {"/psdt/file", "../psdt.bin", "/psdt/file: ../psdt.bin is not a file in the directory"},
      {"/codeplug/length", 4096, "/codeplug: 0x20000 to 0x21000 does not hold the whole of section CPGA"},
      {"/sections", 5, "/sections: is not an array"},
      {"/sections/0/section", "NONE", "/sections/0/section: section NONE is not in the PSDT"},
      {"/sections/1/section", "XTRA", "/sections/1/section: section XTRA is there already"},
      {"/sections/0/start", 0, "/sections/0/start: 0 is not the 655360 of the PSDT"},
      {"/sections/0/types", json::parse("[[200, 298]]"), "/sections/0/types/0: is not the range 200 to 299"},
      {"/sections/0/itmes", json::array(), "/sections/0/itmes: is no field of this format"},
      {item + "/type", 5, item + "/type: 5 is in no type range of section XTRA"},
      {item + "/id", "new", item + "/id: \"new\" is not a whole number"},
      {item + "/id", 65535, item + "/id: 65535 is not in 0 to 65534"},
      {item + "/length", 12, item + "/length: 12 is not the 11 bytes"},
      {item + "/crc32", "00000000", item + "/crc32: 00000000 is not the"},
      {item + "/file", "XTRA/none.bin", item + "/file: cannot read in/XTRA/none.bin: No such file"},
      {item, {{"type", 200}, {"id", 7}}, item + ": item type 200 ID 7 is there already"},
  };
  for (const Case& wrong : cases) {
    json manifest = sound;
    manifest[json::json_pointer(wrong.path)] = wrong.value;
    WriteManifest(manifest);
    ExpectFailure("pack in --verify -o out.bin", "in/manifest.json: " + wrong.what);
  }
  WriteManifest(sound);
  RunWell("pack in --verify -o out.bin");
}

/// The second section is CPGA.2, and an item that no range serves any more is told apart from a mistake.
TEST_F(PackTest, KeepsSectionsOfOneTagAndItemsThatNoRangeServes) {
  const auto describe = [this](int last_type) {
    WriteText("d.json", R"({"version": 2, "sections": [
      {"tag": "CPGA", "kind": 4, "start": 131072, "block_count": 2, "partition": 0, "types": [[1, )" +
                            std::to_string(last_type) + R"(]]},
      {"tag": "CPGA", "kind": 5, "start": 524288, "block_count": 2, "partition": 1, "types": [[100, 199]]}]})");
  };
  describe(99);
  RunWell("new d.json --psdt-out wide.bin -o c.bin");
  describe(50);
  RunWell("new d.json --psdt-out narrow.bin -o empty.bin");
  Write("item", {1, 2, 3});
  RunWell("--psdt wide.bin --codeplug c.bin write 70 1 item");
  RunWell("--psdt wide.bin --codeplug c.bin write 100 1 item");
  RunWell("--psdt narrow.bin --codeplug c.bin unpack a");
  EXPECT_EQ(Manifest("a")["sections"][1]["section"], "CPGA.2");
  RunWell("pack a -o packed.bin");
  RunWell("--psdt narrow.bin --codeplug packed.bin unpack b");
  EXPECT_EQ(Manifest("a"), Manifest("b"));
  EXPECT_EQ(Read("b/CPGA/70-1.bin"), Bytes({1, 2, 3}));
  EXPECT_EQ(Read("b/CPGA.2/100-1.bin"), Bytes({1, 2, 3}));
}

TEST_F(PackTest, NamesAMissingOrBrokenManifest) {
  MakeHandWritten();
  ExpectFailure("pack in -o out.bin", "cannot read in/manifest.json");
  WriteText("in/manifest.json", "{\"");
  ExpectFailure("pack in -o out.bin", "in/manifest.json: parse error at line 1");
}

TEST_F(PackTest, TellsTheFiguresWhenASectionIsFull) {
  json manifest = MakeHandWritten();
  AddItem(manifest, 0, 200, 1, 40000);
  AddItem(manifest, 0, 200, 2, 30000);
  WriteManifest(manifest);
  Write("out.bin", {1, 2, 3});
  ExpectFailure("pack in --force -o out.bin", "section XTRA has no room for the item: 30010 bytes needed, 25492 free",
                "130: Partition Full");
  EXPECT_EQ(Read("out.bin"), Bytes({1, 2, 3}));
  AddItem(manifest, 1, 1, 1, 65495);
  manifest["sections"][0]["items"] = json::array();
  WriteManifest(manifest);
  ExpectFailure("pack in --force -o out.bin", "65495 bytes are more than the 65494");
}

/// The manifest's order, which is that of the sizes, does not fit these into the three blocks that a section of four
/// has.
TEST_F(PackTest, FillsBlocksToTheLastByte) {
  json manifest = MakeHandWritten();
  Items expected;
  // A block has 65502 bytes for records and slots; each item takes 8 more than its length here.
  for (const int size : {30002, 28002, 26002, 25002, 24002, 20002, 17498, 14498, 11498}) {
    AddItem(manifest, 1, 1, size, size - 8u);
    expected.emplace("CPGA", 1, size, size - 8, Checksum(Bytes(size - 8u, static_cast<std::uint8_t>(size))));
  }
  WriteManifest(manifest);
  const Answer answer = Run("pack in -o out.bin --verbose");
  EXPECT_EQ(answer.status, 0) << answer.err;
  EXPECT_NE(answer.err.find("no room in the manifest's order"), std::string::npos);
  const std::string pair = "--psdt in/psdt.bin --codeplug out.bin";
  EXPECT_EQ(ListedItems(RunWell(pair + " list --json")), expected);
  RunWell(pair + " check");
}

}  // namespace

}  // namespace vok::test
