#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>

#include "page.h"

/// Runs every workload on the store and, right after it, on the yardstick; `--markdown FILE` writes the page. All
/// options of Google Benchmark work, e.g. --benchmark_filter=read/v3/16000.

namespace {

using namespace vok::bench;

constexpr int kPasses = 7;  ///< of each row; the least counts, since whatever disturbs a pass makes it longer

/// The case of the row at hand; rows of one case follow each other.
Case& CaseOf(std::uint32_t version, std::uint32_t count) {
  static std::unique_ptr<Case> current;
  static std::pair<std::uint32_t, std::uint32_t> key;
  if (current == nullptr || key != std::pair(version, count)) {
    current = nullptr;
    current = std::make_unique<Case>(version, count);
    key = {version, count};
  }
  return *current;
}

std::string NameOf(const Row& row) {
  return row.workload + "/v" + std::to_string(row.version) + "/" + std::to_string(row.count) +
         (row.side == Side::kYardstick ? "/yardstick" : "/store");
}

void Register(const Workload& workload, const Row& row) {
  const auto pass = [&workload, row](benchmark::State& state) {
    Case& c = CaseOf(row.version, row.count);
    for (auto _ : state) state.SetIterationTime(row.side == Side::kStore ? workload.store(c) : workload.yardstick(c));
    state.SetItemsProcessed(workload.operations(row.count));
  };
  benchmark::RegisterBenchmark(NameOf(row).c_str(), pass)->UseManualTime()->Iterations(1)->Repetitions(kPasses);
}

/// Keeps the least time of each row.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      double& least = least_.try_emplace(run.run_name.function_name, run.real_accumulated_time).first->second;
      least = std::min(least, run.real_accumulated_time);
    }
  }

  Times TimesOf(const std::vector<Row>& rows) const {
    Times times;
    for (const Row& row : rows)
      if (const auto least = least_.find(NameOf(row)); least != least_.end()) times[row] = least->second;
    return times;
  }

 private:
  std::map<std::string, double> least_;
};

std::vector<Row> RegisterAll() {
  std::vector<Row> rows;
  for (const std::uint32_t version : kVersions)
    for (const std::uint32_t count : kCounts)
      for (const Workload& workload : Workloads())
        for (const Side side : {Side::kStore, Side::kYardstick})
          Register(workload, rows.emplace_back(Row{workload.name, version, count, side}));
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::string page = argc == 3 && std::string(argv[1]) == "--markdown" ? argv[2] : "";
  if (page.empty() && benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  const std::vector<Row> rows = RegisterAll();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  const Times times = collector.TimesOf(rows);
  for (const std::uint32_t version : kVersions)
    std::cout << "Store version " << version << "\n\n" << Table(times, version) << '\n';
  return page.empty() || WritePage(page, times) ? 0 : 1;
}
