#include <cstdio>

#include "case_id.h"
#include "sweep.h"

/// One case by its ID.

namespace vok::sweep {

namespace {

bool IsCut(const Trace& trace, CutPoint cut) {
  return cut.step < trace.size() ? cut.tear <= trace[cut.step].tears : cut.step == trace.size() && cut.tear == 0;
}

void PrintCut(const Trace& trace, CutPoint cut) {
  const bool at_end = cut.step == trace.size();
  std::printf("  cut at step %u of %zu, tear %u of %u: %s\n", cut.step, trace.size(), cut.tear,
              at_end ? 0 : trace[cut.step].tears, TextOf(at_end ? Place::kEnd : trace[cut.step].place));
}

}  // namespace

int Sweep::RunOnly(const std::string& text) {
  const std::optional<CaseId> id = ParseCaseId(text);
  if (!id) return 2;
  const Scenario scenario = MakeScenario(rig_, id->version, *id->operation, id->fill, id->seed);
  if (!IsCut(scenario.trace, id->cuts[0])) return 2;
  PrintCut(scenario.trace, id->cuts[0]);
  Aftermath aftermath;
  std::string fault = CutOperation(scenario, id->cuts[0], aftermath);
  for (u32 depth = 1; depth < id->cuts.size(); ++depth) {
    const Bytes flash = rig_.device().bytes();
    const Trace repair = RepairTrace(scenario, flash, aftermath, fault);
    const CutPoint cut = id->cuts[depth];
    if (cut.step >= repair.size() || !IsCut(repair, cut)) return 2;
    PrintCut(repair, cut);
    CutRepair(scenario, flash, depth, cut, repair[cut.step].place, aftermath);
  }
  const Verdict verdict = Judge(rig_, scenario, aftermath, false);
  if (fault.empty()) fault = verdict.fault;
  if (fault.empty()) std::printf("  %s\n", TextOf(verdict.outcome));
  for (u32 end = 0; end < kKnownEndCount; ++end)
    if (aftermath.Has(static_cast<KnownEnd>(end)))
      std::printf("  known: %s\n", TextOf(static_cast<KnownEnd>(end)).rule);
  if (!fault.empty()) std::printf("FAULT %s: %s\n", text.c_str(), fault.c_str());
  return fault.empty() ? 0 : 1;
}

}  // namespace vok::sweep
