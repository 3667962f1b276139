#include "building/torture.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "building/changed_image.h"
#include "checks.h"
#include "flash/image.h"
#include "section/items.h"
#include "store/volume/layout.h"

namespace vok::tool {

namespace {

/// A second cut before and twice inside each step of each repair; a long bulk program torn everywhere or, within a time
/// limit, at 64 places.
sweep::Plan PlanFor(TortureLimit limit) {
  return {.bulk_tears = limit.IsNone() ? 0u : 64u, .second_cuts = sweep::kEveryStep, .second_tears = 2, .chains = 256};
}

/// Where the sweep's partition begins leaves less than the whole flash to it.
constexpr u32 kLargestSection = 0x1F00000;

const Section& ChooseSection(const TortureWish& wish, const SectionList& sections) {
  if (!wish.section.empty()) return FindSection(sections, wish.section);
  if (wish.item) return SectionOfType(sections, wish.item->type, "no item to change");
  for (const Section& section : sections.accepted)
    if (section.IsMounted() && !section.IsReadOnly()) return section;
  throw Failure("no read-write section is mounted");
}

void RequireFit(const Section& section) {
  RequireMounted(section);
  const std::string what = fmt::format("section {} cannot be tried: ", section.name);
  if (section.IsReadOnly()) throw Failure(what + "it is read-only");
  if (section.entry.block_size != CurrentLayout().erase_size)
    throw Failure(what + "its blocks are not of the erase size");
  if (section.end() - section.entry.start > kLargestSection) throw Failure(what + "it is too large");
}

/// A name that no item has, other than @p taken.
sweep::ItemName FreshName(const sweep::Items& items, sweep::ItemName taken) {
  sweep::ItemName name = {taken.type, 0};
  while (items.contains(name) || name == taken || name.id == kAnyId)
    if (++name.id == kAnyId) name = {static_cast<u16>(name.type + 1), 0};
  return name;
}

/// The item that is changed: the one asked for, else the shortest that every operation can change. Where all are too
/// short it names none, and the operations that need one are not tried.
sweep::ItemName ChooseItem(const TortureWish& wish, const sweep::Items& items) {
  if (wish.item) {
    const sweep::ItemName name = {wish.item->type, wish.item->id};
    const auto found = items.find(name);
    const std::string what = fmt::format("item type {} ID {}", name.type, name.id);
    if (found == items.end()) throw Failure("no " + what);
    if (found->second.size() < sweep::kShortestChanged)
      throw Failure(fmt::format("{} is too short: {} bytes or more are needed", what, sweep::kShortestChanged));
    return name;
  }
  const sweep::Items::value_type* shortest = nullptr;
  for (const auto& item : items)
    if (item.second.size() >= sweep::kShortestChanged &&
        (shortest == nullptr || item.second.size() < shortest->second.size()))
      shortest = &item;
  return shortest != nullptr ? shortest->first : FreshName(items, {1, kAnyId});
}

/// The block that a reorganisation would take: the Active one with most dead bytes.
u16 ChooseBlock(const sweep::Partition& partition) {
  std::size_t chosen = 0;
  for (std::size_t i = 0; i < partition.blocks.size(); ++i) {
    const bool is_active = partition.blocks[i].state == partition.version->active;
    const bool has_one = partition.blocks[chosen].state == partition.version->active;
    if (is_active && (!has_one || partition.blocks[i].dead_bytes > partition.blocks[chosen].dead_bytes)) chosen = i;
  }
  return static_cast<u16>(chosen);
}

sweep::Inputs MakeInputs(const TortureWish& wish, const sweep::Partition& partition) {
  const sweep::Items items = sweep::ItemsOf(partition);
  const sweep::ItemName changed = ChooseItem(wish, items);
  const auto found = items.find(changed);
  constexpr u64 kSeed = 1;
  sweep::Inputs inputs(kSeed, changed, found != items.end() ? found->second : Bytes(sweep::kShortestChanged));
  inputs.fresh = FreshName(items, changed);
  inputs.block = ChooseBlock(partition);
  return inputs;
}

/// @param trouble  out: why the operation cannot be done in the section, empty = it can
sweep::Scenario MakeScenario(sweep::Rig& rig, const TortureSubject& subject, const sweep::Operation& operation,
                             std::string& trouble) {
  rig.Configure(subject.geometry);
  sweep::Scenario scenario{.id = fmt::format("{}/{}", subject.section, operation.name),
                           .geometry = subject.geometry,
                           .operation = &operation,
                           .inputs = subject.inputs,
                           .base = subject.bytes,
                           .before = sweep::ItemsOf(sweep::ReadPartition(rig.version(), subject.bytes))};
  trouble = sweep::Complete(rig, scenario);
  const sweep::ItemName changed = subject.inputs.changed;
  if (scenario.after.contains(changed) && !scenario.before.contains(changed))
    trouble = fmt::format("it needs an item of {} bytes or more", sweep::kShortestChanged);
  return scenario;
}

/// What is wrong with the section before any cut would be found after each of them.
void RequireSound(sweep::Rig& rig, const sweep::Scenario& scenario, const std::string& section) {
  sweep::Sweep sweep(rig, {}, [](const std::string&) {});
  std::string last;
  if (sweep.RunOne(scenario, {{0, 0}}, [&](const std::string& line) { last = line; }) != 0)
    throw Failure(fmt::format("section {} is not sound before any cut: {}", section, last));
}

}  // namespace

std::vector<const sweep::Operation*> TortureOperations() {
  std::vector<const sweep::Operation*> chosen;
  for (const sweep::Operation& operation : sweep::Operations()) {
    const auto does_the_same = [&](const sweep::Operation* other) { return other->run == operation.run; };
    // What begins on erased flash has nothing to do with the section.
    if (operation.start != sweep::Start::kTerminated && std::none_of(chosen.begin(), chosen.end(), does_the_same))
      chosen.push_back(&operation);
  }
  return chosen;
}

TortureSubject LoadTortureSubject(const TortureWish& wish) {
  const ChangedImage image(wish.image, AcceptLoss::kYes);
  const Section& section = ChooseSection(wish, image.sections());
  RequireFit(section);
  const auto length = static_cast<u32>(section.end() - section.entry.start);
  Bytes bytes(length);
  CopyFromFlash(bytes.data(), section.entry.start, length);
  const sweep::Geometry geometry = {
      .version = CurrentLayout().version, .blocks = section.entry.block_count, .directory = false};
  sweep::Inputs inputs = MakeInputs(wish, sweep::ReadPartition(sweep::VersionOf(geometry.version), bytes));
  return {.section = section.name,
          .geometry = geometry,
          .bytes = std::move(bytes),
          .inputs = std::move(inputs),
          .losses = image.losses()};
}

TortureResult Torture(const TortureSubject& subject, const sweep::Operation& operation, TortureLimit limit) {
  TortureResult result{
      .operation = &operation, .tally = {}, .faults = {}, .single_cuts = 0, .whole = false, .not_tried = {}};
  sweep::Rig rig;
  const sweep::Scenario scenario = MakeScenario(rig, subject, operation, result.not_tried);
  if (!result.not_tried.empty()) return result;
  RequireSound(rig, scenario, subject.section);
  sweep::Share share;
  share.images = limit.images;
  if (limit.seconds != 0) share.deadline = std::chrono::steady_clock::now() + std::chrono::seconds(limit.seconds);
  sweep::Sweep sweep(rig, share, [&](const std::string& line) { result.faults.push_back(line); });
  const sweep::Plan plan = PlanFor(limit);
  sweep.Run(scenario, plan);
  result.single_cuts = sweep::FirstCuts(scenario.trace, plan).size();
  result.whole = !sweep.was_cut_short();
  result.tally = sweep.TakeTally();
  return result;
}

}  // namespace vok::tool
