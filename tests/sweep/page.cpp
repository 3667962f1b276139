#include "page.h"

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace vok::sweep {

namespace {

/// A number with its digits in groups of three.
std::string Digits(u64 number) {
  std::string reversed;
  for (u32 digits = 0; number != 0 || digits == 0; ++digits, number /= 10) {
    if (digits != 0 && digits % 3 == 0) reversed += ' ';
    reversed += static_cast<char>('0' + number % 10);
  }
  return {reversed.rbegin(), reversed.rend()};
}

std::string Cell(u64 count) { return count != 0 ? Digits(count) : ""; }

void AddRow(std::ostream& out, const char* operation, const char* place, const Tally::Outcomes& outcomes) {
  u64 sum = 0;
  for (u64 count : outcomes) sum += count;
  if (sum == 0) return;
  out << "| " << operation << " | " << place << " | " << Digits(sum);
  for (u64 count : outcomes) out << " | " << Cell(count);
  out << " |\n";
}

void AddHead(std::ostream& out, const char* first) {
  out << "| " << first << " | the cut step writes | cuts";
  for (u32 outcome = 0; outcome < kOutcomeCount; ++outcome) out << " | " << TextOf(static_cast<Outcome>(outcome));
  out << " |\n|---|---|--:";
  for (u32 outcome = 0; outcome < kOutcomeCount; ++outcome) out << "|--:";
  out << "|\n";
}

std::string OperationTable(const Tally& tally) {
  std::ostringstream out;
  AddHead(out, "operation");
  for (const Operation& operation : Operations())
    for (u32 place = 0; place < kPlaceCount; ++place)
      AddRow(out, operation.title, TextOf(static_cast<Place>(place)), tally.cases[0][IndexOf(operation)][place]);
  return out.str();
}

/// The repair mount, by what the last cut step of it was writing, over all operations that were cut before.
std::string RepairTable(const Tally& tally) {
  std::ostringstream out;
  AddHead(out, "repair mount after");
  for (u32 depth = 1; depth < kDepths; ++depth) {
    for (u32 place = 0; place < kPlaceCount; ++place) {
      Tally::Outcomes sum{};
      for (const auto& operation : tally.cases[depth])
        for (u32 outcome = 0; outcome < kOutcomeCount; ++outcome) sum[outcome] += operation[place][outcome];
      AddRow(out, depth == 1 ? "one cut" : "two to five cuts", TextOf(static_cast<Place>(place)), sum);
    }
  }
  return out.str();
}

std::string KnownEndTable(const Tally& tally) {
  std::ostringstream out;
  out << "| step and bits | outcome | one cut | two cuts | chains |\n|---|---|--:|--:|--:|\n";
  for (u32 end = 0; end < kKnownEndCount; ++end) {
    const KnownEndText text = TextOf(static_cast<KnownEnd>(end));
    out << "| " << text.rule << " | " << text.outcome;
    for (u32 depth = 0; depth < kDepths; ++depth) out << " | " << Digits(tally.ends[depth][end]);
    out << " |\n";
  }
  return out.str();
}

using Marks = std::map<std::string, std::string>;

void AddCounts(Marks& marks, const std::string& prefix, const Tally& tally) {
  marks[prefix + "IMAGES"] = Digits(tally.images);
  marks[prefix + "FIRST"] = Digits(tally.CasesAt(0));
  marks[prefix + "PAIRS"] = Digits(tally.CasesAt(1));
  marks[prefix + "CHAINS"] = Digits(tally.CasesAt(2));
  marks[prefix + "REBUILDS"] = Digits(tally.rebuilds);
  marks[prefix + "FAULTS"] = Digits(tally.faults);
}

std::string FillIn(std::string text, const Marks& marks) {
  for (const auto& [name, value] : marks) {
    const std::string mark = std::string("@").append(name).append("@");
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + value.size()))
      text.replace(at, mark.size(), value);
  }
  return text;
}

}  // namespace

bool WritePage(const std::string& path, const Tally& fast, const Tally& whole) {
  std::ifstream file(VOK_SWEEP_TEMPLATE);
  std::ostringstream text;
  text << file.rdbuf();
  Marks marks = {
      {"OPERATIONS", OperationTable(whole)}, {"REPAIRS", RepairTable(whole)}, {"KNOWN_ENDS", KnownEndTable(whole)}};
  AddCounts(marks, "FAST_", fast);
  AddCounts(marks, "WHOLE_", whole);
  std::ofstream page(path);
  page << FillIn(text.str(), marks);
  return file.good() && page.flush().good();
}

}  // namespace vok::sweep
