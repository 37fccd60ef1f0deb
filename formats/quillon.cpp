#include "formats/quillon.h"

#include <cstdio>
#include <span>
#include <vector>

#include "formats/audit.h"
#include "formats/beside.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/net_lines.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/record_writer.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

struct Header {
  int numbering = 0;
  int npins = 0;
  bool cell_weights = false;
  bool net_weights = false;
  int weights_per_cell = 1;
  Place npins_place;  // of the number of pins
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

// Text after the last number of a line.
void note_ignored_text(Scanner& in, const char* reason = "it is no number") {
  if (in.audit == nullptr) return;
  const Token token = next_on_line(in);
  if (!token.text.empty())
    note_oddity_at(in, token.offset, "ignored-text",
                   [&] { return "text from " + shown(in, token) + " on is ignored: " + reason; });
}

Header read_header(Scanner& in, NetLists& lists) {
  skip_comments(in);
  Header header;
  const Token numbering = next_number(in);
  header.numbering = as_number(
      in, numbering,
      {0, 1, "the number that the file's cells begin with, 0 or 1", "bad-numbering", "header-missing"});
  note_header(in, numbering.offset);
  lists.ncells = as_number(in, next_number(in), count_range("the number of cells"));
  const int nnets = as_number(in, next_number(in), count_range("the number of nets"));
  const Token npins = next_number(in);
  header.npins = as_number(in, npins, count_range("the number of pins"));
  header.npins_place = place_of(in, npins.offset);

  const std::optional<Token> fmt = next_integer(in);
  if (fmt) read_format(in, *fmt, header);
  const std::optional<Token> count = fmt ? next_integer(in) : std::nullopt;
  if (count)
    header.weights_per_cell = as_number(
        in, *count,
        {1, std::numeric_limits<int>::max(), "the number of weights per cell, from 1", "bad-count"});
  note_ignored_text(in, count.has_value() ? "a header has at most six numbers" : "it is no number");
  skip_line(in);
  const Counts counts =
      settled_counts(in, {lists.ncells, nnets, (header.cell_weights ? 1 : 0) + (header.net_weights ? 2 : 0)});
  header.cell_weights = (counts.weights & 1) != 0;
  header.net_weights = (counts.weights & 2) != 0;
  lists.ncells = counts.ncells;
  begin_nets(lists, counts.nnets);
  return header;
}

void bad_cell(const Scanner& in, const Token& token, const Header& header, const NetLists& lists,
              const Range& cells) {
  const char* hint = "";
  const int other = 1 - header.numbering;
  if (number_in(token, {other, lists.ncells - 1 + other, {}}))
    hint = other == 0 ? "the header says that cells count from 1; do they from 0?"
                      : "the header says that cells count from 0; do they from 1?";
  else if (number_in(token, {cells.max + 1, lists.nnets, {}}))
    hint = "the header gives the number of cells first, that of nets second; are they swapped?";
  refuse_number(in, token, cells, hint);
}

const char* hint_on_format(const Header& header) {
  return header.cell_weights && !header.net_weights
             ? "format 1 means cell weights here, and net weights in hMETIS; those are 2 here"
             : "";
}

// Returns whether the net can be kept, perhaps without some of its pins.
bool read_net(Scanner& in, NetLists& lists, const Header& header, const Range& cells) {
  const auto j = static_cast<int>(lists.xnadj.size()) - 1;
  locate(in, {Item::kNet, j, Item::kLine}, in.at);
  if (header.net_weights) {
    const Token weight = next_number(in);
    locate(in, {Item::kNet, j, Item::kWeight}, weight.offset);
    const std::optional<int> value = number_or_refuse(in, weight, any_signed_weight(), [j] {
      return signed_weight_meaning("the weight of net " + std::to_string(j));
    });
    if (!value) return false;
    lists.net_weights.push_back(*value);
  }
  while (const std::optional<Token> token = next_integer(in)) {
    if (in.audit == nullptr && lists.nadj.size() == static_cast<std::size_t>(header.npins))
      unexpected(in, *token, "pin-count",
                 "no more than the " + counted(header.npins, "pin") + " of the header",
                 hint_on_format(header));
    const std::optional<int> cell = number_in(*token, cells);
    if (!cell) {
      bad_cell(in, *token, header, lists, cells);
      note_damage(in, j);
      continue;
    }
    locate(in, {Item::kNet, j, Item::kFirstPin + pins_of_last_net(lists)}, token->offset);
    lists.nadj.push_back(*cell + 1 - cells.min);
  }
  note_ignored_text(in);
  end_net(lists);
  skip_line(in);
  return true;
}

void read_nets(Scanner& in, NetLists& lists, const Header& header) {
  const int first = first_cell_of(in, header.numbering);
  const Range cells = cell_range(lists.ncells, first);
  const NetForm form{header.net_weights, false, true, first,
                     in.audit == nullptr ? static_cast<std::size_t>(header.npins) : kMostPins};
  const int nspare = header.net_weights ? kSpareNumbers : 0;  // for `read_plain_nets`
  if (!lists.grow_slowly)
    lists.nadj.reserve(static_cast<std::size_t>(header.npins) + static_cast<std::size_t>(2 + nspare));
  if (header.net_weights) lists.net_weights.push_back(0);
  for (int j = 1; j <= lists.nnets;) {
    if (const int nread = read_plain_nets(in, lists, form); nread > 0) {
      j += nread;
      continue;
    }
    if (!skip_to_line(in)) unexpected(in, {{}, in.at}, "missing-line", of_all("net", j, lists.nnets));
    read_or_drop_net(in, lists, j++, header.net_weights, [&] { return read_net(in, lists, header, cells); });
  }
}

// Reads the weights on many plain lines at once, but not on the line of the last. Returns whether there are
// such lines.
bool read_plain_lines(Scanner& in, NetLists& lists, int weights_per_cell, int& k) {
  const NumberLines lines = number_lines(in);
  const std::size_t nleft = static_cast<std::size_t>(lists.ncells) + 1 - lists.cell_weights.size();
  if (lines.nnumbers == 0 || static_cast<std::size_t>(lines.nnumbers) >= nleft) return false;
  for (const int number : std::span(lines.numbers, static_cast<std::size_t>(lines.nnumbers))) {
    if (k == 0) lists.cell_weights.push_back(number);
    if (++k == weights_per_cell) k = 0;
  }
  skip_all_lines(in);
  return true;
}

// The first of the numbers of a cell is its weight. Missing ones are 1. More numbers on the last line are an
// error: it is unclear which cells the weights belong to.
void read_cell_weights(Scanner& in, NetLists& lists, int weights_per_cell) {
  Range weights = any_signed_weight();
  weights.meaning = signed_weight_meaning("the weight of a cell");
  const auto wanted = static_cast<std::size_t>(lists.ncells) + 1;
  lists.cell_weights.push_back(0);
  for (int k = 0; lists.cell_weights.size() < wanted || k != 0;) {
    if (read_plain_lines(in, lists, weights_per_cell, k)) continue;
    const std::optional<Token> token = next_integer(in);
    if (!token) {
      skip_line(in);
      skip_comments(in);
      if (at_end(in)) break;
      continue;
    }
    if (k == 0) {
      locate(in, {Item::kCellWeight, std::ssize(lists.cell_weights), 0}, token->offset);
      lists.cell_weights.push_back(as_number(in, *token, weights));
    }
    k = (k + 1) % weights_per_cell;
  }
  if (const std::optional<Token> surplus = next_integer(in))
    unexpected(in, *surplus, "trailing-text",
               "nothing after the weights of " + counted(lists.ncells, "cell"));
  if (const std::size_t nmissing = wanted - lists.cell_weights.size(); nmissing > 0) {
    const std::string remark =
        "the file ends before " + counted(static_cast<std::int64_t>(nmissing), "cell weight") + ", set to 1";
    lists.remarks.push_back(remark);
    note_oddity(in, place_of(in, in.at), "missing-weights", remark);
  }
  lists.cell_weights.resize(wanted, 1);
}

std::string_view rest_of_line(const Scanner& in) {
  const std::string_view rest = in.text.substr(in.at);
  return rest.substr(0, rest.find('\n'));
}

// Lines after all that the header announces are not read. The statistics that our writer appends are expected
// there, and so is a last line without a newline.
void note_ignored_lines(Scanner& in) {
  if (in.audit->is_locating()) return;
  bool are_statistics = false;
  for (; !at_end(in); skip_line(in)) {
    const std::string_view line = rest_of_line(in);
    if (line.starts_with('%')) {
      note_comment(in, in.at);
      are_statistics = line == kStatisticsTitle;
      continue;
    }
    are_statistics = are_statistics && line.find(" : ") != std::string_view::npos;
    const Token token = next_on_line(in);
    if (!are_statistics && !token.text.empty() && in.audit->nignored_lines++ == 0)
      in.audit->ignored_line = place_of(in, token.offset);
  }
  in.audit->ends_with_statistics = are_statistics;
}

int weights_to_write(const Hypergraph& h, const WriteOptions& options) {
  return options.weights.value_or(h._fmt);
}

// Of cells without lists, which need as many zeros.
Extremes degrees_in_pins(const Hypergraph& h, std::vector<int>& degrees) {
  for (const int i : std::span(h._cell_list, static_cast<std::size_t>(h._p)))
    ++degrees[static_cast<std::size_t>(i)];
  Extremes extremes{.max = -1};
  for (int i = 1; i <= h._c; ++i) extremes.add(degrees[static_cast<std::size_t>(i)]);
  return extremes;
}

}  // namespace

void read_quillon(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  const Header header = read_header(in, lists);
  begin_lines(in, {});
  read_nets(in, lists, header);
  if (in.audit != nullptr) {
    in.audit->announced_pins = header.npins;
    in.audit->announced_pins_place = header.npins_place;
  } else if (lists.nadj.size() != static_cast<std::size_t>(header.npins)) {
    bad_text(in, header.npins_place, "pin-count",
             "found " + counted(static_cast<std::int64_t>(lists.nadj.size()), "pin") +
                 " on the net lines, expected the " + std::to_string(header.npins) + " of the header",
             hint_on_format(header));
  }

  if (header.cell_weights) {
    skip_comments(in);
    read_cell_weights(in, lists, header.weights_per_cell);
  }
  if (in.audit != nullptr) note_ignored_lines(in);
}

void write_quillon(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  const int fmt = weights_to_write(h, options);
  if (h._net_list != nullptr) {
    write_hypergraph(&h, filename, options.numbering, fmt);
    return;
  }
  std::vector<int> work(static_cast<std::size_t>(h._c) + 1);
  Extremes degrees;
  Beside counting([&] { degrees = degrees_in_pins(h, work); }, h._p);
  std::FILE* const ofp = ufopen(filename, "w", "write_hypergraph");
  write_record(&h, ofp, options.numbering, fmt, [&] {
    counting.wait();
    return degrees;
  });
  ufclose(ofp);
}

// Without the statistics, which need the degrees of all cells.
void write_quillon_stream(NetStream& nets, const char* filename) {
  constexpr int kWeightsPerLine = 20;
  TextWriter out(filename, "quillon generate: hypergraph");
  if (!nets.comment.empty()) out.text("% " + nets.comment + "\n");
  out.text("1 " + std::to_string(nets.ncells) + " " + std::to_string(nets.nnets) + " " +
           std::to_string(nets.npins) + " " + std::to_string(nets.weights) + "\n");
  for (int j = 1; j <= nets.nnets; ++j) {
    if ((nets.weights & 2) != 0) write_with_blank(out, nets.net_weight(j));
    for (const int i : nets.next_net()) write_with_blank(out, i);
    out.character('\n');
  }
  if ((nets.weights & 1) != 0)
    for (int i = 1; i <= nets.ncells; ++i) {
      write_with_blank(out, nets.cell_weight(i));
      if (i % kWeightsPerLine == 0 || i == nets.ncells) out.character('\n');
    }
  out.close();
}

void find_losses_of_quillon(const Hypergraph& h, const WriteOptions& options, Losses& losses) {
  const int fmt = weights_to_write(h, options);
  note_lost_weights(losses, h, (fmt & 1) != 0, (fmt & 2) != 0);
  if ((fmt & 2) != 0)
    note(losses.refused, count_nets_of_size(h, 0, [](int w) { return w >= 2; }), "net",
         " without pins of weight 2 or more, which readers that fold small nets refuse");
}

}  // namespace quillon::formats
