#include "flash/startup.h"

#include <algorithm>

#include "flash/image.h"
#include "store/volume/format.h"
#include "store/volume/mount.h"
#include "store/volume/records.h"

namespace vok {

namespace {

constexpr u8 kConfigure = 1;
constexpr u8 kReadWriteKind = 0;
constexpr u8 kReadOnlyKind = 1;
constexpr u16 kClientLocks = 1;
constexpr u8 kNoPartition = 255;

constexpr u32 Tag(const char (&text)[5]) {
  u32 tag = 0;
  for (u32 i = 0; i < 4; ++i) tag = tag << 8 | static_cast<u8>(text[i]);
  return tag;
}

/// What a family of sections gets besides its blocks.
struct SectionResources {
  u32 tag;
  u32 arena_size;
  u16 handle_count;
};

constexpr std::array<SectionResources, 7> kSectionResources = {{
    {Tag("CPGA"), 22844, 2},
    {Tag("CPLG"), 22844, 2},
    {Tag("TUNA"), 592, 2},
    {Tag("TUNE"), 592, 2},
    {Tag("PDAT"), 460, 2},
    {Tag("UCLA"), 6388, 2},
    {Tag("DSPP"), 512, 50},
}};
constexpr u32 kLargestArena = 22844;

/// One area for each partition number: no two partitions share a directory, whatever their tags.
std::array<std::array<u8, kLargestArena>, kMostPartitions> arenas;
StartupPlan plan;

bool LiesInImage(const psdt::Record& record) {
  return InFlash(record.start, u64{record.block_size} * record.block_count);
}

u16 RouteCountOf(const psdt::Record& record) {
  u16 count = 1;
  for (u32 i = 1; i < record.ranges.size(); ++i)
    if (record.ranges[i].id != psdt::kNoRange) ++count;
  return count;
}

PassOver Judge(const psdt::Record& record) {
  const Layout& layout = CurrentLayout();
  if (record.kind != layout.read_only_kind && record.kind != layout.read_write_kind_a &&
      record.kind != layout.read_write_kind_b)
    return PassOver::kSectionKind;
  if (record.partition >= kMostPartitions) return PassOver::kPartitionNumber;
  if (plan.route_count + RouteCountOf(record) > kMostRoutes) return PassOver::kRoutes;
  return LiesInImage(record) ? PassOver::kAccepted : PassOver::kOutsideImage;
}

void AddRoutes(const psdt::Record& record) {
  for (u32 i = 0; i < record.ranges.size(); ++i) {
    const psdt::TypeRange& range = record.ranges[i];
    if (i != 0 && range.id == psdt::kNoRange) continue;
    plan.route_table[plan.route_count++] = {.partition = static_cast<u8>(record.partition),
                                            .range_id = static_cast<u8>(range.id),
                                            .first_type = range.first_type,
                                            .last_type = range.last_type};
  }
}

PartitionDescriptor DescriptorOf(const psdt::Record& record) {
  PartitionDescriptor descriptor{
      .state = kConfigure,
      .base = record.start,
      .block_size = record.block_size,
      .arena = nullptr,
      .arena_size = 0,
      .lock_count = kClientLocks,
      .handle_count = 0,
      .block_count = record.block_count,
      .flags = record.kind == CurrentLayout().read_only_kind ? kReadOnlyKind : kReadWriteKind};
  for (const SectionResources& resources : kSectionResources) {
    if (resources.tag != record.tag) continue;
    descriptor.arena = arenas[record.partition].data();
    descriptor.arena_size = resources.arena_size;
    descriptor.handle_count = resources.handle_count;
  }
  return descriptor;
}

void MakePlan() {
  plan = {};
  for (u16 i = 0; i < psdt::RecordCount(); ++i) {
    const psdt::Record record = psdt::ReadRecord(i);
    plan.verdicts[i] = Judge(record);
    if (plan.verdicts[i] != PassOver::kAccepted) continue;
    AddRoutes(record);
    plan.descriptors[record.partition] = DescriptorOf(record);
    ++plan.accepted;
  }
}

bool IsMountedNumber(u8 partition) {
  return store_root != nullptr && partition < store_root->partition_count && IsMounted(PartitionAt(partition));
}

}  // namespace

const StartupPlan& PrepareStore() {
  MakePlan();
  SetUpPartitions(plan.accepted, plan.descriptors.data());
  return plan;
}

const StartupPlan& CurrentPlan() { return plan; }

u8 MountModeOf(const TypeRoute& route) {
  return static_cast<u8>(route.range_id == CurrentLayout().check_mount_range ? MountMode::kCheck : MountMode::kRepair);
}

void StartStore() {
  for (const TypeRoute& route : PrepareStore().routes()) MountPartition(route.partition, MountModeOf(route));
}

u8 FindPartitionForType(u16 type) {
  u8 result = kNoPartition;
  for (const TypeRoute& route : plan.routes()) {
    if (type < route.first_type || type > route.last_type) continue;
    result = route.partition;
    if (IsMountedNumber(result)) break;
  }
  return result;
}

void WriteDefaultHeaders() {
  for (u16 i = 0; i < psdt::RecordCount(); ++i) {
    const psdt::Record record = psdt::ReadRecord(i);
    for (u32 block = 0; block < record.block_count; ++block) {
      const FlashAddress base = static_cast<u32>(record.start + block * record.block_size);
      if (InFlash(base, record.block_size)) WriteDefaultBlockHeader(base, block + 1 == record.block_count);
    }
  }
}

}  // namespace vok
