#include <fmt/core.h>

#include "answer/torture_json.h"
#include "base/failure.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/torture.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"

namespace vok::tool {

namespace {

constexpr Limits kSeconds = {0, 1000000};

/// The operations by their names, which the command line has looked at.
std::vector<const sweep::Operation*> OperationsOf(const Options& options) {
  std::vector<const sweep::Operation*> chosen;
  for (const std::string& name : options.operations) {
    if (name == kAllOperations) return TortureOperations();
    chosen.push_back(sweep::FindOperation(name));
  }
  return chosen;
}

std::string Cell(u64 count) { return count != 0 ? std::to_string(count) : ""; }

void PrintPlaces(const TortureResult& result) {
  using Align = Table::Align;
  std::vector<Table::Column> columns = {{"THE FIRST CUT STEP WRITES"}, {"CUTS", Align::kRight}};
  for (u32 outcome = 0; outcome < sweep::kOutcomeCount; ++outcome)
    columns.push_back({sweep::TextOf(static_cast<sweep::Outcome>(outcome)), Align::kRight});
  Table table(std::move(columns));
  for (u32 place = 0; place < sweep::kPlaceCount; ++place) {
    const auto& outcomes = result.tally.cases[0][sweep::IndexOf(*result.operation)][place];
    u64 sum = 0;
    for (const u64 count : outcomes) sum += count;
    if (sum == 0) continue;
    std::vector<std::string> row = {sweep::TextOf(static_cast<sweep::Place>(place)), std::to_string(sum)};
    for (const u64 count : outcomes) row.push_back(Cell(count));
    table.AddRow(std::move(row));
  }
  table.Print();
}

void PrintKnownEnds(const sweep::Tally& tally) {
  for (u32 end = 0; end < sweep::kKnownEndCount; ++end) {
    const u64 count = tally.ends[0][end] + tally.ends[1][end] + tally.ends[2][end];
    const sweep::KnownEndText text = sweep::TextOf(static_cast<sweep::KnownEnd>(end));
    if (count != 0) Print(fmt::format("  known end, {} cases: {}\n    {}\n", count, text.rule, text.outcome));
  }
}

/// What the limit left undone; empty = nothing.
std::string LimitNote(const TortureResult& result) {
  if (result.whole) return "";
  const u64 tried = result.tally.CasesAt(0) + result.faults.size();
  if (tried < result.single_cuts)
    return fmt::format("; the limit came after {} of {} single cuts", tried, result.single_cuts);
  return "; the limit came after all single cuts";
}

void PrintResult(const TortureResult& result) {
  const sweep::Tally& tally = result.tally;
  Print(fmt::format("\n{}\n", result.operation->title));
  if (!result.not_tried.empty()) return Print(fmt::format("  not tried: {}\n", result.not_tried));
  PrintPlaces(result);
  Print(fmt::format("  {} cut images: {} after one cut, {} after a second in the repair, {} chains of 3 to 6{}\n",
                    tally.images, tally.CasesAt(0), tally.CasesAt(1), tally.CasesAt(2), LimitNote(result)));
  PrintKnownEnds(tally);
  for (const std::string& fault : result.faults) Print("  FAULT " + fault + '\n');
}

/// One operation that was asked for by name and cannot be done is a job that cannot be done.
void RequireTried(const std::vector<TortureResult>& results, const std::string& section) {
  for (const TortureResult& result : results)
    if (result.not_tried.empty()) return;
  throw Failure(fmt::format("{} cannot be tried in section {}: {}", results.front().operation->name, section,
                            results.front().not_tried));
}

}  // namespace

void TakeTorture(Arguments& arguments, Options& options) {
  std::vector<std::string> names = {kAllOperations};
  for (const sweep::Operation* const operation : TortureOperations()) names.emplace_back(operation->name);
  arguments.Text("IMAGE", options.image.dump, "flash dump, as with --image")
      .Excludes(arguments.OfEveryCommand("--image"))
      .Excludes(arguments.OfEveryCommand("--psdt"));
  arguments.Choices("--operation", options.operations, names, "what is cut, or all (default: write); may be repeated");
  arguments.Text("--section", options.section, "in this section (default: the item's, or the first)");
  arguments.Item("--item", options.item, "change this item (default: a short one)");
  arguments.Number("--seconds", options.seconds, kSeconds, "for each operation (default 60; 0 = to the end)");
  arguments.Number("--cuts", options.images, kCount, "cut images of each operation (default: as the time allows)");
  arguments.Json();
}

int RunTorture(const Options& options) {
  const std::vector<const sweep::Operation*> operations = OperationsOf(options);
  const TortureSubject subject =
      LoadTortureSubject({.image = options.image, .section = options.section, .item = options.item});
  std::vector<TortureResult> results;
  u64 faults = 0;
  for (const sweep::Operation* const operation : operations) {
    Say(fmt::format("cutting {} in section {}", operation->name, subject.section));
    results.push_back(Torture(subject, *operation, {.seconds = options.seconds, .images = options.images}));
    faults += results.back().tally.faults;
    if (!options.json) PrintResult(results.back());
  }
  RequireTried(results, subject.section);
  if (options.json) {
    Print(TortureJson(subject, results));
  } else {
    Print(fmt::format("\nsection {}: {} faults; the image is as it was\n", subject.section, faults));
  }
  return Conclude(subject.losses) == kDone && faults == 0 ? kDone : kFailed;
}

}  // namespace vok::tool
