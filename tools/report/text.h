#pragma once
// Numbers and texts for readers.

#include <cstdint>
#include <string>

namespace quillon::tool {

/// With commas: "16,000,000".
std::string grouped(std::int64_t value);

/// Three digits and a unit: "950", "16.0 M". Units are k, M, G and T.
std::string short_form(double value);

/// A number of items: "1 cell", "12,752 cells".
std::string grouped_count(std::int64_t count, const std::string& what);

/// Three decimal places below 1,000, none above or for integers; "–" if not finite.
std::string decimal(double value);

/// A share in percent, to two or three digits: "12.3 %"; "–" if not finite.
std::string percentage(double share);

/// The text with control characters, such as tabs and ends of lines, as "\x09": it stays in its line and
/// column.
std::string in_one_line(const std::string& text);

/// The text as HTML and XML content or attribute value: markup is escaped, malformed UTF-8 and characters not
/// allowed in XML become U+FFFD.
std::string escaped(const std::string& text);

/// Prints a row of two columns to the output of the utility layer.
///
/// @param width  Of the first column, in characters.
void print_row(const std::string& label, const std::string& value, int width = 24);

}  // namespace quillon::tool
