#include "answer/report.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/failure.h"
#include "base/table.h"
#include "base/terminal.h"
#include "section/contents.h"
#include "section/mounting.h"

namespace vok::tool {

namespace {

std::string MountText(const SectionReport& report) {
  if (report.code == code::kOk) return "yes";
  return fmt::format("no ({})", ErrorText(report.code));
}

bool IsNote(const Finding& finding) { return finding.severity() == Severity::kNote; }

std::string SlotsText(const Finding& finding) {
  if (!finding.slot) return "-";
  return finding.count == 1 ? std::to_string(*finding.slot) : fmt::format("{}-{}", *finding.slot, finding.last_slot);
}

void PrintFindings(std::span<const SectionReport> reports) {
  using Align = Table::Align;
  Table table({{"SECTION"}, {"BLOCK", Align::kRight}, {"SLOT", Align::kRight}, {"CODE"}, {"FOUND"}, {"REPAIR"}});
  for (const SectionReport& report : reports)
    for (const Finding& finding : report.findings)
      table.AddRow({report.section->name, std::to_string(finding.block), SlotsText(finding), KindOf(finding.code).code,
                    finding.what, finding.repair});
  table.Print();
}

}  // namespace

std::vector<SectionReport> InspectSections(const SectionList& sections) {
  std::vector<SectionReport> reports;
  for (const Section& section : sections.accepted)
    reports.push_back({.section = &section, .code = code::kUnmounted, .findings = ExamineSection(section)});
  return reports;
}

bool IsClean(std::span<const SectionReport> reports) {
  return std::all_of(reports.begin(), reports.end(), [](const SectionReport& report) {
    return !IsMountable(*report.section) || (report.code == code::kOk && std::ranges::all_of(report.findings, IsNote));
  });
}

void PrintReport(std::span<const SectionReport> reports) {
  Table table({{"SECTION"}, {"BLOCKS", Table::Align::kRight}, {"FINDINGS", Table::Align::kRight}, {"MOUNTS"}});
  bool has_findings = false;
  for (const SectionReport& report : reports) {
    table.AddRow({report.section->name, std::to_string(report.section->entry.block_count),
                  std::to_string(report.findings.size()), MountText(report)});
    has_findings = has_findings || !report.findings.empty();
  }
  table.Print();
  if (!has_findings) return;
  Print("\n");
  PrintFindings(reports);
}

void PrintPsdtFindings(const Losses& losses) {
  for (const Loss& loss : losses)
    if (loss.outside)
      Print(fmt::format("\n{}: section {}, {}: {}\n", KindOf(FindingCode::kPsdt).code, loss.section,
                        CountText(loss.items.size(), "item"), loss.why));
}

}  // namespace vok::tool
