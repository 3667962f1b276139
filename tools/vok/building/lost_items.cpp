#include "building/lost_items.h"

#include <fmt/core.h>

#include "base/failure.h"
#include "base/terminal.h"
#include "section/losses_text.h"

namespace vok::tool {

namespace {

/// "section CPGA block 2 loses 26 items, section TUNA block 0 loses 1 item"
std::string DropText(const Losses& losses) {
  std::string text;
  for (const Loss& loss : losses)
    if (loss.dropped)
      text +=
          fmt::format("{}section {}{} loses {}", text.empty() ? "" : ", ", loss.section,
                      loss.block ? fmt::format(" block {}", *loss.block) : "", CountText(loss.items.size(), "item"));
  return text;
}

Losses NotDropped(const Losses& losses) {
  Losses rest = losses;
  std::erase_if(rest, [](const Loss& loss) { return loss.dropped; });
  return rest;
}

}  // namespace

void RequireNothingDropped(const Losses& losses, AcceptLoss accept) {
  const std::string dropped = DropText(losses);
  if (dropped.empty() || accept == AcceptLoss::kYes) return;
  throw Failure(
      fmt::format("nothing changed: by the repair that comes before a change {}; vok repair --rebuild keeps "
                  "them, --accept-loss gives them up",
                  dropped));
}

void WriteChanged(const LoadedImage& image, const Claim& claim, const Losses& losses) {
  const std::string dropped = DropText(losses);
  if (dropped.empty()) {
    claim.Write(image.CurrentBytes());
  } else {
    const std::string kept = claim.WriteKeeping(image.original(), image.CurrentBytes());
    Warn(fmt::format("{}; vok repair --rebuild on the original{} brings them back", dropped,
                     kept.empty() ? "" : ", kept as " + kept + ','));
  }
  TellLosses(NotDropped(losses));
}

}  // namespace vok::tool
