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

/// Whether an item that a rebuild does not bring back could not be: the repairs between several cuts had thrown away
/// its last Valid copy.
class MayBeGone {
 public:
  MayBeGone(const Partition& flash, u32 cuts) : flash_(flash), cuts_(cuts) {}
  /// @param bytes  null = it was not there anyway
  bool operator()(ItemName name, const Bytes* bytes) const {
    return cuts_ > 1 && (bytes == nullptr || !IsInFlash(flash_, name, *bytes));
  }

 private:
  const Partition& flash_;
  u32 cuts_;
};

/// The items that the operation does not change, and that there are no others.
std::string CheckOthers(const Scenario& scenario, const Aftermath& aftermath, const Items& items,
                        const MayBeGone& may_be_gone) {
  for (const auto& [name, bytes] : scenario.before) {
    if (!Same(Find(scenario.after, name), &bytes) || Same(Find(items, name), &bytes)) continue;
    if (!may_be_gone(name, &bytes)) return Text("loses", name);
  }
  for (const auto& [name, bytes] : items)
    if (!scenario.before.contains(name) && !scenario.after.contains(name) && !aftermath.revived().contains(name))
      return Text("makes up", name);
  return "";
}

/// The items that the operation changes: after a single cut all old or all new.
std::string CheckChanged(const Scenario& scenario, const Aftermath& aftermath, const Items& items,
                         const MayBeGone& may_be_gone, u32 cuts) {
  bool all_old = true, all_new = true;
  bool anything_goes = cuts > 1 || scenario.operation->order == Order::kEach;
  for (ItemName name : ChangedNames(scenario)) {
    const Bytes* const now = Find(items, name);
    const Bytes* const before = Find(scenario.before, name);
    const Bytes* const after = Find(scenario.after, name);
    const bool known = now != nullptr
                           ? Same(now, Find(aftermath.mixed(), name)) || Same(now, Find(aftermath.revived(), name))
                           : may_be_gone(name, before) && may_be_gone(name, after);
    if (!Same(now, before) && !Same(now, after) && !known) return Text("gives neither old nor new:", name);
    all_old = all_old && Same(now, before);
    all_new = all_new && Same(now, after);
    anything_goes = anything_goes || known;
  }
  return all_old || all_new || anything_goes ? "" : "a rebuild mixes old and new";
}

}  // namespace

std::string CheckRebuild(Rig& rig, const Scenario& scenario, const Aftermath& aftermath, const Bytes& flash, u32 cuts) {
  std::string fault = Rebuild(rig, flash);
  if (!fault.empty()) return fault;
  const Partition before_repair = ReadPartition(rig.version(), flash);
  const MayBeGone may_be_gone(before_repair, cuts);
  const Items items = ItemsOf(rig.Read());
  fault = CheckOthers(scenario, aftermath, items, may_be_gone);
  return fault.empty() ? CheckChanged(scenario, aftermath, items, may_be_gone, cuts) : fault;
}

}  // namespace vok::sweep
