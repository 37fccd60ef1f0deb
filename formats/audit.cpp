#include "formats/audit.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "formats/stream.h"

namespace quillon::formats {

bool Audit::wants_line(Item::Kind kind, std::int64_t number) {
  while (next < wanted.size() && wanted[next].item < Item{kind, number, 0}) ++next;
  if (next == wanted.size()) throw AllFound();
  return wanted[next].item.kind == kind && wanted[next].item.number == number;
}

std::int64_t Audit::next_number(Item::Kind kind, std::int64_t number) const {
  for (std::size_t k = next; k < wanted.size(); ++k)
    if (wanted[k].item.kind == kind && wanted[k].item.number >= number) return wanted[k].item.number;
  return std::numeric_limits<std::int64_t>::max();
}

void Audit::found(const Scanner& in, const Item& item, std::size_t offset) {
  if (!wants_line(item.kind, item.number)) return;
  for (std::size_t k = next; k < wanted.size() && wanted[k].item.number == item.number; ++k)
    if (wanted[k].item == item && wanted[k].place.line == 0) wanted[k].place = place_of(in, offset);
}

Place Audit::place_of_wanted(const Item& item) const {
  const auto found = std::lower_bound(wanted.begin(), wanted.end(), item,
                                      [](const Wanted& a, const Item& key) { return a.item < key; });
  return found == wanted.end() ? Place{} : found->place;
}

bool has_net_lines(const Format& format, const ReadOptions& options) {
  if (format.name == "cnf") return options.model != Model::kDual;
  if (format.name == "edges") return options.pairs == Pairs::kNone;
  return format.name == "hmetis" || format.name == "quillon" || format.name == "kub";
}

void read_audited(Scanner& in, const Format& format, const ReadOptions& options, Audit& audit) {
  if (!audit.wants) audit.wants = [](std::string_view) { return false; };
  if (!audit.counted) audit.counted = [](std::string_view, std::int64_t) {};
  // Reset below; an exception other than these ends the scanner too.
  // cppcheck-suppress danglingLifetime
  in.audit = &audit;
  in.listener = [](const Finding&) {};
  NetLists lists;
  lists.grow_slowly = true;
  try {
    format.read(in, lists, options);
  } catch (const Audit::AllFound&) {
  } catch (const BadFile&) {
  }
  in.audit = nullptr;
}

void note_next_item(const Scanner& in, const Item& next) {
  if (in.audit == nullptr || in.audit->is_locating() || in.stream == nullptr || in.at != 0) return;
  in.audit->waypoints.push_back({next, in.bytes_before, in.lines_before});
}

const Waypoint* move_on(Scanner& in, const std::vector<Waypoint>& waypoints,
                        const std::function<bool(const Waypoint&)>& is_before) {
  const auto end = std::partition_point(waypoints.begin(), waypoints.end(), is_before);
  if (end == waypoints.begin()) return nullptr;
  const Waypoint& last = *std::prev(end);
  if (last.offset <= in.bytes_before + in.at) return nullptr;
  return move_to_line(in, last.offset, last.lines_before) ? &last : nullptr;
}

void note_header(const Scanner& in, std::size_t offset) {
  if (in.audit == nullptr) return;
  const std::size_t line_begin = in.text.rfind('\n', offset) + 1;  // 0 if there is none
  in.audit->header = place_of(in, line_begin);
  in.audit->header_line = in.text.substr(line_begin, in.text.find('\n', offset) - line_begin);
}

void note_comment(const Scanner& in, std::size_t offset) {
  if (in.audit == nullptr || in.audit->is_locating()) return;
  if (in.audit->ncomments++ == 0) in.audit->comment = place_of(in, offset);
}

void note_oddity(const Scanner& in, const Place& place, const char* rule, const std::string& message,
                 const std::string& hint) {
  const bool is_heard = in.audit != nullptr && in.audit->oddity;
  if (is_heard && wants_text(in, rule))
    in.audit->oddity({rule, Severity::kWarning, in.name, place.line, place.column, message, hint});
}

void note_outside(const Scanner& in, const Token& token) {
  constexpr int kLeast = std::numeric_limits<int>::min();
  constexpr int kLargest = std::numeric_limits<int>::max();
  if (in.audit == nullptr) return;
  if (token.plain >= 0)
    in.audit->add_outside(token.plain);
  else if (const std::optional<int> number = number_in(token, {kLeast, kLargest, {}}))
    in.audit->add_outside(*number);
}

}  // namespace quillon::formats
