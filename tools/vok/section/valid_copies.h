#pragma once

#include <span>
#include <vector>

#include "section/sections.h"
#include "section_copies.h"

/// The Valid slots of a section, whether or not a search meets them: found in one walk, without a look at payloads.

namespace vok::tool {

/// A Valid slot that names an item.
struct ValidCopy {
  ItemKey name;
  u32 slot;   ///< flash address
  u16 block;  ///< index in the section
  // A damaged image may have millions.
  bool sound : 1;    ///< its record can be read
  bool usable : 1;   ///< and is no longer than an item can be
  bool in_line : 1;  ///< the record lies where writers place one
  bool behind : 1;   ///< see SlotsBehind()
};

/// What a block's header says.
struct BlockHead {
  bool has_signature;
  u16 state;

  /// Whether searches look into it.
  bool IsSearched() const;
};

/// The blocks of a section as its PSDT record places them, whether or not the store makes a partition of it.
class SectionBlocks {
 public:
  explicit SectionBlocks(const Section& section);

  const PartitionRecord& partition() const { return partition_; }
  std::span<const BlockRecord> blocks() const { return blocks_; }
  BlockHead HeadOf(u16 block) const;
  ItemRecord RecordOf(const ValidCopy& copy) const;
  /// The bytes of a sound copy.
  std::span<const u8> PayloadOf(const ValidCopy& copy) const;

 private:
  std::vector<BlockRecord> blocks_;
  PartitionRecord partition_{};
};

/// What a journal record says of two names.
struct Rename {
  ItemKey from;
  ItemKey to;
};

/// What lies in the blocks of a section.
struct SectionHoldings {
  std::vector<ValidCopy> copies;   ///< by name; those of one name in the order of a search
  std::vector<ValidCopy> unnamed;  ///< Valid slots of type 0 or with ID 65535: no item can have that name
  std::vector<ItemKey> replaced;   ///< names whose replacement a Valid journal record announces
  std::vector<Rename> renames;     ///< announced likewise
};

SectionHoldings HoldingsOf(const SectionBlocks& blocks);

using CopyGroup = std::span<const ValidCopy>;

/// Calls @p use (CopyGroup) with the copies of one name after another.
template <typename Use>
void ForEachName(CopyGroup copies, Use use) {
  for (std::size_t first = 0, last = 0; first < copies.size(); first = last) {
    while (last < copies.size() && copies[last].name == copies[first].name) ++last;
    use(copies.subspan(first, last - first));
  }
}

/// The copies of a name; none when there is no such item.
CopyGroup CopiesOf(const SectionHoldings& holdings, const ItemKey& name);

}  // namespace vok::tool
