#include "section/losses_text.h"

#include <fmt/core.h>

#include <algorithm>

#include "base/terminal.h"

namespace vok::tool {

namespace {

constexpr std::string_view kNone = "none: ";

std::string NamesOrCount(const Loss& loss) {
  constexpr std::size_t kMostNames = 3;
  if (loss.items.empty()) return "";
  std::string count = CountText(loss.items.size(), "item") + " not served";
  if (loss.items.size() > kMostNames) return count;
  std::string names;
  for (const ItemKey& item : loss.items)
    names += fmt::format("{}type {} ID {}", names.empty() ? "" : ", ", item.type, item.id);
  return fmt::format("{} ({})", count, names);
}

std::string PartOf(const Loss& loss) {
  const std::string names = NamesOrCount(loss);
  const std::string block = loss.block ? fmt::format("{}block {}", names.empty() ? "" : " in ", *loss.block) : "";
  return fmt::format("{}{}{}{}", names, block, names.empty() && block.empty() ? "" : ": ", loss.why);
}

std::string TextOfRemedy(const std::string& remedy) {
  return remedy.rfind(kNone, 0) == 0 ? "no command gets them back: " + remedy.substr(kNone.size())
                                     : remedy + " gets them back";
}

template <typename Text>
void AddUnlessThere(std::vector<std::string>& list, Text text) {
  if (std::find(list.begin(), list.end(), text) == list.end()) list.push_back(std::move(text));
}

std::string Joined(const std::vector<std::string>& parts, const char* separator) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : separator) + part;
  return text;
}

/// The losses of one section, as a sentence.
std::string SectionText(const Losses& losses) {
  constexpr std::size_t kMostParts = 12;
  std::size_t count = 0;
  std::vector<std::string> parts;
  std::vector<std::string> remedies;
  for (const Loss& loss : losses) {
    count += loss.items.size();
    if (parts.size() < kMostParts) parts.push_back(PartOf(loss));
    AddUnlessThere(remedies, TextOfRemedy(loss.remedy));
  }
  if (losses.size() > kMostParts) parts.push_back(fmt::format("and {} more", losses.size() - kMostParts));
  const std::string total = losses.size() > 1 ? CountText(count, "item") + " not served in all: " : "";
  return fmt::format("section {}: {}{}; {}", losses.front().section, total, Joined(parts, ", "),
                     Joined(remedies, "; "));
}

std::vector<std::string> SectionTexts(const Losses& losses) {
  std::vector<std::string> sections;
  for (const Loss& loss : losses) AddUnlessThere(sections, loss.section);
  std::vector<std::string> texts;
  texts.reserve(sections.size());
  for (const std::string& section : sections) texts.push_back(SectionText(LossesOfSection(losses, section)));
  return texts;
}

}  // namespace

void TellLosses(const Losses& losses, const std::string& image) {
  const std::string head = image.empty() ? "" : image + ": ";
  for (const std::string& text : SectionTexts(losses)) Warn(std::string(head).append(text));
}

std::string TextOf(const Losses& losses) { return Joined(SectionTexts(losses), "; "); }

Losses LossesOfSection(const Losses& losses, const std::string& section) {
  Losses chosen;
  std::ranges::copy_if(losses, std::back_inserter(chosen),
                       [&section](const Loss& loss) { return loss.section == section; });
  return chosen;
}

Losses LossesOfItem(const Losses& losses, const ItemKey& name) {
  Losses chosen;
  for (const Loss& loss : losses) {
    if (std::find(loss.items.begin(), loss.items.end(), name) == loss.items.end()) continue;
    chosen.push_back(loss);
    chosen.back().items = {name};
  }
  return chosen;
}

Losses WithoutHidden(const Losses& losses) {
  Losses rest = losses;
  std::erase_if(rest, [](const Loss& loss) { return loss.hidden; });
  return rest;
}

}  // namespace vok::tool
