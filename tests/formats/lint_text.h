#pragma once
// Lint of texts, for tests.

#include <string>
#include <string_view>
#include <vector>

#include "formats/finding_store.h"
#include "formats/formats.h"
#include "formats/lint.h"
#include "tests/formats/temp_folder.h"

namespace quillon::formats {

inline LintResult lint_text(const std::string& format, const std::string& text,
                            const LintOptions& options = {}) {
  const TempFolder folder;
  LintOptions of_format = options;
  of_format.format = format_named(format);
  return lint(folder.write("file", text), of_format);
}

/// While it exists, lint reads errors of a rule as those that are only counted once so many are kept as asked
/// for.
class FewKept {
 public:
  FewKept() { set_least_kept(1); }
  ~FewKept() { set_least_kept(kLeastKept); }
  FewKept(const FewKept&) = delete;
  FewKept& operator=(const FewKept&) = delete;
};

/// Names of the rules of a severity that are broken.
inline std::vector<std::string> rules_of(const LintResult& result, Severity severity) {
  std::vector<std::string> rules;
  for (const RuleCount& broken : result.counts)
    if (broken.rule->severity == severity) rules.emplace_back(broken.rule->name);
  return rules;
}

}  // namespace quillon::formats
