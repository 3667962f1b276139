#include "base/nearest.h"

#include <fmt/core.h>

#include <algorithm>
#include <vector>

namespace vok::tool {

namespace {

/// How many letters are missing, too many, wrong or swapped with the next one.
std::size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<std::size_t>> rows(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) {
    for (std::size_t j = 0; j <= b.size(); ++j) {
      rows[i][j] = i + j;
      if (i == 0 || j == 0) continue;
      const std::size_t wrong = a[i - 1] == b[j - 1] ? 0 : 1;
      rows[i][j] = std::min({rows[i - 1][j] + 1, rows[i][j - 1] + 1, rows[i - 1][j - 1] + wrong});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        rows[i][j] = std::min(rows[i][j], rows[i - 2][j - 2] + 1);
    }
  }
  return rows[a.size()][b.size()];
}

}  // namespace

std::string Nearest(const std::string& text, std::span<const std::string> words) {
  constexpr std::size_t kLongest = 40;
  constexpr std::size_t kLettersPerSlip = 3;
  if (text.empty() || text.size() > kLongest) return "";
  std::string nearest;
  std::size_t least = std::max<std::size_t>(text.size() / kLettersPerSlip, 1) + 1;
  for (const std::string& word : words) {
    if (word.starts_with(text)) return word;
    const std::size_t distance = Distance(text, word);
    if (distance >= least) continue;
    nearest = word;
    least = distance;
  }
  return nearest;
}

std::string DidYouMean(const std::string& text, std::span<const std::string> words) {
  const std::string nearest = Nearest(text, words);
  return nearest.empty() ? "" : fmt::format("; did you mean '{}'?", nearest);
}

}  // namespace vok::tool
