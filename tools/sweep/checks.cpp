#include <algorithm>

#include "checks.h"

namespace vok::sweep {

namespace {

std::string Name(const char* text, ItemName name) {
  std::string result(text);
  return result.append(" ").append(std::to_string(name.type)).append("/").append(std::to_string(name.id));
}

std::set<ItemName> AllNames(const Scenario& scenario, const Items& now) {
  std::set<ItemName> names;
  for (const Items* items : {&scenario.before, &scenario.after, &now})
    for (const auto& [name, bytes] : *items) names.insert(name);
  return names;
}

/// How many of the changed items are what.
struct Tally {
  u32 old = 0, fresh = 0, absent = 0, mixed = 0, changed = 0;
};

/// Judges the changed items as a whole.
std::string Conclude(const Scenario& scenario, const Aftermath& aftermath, const Tally& tally, Outcome& outcome) {
  outcome = Outcome::kKnown;
  if (aftermath.Has(KnownEnd::kTornCancel) && tally.old + tally.fresh == tally.changed) return "";
  if (aftermath.Has(KnownEnd::kPlainGap)) return tally.absent == tally.changed ? "" : "an item without a copy is back";
  if (tally.mixed != aftermath.mixed().size()) return "a damaged item is not what the cut left";
  if (tally.mixed != 0)
    return tally.old + tally.fresh + tally.mixed == tally.changed ? "" : "the changed item is neither old nor new";
  if (aftermath.Has(KnownEnd::kTornState) && tally.changed == 0) return "";
  if (tally.changed == 0) {
    outcome = Outcome::kKept;
  } else if (tally.fresh == tally.changed) {
    outcome = Outcome::kNew;
  } else if (tally.old == tally.changed) {
    outcome = Outcome::kOld;
  } else if (scenario.operation->order == Order::kEach && tally.old + tally.fresh == tally.changed) {
    outcome = Outcome::kPart;
  } else {
    return "the changed item is neither old nor new";
  }
  return "";
}

/// What an item is, was before the operation and is after it; null = not there.
struct Findings {
  const Bytes* now;
  const Bytes* before;
  const Bytes* after;
};

/// Judges one item, or counts it when the operation changes it. @return what is wrong
std::string CheckItem(const Aftermath& aftermath, ItemName name, const Findings& item, Tally& tally) {
  const bool is_old = Same(item.now, item.before), is_new = Same(item.now, item.after);
  if (aftermath.IsLost(name)) return item.now != nullptr ? "a lost item is back:" : "";
  if (aftermath.revived().contains(name))
    return is_old || is_new || Same(item.now, Find(aftermath.revived(), name)) ? "" : "an item is neither old nor new:";
  if (Same(item.before, item.after)) {
    if (is_old) return "";
    if (item.before == nullptr) return "an item that never was:";
    return item.now != nullptr ? "an item changed:" : "an item is gone:";
  }
  ++tally.changed;
  tally.old += is_old;
  tally.fresh += is_new;
  tally.absent += item.now == nullptr;
  tally.mixed += item.now != nullptr && Same(item.now, Find(aftermath.mixed(), name));
  return "";
}

void ReopenBehindPlaceholder(const Version& version, Block& block) {
  if (block.next_slot != 0 || block.slots.empty() || block.tail_written) return;
  const Slot& last = block.slots.back();
  if (last.type == 0 && last.state == SlotState::kDead) block.next_slot = last.offset + version.slot();
}

std::string CheckBlockFigures(const BlockRecord& ram, const Block& block, u32 base) {
  if (ram.base != base + block.offset) return "base";
  if (ram.state != block.state) return "state";
  if (ram.wear_counter != block.wear) return "wear counter";
  if (ram.top != base + block.top) return "top";
  if (ram.next_slot != (block.next_slot != 0 ? base + block.next_slot : 0)) return "next slot";
  if (ram.dead_bytes != block.dead_bytes) return "dead bytes";
  if (ram.deleted_slots != block.dead_slots) return "dead slots";
  // A format leaves the slot count of an emptied block as it was.
  return !block.slots.empty() && ram.slot_count != block.slots.size() ? "slot count" : "";
}

}  // namespace

std::string CheckItems(const Scenario& scenario, const Aftermath& aftermath, const Partition& flash, Outcome& outcome) {
  std::set<ItemName> twice;
  const Items now = ItemsOf(flash, &twice);
  for (ItemName name : twice)
    if (!aftermath.revived().contains(name)) return Name("two Valid copies:", name);
  Tally tally;
  for (ItemName name : AllNames(scenario, now)) {
    const Findings found = {Find(now, name), Find(scenario.before, name), Find(scenario.after, name)};
    const std::string fault = CheckItem(aftermath, name, found, tally);
    if (!fault.empty()) return Name(fault.c_str(), name);
  }
  for (const Block& block : flash.blocks)
    for (const Slot& slot : block.slots)
      if (slot.IsJournal()) return "a journal record is still Valid";
  return Conclude(scenario, aftermath, tally, outcome);
}

std::string CheckUnrepaired(const Scenario& scenario, const Aftermath& aftermath, const Items& items) {
  Tally tally;
  for (ItemName name : AllNames(scenario, items)) {
    const Findings found = {Find(items, name), Find(scenario.before, name), Find(scenario.after, name)};
    const std::string fault = CheckItem(aftermath, name, found, tally);
    if (!fault.empty()) return Name(fault.c_str(), name);
  }
  const bool all_known = tally.old + tally.fresh + tally.mixed == tally.changed;
  return all_known || aftermath.Has(KnownEnd::kPlainGap) ? "" : "the changed item is neither old nor new";
}

std::string CheckReading(const Scenario& scenario, const Aftermath& aftermath, const Items& items) {
  // Slots whose records are erased read as damaged, an empty item too.
  if (aftermath.Has(KnownEnd::kHalfErased)) return "";
  Bytes buffer;
  for (const auto& [name, bytes] : items) {
    // The store may find the other one of two copies, or one that names no record.
    if (aftermath.revived().contains(name)) continue;
    u32 length = static_cast<u32>(bytes.size());
    buffer.resize(length + 1);
    if (ReadItem(0, name.type, name.id, buffer.data(), &length, 0) != 0) return Name("the store does not read", name);
    buffer.resize(length);
    if (buffer != bytes) return Name("the store reads something else for", name);
  }
  for (const Items* old : {&scenario.before, &scenario.after}) {
    for (const auto& [name, bytes] : *old) {
      u32 length = 0;
      if (!items.contains(name) && GetItemLength(0, name.type, name.id, &length) != 119)
        return Name("the store finds the absent", name);
    }
  }
  return "";
}

std::string CheckFigures(Partition flash, u32 base, AfterRepair after_repair) {
  PartitionRecord record{};
  PartitionSpace space{};
  if (GetPartitionRecord(0, &record) != 0 || GetPartitionSpace(0, &space) != 0) return "the store gives no figures";
  for (std::size_t i = 0; i < flash.blocks.size() && after_repair == AfterRepair::kYes; ++i)
    if (record.block_table[i].next_slot != 0) ReopenBehindPlaceholder(*flash.version, flash.blocks[i]);
  for (std::size_t i = 0; i < flash.blocks.size(); ++i) {
    const std::string wrong = CheckBlockFigures(record.block_table[i], flash.blocks[i], base);
    if (!wrong.empty()) return "block " + std::to_string(i) + ": wrong " + wrong;
  }
  const std::array<u32, 4> told = {space.free_now, space.free_after_reorganisation, space.largest_item_now,
                                   space.largest_item_after_reorganisation};
  return told == RoomOf(flash) ? "" : "the partition's room is wrong";
}

std::string CheckBlocks(const Partition& flash) {
  u32 free = 0;
  for (const Block& block : flash.blocks) {
    free += block.state == flash.version->free;
    if (!block.has_signature || (block.state != flash.version->free && block.state != flash.version->active))
      return "a block is neither Active nor Free";
  }
  return free != 0 ? "" : "no block is Free";
}

}  // namespace vok::sweep
