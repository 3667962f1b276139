#include <map>
#include <random>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

/// A chip that accepts only what NOR flash can do: programs clear bits, apart from a rewrite of an item in place.
class StrictDevice : public FlashDevice {
 public:
  explicit StrictDevice(VokWorker& worker) : worker_(worker) {}

  std::uint16_t ProgramWord16(std::uint32_t address, std::uint16_t value) override {
    const Bytes old = Read(address, 2);
    EXPECT_EQ((old[0] << 8 | old[1]) & value, value) << "a program sets bits at " << address;
    ++steps;
    return FlashDevice::ProgramWord16(address, value);
  }
  std::uint16_t ProgramBytes(const std::uint8_t* data, std::uint32_t address, std::uint32_t length) override {
    const Bytes old = Read(address, length);
    for (std::uint32_t i = 0; i < length && !rewriting_in_place; ++i) {
      EXPECT_EQ(old[i] & data[i], data[i]) << "a bulk program sets bits";
    }
    return FlashDevice::ProgramBytes(data, address, length);
  }

  bool rewriting_in_place = false;
  int steps = 0;

 private:
  Bytes Read(std::uint32_t address, std::uint32_t length) {
    Bytes bytes(length);
    EXPECT_EQ(worker_.ReadVitualMemory(address, address + length, bytes.data()), 0);
    return bytes;
  }

  VokWorker& worker_;
};

/// A long random run beside a plain map, with reorganisations as the store advises and remounts in between.
class RandomTest : public StoreTest {
 protected:
  using Name = std::pair<std::uint16_t, std::uint16_t>;
  static constexpr Geometry kGeometry{.blocks = 4, .arena = 600};

  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  Name RandomName() { return {static_cast<std::uint16_t>(5 + Below(3)), static_cast<std::uint16_t>(Below(40))}; }
  Name ExistingName() { return std::next(items_.begin(), Below(static_cast<std::uint32_t>(items_.size())))->first; }

  /// Runs a write, making room as often as the store asks for it.
  template <typename WriteOperation>
  std::uint16_t WithRoom(WriteOperation write) {
    for (int tries = 0;; ++tries) {
      device_strict_.steps = 0;
      const std::uint16_t code = write();
      if ((code != 123 && code != 124) || tries == 2 * kGeometry.blocks) return code;
      // The new copy found room but its marker did not: the slot stays Allocated until a repair.
      unfinished_ = unfinished_ || device_strict_.steps != 0;
      std::uint16_t block = 0;
      EXPECT_EQ(CheckReorgNeed(0, 100, &block, 0), 0);
      EXPECT_NE(block, kAny) << "a need without a block";
      EXPECT_EQ(ReorganiseBlock(0, block, 0), 0);
      block = kAny;
      EXPECT_EQ(EraseRetiredBlock(0, &block), 0);
    }
  }

  void WriteWhole() {
    auto [type, id] = RandomName();
    const Bytes data = Payload(static_cast<std::uint32_t>(random_()), Below(format().block_size / 90));
    const auto old = items_.find({type, id});
    device_strict_.rewriting_in_place = old != items_.end() && old->second.size() == data.size();
    const std::uint16_t code = WithRoom([&] { return Write(type, id, data, 1); });
    device_strict_.rewriting_in_place = false;
    ASSERT_EQ(code, 0);
    items_[{type, id}] = data;
  }

  void WritePart() {
    if (items_.empty()) return;
    const Name name = ExistingName();
    Bytes& item = items_[name];
    const std::uint32_t offset = Below(static_cast<std::uint32_t>(item.size()) + 1);
    const Bytes news = Payload(static_cast<std::uint32_t>(random_()), 1 + Below(40));
    device_strict_.rewriting_in_place = offset + news.size() <= item.size();
    const std::uint16_t code = WithRoom([&] {
      return WriteItemPart(0, 1, name.first, name.second, news.data(), static_cast<std::uint32_t>(news.size()), offset);
    });
    device_strict_.rewriting_in_place = false;
    ASSERT_EQ(code, 0);
    if (item.size() < offset + news.size()) item.resize(offset + news.size());
    std::copy(news.begin(), news.end(), item.begin() + offset);
  }

  void Rename() {
    if (items_.empty()) return;
    const Name old = ExistingName();
    auto [type, id] = RandomName();
    const std::uint16_t code = WithRoom([&] { return RenameItem(0, 1, type, &id, old.first, old.second); });
    ASSERT_EQ(code, items_.count({type, id}) != 0 ? 135 : 0);
    if (code != 0) return;
    items_[{type, id}] = items_[old];
    items_.erase(old);
  }

  void Delete() {
    const Name name = RandomName();
    ASSERT_EQ(DeleteItem(0, name.first, name.second), items_.erase(name) != 0 ? 0 : 119);
  }

  void CompareAll() {
    for (std::uint16_t type = 5; type < 8; ++type)
      for (std::uint16_t id = 0; id < 40; ++id) {
        const auto item = items_.find({type, id});
        ASSERT_EQ(ReadCode(type, id), item != items_.end() ? 0 : 119);
        if (item == items_.end()) continue;
        EXPECT_EQ(Item(type, id), item->second);
      }
  }

  bool unfinished_ = false;
  std::mt19937 random_;
  std::map<Name, Bytes> items_;
  StrictDevice device_strict_{worker_};
};
VOK_FOR_EACH_VERSION(RandomTest);

TEST_P(RandomTest, ALongRunEqualsAPlainMapAndEveryCheckIsClean) {
  SetUpFormatted(kGeometry);
  InstallFlashDevice(&device_strict_);
  random_.seed(GetParam());
  for (int step = 0; step < 4000 && !HasFatalFailure(); ++step) {
    SCOPED_TRACE(step);
    switch (Below(8)) {
      case 0: Delete(); break;
      case 1: Rename(); break;
      case 2:
      case 3: WritePart(); break;
      default: WriteWhole();
    }
    if (step % 500 != 499) continue;
    ASSERT_EQ(unfinished_ ? Remount(2, kGeometry) : 0, 0);
    unfinished_ = false;
    ASSERT_EQ(Remount(1, kGeometry), 0);
    CompareAll();
  }
  InstallFlashDevice(&device_);
}

}  // namespace
}  // namespace vok::test
