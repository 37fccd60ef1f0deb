#include <algorithm>
#include <cctype>
#include <charconv>
#include <vector>

#include "formats/readers.h"

namespace quillon::tool {
namespace {

struct Header {
  int values_per_entry = 0;  // 0 for a pattern, 2 for complex numbers
  bool whole_values = false;
  bool mirrored = false;  // one triangle stands for both
  bool skew = false;      // and there is no diagonal
  int nrows = 0;
  int ncolumns = 0;
  int nentries = 0;
  std::size_t size_offset = 0;  // where the file says it
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

void read_banner(Tokenizer& in, Header& header) {
  for (const char* const word : {"%%matrixmarket", "matrix"}) {
    const Token token = next_on_line(in);
    if (lower(token.text) != word) unexpected(in, token, std::string("a first line ") + kBanner);
  }
  const Token layout = next_on_line(in);
  if (lower(layout.text) == "array") unexpected(in, layout, "coordinate", "dense matrices are not read here");
  if (lower(layout.text) != "coordinate") unexpected(in, layout, "coordinate");

  const Token field = next_on_line(in);
  const std::string kind = lower(field.text);
  if (kind != "pattern" && kind != "integer" && kind != "real" && kind != "complex")
    unexpected(in, field, "pattern, integer, real or complex");
  header.whole_values = kind == "integer";
  header.values_per_entry = kind == "pattern" ? 0 : kind == "complex" ? 2 : 1;

  const Token symmetry = next_on_line(in);
  const std::string which = lower(symmetry.text);
  if (which != "general" && which != "symmetric" && which != "skew-symmetric" && which != "hermitian")
    unexpected(in, symmetry, "general, symmetric, skew-symmetric or hermitian");
  header.mirrored = which != "general";
  header.skew = which == "skew-symmetric";
  expect_line_end(in, "the symmetry");
}

// Goes to the next line that is not blank, and not a comment where those may stand.
void begin_line(Tokenizer& in, bool comments) {
  while (!at_end(in)) {
    if (comments) skip_comments(in);
    const std::size_t line_start = in.at;
    const bool is_blank = next_on_line(in).text.empty();
    in.at = line_start;
    if (!is_blank) return;
    skip_line(in);
  }
}

Header read_header(Tokenizer& in) {
  Header header;
  read_banner(in, header);
  begin_line(in, true);
  const Token nrows = next_on_line(in);
  header.nrows = as_number(in, nrows, count_range("the number of rows"));
  header.size_offset = nrows.offset;
  const Token ncolumns = next_on_line(in);
  header.ncolumns = as_number(in, ncolumns, count_range("the number of columns"));
  if (header.mirrored && header.nrows != header.ncolumns)
    unexpected(in, ncolumns,
               "as many columns as the " + std::to_string(header.nrows) + " rows of a symmetric matrix");
  header.nentries = as_number(in, next_on_line(in), count_range("the number of entries"));
  expect_line_end(in, "the number of entries");
  return header;
}

bool is_number(std::string_view text) {
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value);
  return !text.empty() && stopped == end && error != std::errc::invalid_argument;
}

// Values are not kept, and may be of any size.
void check_value(Tokenizer& in, bool whole, const std::string& entry) {
  const Token token = next_on_line(in);
  std::string_view number = token.text;
  if (number.starts_with('+') && !number.starts_with("+-")) number.remove_prefix(1);
  const bool looks_whole = number.find_first_not_of("-0123456789") == std::string_view::npos;
  if (!is_number(number) || (whole && !looks_whole))
    unexpected(in, token, (whole ? "the whole value of " : "the value of ") + entry);
}

struct Ranges {
  Range rows;
  Range columns;
};

Range index_range(const std::string& what, int count) {
  return {1, count,
          count == 0 ? "no " + what + ", as there are none"
                     : "a " + what + " from 1 to " + std::to_string(count)};
}

int as_index(const Tokenizer& in, const Token& token, const Range& range) {
  const std::optional<int> index = number_in(token, range);
  if (!index)
    unexpected(in, token, range.meaning,
               token.text == "0" ? "Matrix Market counts from 1; does this file count from 0?" : "");
  return *index;
}

Entry read_entry(Tokenizer& in, const Header& header, const Ranges& ranges, int k) {
  begin_line(in, false);
  if (at_end(in)) unexpected(in, {{}, in.at}, of_all("entry", k, header.nentries));
  const Token row = next_on_line(in);
  const Token column = next_on_line(in);
  const Entry entry{as_index(in, row, ranges.rows), as_index(in, column, ranges.columns)};
  if (header.skew && entry.row == entry.column)
    bad_text(in, row.offset, "found an entry on the diagonal, expected none in a skew-symmetric matrix");
  if (header.values_per_entry > 0) {
    const std::string which = of_all("entry", k, header.nentries);
    for (int n = 0; n < header.values_per_entry; ++n) check_value(in, header.whole_values, which);
  }
  expect_line_end(in, "the entry");
  return entry;
}

std::vector<Entry> read_entries(Tokenizer& in, const Header& header) {
  const Ranges ranges{index_range("row", header.nrows), index_range("column", header.ncolumns)};
  std::vector<Entry> entries;
  for (int k = 1; k <= header.nentries; ++k) entries.push_back(read_entry(in, header, ranges, k));
  expect_end(in, "the " + std::to_string(header.nentries) +
                     (header.nentries == 1 ? " entry of the header" : " entries of the header"));
  return entries;
}

// Each entry is followed by its mirror image.
std::vector<Entry> with_mirror_images(const std::vector<Entry>& entries) {
  std::vector<Entry> all;
  for (const Entry& entry : entries) {
    all.push_back(entry);
    if (entry.row != entry.column) all.push_back({entry.column, entry.row});
  }
  return all;
}

// Of entries given more than once the first stays, where `mirrored` those across the diagonal are the same.
// Returns how many went.
std::size_t drop_repeated(std::vector<Entry>& entries, bool mirrored) {
  std::vector<std::size_t> order(entries.size());
  for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
  const auto place = [&entries, mirrored](std::size_t k) {
    const auto [row, column] = entries[k];
    return mirrored ? std::pair(std::min(row, column), std::max(row, column)) : std::pair(row, column);
  };
  std::sort(order.begin(), order.end(), [&place](std::size_t a, std::size_t b) {
    return std::pair(place(a), a) < std::pair(place(b), b);
  });
  std::vector<bool> repeated(entries.size());
  for (std::size_t k = 1; k < order.size(); ++k) repeated[order[k]] = place(order[k]) == place(order[k - 1]);

  std::size_t kept = 0;
  for (std::size_t k = 0; k < entries.size(); ++k)
    if (!repeated[k]) entries[kept++] = entries[k];
  const std::size_t ndropped = entries.size() - kept;
  entries.resize(kept);
  return ndropped;
}

// By row: whether its diagonal entry is there.
std::vector<int> marks_of_diagonal(const std::vector<Entry>& entries, int nrows) {
  std::vector<int> marks(static_cast<std::size_t>(nrows) + 1, 0);
  for (const Entry& entry : entries)
    if (entry.row == entry.column) marks[static_cast<std::size_t>(entry.row)] = 1;
  return marks;
}

void append_diagonal(std::vector<Entry>& entries, int nrows) {
  const std::vector<int> marks = marks_of_diagonal(entries, nrows);
  for (int i = 1; i <= nrows; ++i)
    if (marks[static_cast<std::size_t>(i)] == 0) entries.push_back({i, i});
}

// Rows, and behind them columns, are nets of the entries.
void take_fine_grain(const Tokenizer& in, Arrays& arrays, const std::vector<Entry>& entries,
                     const Header& header) {
  if (header.nrows > kMostItems - header.ncolumns)
    bad_text(in, header.size_offset,
             "found " + std::to_string(std::int64_t{header.nrows} + header.ncolumns) +
                 " rows and columns, expected at most " + std::to_string(kMostItems) + " nets");
  check_pins(2 * entries.size());
  arrays.ncells = static_cast<int>(entries.size());
  arrays.nnets = header.nrows + header.ncolumns;
  std::vector<Pin> pins;
  pins.reserve(2 * entries.size());
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const int cell = static_cast<int>(k) + 1;
    pins.push_back({entries[k].row, cell});
    pins.push_back({header.nrows + entries[k].column, cell});
  }
  group_by_net(arrays, pins);
}

void take_lines(Arrays& arrays, const std::vector<Entry>& entries, const Header& header, Model model) {
  const bool by_row = model == Model::kRowNet;
  arrays.nnets = by_row ? header.nrows : header.ncolumns;
  arrays.ncells = by_row ? header.ncolumns : header.nrows;
  std::vector<Pin> pins;
  pins.reserve(entries.size());
  for (const Entry& entry : entries)
    pins.push_back(by_row ? Pin{entry.row, entry.column} : Pin{entry.column, entry.row});
  group_by_net(arrays, pins);
}

}  // namespace

void import_matrix_market(Tokenizer& in, Arrays& arrays, Model model, bool add_diagonal) {
  const Header header = read_header(in);
  std::vector<Entry> entries = read_entries(in, header);
  if (const std::size_t nrepeated = drop_repeated(entries, header.mirrored); nrepeated > 0)
    arrays.remarks.push_back(counted(static_cast<std::int64_t>(nrepeated), "repetition") +
                             " of entries dropped");
  if (header.mirrored) entries = with_mirror_images(entries);
  if (add_diagonal && header.nrows != header.ncolumns)
    bad_text(in, header.size_offset,
             "found " + std::to_string(header.nrows) + " rows and " + std::to_string(header.ncolumns) +
                 " columns, expected a square matrix for --diagonal");

  if (model == Model::kFineGrain) {
    if (add_diagonal) append_diagonal(entries, header.nrows);
    take_fine_grain(in, arrays, entries, header);
    return;
  }
  take_lines(arrays, entries, header, model);
  if (add_diagonal) arrays.diagonal = marks_of_diagonal(entries, header.nrows);
}

}  // namespace quillon::tool
