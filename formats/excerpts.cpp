#include "formats/excerpts.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace quillon::formats {
namespace {

// Of the line that begins here.
Excerpt excerpt_of(const Scanner& in, const Finding& found, std::size_t nskipped) {
  constexpr std::size_t kBefore = 40;
  constexpr std::size_t kWidth = 72;
  std::string_view line = in.text.substr(in.at);
  line = line.substr(0, std::min(line.find('\n'), line.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  const std::size_t at = found.column - 1 - std::min(found.column - 1, nskipped);
  if (at > line.size()) return {};
  const std::size_t begin = line.size() <= kWidth || at <= kBefore ? 0 : at - kBefore;
  const auto is_start = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; };
  const auto character = static_cast<std::size_t>(std::count_if(
                             line.begin(), line.begin() + static_cast<std::ptrdiff_t>(at), is_start)) +
                         1;
  Excerpt excerpt{std::string(line.substr(begin, kWidth)), at - begin, character};
  for (char& c : excerpt.text)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = c == '\t' ? ' ' : '?';
  if (begin > 0) excerpt.text.insert(0, "... "), excerpt.caret += 4;
  if (begin + kWidth < line.size()) excerpt.text += " ...";
  return excerpt;
}

}  // namespace

void add_excerpts(Scanner& in, const std::vector<Waypoint>& waypoints, std::size_t nskipped,
                  LintResult& result) try {
  result.excerpts.resize(result.findings.size());
  std::size_t line = 1;
  for (std::size_t k = 0; k < result.findings.size() && result.findings[k].line > 0; ++k) {
    const Finding& found = result.findings[k];
    const auto is_before = [&found](const Waypoint& waypoint) { return waypoint.lines_before < found.line; };
    if (const Waypoint* const waypoint = move_on(in, waypoints, is_before); waypoint != nullptr)
      line = waypoint->lines_before + 1;
    for (; line < found.line && !at_end(in); ++line) skip_line(in);
    if (at_end(in)) break;
    result.excerpts[k] = excerpt_of(in, found, found.line == 1 ? nskipped : 0);
  }
} catch (const BadFile&) {
}

}  // namespace quillon::formats
