#pragma once
/// @file
/// Errors on lines after which a reader goes on, if somebody listens. Internal to `formats/`.
///
/// There may be one on every line of a large file, of which `lint` only counts most. So these functions throw
/// nothing while somebody listens, and ask for the words of a message only if it is wanted: `expected` and
/// the like return them when they are called.

#include <optional>
#include <string>

#include "formats/audit.h"
#include "formats/findings.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// Reports an error: "found X, expected Y".
///
/// @param hint      What may be wrong with the file, or empty.
/// @throws BadFile  if nobody listens.
void report_unexpected(const Scanner& in, const Token& token, const char* rule, const std::string& expected,
                       const char* hint);

/// As `report_unexpected`, unless the error is only counted.
///
/// @param expected  Returns Y.
/// @return          False, for functions that return whether there was no error.
template <typename Expected>
bool refuse(const Scanner& in, const Token& token, const char* rule, Expected expected,
            const char* hint = "") {
  if (wants_text(in, rule)) report_unexpected(in, token, rule, expected(), hint);
  return false;
}

/// Refuses a word that is no number of a range.
///
/// @param meaning  Returns that of the range.
/// @return         False.
template <typename Meaning>
bool refuse_word(const Scanner& in, const Token& token, const Range& range, Meaning meaning,
                 const char* hint = "") {
  return refuse(in, token, broken_rule(token, range), meaning, hint);
}

/// As `refuse_word`, of the number of a cell or a part, which may be numbered otherwise.
template <typename Meaning>
bool refuse_number(const Scanner& in, const Token& token, const Range& range, Meaning meaning,
                   const char* hint = "") {
  note_outside(in, token);
  return refuse_word(in, token, range, meaning, hint);
}

inline bool refuse_number(const Scanner& in, const Token& token, const Range& range, const char* hint = "") {
  return refuse_number(
      in, token, range, [&range] { return range.meaning; }, hint);
}

/// Converts a word that must be a number.
///
/// @param meaning  Returns that of the range.
/// @return         None if it is not, which is reported.
template <typename Meaning>
std::optional<int> number_or_refuse(const Scanner& in, const Token& token, const Range& range,
                                    Meaning meaning) {
  const std::optional<int> number = number_in(token, range);
  if (!number) refuse_word(in, token, range, meaning);
  return number;
}

/// Moves to the next line, unless anything is left on this one.
///
/// @param after  Returns what the line ends after.
/// @return       Whether nothing is left; else that is reported.
template <typename After>
bool next_line_or_refuse(Scanner& in, After after, const char* hint = "") {
  const Token token = next_on_line(in);
  if (!token.text.empty())
    return refuse(
        in, token, "trailing-text", [&after] { return "the end of the line after " + std::string(after()); },
        hint);
  skip_line(in);
  return true;
}

/// Reads a line, or part of it. If it has an error, the rest of the line is skipped.
///
/// @param read      Reads to the start of the next line. Returns whether there was no error.
/// @return          As `read`; false if it throws.
/// @throws BadFile  if there is an error and nobody listens.
template <typename Read>
bool read_line(Scanner& in, Read read) {
  try {
    if (read()) return true;
  } catch (const BadFile& error) {
    report(in, error.finding());
  }
  skip_line(in);
  return false;
}

}  // namespace quillon::formats
