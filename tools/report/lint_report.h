#pragma once
// What lint found, as text, JSON or SARIF.

#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "formats/lint.h"
#include "formats/mend.h"
#include "formats/programs.h"

namespace quillon::tool {

class SarifLog;

/// Prints results one after the other.
class LintReport {
 public:
  enum class Kind { kText, kJson, kSarif };

  struct Options {
    Kind kind = Kind::kText;
    bool only_results = false;  ///< One RESULT line for each file instead of the findings.
    bool is_quiet = false;      ///< No line if nothing was found.
  };

  explicit LintReport(const Options& options);
  ~LintReport();
  LintReport(const LintReport&) = delete;
  LintReport& operator=(const LintReport&) = delete;

  void add(const formats::LintResult& result, const std::vector<formats::ProgramVerdict>& verdicts = {});

  /// Reports what was mended in a file.
  void add_mended(const formats::LintResult& found, const formats::Mended& mended);

  /// Prints what concerns all files together. Call it once.
  void finish();

 private:
  struct Total {
    std::int64_t count = 0;
    std::int64_t nfiles = 0;
  };

  void print_text(const formats::LintResult& result) const;
  void print_totals() const;

  Options options_;
  std::int64_t nfiles_ = 0;
  std::int64_t nfiles_with_findings_ = 0;
  std::map<const formats::Rule*, Total> totals_;
  std::unique_ptr<SarifLog> sarif_;
};

}  // namespace quillon::tool
