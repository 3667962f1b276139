#pragma once

#include <cstdint>
#include <map>
#include <vector>

/// What every part of the sweep speaks about.

namespace vok::sweep {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

using Bytes = std::vector<u8>;

struct ItemName {
  u16 type;
  u16 id;
  bool operator==(const ItemName&) const = default;
  bool operator<(const ItemName& other) const { return type != other.type ? type < other.type : id < other.id; }
};

using Items = std::map<ItemName, Bytes>;

/// @return null when there is no such item
inline const Bytes* Find(const Items& items, ItemName name) {
  const auto found = items.find(name);
  return found != items.end() ? &found->second : nullptr;
}

/// Whether two findings are alike: the same bytes, or no item at all.
inline bool Same(const Bytes* one, const Bytes* other) {
  return one == nullptr || other == nullptr ? one == other : *one == *other;
}

/// Pseudo-random numbers that are the same everywhere: every case is reproduced from its seed.
class Random {
 public:
  explicit Random(u64 seed) : state_(seed + 0x9E3779B97F4A7C15u) {}

  u64 Next() {
    u64 z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  /// A number below @p bound.
  u32 Below(u32 bound) { return static_cast<u32>(Next() % bound); }

 private:
  u64 state_;
};

/// One seed out of several numbers.
inline u64 Mix(u64 a, u64 b) { return Random(a * 0x9FB21C651E98DF25u ^ b).Next(); }

/// Bytes that no other item carries.
inline Bytes Noise(u64 seed, u32 length) {
  Random random(seed);
  Bytes bytes(length);
  for (u8& byte : bytes) byte = static_cast<u8>(random.Next());
  return bytes;
}

}  // namespace vok::sweep
