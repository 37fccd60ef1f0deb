#include "tools/cli/rule_text.h"

#include <algorithm>
#include <span>
#include <vector>

#include "formats/programs.h"
#include "tools/cli/help.h"
#include "tools/cli/suggestions.h"

namespace quillon::tool {
namespace {

// Lines as `cat -A` shows them where bytes are not plain, so that an example can be read.
std::string shown(std::string_view text) {
  std::string lines = "  ";
  for (std::size_t k = 0; k < text.size(); ++k) {
    const char c = text[k];
    if (c == '\n')
      lines += k + 1 < text.size() ? "\n  " : "";
    else if (c == '\r')
      lines += "\\r";
    else if (c == '\t')
      lines += "\\t";
    else if (c == '\0')
      lines += "\\0";
    else if (static_cast<unsigned char>(c) >= 0x80)
      lines += "?";
    else
      lines += c;
  }
  return lines + (text.ends_with('\n') ? "\n" : "(no newline)\n");
}

// Whether a row declares a program that reads the example of a rule.
bool reads_example(const formats::ProgramRow& row, const formats::Rule& rule) {
  return row.rule == "-" && row.format == rule.format;
}

std::string verb_of(formats::Treatment treatment) {
  if (treatment == formats::Treatment::kRefuses) return "refuses it: ";
  return treatment == formats::Treatment::kChanges ? "takes it, but " : "takes it: ";
}

}  // namespace

std::string list_of_rules() {
  std::vector<std::pair<std::string, std::string>> entries;
  for (const formats::Rule& rule : formats::all_rules())
    entries.emplace_back(rule.name, std::string(name_of(rule.severity)) +
                                        std::string(8 - name_of(rule.severity).size(), ' ') +
                                        std::string(rule.summary));
  return lines_of(entries);
}

std::string example_of(const formats::Rule& rule) { return rule.example.empty() ? "" : shown(rule.example); }

std::string programs_on(const formats::Rule& rule) {
  const std::span<const formats::ProgramRow> rows = formats::program_rows();
  const bool is_error = rule.severity == formats::Severity::kError;
  std::string lines;
  for (const formats::ProgramRow& row : rows)
    if (row.rule == rule.name)
      lines += "- " + std::string(row.program) + " " + verb_of(row.treatment) + std::string(row.text) + "\n";
  if (!lines.empty())
    return "Other programs:\n\n" + lines + (is_error ? "- all others refuse it\n" : "- all others take it\n");
  const bool is_read = std::any_of(
      rows.begin(), rows.end(), [&rule](const formats::ProgramRow& row) { return reads_example(row, rule); });
  return is_error && is_read ? "Other programs refuse it too.\n" : "";
}

std::string page_of(const formats::Rule& rule) {
  std::string page = std::string(rule.name) + " (" + std::string(name_of(rule.severity)) +
                     "): " + std::string(rule.summary) + "\n\n" + std::string(rule.text) + "\n";
  if (!rule.example.empty()) page += "\nExample (" + std::string(rule.format) + "):\n\n" + example_of(rule);
  page += "\nTo mend it: " + std::string(rule.mend) + "\n";
  const std::string programs = programs_on(rule);
  return programs.empty() ? page : page + "\n" + programs;
}

std::string unknown_rule(const std::string& word) {
  std::vector<std::string> known{"errors", "warnings", "notes", "all"};
  for (const formats::Rule& rule : formats::all_rules()) known.emplace_back(rule.name);
  return "there is no rule '" + word + "'" + did_you_mean(word, known);
}

}  // namespace quillon::tool
