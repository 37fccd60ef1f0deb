#include "formats/matrix_market.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <utility>
#include <vector>

#include "formats/losses.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/lists.h"

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
  std::size_t size_offset = 0;  // of the number of rows in the file
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
      unexpected(in, token, "bad-banner", std::string("a first line ") + kBanner);
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
void begin_line(Scanner& in, bool comments) {
  while (!at_end(in)) {
    if (comments) skip_comments(in);
    const std::size_t line_start = in.at;
    const bool is_blank = next_on_line(in).text.empty();
    in.at = line_start;
    if (!is_blank) return;
    skip_line(in);
  }
}

Header read_header(Scanner& in) {
  Header header;
  read_banner(in, header);
  begin_line(in, true);
  const Token nrows = next_on_line(in);
  header.nrows = as_number(in, nrows, count_range("the number of rows"));
  header.size_offset = nrows.offset;
  const Token ncolumns = next_on_line(in);
  header.ncolumns = as_number(in, ncolumns, count_range("the number of columns"));
  if (header.mirrored && header.nrows != header.ncolumns)
    unexpected(in, ncolumns, "not-square",
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

// Values are checked and dropped; they can have any size.
void check_value(Scanner& in, bool whole, const std::string& entry) {
  const Token token = next_on_line(in);
  std::string_view number = token.text;
  if (number.starts_with('+') && !number.starts_with("+-")) number.remove_prefix(1);
  const bool looks_whole = number.find_first_not_of("-0123456789") == std::string_view::npos;
  if (!is_number(number) || (whole && !looks_whole))
    unexpected(in, token, "bad-value", (whole ? "the whole value of " : "the value of ") + entry);
}

struct Ranges {
  Range rows;
  Range columns;
};

Range index_range(const std::string& what, int count) {
  return {
      1, count,
      count == 0 ? "no " + what + ", as there are none" : "a " + what + " from 1 to " + std::to_string(count),
      "cell-out-of-range"};
}

int as_index(const Scanner& in, const Token& token, const Range& range) {
  const std::optional<int> index = number_in(token, range);
  if (!index)
    unexpected(in, token, range.rule, range.meaning,
               token.text == "0" ? "Matrix Market counts from 1; does this file count from 0?" : "");
  return *index;
}

Entry read_entry(Scanner& in, const Header& header, const Ranges& ranges, int k) {
  begin_line(in, false);
  if (at_end(in)) unexpected(in, {{}, in.at}, "missing-line", of_all("entry", k, header.nentries));
  const Token row = next_on_line(in);
  const Token column = next_on_line(in);
  const Entry entry{as_index(in, row, ranges.rows), as_index(in, column, ranges.columns)};
  if (header.skew && entry.row == entry.column)
    bad_text(in, row.offset, "diagonal-entry",
             "found an entry on the diagonal, expected none in a skew-symmetric matrix");
  if (header.values_per_entry > 0) {
    const std::string which = of_all("entry", k, header.nentries);
    for (int n = 0; n < header.values_per_entry; ++n) check_value(in, header.whole_values, which);
  }
  expect_line_end(in, "the entry");
  return entry;
}

std::vector<Entry> read_entries(Scanner& in, const Header& header) {
  const Ranges ranges{index_range("row", header.nrows), index_range("column", header.ncolumns)};
  std::vector<Entry> matrix;
  for (int k = 1; k <= header.nentries; ++k) matrix.push_back(read_entry(in, header, ranges, k));
  expect_end(in, "the " + std::to_string(header.nentries) +
                     (header.nentries == 1 ? " entry of the header" : " entries of the header"));
  return matrix;
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

// Keeps the first of entries that are given more than once. If `mirrored`, an entry equals the one across the
// diagonal. Returns the number of entries dropped.
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

// By row: 1 if its diagonal entry is there, else 0.
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

void check_options(const Scanner& in, const Header& header, const ReadOptions& options) {
  if (options.add_diagonal && header.nrows != header.ncolumns)
    bad_text(in, header.size_offset, "not-square",
             "found " + std::to_string(header.nrows) + " rows and " + std::to_string(header.ncolumns) +
                 " columns, expected a square matrix for --diagonal");
  if (options.model == Model::kFineGrain && header.nrows > kMostItems - header.ncolumns)
    bad_text(in, header.size_offset, "bad-count",
             "found " + std::to_string(std::int64_t{header.nrows} + header.ncolumns) +
                 " rows and columns, expected at most " + std::to_string(kMostItems) + " nets");
}

// Entries are cells; nets are the rows and, after them, the columns.
void make_fine_grain_nets(NetLists& lists, const std::vector<Entry>& entries, const Header& header) {
  check_pins(2 * entries.size());
  lists.ncells = static_cast<int>(entries.size());
  lists.nnets = header.nrows + header.ncolumns;
  std::vector<Pin> pins;
  pins.reserve(2 * entries.size());
  for (std::size_t k = 0; k < entries.size(); ++k) {
    const int cell = static_cast<int>(k) + 1;
    pins.push_back({entries[k].row, cell});
    pins.push_back({header.nrows + entries[k].column, cell});
  }
  group_by_net(lists, pins);
}

void make_nets(NetLists& lists, const std::vector<Entry>& entries, const Header& header, Model model) {
  const bool by_row = model != Model::kColumnNet;
  lists.nnets = by_row ? header.nrows : header.ncolumns;
  lists.ncells = by_row ? header.ncolumns : header.nrows;
  std::vector<Pin> pins;
  pins.reserve(entries.size());
  for (const Entry& entry : entries)
    pins.push_back(by_row ? Pin{entry.row, entry.column} : Pin{entry.column, entry.row});
  group_by_net(lists, pins);
}

}  // namespace

void read_matrix_market(Scanner& in, NetLists& lists, const ReadOptions& options) {
  const Header header = read_header(in);
  std::vector<Entry> matrix = read_entries(in, header);
  if (const std::size_t nrepeated = drop_repeated(matrix, header.mirrored); nrepeated > 0)
    lists.remarks.push_back(counted(static_cast<std::int64_t>(nrepeated), "repetition") +
                            " of entries dropped");
  if (header.mirrored) matrix = with_mirror_images(matrix);
  check_options(in, header, options);

  if (options.model == Model::kFineGrain) {
    if (options.add_diagonal) append_diagonal(matrix, header.nrows);
    make_fine_grain_nets(lists, matrix, header);
    return;
  }
  make_nets(lists, matrix, header, options.model);
  if (options.add_diagonal) lists.diagonal = marks_of_diagonal(matrix, header.nrows);
}

std::string refusal_of_matrix_market(const WriteOptions& options) {
  return options.model == Model::kFineGrain ? "a matrix is written by --model row-net or column-net" : "";
}

void find_losses_of_matrix_market(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  note_lost_weights(losses, h, false, false);
  note(losses.lost, count_repeated_pins(h), "repeated pin");
}

void write_matrix_market(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  const std::int64_t nrepeated = count_repeated_pins(h);
  std::vector<int> last_net(nrepeated > 0 ? static_cast<std::size_t>(h._c) + 1 : 0);
  const auto is_repeated = [&last_net](int i, int j) {
    return !last_net.empty() && std::exchange(last_net[static_cast<std::size_t>(i)], j) == j;
  };
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
    char net[TextWriter::kNumber] = {};  // its number, which stands on each of its lines
    const std::ptrdiff_t size = print(net, j) - net;
    net[size] = by_row ? ' ' : '\n';
    for (const int i : pins_of(h._nlst[j])) {
      if (is_repeated(i, j)) continue;
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
  out.close();
}

}  // namespace quillon::formats
