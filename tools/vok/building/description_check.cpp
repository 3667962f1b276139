#include "building/description_check.h"

#include <fmt/core.h>

#include "flash/image.h"
#include "image/image.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

using Problems = std::vector<std::string>;

u64 EndOf(const psdt::Record& record) { return record.start + u64{record.block_size} * record.block_count; }

bool IsReadOnlySection(const psdt::Record& record) { return record.kind == CurrentLayout().read_only_kind; }

void Add(Problems& problems, const JsonValue& where, const std::string& what) {
  problems.push_back(fmt::format("{}: {}", where.Where(), what));
}

/// An erase always wipes the erase size of the store version; other blocks than that would lose their neighbours, or
/// keep old bytes. A read-only section is never erased.
void CheckBlockSize(const PlacedRecord& section, Problems& problems) {
  const u32 size = section.record.block_size;
  const u32 erase_size = CurrentLayout().erase_size;
  if (!IsReadOnlySection(section.record) && size != erase_size)
    Add(problems, section.where,
        fmt::format("block size {} is not the erase size {} of store version {}", size, erase_size,
                    CurrentLayout().version));
  if (size % 4 != 0 || size > erase_size || LargestItem(size) == 0)
    Add(problems, section.where, fmt::format("blocks of {} bytes take no items", size));
}

bool RangesMeet(const psdt::TypeRange& a, const psdt::TypeRange& b) {
  return a.id != psdt::kNoRange && b.id != psdt::kNoRange && a.first_type <= b.last_type && b.first_type <= a.last_type;
}

void CheckRoutes(const PlacedRecord& a, const PlacedRecord& b, Problems& problems) {
  const bool same = &a == &b;
  for (std::size_t i = 0; i < a.record.ranges.size(); ++i)
    for (std::size_t j = same ? i + 1 : 0; j < b.record.ranges.size(); ++j)
      if (RangesMeet(a.record.ranges[i], b.record.ranges[j]))
        Add(problems, b.where,
            fmt::format("types {} to {} meet the types {} to {} of {}", b.record.ranges[j].first_type,
                        b.record.ranges[j].last_type, a.record.ranges[i].first_type, a.record.ranges[i].last_type,
                        a.where.path()));
}

void CheckPlaces(const PlacedRecord& a, const PlacedRecord& b, Problems& problems) {
  if (a.record.start < EndOf(b.record) && b.record.start < EndOf(a.record))
    Add(problems, b.where,
        fmt::format("{} to {} overlaps {} ({} to {})", HexAddress(b.record.start), HexAddress(EndOf(b.record)),
                    a.where.path(), HexAddress(a.record.start), HexAddress(EndOf(a.record))));
  if (a.record.partition == b.record.partition)
    Add(problems, b.where, fmt::format("partition {} is that of {}", b.record.partition, a.where.path()));
}

}  // namespace

void CheckAlone(const PlacedRecord& section, Problems& problems) {
  const psdt::Record& record = section.record;
  if (record.start % 4 != 0) Add(problems, section.where, "start is not a multiple of 4");
  if (EndOf(record) > kFlashSize)
    Add(problems, section.where,
        fmt::format("{} to {} does not lie inside the flash image, which ends at {}", HexAddress(record.start),
                    HexAddress(EndOf(record)), HexAddress(kFlashSize)));
  CheckBlockSize(section, problems);
  if (!IsReadOnlySection(record) && record.block_count < 2)
    Add(problems, section.where, "a read-write section needs 2 blocks, one of them as the spare");
  CheckRoutes(section, section, problems);
}

void CheckTogether(const std::vector<PlacedRecord>& sections, std::size_t count, u32 psdt_address, Problems& problems) {
  const u64 psdt_end = u64{psdt_address} + kPsdtLengthInDump;
  for (std::size_t i = 0; i < sections.size(); ++i) {
    const PlacedRecord& section = sections[i];
    if (section.record.start < psdt_end && psdt_address < EndOf(section.record))
      Add(problems, section.where,
          fmt::format("{} to {} overlaps the PSDT ({} to {})", HexAddress(section.record.start),
                      HexAddress(EndOf(section.record)), HexAddress(psdt_address), HexAddress(psdt_end)));
    if (section.record.partition >= count)
      Add(problems, section.where,
          fmt::format("partition {} is not in 0 to {}, the numbers of {} sections", section.record.partition, count - 1,
                      count));
    for (std::size_t j = 0; j < i; ++j) {
      CheckPlaces(sections[j], section, problems);
      CheckRoutes(sections[j], section, problems);
    }
  }
}

}  // namespace vok::tool
