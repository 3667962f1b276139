#include "c/counting_device.h"
#include "c/sections.h"
#include "flash/image.h"
#include "salvage.h"
#include "store/volume/mount.h"
#include "store/volume/records.h"

/// vok_check() and vok_mount(): the same mount, once with the flash image put back as it was.

namespace vok::c {

namespace {

/// The items that the last mount lost.
std::vector<vok_item>& Lost() {
  static std::vector<vok_item>& lost = *new std::vector<vok_item>;
  return lost;
}

void SetUp() {
  TerminateStore();
  PrepareStore();
}

/// The items with a current copy in a section that is set up, whatever its blocks look like.
std::vector<vok_item> CurrentItems(const psdt::Record& section) {
  std::vector<vok_item> items;
  const tool::Salvaged found = tool::Salvage(tool::ViewForSalvage(PartitionAt(PartitionOf(section))));
  for (const tool::SalvagedItem& item : found.items) {
    if (item.taken.state != tool::CopyState::kValid) continue;
    items.push_back(ItemOf(section, item.type, item.id));
    items.back().length = static_cast<u32>(item.bytes.size());
  }
  for (const tool::DamagedItem& item : found.damaged) items.push_back(ItemOf(section, item.type, item.id));
  return items;
}

bool IsServed(const vok_item& item) {
  u8 nothing = 0;
  u32 length = 0;
  const u16 code = ReadItem(static_cast<u8>(item.partition), item.type, item.id, &nothing, &length, 0);
  return code == code::kOk || code == code::kItemTooBig;
}

std::vector<vok_report> CheckAll() {
  SetUp();
  std::vector<vok_report> reports;
  for (const psdt::Record& section : AcceptedSections()) {
    vok_report& report = reports.emplace_back();
    SetTag(report.section, section.tag);
    report.partition = section.partition;
    report.check_code = MountPartition(PartitionOf(section), static_cast<u8>(MountMode::kCheck));
  }
  return reports;
}

/// As start-up does it: once for each route, until one succeeds.
u16 MountLikeStartUp(u8 partition) {
  u16 code = code::kUnmounted;
  for (const TypeRoute& route : CurrentPlan().routes())
    if (route.partition == partition && code != code::kOk) code = MountPartition(partition, MountModeOf(route));
  return code;
}

void MountSection(const psdt::Record& section, vok_report& report) {
  const std::vector<vok_item> before = CurrentItems(section);
  const CountingDevice device;
  report.repair_code = MountLikeStartUp(PartitionOf(section));
  report.programs = device.programs;
  report.erases = device.erases;
  if (report.repair_code == code::kOk) report.item_count = static_cast<u32>(ItemsOf(section).size());
  for (const vok_item& item : before) {
    if (IsServed(item)) continue;
    ++report.lost_count;
    Lost().push_back(item);
  }
}

std::vector<vok_report> MountAll() {
  std::vector<vok_report> reports = CheckAll();
  SetUp();
  Lost().clear();
  const std::vector<psdt::Record> sections = AcceptedSections();
  for (std::size_t i = 0; i < sections.size(); ++i) MountSection(sections[i], reports[i]);
  return reports;
}

/// Puts the flash image back as it was, and ends the store that was mounted on it in between.
class UnchangedFlash {
 public:
  UnchangedFlash() : bytes_(kFlashSize) { CopyFromFlash(bytes_.data(), 0, kFlashSize); }
  ~UnchangedFlash() {
    TerminateStore();
    CopyToFlash(0, bytes_.data(), kFlashSize);
  }
  UnchangedFlash(const UnchangedFlash&) = delete;
  UnchangedFlash& operator=(const UnchangedFlash&) = delete;

 private:
  std::vector<u8> bytes_;
};

}  // namespace
}  // namespace vok::c

using vok::c::Call;
using vok::c::CopyOut;

uint16_t vok_check(vok_report* reports, uint32_t capacity, uint32_t* count) {
  return Call([&] {
    const vok::c::UnchangedFlash unchanged;
    return CopyOut(vok::c::MountAll(), reports, capacity, count);
  });
}

uint16_t vok_mount(vok_report* reports, uint32_t capacity, uint32_t* count) {
  return Call([&] {
    uint32_t ignored = 0;
    return CopyOut(vok::c::MountAll(), reports, capacity, count != nullptr ? count : &ignored);
  });
}

uint16_t vok_lost(vok_item* items, uint32_t capacity, uint32_t* count) {
  return Call([&] { return CopyOut(vok::c::Lost(), items, capacity, count); });
}
