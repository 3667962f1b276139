#include "tear.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vok::sweep {

namespace {

constexpr u32 kMostEnumeratedBits = 8;
constexpr u8 kErased = 0xFF;

struct HeaderField {
  u32 offset;
  u32 size;
};
constexpr std::array<HeaderField, 4> kHeaderFields = {{{0, 4}, {4, 4}, {8, 4}, {12, 2}}};
constexpr u32 kFirstFieldTear = 4;

u32 ChangedBits(const Step& step) {
  u32 bits = 0;
  for (std::size_t i = 0; i < step.after.size(); ++i)
    bits += static_cast<u32>(std::popcount(static_cast<u8>(step.before[i] ^ step.after[i])));
  return bits;
}

/// Gives @p bytes the bits of @p after that the set bits of @p chosen name, counted over the changed bits alone.
void TakeBits(std::span<u8> bytes, std::span<const u8> after, u64 chosen) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    for (u32 changed = static_cast<u32>(bytes[i] ^ after[i]); changed != 0; changed &= changed - 1) {
      if ((chosen & 1) != 0) bytes[i] = static_cast<u8>(bytes[i] ^ (changed & (0 - changed)));
      chosen >>= 1;
    }
  }
}

u32 WordTearCount(const Step& step) {
  const u32 bits = ChangedBits(step);
  if (bits < 2) return 0;
  return bits <= kMostEnumeratedBits ? (1u << bits) - 2 : kSeededTears;
}

Bytes TornWord(const Step& step, u32 number, u64 seed) {
  const u32 bits = ChangedBits(step);
  const u64 subset = bits <= kMostEnumeratedBits ? number : 1 + Mix(seed, number) % ((u64{1} << bits) - 2);
  Bytes torn(step.before.begin(), step.before.end());
  TakeBits(torn, step.after, subset);
  return torn;
}

Bytes TornBulk(const Step& step, u32 number, u64 seed) {
  const u32 length = static_cast<u32>(step.after.size());
  Bytes torn(step.before.begin(), step.before.end());
  if (number < length) {
    std::copy_n(step.after.begin(), number, torn.begin());
    return torn;
  }
  Random random(Mix(seed, number));
  const u32 done = random.Below(length) & ~1u;
  const u32 under_way = std::min(2u, length - done);
  std::copy_n(step.after.begin(), done, torn.begin());
  TakeBits(std::span(torn).subspan(done, under_way), step.after.subspan(done, under_way), random.Next());
  return torn;
}

/// Leaves each zero bit with probability 1/64.
void EraseSparsely(Bytes& bytes, u64 seed) {
  Random random(seed);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    u64 left = random.Next();
    left &= left >> 8 & left >> 16 & left >> 24 & left >> 32 & left >> 40;
    bytes[i] = static_cast<u8>(bytes[i] | ~left);
  }
}

Bytes TornErase(const Step& step, u32 number, u64 seed) {
  Bytes torn(step.before.begin(), step.before.end());
  const auto middle = torn.begin() + static_cast<std::ptrdiff_t>(torn.size() / 2);
  switch (number) {
    case 1: std::fill(torn.begin(), middle, kErased); break;
    case 2: std::fill(middle, torn.end(), kErased); break;
    case 3: EraseSparsely(torn, seed); break;
    default: {
      const HeaderField& field = kHeaderFields[number - kFirstFieldTear];
      std::fill(torn.begin(), torn.end(), kErased);
      std::copy_n(step.before.begin() + field.offset, field.size, torn.begin() + field.offset);
    }
  }
  return torn;
}

}  // namespace

u32 TearCount(const Step& step) {
  switch (step.kind) {
    case StepKind::kErase: return kFirstFieldTear - 1 + static_cast<u32>(kHeaderFields.size());
    case StepKind::kBulk: return static_cast<u32>(step.after.size()) - 1 + kSeededTears;
    default: return WordTearCount(step);
  }
}

Bytes Torn(const Step& step, u32 number, u64 seed) {
  switch (step.kind) {
    case StepKind::kErase: return TornErase(step, number, seed);
    case StepKind::kBulk: return TornBulk(step, number, seed);
    default: return TornWord(step, number, seed);
  }
}

}  // namespace vok::sweep
