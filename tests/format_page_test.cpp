#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "vok/vok_worker.h"

namespace vok::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kPsdtAddress = 0xE000;
constexpr std::uint32_t kLine = 16;

/// The flash bytes that one fenced block of the page shows, by the address of each line.
using Dump = std::map<std::uint32_t, Bytes>;

Bytes BytesOf(std::istringstream& line) {
  Bytes bytes;
  for (unsigned value = 0; line >> std::hex >> value;) bytes.push_back(static_cast<std::uint8_t>(value));
  return bytes;
}

/// "*" repeats the line before up to the next one's address.
Dump ReadDump(std::istream& page) {
  Dump dump;
  bool repeat = false;
  for (std::string text; std::getline(page, text) && text != "```";) {
    if (text == "*") {
      repeat = true;
      continue;
    }
    std::istringstream line(text);
    std::uint32_t address = 0;
    line >> std::hex >> address;
    for (auto last = dump.empty() ? dump.end() : std::prev(dump.end()); repeat && last->first + kLine < address;)
      last = dump.emplace(last->first + kLine, last->second).first;
    repeat = false;
    dump[address] = BytesOf(line);
  }
  return dump;
}

Dump DumpOfPage(const std::string& name) {
  std::ifstream page(VOK_DOCS "/format.md");
  for (std::string line; std::getline(page, line);)
    if (line == "```" + name) return ReadDump(page);
  ADD_FAILURE() << "no example " << name;
  return {};
}

void ExpectFlash(VokWorker& worker, const std::string& name) {
  SCOPED_TRACE(name);
  const Dump dump = DumpOfPage(name);
  EXPECT_GE(dump.size(), 5u);
  for (const auto& [address, bytes] : dump) {
    Bytes found(kLine);
    worker.ReadVitualMemory(address, address + kLine, found.data());
    EXPECT_EQ(found, bytes) << std::hex << address;
  }
}

TEST(FormatPageTest, TheExampleIsWhatTheStoreMakes) {
  Bytes psdt;
  for (const auto& [address, bytes] : DumpOfPage("psdt")) psdt.insert(psdt.end(), bytes.begin(), bytes.end());
  ASSERT_EQ(psdt.size(), 2u * 96);
  VokWorker worker;
  ASSERT_EQ(worker.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), kPsdtAddress), 0);
  worker.SetBlockVOKVersion(0, 3);
  ASSERT_EQ(worker.BuildDefaultVOKHeaders(), 0);
  ExpectFlash(worker, "empty");

  std::uint16_t id = 1;
  for (const std::string text : {"Hello", "Hello again"}) {
    const Bytes data(text.begin(), text.end());
    worker.WriteVOK(10, id, data.data(), static_cast<std::uint32_t>(data.size()));
    ExpectFlash(worker, text == "Hello" ? "written" : "replaced");
  }
}

}  // namespace
}  // namespace vok::test
