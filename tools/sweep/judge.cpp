#include "judge.h"

#include <algorithm>

#include "checks.h"

namespace vok::sweep {

namespace {

constexpr u8 kCheck = 1;
constexpr u8 kRepair = 2;
constexpr u16 kInternalError = 108;
constexpr u16 kMountFailure = 122;
constexpr u16 kNeedsCreate = 125;
constexpr u16 kNeedsRepair = 132;

/// Whether a journal record lies before an unfinished slot of its block, which hides it from the first repair mount.
bool HasHiddenJournal(const Partition& flash) {
  for (const Block& block : flash.blocks) {
    bool journal = false;
    for (const Slot& slot : block.slots) {
      if (journal && (slot.state == SlotState::kAllocated || slot.state == SlotState::kVoid)) return true;
      journal = journal || slot.IsJournal();
    }
  }
  return false;
}

class Session {
 public:
  Session(Rig& rig, const Scenario& scenario, Aftermath& aftermath)
      : rig_(rig), scenario_(scenario), aftermath_(aftermath), witness_(rig.version(), rig.device()) {}

  Verdict Run();

 private:
  void PrepareWitness();
  std::string Repair();
  std::string CheckUnmounted(u16 code);
  std::string CheckMounted(Verdict& verdict, AfterRepair after_repair);
  std::string CheckRepaired();
  std::string CheckAgain();
  u16 Remount(u8 mode);

  Rig& rig_;
  const Scenario& scenario_;
  Aftermath& aftermath_;
  Witness witness_;
  bool hidden_journal_ = false;
  bool mounted_ = false;
};

/// Ends the store and mounts it anew from the same flash.
u16 Session::Remount(u8 mode) {
  rig_.SetUp();
  rig_.device().Begin({}, 0, &witness_);
  return rig_.Mount(mode);
}

void Session::PrepareWitness() {
  const Partition flash = rig_.Read();
  hidden_journal_ = HasHiddenJournal(flash);
  AllowInRepair(scenario_, aftermath_, flash, witness_);
}

std::string Session::Repair() {
  PrepareWitness();
  rig_.device().Begin({}, 0, &witness_);
  const u16 code = rig_.Mount(kRepair);
  mounted_ = code == 0;
  return mounted_ ? "" : CheckUnmounted(code);
}

/// A mount that fails must be a known end, change nothing the next time and answer the same.
std::string Session::CheckUnmounted(u16 code) {
  const Partition flash = rig_.Read();
  std::string text = "the repair mount gave " + std::to_string(code);
  const Items items = ItemsOf(flash);
  bool known = code == kMountFailure && aftermath_.has_blank_journal();
  if (code == kInternalError && HasNoRoomToMove(flash)) {
    aftermath_.Set(KnownEnd::kNoRoomToMove);
    known = items == scenario_.before || !aftermath_.revived().empty();
  }
  known = known && CheckUnrepaired(scenario_, aftermath_, items).empty();
  known = known || (code == kNeedsCreate && aftermath_.Has(KnownEnd::kNotCreated) && rig_.device().steps() == 0);
  if (!known) return text;
  if (Remount(kRepair) != code || rig_.device().steps() != 0) return text + ", the next one not the same";
  const u16 check = Remount(kCheck);
  return check == (code == kNeedsCreate ? kNeedsCreate : kNeedsRepair) ? "" : text + ", the check mount something odd";
}

std::string Session::CheckMounted(Verdict& verdict, AfterRepair after_repair) {
  const Partition flash = rig_.Read();
  const u32 base = rig_.device().base();
  std::string fault;
  if (!hidden_journal_ || after_repair == AfterRepair::kNo)
    fault = CheckItems(scenario_, aftermath_, flash, verdict.outcome);
  if (fault.empty()) fault = CheckReading(scenario_, aftermath_, ItemsOf(flash));
  if (fault.empty()) fault = CheckFigures(flash, base, after_repair);
  if (fault.empty()) fault = CheckBlocks(flash);
  return fault;
}

/// The second mount makes no step (I10). Only a journal record that the first could not see is left to it; then the
/// third one makes none.
std::string Session::CheckAgain() {
  if (hidden_journal_ && Remount(kRepair) != 0) return "the second repair mount failed";
  if (Remount(kRepair) != 0) return "another repair mount failed";
  if (rig_.device().steps() != 0) return "another repair mount still makes steps";
  if (Remount(kCheck) != 0) return "a check mount finds something";
  return rig_.device().steps() == 0 ? "" : "a check mount makes steps";
}

std::string Session::CheckRepaired() {
  const Partition flash = rig_.Read();
  for (const Block& block : flash.blocks) {
    if (!HasUnseenRecord(flash, block)) continue;
    aftermath_.Set(KnownEnd::kUnseenRecord);
    witness_.Allow({block.offset + kHeaderSize, block.offset + rig_.version().block_size});
  }
  rig_.device().Begin({}, 0, &witness_);
  std::string fault = CheckService(rig_, aftermath_, ItemsOf(flash));
  if (fault.empty()) fault = witness_.complaint();
  if (fault.empty() && rig_.device().misused()) fault = "a step outside the partition";
  return fault;
}

Verdict Session::Run() {
  Verdict verdict;
  verdict.fault = rig_.Restart();
  if (!verdict.fault.empty()) return verdict;
  const bool was_unseen = [&] {
    const Partition flash = rig_.Read();
    return std::any_of(flash.blocks.begin(), flash.blocks.end(),
                       [&](const Block& block) { return HasUnseenRecord(flash, block); });
  }();
  verdict.fault = Repair();
  if (verdict.fault.empty()) verdict.fault = witness_.complaint();
  if (!verdict.fault.empty() || !mounted_) return verdict;
  if (aftermath_.Has(KnownEnd::kNotCreated)) verdict.fault = "a partition that was never created mounts";
  if (verdict.fault.empty()) verdict.fault = CheckMounted(verdict, AfterRepair::kYes);
  if (verdict.fault.empty()) verdict.fault = CheckAgain();
  if (verdict.fault.empty()) verdict.fault = CheckMounted(verdict, AfterRepair::kNo);
  if (verdict.fault.empty()) verdict.fault = CheckRepaired();
  if (verdict.fault.empty() && aftermath_.Has(KnownEnd::kUnseenRecord) && !was_unseen)
    verdict.fault = "the repair left bytes that no scan notices";
  return verdict;
}

}  // namespace

Verdict Judge(Rig& rig, const Scenario& scenario, Aftermath& aftermath) {
  return Session(rig, scenario, aftermath).Run();
}

}  // namespace vok::sweep
