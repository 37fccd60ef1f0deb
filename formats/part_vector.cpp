#include "formats/part_vector.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "formats/audit.h"
#include "formats/findings.h"
#include "formats/hints.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/net_lists.h"
#include "formats/number_set.h"
#include "formats/part_readers.h"
#include "formats/scanner.h"
#include "formats/text_writer.h"

namespace quillon::formats {
namespace {

constexpr int kAnyNumber = std::numeric_limits<int>::max();

void write_by_line(const std::vector<int>& values, const char* filename, const char* tag) {
  TextWriter out(filename, tag);
  for (std::size_t i = 1; i < values.size(); ++i) {
    char* at = print(out.room(TextWriter::kNumber), values[i]);
    *at++ = '\n';
    out.end(at);
  }
  out.close();
}

// The numbers on the lines that begin here, if there are at most `nleft` and all are from `first` to `last`.
// Lines are of no importance in these files.
std::span<const int> plain_numbers(Scanner& in, std::size_t nleft, int first, int last) {
  const NumberLines lines = number_lines(in);
  const auto count = static_cast<std::size_t>(lines.nnumbers);
  if (count == 0 || count > nleft) return {};
  const std::span numbers(lines.numbers, count);
  unsigned outside = 0;
  for (const int number : numbers) outside |= number < first || number > last ? 1U : 0U;
  return outside == 0 ? numbers : std::span<const int>();
}

// Appends numbers that count from `first`, counted from 0.
void append_from(int first, std::span<const int> numbers, std::vector<int>& values) {
  const std::size_t before = values.size();
  values.insert(values.end(), numbers.begin(), numbers.end());
  if (first == 0) return;
  for (std::size_t k = before; k < values.size(); ++k) values[k] -= first;
}

// The start of a list, with room for all of its entries: the fresh memory of each growth would cost as much
// as the scan. `lint` need not have memory for so many cells.
std::vector<int> list_of(const Scanner& in, int count, int entry_0) {
  std::vector<int> list;
  if (in.audit == nullptr) list.reserve(static_cast<std::size_t>(count) + 1);
  list.push_back(entry_0);
  return list;
}

// Moves to the next line if nothing is left on this one: lines of plain numbers may follow.
void end_line(Scanner& in) {
  const Token rest = next_on_line(in);
  if (rest.text.empty())
    skip_line(in);
  else
    put_back(in, rest);
}

// Whether `lint` only counts errors of a rule.
bool is_counted(const Scanner& in, const char* rule) { return !in.audit->wants(rule); }

// Stores numbers of a range, the first of which stands for `from`. Others are counted; `instead` stands for
// them.
void store_counted(const Scanner& in, std::span<const int> numbers, const Range& range, int from, int instead,
                   std::vector<int>& values) {
  std::int64_t noutside = 0;
  for (const int number : numbers) {
    const bool is_inside = number >= range.min && number <= range.max;
    values.push_back(is_inside ? number - range.min + from : instead);
    if (is_inside) continue;
    in.audit->add_outside(number);
    ++noutside;
  }
  if (noutside > 0) in.audit->count(range.rule, noutside);
}

// Reads the parts on the lines that begin here, any of which may be out of range if `lint` only counts that.
// Returns false without effect if there are none, or too many.
bool read_counted_parts(Scanner& in, std::size_t nwanted, const Range& range, int instead,
                        std::vector<int>& parts) {
  if (!is_counted(in, range.rule)) return false;
  const auto numbers = plain_numbers(in, nwanted - parts.size(), 0, kAnyNumber);
  if (numbers.empty()) return false;
  store_counted(in, numbers, range, 0, instead, parts);
  skip_all_lines(in);
  return true;
}

// Marks the numbers of a range as named. Returns how many of them already are, or none without effect if
// `lint` wants to know which.
std::optional<int> mark_counted(const Scanner& in, std::span<const int> numbers, const Range& range,
                                NumberSet& named) {
  const auto is_inside = [&range](int number) { return number >= range.min && number <= range.max; };
  const bool may_repeat = is_counted(in, "repeated-cell");
  int nrepeated = 0;
  for (std::size_t k = 0; k < numbers.size(); ++k) {
    if (!is_inside(numbers[k]) || named.add(numbers[k])) continue;
    ++nrepeated;
    if (may_repeat) continue;
    for (const int number : numbers.first(k))
      if (is_inside(number)) named.remove(number);
    return std::nullopt;
  }
  return nrepeated;
}

// As `read_counted_parts`, for a permutation.
bool read_counted_cells(Scanner& in, std::size_t nwanted, const Range& range, NumberSet& named,
                        std::vector<int>& order) {
  const bool any = is_counted(in, range.rule);
  const auto numbers =
      plain_numbers(in, nwanted - order.size(), any ? 0 : range.min, any ? kAnyNumber : range.max);
  if (numbers.empty()) return false;
  const std::optional<int> nrepeated = mark_counted(in, numbers, range, named);
  if (!nrepeated) return false;
  if (*nrepeated > 0) in.audit->count("repeated-cell", *nrepeated);
  store_counted(in, numbers, range, range.min, 0, order);
  skip_all_lines(in);
  return true;
}

// Reads a file again up to a number, counted from 1, and says which line it is on.
std::size_t line_of_number(Scanner& in, std::size_t index) {
  Token token{};
  for (std::size_t k = 0; k < index; ++k) token = next_token(in);
  return place_of(in, token.offset).line;
}

// Somebody who listens wants to read on: the line of the first is not looked for then.
void named_twice(Scanner& in, const Token& token, const std::vector<int>& order, int number,
                 const std::string& item) {
  if (!wants_text(in, "repeated-cell")) return;
  const Place place = place_of(in, token.offset);
  std::string message = "found " + shown(in, token) + ", expected a " + item + " not named before";
  if (in.listener == nullptr) {
    const auto first =
        static_cast<std::size_t>(std::find(order.begin() + 1, order.end(), number) - order.begin());
    message += ", which it was on line " + std::to_string(line_of_number(*read_again(in), first));
  }
  report(in, {"repeated-cell", Severity::kError, in.name, place.line, place.column, message, ""});
}

}  // namespace

std::vector<int> read_parts(const std::string& filename, int ncells, int nparts, int first) {
  Scanner in(filename);
  return read_parts(in, ncells, nparts, first);
}

std::vector<int> read_parts(Scanner& in, int ncells, int nparts, int first) {
  const bool is_bounded = nparts < kAnyNumber;
  const int last = nparts == 0 ? ncells - 1 + first : is_bounded ? nparts - 1 + first : nparts;
  const std::string range = "the part number, from " + std::to_string(first) +
                            (is_bounded ? " to " + std::to_string(last) + ", of cell " : ", of cell ");
  std::vector<int> parts = list_of(in, ncells, 0);
  const auto meaning = [&] { return range + std::to_string(parts.size()); };
  bool has_part_0 = first == 1;
  const Range numbered{first, last, {}, "part-out-of-range", "missing-part"};
  begin_lines(in, {.by_line = false});
  const auto nwanted = static_cast<std::size_t>(ncells) + 1;
  while (parts.size() < nwanted) {
    if (const auto numbers = plain_numbers(in, nwanted - parts.size(), first, last); !numbers.empty()) {
      has_part_0 = has_part_0 || std::find(numbers.begin(), numbers.end(), 0) != numbers.end();
      append_from(first, numbers, parts);
      skip_all_lines(in);
      continue;
    }
    if (in.audit != nullptr && read_counted_parts(in, nwanted, numbered, 0, parts)) continue;
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, numbered);
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {first, kAnyNumber, {}});
      const bool is_last_from_1 = !has_part_0 && number_in(token, {nparts, nparts, {}});
      refuse_number(in, token, numbered, meaning, is_large ? kManyParts : is_last_from_1 ? kPartsFrom1 : "");
      if (token.text.empty()) return parts;
    }
    has_part_0 = has_part_0 || part == 0;
    parts.push_back(part.value_or(first) - first);
    end_line(in);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  finish(in);
  return parts;
}

std::vector<int> read_fixed_parts(const std::string& filename, int ncells, int nparts, int first) {
  Scanner in(filename);
  return read_fixed_parts(in, ncells, nparts, first);
}

std::vector<int> read_fixed_parts(Scanner& in, int ncells, int nparts, int first) {
  const int last = nparts == 0 ? kAnyNumber : nparts - 1 + first;
  const std::string range = "the part number, from " + std::to_string(first) +
                            (nparts == 0 ? "" : " to " + std::to_string(last)) + ", or -1, of cell ";
  std::vector<int> parts = list_of(in, ncells, -1);
  const auto meaning = [&] { return range + std::to_string(parts.size()); };
  const Range numbered{first, last, {}, "part-out-of-range", "missing-part"};
  begin_lines(in, {.by_line = false});
  const auto nwanted = static_cast<std::size_t>(ncells) + 1;
  while (parts.size() < nwanted) {
    if (const auto numbers = plain_numbers(in, nwanted - parts.size(), first, last); !numbers.empty()) {
      append_from(first, numbers, parts);
      skip_all_lines(in);
      continue;
    }
    if (in.audit != nullptr && read_counted_parts(in, nwanted, numbered, -1, parts)) continue;
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, numbered);
    if (!part && !number_in(token, {-1, -1, {}})) refuse_number(in, token, numbered, meaning);
    if (token.text.empty()) return parts;
    parts.push_back(part ? *part - first : -1);
    end_line(in);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  finish(in);
  return parts;
}

std::vector<int> read_numbers(const std::string& filename, int least, int most, const std::string& meaning) {
  Scanner in(filename);
  const Range range{least, most, meaning, "number-out-of-range"};
  std::vector<int> values;
  begin_lines(in, {.by_line = false});
  while (true) {
    if (const auto numbers = plain_numbers(in, kMostPins, least, most); !numbers.empty()) {
      values.insert(values.end(), numbers.begin(), numbers.end());
      skip_all_lines(in);
      continue;
    }
    const Token token = next_token(in);
    if (token.text.empty()) break;
    values.push_back(as_number(in, token, range));
    end_line(in);
  }
  finish(in);
  return values;
}

void write_parts_by_line(const std::vector<int>& parts, const char* filename) {
  write_by_line(parts, filename, "quillon partition-info: parts");
}

std::vector<int> read_permutation(const std::string& filename, int count, const std::string& item) {
  Scanner in(filename);
  return read_permutation(in, count, item);
}

std::vector<int> read_permutation(Scanner& in, int count, const std::string& item) {
  prepare_second_read(in);
  const Range allowed{1, count, "a " + item + " number from 1 to " + std::to_string(count),
                      "cell-out-of-range", "missing-part"};
  std::vector<int> order = list_of(in, count, 0);
  const auto nwanted = static_cast<std::size_t>(count) + 1;
  NumberSet named(in.audit == nullptr ? nwanted : 0);
  begin_lines(in, {.by_line = false});
  while (order.size() < nwanted) {
    const auto numbers = plain_numbers(in, nwanted - order.size(), 1, count);
    if (!numbers.empty() && named.add_all(numbers, count)) {
      order.insert(order.end(), numbers.begin(), numbers.end());
      skip_all_lines(in);
      continue;
    }
    if (in.audit != nullptr && read_counted_cells(in, nwanted, allowed, named, order)) continue;
    const Token token = next_token(in);
    const int number = number_in(token, allowed).value_or(0);
    if (number == 0) refuse_number(in, token, allowed);
    if (token.text.empty()) return order;
    if (number != 0 && !named.add(number)) named_twice(in, token, order, number, item);
    order.push_back(number);
    end_line(in);
  }
  expect_end(in, "the numbers of " + std::to_string(count) + " " + item + "s");
  finish(in);
  return order;
}

void write_permutation(const std::vector<int>& order, const char* filename) {
  write_by_line(order, filename, "quillon reorder: order");
}

}  // namespace quillon::formats
