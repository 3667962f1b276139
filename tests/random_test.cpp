#include <algorithm>
#include <array>
#include <random>

#include "support/advised_store.h"

namespace vok::test {
namespace {

/// A long random run at an even fill.
class RandomTest : public AdvisedStoreTest {
 protected:
  using Name = ItemMap::Name;
  static constexpr std::uint16_t kFirstType = 5, kTypes = 3, kIds = 300;

  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
  bool Coin() { return Below(2) == 0; }
  std::uint8_t RandomMode() { return Below(4) != 0 ? 1 : 0; }
  std::uint32_t UsualLength() { return 1 + Below(format().block_size / 45); }
  Bytes NewBytes(std::size_t length) { return Payload(static_cast<std::uint32_t>(random_()), length); }
  Name RandomName() {
    return {static_cast<std::uint16_t>(kFirstType + Below(kTypes)), static_cast<std::uint16_t>(Below(kIds))};
  }
  Name ExistingName() { return items_.From(RandomName()); }
  Name FreeName() {
    Name name = RandomName();
    while (items_.Has(name)) name = RandomName();
    return name;
  }

  void WriteNew(const Name& name, std::uint32_t length) {
    const Bytes data = NewBytes(length);
    const std::uint32_t need = items_.Need(length);
    const auto write = [&] { return Write(name.first, name.second, data); };
    const PartitionSpace promised = Space();
    std::uint16_t code = Attempt(need, write);
    ASSERT_EQ(code == 0, length <= promised.largest_item_now) << code;
    ASSERT_TRUE(code == 0 || code == kNeedReorg || length > promised.largest_item_after_reorganisation) << code;
    ASSERT_TRUE(code != kNeedDeepReorg || need <= FreeByMap());
    if (code == kNeedReorg && Coin()) {
      Reorganise(Roomiest());
      ASSERT_EQ(code = write(), 0) << "one reorganisation does not make the room that was promised";
    }
    code = Insist(code, need, write);
    ASSERT_TRUE(code == 0 || length > Space().largest_item_after_reorganisation) << code;
    if (code == 0) items_.Put(name, data);
  }

  /// Makes an item's bytes @p data by a change that takes @p need bytes beside them, or leaves the item alone.
  template <typename Change>
  void Replace(const Name& name, const Bytes& data, std::uint32_t need, Change change) {
    const bool in_place = data.size() == items_.At(name).size();
    const auto attempt = [&, mode = RandomMode()] {
      chip_.rewriting_in_place = in_place;
      const std::uint16_t code = change(mode);
      chip_.rewriting_in_place = false;
      return code;
    };
    const std::uint16_t code = Insist(Attempt(need, attempt), need, attempt);
    ASSERT_TRUE(code == 0 || IsNoRoom(code)) << code;
    if (code == 0) items_.Put(name, data);
  }
  void Rewrite(const Name& name, std::uint32_t length) {
    const Bytes data = NewBytes(length);
    Replace(name, data, items_.Need(length) + items_.JournalNeed(0),
            [&](std::uint8_t mode) { return Write(name.first, name.second, data, mode); });
  }
  void WritePart(const Name& name) {
    Bytes data = items_.At(name);
    const std::uint32_t offset = Below(data.size() + 1);
    const std::uint32_t length = 1 + Below(60);
    const Bytes news = NewBytes(length);
    data.resize(std::max<std::size_t>(data.size(), offset + length));
    std::copy(news.begin(), news.end(), data.begin() + offset);
    Replace(name, data, items_.Need(data.size()) + items_.JournalNeed(length), [&](std::uint8_t mode) {
      return WriteItemPart(0, mode, name.first, name.second, news.data(), length, offset);
    });
  }
  void Rename(const Name& old) {
    auto [type, id] = RandomName();
    const Bytes data = items_.At(old);
    const std::uint32_t need = items_.Need(data.size()) + items_.JournalNeed(4);
    const auto rename = [&, mode = RandomMode()] { return RenameItem(0, mode, type, &id, old.first, old.second); };
    const std::uint16_t code = Insist(Attempt(need, rename), need, rename);
    ASSERT_TRUE(items_.Has({type, id}) ? code == 135 : code == 0 || IsNoRoom(code)) << code;
    if (code != 0) return;
    items_.Drop(old);
    items_.Put({type, id}, data);
  }
  void Delete(const Name& name) {
    ASSERT_EQ(DeleteItem(0, name.first, name.second), 0);
    items_.Drop(name);
  }
  /// A new item about as large as there is room for, which goes again.
  void Probe() {
    const PartitionSpace space = Space();
    const std::array lengths = {space.largest_item_now, space.largest_item_now + 1,
                                space.largest_item_after_reorganisation, space.largest_item_after_reorganisation + 1,
                                Below(FreeByMap() + FreeByMap() / 8 + 1)};
    const Name name = FreeName();
    WriteNew(name, std::clamp(lengths[Below(lengths.size())], 1u, format().largest_item()));
    if (items_.Has(name)) Delete(name);
  }

  void Change() {
    switch (Below(3)) {
      case 0: return Rename(ExistingName());
      case 1: return WritePart(ExistingName());
      default: return Rewrite(ExistingName(), Below(UsualLength()));
    }
  }
  void Step(bool above) {
    if (Below(64) == 0) return Probe();
    if (Below(8) < 3) return Change();
    if (!above) return WriteNew(FreeName(), UsualLength());
    const Name name = ExistingName();
    Coin() ? Delete(name) : Rewrite(name, Below(items_.At(name).size() + 1));
  }
  /// Fills the store up, where changes find no room for their copy or for its marker, and goes back.
  void VisitTheBrim(std::uint32_t wanted) {
    Name last;
    do WriteNew(last = FreeName(), UsualLength());
    while (items_.Has(last));
    for (int i = 0; i < 50; ++i) Change();
    while (items_.live() > wanted && !HasFailure()) Delete(ExistingName());
  }

  void CompareAll() {
    auto item = items_.begin();
    for (std::uint16_t type = kFirstType; type < kFirstType + kTypes; ++type) {
      std::array<std::uint16_t, kIds> ids{};
      std::uint32_t count = kIds;
      ASSERT_EQ(ListItems(0, type, nullptr, nullptr, ids.data(), &count, nullptr), 0);
      std::sort(ids.begin(), ids.begin() + count);
      for (std::uint32_t i = 0; i < count; ++i, ++item) {
        ASSERT_TRUE(item != items_.end() && item->first == Name(type, ids[i])) << type << "/" << ids[i];
        Bytes bytes(item->second.size() + 1);
        auto length = static_cast<std::uint32_t>(bytes.size());
        ASSERT_EQ(ReadItem(0, type, ids[i], bytes.data(), &length, 0), 0);
        bytes.resize(length);
        ASSERT_TRUE(bytes == item->second) << type << "/" << ids[i];
      }
    }
    ASSERT_TRUE(item == items_.end()) << "items are missing";
  }
  /// The items are those of the map, and a check of the bytes finds the room that the store counted in memory.
  void CheckAll() {
    Repair();
    CompareAll();
    const PartitionSpace counted = Space();
    ASSERT_EQ(Remount(1, kGeometry), 0);
    const PartitionSpace found = Space();
    EXPECT_EQ(found.free_now, counted.free_now);
    EXPECT_EQ(found.free_after_reorganisation, counted.free_after_reorganisation);
    EXPECT_EQ(found.largest_item_now, counted.largest_item_now);
    EXPECT_EQ(found.largest_item_after_reorganisation, counted.largest_item_after_reorganisation);
    CompareAll();
  }

  void Run(std::uint32_t percent) {
    SetUpFormatted(kGeometry);
    InstallFlashDevice(&chip_);
    random_.seed(GetParam());
    const std::uint32_t wanted = Capacity() / 100 * percent;
    while (items_.live() < wanted && !HasFailure()) WriteNew(FreeName(), UsualLength());
    for (int step = 1; step <= 20000 && !HasFailure(); ++step) {
      SCOPED_TRACE(step);
      Step(items_.live() > wanted);
      CheckRoom();
      if (step % 1000 != 0) continue;
      CheckAll();
      EXPECT_NEAR(items_.live(), wanted, Capacity() / 50) << "the run left its fill";
      VisitTheBrim(wanted);
    }
    InstallFlashDevice(&device_);
    EXPECT_GT(reorganisations_, 0);
    EXPECT_GT(refusals_, 0);
  }

  std::mt19937 random_;
};
VOK_FOR_EACH_VERSION(RandomTest);

TEST_P(RandomTest, TwentyThousandStepsAt60PercentEqualAPlainMap) { Run(60); }
TEST_P(RandomTest, TwentyThousandStepsAt80PercentEqualAPlainMap) { Run(80); }
TEST_P(RandomTest, TwentyThousandStepsAt95PercentEqualAPlainMap) { Run(95); }

}  // namespace
}  // namespace vok::test
