#pragma once

#include <set>

#include "scenario.h"

/// Cuts that have no good end within the layout and the orders of its steps. Each end is known by a rule over the
/// operation, the step that was cut and the bits in the flash; a rule says what must come of the cut, and a case in
/// which something else comes of it is a fault like any other.

namespace vok::sweep {

enum class KnownEnd : u8 {
  kPlainGap,      ///< no Valid copy of the item: a plain replacement or rename between retiring and committing
  kMixedBytes,    ///< part of the bytes programmed in place without a journal record
  kUnseenRecord,  ///< a record begun in a block without slots
  kTornState,     ///< half of a step of the state word of a block with Valid items
  kNoRoomToMove,  ///< the next item of a block under reorganisation fits nowhere any more
  kNotCreated,    ///< two blocks without a signature
  kHalfErased,    ///< a format mount that left the slots of a block and took their records
  kTornCancel,    ///< half of the step that deletes an unfinished slot: it reads Valid
};
inline constexpr u32 kKnownEndCount = 8;

/// The rule and its outcome in words, for the page.
struct KnownEndText {
  const char* rule;
  const char* outcome;
};
KnownEndText TextOf(KnownEnd end);

/// What the cuts so far have done that no repair takes back.
class Aftermath {
 public:
  /// Applies the rules to the flash after a cut. @param place  what the cut step was writing
  void Note(const Scenario& scenario, const Partition& flash, Place place);
  /// Applies the rule that concerns a repair alone. @param before  the flash when the repair began
  void NoteRepair(const Scenario& scenario, const Partition& before, const Partition& flash, Place place);

  bool Has(KnownEnd end) const { return (ends_ >> static_cast<u32>(end) & 1) != 0; }
  void Set(KnownEnd end) { ends_ |= 1u << static_cast<u32>(end); }
  u32 ends() const { return ends_; }

  bool IsLost(ItemName name) const { return lost_.contains(name); }
  /// Items whose bytes are neither old nor new, as the cut left them.
  const Items& mixed() const { return mixed_; }
  /// What the unfinished slots name that read Valid since a repair was cut; of a part-write journal record also what
  /// it makes of its item.
  const Items& revived() const { return revived_; }
  /// Whether one of them is a journal record of no kind.
  bool has_blank_journal() const { return has_blank_journal_; }

 private:
  void NoteItemsAt(const Scenario& scenario, const Partition& flash, Place place);
  void NoteTornStates(const Partition& flash);
  void NoteRevived(const Scenario& scenario, const Partition& flash, const Slot& slot);

  u32 ends_ = 0;
  std::set<ItemName> lost_;
  Items mixed_;
  Items revived_;
  bool has_blank_journal_ = false;
};

/// What a strict chip makes an exception for in a repair mount of @p flash: a journalled part write is programmed
/// again, and a block whose state word is torn is formatted.
void AllowInRepair(const Scenario& scenario, const Aftermath& aftermath, const Partition& flash, Witness& witness);

/// The names of the items that the operation changes.
std::vector<ItemName> ChangedNames(const Scenario& scenario);

/// Whether the block under reorganisation has a Valid item that no block in use takes.
bool HasNoRoomToMove(const Partition& flash);

}  // namespace vok::sweep
