#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

#include "tally.h"

/// The walk through the cases of a scenario.

namespace vok::sweep {

/// How much of everything is tried.
struct Plan {
  u32 bulk_tears = 0;    ///< places at which a long bulk program is torn; 0 = after every byte
  u32 second_cuts = 0;   ///< second cuts for each first cut, or kEveryStep
  u32 second_tears = 0;  ///< with kEveryStep: seeded tears of each step, besides the cut before it
  u32 chains = 0;        ///< chains of 3 to 6 cuts
};
inline constexpr u32 kEveryStep = 0xFFFFFFFF;

/// Which part of the cases this process works on.
struct Share {
  u32 shard = 0;
  u32 shards = 1;
  u32 stride = 1;  ///< only one case in so many is tried at all
  std::optional<std::chrono::steady_clock::time_point> deadline;
  u64 images = 0;  ///< so many cut images at most; 0 = all
};

/// The cuts of an operation, in the order of its steps.
std::vector<CutPoint> FirstCuts(const Trace& trace, const Plan& plan);

class Sweep {
 public:
  /// Gets each fault as a line that names the case.
  using Report = std::function<void(const std::string& line)>;

  Sweep(Rig& rig, Share share, Report report) : rig_(rig), share_(share), report_(std::move(report)) {}

  /// Tries every case of @p scenario that the plan and the share leave; the rig is configured for its geometry. First
  /// come all single cuts, then the chains, then the pairs.
  void Run(const Scenario& scenario, const Plan& plan);

  /// Tries the one case of these cuts. @param tell  gets each cut and what comes of it
  /// @return 0; 1 a fault; 2 no such case
  int RunOne(const Scenario& scenario, const std::vector<CutPoint>& cuts, const Report& tell);

  bool IsOver() const;
  /// Whether the deadline kept it from a case.
  bool was_cut_short() const { return cut_short_; }

  /// What came of the cases so far; begins anew.
  Tally TakeTally() { return std::exchange(tally_, {}); }

 private:
  using Cuts = std::vector<CutPoint>;

  void RunFirstCut(const Scenario& scenario, CutPoint cut);
  void RunSecondCuts(const Scenario& scenario, CutPoint first);
  Verdict JudgeCuts(const Scenario& scenario, Aftermath& aftermath, u32 cuts);
  std::vector<CutPoint> SecondCuts(const Trace& repair, u64 seed) const;
  void RunChain(const Scenario& scenario, u64 seed);

  std::string CutOperation(const Scenario& scenario, CutPoint cut, Aftermath& aftermath);
  Trace RepairTrace(const Scenario& scenario, const Bytes& flash, const Aftermath& aftermath, std::string& fault);
  void CutRepair(const Scenario& scenario, const Bytes& flash, u32 depth, CutPoint cut, Place place,
                 Aftermath& aftermath);

  bool IsMine();
  void Count(u32 depth, const Scenario& scenario, const Cuts& cuts, Place place, const Verdict& verdict,
             const Aftermath& aftermath);

  Rig& rig_;
  Share share_;
  Report report_;
  Plan plan_;
  Tally tally_;
  Bytes cut_flash_;  ///< under judgement; kept, so that its memory is
  u64 case_number_ = 0;
  bool cut_short_ = false;
};

}  // namespace vok::sweep
