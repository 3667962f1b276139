#include <fmt/core.h>

#include <algorithm>
#include <set>

#include "answer/find_json.h"
#include "base/search_pattern.h"
#include "base/table.h"
#include "base/terminal.h"
#include "building/read_image.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "command/conclude.h"

namespace vok::tool {

namespace {

bool IsHex(const Options& options) {
  return options.hex || options.pattern.starts_with("0x") || options.pattern.starts_with("0X");
}

std::vector<SearchPattern> PatternsOf(const Options& options) {
  if (!IsHex(options)) return TextPatterns(options.pattern, options.any_case);
  return {{.as = "hex", .bytes = BytesOfHex(options.pattern), .any_case = false}};
}

/// The bytes about a place, what is no printable character as a dot.
std::string Excerpt(const Bytes& bytes, std::size_t place, std::size_t length) {
  constexpr std::size_t kAround = 12;
  const std::size_t first = place - std::min(place, kAround);
  const std::size_t last = std::min(bytes.size(), place + std::min<std::size_t>(length, 3 * kAround) + kAround);
  std::string text(bytes.begin() + static_cast<std::ptrdiff_t>(first),
                   bytes.begin() + static_cast<std::ptrdiff_t>(last));
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
  return text;
}

std::vector<FoundItem> FindIn(const SectionList& sections, const std::vector<SearchPattern>& patterns) {
  std::vector<FoundItem> found;
  for (const Section& section : sections.accepted) {
    if (!section.IsMounted()) continue;
    VisitItems(section, [&](const ItemEntry& item, const Bytes& bytes) {
      for (const SearchPattern& pattern : patterns)
        if (std::vector<u32> offsets = FindAll(bytes, pattern); !offsets.empty()) {
          std::string excerpt = Excerpt(bytes, offsets.front(), pattern.bytes.size());
          found.push_back({&section, item, pattern.as, std::move(offsets), std::move(excerpt)});
        }
    });
  }
  return found;
}

void PrintFound(const std::vector<FoundItem>& found) {
  using Align = Table::Align;
  Table table({{"SECTION"},
               {"TYPE", Align::kRight},
               {"ID", Align::kRight},
               {"LENGTH", Align::kRight},
               {"AS"},
               {"TIMES", Align::kRight},
               {"FIRST AT", Align::kRight},
               {"THERE"}});
  std::set<std::tuple<const Section*, u16, u16>> items;
  for (const auto& [section, item, as, offsets, excerpt] : found) {
    table.AddRow({section->name, std::to_string(item.type), std::to_string(item.id), std::to_string(item.length), as,
                  std::to_string(offsets.size()), std::to_string(offsets.front()), excerpt});
    items.insert({section, item.type, item.id});
  }
  if (!found.empty()) table.Print();
  Print(fmt::format("{} item{} hold{} it\n", items.size(), items.size() == 1 ? "" : "s", items.size() == 1 ? "s" : ""));
}

}  // namespace

void TakeFind(Arguments& arguments, Options& options) {
  arguments.Text("TEXT|HEX", options.pattern, "text, looked for as UTF-8 and UTF-16, or bytes as 0x...").Required();
  const Argument hex = arguments.Flag("--hex", options.hex, "hexadecimal digits without 0x");
  arguments.Flag("-i,--ignore-case", options.any_case, "letters A to Z match in either case").Excludes(hex);
  arguments.Json();
  arguments.Rebuilt();
  arguments.Footer("Exit status: 0 found, 1 nothing found, or items are lost in which nothing can be found.");
  arguments.Check([&options] {
    if (options.pattern.empty()) throw WrongCommandLine("nothing to look for");
    if (IsHex(options) && BytesOfHex(options.pattern).empty())
      throw WrongCommandLine(fmt::format("'{}' is not pairs of hexadecimal digits", options.pattern));
  });
}

int RunFind(const Options& options) {
  const ReadImage image(options.image);
  const std::vector<FoundItem> found = FindIn(image.sections(), PatternsOf(options));
  if (options.json) {
    Print(FoundJson(image.version(), found, image.losses()));
  } else {
    PrintFound(found);
  }
  const int status = Conclude(image.losses());
  return found.empty() ? kFailed : status;
}

}  // namespace vok::tool
