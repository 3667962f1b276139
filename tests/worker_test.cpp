#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <type_traits>

#include "support/psdt_image.h"
#include "vok/vok_worker.h"

namespace vok::test {
namespace {

constexpr std::uint32_t kFlashSize = 0x2000000;

static_assert(std::is_empty_v<VokWorker> || sizeof(VokWorker) == sizeof(void*));
static_assert(!std::is_base_of_v<std::exception, VokError>);

TEST(VokErrorTest, TextsStandAsListedAndUnknownCodesFallBack) {
  VokError error(115);
  EXPECT_EQ(error.ErrorMessage(100), "VOK Error #100: Cannot make ID");
  EXPECT_EQ(error.ErrorMessage(107), "VOK Error #107: Initialized already");
  EXPECT_EQ(error.ErrorMessage(119), "VOK Error #119: Item not found");
  EXPECT_EQ(error.ErrorMessage(137), "VOK Error #137: Too Many Prts");
  EXPECT_EQ(error.ErrorMessage(142), "VOK Error #142: Flash Write Redundant");
  for (const int unknown : {-5, 0, 99, 103, 143})
    EXPECT_EQ(error.ErrorMessage(unknown), "VOK Error #" + std::to_string(unknown) + ": Unknown Exception");
  VokError copy(error);
  copy = VokError(7);
  EXPECT_EQ(error.Code, 115);
  EXPECT_EQ(copy.Code, 7);
}

class WorkerTest : public testing::Test {
 protected:
  ~WorkerTest() override { worker_.EraseVirtualMemory(0, kFlashSize); }

  Bytes Read(std::uint32_t start, std::uint32_t end) {
    Bytes bytes(end - start);
    EXPECT_EQ(worker_.ReadVitualMemory(start, end, bytes.data()), 0);
    return bytes;
  }

  std::vector<std::unique_ptr<PSDT_RECORD>> Records() {
    std::vector<std::unique_ptr<PSDT_RECORD>> records;
    for (PSDT_RECORD* record : worker_.ReadPSDTRecord()) records.emplace_back(record);
    return records;
  }

  VokWorker worker_;
};

TEST_F(WorkerTest, LoadingChecksItsBoundsBeforeItChangesAnything) {
  const Bytes psdt = PsdtImage({}, 0x1000);
  const std::uint32_t last = kFlashSize - 0x1000;
  ASSERT_EQ(worker_.LoadPSDT(psdt.data(), 0x1000, last), 0);
  const Bytes before = Read(last, kFlashSize);
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 0x1000, last + 1), 115);
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 0, 0), 115);
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 0x1000, kFlashSize + 1), 115);
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 0x1000, 0xFFFFF001), 115);
  EXPECT_EQ(Read(last, kFlashSize), before);

  std::uint16_t version = 77;
  EXPECT_EQ(worker_.LoadCodeplug(psdt.data(), 2, kFlashSize - 1, 0), 115);
  EXPECT_EQ(worker_.GetCodeplugVOKVersion(psdt.data(), 0, 0, version), 115);
  EXPECT_EQ(worker_.GetBlockVOKVersion(0x1FFFFF9, version), 115);
  EXPECT_EQ(version, 77);
  EXPECT_EQ(worker_.GetBlockVOKVersion(0x1FFFFF8, version), 0);

  EXPECT_EQ(worker_.ReadVitualMemory(5, 6, nullptr), 115);
  EXPECT_EQ(worker_.LoadCodeplug(psdt.data(), 4, kFlashSize - 4, 0), 0) << "too short for a header";

  std::uint8_t byte = 42;
  EXPECT_EQ(worker_.ReadVitualMemory(5, 5, &byte), 0);
  EXPECT_EQ(worker_.ReadVitualMemory(6, 5, &byte), 115);
  EXPECT_EQ(worker_.ReadVitualMemory(kFlashSize, kFlashSize + 1, &byte), 115);
  EXPECT_EQ(worker_.EraseVirtualMemory(0, kFlashSize + 1), 115);
  EXPECT_EQ(byte, 42);
}

TEST_F(WorkerTest, RecordCountsThatDoNotFitAreRefusedAndABadMagicStaysConverted) {
  Bytes psdt = PsdtImage({{.tag = "CPGA"}, {.tag = "TUNA"}});
  ASSERT_EQ(psdt.size(), 96u * 3);
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 96 * 3 - 1, 0), 115);
  ASSERT_EQ(worker_.LoadPSDT(psdt.data(), 96 * 3, 0), 0);

  Bytes too_many = psdt;
  too_many.resize(96 * 257, 0);
  too_many[6] = 1;
  too_many[7] = 0;
  EXPECT_EQ(worker_.LoadPSDT(too_many.data(), 96 * 257, 0), 115);
  EXPECT_EQ(Records().size(), 2u) << "the table before it stays";

  psdt[0] = 'X';
  EXPECT_EQ(worker_.LoadPSDT(psdt.data(), 96 * 3, 0x100), 115);
  const std::unique_ptr<PSDT_HEADER_RECORD> header(worker_.ReadPSDTHeaderRecord());
  EXPECT_EQ(header->Words[0], 0x58484452u);
}

TEST_F(WorkerTest, ThePsdtIsConvertedOnceInPlace) {
  Bytes psdt = PsdtImage({{.tag = "CPGA", .start = 0x100000, .block_size = 0x20000, .blocks = 3}});
  psdt[5] = 9;  // the high half of the count word is not interpreted
  for (std::size_t i = 8; i < psdt.size(); ++i)
    if (i < 96 || i >= 136) psdt[i] = static_cast<std::uint8_t>(i);
  ASSERT_EQ(worker_.LoadPSDT(psdt.data(), static_cast<std::uint32_t>(psdt.size()), 0x201), 0);
  Bytes converted = psdt;
  const auto turn = [&](std::size_t from, std::size_t end, std::size_t width) {
    for (; from < end; from += width) std::reverse(&converted[from], &converted[from] + width);
  };
  turn(0, 36, 4);
  turn(96, 96 + 36, 4);
  turn(96 + 36, 96 + 94, 2);
  EXPECT_EQ(Read(0x201, 0x201 + 192), converted);

  for (int times = 0; times < 2; ++times) {
    const std::unique_ptr<PSDT_HEADER_RECORD> header(worker_.ReadPSDTHeaderRecord());
    EXPECT_EQ(header->Words[1], 0x00090001u);
    EXPECT_EQ(header->Words[8], 0x20212223u);
    const auto records = Records();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0]->Tag, 0x43504741u);
    EXPECT_EQ(records[0]->EndAddress, 0x15FFFFu);
    EXPECT_EQ(records[0]->BlockCount, 3);
  }
}

TEST_F(WorkerTest, ErasingTheCodeplugSparesThePsdtAndTheByteBehindIt) {
  const Bytes psdt = PsdtImage({}, 96);
  const Bytes zeros(32, 0);
  std::uint16_t version = 0;
  ASSERT_EQ(worker_.LoadPSDT(psdt.data(), 96, 0x1000), 0);
  worker_.GetCodeplugVOKVersion(zeros.data(), 16, 0x1000 - 16, version);
  worker_.GetCodeplugVOKVersion(zeros.data(), 16, 0x1000 + 96, version);
  ASSERT_EQ(worker_.EraseCodeplugVirtualMemory(), 0);
  EXPECT_EQ(Read(0x1000 - 1, 0x1000)[0], 0xFF);
  EXPECT_NE(Read(0x1000, 0x1001)[0], 0xFF);
  EXPECT_EQ(Read(0x1000 + 96, 0x1000 + 98), (Bytes{0x00, 0xFF}));
  worker_.GetCodeplugVOKVersion(zeros.data(), 1, kFlashSize - 1, version);
  ASSERT_EQ(worker_.EraseCodeplugVirtualMemory(), 0);
  EXPECT_EQ(Read(kFlashSize - 1, kFlashSize)[0], 0xFF);

  ASSERT_EQ(worker_.LoadPSDT(psdt.data(), 96, kFlashSize - 96), 0);
  worker_.GetCodeplugVOKVersion(zeros.data(), 16, 0, version);
  EXPECT_EQ(worker_.EraseCodeplugVirtualMemory(), 0);
  EXPECT_EQ(Read(0, 1)[0], 0xFF);
}

}  // namespace
}  // namespace vok::test
