#include "commands.h"
#include "image.h"
#include "json.h"
#include "mounting.h"
#include "report.h"
#include "terminal.h"

namespace vok::tool {

namespace {

/// @return what was done, to begin a sentence with
std::string WriteRepaired(const LoadedImage& image, const std::string& output) {
  if (output.empty() && !image.HasChanged()) return "nothing to repair; ";
  const std::string& target = output.empty() ? image.changed_path() : output;
  ReplaceFile(target, image.CurrentBytes());
  return "wrote " + target + "; ";
}

}  // namespace

int RunRepair(const Options& options) {
  if (options.rebuild) return RunRebuild(options);
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  std::vector<SectionReport> reports = InspectSections(image.sections());
  const SectionList mounted = MountSections(MountPurpose::kRepair);
  RequireAllMounted(mounted);
  for (std::size_t i = 0; i < reports.size(); ++i) reports[i].code = mounted.accepted[i].mount_code;

  std::vector<SectionReport> left = InspectSections(mounted);
  const SectionList checked = CheckMountSections();
  for (std::size_t i = 0; i < left.size(); ++i) left[i].code = checked.accepted[i].mount_code;

  const bool clean = IsClean(left);
  const std::string what =
      WriteRepaired(image, options.output) + (clean ? "clean now" : "a check still finds something");
  if (options.json) {
    Print(ReportJson(image.version(), clean, reports));
  } else {
    PrintReport(reports);
    Print('\n' + what + '\n');
  }
  return kDone;
}

}  // namespace vok::tool
