#include "formats/matrix_market.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "formats/damaged_lines.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/net_lines.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/short_nets.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

struct Header {
  int values_per_entry = 0;  // 0 for a pattern, 2 for complex numbers
  bool whole_values = false;
  bool mirrored = false;  // one triangle is stored
  bool skew = false;      // and no diagonal
  int nrows = 0;
  int ncolumns = 0;
  int nentries = 0;
  int first = 1;     // number of the first row and column
  Place size_place;  // of the number of rows
};

struct Entry {
  int row;
  int column;
};

constexpr const char* kBanner = "%%MatrixMarket matrix coordinate FIELD SYMMETRY";

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

void read_banner(Scanner& in, Header& header) {
  for (const char* const word : {"%%matrixmarket", "matrix"}) {
    const Token token = next_on_line(in);
    if (lower(token.text) != word)
      unexpected(in, token, token.text.empty() ? "header-missing" : "bad-banner",
                 std::string("a first line ") + kBanner,
                 lower(token.text) == "%matrixmarket" ? "the line begins with two percent signs" : "");
  }
  const Token layout = next_on_line(in);
  if (lower(layout.text) == "array")
    unexpected(in, layout, "bad-banner", "coordinate", "dense matrices are not read here");
  if (lower(layout.text) != "coordinate") unexpected(in, layout, "bad-banner", "coordinate");

  const Token field = next_on_line(in);
  const std::string kind = lower(field.text);
  if (kind != "pattern" && kind != "integer" && kind != "real" && kind != "complex")
    unexpected(in, field, "bad-banner", "pattern, integer, real or complex");
  header.whole_values = kind == "integer";
  header.values_per_entry = kind == "pattern" ? 0 : kind == "complex" ? 2 : 1;

  const Token symmetry = next_on_line(in);
  const std::string which = lower(symmetry.text);
  if (which != "general" && which != "symmetric" && which != "skew-symmetric" && which != "hermitian")
    unexpected(in, symmetry, "bad-banner", "general, symmetric, skew-symmetric or hermitian");
  header.mirrored = which != "general";
  header.skew = which == "skew-symmetric";
  expect_line_end(in, "the symmetry");
}

// Moves to the next line that is not blank, nor a comment where comments can stand.
void skip_blank_lines(Scanner& in, bool comments) {
  while (!at_end(in)) {
    if (comments) skip_comments(in);
    if (in.at < in.text.size() && !is_space(in.text[in.at])) return;  // nearly always
    const Token first = next_on_line(in);
    put_back(in, first);
    if (!first.text.empty()) return;
    skip_line(in);
  }
}

Header read_header(Scanner& in) {
  Header header;
  read_banner(in, header);
  skip_blank_lines(in, true);
  const Token nrows = next_on_line(in);
  header.nrows = as_number(in, nrows, first_count_range("the number of rows"));
  note_header(in, nrows.offset);
  header.size_place = place_of(in, nrows.offset);
  const Token ncolumns = next_on_line(in);
  header.ncolumns = as_number(in, ncolumns, count_range("the number of columns"));
  if (header.mirrored && header.nrows != header.ncolumns)
    unexpected(in, ncolumns, "not-square",
               "as many columns as the " + std::to_string(header.nrows) + " rows of a symmetric matrix");
  header.nentries = as_number(in, next_on_line(in), count_range("the number of entries"));
  expect_line_end(in, "the number of entries");
  header.nentries = settled_counts(in, {header.ncolumns, header.nentries, 0}).nnets;
  return header;
}

bool is_number(std::string_view text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  return !text.empty() && stopped == end && error != std::errc::invalid_argument;
}

// Values are checked and dropped; they can have any size. Returns whether there was no error.
bool check_value(Scanner& in, const Header& header, int k) {
  const Token token = next_on_line(in);
  std::string_view number = token.text;
  if (number.starts_with('+') && !number.starts_with("+-")) number.remove_prefix(1);
  const bool looks_whole = number.find_first_not_of("-0123456789") == std::string_view::npos;
  if (is_number(number) && (looks_whole || !header.whole_values)) return true;
  return refuse(in, token, "bad-value", [&] {
    return (header.whole_values ? "the whole value of " : "the value of ") +
           of_all("entry", k, header.nentries);
  });
}

struct Ranges {
  Range rows;
  Range columns;
};

Range index_range(const std::string& what, int count, int first) {
  const int last = count - 1 + first;
  return {first, last,
          count == 0 ? "no " + what + ", as there are none"
                     : "a " + what + " from " + std::to_string(first) + " to " + std::to_string(last),
          "cell-out-of-range"};
}

// From 1; 0 if it is out of range and somebody listens.
int as_index(const Scanner& in, const Token& token, const Range& range) {
  if (const std::optional<int> index = number_in(token, range)) return *index + 1 - range.min;
  refuse_number(in, token, range,
                token.text == "0" ? "Matrix Market counts from 1; does this file count from 0?" : "");
  return 0;
}

// Returns whether there was no error.
bool read_entry(Scanner& in, const Header& header, const Ranges& ranges, int k, Entry& entry) {
  const Token row = next_on_line(in);
  locate(in, {Item::kNet, k, Item::kLine}, row.offset);
  const Place place = header.skew ? place_of(in, row.offset) : Place{};
  entry.row = as_index(in, row, ranges.rows);
  entry.column = as_index(in, next_on_line(in), ranges.columns);
  if (entry.row == 0 || entry.column == 0) {
    const bool reaches_last = entry.row == header.nrows || entry.column == header.ncolumns;
    if (in.audit != nullptr && reaches_last) in.audit->reaches_last = true;
    return false;
  }
  if (header.skew && entry.row == entry.column) {
    if (wants_text(in, "diagonal-entry"))
      report(in, {"diagonal-entry", Severity::kError, in.name, place.line, place.column,
                  "found an entry on the diagonal, expected none in a skew-symmetric matrix", ""});
    return false;
  }
  for (int n = 0; n < header.values_per_entry; ++n)
    if (!check_value(in, header, k)) return false;
  return next_line_or_refuse(in, [] { return "the entry"; });
}

bool is_sound(const int* pairs, int count, const Header& header) {
  unsigned outside = 0;
  for (int k = 0; k < count; k += 2) {
    outside |=
        static_cast<unsigned>(pairs[k] - header.first) >= static_cast<unsigned>(header.nrows) ? 1U : 0U;
    outside |= static_cast<unsigned>(pairs[k + 1] - header.first) >= static_cast<unsigned>(header.ncolumns)
                   ? 1U
                   : 0U;
  }
  for (int k = 0; header.skew && k < count; k += 2) outside |= pairs[k] == pairs[k + 1] ? 1U : 0U;
  return outside == 0;
}

// The entries of a matrix. While they come net by net, as in most files, they are kept as the pins that they
// are: half of the memory, and nothing is left to sort. Otherwise they are pairs of row and column.
class Entries {
 public:
  // Begins without entries. They are kept as pairs from the start unless `model` makes a net of each row or
  // column.
  Entries(Model model, bool as_pairs)
      : values_("matrix: entries"),
        ends_("matrix: ends of nets"),
        net_(model == Model::kColumnNet ? 1 : 0),
        are_pins_(!as_pairs) {
    ends_.assign({0, 0});
  }

  // Makes room for entries that a header announces.
  void reserve(int nentries) { values_.reserve(2 * static_cast<std::size_t>(nentries)); }

  [[nodiscard]] std::size_t size() const { return are_pins_ ? values_.size() : values_.size() / 2; }
  [[nodiscard]] bool are_pins() const { return are_pins_; }

  // Adds pairs of row and column that count from 1 when `shift` is added.
  void add(std::span<const int> pairs, int shift) {
    if (are_pins_ && !come_by_net(pairs, shift)) make_pairs();
    if (are_pins_) {
      add_pins(pairs, shift);
      return;
    }
    std::transform(pairs.begin(), pairs.end(), values_.extend(pairs.size()),
                   [shift](int index) { return index + shift; });
  }

  // Adds an entry that counts from 1.
  void add(const Entry& entry) {
    if (are_pins_) {
      add(std::array{entry.row, entry.column}, 0);
      return;
    }
    values_.push_back(entry.row);
    values_.push_back(entry.column);
  }

  // Row and column of each, if they are no pins.
  [[nodiscard]] const Ints& pairs() const { return values_; }
  [[nodiscard]] Ints release_pairs() && { return std::move(values_); }

  // Makes nets of the pins.
  //
  // @param lists  Needs `nnets`; gets `xnadj` and `nadj`.
  void release_pins(NetLists& lists) && {
    lists.xnadj.assign(static_cast<std::size_t>(lists.nnets) + 2, 0);
    for (std::size_t k = 0; k < ends_.size(); k += 2)
      lists.xnadj[static_cast<std::size_t>(ends_[k]) + 1] = ends_[k + 1];
    for (std::size_t j = 1; j < lists.xnadj.size(); ++j)
      lists.xnadj[j] = std::max(lists.xnadj[j], lists.xnadj[j - 1]);
    lists.nadj = std::move(values_);
  }

 private:
  [[nodiscard]] bool come_by_net(std::span<const int> pairs, int shift) const {
    int last = ends_[ends_.size() - 2] - shift;
    unsigned falls = 0;
    for (std::size_t k = net_; k < pairs.size(); k += 2) {
      falls |= pairs[k] < last ? 1U : 0U;
      last = pairs[k];
    }
    return falls == 0;
  }

  // The end of a net is written with each of its pins: the branch at the last one would be unpredictable.
  void add_pins(std::span<const int> pairs, int shift) {
    auto npins = static_cast<int>(values_.size());
    const std::size_t nlast = ends_.size() - 2;
    int* pin = values_.extend(pairs.size() / 2);
    ends_.extend(pairs.size());
    int* end = ends_.data() + nlast;
    for (std::size_t k = 0; k < pairs.size(); k += 2) {
      const int net = pairs[k + net_] + shift;
      *pin++ = pairs[k + 1 - net_] + shift;
      end += net == *end ? 0 : 2;
      end[0] = net;
      end[1] = ++npins;
    }
    ends_.resize(static_cast<std::size_t>(end - ends_.data()) + 2);
  }

  void make_pairs() {
    std::size_t k = values_.size();
    values_.extend(k);
    for (std::size_t j = ends_.size() - 2; j > 0; j -= 2) {
      for (const auto begin = static_cast<std::size_t>(ends_[j - 1]); k > begin; --k) {
        const int cell = values_[k - 1];
        values_[2 * (k - 1) + net_] = ends_[j];
        values_[2 * (k - 1) + 1 - net_] = cell;
      }
    }
    are_pins_ = false;
  }

  Ints values_;
  Ints ends_;  // for each net with pins: its number, and the number of pins up to its last one; first 0, 0
  std::size_t net_;  // index of the net in a pair
  bool are_pins_;
};

// Reads the lines of entries with errors that lint only counts.
class DamagedEntries {
 public:
  DamagedEntries(const Scanner& in, const NumberLines& lines, Entries& entries, const Header& header)
      : in_(in),
        entries_(entries),
        header_(header),
        rows_{header.first, header.nrows - 1 + header.first, {}, "cell-out-of-range"},
        columns_{header.first, header.ncolumns - 1 + header.first, {}, "cell-out-of-range"},
        lines_(in, lines) {}

  // Returns false without effect if lint wants the text of an error.
  bool read(int line) {
    lines_.enter(line);
    if (lines_.nleft() == 0) return true;
    bool reaches_last = false;
    const bool is_kept = read_words(reaches_last);
    if (!lines_.end_line()) return false;
    if (reaches_last) in_.audit->reaches_last = true;
    if (!is_kept) note_damage(in_, static_cast<int>(entries_.size()) + 1);
    entries_.add(is_kept ? entry_ : Entry{1, 1});
    return true;
  }

 private:
  bool read_words(bool& reaches_last) {
    entry_ = {0, 0};
    if (lines_.next_cell(rows_, entry_.row)) entry_.row += 1 - header_.first;
    if (lines_.next_cell(columns_, entry_.column)) entry_.column += 1 - header_.first;
    if (entry_.row == 0 || entry_.column == 0)
      reaches_last = entry_.row == header_.nrows || entry_.column == header_.ncolumns;
    else if (header_.skew && entry_.row == entry_.column)
      lines_.add("diagonal-entry");
    else if (lines_.nleft() > 0)
      lines_.add("trailing-text");
    else
      return true;
    return false;
  }

  const Scanner& in_;
  Entries& entries_;
  const Header& header_;
  const Range rows_;
  const Range columns_;
  DamagedLines lines_;
  Entry entry_{};
};

// Reads lines up to the first one that has to be read by its words. Returns false if that is the next one.
bool read_damaged_entries(Scanner& in, const NumberLines& lines, Entries& entries, const Header& header) {
  if (lines.count == 0) return false;
  const auto nentries = static_cast<std::size_t>(header.nentries);
  int nread = 0;
  for (DamagedEntries damaged(in, lines, entries, header);
       nread < lines.count && entries.size() < nentries && damaged.read(nread);)
    ++nread;
  if (nread > 0) skip_lines(in, nread);
  return nread > 0;
}

// Appends the entries of many lines at once. Returns false without effect if lines have to be read by words.
bool read_plain_entries(Scanner& in, Entries& entries, const Header& header) {
  const NumberLines lines = number_lines(in);
  if (lines.count == 0)
    return may_count_errors(in) && read_damaged_entries(in, odd_lines(in), entries, header);
  const std::size_t nleft = 2 * (static_cast<std::size_t>(header.nentries) - entries.size());
  int odd = 0;
  for (int k = 0; k < lines.count; ++k) odd |= lines.size(k) & ~2;  // a line has two indices, or it is blank
  if (odd != 0 || static_cast<std::size_t>(lines.nnumbers) > nleft ||
      !is_sound(lines.numbers, lines.nnumbers, header))
    return may_count_errors(in) && read_damaged_entries(in, lines, entries, header);
  entries.add({lines.numbers, static_cast<std::size_t>(lines.nnumbers)}, 1 - header.first);
  skip_all_lines(in);
  return true;
}

void read_or_drop_entry(Scanner& in, const Header& header, const Ranges& ranges, Entries& entries) {
  const int k = static_cast<int>(entries.size()) + 1;
  Entry entry{};
  const bool is_skipped = skips_net(in, k);
  if (is_skipped) skip_line(in);
  if (is_skipped || !read_line(in, [&] { return read_entry(in, header, ranges, k, entry); })) {
    note_damage(in, k);
    entry = {1, 1};
  }
  entries.add(entry);
}

// Reads all entries. With a listener there may be fewer than announced.
Entries read_entries(Scanner& in, const Header& header, const ReadOptions& options, bool grow_slowly) {
  const Ranges ranges{index_range("row", header.nrows, header.first),
                      index_range("column", header.ncolumns, header.first)};
  const bool are_listed = in.audit != nullptr && in.audit->pins;
  const bool as_pairs = header.mirrored || options.add_diagonal || options.model == Model::kFineGrain;
  Entries entries(options.model, as_pairs || are_listed);
  if (!grow_slowly) entries.reserve(header.nentries);
  begin_lines(in, {.nvalues = header.values_per_entry, .whole_values = header.whole_values});
  const auto nread = [&entries] { return static_cast<int>(entries.size()); };
  while (nread() < header.nentries) {
    if (read_plain_entries(in, entries, header)) continue;
    skip_blank_lines(in, false);
    if (at_end(in))
      unexpected(in, {{}, in.at}, "missing-line", of_all("entry", nread() + 1, header.nentries));
    read_or_drop_entry(in, header, ranges, entries);
  }
  expect_end(in, "the " + std::to_string(header.nentries) +
                     (header.nentries == 1 ? " entry of the header" : " entries of the header"));
  return entries;
}

Entry entry_at(const Ints& entries, std::size_t k) { return {entries[2 * k], entries[2 * k + 1]}; }

// Calls visit(entry) for each entry in the order of the file; where one triangle is stored, also for each
// mirror image after its entry.
template <typename Visit>
void for_each_entry(const Ints& entries, bool mirrored, Visit visit) {
  for (std::size_t k = 0; k < entries.size() / 2; ++k) {
    const Entry entry = entry_at(entries, k);
    visit(entry);
    if (mirrored && entry.row != entry.column) visit(Entry{entry.column, entry.row});
  }
}

// By row: 1 if its diagonal entry is there, else 0.
std::vector<int> marks_of_diagonal(const Ints& entries, int nrows) {
  std::vector<int> marks(static_cast<std::size_t>(nrows) + 1, 0);
  for (std::size_t k = 0; k < entries.size(); k += 2)
    if (entries[k] == entries[k + 1]) marks[static_cast<std::size_t>(entries[k])] = 1;
  return marks;
}

void check_options(const Scanner& in, const Header& header, const ReadOptions& options) {
  if (options.add_diagonal && header.nrows != header.ncolumns)
    bad_text(in, header.size_place, "not-square",
             "found " + std::to_string(header.nrows) + " rows and " + std::to_string(header.ncolumns) +
                 " columns, expected a square matrix to add a diagonal to");
  if (options.model == Model::kFineGrain && header.nrows > kMostItems - header.ncolumns)
    bad_text(in, header.size_place, "bad-count",
             "found " + std::to_string(std::int64_t{header.nrows} + header.ncolumns) +
                 " rows and columns, expected at most " + std::to_string(kMostItems) + " nets");
}

bool is_ascending(std::span<const int> pins) {
  return std::adjacent_find(pins.begin(), pins.end(), std::greater_equal<>()) == pins.end();
}

// Repetitions of entries, on and off the diagonal.
struct Repetitions {
  std::size_t on_diagonal = 0;
  std::size_t elsewhere = 0;
};

// Whether a look at the net alone shows that it names no cell twice.
bool names_each_once(const NetLists& lists, std::span<const int> pins) {
  if (pins.size() > kShortNet) return is_ascending(pins);
  return repeated_pins(pins, lists.nadj.end()) == 0;
}

// Keeps the first of equal pins of a net.
Repetitions drop_repeated_pins(NetLists& lists) {
  Repetitions dropped;
  std::vector<int> last_net;  // by cell
  int* const pins = lists.nadj.data();
  int kept = 0;
  int begin = 0;
  for (int j = 1; j <= lists.nnets; ++j) {
    int& end = lists.xnadj[static_cast<std::size_t>(j) + 1];
    if (names_each_once(lists, {pins + begin, pins + end})) {
      if (kept != begin) std::copy(pins + begin, pins + end, pins + kept);
      kept += end - begin;
    } else {
      last_net.resize(static_cast<std::size_t>(lists.ncells) + 1, 0);
      for (int k = begin; k < end; ++k) {
        const int i = pins[k];
        if (std::exchange(last_net[static_cast<std::size_t>(i)], j) == j)
          ++(i == j ? dropped.on_diagonal : dropped.elsewhere);
        else
          pins[kept++] = i;
      }
    }
    begin = std::exchange(end, kept);
  }
  lists.nadj.resize(static_cast<std::size_t>(kept));
  return dropped;
}

// Net and cell of an entry.
Pin pin_of(const Entry& entry, Model model) {
  return model == Model::kColumnNet ? Pin{entry.column, entry.row} : Pin{entry.row, entry.column};
}

bool is_sorted_by_net(const Ints& entries, Model model) {
  const std::size_t first = model == Model::kColumnNet ? 1 : 0;
  bool sorted = true;
  for (std::size_t k = first; k + 2 < entries.size(); k += 2) sorted = sorted && entries[k] <= entries[k + 2];
  return sorted;
}

void count_pins(NetLists& lists, const Ints& entries, bool mirrored, Model model) {
  lists.xnadj.assign(static_cast<std::size_t>(lists.nnets) + 2, 0);
  for_each_entry(entries, mirrored, [&](const Entry& entry) {
    ++lists.xnadj[static_cast<std::size_t>(pin_of(entry, model).net) + 1];
  });
  std::size_t total = 0;
  for (std::size_t j = 1; j < lists.xnadj.size(); ++j) {
    total += static_cast<std::size_t>(lists.xnadj[j]);
    check_pins(total);
    lists.xnadj[j] = static_cast<int>(total);
  }
}

// Entries that are sorted by net are the pins in their order: the other index of each is removed.
void keep_cells(NetLists& lists, Ints&& entries, Model model) {
  const std::size_t second = model == Model::kColumnNet ? 0 : 1;
  const std::size_t npins = entries.size() / 2;
  for (std::size_t k = 0; k < npins; ++k) entries[k] = entries[2 * k + second];
  entries.resize(npins);
  lists.nadj = std::move(entries);
}

void scatter(NetLists& lists, const Ints& entries, bool mirrored, Model model) {
  std::vector<int> next(lists.xnadj.begin(), lists.xnadj.end());
  lists.nadj.clear();
  int* const pins = lists.nadj.extend(static_cast<std::size_t>(lists.xnadj.back()));
  for_each_entry(entries, mirrored, [&](const Entry& entry) {
    const Pin pin = pin_of(entry, model);
    pins[next[static_cast<std::size_t>(pin.net)]++] = pin.cell;
  });
}

// Returns the number of entries dropped because they were given before.
std::size_t make_nets(NetLists& lists, Entries&& entries, const Header& header, Model model) {
  const bool by_row = model != Model::kColumnNet;
  lists.nnets = by_row ? header.nrows : header.ncolumns;
  lists.ncells = by_row ? header.ncolumns : header.nrows;
  if (entries.are_pins()) {
    std::move(entries).release_pins(lists);
  } else {
    count_pins(lists, entries.pairs(), header.mirrored, model);
    if (!header.mirrored && is_sorted_by_net(entries.pairs(), model))
      keep_cells(lists, std::move(entries).release_pairs(), model);
    else
      scatter(lists, entries.pairs(), header.mirrored, model);
  }
  const Repetitions dropped = drop_repeated_pins(lists);
  return dropped.on_diagonal + dropped.elsewhere / (header.mirrored ? 2 : 1);
}

// By index of `for_each_entry`: whether the entry has been given before.
std::vector<bool> repeated_entries(const std::vector<Entry>& entries, const Header& header) {
  std::vector<std::size_t> ends(static_cast<std::size_t>(header.nrows) + 2, 0);
  for (const Entry& entry : entries) ++ends[static_cast<std::size_t>(entry.row) + 1];
  for (std::size_t i = 1; i < ends.size(); ++i) ends[i] += ends[i - 1];
  std::vector<std::size_t> by_row(entries.size());
  for (std::size_t k = 0; k < entries.size(); ++k)
    by_row[ends[static_cast<std::size_t>(entries[k].row)]++] = k;

  std::vector<bool> repeated(entries.size());
  std::vector<int> last_row(static_cast<std::size_t>(header.ncolumns) + 1, 0);
  for (const std::size_t k : by_row) {
    const auto [row, column] = entries[k];
    repeated[k] = std::exchange(last_row[static_cast<std::size_t>(column)], row) == row;
  }
  return repeated;
}

// Keeps the first of equal entries. Returns the number dropped; an entry and its mirror image count once.
std::size_t drop_repeated(std::vector<Entry>& entries, const Header& header) {
  const std::vector<bool> repeated = repeated_entries(entries, header);
  Repetitions dropped;
  std::size_t kept = 0;
  for (std::size_t k = 0; k < entries.size(); ++k) {
    if (!repeated[k])
      entries[kept++] = entries[k];
    else
      ++(entries[k].row == entries[k].column ? dropped.on_diagonal : dropped.elsewhere);
  }
  entries.resize(kept);
  return dropped.on_diagonal + dropped.elsewhere / (header.mirrored ? 2 : 1);
}

// Entries are cells; nets are the rows and, after them, the columns. Returns the number of entries dropped.
std::size_t make_fine_grain_nets(NetLists& lists, const Ints& entries, const Header& header,
                                 const std::vector<int>& diagonal) {
  std::vector<Entry> cells;
  for_each_entry(entries, header.mirrored, [&](const Entry& entry) { cells.push_back(entry); });
  const std::size_t ndropped = drop_repeated(cells, header);
  for (std::size_t i = 1; i < diagonal.size(); ++i)
    if (diagonal[i] == 0) cells.push_back({static_cast<int>(i), static_cast<int>(i)});
  check_pins(2 * cells.size());
  lists.ncells = static_cast<int>(cells.size());
  lists.nnets = header.nrows + header.ncolumns;
  std::vector<Pin> pins;
  pins.reserve(2 * cells.size());
  for (std::size_t k = 0; k < cells.size(); ++k) {
    pins.push_back({cells[k].row, static_cast<int>(k) + 1});
    pins.push_back({header.nrows + cells[k].column, static_cast<int>(k) + 1});
  }
  group_by_net(lists, pins);
  return ndropped;
}

// Whether the nets of a matrix would need far more memory than its file. Then lint is told, and no nets are
// made.
bool is_mostly_empty(const Scanner& in, NetLists& lists, const Header& header, std::size_t nentries,
                     Model model) {
  if (!lists.avoids(std::int64_t{header.nrows} + header.ncolumns, nentries)) return false;
  lists.nnets = model == Model::kColumnNet ? header.ncolumns : header.nrows;
  lists.ncells = model == Model::kColumnNet ? header.nrows : header.ncolumns;
  note_oddity(in, header.size_place, "mostly-empty",
              "the header announces " + std::to_string(header.nrows) + " rows and " +
                  std::to_string(header.ncolumns) + " columns for " + std::to_string(nentries) +
                  (nentries == 1 ? " entry" : " entries"));
  return true;
}

// Nothing to read if the record cannot be had.
void check_room_for(const Header& header, Model model) {
  if (model == Model::kColumnNet)
    check_room(header.nrows, header.ncolumns);
  else if (model != Model::kFineGrain)
    check_room(header.ncolumns, header.nrows);
  else if (header.nrows <= kMostItems - header.ncolumns)
    check_room(0, header.nrows + header.ncolumns);
}

}  // namespace

void read_matrix_market(Scanner& in, NetLists& lists, const ReadOptions& options) {
  Header header = read_header(in);
  header.first = first_cell_of(in, 1);
  if (!lists.grow_slowly) check_room_for(header, options.model);
  Entries entries = read_entries(in, header, options, lists.grow_slowly);
  const Ints& pairs = entries.pairs();
  if (in.audit != nullptr && in.audit->pins)
    in.audit->pins({{pairs.data(), pairs.size()}, header.nrows, header.ncolumns, header.mirrored});
  check_options(in, header, options);
  // All of them are damaged, and stand for an entry that the matrix does not have.
  if (header.nrows == 0 || header.ncolumns == 0) entries = Entries(options.model, true);
  if (is_mostly_empty(in, lists, header, entries.size(), options.model)) return;
  std::vector<int> diagonal;
  if (options.add_diagonal) diagonal = marks_of_diagonal(pairs, header.nrows);
  std::size_t ndropped = 0;
  if (options.model == Model::kFineGrain) {
    ndropped = make_fine_grain_nets(lists, pairs, header, diagonal);
  } else {
    ndropped = make_nets(lists, std::move(entries), header, options.model);
    lists.diagonal = std::move(diagonal);
  }
  if (ndropped > 0)
    lists.remarks.push_back(counted(static_cast<std::int64_t>(ndropped), "repetition") +
                            " of entries dropped");
}

std::string refusal_of_matrix_market(const WriteOptions& options) {
  return options.model == Model::kFineGrain ? "a matrix is written in the row-net or column-net model" : "";
}

void find_losses_of_matrix_market(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  note_lost_weights(losses, h, false, false);
  note(losses.lost, count_repeated_pins(h), "repeated pin");
}

namespace {

// Entries of one net. Its number, which stands on each line, is printed once and copied whole: a length known
// to the compiler makes no call.
template <typename IsRepeated>
void write_entries(TextWriter& out, std::span<const int> cells, int j, bool by_row, IsRepeated is_repeated) {
  char net[TextWriter::kNumber] = {};
  const std::ptrdiff_t size = print(net, j) - net;
  net[size] = by_row ? ' ' : '\n';
  for (const int i : cells) {
    if (is_repeated(i)) continue;
    char* at = out.room(2 * TextWriter::kNumber);
    if (!by_row) at = print_with_blank(at, i);
    std::memcpy(at, net, sizeof net);
    at += size + 1;
    if (by_row) {
      at = print(at, i);
      *at++ = '\n';
    }
    out.end(at);
  }
}

}  // namespace

void write_matrix_market(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  const std::int64_t nrepeated = count_repeated_pins(h);
  std::vector<int> last_net(nrepeated > 0 ? static_cast<std::size_t>(h._c) + 1 : 0);
  const bool by_row = options.model != Model::kColumnNet;
  TextWriter out(filename, "quillon convert: matrix");
  out.text("%%MatrixMarket matrix coordinate pattern general\n");
  out.number(by_row ? h._n : h._c);
  out.character(' ');
  out.number(by_row ? h._c : h._n);
  out.character(' ');
  out.number(h._p - nrepeated);
  out.character('\n');
  for (int j = 1; j <= h._n; ++j) {
    const std::span<const int> cells = pins_of(h._nlst[j]);
    if (nrepeated == 0)
      write_entries(out, cells, j, by_row, [](int) { return false; });
    else
      write_entries(out, cells, j, by_row,
                    [&](int i) { return std::exchange(last_net[static_cast<std::size_t>(i)], j) == j; });
  }
  out.close();
}

void write_matrix_market_stream(NetStream& nets, const char* filename) {
  TextWriter out(filename, "quillon generate: matrix");
  out.text("%%MatrixMarket matrix coordinate pattern general\n");
  if (!nets.comment.empty()) out.text("% " + nets.comment + "\n");
  out.text(std::to_string(nets.nnets) + " " + std::to_string(nets.ncells) + " " + std::to_string(nets.npins) +
           "\n");
  for (int j = 1; j <= nets.nnets; ++j) {
    for (const int i : nets.next_net()) {
      write_with_blank(out, j);
      out.number(i);
      out.character('\n');
    }
  }
  out.close();
}

}  // namespace quillon::formats
