#include "programs/tarvel/nearest_word.h"

#include <algorithm>

namespace tarvel::viewer {
namespace {

// Optimal string alignment distance, row by row of its table.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<std::size_t>> table(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
  for (std::size_t i = 0; i <= a.size(); ++i) table[i][0] = i;
  for (std::size_t k = 0; k <= b.size(); ++k) table[0][k] = k;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t k = 1; k <= b.size(); ++k) {
      const std::size_t change = a[i - 1] == b[k - 1] ? 0 : 1;
      table[i][k] =
          std::min({table[i - 1][k] + 1, table[i][k - 1] + 1, table[i - 1][k - 1] + change});
      const bool swapped = i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1];
      if (swapped) table[i][k] = std::min(table[i][k], table[i - 2][k - 2] + 1);
    }
  }
  return table[a.size()][b.size()];
}

}  // namespace

std::optional<std::string> nearestWord(std::string_view typed,
                                       const std::vector<std::string>& known) {
  constexpr std::size_t kLongest = 32;  // beyond any command
  std::optional<std::string> nearest;
  std::size_t least = 3;
  if (typed.size() > kLongest) return nearest;
  for (const auto& word : known) {
    const auto far = distance(typed, word);
    if (far >= least || far >= word.size()) continue;
    least = far;
    nearest = word;
  }
  return nearest;
}

}  // namespace tarvel::viewer
