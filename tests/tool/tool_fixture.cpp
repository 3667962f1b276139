#include "tool_fixture.h"

#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace vok::test {

namespace fs = std::filesystem;

namespace {

fs::path MakeDirectory() {
  std::string name = (fs::temp_directory_path() / "vok-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a test directory");
  return name;
}

Bytes ReadPath(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

Items ItemsOf(const json& items) {
  Items keys;
  for (const auto& item : items)
    keys.emplace(item.at("section"), item.at("type"), item.at("id"), item.at("length"), item.at("crc32"));
  return keys;
}

}  // namespace

std::string Tool() {
  const char* const named = std::getenv("VOK_TOOL");
  return named != nullptr ? named : VOK_TOOL;
}

ToolTest::ToolTest()
    : directory_(MakeDirectory() / "files"), image_((fs::create_directory(directory_), Copy("v1", "clean"))) {}

ToolTest::~ToolTest() {
  std::error_code ignored;
  fs::remove_all(directory_.parent_path(), ignored);
}

Answer ToolTest::Run(const std::string& arguments, const std::string& before) const {
  const fs::path out = directory_.parent_path() / "out";
  const fs::path err = directory_.parent_path() / "err";
  const std::string command = "cd '" + directory_.string() + "' && " + before + " '" + Tool() + "' " + arguments +
                              " >'" + out.string() + "' 2>'" + err.string() + "'";
  const int status = std::system(command.c_str());
  return {
      .status = WIFEXITED(status) ? WEXITSTATUS(status) : -1, .out = Text(ReadPath(out)), .err = Text(ReadPath(err))};
}

std::string ToolTest::RunWell(const std::string& arguments) const {
  const Answer answer = Run(arguments);
  EXPECT_EQ(answer.status, 0) << arguments << '\n' << answer.err;
  EXPECT_EQ(answer.err, "") << arguments;
  return answer.out;
}

json ToolTest::RunLossy(const std::string& arguments, const std::string& told) const {
  const Answer answer = Run(arguments);
  EXPECT_EQ(answer.status, 1) << arguments;
  EXPECT_NE(answer.err.find(told), std::string::npos) << arguments << '\n' << answer.err;
  json lossy = json::parse(answer.out);
  EXPECT_EQ(lossy.at("complete"), false);
  EXPECT_FALSE(lossy.at("losses").empty());
  return lossy;
}

void ToolTest::ExpectFailure(const std::string& arguments, const std::string& what, const std::string& code,
                             const std::string& before) const {
  const std::set<std::string> files = Files();
  const Answer answer = Run(arguments, before);
  EXPECT_EQ(answer.status, 1) << arguments;
  EXPECT_EQ(answer.out, "") << arguments;
  EXPECT_EQ(answer.err.rfind("vok: ", 0), 0U) << answer.err;
  EXPECT_NE(answer.err.find(what), std::string::npos) << arguments << '\n' << answer.err;
  const std::string store = code.empty() ? "" : "(VOK Error #" + code + ")\n";
  EXPECT_EQ(answer.err.find("(VOK Error") == std::string::npos, code.empty()) << arguments << '\n' << answer.err;
  EXPECT_NE(answer.err.find(store), std::string::npos) << arguments << '\n' << answer.err;
  EXPECT_EQ(std::count(answer.err.begin(), answer.err.end(), '\n'), 1) << answer.err;
  EXPECT_EQ(Files(), files) << arguments;
}

TestImage ToolTest::Copy(const std::string& version, const std::string& name) const {
  const fs::path source = fs::path(VOK_TEST_DATA) / version;
  const TestImage image{
      .psdt = version + "-psdt.bin", .codeplug = version + '-' + name + ".bin", .json = version + '-' + name + ".json"};
  Write(image.psdt, ReadPath(source / "psdt.bin"));
  Write(image.codeplug, ReadPath(source / (name + ".bin")));
  Write(image.json, ReadPath(source / (name + ".json")));
  return image;
}

std::string ToolTest::Dump(const TestImage& image, std::uint32_t psdt_address) const {
  Bytes dump(kFlashSize, 0xFF);
  const Bytes psdt = Read(image.psdt);
  const Bytes codeplug = Read(image.codeplug);
  std::copy(psdt.begin(), psdt.end(), dump.begin() + psdt_address);
  std::copy(codeplug.begin(), codeplug.end(), dump.begin() + kCodeplugAddress);
  Write("dump.bin", dump);
  return "--image dump.bin --psdt-address " + std::to_string(psdt_address);
}

Bytes ToolTest::Read(const std::string& name) const { return ReadPath(directory_ / name); }

void ToolTest::Write(const std::string& name, const Bytes& bytes) const {
  std::ofstream file(directory_ / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void ToolTest::Overwrite(const std::string& name, std::size_t offset, const Bytes& bytes) const {
  Bytes content = Read(name);
  ASSERT_LE(offset + bytes.size(), content.size());
  std::copy(bytes.begin(), bytes.end(), content.begin() + static_cast<std::ptrdiff_t>(offset));
  Write(name, content);
}

std::set<std::string> ToolTest::Files() const {
  std::set<std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory_))
    files.insert(fs::relative(entry.path(), directory_).string());
  return files;
}

SlotPlace SlotFromEnd(const Bytes& codeplug, int number) {
  constexpr std::size_t kFirstSlot = 0x20;
  constexpr std::size_t kSlotSize = 6;
  const auto half = [&codeplug](std::size_t at) {
    return static_cast<std::size_t>(codeplug[at] << 8 | codeplug[at + 1]);
  };
  int count = 0;
  while (half(kFirstSlot + kSlotSize * static_cast<std::size_t>(count)) != 0xFFFF) ++count;
  SlotPlace place{};
  place.index = count - number;
  place.slot = kFirstSlot + kSlotSize * static_cast<std::size_t>(place.index);
  place.word = place.slot + 4;
  const std::size_t length_word = (half(place.word) & 0x3FFF) * 4 + 2;
  place.length = half(length_word);
  place.payload = length_word - place.length - (4 - (place.length + 2) % 4) % 4;
  return place;
}

Bytes WithState(const Bytes& codeplug, const SlotPlace& place, int state) {
  return {static_cast<std::uint8_t>((codeplug[place.word] & 0x3F) | state)};
}

Items ExpectedItems(const std::string& json_text) { return ItemsOf(json::parse(json_text).at("items")); }

Items ListedItems(const std::string& json_text) {
  const json list = json::parse(json_text);
  EXPECT_EQ(list.at("format"), "vok/1");
  return ItemsOf(list.at("items"));
}

std::string Checksum(const Bytes& bytes) {
  std::array<char, 9> text{};
  std::snprintf(text.data(), text.size(), "%08lx", crc32_z(0, bytes.data(), bytes.size()));
  return text.data();
}

std::string Text(const Bytes& bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace vok::test
