#include "sweep.h"

/// One case by its cuts.

namespace vok::sweep {

namespace {

bool IsCut(const Trace& trace, CutPoint cut) {
  return cut.step < trace.size() ? cut.tear <= trace[cut.step].tears : cut.step == trace.size() && cut.tear == 0;
}

std::string TextOf(const Trace& trace, CutPoint cut) {
  const bool at_end = cut.step == trace.size();
  const std::string tears = std::to_string(at_end ? 0 : trace[cut.step].tears);
  return "cut at step " + std::to_string(cut.step) + " of " + std::to_string(trace.size()) + ", tear " +
         std::to_string(cut.tear) + " of " + tears + ": " + TextOf(at_end ? Place::kEnd : trace[cut.step].place);
}

}  // namespace

int Sweep::RunOne(const Scenario& scenario, const std::vector<CutPoint>& cuts, const Report& tell) {
  if (cuts.empty() || !IsCut(scenario.trace, cuts[0])) return 2;
  tell(TextOf(scenario.trace, cuts[0]));
  Aftermath aftermath;
  std::string fault = CutOperation(scenario, cuts[0], aftermath);
  for (u32 depth = 1; depth < cuts.size(); ++depth) {
    const Bytes flash = rig_.device().bytes();
    const Trace repair = RepairTrace(scenario, flash, aftermath, fault);
    const CutPoint cut = cuts[depth];
    if (cut.step >= repair.size() || !IsCut(repair, cut)) return 2;
    tell(TextOf(repair, cut));
    CutRepair(scenario, flash, depth, cut, repair[cut.step].place, aftermath);
  }
  const Verdict verdict = JudgeCuts(scenario, aftermath, static_cast<u32>(cuts.size()));
  if (fault.empty()) fault = verdict.fault;
  for (u32 end = 0; end < kKnownEndCount; ++end)
    if (aftermath.Has(static_cast<KnownEnd>(end)))
      tell(std::string("known: ") + TextOf(static_cast<KnownEnd>(end)).rule);
  tell(fault.empty() ? TextOf(verdict.outcome) : "FAULT: " + fault);
  return fault.empty() ? 0 : 1;
}

}  // namespace vok::sweep
