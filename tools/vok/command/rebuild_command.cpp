#include <algorithm>

#include "answer/change_json.h"
#include "answer/rebuild_report.h"
#include "base/terminal.h"
#include "command/commands.h"
#include "command/conclude.h"
#include "section/losses_text.h"

namespace vok::tool {

namespace {

std::vector<RebuiltSection> SalvageNamed(const SectionList& sections, const std::string& name) {
  if (name.empty()) return SalvageSections(sections);
  return {SalvageSection(FindSection(sections, name))};
}

/// The deleted items and the damaged ones are not in the new bytes any more, so that the old ones stay.
/// @return what was done, in words
std::string WriteRebuilt(const LoadedImage& image, const Claim& claim) {
  const std::string kept = claim.WriteKeeping(image.original(), image.CurrentBytes());
  return "wrote " + claim.path() + (kept.empty() ? "" : ", kept " + kept);
}

/// What of the rebuilt sections is lost now, and what lies outside of all; which of several copies was taken is told
/// anyway.
Losses LossesAfter(const LoadedImage& image, const std::vector<RebuiltSection>& sections) {
  Losses losses = image.holdings().FindStrayLosses();
  for (const Section& passed : image.sections().passed_over)
    std::ranges::move(image.holdings().FindLosses(passed), std::back_inserter(losses));
  for (const RebuiltSection& rebuilt : sections) {
    Section mounted = *rebuilt.section;
    mounted.mount_code = code::kOk;
    std::ranges::move(WithoutHidden(image.holdings().FindLosses(mounted)), std::back_inserter(losses));
  }
  return losses;
}

}  // namespace

int RunRebuild(const Options& options) {
  const Claim claim(options.image, DestinationOf(options));
  const LoadedImage image(options.image);
  RequireSetUp(image.sections());
  const std::vector<RebuiltSection> sections = SalvageNamed(image.sections(), options.section);
  Rebuild(image, sections);
  const Losses losses = LossesAfter(image, sections);
  const std::string what = WriteRebuilt(image, claim);
  if (options.json) {
    Print(RebuiltJson(image.version(), sections, losses));
  } else {
    PrintRebuilt(sections);
    Print('\n' + what + '\n');
  }
  return Conclude(losses);
}

}  // namespace vok::tool
