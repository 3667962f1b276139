#include <fmt/core.h>

#include <array>
#include <cstdio>

#include "answer/change_json.h"
#include "base/failure.h"
#include "base/terminal.h"
#include "building/image_items.h"
#include "command/arguments.h"
#include "command/commands.h"
#include "section/losses_text.h"

namespace vok::tool {

namespace {

/// Both maps are in the same order, so that one walk meets equal names side by side. What one of them has lost is no
/// difference: it cannot be compared.
std::vector<ItemDifference> Compare(const ImageContents& first, const ImageContents& second) {
  const ImageItems& a = first.items;
  const ImageItems& b = second.items;
  std::vector<ItemDifference> differences;
  auto before = a.begin();
  auto after = b.begin();
  while (before != a.end() || after != b.end()) {
    if (after == b.end() || (before != a.end() && before->first < after->first)) {
      if (!second.HasLost(before->first))
        differences.push_back({.section = before->first.section, .before = &before->second.entry, .after = nullptr});
      ++before;
    } else if (before == a.end() || after->first < before->first) {
      if (!first.HasLost(after->first))
        differences.push_back({.section = after->first.section, .before = nullptr, .after = &after->second.entry});
      ++after;
    } else {
      if (before->second.bytes != after->second.bytes)
        differences.push_back({.section = before->first.section,
                               .before = &before->second.entry,
                               .after = &after->second.entry,
                               .bytes = CompareBytes(before->second.bytes, after->second.bytes)});
      ++before;
      ++after;
    }
  }
  return differences;
}

std::string LineOf(char sign, const std::string& section, const ItemEntry& item, const std::string& lengths) {
  return fmt::format("{} {} type {} ID {}, {} bytes\n", sign, section, item.type, item.id, lengths);
}

std::string LineOf(const ItemDifference& difference) {
  const auto& [section, before, after, bytes] = difference;
  if (before == nullptr) return LineOf('+', section, *after, std::to_string(after->length));
  if (after == nullptr) return LineOf('-', section, *before, std::to_string(before->length));
  return LineOf('~', section, *after, fmt::format("{} -> {}", before->length, after->length));
}

void PrintDifference(const ItemDifference& difference, bool with_bytes) {
  Print(LineOf(difference));
  if (!with_bytes) return;
  for (const ByteDifference& bytes : difference.bytes) Print("    " + TextOf(bytes) + '\n');
}

int PrintDifferences(const Options& options) {
  const ImageContents a = ReadContents(options.first_image, options.image);
  const ImageContents b = ReadContents(options.second_image, options.image);
  const std::vector<ItemDifference> differences = Compare(a, b);
  const std::array<ImageLosses, 2> losses = {
      {{.image = options.first_image, .losses = &a.losses}, {.image = options.second_image, .losses = &b.losses}}};
  if (options.json) Print(DifferencesJson(differences, losses, options.bytes));
  if (!options.json)
    for (const ItemDifference& difference : differences) PrintDifference(difference, options.bytes);
  for (const ImageLosses& image : losses) TellLosses(*image.losses, image.image);
  if (!WithoutHidden(a.losses).empty() || !WithoutHidden(b.losses).empty()) return kTrouble;
  return differences.empty() ? kDone : kFailed;
}

int Trouble(const std::string& what, u16 code = code::kOk) {
  std::fputs(FailureLine(what, code).c_str(), stderr);
  return kTrouble;
}

}  // namespace

void TakeDiff(Arguments& arguments, Options& options) {
  const std::string operand = "dump, unpacked directory, PSDT+CODEPLUG, or a codeplug with --psdt";
  arguments.Text("A", options.first_image, operand).Required();
  arguments.Text("B", options.second_image, operand);
  arguments.Flag("--bytes", options.bytes, "also show where changed items differ");
  arguments.Json();
  arguments.Rebuilt();
  arguments.ManyImages(ManyUse::kCompared);
  arguments.Check([&options] {
    if (options.second_image.empty() != options.many.IsAsked())
      throw WrongCommandLine("diff compares A with B, or with each of many images");
  });
  arguments.Footer("Exit status: 0 the same items, 1 others, 2 trouble.");
}

int RunDiff(const Options& options) {
  try {
    return PrintDifferences(options);
  } catch (const Failure& failure) {
    return Trouble(failure.what(), failure.code());
  } catch (const std::exception& error) {
    return Trouble(error.what());
  }
}

}  // namespace vok::tool
