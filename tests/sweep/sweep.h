#pragma once

#include <chrono>
#include <optional>

#include "case_id.h"
#include "tally.h"

/// The walk through all cases.

namespace vok::sweep {

/// How much of everything is tried.
struct Plan {
  u64 first_seed = 1;
  u32 seeds = 1;         ///< base images and inputs are made from as many seeds
  u32 bulk_tears = 0;    ///< places at which a long bulk program is torn; 0 = after every byte
  u32 second_cuts = 0;   ///< second cuts for each first cut on the smallest geometry, or kEveryStep
  u32 second_tears = 0;  ///< with kEveryStep: seeded tears of each step, besides the cut before it
  u32 chains = 0;        ///< chains of 3 to 6 cuts for each scenario
};
inline constexpr u32 kEveryStep = 0xFFFFFFFF;

/// Which part of a plan this process works on: each case whose number leaves @p shard.
struct Share {
  u32 shard = 0;
  u32 shards = 1;
  u32 stride = 1;  ///< takes only each of so many of them
  std::optional<std::chrono::steady_clock::time_point> deadline;
};

class Sweep {
 public:
  Sweep(Rig& rig, const Share& share) : rig_(rig), share_(share) {}

  /// Tries every case of a plan and prints each fault with the ID that reproduces it. @return what came of them
  Tally Run(const Plan& plan);

  /// Tries the one case that @p id names and prints what comes of it.
  /// @return 0; 1 a fault; 2 no such case
  int RunOnly(const std::string& id);

 private:
  using Cuts = std::vector<CutPoint>;

  void RunScenario(const Scenario& scenario);
  void RunFirstCut(const Scenario& scenario, CutPoint cut);
  void RunSecondCuts(const Scenario& scenario, CutPoint first, const Bytes& flash, const Aftermath& aftermath,
                     const Trace& repair);
  std::vector<CutPoint> SecondCuts(const Trace& repair, u64 seed) const;
  void RunChain(const Scenario& scenario, u64 seed);

  std::string CutOperation(const Scenario& scenario, CutPoint cut, Aftermath& aftermath);
  Trace RepairTrace(const Scenario& scenario, const Bytes& flash, const Aftermath& aftermath, std::string& fault);
  void CutRepair(const Scenario& scenario, const Bytes& flash, u32 depth, CutPoint cut, Place place,
                 Aftermath& aftermath);

  bool IsMine();
  bool IsOver() const;
  void Count(u32 depth, const Scenario& scenario, const Cuts& cuts, Place place, const Verdict& verdict,
             const Aftermath& aftermath);

  Rig& rig_;
  Share share_;
  Plan plan_;
  Tally tally_;
  u64 case_number_ = 0;
};

}  // namespace vok::sweep
