#pragma once
// What lint found, for programs.

#include <memory>
#include <string>
#include <vector>

#include "formats/lint.h"
#include "formats/programs.h"

namespace quillon::tool {

/// Prints the object of --json for one file.
void print_lint_json(const formats::LintResult& result, const std::vector<formats::ProgramVerdict>& verdicts);

/// A SARIF document of one run.
class SarifLog {
 public:
  SarifLog();
  ~SarifLog();

  void add(const formats::LintResult& result);

  /// The document, with a line end.
  [[nodiscard]] std::string text() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quillon::tool
