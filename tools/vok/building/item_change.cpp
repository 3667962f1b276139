#include "building/item_change.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "building/room.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

std::string WhyNot(u16 code, const ItemChange& change) {
  if (IsNoRoom(code)) return RoomFigures(change.section.partition(), RecordAndSlotSize(change.length) + change.marker);
  if (code == code::kLargeChunk)
    return fmt::format("{} bytes, the largest item has {}", change.length,
                       LargestItem(change.section.entry.block_size));
  if (code == code::kReadOnly) return "the section is read-only";
  if (code == code::kTargetExists) return "there is an item of that name";
  return "the store refuses";
}

}  // namespace

u64 MarkerSize(u32 data) { return RecordAndSlotSize(journal::kOffsetWordOffset + CurrentLayout().word_size + data); }

void MakeChange(const ItemChange& change, ChangedImage& image, const std::function<u16()>& attempt) {
  const u16 code = AttemptWithRoom(image, change.section.name, change.section.partition(), attempt);
  if (code == code::kOk) return;
  throw Failure(fmt::format("{} in section {}: {}", change.what, change.section.name, WhyNot(code, change)), code);
}

}  // namespace vok::tool
