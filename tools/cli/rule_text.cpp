#include "tools/cli/rule_text.h"

#include <algorithm>
#include <vector>

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

std::string page_of(const formats::Rule& rule) {
  std::string page = std::string(rule.name) + " (" + std::string(name_of(rule.severity)) +
                     "): " + std::string(rule.summary) + "\n\n" + std::string(rule.text) + "\n";
  if (!rule.example.empty()) page += "\nExample (" + std::string(rule.format) + "):\n\n" + example_of(rule);
  return page + "\nTo mend it: " + std::string(rule.mend) + "\n";
}

std::string unknown_rule(const std::string& word) {
  std::vector<std::string> known{"errors", "warnings", "notes", "all"};
  for (const formats::Rule& rule : formats::all_rules()) known.emplace_back(rule.name);
  return "there is no rule '" + word + "'" + did_you_mean(word, known);
}

}  // namespace quillon::tool
