#pragma once
// Findings as values, for tests of the errors that readers report.

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "formats/findings.h"
#include "formats/formats.h"

namespace quillon::formats {

inline bool operator==(const Finding& a, const Finding& b) {
  return a.rule == b.rule && a.severity == b.severity && a.file == b.file && a.line == b.line &&
         a.column == b.column && a.message == b.message && a.hint == b.hint;
}

inline void PrintTo(const Finding& finding, std::ostream* out) {
  *out << "[" << finding.rule << " in '" << finding.file << "'] line " << finding.line << ", column "
       << finding.column << ", severity " << static_cast<int>(finding.severity) << "\n  " << finding.message
       << "\n  hint: " << finding.hint;
}

/// Rule of the result of `finding_of` if no finding is thrown.
inline constexpr char kNoFinding[] = "(no finding)";

/// The finding that a call throws as BadFile.
template <typename Call>
Finding finding_of(Call call) {
  try {
    call();
    return {kNoFinding, Severity::kNote, "", 0, 0, "", ""};
  } catch (const BadFile& error) {
    EXPECT_EQ(error.what(), text_of(error.finding()));
    return error.finding();
  }
}

/// A finding that concerns a whole file.
inline Finding error_of_file(const std::string& rule, const std::string& file, const std::string& message) {
  return {rule, Severity::kError, file, 0, 0, message, ""};
}

/// The entry of the table of formats with this name, which must exist.
inline const Format& format(std::string_view name) {
  const Format* const found = format_named(name);
  if (found == nullptr) throw std::invalid_argument("no format " + std::string(name));
  return *found;
}

/// The result of a reader for a text in a file called "in".
inline NetLists read_text(const Format& format, const std::string& text, const ReadOptions& options = {}) {
  Scanner in("in", text);
  NetLists lists;
  format.read(in, lists, options);
  return lists;
}

}  // namespace quillon::formats
