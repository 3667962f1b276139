#include <fmt/core.h>

#include <algorithm>

#include "answer/json.h"
#include "answer/report.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/contents.h"
#include "section/mounting.h"

namespace vok::tool {

namespace {

/// A section whose repair mount fails is not repaired at all, since the repair then writes nothing.
void ForeseeRepair(SectionReport& report) {
  if (report.findings.empty() || report.code == code::kOk) return;
  const u16 code = TryRepairMount(*report.section);
  if (code == code::kOk) return;
  for (Finding& finding : report.findings) finding.repair = fmt::format("cannot be repaired ({})", ErrorText(code));
}

}  // namespace

void TakeCheck(Arguments& arguments, Options&) {
  arguments.Json();
  arguments.Rebuilt();
  arguments.ManyImages(ManyUse::kOptions, "IMAGE");
}

int RunCheck(const Options& options) {
  ReadImage image(options.image, Look::kAsItLies);
  image.ShowAllBlocks();
  std::vector<SectionReport> reports = InspectSections(image.sections());
  const SectionList mounted = CheckMountSections();
  for (std::size_t i = 0; i < reports.size(); ++i) {
    reports[i].code = mounted.accepted[i].mount_code;
    if (!image.HasPartition(mounted.accepted[i])) {
      reports[i].code = code::kUninitialized;
      continue;
    }
    if (reports[i].code == code::kOk) CompareFigures(mounted.accepted[i], reports[i].findings);
    ForeseeRepair(reports[i]);
  }
  const bool clean = IsClean(reports) && std::ranges::none_of(image.losses(), &Loss::outside);
  if (options.json) {
    Print(ReportJson(image.version(), clean, reports, image.losses()));
  } else {
    PrintReport(reports);
    PrintPsdtFindings(image.losses());
    Print(clean ? "\nclean\n" : "\nnot clean\n");
  }
  return Conclude(image.losses()) == kDone && clean ? kDone : kFailed;
}

}  // namespace vok::tool
