#include "formats/readers.h"

namespace quillon::tool {
namespace {

struct Header {
  int numbering = 0;
  int npins = 0;
  bool cell_weights = false;
  bool net_weights = false;
  int weights_per_cell = 1;
  std::size_t npins_offset = 0;  // where the file says it
};

// What stands on a line behind its last integer is not looked at.
Token next_number(Tokenizer& in) {
  const std::optional<Token> integer = next_integer(in);
  if (integer) return *integer;
  return next_on_line(in);
}

void take_format(const Tokenizer& in, const Token& token, Header& header) {
  const int fmt =
      as_number(in, token, {0, 3, "the weights in the file: 0 none, 1 of cells, 2 of nets, 3 of both"});
  header.cell_weights = (fmt & 1) != 0;
  header.net_weights = (fmt & 2) != 0;
}

Header read_header(Tokenizer& in, Arrays& arrays) {
  skip_comments(in);
  Header header;
  header.numbering =
      as_number(in, next_number(in), {0, 1, "the number that the file's cells begin with, 0 or 1"});
  arrays.ncells = as_number(in, next_number(in), count_range("the number of cells"));
  begin_nets(arrays, as_number(in, next_number(in), count_range("the number of nets")));
  const Token npins = next_number(in);
  header.npins = as_number(in, npins, count_range("the number of pins"));
  header.npins_offset = npins.offset;

  if (const std::optional<Token> fmt = next_integer(in)) {
    take_format(in, *fmt, header);
    if (const std::optional<Token> count = next_integer(in))
      header.weights_per_cell = as_number(
          in, *count, {1, std::numeric_limits<int>::max(), "the number of weights per cell, from 1"});
  }
  skip_line(in);
  return header;
}

[[noreturn]] void bad_cell(const Tokenizer& in, const Token& token, const Header& header,
                           const Arrays& arrays, const Range& cells) {
  std::string hint;
  const int other_numbering = 1 - header.numbering;
  if (number_in(token, cell_range(arrays.ncells, other_numbering)))
    hint = "the header says that cells count from " + std::to_string(header.numbering) + "; do they from " +
           std::to_string(other_numbering) + "?";
  else if (number_in(token, {cells.max + 1, arrays.nnets, ""}))
    hint = "the header gives the number of cells first, that of nets second; are they swapped?";
  unexpected(in, token, cells.meaning, hint);
}

// Our own files may hold negative weights.
Range signed_weight_range(const std::string& what) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  return {kLeast, kLargest, what + ", from " + std::to_string(kLeast) + " to " + std::to_string(kLargest)};
}

const char* hint_on_format(const Header& header) {
  return header.cell_weights && !header.net_weights
             ? "format 1 means cell weights here, and net weights in hMETIS; those are 2 here"
             : "";
}

void read_net(Tokenizer& in, Arrays& arrays, const Header& header, const Range& cells) {
  if (header.net_weights) {
    const std::string net = "the weight of net " + std::to_string(arrays.xnadj.size() - 1);
    arrays.net_weights.push_back(as_number(in, next_number(in), signed_weight_range(net)));
  }
  while (const std::optional<Token> token = next_integer(in)) {
    if (arrays.nadj.size() == static_cast<std::size_t>(header.npins))
      unexpected(in, *token, "no more than the " + counted(header.npins, "pin") + " of the header",
                 hint_on_format(header));
    const std::optional<int> cell = number_in(*token, cells);
    if (!cell) bad_cell(in, *token, header, arrays, cells);
    arrays.nadj.push_back(*cell + 1 - header.numbering);
  }
  end_net(arrays);
  skip_line(in);
}

// Of the numbers of each cell the first is its weight. Those that are missing are 1.
void read_cell_weights(Tokenizer& in, Arrays& arrays, int weights_per_cell) {
  const Range weights = signed_weight_range("the weight of a cell");
  const auto wanted = static_cast<std::size_t>(arrays.ncells) + 1;
  arrays.cell_weights.push_back(0);
  for (int k = 0; arrays.cell_weights.size() < wanted || k != 0;) {
    const std::optional<Token> token = next_integer(in);
    if (!token) {
      skip_line(in);
      skip_comments(in);
      if (at_end(in)) break;
      continue;
    }
    if (k == 0) arrays.cell_weights.push_back(as_number(in, *token, weights));
    k = (k + 1) % weights_per_cell;
  }
  if (const std::size_t nmissing = wanted - arrays.cell_weights.size(); nmissing > 0)
    arrays.remarks.push_back("the file ends before " +
                             counted(static_cast<std::int64_t>(nmissing), "cell weight") + ", taken as 1");
  arrays.cell_weights.resize(wanted, 1);
}

}  // namespace

void import_quillon(Tokenizer& in, Arrays& arrays) {
  const Header header = read_header(in, arrays);
  const Range cells = cell_range(arrays.ncells, header.numbering);
  if (header.net_weights) arrays.net_weights.push_back(0);
  for (int j = 1; j <= arrays.nnets; ++j) {
    skip_comments(in);
    if (at_end(in)) unexpected(in, {{}, in.at}, of_all("net", j, arrays.nnets));
    read_net(in, arrays, header, cells);
  }
  if (arrays.nadj.size() != static_cast<std::size_t>(header.npins))
    bad_text(in, header.npins_offset,
             "found " + counted(static_cast<std::int64_t>(arrays.nadj.size()), "pin") +
                 " on the net lines, expected the " + std::to_string(header.npins) + " of the header",
             hint_on_format(header));

  if (header.cell_weights) {
    skip_comments(in);
    read_cell_weights(in, arrays, header.weights_per_cell);
  }
}

}  // namespace quillon::tool
