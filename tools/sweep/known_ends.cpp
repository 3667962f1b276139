#include "known_ends.h"

#include <algorithm>
#include <optional>

namespace vok::sweep {

namespace {

constexpr u32 kVersionWithOneStepCancel = 3;

constexpr std::array<KnownEndText, kKnownEndCount> kTexts = {{
    {"plain mode, between the word that retires the old copy and the one that commits the new copy",
     "the item is gone"},
    {"a rewrite or a plain part write in place, inside its bulk program",
     "the item holds the new bytes up to the cut and the old ones behind it"},
    {"a record begun in a block without slots, before a bit of the first slot's type is written",
     "no scan notices the bytes; every item stands, and the next record written there goes over them: on a chip that "
     "cannot set bits it comes out damaged unless the section is rebuilt before"},
    {"version 3: the state word of a block with Valid items, one of two bits cleared: Active to ReorgSource (0x04FF, "
     "0x08FF), ReorgTarget to Active (0x0DFF, 0x0EFF)",
     "the word is no state: the repair mount formats the block and its items are lost"},
    {"a reorganisation whose target has dead space of a cut copy, and the next item needs more than any block has left",
     "every mount answers 108; every item still has its Valid copy"},
    {"default formatting with two blocks without a whole signature", "the mount answers 125 and changes nothing"},
    {"a format mount, the erase torn so that header and slots of a block stay and record bytes go",
     "the items of these slots are damaged; a format mount was to delete them"},
    {"version 3: a repair, inside the word that deletes an Allocated slot, of its state bits the upper two cleared and "
     "the lower two not: 1111 to 0011",
     "the unfinished slot reads Valid. Of a whole record the item is the new one, or stands twice or under two names; "
     "of a slot with half a name or no record an item appears that reads as damaged; a journal record is carried out "
     "with the bytes that it has, and one without any makes every mount answer 122"},
}};

bool HasCopyElsewhere(const Partition& flash, const Block& but, ItemName name) {
  for (const Block& block : flash.blocks) {
    if (&block == &but || !flash.IsSearched(block)) continue;
    for (const Slot& slot : block.slots)
      if (slot.IsItem() && slot.name() == name) return true;
  }
  return false;
}

bool Holds(const Items& items, const Items::value_type& item) { return Same(Find(items, item.first), &item.second); }

/// Whether a state word has some but not all of the bits cleared that the step between two states clears.
bool IsHalfStep(u16 from, u16 to, u16 state) {
  return state != from && state != to && (state & from) == state && (state & to) == to;
}

/// A block with Valid items is formatted for these words alone; a state of one bit a step has none of them.
bool IsTornState(const Version& version, u16 state) {
  return IsHalfStep(version.active, version.source, state) || IsHalfStep(version.target, version.active, state);
}

u16 HalfWord(std::span<const u8> bytes, u32 at) { return static_cast<u16>(bytes[at] << 8 | bytes[at + 1]); }

bool HasJournalKind(std::span<const u8> journal) {
  constexpr u16 kPartWrite = 1, kRename = 3;
  return journal.size() < 2 || (HalfWord(journal, 0) >= kPartWrite && HalfWord(journal, 0) <= kRename);
}

/// What a journal record of a part write announces.
struct PartWrite {
  ItemName name;
  u32 offset;
  std::span<const u8> bytes;
};

std::optional<PartWrite> PartWriteOf(const Version& version, std::span<const u8> journal) {
  constexpr u16 kPartWrite = 1;
  if (journal.size() < 6 + version.word || HalfWord(journal, 0) != kPartWrite) return std::nullopt;
  const u32 offset = version.word == 2 ? HalfWord(journal, 6) : u32{HalfWord(journal, 6)} << 16 | HalfWord(journal, 8);
  return PartWrite{{HalfWord(journal, 2), HalfWord(journal, 4)}, offset, journal.subspan(6 + version.word)};
}

/// Whether a bulk program that turns @p before into @p after was cut inside: new bytes up to a place, old ones behind
/// it, and in between no more than the 16-bit word under way.
bool IsTornBetween(const Bytes& before, const Bytes& after, const Bytes& now) {
  if (before.size() != now.size() || after.size() != now.size()) return false;
  std::size_t first = 0, last = now.size();
  while (first < now.size() && now[first] == after[first]) ++first;
  while (last > first && now[last - 1] == before[last - 1]) --last;
  return last - first <= 2;
}

bool HasValidJournal(const Partition& flash) {
  return std::any_of(flash.blocks.begin(), flash.blocks.end(), [](const Block& block) {
    return std::any_of(block.slots.begin(), block.slots.end(), [](const Slot& slot) { return slot.IsJournal(); });
  });
}

}  // namespace

KnownEndText TextOf(KnownEnd end) { return kTexts[static_cast<u32>(end)]; }

std::vector<ItemName> ChangedNames(const Scenario& scenario) {
  std::vector<ItemName> names;
  for (const auto& [name, bytes] : scenario.before) {
    const auto after = scenario.after.find(name);
    if (after == scenario.after.end() || after->second != bytes) names.push_back(name);
  }
  for (const auto& [name, bytes] : scenario.after)
    if (!scenario.before.contains(name)) names.push_back(name);
  return names;
}

void AllowInRepair(const Scenario& scenario, const Aftermath& aftermath, const Partition& flash, Witness& witness) {
  if (scenario.operation->in_place) witness.Allow(scenario.in_place);
  if (!aftermath.Has(KnownEnd::kTornState)) return;
  for (const Block& block : flash.blocks)
    if (IsTornState(*flash.version, block.state)) witness.AllowErase(block.offset);
}

void Aftermath::Note(const Scenario& scenario, const Partition& flash, Place place) {
  NoteItemsAt(scenario, flash, place);
  NoteTornStates(flash);
  const auto unsigned_blocks =
      std::count_if(flash.blocks.begin(), flash.blocks.end(), [](const Block& block) { return !block.has_signature; });
  if (scenario.operation->start == Start::kTerminated && unsigned_blocks > 1) Set(KnownEnd::kNotCreated);
}

void Aftermath::NoteItemsAt(const Scenario& scenario, const Partition& flash, Place place) {
  const Items items = ItemsOf(flash);
  if (scenario.operation->order == Order::kPlain) {
    const std::vector<ItemName> names = ChangedNames(scenario);
    const auto is_there = [&](ItemName name) { return items.contains(name); };
    if (std::none_of(names.begin(), names.end(), is_there)) Set(KnownEnd::kPlainGap);
  }
  const bool in_place = place == Place::kInPlace && !HasValidJournal(flash);
  const bool formatted = place == Place::kErase && scenario.operation->start == Start::kSetUp;
  if (!in_place && !formatted) return;
  for (ItemName name : ChangedNames(scenario)) {
    const auto item = items.find(name);
    if (item == items.end() || Holds(scenario.before, *item) || Holds(scenario.after, *item)) continue;
    const Bytes* const before = Find(scenario.before, name);
    const Bytes* const after = Find(scenario.after, name);
    if (in_place && (before == nullptr || after == nullptr || !IsTornBetween(*before, *after, item->second))) continue;
    mixed_.insert(*item);
    Set(in_place ? KnownEnd::kMixedBytes : KnownEnd::kHalfErased);
  }
}

void Aftermath::NoteTornStates(const Partition& flash) {
  for (const Block& block : flash.blocks) {
    if (!block.has_signature || !IsTornState(*flash.version, block.state)) continue;
    for (const Slot& slot : block.slots) {
      if (!slot.IsItem() || HasCopyElsewhere(flash, block, slot.name())) continue;
      lost_.insert(slot.name());
      Set(KnownEnd::kTornState);
    }
  }
}

void Aftermath::NoteRepair(const Scenario& scenario, const Partition& before, const Partition& flash, Place place) {
  // In the other versions no step leads from Allocated straight to Deleted.
  if (flash.version->number != kVersionWithOneStepCancel || place != Place::kCancel) return;
  for (std::size_t block = 0; block < before.blocks.size(); ++block) {
    const std::vector<Slot>& slots = flash.blocks[block].slots;
    for (std::size_t i = 0; i < std::min(before.blocks[block].slots.size(), slots.size()); ++i) {
      const bool was_unfinished = before.blocks[block].slots[i].state == SlotState::kAllocated;
      if (was_unfinished && slots[i].state == SlotState::kValid) NoteRevived(scenario, flash, slots[i]);
    }
  }
}

void Aftermath::NoteRevived(const Scenario& scenario, const Partition& flash, const Slot& slot) {
  const auto payload = flash.payload(slot);
  revived_.insert_or_assign(slot.name(), Bytes(payload.begin(), payload.end()));
  Set(KnownEnd::kTornCancel);
  if (!slot.IsJournal()) return;
  has_blank_journal_ = has_blank_journal_ || !HasJournalKind(payload);
  const std::optional<PartWrite> part = PartWriteOf(*flash.version, payload);
  const std::vector<ItemName> changed = ChangedNames(scenario);
  if (!part || std::ranges::find(changed, part->name) == changed.end()) return;
  const Items items = ItemsOf(flash);
  const Bytes* const item = Find(items, part->name);
  if (item == nullptr || part->offset + part->bytes.size() > item->size()) return;
  Bytes bytes = *item;
  std::copy(part->bytes.begin(), part->bytes.end(), bytes.begin() + part->offset);
  revived_.insert_or_assign(part->name, std::move(bytes));
}

bool HasNoRoomToMove(const Partition& flash) {
  const Version& version = *flash.version;
  u32 most_room = 0;
  bool has_dead_target = false;
  const Slot* next = nullptr;
  for (const Block& block : flash.blocks) {
    if (block.state == version.active || block.state == version.target)
      most_room = std::max(most_room, block.room(version));
    has_dead_target = has_dead_target || (block.state == version.target && block.dead_bytes != 0);
    if (block.state != version.source || next != nullptr) continue;
    const auto slot = std::find_if(block.slots.begin(), block.slots.end(), [](const Slot& s) { return s.IsItem(); });
    if (slot != block.slots.end()) next = &*slot;
  }
  return next != nullptr && has_dead_target && version.need(next->length) > most_room;
}

}  // namespace vok::sweep
