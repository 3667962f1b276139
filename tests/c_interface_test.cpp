#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "vok/vok_c.h"
#include "vok/vok_worker.h"

namespace vok::test {
namespace {

constexpr std::uint32_t kPsdtAddress = 0xE000;
constexpr std::uint32_t kAddress = 0x20000;
constexpr std::uint32_t kBlockSize = 0x20000;

using Bytes = std::vector<std::uint8_t>;
using Name = std::tuple<std::string, std::uint16_t, std::uint16_t>;

Bytes ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::uint32_t SizeOf(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

/// What a list function gives, once its length is known.
template <typename Entry, typename List>
std::vector<Entry> All(const List& list) {
  std::uint32_t count = 0;
  EXPECT_EQ(list(nullptr, 0, &count), 0);
  std::vector<Entry> entries(count);
  EXPECT_EQ(list(entries.data(), count, &count), 0);
  return entries;
}

std::vector<vok_report> Reports(std::uint16_t function(vok_report*, std::uint32_t, std::uint32_t*)) {
  std::vector<vok_report> reports(16);
  std::uint32_t count = 0;
  EXPECT_EQ(function(reports.data(), 16, &count), 0);
  reports.resize(count);
  return reports;
}

std::set<Name> Names(const std::vector<vok_item>& items) {
  std::set<Name> names;
  for (const vok_item& item : items) names.insert({item.section, item.type, item.id});
  return names;
}

std::set<Name> Served() {
  return Names(All<vok_item>([](auto... out) { return vok_list(nullptr, out...); }));
}

std::set<Name> Lost() { return Names(All<vok_item>(vok_lost)); }

/// The store behind the C interface; that of VokWorker is another one, in the test itself.
class CInterfaceTest : public testing::Test {
 protected:
  void Load(const std::string& psdt, const Bytes& codeplug) {
    codeplug_ = codeplug;
    psdt_ = ReadFile(psdt);
    ASSERT_EQ(vok_load_psdt(psdt_.data(), SizeOf(psdt_), kPsdtAddress), 0);
    ASSERT_EQ(vok_load_codeplug(codeplug.data(), SizeOf(codeplug), kAddress, 0), 0);
  }
  void LoadSample() { Load(VOK_SAMPLES "/psdt.bin", ReadFile(VOK_SAMPLES "/codeplug.bin")); }
  void TearDown() override { vok_close(); }

  Bytes Flash() const {
    Bytes bytes(codeplug_.size());
    EXPECT_EQ(vok_flash_read(kAddress, kAddress + SizeOf(codeplug_), bytes.data()), 0);
    return bytes;
  }

  Bytes FlashOfWorker() const {
    VokWorker worker;
    EXPECT_EQ(worker.LoadPSDT(psdt_.data(), SizeOf(psdt_), kPsdtAddress), 0);
    EXPECT_EQ(worker.LoadCodeplug(codeplug_.data(), SizeOf(codeplug_), kAddress, 0), 0);
    Bytes bytes(codeplug_.size());
    worker.ReadVitualMemory(kAddress, kAddress + SizeOf(codeplug_), bytes.data());
    return bytes;
  }

  Bytes psdt_;
  Bytes codeplug_;
};

TEST_F(CInterfaceTest, ACheckTellsWhatAMountWillDoAndChangesNothing) {
  const std::string data = VOK_TEST_DATA;
  Bytes reorganising = ReadFile(data + "/v1/clean.bin");
  reorganising.at(12) = 0x0F;  // the state of a block that a reorganisation takes apart
  const std::vector<std::pair<std::string, Bytes>> images = {{"/v1", ReadFile(data + "/v1/clean.bin")},
                                                             {"/v2", ReadFile(data + "/v2/several.bin")},
                                                             {"/v3", ReadFile(data + "/v3/missing_signature.bin")},
                                                             {"/v1", reorganising}};
  for (const auto& [version, image] : images) {
    SCOPED_TRACE(version);
    Load(data + version + "/psdt.bin", image);
    const std::vector<vok_report> check = Reports(vok_check);
    EXPECT_EQ(Flash(), codeplug_);
    EXPECT_EQ(vok_close(), 138) << "a check mounts nothing";

    const std::vector<vok_report> mount = Reports(vok_mount);
    bool due = false;
    ASSERT_EQ(check.size(), mount.size());
    const std::vector<vok_section> sections = All<vok_section>(vok_sections);
    ASSERT_EQ(sections.size(), mount.size());
    for (std::size_t i = 0; i < check.size(); ++i) {
      EXPECT_EQ(mount[i].partition, sections[i].partition);
      EXPECT_EQ(std::memcmp(&check[i], &mount[i], sizeof check[i]), 0) << check[i].section;
      EXPECT_EQ(check[i].check_code == 0, check[i].programs + check[i].erases == 0) << check[i].section;
      due = due || check[i].check_code != 0;
    }
    EXPECT_EQ(due, Flash() != codeplug_);
    EXPECT_EQ(Flash(), FlashOfWorker());
  }
}

TEST_F(CInterfaceTest, EveryItemOfADamagedImageIsServedOrLost) {
  LoadSample();
  ASSERT_EQ(vok_mount(nullptr, 0, nullptr), 0);
  const std::set<Name> all = Served();
  std::size_t lost_at_most = 0;
  const Bytes whole = ReadFile(VOK_SAMPLES "/codeplug.bin");
  for (std::uint32_t block = 0; block < SizeOf(whole); block += kBlockSize) {
    SCOPED_TRACE(block);
    Bytes damaged = whole;
    damaged[block] = 0;
    Load(VOK_SAMPLES "/psdt.bin", damaged);
    std::size_t told = 0;
    for (const vok_report& report : Reports(vok_mount)) told += report.lost_count;
    std::set<Name> found = Served();
    const std::set<Name> lost = Lost();
    EXPECT_EQ(lost.size(), told);
    EXPECT_EQ(found.size() + lost.size(), all.size());
    found.insert(lost.begin(), lost.end());
    EXPECT_EQ(found, all);
    lost_at_most = std::max(lost_at_most, told);
  }
  EXPECT_GT(lost_at_most, 10u) << "no damage hit a block that holds items";
}

TEST_F(CInterfaceTest, ItemsComeAndGo) {
  LoadSample();
  ASSERT_EQ(vok_format(2), 0);
  EXPECT_EQ(vok_store_version(), 2);
  EXPECT_TRUE(Served().empty());
  const std::vector<vok_section> sections = All<vok_section>(vok_sections);
  for (const vok_section& section : sections) EXPECT_EQ(section.read_only, section.name == std::string("PDAT"));
  const std::uint16_t type = sections.at(0).first_type;

  // Rewritten at changing lengths, an item fills its section with dead copies.
  Bytes data;
  std::uint16_t code = 0;
  std::uint16_t id = 7;
  for (std::uint32_t i = 0; code == 0; ++i) {
    data = Bytes(sections[0].largest_item_now / 2 - 4 * i, static_cast<std::uint8_t>(i));
    code = vok_write(type, &id, data.data(), SizeOf(data));
  }
  EXPECT_TRUE(code == 123 || code == 124) << code;
  EXPECT_EQ(vok_reorganise(sections[0].name), 0);
  EXPECT_EQ(vok_write(type, &id, data.data(), SizeOf(data)), 0);

  EXPECT_EQ(vok_write(sections.at(1).first_type, &id, nullptr, 0), 0);
  EXPECT_EQ(vok_delete(sections.at(1).first_type, id), 0);
  std::uint16_t renamed = VOK_NEW_ID;
  EXPECT_EQ(vok_rename(type, &renamed, type, id), 0);
  EXPECT_EQ(renamed, 0);
  EXPECT_EQ(vok_rename(sections.at(1).first_type, &renamed, type, renamed), 118) << "into another section";
  std::uint8_t* copy = nullptr;
  std::uint32_t length = 0;
  EXPECT_EQ(vok_read_new(type, id, &copy, &length), 119);
  EXPECT_EQ(copy, nullptr);
  ASSERT_EQ(vok_read_new(type, renamed, &copy, &length), 0);
  EXPECT_EQ(Bytes(copy, copy + length), data);
  vok_free(copy);
  EXPECT_EQ(vok_delete(type, renamed), 0);
  EXPECT_TRUE(Served().empty());
  EXPECT_EQ(Reports(vok_check).at(0).check_code, 0);
}

TEST_F(CInterfaceTest, WrongArgumentsGetCodes) {
  LoadSample();
  std::uint32_t count = 0;
  EXPECT_EQ(vok_list(nullptr, nullptr, 0, &count), 138) << "nothing is mounted";
  ASSERT_EQ(vok_mount(nullptr, 0, nullptr), 0);
  std::vector<vok_item> one(1);
  EXPECT_EQ(vok_list("CPGA", one.data(), 1, &count), 120);
  EXPECT_GT(count, 1u);
  EXPECT_EQ(one[0].section, std::string("CPGA"));
  EXPECT_EQ(vok_list("NONE", nullptr, 0, &count), 116);
  EXPECT_EQ(vok_list("CPG", nullptr, 0, &count), 116);
  EXPECT_EQ(vok_list(nullptr, nullptr, 1, &count), 115);
  EXPECT_EQ(vok_list(nullptr, one.data(), 1, nullptr), 115);
  EXPECT_EQ(vok_reorganise(nullptr), 115);
  Bytes data(one[0].length);
  count = one[0].length;
  EXPECT_EQ(vok_read(one[0].type, one[0].id, data.data(), &count), 0);
  EXPECT_EQ(count, one[0].length);
  EXPECT_EQ(vok_read(one[0].type, one[0].id, nullptr, nullptr), 115);
  EXPECT_EQ(vok_read_new(one[0].type, one[0].id, nullptr, &count), 115);
  EXPECT_EQ(vok_write(one[0].type, nullptr, nullptr, 0), 115);
  EXPECT_EQ(vok_write(one[0].type, &one[0].id, nullptr, 1), 115);
  EXPECT_EQ(vok_read_new(one[0].type, one[0].id, nullptr, &count), 115);
  std::uint8_t* copy = nullptr;
  EXPECT_EQ(vok_read_new(one[0].type, one[0].id, &copy, nullptr), 115);
  EXPECT_EQ(vok_reorganise("PDAT"), 134);
  EXPECT_EQ(vok_format(0), 115);
  EXPECT_EQ(vok_format(4), 115);
  EXPECT_EQ(vok_load_codeplug(nullptr, 1, 0, 0), 115);
  EXPECT_EQ(vok_load_psdt(nullptr, 1, 0), 115);
  const std::uint16_t other = vok_store_version() == 3 ? 2 : 3;
  EXPECT_EQ(vok_load_codeplug(codeplug_.data(), SizeOf(codeplug_), kAddress, other), 0);
  EXPECT_EQ(vok_store_version(), other) << "the caller knows better";
  EXPECT_EQ(vok_error_text(119), std::string("Item not found"));
  EXPECT_EQ(vok_error_text(0), std::string("Success"));
  EXPECT_NE(vok_version(), std::string());
}

}  // namespace
}  // namespace vok::test
