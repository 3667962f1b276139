#pragma once

#include "image.h"

/// Arguments of calls, from the input.

namespace vok::fuzz {

/// A buffer of exactly @p size bytes; null for none, as a caller may have it.
template <typename T>
class Exact {
 public:
  explicit Exact(std::size_t size) : values_(size) {}
  T* get() { return values_.empty() ? nullptr : values_.data(); }
  std::span<const T> values() const { return values_; }

 private:
  std::vector<T> values_;
};

/// The arguments of a call are taken one by one: a call itself would take them in any order.
struct Name {
  std::uint16_t type, id;
};
inline Name TakeName(Input& input) {
  const std::uint16_t type = TakeType(input);
  return {.type = type, .id = TakeId(input)};
}

inline std::uint32_t TakeLength(Input& input) {
  static constexpr std::array<std::uint32_t, 8> kLengths = {0, 1, 6, 40, 300, 5000, 70000, 140000};
  const std::uint8_t choice = input.Byte();
  return choice < 200 ? choice : kLengths[choice % kLengths.size()];
}

inline std::uint32_t TakeOffset(Input& input) {
  const std::uint8_t choice = input.Byte();
  return choice == 255 ? 0xFFFFFFFF : choice >= 250 ? input.Word() : choice % 50u;
}

}  // namespace vok::fuzz
