#include "checks.h"

namespace vok::sweep {

namespace {

constexpr u8 kJournalled = 1;
constexpr u16 kNeedReorg = 123;
constexpr u16 kNeedDeepReorg = 124;
constexpr u16 kPartitionFull = 130;
constexpr u16 kProbeType = 50;

bool IsNoRoom(u16 code) { return code == kNeedReorg || code == kNeedDeepReorg || code == kPartitionFull; }

std::string Gave(const char* what, u16 code) {
  std::string text("the store no longer takes ");
  return text.append(what).append(": ").append(std::to_string(code));
}

/// Writes an item that was not there. @return the code
u16 WriteNew(Items& items, const Bytes& bytes) {
  ItemName name = {kProbeType, 1};
  while (items.contains(name)) ++name.id;
  u16 id = name.id;
  const u16 code = WriteItem(0, kJournalled, name.type, &id, bytes.data(), static_cast<u32>(bytes.size()));
  if (code == 0) items[name] = bytes;
  return code;
}

/// Deletes the largest item, if there is one. @return the code
u16 DeleteLargest(Items& items, const Items& but) {
  auto largest = items.end();
  for (auto item = items.begin(); item != items.end(); ++item) {
    const bool is_larger = largest == items.end() || item->second.size() > largest->second.size();
    if (is_larger && !but.contains(item->first)) largest = item;
  }
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
  u16 code = WriteNew(items, Noise(rig.geometry().version, 11));
  if (code != 0 && !IsNoRoom(code)) return Gave("a write", code);
  // What came back by a torn cancel may have a name that no item can have.
  if ((code = DeleteLargest(items, aftermath.revived())) != 0) return Gave("a delete", code);
  if ((code = Reorganise()) != 0) return Gave("a reorganisation", code);
  if ((code = WriteNew(items, Noise(rig.geometry().version, 19))) != 0)
    return Gave("a write after a reorganisation", code);

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
