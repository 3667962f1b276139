#include "sweep.h"

#include <algorithm>

#include "rebuild.h"

namespace vok::sweep {

namespace {

constexpr u32 kLongBulk = 64;
constexpr u32 kShortestChain = 3;
constexpr u32 kLongestChain = 6;

/// The tears of a step that are tried, from 0 on: all, or @p most of those of a long bulk program, evenly spread.
std::vector<u32> TearsOf(const TraceStep& step, u32 most) {
  std::vector<u32> tears = {0};
  const bool all = most == 0 || step.kind != StepKind::kBulk || step.tears <= kLongBulk + kSeededTears;
  const u32 count = all ? step.tears : most;
  for (u32 i = 0; i < count; ++i) tears.push_back(all ? i + 1 : 1 + i * (step.tears - 1) / (most - 1));
  return tears;
}

CutPoint RandomCut(const Trace& trace, Random& random) {
  const u32 step = random.Below(static_cast<u32>(trace.size()));
  return {step, random.Below(trace[step].tears + 1)};
}

Place PlaceOfCut(const Trace& trace, CutPoint cut) {
  return cut.step < trace.size() ? trace[cut.step].place : Place::kEnd;
}

}  // namespace

std::vector<CutPoint> FirstCuts(const Trace& trace, const Plan& plan) {
  std::vector<CutPoint> cuts;
  for (u32 step = 0; step < trace.size(); ++step)
    for (u32 tear : TearsOf(trace[step], plan.bulk_tears)) cuts.push_back({step, tear});
  cuts.push_back({static_cast<u32>(trace.size()), 0});
  return cuts;
}

bool Sweep::IsOver() const {
  if (share_.images != 0 && tally_.images >= share_.images) return true;
  return share_.deadline && std::chrono::steady_clock::now() > *share_.deadline;
}

bool Sweep::IsMine() {
  const u64 number = case_number_++;
  if (number % share_.stride != 0 || number / share_.stride % share_.shards != share_.shard) return false;
  cut_short_ = cut_short_ || IsOver();
  return !cut_short_;
}

void Sweep::Run(const Scenario& scenario, const Plan& plan) {
  plan_ = plan;
  const std::vector<CutPoint> cuts = FirstCuts(scenario.trace, plan);
  for (CutPoint cut : cuts)
    if (IsMine()) RunFirstCut(scenario, cut);
  for (u32 chain = 0; chain < plan_.chains; ++chain)
    if (IsMine()) RunChain(scenario, Mix(scenario.inputs.seed, chain));
  for (std::size_t i = 0; i < cuts.size() && plan.second_cuts != 0; ++i)
    if (IsMine()) RunSecondCuts(scenario, cuts[i]);
}

void Sweep::RunFirstCut(const Scenario& scenario, CutPoint cut) {
  Aftermath aftermath;
  const std::string fault = CutOperation(scenario, cut, aftermath);
  Verdict verdict = JudgeCuts(scenario, aftermath, 1);
  if (!fault.empty()) verdict.fault = fault;
  Count(0, scenario, {cut}, PlaceOfCut(scenario.trace, cut), verdict, aftermath);
}

/// Judges the flash as the last of some cuts left it: what repair mounts make of it, and after a single cut or where
/// these come to no good end also what a rebuild gives.
Verdict Sweep::JudgeCuts(const Scenario& scenario, Aftermath& aftermath, u32 cuts) {
  cut_flash_ = rig_.device().bytes();
  Verdict verdict = Judge(rig_, scenario, aftermath);
  if (!verdict.fault.empty() || (cuts > 1 && aftermath.ends() == 0)) return verdict;
  ++tally_.rebuilds;
  verdict.fault = CheckRebuild(rig_, scenario, aftermath, cut_flash_, cuts);
  return verdict;
}

std::vector<CutPoint> Sweep::SecondCuts(const Trace& repair, u64 seed) const {
  Random random(seed);
  std::vector<CutPoint> cuts;
  if (plan_.second_cuts != kEveryStep) {
    while (cuts.size() < plan_.second_cuts) cuts.push_back(RandomCut(repair, random));
    return cuts;
  }
  for (u32 step = 0; step < repair.size(); ++step) {
    cuts.push_back({step, 0});
    const u32 tears = repair[step].tears;
    for (u32 i = 0; i < std::min(tears, plan_.second_tears); ++i)
      cuts.push_back({step, tears <= plan_.second_tears ? i + 1 : 1 + random.Below(tears)});
  }
  return cuts;
}

void Sweep::RunSecondCuts(const Scenario& scenario, CutPoint first) {
  Aftermath aftermath;
  std::string fault = CutOperation(scenario, first, aftermath);
  const Bytes flash = rig_.device().bytes();
  const Trace repair = RepairTrace(scenario, flash, aftermath, fault);
  if (repair.empty() || !fault.empty()) return;
  for (CutPoint cut : SecondCuts(repair, Mix(scenario.inputs.seed, u64{first.step} << 32 | first.tear))) {
    if ((cut_short_ = cut_short_ || IsOver())) return;
    Aftermath second = aftermath;
    const Place place = repair[cut.step].place;
    CutRepair(scenario, flash, 1, cut, place, second);
    const Verdict verdict = JudgeCuts(scenario, second, 2);
    Count(1, scenario, {first, cut}, place, verdict, second);
  }
}

/// Cuts the operation, its repair, the repair of that, and so on. A repair with nothing left to do ends the chain; one
/// that ends too early is none.
void Sweep::RunChain(const Scenario& scenario, u64 seed) {
  Random random(seed);
  Cuts cuts = {RandomCut(scenario.trace, random)};
  Place place = PlaceOfCut(scenario.trace, cuts[0]);
  Aftermath aftermath;
  std::string fault = CutOperation(scenario, cuts[0], aftermath);
  const u32 length = kShortestChain + random.Below(kLongestChain - kShortestChain + 1);
  while (cuts.size() < length) {
    const Bytes flash = rig_.device().bytes();
    const Trace repair = RepairTrace(scenario, flash, aftermath, fault);
    rig_.Load(flash);
    if (repair.empty()) break;
    cuts.push_back(RandomCut(repair, random));
    place = PlaceOfCut(repair, cuts.back());
    CutRepair(scenario, flash, static_cast<u32>(cuts.size()) - 1, cuts.back(), place, aftermath);
  }
  if (cuts.size() < kShortestChain && fault.empty()) return;
  Verdict verdict = JudgeCuts(scenario, aftermath, static_cast<u32>(cuts.size()));
  if (!fault.empty()) verdict.fault = fault;
  Count(2, scenario, cuts, place, verdict, aftermath);
}

/// Runs the operation until the power goes. @return what was wrong about its steps
std::string Sweep::CutOperation(const Scenario& scenario, CutPoint cut, Aftermath& aftermath) {
  Prepare(rig_, scenario);
  Witness witness(rig_.version(), rig_.device());
  AllowInOperation(scenario, witness);
  rig_.device().Begin(cut, scenario.inputs.seed, &witness);
  bool was_cut = false;
  try {
    scenario.operation->run(rig_, scenario.inputs);
  } catch (const PowerCut&) {
    was_cut = true;
  }
  aftermath.Note(scenario, rig_.Read(), PlaceOfCut(scenario.trace, cut));
  if (was_cut != (cut.step < scenario.trace.size()) || rig_.device().steps() != cut.step)
    return "the operation's steps differ from those of the uncut run";
  return witness.complaint();
}

/// The steps of a repair mount of @p flash. @param fault  out, if there is one
Trace Sweep::RepairTrace(const Scenario& scenario, const Bytes& flash, const Aftermath& aftermath, std::string& fault) {
  rig_.Load(flash);
  rig_.SetUp();
  Witness witness(rig_.version(), rig_.device());
  AllowInRepair(scenario, aftermath, rig_.Read(), witness);
  witness.Record(true);
  rig_.device().Begin({}, 0, &witness);
  rig_.Mount(2);
  if (fault.empty()) fault = witness.complaint();
  return witness.trace();
}

/// Runs a repair mount of @p flash until the power goes; @p depth cuts went before.
void Sweep::CutRepair(const Scenario& scenario, const Bytes& flash, u32 depth, CutPoint cut, Place place,
                      Aftermath& aftermath) {
  rig_.Load(flash);
  rig_.SetUp();
  rig_.device().Begin(cut, Mix(scenario.inputs.seed, depth), nullptr);
  try {
    rig_.Mount(2);
  } catch (const PowerCut&) {
    aftermath.Note(scenario, rig_.Read(), place);
    aftermath.NoteRepair(scenario, ReadPartition(rig_.version(), flash), rig_.Read(), place);
  }
}

void Sweep::Count(u32 depth, const Scenario& scenario, const Cuts& cuts, Place place, const Verdict& verdict,
                  const Aftermath& aftermath) {
  // The images of the cuts before the last are counted where these are the last.
  tally_.images += depth == 2 ? cuts.size() : 1;
  tally_.Add(depth, IndexOf(*scenario.operation), place, verdict, aftermath);
  if (!verdict.fault.empty()) report_(IdOf(scenario, cuts) + " (" + TextOf(place) + "): " + verdict.fault);
}

}  // namespace vok::sweep
