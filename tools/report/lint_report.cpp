#include "tools/report/lint_report.h"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "formats/notes.h"
#include "tools/cli/console.h"
#include "tools/report/lint_json.h"
#include "tools/report/text.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::Finding;
using formats::LintResult;
using formats::Severity;

std::string shown(const std::string& text) { return printable(STDOUT_FILENO, text); }

std::string shown_severity(Severity severity) {
  std::string name(name_of(severity));
  if (severity == Severity::kNote) return name;
  return coloured(STDOUT_FILENO, severity == Severity::kError ? Colour::kRed : Colour::kBlue, name);
}

void print_finding_text(const Finding& finding) {
  std::string place = finding.file;
  if (finding.line > 0) place += ":" + std::to_string(finding.line) + ":" + std::to_string(finding.column);
  uprintf("%s: %s: %s [%s]\n", shown(place).c_str(), shown_severity(finding.severity).c_str(),
          shown(finding.message).c_str(), finding.rule.c_str());
}

void print_excerpt(const formats::Excerpt& excerpt) {
  if (excerpt.text.empty()) return;
  uprintf("  %s\n  %s^\n", shown(excerpt.text).c_str(), std::string(excerpt.caret, ' ').c_str());
}

void print_findings(const LintResult& result) {
  for (std::size_t k = 0; k < result.findings.size(); ++k) {
    print_finding_text(result.findings[k]);
    if (k < result.excerpts.size()) print_excerpt(result.excerpts[k]);
    if (!result.findings[k].hint.empty()) uprintf("  hint: %s\n", shown(result.findings[k].hint).c_str());
  }
}

std::string counted_all(const LintResult& result) {
  std::string text;
  for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kNote})
    text +=
        (text.empty() ? "" : ", ") + formats::counted(result.count(severity), std::string(name_of(severity)));
  return text;
}

void print_result_line(const LintResult& result) {
  std::string line = "RESULT file=" + in_one_line(result.file) +
                     " format=" + (result.format == nullptr ? "-" : std::string(result.format->name));
  for (const Severity severity : {Severity::kError, Severity::kWarning, Severity::kNote})
    line += " " + std::string(name_of(severity)) + "s=" + std::to_string(result.count(severity));
  for (const formats::RuleCount& broken : result.counts)
    line += " " + std::string(broken.rule->name) + "=" + std::to_string(broken.count);
  uprintf("%s\n", line.c_str());
}

void print_verdict(const formats::ProgramVerdict& verdict) {
  const std::string program =
      std::string(verdict.program) + (verdict.version == "unknown" ? "" : " " + std::string(verdict.version));
  const std::string text = verdict.verdict == "takes"     ? "takes it"
                           : verdict.verdict == "changes" ? "takes it, but " + verdict.reason
                           : verdict.verdict == "refuses" ? "refuses it: " + verdict.reason
                                                          : "does not read it: " + verdict.reason;
  uprintf("  %-22s %s\n", program.c_str(), text.c_str());
}

void add_losses(LintResult& notes, const std::vector<std::string>& losses) {
  if (losses.empty()) return;
  const formats::Rule* const rule = formats::rule_named("data-not-kept");
  notes.counts.push_back({rule, std::ssize(losses)});
  for (const std::string& loss : losses)
    notes.findings.push_back(
        {std::string(rule->name), Severity::kNote, notes.file, 0, 0, "not kept: " + loss, ""});
}

}  // namespace

LintReport::LintReport(const Options& options) : options_(options) {
  if (options.kind == Kind::kSarif) sarif_ = std::make_unique<SarifLog>();
}

LintReport::~LintReport() = default;

void LintReport::add(const LintResult& result, const std::vector<formats::ProgramVerdict>& verdicts) {
  ++nfiles_;
  nfiles_with_findings_ += result.counts.empty() ? 0 : 1;
  for (const formats::RuleCount& broken : result.counts) {
    Total& total = totals_[broken.rule];
    total.count += broken.count;
    ++total.nfiles;
  }
  if (options_.only_results)
    print_result_line(result);
  else if (options_.kind == Kind::kJson)
    print_lint_json(result, verdicts);
  else if (options_.kind == Kind::kSarif)
    sarif_->add(result);
  else
    print_text(result);
  if (options_.kind == Kind::kText && !options_.only_results)
    for (const formats::ProgramVerdict& verdict : verdicts) print_verdict(verdict);
}

void LintReport::add_mended(const LintResult& found, const formats::Mended& mended) {
  LintResult notes;
  notes.file = found.file;
  notes.format = found.format;
  notes.findings = mended.findings;
  notes.counts = mended.done;
  notes.is_mended = true;
  add_losses(notes, mended.losses);
  if (options_.kind != Kind::kText || options_.only_results) return add(notes);
  print_findings(notes);
  std::string text;
  for (const formats::RuleCount& rule : mended.done)
    text +=
        (text.empty() ? "mended: " : ", ") + std::string(rule.rule->name) + " " + std::to_string(rule.count);
  uprintf("%s: %s\n", shown(found.file).c_str(), text.empty() ? "nothing to mend" : text.c_str());
}

void LintReport::print_text(const LintResult& result) const {
  print_findings(result);
  if (!result.counts.empty() || !options_.is_quiet)
    uprintf("%s: %s\n", shown(result.file).c_str(),
            result.counts.empty() ? coloured(STDOUT_FILENO, Colour::kGreen, "ok").c_str()
                                  : counted_all(result).c_str());
}

void LintReport::print_totals() const {
  if (totals_.empty()) return;
  uprintf("\n%s with findings, of %s:\n", formats::counted(nfiles_with_findings_, "file").c_str(),
          std::to_string(nfiles_).c_str());
  for (const formats::Rule& rule : formats::all_rules()) {
    const auto found = totals_.find(&rule);
    if (found == totals_.end()) continue;
    uprintf("  %-8s %-20s %10lld in %s\n", std::string(name_of(rule.severity)).c_str(),
            std::string(rule.name).c_str(), static_cast<long long>(found->second.count),
            formats::counted(found->second.nfiles, "file").c_str());
  }
}

void LintReport::finish() {
  if (options_.only_results) return;
  if (options_.kind == Kind::kSarif) uprintf("%s", sarif_->text().c_str());
  if (options_.kind == Kind::kText) print_totals();
}

}  // namespace quillon::tool
