#include <fmt/core.h>

#include <algorithm>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/platform.h"
#include "base/terminal.h"
#include "building/changed_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/items.h"
#include "vok/store.h"

namespace vok::tool {

namespace {

std::string RangeText(const NumberRange& range) {
  return range.IsOne() ? std::to_string(range.first) : fmt::format("{} to {}", range.first, range.last);
}

std::size_t CountItems(const Section& section, const NumberRange& types, const NumberRange& ids) {
  const std::vector<ItemEntry> items = ListSection(section);
  return static_cast<std::size_t>(std::count_if(
      items.begin(), items.end(), [&](const ItemEntry& item) { return types.Holds(item.type) && ids.Holds(item.id); }));
}

void RequireConsent(const Options& options, std::size_t count, const std::string& what) {
  if (count == 0 || options.yes || Confirm(fmt::format("Delete {} items ({})?", count, what))) return;
  const char* const why =
      platform::InputIsTerminal() ? "not confirmed" : "standard input is no terminal to ask on; --yes does not ask";
  throw Failure(fmt::format("nothing deleted: {}", why));
}

void RequireDeleted(u16 code, const std::string& what, const Section& section) {
  if (code == code::kOk) return;
  const char* const why = code == code::kReadOnly       ? " is read-only"
                          : code == code::kItemNotFound ? " has no such item"
                                                        : "";
  throw Failure(fmt::format("cannot delete {}: section {}{}", what, section.name, why), code);
}

/// @return how many items went
std::size_t DeleteIds(const Options& options, const ChangedImage& image) {
  const std::string what = fmt::format("item type {} ID {}", options.type, RangeText(options.ids));
  const Section& section = SectionOfType(image.sections(), options.type, "cannot delete " + what);
  if (options.ids.IsOne()) {
    RequireDeleted(DeleteItem(section.partition(), options.type, options.ids.first), what, section);
    return 1;
  }
  const std::size_t count = CountItems(section, {.first = options.type, .last = options.type}, options.ids);
  RequireConsent(options, count, what);
  RequireDeleted(DeleteItemRange(section.partition(), options.type, options.ids.first, options.ids.last), what,
                 section);
  return count;
}

/// What a type range meets in one section.
struct SectionHit {
  const Section* section;
  std::size_t count;
};

/// The sections that hold items to delete. One that is read-only stops the job before anything is changed, unless it is
/// left out by naming another.
std::vector<SectionHit> HitsOf(const Options& options, const SectionList& sections, const std::string& what) {
  const Section* const only = options.section.empty() ? nullptr : &FindSection(sections, options.section);
  if (only != nullptr) RequireMounted(*only);
  constexpr NumberRange kAllIds = {.first = 0, .last = 0xFFFF};
  std::vector<SectionHit> hits;
  for (const Section& section : sections.accepted) {
    if (!section.IsMounted() || (only != nullptr && &section != only)) continue;
    const std::size_t count = CountItems(section, options.types, kAllIds);
    if (count == 0) continue;
    if (section.IsReadOnly())
      throw Failure(fmt::format("cannot delete {}: section {} is read-only and holds {} of them; --section names one",
                                what, section.name, count),
                    code::kReadOnly);
    hits.push_back({.section = &section, .count = count});
  }
  return hits;
}

std::size_t DeleteTypes(const Options& options, const ChangedImage& image) {
  const std::string what = fmt::format("items of the types {}", RangeText(options.types));
  const std::vector<SectionHit> hits = HitsOf(options, image.sections(), what);
  if (hits.empty()) throw Failure(fmt::format("cannot delete {}: there are none", what));
  std::size_t count = 0;
  for (const SectionHit& hit : hits) count += hit.count;
  RequireConsent(options, count, what);
  for (const SectionHit& hit : hits)
    RequireDeleted(DeleteTypeRange(hit.section->partition(), options.types.first, options.types.last), what,
                   *hit.section);
  return count;
}

}  // namespace

void TakeDelete(Arguments& arguments, Options& options) {
  const Argument type = arguments.Number("TYPE", options.type, kTypeOrId, "item type");
  const Argument ids = arguments.Range("ID", options.ids, kId, "item ID, or FIRST-LAST");
  const Argument types = arguments.Range("--types", options.types, kItemType, "delete every item of these types")
                             .Excludes(type)
                             .Excludes(ids);
  arguments.Text("--section", options.section, "with --types: in this section only").Needs(types);
  arguments.Flag("--yes", options.yes, "do not ask before a range");
  arguments.ChangedOutput();
  arguments.Json();
  arguments.Check([&options] {
    if (options.ids.IsEmpty() && options.types.IsEmpty())
      throw WrongCommandLine("delete needs TYPE and ID, or --types");
  });
}

int RunDelete(const Options& options) {
  const Claim claim(options.image, DestinationOf(options));
  ChangedImage image(options.image, AcceptLoss{options.accept_loss});
  const std::size_t count = options.types.IsEmpty() ? DeleteIds(options, image) : DeleteTypes(options, image);
  image.Save(claim);
  if (options.json) {
    Print(DeletedJson(count, image.losses()));
  } else {
    Print(fmt::format("{} {} deleted\n", count, count == 1 ? "item" : "items"));
  }
  return kDone;
}

}  // namespace vok::tool
