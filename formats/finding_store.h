#pragma once
/// @file
/// Findings by rule: all counted, the first ones kept. Internal to `formats/`.

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "formats/findings.h"
#include "formats/lint.h"

namespace quillon::formats {

/// Findings of each rule that are kept at least while a file is read, unless tests change that.
inline constexpr std::size_t kLeastKept = 1000;

/// Sets how many findings of each rule stores made from now on keep at least. For tests: errors that are not
/// kept are read in another way.
void set_least_kept(std::size_t count);

/// Needs memory for the findings that it keeps only.
class FindingStore {
 public:
  /// @param most_moved  Findings of each rule for the result. More are kept until then if this is few: others
  ///                    depend on them.
  explicit FindingStore(std::size_t most_moved);

  /// @return  Whether another finding of the rule would be kept.
  [[nodiscard]] bool wants(std::string_view rule) const;

  /// Adds a finding, with the severity of its rule.
  ///
  /// @param count  How many the finding stands for.
  void add(Finding finding, std::int64_t count = 1);

  /// Counts findings that are not kept.
  void count(std::string_view rule, std::int64_t nmore = 1) { counts_[index_of(rule)] += nmore; }

  [[nodiscard]] std::int64_t count_of(std::string_view rule) const { return counts_[index_of(rule)]; }

  [[nodiscard]] bool has_errors() const;

  /// @return  The first finding of a rule that was added; null if there is none.
  [[nodiscard]] const Finding* first_of(std::string_view rule) const;

  void drop(std::string_view rule);

  /// Drops findings of a rule on a line.
  void drop_on_line(std::string_view rule, std::size_t line);

  /// Adds a hint to the errors on a line that have none.
  ///
  /// @return  Whether there are errors on the line.
  bool add_hint_on_line(std::size_t line, const char* hint);

  /// Moves the findings, sorted, and the counts to a result.
  void move_to(LintResult& result);

 private:
  [[nodiscard]] std::size_t index_of(std::string_view rule) const;

  std::size_t most_moved_;
  std::size_t most_kept_;
  // The rule looked up last: many findings in a row have the same one.
  mutable std::string_view last_rule_;
  mutable std::size_t last_index_ = 0;
  std::vector<std::int64_t> counts_;  // by index of the table, as `nkept_`
  std::vector<std::size_t> nkept_;
  std::vector<Finding> findings_;
};

}  // namespace quillon::formats
