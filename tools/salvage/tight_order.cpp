#include "tight_order.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace vok::tool {

namespace {

constexpr u32 kUnit = 2;
constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

/// Which sums the sizes of some things reach, and how.
class SubsetSums {
 public:
  explicit SubsetSums(u32 room) : last_(room / kUnit + 1, kNone) {}

  bool IsExact() const { return last_.size() == 1 || last_.back() != kNone; }

  /// Every sum that the things before reach is reached with this one too. Once a sum is reached it stays as it is, so
  /// that what is below its last thing was reached without that thing.
  void Add(std::size_t thing, u32 size) {
    const std::size_t step = size / kUnit;
    for (std::size_t sum = last_.size(); sum-- > step;)
      if (last_[sum] == kNone && (sum == step || last_[sum - step] != kNone)) last_[sum] = thing;
  }

  /// The things of the highest sum.
  std::vector<std::size_t> Best(std::span<const u32> sizes) const {
    std::vector<std::size_t> things;
    std::size_t sum = last_.size() - 1;
    while (sum != 0 && last_[sum] == kNone) --sum;
    for (; sum != 0; sum -= sizes[things.back()] / kUnit) things.push_back(last_[sum]);
    return things;
  }

 private:
  std::vector<std::size_t> last_;  ///< by sum, in units: the last thing added to reach it
};

std::vector<std::size_t> FillOne(std::span<const u32> sizes, const std::vector<std::size_t>& left, u32 capacity) {
  SubsetSums sums(capacity - std::min(capacity, sizes[left.front()]));
  for (std::size_t i = 1; i < left.size() && !sums.IsExact(); ++i) sums.Add(left[i], sizes[left[i]]);
  std::vector<std::size_t> chosen = sums.Best(sizes);
  chosen.insert(chosen.begin(), left.front());
  return chosen;
}

}  // namespace

std::vector<std::size_t> TightOrder(std::span<const u32> sizes, u32 capacity) {
  std::vector<std::size_t> left(sizes.size());
  std::iota(left.begin(), left.end(), std::size_t{0});
  std::stable_sort(left.begin(), left.end(), [sizes](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
  std::vector<std::size_t> order;
  std::vector<bool> placed(sizes.size(), false);
  while (!left.empty()) {
    for (const std::size_t thing : FillOne(sizes, left, capacity)) {
      placed[thing] = true;
      order.push_back(thing);
    }
    std::erase_if(left, [&placed](std::size_t thing) { return placed[thing]; });
  }
  return order;
}

}  // namespace vok::tool
