#include "formats/quillon.h"

#include "formats/losses.h"
#include "formats/notes.h"
#include "formats/ranges.h"

namespace quillon::formats {
namespace {

struct Header {
  int numbering = 0;
  int npins = 0;
  bool cell_weights = false;
  bool net_weights = false;
  int weights_per_cell = 1;
  std::size_t npins_offset = 0;  // of the number of pins in the file
};

// On a line, text after the last integer is ignored.
Token next_number(Scanner& in) {
  const std::optional<Token> integer = next_integer(in);
  if (integer) return *integer;
  return next_on_line(in);
}

void read_format(const Scanner& in, const Token& token, Header& header) {
  const int fmt = as_number(
      in, token,
      {0, 3, "the weights in the file: 0 none, 1 of cells, 2 of nets, 3 of both", "bad-format-code"});
  header.cell_weights = (fmt & 1) != 0;
  header.net_weights = (fmt & 2) != 0;
}

Header read_header(Scanner& in, NetLists& lists) {
  skip_comments(in);
  Header header;
  header.numbering = as_number(
      in, next_number(in), {0, 1, "the number that the file's cells begin with, 0 or 1", "bad-numbering"});
  lists.ncells = as_number(in, next_number(in), count_range("the number of cells"));
  begin_nets(lists, as_number(in, next_number(in), count_range("the number of nets")));
  const Token npins = next_number(in);
  header.npins = as_number(in, npins, count_range("the number of pins"));
  header.npins_offset = npins.offset;

  if (const std::optional<Token> fmt = next_integer(in)) {
    read_format(in, *fmt, header);
    if (const std::optional<Token> count = next_integer(in))
      header.weights_per_cell = as_number(
          in, *count,
          {1, std::numeric_limits<int>::max(), "the number of weights per cell, from 1", "bad-count"});
  }
  skip_line(in);
  return header;
}

[[noreturn]] void bad_cell(const Scanner& in, const Token& token, const Header& header, const NetLists& lists,
                           const Range& cells) {
  std::string hint;
  const int other_numbering = 1 - header.numbering;
  if (number_in(token, cell_range(lists.ncells, other_numbering)))
    hint = "the header says that cells count from " + std::to_string(header.numbering) + "; do they from " +
           std::to_string(other_numbering) + "?";
  else if (number_in(token, {cells.max + 1, lists.nnets, ""}))
    hint = "the header gives the number of cells first, that of nets second; are they swapped?";
  unexpected(in, token, cells.rule, cells.meaning, hint);
}

// Our own files can hold negative weights.
Range signed_weight_range(const std::string& what) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  constexpr int kLeast = std::numeric_limits<int>::min();
  return {kLeast, kLargest, what + ", from " + std::to_string(kLeast) + " to " + std::to_string(kLargest),
          "bad-weight"};
}

const char* hint_on_format(const Header& header) {
  return header.cell_weights && !header.net_weights
             ? "format 1 means cell weights here, and net weights in hMETIS; those are 2 here"
             : "";
}

void read_net(Scanner& in, NetLists& lists, const Header& header, const Range& cells) {
  if (header.net_weights) {
    const std::string net = "the weight of net " + std::to_string(lists.xnadj.size() - 1);
    lists.net_weights.push_back(as_number(in, next_number(in), signed_weight_range(net)));
  }
  while (const std::optional<Token> token = next_integer(in)) {
    if (lists.nadj.size() == static_cast<std::size_t>(header.npins))
      unexpected(in, *token, "pin-count",
                 "no more than the " + counted(header.npins, "pin") + " of the header",
                 hint_on_format(header));
    const std::optional<int> cell = number_in(*token, cells);
    if (!cell) bad_cell(in, *token, header, lists, cells);
    lists.nadj.push_back(*cell + 1 - header.numbering);
  }
  end_net(lists);
  skip_line(in);
}

// The first of the numbers of a cell is its weight. Missing ones are 1. More numbers on the last line are an
// error: it is unclear which cells the weights belong to.
void read_cell_weights(Scanner& in, NetLists& lists, int weights_per_cell) {
  const Range weights = signed_weight_range("the weight of a cell");
  const auto wanted = static_cast<std::size_t>(lists.ncells) + 1;
  lists.cell_weights.push_back(0);
  for (int k = 0; lists.cell_weights.size() < wanted || k != 0;) {
    const std::optional<Token> token = next_integer(in);
    if (!token) {
      skip_line(in);
      skip_comments(in);
      if (at_end(in)) break;
      continue;
    }
    if (k == 0) lists.cell_weights.push_back(as_number(in, *token, weights));
    k = (k + 1) % weights_per_cell;
  }
  if (const std::optional<Token> surplus = next_integer(in))
    unexpected(in, *surplus, "trailing-text",
               "nothing after the weights of " + counted(lists.ncells, "cell"));
  if (const std::size_t nmissing = wanted - lists.cell_weights.size(); nmissing > 0)
    lists.remarks.push_back("the file ends before " +
                            counted(static_cast<std::int64_t>(nmissing), "cell weight") + ", set to 1");
  lists.cell_weights.resize(wanted, 1);
}

int weights_to_write(const Hypergraph& h, const WriteOptions& options) {
  return options.weights.value_or(h._fmt);
}

}  // namespace

void read_quillon(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  const Header header = read_header(in, lists);
  const Range cells = cell_range(lists.ncells, header.numbering);
  if (header.net_weights) lists.net_weights.push_back(0);
  for (int j = 1; j <= lists.nnets; ++j) {
    skip_comments(in);
    if (at_end(in)) unexpected(in, {{}, in.at}, "missing-line", of_all("net", j, lists.nnets));
    read_net(in, lists, header, cells);
  }
  if (lists.nadj.size() != static_cast<std::size_t>(header.npins))
    bad_text(in, header.npins_offset, "pin-count",
             "found " + counted(static_cast<std::int64_t>(lists.nadj.size()), "pin") +
                 " on the net lines, expected the " + std::to_string(header.npins) + " of the header",
             hint_on_format(header));

  if (header.cell_weights) {
    skip_comments(in);
    read_cell_weights(in, lists, header.weights_per_cell);
  }
}

void write_quillon(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  write_hypergraph(&h, filename, options.numbering, weights_to_write(h, options));
}

void find_losses_of_quillon(const Hypergraph& h, const WriteOptions& options, Losses& losses) {
  const int fmt = weights_to_write(h, options);
  note_lost_weights(losses, h, (fmt & 1) != 0, (fmt & 2) != 0);
  if ((fmt & 2) != 0)
    note(losses.refused, count_nets_of_size(h, 0, [](int w) { return w >= 2; }), "net",
         " without pins of weight 2 or more, which readers that fold small nets refuse");
}

}  // namespace quillon::formats
