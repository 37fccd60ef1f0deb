#include "tools/cli/suggestions.h"

#include <algorithm>
#include <array>

namespace quillon::tool {

int edit_distance(std::string_view a, std::string_view b) {
  // Rows of the table of distances between the beginnings of both: this one and the two before.
  std::array<std::vector<int>, 3> rows;
  for (std::vector<int>& row : rows) row.assign(b.size() + 1, 0);
  for (std::size_t k = 0; k <= b.size(); ++k) rows[1][k] = static_cast<int>(k);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    const std::vector<int>& before = rows[1];
    std::vector<int>& row = rows[2];
    row[0] = static_cast<int>(i);
    for (std::size_t k = 1; k <= b.size(); ++k) {
      const int replaced = before[k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1);
      row[k] = std::min({before[k] + 1, row[k - 1] + 1, replaced});
      if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
        row[k] = std::min(row[k], rows[0][k - 2] + 1);
    }
    std::rotate(rows.begin(), rows.begin() + 1, rows.end());
  }
  return rows[1][b.size()];
}

std::string nearest(std::string_view word, const std::vector<std::string>& candidates) {
  constexpr std::size_t kShortestBeginning = 3;
  std::string best;
  int best_distance = 0;
  for (const std::string& candidate : candidates) {
    const bool is_beginning = word.size() >= kShortestBeginning && candidate.starts_with(word);
    const int distance = is_beginning ? 1 : edit_distance(word, candidate);
    const auto longer = static_cast<int>(std::max(word.size(), candidate.size()));
    if (3 * distance > longer && !is_beginning) continue;
    if (!best.empty() && distance >= best_distance) continue;
    best = candidate;
    best_distance = distance;
  }
  return best;
}

std::string did_you_mean(std::string_view word, const std::vector<std::string>& candidates) {
  const std::string best = nearest(word, candidates);
  if (best.empty()) return "";
  return std::string("; did you mean '").append(best).append("'?");
}

}  // namespace quillon::tool
