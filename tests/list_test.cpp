#include <algorithm>

#include "support/store_fixture.h"

namespace vok::test {
namespace {

using Values = std::vector<std::uint16_t>;

class ListTest : public StoreTest {
 protected:
  Values Types(std::uint32_t room, std::uint16_t expected_code) {
    Values out(room, 0xEEEE);
    std::uint32_t count = room;
    EXPECT_EQ(ListTypes(0, nullptr, nullptr, out.data(), &count), expected_code);
    out.resize(count);
    return out;
  }

  /// A set of the given values, chunks in the order of their first value.
  static std::vector<ValueSetChunk> SetOf(const Values& values, std::uint16_t key) {
    std::vector<ValueSetChunk> chunks(1);
    for (const std::uint16_t value : values) {
      const auto base = static_cast<std::uint16_t>(value & ~1023);
      auto chunk = std::find_if(chunks.begin(), chunks.end(), [&](const auto& c) { return c.base == base; });
      if (chunk == chunks.end()) chunk = chunks.insert(chunk, ValueSetChunk{});
      chunk->base = base;
      ++chunk->count;
      chunk->bitmap[(value >> 4) & 63] |= static_cast<std::uint16_t>(1 << (value & 15));
    }
    chunks[0].key = key;
    for (std::size_t i = 0; i + 1 < chunks.size(); ++i) chunks[i].next = &chunks[i + 1];
    return chunks;
  }
};
VOK_FOR_EACH_VERSION(ListTest);

TEST_P(ListTest, TypesComeInTheOrderOfTheirFirstValidSlot) {
  SetUpFormatted();
  EXPECT_EQ(Types(3, 0), Values{});
  for (const std::uint16_t type : Values{7, 5, 7, 9}) {
    std::uint16_t id = kAny;
    ASSERT_EQ(WriteItem(0, 1, type, &id, nullptr, 4), 0);
  }
  EXPECT_EQ(Types(3, 0), (Values{7, 5, 9}));
  EXPECT_EQ(Types(2, 120), (Values{7, 5}));
  ASSERT_EQ(DeleteItem(0, 5, 0), 0);
  EXPECT_EQ(Types(5, 0), (Values{7, 9}));
  std::uint32_t count = 5;
  EXPECT_EQ(ListTypes(0, nullptr, nullptr, nullptr, &count), 0);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(ListTypes(0, nullptr, nullptr, nullptr, nullptr), 115);
}

TEST_P(ListTest, ItemsAreListedCountedAndAddedUp) {
  SetUpFormatted();
  const Values written = {9, 2, 40000};
  for (std::size_t i = 0; i < written.size(); ++i) ASSERT_EQ(Write(5, written[i], Payload(1, 10 * (i + 1))), 0);
  Values out(3);
  std::uint32_t count = 3;
  std::uint32_t total = 1;
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, out.data(), &count, &total), 0);
  EXPECT_EQ(out, written);
  EXPECT_EQ(total, 60u);
  count = 2;
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, out.data(), &count, &total), 120);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(total, 30u);
  count = 0;
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, out.data(), &count, &total), 0);
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, out.data(), &count, nullptr), 120);
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, nullptr, &count, nullptr), 0);
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(ListItems(0, 5, nullptr, nullptr, nullptr, &count, &total), 115);
  EXPECT_EQ(ListItems(0, 0xFFFE, nullptr, nullptr, out.data(), &count, nullptr), 118);
}

TEST_P(ListTest, SetsAreDeliveredInRisingOrderInPortions) {
  SetUpFormatted();
  const Values written = {3000, 5, 65000};
  for (std::size_t i = 0; i < written.size(); ++i) ASSERT_EQ(Write(5, written[i], Payload(1, 10 * (i + 1))), 0);
  ValueSetChunk* set = nullptr;
  ASSERT_EQ(GetItemIdSet(0, 5, &set), 0);
  Values out(2);
  std::uint16_t cursor = 0;
  std::uint32_t count = 2;
  std::uint32_t total = 0;
  EXPECT_EQ(ListItems(0, 5, &cursor, set, out.data(), &count, &total), 120);
  EXPECT_EQ(out, (Values{5, 3000}));
  EXPECT_EQ(total, 30u);
  EXPECT_EQ(cursor, 65000);
  EXPECT_EQ(ListItems(0, 5, &cursor, set, out.data(), &count, &total), 0);
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(cursor, kAny);
  EXPECT_EQ(ListItems(0, 5, &cursor, set, out.data(), &count, &total), 112);
  cursor = 0;
  EXPECT_EQ(ListItems(0, 6, &cursor, set, out.data(), &count, &total), 118) << "the set of another type";
  EXPECT_EQ(ListTypes(0, &cursor, set, out.data(), &count), 118) << "a set of IDs";

  ASSERT_EQ(DeleteItem(0, 5, 3000), 0);
  ASSERT_EQ(Write(5, 6, Payload(1, 7)), 0);
  count = 2;
  EXPECT_EQ(ListItems(0, 5, &cursor, set, out.data(), &count, &total), 120);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(total, 27u) << "every item between the first and the last ID counts, 6 for 3000";
  ASSERT_EQ(DeleteItem(0, 5, 6), 0);
  cursor = 0;
  EXPECT_EQ(ListItems(0, 5, &cursor, set, out.data(), &count, &total), 119) << "the set names an item that is gone";
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(FreeItemIdSet(set), 0);
}

TEST_P(ListTest, AChunkOfASetMayBeEmpty) {
  SetUpFormatted();
  auto set = SetOf({5, 2000, 3000}, 5);
  std::fill(std::begin(set[1].bitmap), std::end(set[1].bitmap), std::uint16_t{0});
  Values out(3);
  std::uint16_t cursor = 0;
  std::uint32_t count = 3;
  EXPECT_EQ(ListItems(0, 5, &cursor, set.data(), out.data(), &count, nullptr), 0);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(out[1], 3000);
}

TEST_P(ListTest, ASetOfTypesNeedsACursorAmongTheTypes) {
  SetUpFormatted();
  const auto set = SetOf({2000, 3}, 0);
  Values out(4);
  std::uint32_t count = 4;
  std::uint16_t cursor = 0;
  EXPECT_EQ(ListTypes(0, nullptr, set.data(), out.data(), &count), 115);
  EXPECT_EQ(ListTypes(0, &cursor, set.data(), out.data(), &count), 118);
  cursor = 0xFFFE;
  EXPECT_EQ(ListTypes(0, &cursor, set.data(), out.data(), &count), 118);
  count = 1;
  cursor = 1;
  EXPECT_EQ(ListTypes(0, &cursor, set.data(), out.data(), &count), 120);
  EXPECT_EQ(cursor, 2000);
  count = 0;
  EXPECT_EQ(ListTypes(0, &cursor, set.data(), out.data(), &count), 0);
  count = 4;
  cursor = 1;
  EXPECT_EQ(ListTypes(0, &cursor, set.data(), out.data(), &count), 0);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(out[0], 3);
  EXPECT_EQ(out[1], 2000);
  EXPECT_EQ(cursor, 0);
  Values every(65535);
  for (std::size_t i = 0; i < every.size(); ++i) every[i] = static_cast<std::uint16_t>(i);
  const auto full = SetOf(every, 5);
  Values ids(65535);
  count = 65535;
  cursor = 0;
  EXPECT_EQ(ListItems(0, 5, &cursor, full.data(), ids.data(), &count, nullptr), 0);
  EXPECT_EQ(ids, every);
  EXPECT_EQ(cursor, kAny);
}

}  // namespace
}  // namespace vok::test
