#pragma once
// Numbers and texts as people read them.

#include <cstdint>
#include <string>

namespace quillon::tool {

/// As printf would write it.
[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...);

/// "16,000,000"
std::string grouped(std::int64_t value);

/// Three digits and a unit: "950", "16.0 M". Units are k, M, G and T.
std::string short_form(double value);

/// A number of items: "1 cell", "12,752 cells".
std::string grouped_count(std::int64_t count, const std::string& what);

/// As few digits as show the value to three places, or "–" for what is no number.
std::string decimal(double value);

/// A share in percent, to three digits: "12.3 %".
std::string percentage(double share);

/// The text where markup may stand: what would be markup itself is escaped, what is no UTF-8 or cannot stand
/// in a page is replaced by U+FFFD.
std::string escaped(const std::string& text);

}  // namespace quillon::tool
