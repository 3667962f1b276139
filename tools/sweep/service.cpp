#include <algorithm>

#include "checks.h"

namespace vok::sweep {

namespace {

constexpr u8 kJournalled = 1;
constexpr u16 kNeedReorg = 123;
constexpr u16 kNeedDeepReorg = 124;
constexpr u16 kPartitionFull = 130;
constexpr ItemName kProbe = {50, 1};

bool IsNoRoom(u16 code) { return code == kNeedReorg || code == kNeedDeepReorg || code == kPartitionFull; }

std::string Gave(const char* what, u16 code) {
  std::string text("the store no longer takes ");
  return text.append(what).append(": ").append(std::to_string(code));
}

u16 WriteProbe(const Bytes& bytes) {
  u16 id = kProbe.id;
  return WriteItem(0, kJournalled, kProbe.type, &id, bytes.data(), static_cast<u32>(bytes.size()));
}

/// Deletes the largest item, if there is one. @return the code
u16 DeleteLargest(Items& items) {
  const auto largest = std::max_element(items.begin(), items.end(),
                                        [](const auto& a, const auto& b) { return a.second.size() < b.second.size(); });
  if (largest == items.end()) return 0;
  const u16 code = DeleteItem(0, largest->first.type, largest->first.id);
  items.erase(largest);
  return code;
}

/// Reorganises the block with most dead bytes and erases it.
u16 Reorganise() {
  u16 block = 0xFFFF;
  CheckReorgNeed(0, 0, &block, 1);
  if (block == 0xFFFF) return kPartitionFull;
  if (u16 code = ReorganiseBlock(0, block, 0)) return code;
  return EraseRetiredBlock(0, &block);
}

}  // namespace

std::string CheckService(Rig& rig, const Aftermath& aftermath, Items items) {
  const Bytes bytes = Noise(rig.geometry().version, 11);
  u16 code = WriteProbe(bytes);
  const bool had_room = code == 0;
  if (!had_room && !IsNoRoom(code)) return Gave("a write", code);
  if (had_room) items[kProbe] = bytes;
  if ((code = DeleteLargest(items)) != 0) return Gave("a delete", code);
  if ((code = Reorganise()) != 0) return Gave("a reorganisation", code);
  if ((code = WriteProbe(bytes)) != 0) return Gave("a write after a reorganisation", code);
  items[kProbe] = bytes;

  const Partition flash = rig.Read();
  Items now = ItemsOf(flash);
  // Of an item that stands twice the other copy may be left.
  for (const auto& [name, revived] : aftermath.revived())
    if (now.erase(name) != 0) items.erase(name);
  if (now != items) return "a write, a delete and a reorganisation changed other items";
  // Bytes that no scan notices lie below the record just written over them.
  return aftermath.Has(KnownEnd::kUnseenRecord) ? "" : CheckFigures(flash, rig.device().base(), AfterRepair::kNo);
}

}  // namespace vok::sweep
