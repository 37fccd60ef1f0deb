#include "formats/part_vector.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
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
#include "hypergraph/detail/scan.h"

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

// Counts the errors of words that follow one another, as far as `lint` does not want their texts.
class WordErrors {
 public:
  explicit WordErrors(const Scanner& in) : in_(in) {}
  ~WordErrors() {
    for (std::size_t k = 0; k < nrules_; ++k) in_.audit->count(counts_[k].rule, counts_[k].total);
  }
  WordErrors(const WordErrors&) = delete;
  WordErrors& operator=(const WordErrors&) = delete;

  // Returns false without effect if the text is wanted.
  bool add(const char* rule) {
    for (std::size_t k = 0; k < nrules_; ++k) {
      if (counts_[k].rule != rule) continue;
      ++counts_[k].total;
      return true;
    }
    if (nrules_ == counts_.size() || in_.audit == nullptr || !is_counted(in_, rule)) return false;
    counts_[nrules_++] = {rule, 1};
    return true;
  }

 private:
  struct Count {
    const char* rule;
    std::int64_t total;
  };

  const Scanner& in_;
  std::array<Count, 5> counts_;
  std::size_t nrules_ = 0;
};

const Range kAnyInt{std::numeric_limits<int>::min(), kAnyNumber, {}};

Token word_at(std::string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size() && !is_space(text[end])) ++end;
  return {text.substr(begin, end - begin), begin};
}

// Reads words that begin here, up to one that has to be read by itself: its error is wanted with a text, or
// `List` refuses it. A list has these functions:
//   add_all(numbers)     appends numbers of the range, or refuses them without effect
//   allows(number)       whether an integer is one of the list
//   add(number, errors)  appends it, or refuses it without effect
//   add_error()          appends an entry for a word with an error
template <typename List>
class WordReader {
 public:
  WordReader(Scanner& in, const Range& range, List& list)
      : in_(in), range_(range), list_(list), words_(words_here(in)), odd_(words_.odd), errors_(in) {}

  // Reads at most so many words. Returns whether there were any.
  bool read(std::size_t nleft) {
    constexpr std::size_t kAtOnce = 1024;  // so that little is looked at in vain before an error
    const std::size_t count = std::min(nleft, words_.numbers.size());
    std::size_t nread = 0;
    for (bool goes_on = true; goes_on && nread < count;) {
      const auto chunk = words_.numbers.subspan(nread, std::min(kAtOnce, count - nread));
      const std::size_t nadded = are_inside(chunk) && list_.add_all(chunk) ? chunk.size() : read_each(chunk);
      goes_on = nadded == chunk.size();
      nread += nadded;
    }
    if (nread > 0) skip_words(in_, words_, nread);
    return nread > 0;
  }

 private:
  [[nodiscard]] bool are_inside(std::span<const int> numbers) const {
    unsigned outside = 0;
    for (const int number : numbers) outside |= number < range_.min || number > range_.max ? 1U : 0U;
    return outside == 0;
  }

  // Returns how many could be read.
  std::size_t read_each(std::span<const int> numbers) {
    for (std::size_t k = 0; k < numbers.size(); ++k) {
      if (!(numbers[k] < 0 ? read_odd(static_cast<std::size_t>(*odd_)) : read_number(numbers[k]))) return k;
      odd_ += numbers[k] < 0 ? 1 : 0;
    }
    return numbers.size();
  }

  bool read_number(int number) {
    if (list_.allows(number)) return list_.add(number, errors_);
    if (!errors_.add(range_.rule)) return false;
    in_.audit->add_outside(number);
    list_.add_error();
    return true;
  }

  bool read_odd(std::size_t offset) {
    if (in_.text[offset] > '9') return read_text("not-a-number");  // most words
    const Token token = word_at(in_.text, offset);
    const std::optional<int> number = number_in(token, kAnyInt);
    return number ? read_number(*number) : read_text(broken_rule(token, range_));
  }

  bool read_text(const char* rule) {
    if (!errors_.add(rule)) return false;
    list_.add_error();
    return true;
  }

  Scanner& in_;
  const Range& range_;
  List& list_;
  WordList words_;
  const int* odd_;
  WordErrors errors_;
};

template <typename List>
bool read_words(Scanner& in, std::size_t nleft, const Range& range, List& list) {
  return WordReader<List>(in, range, list).read(nleft);
}

// Parts, counted from 0. Those of a fix file may be -1, as those of free cells are.
struct PartList {
  std::vector<int>& parts;
  const Range& range;
  int instead;  // of a part with an error
  bool may_be_free = false;
  bool has_part_0 = false;

  [[nodiscard]] bool allows(int number) const {
    return (number >= range.min && number <= range.max) || (may_be_free && number == -1);
  }
  bool add_all(std::span<const int> numbers) {
    has_part_0 = has_part_0 || std::find(numbers.begin(), numbers.end(), 0) != numbers.end();
    append_from(range.min, numbers, parts);
    return true;
  }
  bool add(int number, WordErrors& /*errors*/) {
    has_part_0 = has_part_0 || number == 0;
    parts.push_back(number < range.min ? -1 : number - range.min);
    return true;
  }
  void add_error() { parts.push_back(instead); }
};

// Any numbers of a range.
struct ValueList {
  std::vector<int>& values;
  const Range& range;

  [[nodiscard]] bool allows(int number) const { return number >= range.min && number <= range.max; }
  bool add_all(std::span<const int> numbers) {
    values.insert(values.end(), numbers.begin(), numbers.end());
    return true;
  }
  bool add(int number, WordErrors& /*errors*/) {
    values.push_back(number);
    return true;
  }
  void add_error() {}
};

// The numbers of a permutation, each once.
struct OrderList {
  std::vector<int>& order;
  const Range& range;
  NumberSet& named;

  [[nodiscard]] bool allows(int number) const { return number >= range.min && number <= range.max; }
  bool add_all(std::span<const int> numbers) {
    if (!named.add_all(numbers, range.max)) return false;
    order.insert(order.end(), numbers.begin(), numbers.end());
    return true;
  }
  bool add(int number, WordErrors& errors) {
    if (!named.add(number) && !errors.add("repeated-cell")) return false;
    order.push_back(number);
    return true;
  }
  void add_error() { order.push_back(0); }
};

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
  const Range numbered{first, last, {}, "part-out-of-range", "missing-part"};
  PartList list{parts, numbered, 0, false, first == 1};
  begin_lines(in, {.by_line = false});
  const auto nwanted = static_cast<std::size_t>(ncells) + 1;
  while (parts.size() < nwanted) {
    if (read_words(in, nwanted - parts.size(), numbered, list)) continue;
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, numbered);
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {first, kAnyNumber, {}});
      const bool is_last_from_1 = !list.has_part_0 && number_in(token, {nparts, nparts, {}});
      refuse_number(in, token, numbered, meaning, is_large ? kManyParts : is_last_from_1 ? kPartsFrom1 : "");
      if (token.text.empty()) return parts;
    }
    list.has_part_0 = list.has_part_0 || part == 0;
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
  PartList list{parts, numbered, -1, true};
  begin_lines(in, {.by_line = false});
  const auto nwanted = static_cast<std::size_t>(ncells) + 1;
  while (parts.size() < nwanted) {
    if (read_words(in, nwanted - parts.size(), numbered, list)) continue;
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
  ValueList list{values, range};
  while (true) {
    if (read_words(in, kMostPins, range, list)) continue;
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
  OrderList list{order, allowed, named};
  begin_lines(in, {.by_line = false});
  while (order.size() < nwanted) {
    if (read_words(in, nwanted - order.size(), allowed, list)) continue;
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
