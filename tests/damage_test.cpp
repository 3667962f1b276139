#include <random>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

/// Whatever the bytes, every call ends, stays inside the image and answers with a code; the sanitizers watch.
class DamageTest : public StoreTest {
 protected:
  void SetUp() override {
    SetUpFormatted({.blocks = 4, .arena = 512});
    for (std::uint16_t i = 0; i < 60; ++i) Write(static_cast<std::uint16_t>(5 + i % 3), i, Payload(i, i * 37u % 900));
    for (std::uint16_t i = 0; i < 60; i += 7) DeleteItem(0, static_cast<std::uint16_t>(5 + i % 3), i);
    Write(6, 1, Payload(1, 5000));
    ReorganiseBlock(0, FirstOpened(), 0);
    whole_ = PartitionBytes();
  }

  void UseEverything() {
    std::vector<std::uint16_t> out(200);
    auto count = static_cast<std::uint32_t>(out.size());
    ListTypes(0, nullptr, nullptr, out.data(), &count);
    Bytes buffer(2000);
    for (std::uint16_t id = 0; id < 60; ++id) {
      std::uint32_t length = 2000;
      ReadItem(0, static_cast<std::uint16_t>(5 + id % 3), id, buffer.data(), &length, 0);
    }
    Write(5, 200, Payload(9, 333));
    Write(5, 200, Payload(9, 334));
    std::uint16_t id = kAny;
    WriteItem(0, 1, 6, &id, nullptr, 10);
    RenameItem(0, 1, 9, &id, 6, 1);
    DeleteTypeRange(0, 7, 7);
    for (std::uint16_t block = 0; block < 4; ++block) ReorganiseBlock(0, block, 1);
    std::uint16_t block = kAny;
    EraseRetiredBlock(0, &block);
    PartitionSpace space{};
    GetPartitionSpace(0, &space);
  }

  void MountAndUse(const std::string& what) {
    SCOPED_TRACE(what);
    for (const std::uint8_t mode : {std::uint8_t{1}, std::uint8_t{2}}) {
      const Bytes before = PartitionBytes();
      if (Remount(mode, {.blocks = 4, .arena = 512}) == 0) {
        UseEverything();
      } else if (mode == 1) {
        EXPECT_EQ(PartitionBytes(), before);
      }
      EXPECT_EQ(hooks_.locks_held, 0);
    }
    EXPECT_EQ(Flash(kBase - 64, 64), Bytes(64, 0xFF)) << "nothing outside the partition changes";
    EXPECT_EQ(Flash(BlockBase(4), 64), Bytes(64, 0xFF));
  }

  Bytes whole_;
};
VOK_FOR_EACH_VERSION(DamageTest);

TEST_P(DamageTest, MutatedSlotsWordsAndHeaders) {
  for (std::uint32_t seed = 0; seed < 150; ++seed) {
    std::mt19937 random(seed);
    Bytes bytes = whole_;
    const auto below = [&random](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    for (std::uint32_t changes = 1 + below(6); changes > 0; --changes) {
      const std::uint32_t block = below(4) * format().block_size;
      const std::uint32_t at = below(3) != 0 ? block + below(600) : block + format().block_size - 1 - below(4000);
      bytes[at] = static_cast<std::uint8_t>(below(2) != 0 ? below(256) : bytes[at] ^ 1u << below(8));
    }
    Poke(kBase, bytes);
    MountAndUse("seed " + std::to_string(seed));
  }
}

TEST_P(DamageTest, TruncatedShuffledAndRandomImages) {
  std::mt19937 random(GetParam());
  for (const std::size_t keep :
       {std::size_t{0}, std::size_t{13}, std::size_t{40}, whole_.size() / 2, whole_.size() - 1}) {
    Bytes bytes = whole_;
    std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(keep), bytes.end(), std::uint8_t{0xFF});
    Poke(kBase, bytes);
    MountAndUse("truncated to " + std::to_string(keep));
  }
  for (int round = 0; round < 4; ++round) {
    Bytes bytes = whole_;
    for (std::size_t i = 0; i + 512 <= bytes.size(); i += 512) {
      const std::size_t other = random() % (bytes.size() / 512) * 512;
      std::swap_ranges(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                       bytes.begin() + static_cast<std::ptrdiff_t>(i + 512),
                       bytes.begin() + static_cast<std::ptrdiff_t>(other));
    }
    if (round % 2 != 0)
      for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    for (std::size_t block = 0; block < 4; ++block)
      std::copy_n(whole_.begin() + static_cast<std::ptrdiff_t>(block * format().block_size), 16,
                  bytes.begin() + static_cast<std::ptrdiff_t>(block * format().block_size));
    Poke(kBase, bytes);
    MountAndUse("round " + std::to_string(round));
  }
}

}  // namespace
}  // namespace vok::test
