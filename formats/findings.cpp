#include "formats/findings.h"

#include <utility>

#include "formats/rules.h"

namespace quillon::formats {

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::kError:
      return "error";
    case Severity::kWarning:
      return "warning";
    case Severity::kNote:
      return "note";
  }
  return "";
}

std::string text_of(const Finding& finding) {
  std::string text;
  if (finding.line > 0) {
    text.append(finding.file).append(":").append(std::to_string(finding.line));
    text.append(":").append(std::to_string(finding.column)).append(": ");
  }
  text.append(name_of(finding.severity)).append(": ").append(finding.message);
  if (!finding.hint.empty()) text.append(" (").append(finding.hint).append(")");
  return text;
}

BadFile::BadFile(Finding finding) : runtime_error(text_of(finding)), finding_(std::move(finding)) {}

BadFile::~BadFile() = default;  // here, so that every program shares one type information

}  // namespace quillon::formats
