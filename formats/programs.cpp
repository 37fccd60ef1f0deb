#include "formats/programs.h"

#include <algorithm>
#include <stdexcept>

#include "formats/notes.h"
#include "formats/programs_text.h"

namespace quillon::formats {
namespace {

constexpr std::string_view kNotRegular = "not-regular";  // in the place of a rule: pipes and devices

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(separator, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

Treatment treatment_named(std::string_view name) {
  for (const Treatment treatment : {Treatment::kRefuses, Treatment::kChanges, Treatment::kAccepts})
    if (name_of(treatment) == name) return treatment;
  throw std::logic_error("programs.tsv: no verdict " + std::string(name));
}

std::vector<ProgramRow> make_program_table() {
  constexpr std::size_t kColumns = 7;
  std::vector<ProgramRow> rows;
  for (const std::string_view line : split(kProgramsText, '\n')) {
    if (line.empty() || line.front() == '#') continue;
    const std::vector<std::string_view> columns = split(line, '\t');
    const bool is_known = columns.size() == kColumns && (columns[3] == "-" || columns[3] == kNotRegular ||
                                                         rule_named(columns[3]) != nullptr);
    if (!is_known) throw std::logic_error("programs.tsv: bad line: " + std::string(line));
    rows.push_back({columns[0], columns[1], columns[2], columns[3], treatment_named(columns[4]), columns[5],
                    columns[6]});
  }
  return rows;
}

// What a program says of a rule: null if nothing.
const ProgramRow* row_of(std::string_view program, std::string_view format, std::string_view rule) {
  for (const ProgramRow& row : program_rows())
    if (row.program == program && row.format == format && row.rule == rule) return &row;
  return nullptr;
}

// "duplicate-pin at 3:5" of the first finding of a rule.
std::string place_of_rule(const LintResult& result, std::string_view rule) {
  for (const Finding& finding : result.findings)
    if (finding.rule == rule && finding.line > 0)
      return std::string(rule) + " at " + std::to_string(finding.line) + ":" + std::to_string(finding.column);
  return std::string(rule);
}

ProgramVerdict verdict_of(const LintResult& result, const ProgramRow& program) {
  ProgramVerdict verdict{program.program, program.version, "takes", ""};
  const ProgramRow* const of_pipes = row_of(program.program, program.format, kNotRegular);
  if (of_pipes != nullptr && !result.is_regular) {
    verdict.verdict = "refuses";
    verdict.reason = "it is no regular file: " + std::string(of_pipes->text);
    return verdict;
  }
  for (const RuleCount& broken : result.counts) {
    const std::string_view rule = broken.rule->name;
    const ProgramRow* const row = row_of(program.program, program.format, rule);
    const bool refuses =
        row == nullptr ? broken.rule->severity == Severity::kError : row->treatment == Treatment::kRefuses;
    if (refuses) {
      verdict.verdict = "refuses";
      verdict.reason = place_of_rule(result, rule) + (row == nullptr ? "" : ": " + std::string(row->text));
      return verdict;
    }
    if (row == nullptr || row->treatment != Treatment::kChanges) continue;
    verdict.verdict = "changes";
    verdict.reason +=
        (verdict.reason.empty() ? "" : "; ") + std::string(row->text) + ": " + std::to_string(broken.count);
  }
  return verdict;
}

}  // namespace

std::string_view name_of(Treatment treatment) {
  if (treatment == Treatment::kRefuses) return "refuses";
  return treatment == Treatment::kChanges ? "changes" : "accepts";
}

std::span<const ProgramRow> program_rows() {
  static const std::vector<ProgramRow> rows = make_program_table();
  return rows;
}

std::vector<std::string_view> program_names() {
  std::vector<std::string_view> names;
  for (const ProgramRow& row : program_rows())
    if (std::find(names.begin(), names.end(), row.program) == names.end()) names.push_back(row.program);
  return names;
}

std::vector<ProgramVerdict> verdicts_on(const LintResult& result, const std::vector<std::string>& programs) {
  std::vector<ProgramVerdict> verdicts;
  const std::string_view format = result.format == nullptr ? "" : result.format->name;
  for (const std::string_view name : program_names()) {
    if (!programs.empty() && std::find(programs.begin(), programs.end(), name) == programs.end()) continue;
    if (const ProgramRow* const row = row_of(name, format, "-"); row != nullptr) {
      verdicts.push_back(verdict_of(result, *row));
      continue;
    }
    const auto other = std::find_if(program_rows().begin(), program_rows().end(),
                                    [name](const ProgramRow& row) { return row.program == name; });
    verdicts.push_back({name, other->version, "other-format", "it reads " + std::string(other->format)});
  }
  return verdicts;
}

}  // namespace quillon::formats
