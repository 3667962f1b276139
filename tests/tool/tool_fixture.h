#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <tuple>
#include <vector>

/// Runs the built tool on copies of the test images, in a directory of its own that is gone afterwards.

namespace vok::test {

/// The tool that is tested: that of the build, or the one that the environment names in VOK_TOOL.
std::string Tool();

using Bytes = std::vector<std::uint8_t>;
using nlohmann::json;

/// What one run of the tool answered.
struct Answer {
  int status;
  std::string out;
  std::string err;
};

/// Section, type, ID, length, checksum.
using ItemKey = std::tuple<std::string, int, int, int, std::string>;
using Items = std::multiset<ItemKey>;

/// A test image, in the directory of the test.
struct TestImage {
  std::string psdt;
  std::string codeplug;
  std::string json;

  /// The arguments that name it, without addresses.
  std::string Pair() const { return "--psdt " + psdt + " --codeplug " + codeplug; }
};

inline constexpr std::uint32_t kPsdtAddress = 0xE000;
inline constexpr std::uint32_t kCodeplugAddress = 0x20000;
inline constexpr std::uint32_t kFlashSize = 0x2000000;

class ToolTest : public testing::Test {
 protected:
  ToolTest();
  ~ToolTest() override;

  /// Runs "vok ARGUMENTS" in the test's directory. @p before is shell text that goes in front.
  Answer Run(const std::string& arguments, const std::string& before = "") const;

  /// Expects status 0 and gives standard output.
  std::string RunWell(const std::string& arguments) const;

  /// Expects status 0 and JSON on standard output.
  json RunJson(const std::string& arguments) const { return json::parse(RunWell(arguments)); }

  /// Expects status 1 with a line on standard error that holds @p told, and JSON that says that it is not complete.
  json RunLossy(const std::string& arguments, const std::string& told = "not served") const;

  /// Expects status 1 with one line on standard error that holds @p what and the text of @p code, none where the store
  /// has no part in it, and the directory as it was.
  void ExpectFailure(const std::string& arguments, const std::string& what, const std::string& code = "",
                     const std::string& before = "") const;

  /// Copies an image of tests/data, e.g. "v2", "several", under @p name.
  TestImage Copy(const std::string& version, const std::string& name) const;

  /// An image of each version, of which the first is clean.
  std::vector<TestImage> CopyAll() const {
    return {Copy("v1", "clean"), Copy("v2", "several"), Copy("v3", "missing_signature")};
  }

  /// Writes a dump of the whole flash with the image in it. @return the arguments that name it
  std::string Dump(const TestImage& image, std::uint32_t psdt_address = kPsdtAddress) const;

  Bytes Read(const std::string& name) const;
  void Write(const std::string& name, const Bytes& bytes) const;
  void WriteText(const std::string& name, const std::string& text) const {
    Write(name, Bytes(text.begin(), text.end()));
  }
  void Overwrite(const std::string& name, std::size_t offset, const Bytes& bytes) const;

  /// Every file and directory below the test's directory.
  std::set<std::string> Files() const;

  std::filesystem::path directory_;
  const TestImage image_;  ///< the clean image of version 1
};

/// A header slot of a version-1 codeplug's first block, as offsets into the codeplug.
struct SlotPlace {
  int index;
  std::size_t slot;
  std::size_t word;     ///< its location word
  std::size_t payload;  ///< of its record, which begins there
  std::size_t length;
};

/// The @p number-th slot from the end of the list, 1 = the last.
SlotPlace SlotFromEnd(const Bytes& codeplug, int number);

/// The first byte of a location word with other state bits: 0xC0 Allocated, 0x80 Void, 0x40 Valid.
Bytes WithState(const Bytes& codeplug, const SlotPlace& place, int state);

/// The items that a repair mount must give, from the image's JSON.
Items ExpectedItems(const std::string& json_text);

/// The items of an answer of "list --json".
Items ListedItems(const std::string& json_text);

std::string Checksum(const Bytes& bytes);
std::string Text(const Bytes& bytes);

}  // namespace vok::test
