#include "filling.h"

#include <numeric>

#include "flash/codes.h"
#include "store/volume/records.h"
#include "tight_order.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

/// Nothing can cut this writing off, so that it needs no journal records.
constexpr u8 kPlainWrite = 0;

std::vector<std::size_t> Ordered(u8 partition, std::span<const NewItem> items, FillOrder order) {
  if (order == FillOrder::kAsGiven) {
    std::vector<std::size_t> indices(items.size());
    std::iota(indices.begin(), indices.end(), std::size_t{0});
    return indices;
  }
  std::vector<u32> sizes;
  for (const NewItem& item : items)
    sizes.push_back(static_cast<u32>(RecordAndSlotSize(static_cast<u32>(item.bytes.size()))));
  return TightOrder(sizes, PartitionAt(partition).block_size - block_header::kSize - CurrentLayout().word_size);
}

}  // namespace

std::optional<RefusedItem> FillPartition(u8 partition, std::span<const NewItem> items, FillOrder order) {
  for (const std::size_t index : Ordered(partition, items, order)) {
    const NewItem& item = items[index];
    u16 id = item.id;
    const u16 code =
        WriteItem(partition, kPlainWrite, item.type, &id, item.bytes.data(), static_cast<u32>(item.bytes.size()));
    if (code != code::kOk) return RefusedItem{.index = index, .code = code};
  }
  return std::nullopt;
}

}  // namespace vok::tool
