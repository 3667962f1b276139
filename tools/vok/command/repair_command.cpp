#include <fmt/core.h>

#include <algorithm>

#include "answer/json.h"
#include "answer/report.h"
#include "base/terminal.h"
#include "building/lost_items.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "image/image.h"
#include "section/losses_text.h"
#include "section/mounting.h"

namespace vok::tool {

namespace {

/// A section that does not mount may still hold items.
void RequireRepaired(const SectionList& mounted, const Losses& losses) {
  for (const Section& section : mounted.accepted) {
    if (!IsMountable(section)) continue;
    std::size_t count = 0;
    for (const Loss& loss : LossesOfSection(losses, section.name)) count += loss.items.size();
    RequireMounted(section, count == 0 ? "" : fmt::format("; vok repair --rebuild gets {} items out of it", count));
  }
}

/// @return what was done, to begin a sentence with
std::string WriteRepaired(const LoadedImage& image, const Claim& claim, const Losses& losses) {
  if (claim.IsInPlace() && !image.HasChanged()) {
    TellLosses(losses);
    return "nothing to repair; ";
  }
  WriteChanged(image, claim, losses);
  return "wrote " + claim.path() + "; ";
}

}  // namespace

void TakeRepair(Arguments& arguments, Options& options) {
  const Argument rebuild =
      arguments.Flag("--rebuild", options.rebuild, "build the sections anew from every Valid copy in them instead");
  arguments.Section("with --rebuild: this section only").Needs(rebuild);
  arguments.ChangedOutput("write the repaired image to FILE (default: in place)");
  arguments.Json();
  arguments.ManyImages(ManyUse::kOptions);
  arguments.Check([&options] {
    if (options.many.IsAsked() && !options.output.empty()) throw WrongCommandLine("-o takes one image only");
  });
}

int RunRepair(const Options& options) {
  if (options.rebuild) return RunRebuild(options);
  const Claim claim(options.image, DestinationOf(options));
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  RequireApart(image.sections());
  std::vector<SectionReport> reports = InspectSections(image.sections());
  const SectionList mounted = MountSections(MountPurpose::kRepair);
  const Losses losses = image.holdings().FindLosses(mounted);
  RequireRepaired(mounted, losses);
  RequireNothingDropped(losses, AcceptLoss{options.accept_loss});
  for (std::size_t i = 0; i < reports.size(); ++i) reports[i].code = mounted.accepted[i].mount_code;

  std::vector<SectionReport> left = InspectSections(mounted);
  const SectionList checked = CheckMountSections();
  for (std::size_t i = 0; i < left.size(); ++i) left[i].code = checked.accepted[i].mount_code;

  const bool clean = IsClean(left) && std::ranges::none_of(losses, &Loss::outside);
  const std::string what =
      WriteRepaired(image, claim, losses) + (clean ? "clean now" : "a check still finds something");
  if (options.json) {
    Print(ReportJson(image.version(), clean, reports, losses));
  } else {
    PrintReport(reports);
    Print('\n' + what + '\n');
  }
  return clean ? kDone : kFailed;
}

}  // namespace vok::tool
