#pragma once

#include <span>

#include "basics.h"

/// What a power cut inside one device step may leave.
///
/// Tears of a step are numbered from 1; number 0 stands for "the step had not begun". The complete step is no tear of
/// it: that cut lies before the next step.
///  - A word: every proper subset of the bits that the step changes where these are up to 8, sixteen seeded ones
///    otherwise.
///  - A bulk program: cut after each of its bytes but the last; then sixteen seeded places where the 16-bit word under
///    way has taken a seeded part of its bits.
///  - An erase: the first half erased, the last half, one in 64 zero bits left over, all erased but one of the four
///    header fields.

namespace vok::sweep {

enum class StepKind : u8 { kWord, kByte, kBulk, kErase };

/// A device step about to be made: the bytes as they are and as they are to become.
struct Step {
  StepKind kind;
  u32 address;
  std::span<const u8> before;
  std::span<const u8> after;
};

inline constexpr u32 kSeededTears = 16;

u32 TearCount(const Step& step);

/// The bytes that tear @p number (1 to TearCount()) of @p step leaves.
Bytes Torn(const Step& step, u32 number, u64 seed);

}  // namespace vok::sweep
