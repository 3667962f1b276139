#pragma once

#include <optional>
#include <span>
#include <vector>

#include "section/sections.h"

/// Blocks found by their own headers, wherever the PSDT says that sections lie.

namespace vok::tool {

inline constexpr u16 kHighestVersion = 3;  ///< of the store

/// The offsets in @p bytes, within @p range, at which a block of any store version begins. Blocks lie one erase apart:
/// only offsets that are as far from the start of an erase as one of @p phases are looked at.
std::vector<u64> FindSignedBlocks(std::span<const u8> bytes, const FlashRange& range, std::span<const u64> phases);

/// The record whose types most of the Valid items in a block have, by index; none when no record serves them. Needs
/// the store version in force.
/// @param block  its bytes
std::optional<std::size_t> OwnerOf(std::span<const u8> block, std::span<const psdt::Record> records);

/// Those of the flash image that lie where no record of the PSDT in force places a block: their addresses. Of what was
/// loaded from the file only.
std::vector<u64> FindStrayBlocks(const SectionList& sections);

}  // namespace vok::tool
