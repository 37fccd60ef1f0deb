#include "measures/assignment.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <queue>
#include <span>
#include <utility>

namespace quillon::measures {
namespace {

constexpr int kNone = -1;
constexpr std::int64_t kFar = std::numeric_limits<std::int64_t>::max();

// Rows are assigned one after another. Prices of rows and columns are at least 0 and cover the worth of every
// entry, with equality where a row is assigned to a column; a row or column without partner has the price 0.
// These conditions hold after each row and prove that no assignment of the rows so far is worth more.
class Assignment {
 public:
  Assignment(int nrows, int ncolumns, const std::vector<AssignmentEntry>& entries)
      : entries_(entries),
        starts_(static_cast<std::size_t>(nrows) + 1, 0),
        column_of_(static_cast<std::size_t>(nrows), kNone),
        row_price_(static_cast<std::size_t>(nrows), 0),
        row_distance_(static_cast<std::size_t>(nrows), 0),
        row_of_(static_cast<std::size_t>(ncolumns), kNone),
        column_price_(static_cast<std::size_t>(ncolumns), 0),
        distance_(static_cast<std::size_t>(ncolumns), kFar),
        row_before_(static_cast<std::size_t>(ncolumns), kNone) {
    for (const AssignmentEntry& entry : entries_) ++starts_[index(entry.row) + 1];
    for (std::size_t k = 1; k < starts_.size(); ++k) starts_[k] += starts_[k - 1];
  }

  void add_row(int row) {
    for (const AssignmentEntry& entry : row_entries(row))
      row_price_[index(row)] =
          std::max(row_price_[index(row)], entry.worth - column_price_[index(entry.column)]);
    const End end = search(row);
    update_prices(end.distance);
    augment(end);
    for (const int column : reached_) distance_[index(column)] = kFar;
  }

  [[nodiscard]] const std::vector<int>& column_of() const { return column_of_; }

 private:
  // The end of an augmenting path: a column without row, or a row that loses its column.
  struct End {
    std::int64_t distance = kFar;
    int column = kNone;
    int row = kNone;
  };

  static std::size_t index(int number) { return static_cast<std::size_t>(number); }

  [[nodiscard]] std::span<const AssignmentEntry> row_entries(int row) const {
    return {entries_.data() + starts_[index(row)], entries_.data() + starts_[index(row) + 1]};
  }

  // Dijkstra's algorithm over the slack of entries.
  End search(int first_row) {
    scanned_rows_.clear();
    reached_.clear();
    std::priority_queue<Place, std::vector<Place>, std::greater<>> queue;
    End end;
    for (Place place{0, kNone};;) {
      const auto [distance, column] = place;
      const int row = column == kNone ? first_row : row_of_[index(column)];
      scan(row, distance, queue, end);
      do {
        if (queue.empty() || queue.top().first >= end.distance) return end;
        place = queue.top();
        queue.pop();
      } while (place.first > distance_[index(place.second)]);
    }
  }

  using Place = std::pair<std::int64_t, int>;  // distance and column

  void scan(int row, std::int64_t distance,
            std::priority_queue<Place, std::vector<Place>, std::greater<>>& queue, End& end) {
    scanned_rows_.push_back(row);
    row_distance_[index(row)] = distance;
    if (distance + row_price_[index(row)] < end.distance)
      end = {distance + row_price_[index(row)], kNone, row};
    for (const AssignmentEntry& entry : row_entries(row)) {
      const auto column = index(entry.column);
      const std::int64_t next = distance + row_price_[index(row)] + column_price_[column] - entry.worth;
      if (next >= distance_[column] || next >= end.distance) continue;
      if (distance_[column] == kFar) reached_.push_back(entry.column);
      distance_[column] = next;
      row_before_[column] = row;
      if (row_of_[column] == kNone)
        end = {next, entry.column, kNone};
      else
        queue.emplace(next, entry.column);
    }
  }

  void update_prices(std::int64_t distance) {
    for (const int row : scanned_rows_) row_price_[index(row)] -= distance - row_distance_[index(row)];
    for (const int column : reached_)
      if (distance_[index(column)] < distance)
        column_price_[index(column)] += distance - distance_[index(column)];
  }

  void augment(const End& end) {
    int column = end.column;
    if (column == kNone) column = std::exchange(column_of_[index(end.row)], kNone);
    while (column != kNone) {
      const int row = row_before_[index(column)];
      row_of_[index(column)] = row;
      std::swap(column_of_[index(row)], column);
    }
  }

  const std::vector<AssignmentEntry>& entries_;
  std::vector<std::size_t> starts_;  // of the entries of each row
  std::vector<int> column_of_;
  std::vector<std::int64_t> row_price_;
  std::vector<std::int64_t> row_distance_;
  std::vector<int> row_of_;
  std::vector<std::int64_t> column_price_;
  std::vector<std::int64_t> distance_;  // of columns; far between searches
  std::vector<int> row_before_;         // of columns that a search has reached
  std::vector<int> scanned_rows_;
  std::vector<int> reached_;  // columns
};

}  // namespace

std::vector<int> best_assignment(int nrows, int ncolumns, const std::vector<AssignmentEntry>& entries) {
  Assignment assignment(nrows, ncolumns, entries);
  for (int row = 0; row < nrows; ++row) assignment.add_row(row);
  return assignment.column_of();
}

}  // namespace quillon::measures
