#include "tools/usage/Nearest.h"

#include <algorithm>

namespace quarnet::usage {
namespace {

constexpr std::size_t kMostErrors = 2;

/// How many letters must be changed, added, removed or exchanged with the next one.
std::size_t distance(std::string_view one, std::string_view other) {
  std::vector<std::vector<std::size_t>> d(one.size() + 1,
                                          std::vector<std::size_t>(other.size() + 1));
  for (std::size_t i = 0; i <= one.size(); ++i) {
    for (std::size_t j = 0; j <= other.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = i + j;
        continue;
      }
      const std::size_t change = one[i - 1] == other[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + change});
      const bool isExchanged =
          i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
      if (isExchanged) d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[one.size()][other.size()];
}

/// More than kMostErrors for a word that was not meant.
std::size_t errors(std::string_view word, const std::string& meant) {
  if (word.empty()) return kMostErrors + 1;
  if (meant.starts_with(word)) return 1;
  if (word.size() > meant.size() + kMostErrors) return kMostErrors + 1;
  const std::size_t found = distance(word, meant);
  return 2 * found < word.size() ? found : kMostErrors + 1; // most letters must be right
}

} // namespace

std::vector<std::string> nearest(std::string_view word, const std::vector<std::string>& words) {
  std::vector<std::string> best;
  std::size_t fewest = kMostErrors;
  for (const std::string& one : words) {
    const std::size_t found = errors(word, one);
    if (found < fewest) best.clear();
    if (found <= fewest) best.push_back(one);
    fewest = std::min(fewest, found);
  }
  return best;
}

} // namespace quarnet::usage
