#include "population.h"

#include <algorithm>
#include <array>
#include <random>

namespace vok::bench {

namespace {

struct SizeClass {
  std::uint32_t percent, least, most;
};
constexpr std::array<SizeClass, 5> kSizeClasses = {
    {{5, 0, 0}, {60, 4, 64}, {25, 65, 512}, {9, 513, 4096}, {1, 4097, 20000}}};

constexpr std::uint32_t kPerItem = 4 + 3 + 8;  ///< length word, pad and slot at most

/// Numbers that are the same with every standard library, unlike those of its distributions.
class Numbers {
 public:
  explicit Numbers(std::uint32_t seed) : engine_(seed) {}
  std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(engine_() % limit); }
  std::uint32_t Length() {
    std::uint32_t percent = Below(100);
    const SizeClass* size = kSizeClasses.data();
    for (; percent >= size->percent; ++size) percent -= size->percent;
    return size->least + Below(size->most - size->least + 1);
  }
  void Fill(Bytes& bytes) {
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(engine_());
  }
  void Shuffle(std::vector<Item>& items) {
    for (auto i = static_cast<std::uint32_t>(items.size()); i > 1; --i) std::swap(items[i - 1], items[Below(i)]);
  }

 private:
  std::mt19937 engine_;
};

template <typename NewLength>
std::vector<Item> Rewrites(const std::vector<Item>& items, std::uint32_t count, std::uint32_t seed, NewLength length) {
  Numbers numbers(seed);
  std::vector<Item> result(items.begin(), items.begin() + std::min<std::ptrdiff_t>(count, std::ssize(items)));
  while (result.size() < count) result.push_back(result[result.size() % items.size()]);
  for (Item& item : result) {
    item.data.resize(length(numbers, static_cast<std::uint32_t>(item.data.size())));
    numbers.Fill(item.data);
  }
  numbers.Shuffle(result);
  return result;
}

}  // namespace

std::vector<Item> Population(std::uint32_t count) {
  Numbers numbers(1);
  std::array<std::uint16_t, kTypes> next_id{};
  std::vector<Item> items(count);
  for (Item& item : items) {
    const std::uint32_t type = numbers.Below(kTypes);
    item = {static_cast<std::uint16_t>(kFirstType + type), next_id[type]++, Bytes(numbers.Length())};
    numbers.Fill(item.data);
  }
  numbers.Shuffle(items);
  return items;
}

std::vector<Item> Shuffled(std::vector<Item> items) {
  Numbers(2).Shuffle(items);
  return items;
}

std::vector<Item> SameLengths(const std::vector<Item>& items, std::uint32_t count) {
  return Rewrites(items, count, 3, [](Numbers&, std::uint32_t length) { return length; });
}

std::vector<Item> OtherLengths(const std::vector<Item>& items, std::uint32_t count) {
  return Rewrites(items, count, 4, [](Numbers& numbers, std::uint32_t length) {
    const std::uint32_t change = 1 + numbers.Below(16);
    return change <= length && numbers.Below(2) == 0 ? length - change : length + change;
  });
}

std::uint64_t StoredBytes(const std::vector<Item>& items) {
  std::uint64_t bytes = 0;
  for (const Item& item : items) bytes += item.data.size() + kPerItem;
  return bytes;
}

}  // namespace vok::bench
