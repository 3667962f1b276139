#include "image/placing.h"

#include <fmt/core.h>

#include <algorithm>
#include <set>

#include "base/failure.h"
#include "base/terminal.h"
#include "flash/image.h"
#include "image/store_version.h"
#include "section/psdt_bytes.h"
#include "section/signed_blocks.h"
#include "store/volume/layout.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

struct FoundBlock {
  u64 offset;                        ///< in the file
  std::optional<std::size_t> owner;  ///< the record that its items tell
};

u64 EndOf(const psdt::Record& record) { return record.start + u64{record.block_size} * record.block_count; }

bool IsSection(const psdt::Record& record) {
  return record.block_size != 0 && record.block_count != 0 && EndOf(record) <= kFlashSize;
}

bool PlacesBlock(const psdt::Record& record, u64 address) {
  return IsSection(record) && address >= record.start && address < EndOf(record) &&
         (address - record.start) % record.block_size == 0;
}

/// Tries where a file may lie.
class Placing {
 public:
  Placing(const ImageBytes& file, const FlashRange& psdt) : file_(file), psdt_(psdt) {
    constexpr u64 kPhases[] = {0};
    for (const u64 offset : FindSignedBlocks(file.bytes, {.start = 0, .end = file.bytes.size()}, kPhases))
      blocks_.push_back({.offset = offset, .owner = OwnerOf(BytesAt(offset), records_)});
    for (const psdt::Record& record : records_) {
      if (!IsSection(record)) continue;
      first_ = std::min<u64>(first_.value_or(record.start), record.start);
      end_ = std::max(end_, EndOf(record));
    }
  }

  /// Where the first section begins.
  const std::optional<u64>& first() const { return first_; }

  std::optional<u64> Best() const {
    std::optional<u64> best;
    std::int64_t most = 0;
    for (const u64 address : Candidates()) {
      if (!CanLieAt(address)) continue;
      const std::int64_t points = PointsOf(address);
      if (best && points <= most) continue;
      best = address;
      most = points;
    }
    return best;
  }

 private:
  std::span<const u8> BytesAt(u64 offset) const {
    return std::span(file_.bytes)
        .subspan(offset, std::min<u64>(CurrentLayout().erase_size, file_.bytes.size() - offset));
  }

  bool CanLieAt(u64 address) const {
    const FlashRange range{.start = address, .end = address + file_.bytes.size()};
    return range.end <= kFlashSize && !range.Overlaps(psdt_);
  }

  std::set<u64> Candidates() const;
  std::int64_t PointsOf(u64 address) const;

  const ImageBytes& file_;
  const FlashRange psdt_;
  const std::vector<psdt::Record> records_ = RecordsInForceAndBehind();
  std::vector<FoundBlock> blocks_;
  std::optional<u64> first_;
  u64 end_ = 0;  ///< of the last section
};

/// The start of each section, every place that puts a block into its section, and the one where the file ends with the
/// last section.
std::set<u64> Placing::Candidates() const {
  std::set<u64> addresses;
  for (const psdt::Record& record : records_)
    if (IsSection(record)) addresses.insert(record.start);
  for (const FoundBlock& block : blocks_)
    if (block.owner && records_[*block.owner].start >= block.offset)
      addresses.insert(records_[*block.owner].start - block.offset);
  if (end_ >= file_.bytes.size()) addresses.insert(end_ - file_.bytes.size());
  const u64 erase = CurrentLayout().erase_size;
  if (addresses.empty()) addresses.insert((psdt_.end + erase - 1) / erase * erase);
  return addresses;
}

/// One record may be wrong; where the blocks of the others fit is the place.
std::int64_t Placing::PointsOf(u64 address) const {
  constexpr std::int64_t kOwned = 4;
  std::int64_t points = (address == first_ ? 2 : 0) + (address + file_.bytes.size() == end_ ? 3 : 0);
  for (const FoundBlock& block : blocks_)
    for (std::size_t i = 0; i < records_.size(); ++i) {
      if (!PlacesBlock(records_[i], address + block.offset)) continue;
      points += !block.owner ? 1 : block.owner == i ? kOwned : -kOwned;
      break;
    }
  return points;
}

}  // namespace

void PlaceCodeplug(ImageBytes& codeplug, u16 version, const FlashRange& psdt) {
  codeplug.address = 0;
  if (version == 0) version = MostFrequent(CountVersionsAnywhere(codeplug));
  ApplyStoreVersion(std::max<u16>(version, 1));
  const Placing placing(codeplug, psdt);
  const std::optional<u64> best = placing.Best();
  if (!best) throw Failure(fmt::format("codeplug {} has no place; @ADDRESS behind its name gives one", codeplug.path));
  codeplug.address = *best;
  if (best != placing.first())
    Warn(
        fmt::format("codeplug {} is taken to begin at {}, where its blocks fit best; @ADDRESS behind its name gives "
                    "another place",
                    codeplug.path, HexAddress(*best)));
}

}  // namespace vok::tool
