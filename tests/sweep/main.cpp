#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

#include "base_image.h"
#include "page.h"
#include "processes.h"
#include "sweep.h"

namespace vok::sweep {

namespace {

constexpr const char* kUsage =
    "Usage: vok_sweep [--fast | --seconds N | --markdown FILE] [--only CASE] [--seed S] [--jobs N] [--stride K]\n\n"
    "Cuts the power at every step of every operation that changes the flash, inside the steps and again in the\n"
    "repair, and checks what is left. Without --fast everything is tried, or as much as N seconds allow. N jobs\n"
    "share the cases, by default one for each processor; --stride takes one case in K of them.\n";

struct Arguments {
  bool fast = false;
  u32 seconds = 0;
  u64 seed = 1;
  u32 jobs = std::max(1u, std::thread::hardware_concurrency());
  u32 stride = 1;
  std::string only;
  std::string markdown;
};

bool ParseOption(const std::string& option, const char* value, Arguments& arguments) {
  const auto number = static_cast<u32>(std::strtoul(value, nullptr, 10));
  if (option == "--only") return !(arguments.only = value).empty();
  if (option == "--markdown") return !(arguments.markdown = value).empty();
  if (option == "--jobs") return (arguments.jobs = number) != 0;
  if (option == "--seconds") return (arguments.seconds = number) != 0;
  if (option == "--seed") return (arguments.seed = number) != 0;
  if (option == "--stride") return (arguments.stride = number) != 0;
  return false;
}

bool Parse(int count, char** values, Arguments& arguments) {
  for (int i = 1; i < count; ++i) {
    const std::string option = values[i];
    if (option == "--fast") {
      arguments.fast = true;
    } else if (++i == count || !ParseOption(option, values[i], arguments)) {
      return false;
    }
  }
  // A page of a sweep that was stopped, or of one part of it, would hold counts that do not come out again.
  return arguments.markdown.empty() || (!arguments.fast && arguments.seconds == 0 && arguments.stride == 1);
}

constexpr u32 kSmallestGeometry = 2;
constexpr u64 kMostReports = 50;

/// The part that every test run makes: long bulk programs torn at 64 places, two of the second cuts.
constexpr Plan kFastPlan = {.bulk_tears = 64, .second_cuts = 2, .chains = 16};
/// Every first cut of the same base images; then, on others, every step of every repair.
constexpr Plan kFirstCutPlan = {};
constexpr Plan kPairPlan = {.bulk_tears = 16, .second_cuts = kEveryStep, .second_tears = 2, .chains = 256};

/// Prints the faults up to a number at which more of them tell nothing new.
void PrintFault(const std::string& line) {
  static u64 count = 0;
  if (++count <= kMostReports) std::printf("FAULT %s\n", line.c_str());
}

/// Every operation on every base image of one seed, as far as the share goes.
Tally RunShare(const Share& share, const Plan& plan, u64 seed) {
  Rig rig;
  Sweep sweep(rig, share, PrintFault);
  for (u32 version = 1; version <= 3; ++version) {
    for (const Operation& operation : Operations()) {
      for (Fill fill : kFills) {
        if (sweep.IsOver() || !TakesFill(operation, fill)) continue;
        const Scenario scenario = MakeScenario(rig, {version, &operation, fill, seed});
        Plan its_plan = plan;
        if (scenario.geometry.blocks != kSmallestGeometry) its_plan.second_cuts = 0;
        sweep.Run(scenario, its_plan);
      }
    }
  }
  return sweep.TakeTally();
}

using Deadline = std::optional<std::chrono::steady_clock::time_point>;

Tally RunAll(const Arguments& arguments, Deadline deadline, const Plan& plan, u64 seed) {
  return InProcesses(arguments.jobs, [&](u32 number) {
    return RunShare({.shard = number, .shards = arguments.jobs, .stride = arguments.stride, .deadline = deadline}, plan,
                    seed);
  });
}

void Print(const char* what, const Tally& tally) {
  std::printf("%s: %llu cut images: %llu after one cut, %llu pairs of cuts, %llu chains of 3 to 6; %llu faults\n", what,
              static_cast<unsigned long long>(tally.images), static_cast<unsigned long long>(tally.CasesAt(0)),
              static_cast<unsigned long long>(tally.CasesAt(1)), static_cast<unsigned long long>(tally.CasesAt(2)),
              static_cast<unsigned long long>(tally.faults));
}

int RunSweep(const Arguments& arguments) {
  using std::chrono::steady_clock;
  Deadline deadline;
  if (arguments.seconds != 0) deadline = steady_clock::now() + std::chrono::seconds(arguments.seconds);
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  const Tally fast = RunAll(arguments, deadline, kFastPlan, arguments.seed);
  Print("fast part", fast);
  if (arguments.fast) return fast.faults == 0 ? 0 : 1;

  Tally whole = RunAll(arguments, deadline, kFirstCutPlan, arguments.seed);
  whole.Add(RunAll(arguments, deadline, kPairPlan, arguments.seed + 1));
  Print("whole sweep", whole);
  for (u32 end = 0; end < kKnownEndCount; ++end)
    std::printf("  %llu + %llu + %llu: %s\n", static_cast<unsigned long long>(whole.ends[0][end]),
                static_cast<unsigned long long>(whole.ends[1][end]),
                static_cast<unsigned long long>(whole.ends[2][end]), TextOf(static_cast<KnownEnd>(end)).rule);
  if (!arguments.markdown.empty() && !WritePage(arguments.markdown, fast, whole)) {
    std::fprintf(stderr, "vok_sweep: cannot write %s\n", arguments.markdown.c_str());
    return 1;
  }
  return fast.faults + whole.faults == 0 ? 0 : 1;
}

int RunOne(const std::string& text) {
  const auto tell = [](const std::string& line) { std::printf("  %s\n", line.c_str()); };
  Rig rig;
  int result = 2;
  if (const std::optional<CaseId> id = ParseCaseId(text))
    result = Sweep(rig, {}, tell).RunOne(MakeScenario(rig, id->recipe), id->cuts, tell);
  if (result == 2) std::fprintf(stderr, "vok_sweep: no such case: %s\n", text.c_str());
  return result;
}

}  // namespace

}  // namespace vok::sweep

int main(int count, char** values) {
  vok::sweep::Arguments arguments;
  if (!vok::sweep::Parse(count, values, arguments)) {
    std::fputs(vok::sweep::kUsage, stderr);
    return 2;
  }
  try {
    return arguments.only.empty() ? vok::sweep::RunSweep(arguments) : vok::sweep::RunOne(arguments.only);
  } catch (const std::exception& error) {
    std::printf("FAULT %s\n", error.what());
    return 1;
  }
}
