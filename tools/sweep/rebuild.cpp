#include "rebuild.h"

#include <algorithm>

#include "filling.h"
#include "salvage.h"

namespace vok::sweep {

namespace {

/// Takes the items out of the flash and writes them into an empty partition.
std::string Rebuild(Rig& rig, const Bytes& flash) {
  rig.Load(flash);
  rig.SetUp();
  const tool::Salvaged salvaged = tool::Salvage(tool::ViewForSalvage(PartitionAt(0)));

  rig.LoadErased();
  rig.SetUp();
  if (rig.Mount(0) != 0) return "no fresh partition to rebuild into";
  const auto refused = tool::FillPartition(0, tool::AsNewItems(salvaged.items), tool::FillOrder::kAsGiven);
  if (refused) return "a rebuild has no room: " + std::to_string(refused->code);
  rig.SetUp();
  return rig.Mount(1) == 0 ? "" : "a rebuilt partition does not mount clean";
}

const Bytes* Find(const Items& items, ItemName name) {
  const auto found = items.find(name);
  return found != items.end() ? &found->second : nullptr;
}

bool SameBytes(const Bytes* one, const Bytes* other) {
  return one == nullptr || other == nullptr ? one == other : *one == *other;
}

/// Whether a Valid slot of any block still names these bytes.
bool IsInFlash(const Partition& flash, ItemName name, const Bytes& bytes) {
  for (const Block& block : flash.blocks)
    for (const Slot& slot : block.slots)
      if (slot.IsItem() && slot.sound && slot.name() == name && std::ranges::equal(flash.payload(slot), bytes))
        return true;
  return false;
}

std::string Text(const char* what, ItemName name) {
  return std::string("a rebuild ") + what + ' ' + std::to_string(name.type) + '/' + std::to_string(name.id);
}

}  // namespace

std::string CheckRebuild(Rig& rig, const Scenario& scenario, const Aftermath& aftermath, const Bytes& flash, u32 cuts) {
  const std::string trouble = Rebuild(rig, flash);
  if (!trouble.empty()) return trouble;
  const Partition before_repair = ReadPartition(rig.version(), flash);
  const Items items = ItemsOf(rig.Read());
  const std::vector<ItemName> changed = ChangedNames(scenario);
  const auto is_changed = [&](ItemName name) { return std::ranges::find(changed, name) != changed.end(); };

  for (const auto& [name, bytes] : scenario.before) {
    if (is_changed(name) || SameBytes(Find(items, name), &bytes)) continue;
    if (cuts == 1 || IsInFlash(before_repair, name, bytes)) return Text("loses", name);
  }
  for (const auto& [name, bytes] : items)
    if (!scenario.before.contains(name) && !scenario.after.contains(name) && !aftermath.revived().contains(name))
      return Text("makes up", name);
  bool all_old = true, all_new = true, special = false;
  for (ItemName name : changed) {
    const Bytes* const now = Find(items, name);
    const bool old = SameBytes(now, Find(scenario.before, name)), fresh = SameBytes(now, Find(scenario.after, name));
    const bool known_end = now != nullptr && (SameBytes(now, Find(aftermath.mixed(), name)) ||
                                              SameBytes(now, Find(aftermath.revived(), name)));
    if (!old && !fresh && !known_end && (now != nullptr || cuts == 1)) return Text("gives neither old nor new:", name);
    all_old = all_old && old;
    all_new = all_new && fresh;
    special = special || known_end;
  }
  if (all_old || all_new || special || cuts > 1 || scenario.operation->order == Order::kEach) return "";
  return "a rebuild mixes old and new";
}

}  // namespace vok::sweep
