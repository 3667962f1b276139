#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "answer/change_json.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/folder_changes.h"
#include "command/arguments.h"
#include "command/commands.h"

namespace vok::tool {

namespace {

/// By section, type and ID, whatever the order in which they are made.
std::vector<ItemDifference> DifferencesOf(const std::vector<FolderChange>& changes) {
  std::vector<ItemDifference> differences;
  differences.reserve(changes.size());
  for (const FolderChange& change : changes)
    differences.push_back({.section = change.section,
                           .before = change.before ? &*change.before : nullptr,
                           .after = change.after ? &*change.after : nullptr});
  const auto key = [](const ItemDifference& difference) {
    const ItemEntry& item = difference.after != nullptr ? *difference.after : *difference.before;
    return std::tuple(difference.section, item.type, item.id);
  };
  std::sort(differences.begin(), differences.end(),
            [&](const ItemDifference& a, const ItemDifference& b) { return key(a) < key(b); });
  return differences;
}

std::string LengthOf(const ItemEntry* item) { return item != nullptr ? std::to_string(item->length) : "-"; }

void PrintChanges(const std::vector<ItemDifference>& changes) {
  using Align = Table::Align;
  Table table({{"CHANGE"},
               {"SECTION"},
               {"TYPE", Align::kRight},
               {"ID", Align::kRight},
               {"LENGTH BEFORE", Align::kRight},
               {"AFTER", Align::kRight}});
  for (const auto& [section, before, after, bytes] : changes) {
    const ItemEntry& item = after != nullptr ? *after : *before;
    table.AddRow({before == nullptr  ? "added"
                  : after == nullptr ? "removed"
                                     : "changed",
                  section, std::to_string(item.type), std::to_string(item.id), LengthOf(before), LengthOf(after)});
  }
  table.Print();
}

void PrintAnswer(const Options& options, const FolderChanges& found, const Losses& losses) {
  const std::vector<ItemDifference> changes = DifferencesOf(found.changes);
  if (options.json) return Print(AppliedJson(changes, DifferencesOf(found.kept), options.dry_run, losses));
  if (!changes.empty()) PrintChanges(changes);
  Print(fmt::format("{} item{} {}\n", changes.size(), changes.size() == 1 ? "" : "s",
                    options.dry_run ? "would change" : "changed"));
  if (!found.kept.empty())
    Print(fmt::format("{} items of the image are not in {}; --delete removes them\n", found.kept.size(),
                      options.directory));
}

}  // namespace

void TakeApply(Arguments& arguments, Options& options) {
  arguments.Text("DIR", options.directory, "directory with a manifest.json").Required();
  arguments.Flag("--delete", options.remove, "also remove items whose file is gone");
  arguments.Flag("--dry-run", options.dry_run, "show what would change, and change nothing");
  arguments.ChangedOutput();
  arguments.Json();
}

int RunApply(const Options& options) {
  std::optional<Claim> claim;
  if (!options.dry_run) claim.emplace(options.image, DestinationOf(options));
  ChangedImage image(options.image, AcceptLoss{options.accept_loss});
  const std::vector<PackedSection> folder =
      Manifest(options.directory).ReadItems(image.sections(), {.edits = true, .missing = true});
  const FolderChanges found = CompareWithFolder(image.sections(), folder, options.remove ? Unheld::kGo : Unheld::kStay);
  if (claim) {
    MakeFolderChanges(image, found.changes);
    if (!found.changes.empty() || !claim->IsInPlace()) image.Save(*claim);
  }
  PrintAnswer(options, found, image.losses());
  return kDone;
}

}  // namespace vok::tool
