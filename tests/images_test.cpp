#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include <zlib.h>
#include <nlohmann/json.hpp>

#include "vok/store.h"
#include "vok/vok_worker.h"

namespace vok::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;

Bytes ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The images made by another program, each by the list of items that it must give.
std::vector<fs::path> AllImages() {
  std::vector<fs::path> images;
  for (const auto& entry : fs::recursive_directory_iterator(VOK_TEST_DATA))
    if (entry.path().extension() == ".json") images.push_back(entry.path());
  return images;
}

class ImagesTest : public testing::TestWithParam<fs::path> {};
INSTANTIATE_TEST_SUITE_P(All, ImagesTest, testing::ValuesIn(AllImages()), [](const auto& test) {
  return test.param.parent_path().filename().string() + "_" + test.param.stem().string();
});

TEST_P(ImagesTest, ARepairMountGivesEveryItemAndASecondOneIsIdle) {
  const auto expected = nlohmann::json::parse(ReadFile(GetParam()));
  const Bytes psdt = ReadFile(GetParam().parent_path() / "psdt.bin");
  const Bytes codeplug = ReadFile(fs::path(GetParam()).replace_extension(".bin"));
  const std::uint32_t address = expected["load_address"];
  const auto size = static_cast<std::uint32_t>(codeplug.size());
  VokWorker worker;
  ASSERT_EQ(worker.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), expected["psdt_address"]), 0);
  ASSERT_EQ(worker.LoadCodeplug(codeplug.data(), size, address, expected["version"]), 0);

  Bytes repaired(size);
  for (int mounts = 0; mounts < 2; ++mounts) {
    std::size_t next = 0;
    for (const auto& section : expected["sections"]) {
      for (const VOKITEM& item : worker.ReadAllVOK(section["section"])) {
        ASSERT_LT(next, expected["items"].size());
        const auto& wanted = expected["items"][next++];
        const auto crc = ::crc32(0, item.Data.data(), static_cast<uInt>(item.Data.size()));
        EXPECT_EQ(nlohmann::json({section["section"], item.Type, item.Id, item.Length, crc}),
                  nlohmann::json({wanted["section"], wanted["type"], wanted["id"], wanted["length"],
                                  std::stoul(wanted["crc32"].get<std::string>(), nullptr, 16)}));
      }
    }
    EXPECT_EQ(next, expected["items"].size());
    if (mounts == 1) break;
    worker.ReadVitualMemory(address, address + size, repaired.data());
    EXPECT_EQ(repaired == codeplug, expected["clean"].get<bool>()) << "only an unfinished image changes";
    ASSERT_EQ(worker.LoadCodeplug(repaired.data(), size, address, expected["version"]), 0);
  }
  Bytes again(size);
  worker.ReadVitualMemory(address, address + size, again.data());
  EXPECT_EQ(again, repaired);
}

}  // namespace
}  // namespace vok::test
