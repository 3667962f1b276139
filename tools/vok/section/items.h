#pragma once

#include <functional>
#include <span>
#include <vector>

#include "base/files.h"
#include "section/sections.h"

/// The items of mounted sections.

namespace vok::tool {

/// One item of a section.
struct ItemEntry {
  u16 type = 0;
  u16 id = 0;
  u32 length = 0;
  u32 crc32 = 0;
  u64 address = 0;  ///< flash address of its bytes, where that was looked up
};

/// zlib's CRC-32 of @p bytes, continuing @p sum.
u32 Crc32(std::span<const u8> bytes, u32 sum = 0);

/// @param bytes  out: sized to the item
/// @return 0, or the store's code
u16 TryReadItem(const Section& section, u16 type, u16 id, Bytes& bytes);

/// @throws Failure with the store's code, naming the item
Bytes ReadItemBytes(const Section& section, u16 type, u16 id);

using ItemVisitor = std::function<void(const ItemEntry& item, const Bytes& bytes)>;

/// Reads every item of a section: by type, then by ID, each in flash order. An item of which damage left two current
/// copies comes once, as the store reads it. One that cannot be read is passed over: it is among the losses.
/// @throws Failure when the section is not mounted
void VisitItems(const Section& section, const ItemVisitor& visit);

std::vector<ItemEntry> ListSection(const Section& section);

}  // namespace vok::tool
