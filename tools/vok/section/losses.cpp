#include "section/losses.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <tuple>

#include "base/failure.h"
#include "block_words.h"
#include "flash/image.h"
#include "section/items.h"

namespace vok::tool {

namespace {

/// Why a copy is not served.
enum class Reason : u8 {
  kNoSignature,
  kFormatted,
  kNotSearched,
  kBehind,
  kUnreadable,
  kHidden,
  kHiddenByUnreadable,
  kRetired,
};
enum class Remedy : u8 { kRebuild, kHistory, kNone };
constexpr const char* kRepair = "vok repair";

std::string TextOf(Reason reason, const BlockHead& head) {
  switch (reason) {
    case Reason::kNoSignature: return "the block has no signature, so that a mount takes it for unformatted";
    case Reason::kFormatted: return fmt::format("a mount formats a block in state {}", NameOfBlockState(head.state));
    case Reason::kNotSearched:
      return fmt::format("reads do not look into a block in state {}", NameOfBlockState(head.state));
    case Reason::kBehind: return "they lie behind a slot that looks unused, where every reader stops";
    case Reason::kUnreadable: return "the record cannot be read";
    case Reason::kHidden: return "another Valid copy hides this one, which holds other bytes";
    case Reason::kHiddenByUnreadable: return "another Valid copy, which cannot be read, hides it";
    case Reason::kRetired: return "a mount retires the copy";
  }
  return "";
}

std::string TextOf(Remedy remedy, const std::string& section) {
  switch (remedy) {
    case Remedy::kRebuild: return "vok repair --rebuild " + section;
    case Remedy::kHistory: return "vok history TYPE ID --copy N";
    case Remedy::kNone: break;
  }
  return "none: no sound copy is left; vok history TYPE ID tells what lies there";
}

bool Contains(const std::vector<ItemKey>& sorted, const ItemKey& name) {
  return std::binary_search(sorted.begin(), sorted.end(), name);
}

bool HoldsSlot(CopyGroup copies, u32 slot) { return std::ranges::binary_search(copies, slot, {}, &ValidCopy::slot); }

/// Checksums of payloads. Slots full of garbage may name the same bytes over and over: once more has been read than a
/// flash holds twice, every record counts as different from all others.
class PayloadSums {
 public:
  explicit PayloadSums(const SectionBlocks& blocks) : blocks_(blocks) {}

  u32 Of(const ValidCopy& copy) {
    const std::span<const u8> payload = blocks_.PayloadOf(copy);
    if (payload.size() > left_) return copy.slot;
    left_ -= payload.size();
    return Crc32(payload);
  }

 private:
  const SectionBlocks& blocks_;
  std::size_t left_ = 2 * std::size_t{kFlashSize};
};

/// Of the copies whose names have several, in the order of all copies.
std::vector<u32> SumsOf(const SectionBlocks& blocks, CopyGroup copies) {
  const auto has_one_more = [](const ValidCopy& a, const ValidCopy& b) { return a.name == b.name; };
  if (std::ranges::adjacent_find(copies, has_one_more) == copies.end()) return {};
  std::vector<u32> sums(copies.size());
  PayloadSums payloads(blocks);
  ForEachName(copies, [&](CopyGroup group) {
    if (group.size() == 1) return;
    for (const ValidCopy& copy : group) sums[static_cast<std::size_t>(&copy - copies.data())] = payloads.Of(copy);
  });
  return sums;
}

std::vector<BlockHead> HeadsOf(const SectionBlocks& blocks) {
  std::vector<BlockHead> heads;
  for (u16 i = 0; i < blocks.blocks().size(); ++i) heads.push_back(blocks.HeadOf(i));
  return heads;
}

bool IsFormatted(const BlockHead& head) { return !head.has_signature || IsFormattedByRepair(head.state); }

}  // namespace

/// Finds the losses of one section.
class SectionLosses {
 public:
  SectionLosses(const ImageHoldings::HeldSection& held, const Section& section, Losses& losses)
      : held_(held), section_(section), losses_(losses) {
    for (const Rename& rename : held.holdings.renames)
      if (!CopiesOf(held.holdings, rename.to).empty() && rename.from != rename.to) renamed_.push_back(rename.from);
    std::sort(renamed_.begin(), renamed_.end());
  }

  void Run() {
    if (section_.IsMounted()) {
      LoseUnserved();
    } else {
      LoseAll();
    }
    LoseUnnamed();
  }

 private:
  const BlockHead& HeadOf(const ValidCopy& copy) const { return held_.heads[copy.block]; }
  bool IsSearched(const ValidCopy& copy) const { return HeadOf(copy).IsSearched() && !copy.behind; }
  bool CanBeRebuilt(const ValidCopy& copy) const { return copy.usable && (IsSearched(copy) || copy.in_line); }
  bool IsRenamed(const ItemKey& name) const { return Contains(renamed_, name); }

  /// What start-up passes over may be no section of the store at all: only a signature tells.
  bool MayCount(const ValidCopy& copy) const { return section_.IsAccepted() || HeadOf(copy).has_signature; }

  void LoseAll();
  std::string RemedyOfAll() const;
  void LoseUnserved();
  void LoseUnnamed();
  void JudgeName(CopyGroup before, CopyGroup after);
  void LoseName(CopyGroup before, CopyGroup after);
  void LoseHidden(CopyGroup before, CopyGroup after, const ValidCopy& served);
  Reason ReasonOf(const ValidCopy& copy, CopyGroup after) const;
  u32 SumOf(const ValidCopy& copy) const;
  void Lose(const ValidCopy& copy, Reason reason, Remedy remedy, bool dropped);

  struct Kind {
    u16 block;
    Reason reason;
    Remedy remedy;
    bool dropped;
    bool operator<(const Kind& other) const {
      return std::tie(block, reason, remedy, dropped) <
             std::tie(other.block, other.reason, other.remedy, other.dropped);
    }
  };

  const ImageHoldings::HeldSection& held_;
  const Section& section_;
  Losses& losses_;
  std::vector<ItemKey> renamed_;
  const SectionBlocks blocks_{section_};  ///< as they are now
  std::map<Kind, std::size_t> kinds_;     ///< their places in the losses
};

void SectionLosses::LoseAll() {
  Loss loss = AbsenceOf(section_);
  ForEachName(held_.holdings.copies, [&](CopyGroup copies) {
    if (!IsRenamed(copies.front().name) &&
        std::ranges::any_of(copies, [this](const ValidCopy& copy) { return MayCount(copy); }))
      loss.items.push_back(copies.front().name);
  });
  if (loss.items.empty() && !section_.IsAccepted() && !loss.absent) return;
  if (section_.IsAccepted()) loss.why = "the section does not mount: " + ErrorText(section_.mount_code);
  if (!loss.items.empty() || !loss.absent) loss.remedy = RemedyOfAll();
  losses_.push_back(std::move(loss));
}

std::string SectionLosses::RemedyOfAll() const {
  if (!section_.IsAccepted() || section_.mount_code == code::kUninitialized) return kRemedyOfPsdt;
  const auto& copies = held_.holdings.copies;
  const bool repair_helps =
      section_.mount_code == code::kNeedsRepair && !section_.IsReadOnly() &&
      std::none_of(copies.begin(), copies.end(), [this](const ValidCopy& copy) { return IsFormatted(HeadOf(copy)); });
  return repair_helps ? kRepair : TextOf(Remedy::kRebuild, section_.name);
}

void SectionLosses::LoseUnserved() {
  const SectionHoldings now = HoldingsOf(blocks_);
  auto after = now.copies.begin();
  ForEachName(held_.holdings.copies, [&](CopyGroup before) {
    const ItemKey& name = before.front().name;
    while (after != now.copies.end() && after->name < name) ++after;
    const auto first = after;
    while (after != now.copies.end() && after->name == name) ++after;
    JudgeName(before, {first, after});
  });
}

void SectionLosses::JudgeName(CopyGroup before, CopyGroup after) {
  const auto served = std::find_if(after.begin(), after.end(), [this](const ValidCopy& copy) {
    return blocks_.HeadOf(copy.block).IsSearched() && !copy.behind;
  });
  // A reorganisation moves an item whose record cannot be read as an empty one.
  const bool was_readable = std::ranges::any_of(before, [](const ValidCopy& copy) { return copy.sound; });
  if (served == after.end() || !served->sound || !was_readable) {
    LoseName(before, after);
  } else if (before.size() > 1) {
    LoseHidden(before, after, *served);
  }
}

void SectionLosses::LoseName(CopyGroup before, CopyGroup after) {
  if (IsRenamed(before.front().name)) return;
  const auto best =
      std::find_if(before.begin(), before.end(), [this](const ValidCopy& copy) { return CanBeRebuilt(copy); });
  const ValidCopy& told = best != before.end() ? *best : before.front();
  Lose(told, ReasonOf(told, after), best != before.end() ? Remedy::kRebuild : Remedy::kNone, after.empty());
}

void SectionLosses::LoseHidden(CopyGroup before, CopyGroup after, const ValidCopy& served) {
  const u32 served_sum = Crc32(blocks_.PayloadOf(served));
  bool one_is_old = Contains(held_.holdings.replaced, before.front().name);
  for (const ValidCopy& copy : before) {
    // The mount may have finished a part write in the copy that is served.
    if (!CanBeRebuilt(copy) || copy.slot == served.slot || SumOf(copy) == served_sum) continue;
    if (!one_is_old) Lose(copy, Reason::kHidden, Remedy::kHistory, !HoldsSlot(after, copy.slot));
    one_is_old = false;
  }
}

Reason SectionLosses::ReasonOf(const ValidCopy& copy, CopyGroup after) const {
  const BlockHead& head = HeadOf(copy);
  if (copy.behind) return Reason::kBehind;
  if (!head.has_signature) return Reason::kNoSignature;
  if (IsFormatted(head)) return Reason::kFormatted;
  if (!head.IsSearched()) return Reason::kNotSearched;
  if (!copy.sound) return Reason::kUnreadable;
  return HoldsSlot(after, copy.slot) ? Reason::kHiddenByUnreadable : Reason::kRetired;
}

u32 SectionLosses::SumOf(const ValidCopy& copy) const {
  const auto& copies = held_.holdings.copies;
  return held_.sums[static_cast<std::size_t>(&copy - copies.data())];
}

void SectionLosses::Lose(const ValidCopy& copy, Reason reason, Remedy remedy, bool dropped) {
  const Kind kind{.block = copy.block, .reason = reason, .remedy = remedy, .dropped = dropped};
  const auto [place, is_new] = kinds_.emplace(kind, losses_.size());
  if (is_new)
    losses_.push_back({.section = section_.name,
                       .block = copy.block,
                       .items = {},
                       .why = TextOf(reason, HeadOf(copy)),
                       .remedy = TextOf(remedy, section_.name),
                       .dropped = dropped,
                       .hidden = reason == Reason::kHidden});
  losses_[place->second].items.push_back(copy.name);
}

void SectionLosses::LoseUnnamed() {
  std::map<u16, std::size_t> blocks;
  for (const ValidCopy& copy : held_.holdings.unnamed)
    if (MayCount(copy)) ++blocks[copy.block];
  for (const auto& [block, count] : blocks)
    losses_.push_back({.section = section_.name,
                       .block = block,
                       .items = {},
                       .why = CountText(count, "Valid slot") + " with a type or an ID that no item can have",
                       .remedy = "none: vok check tells where they lie, vok explain ADDRESS shows them"});
}

ImageHoldings::ImageHoldings(const SectionList& sections) : strays_(HoldStrayBlocks(sections)) {
  for (const std::vector<Section>* const list : {&sections.accepted, &sections.passed_over})
    for (const Section& section : *list) {
      const SectionBlocks blocks(section);
      HeldSection held{.record = section.record, .holdings = HoldingsOf(blocks), .heads = HeadsOf(blocks), .sums = {}};
      LeaveOutStrays(section, held.heads, strays_, held.holdings);
      held.sums = SumsOf(blocks, held.holdings.copies);
      sections_.push_back(std::move(held));
    }
}

Losses ImageHoldings::FindLosses(const Section& section) const {
  Losses losses;
  const auto held = std::ranges::find(sections_, section.record, &HeldSection::record);
  if (held != sections_.end()) SectionLosses(*held, section, losses).Run();
  return losses;
}

Losses ImageHoldings::FindLosses(const SectionList& mounted) const {
  Losses losses;
  for (const std::vector<Section>* const list : {&mounted.accepted, &mounted.passed_over})
    for (const Section& section : *list) std::ranges::move(FindLosses(section), std::back_inserter(losses));
  std::ranges::move(FindStrayLosses(), std::back_inserter(losses));
  return losses;
}

Losses ImageHoldings::FindStrayLosses() const {
  Losses losses;
  for (StrayItems& stray : StrayItemsOf(strays_))
    losses.push_back({.section = std::move(stray.section),
                      .block = {},
                      .items = std::move(stray.items),
                      .why = "no section of the PSDT has the blocks at " + stray.places,
                      .remedy = kRemedyOfPsdt,
                      .dropped = stray.changed,
                      .outside = true});
  return losses;
}

bool ImageHoldings::HasItemsOutside(const SectionList& sections) const {
  const auto has_items = [](const Loss& loss) { return !loss.items.empty(); };
  return std::ranges::any_of(FindStrayLosses(), has_items) ||
         std::ranges::any_of(sections.passed_over, [&](const Section& section) {
           return std::ranges::any_of(FindLosses(section), has_items);
         });
}

Loss AbsenceOf(const Section& section) {
  return {.section = section.name,
          .block = {},
          .items = {},
          .why = WhyPassedOver(section),
          .remedy = "none: another read of the flash may hold the rest",
          .outside = !section.IsAccepted() || section.mount_code == code::kUninitialized,
          .absent = section.presence == Presence::kOutsideFile};
}

bool IsEndedByRepair(const Loss& loss) { return loss.remedy == kRepair; }

bool IsEndedByRebuild(const Loss& loss) { return loss.remedy == TextOf(Remedy::kRebuild, loss.section); }

std::string CountText(std::size_t count, const std::string& what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

}  // namespace vok::tool
