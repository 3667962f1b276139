#pragma once

#include <span>
#include <string>
#include <vector>

#include "answer/json_answer.h"
#include "image/image.h"
#include "section/findings.h"
#include "section/items.h"
#include "view/block_figures.h"
#include "vok/store.h"

/// The JSON answers, each one object with "format": "vok/1".

namespace vok::tool {

/// The items of one section.
struct SectionItems {
  const Section* section;
  std::vector<ItemEntry> items;
};

/// What a check or a repair tells of one section.
struct SectionReport {
  const Section* section;
  u16 code;  ///< of its mount
  std::vector<Finding> findings;
};

/// What info tells of one section.
struct SectionSpace {
  const Section* section;
  PartitionSpace space;                   ///< all 0 unless mounted
  std::vector<BlockFigures> blocks = {};  ///< only when they are asked for
};

/// An item that was read.
struct ItemWithBytes {
  const Section* section;
  ItemEntry item;
  Bytes bytes;
};

JsonAnswer ItemsJson(u16 version, std::span<const SectionItems> sections, const Losses& losses);
JsonAnswer ItemJson(const Section& section, const ItemEntry& item, std::span<const u8> bytes, const Losses& losses);
/// Adds the slots of which a finding tells.
void AddSlots(const Finding& finding, Json& json);
/// Of an item that cannot be served.
JsonAnswer LostItemJson(const ItemKey& item, const Losses& losses);
JsonAnswer ItemsWithBytesJson(u16 version, std::span<const ItemWithBytes> items, const Losses& losses);
JsonAnswer ManifestJson(const LoadedImage& image, std::span<const SectionItems> sections, const Losses& losses);
JsonAnswer ReportJson(u16 version, bool clean, std::span<const SectionReport> reports, const Losses& losses);
JsonAnswer InfoJson(const LoadedImage& image, std::span<const u32> header_words, std::span<const SectionSpace> spaces,
                    std::span<const Section> passed_over, const Losses& losses);

}  // namespace vok::tool
