#pragma once

#include <cstdint>

namespace vok {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;

/// A byte offset into the flash image. 64 bits wide, so that the end of a partition set up anywhere in the 32-bit
/// address range can be named without wrapping.
using FlashAddress = u64;

}  // namespace vok
