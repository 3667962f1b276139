#include "case_id.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace vok::sweep {

namespace {

constexpr std::size_t kFixedParts = 4;

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

u32 Number(const std::string& text) { return static_cast<u32>(std::strtoul(text.c_str(), nullptr, 10)); }

/// The number behind a letter, 0 when the letter is another.
u32 NumberAfter(char letter, const std::string& text) {
  return !text.empty() && text[0] == letter ? Number(text.substr(1)) : 0;
}

}  // namespace

std::string IdOf(const Scenario& scenario, const std::vector<CutPoint>& cuts) {
  std::ostringstream id;
  id << 'v' << scenario.geometry.version << '/' << scenario.operation->name << '/' << TextOf(scenario.fill) << "/s"
     << scenario.seed;
  for (CutPoint cut : cuts) id << '/' << cut.step << '.' << cut.tear;
  return id.str();
}

std::optional<CaseId> ParseCaseId(const std::string& text) {
  const std::vector<std::string> parts = Split(text, '/');
  if (parts.size() <= kFixedParts) return {};
  CaseId id{.version = NumberAfter('v', parts[0]), .seed = NumberAfter('s', parts[3])};
  const auto operation = std::find_if(Operations().begin(), Operations().end(),
                                      [&](const Operation& candidate) { return candidate.name == parts[1]; });
  const auto fill =
      std::find_if(kFills.begin(), kFills.end(), [&](Fill candidate) { return TextOf(candidate) == parts[2]; });
  if (id.version < 1 || id.version > 3 || operation == Operations().end() || fill == kFills.end()) return {};
  id.operation = &*operation;
  id.fill = *fill;
  for (std::size_t i = kFixedParts; i < parts.size(); ++i) {
    const std::vector<std::string> cut = Split(parts[i], '.');
    if (cut.size() != 2) return {};
    id.cuts.push_back({Number(cut[0]), Number(cut[1])});
  }
  return id;
}

}  // namespace vok::sweep
