#include "formats/kub.h"

#include <charconv>
#include <cstdint>
#include <filesystem>
#include <limits>

#include "formats/audit.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/net_lines.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

void bad_cell(const Scanner& in, const Token& token, int nnets, const Range& cells) {
  const char* hint = "";
  if (cells.max >= 0 && number_in(token, {cells.max + 1, cells.max + 1, ""}))
    hint = "kub counts cells from 0; does this file count from 1?";
  else if (number_in(token, {cells.max + 1, nnets - 1, ""}))
    hint = "the number of cells comes first, that of nets second; are they swapped?";
  refuse_number(in, token, cells, hint);
}

// The weight and the size of a net. None if either is wrong.
std::optional<int> read_head(Scanner& in, NetLists& lists, int j) {
  const auto net = [&] { return of_all("net", j, lists.nnets); };
  const Token weight = next_on_line(in);
  locate(in, {Item::kNet, j, Item::kWeight}, weight.offset);
  const std::optional<int> w =
      number_or_refuse(in, weight, any_weight(), [&] { return weight_meaning("the weight of " + net()); });
  if (!w) return std::nullopt;
  lists.net_weights.push_back(*w);
  return number_or_refuse(in, next_on_line(in), any_count("bad-count"),
                          [&] { return count_meaning("the number of pins of " + net()); });
}

// Returns whether the net can be kept, perhaps without some of its pins.
bool read_net(Scanner& in, NetLists& lists, int j, const Range& cells) {
  locate(in, {Item::kNet, j, Item::kLine}, in.at);
  const std::optional<int> size = read_head(in, lists, j);
  if (!size) return false;
  for (int k = 1; k <= *size; ++k) {
    const Token token = next_on_line(in);
    if (token.text.empty())
      return refuse(in, token, "missing-pin",
                    [&] { return of_all("pin", k, *size) + " of " + of_all("net", j, lists.nnets); });
    const std::optional<int> cell = number_in(token, cells);
    if (!cell) {
      bad_cell(in, token, lists.nnets, cells);
      note_damage(in, j);
      continue;
    }
    locate(in, {Item::kNet, j, Item::kFirstPin + k - 1}, token.offset);
    lists.nadj.push_back(*cell + 1 - cells.min);
  }
  if (!next_line_or_refuse(in, [&] { return counted(*size, "pin"); })) return false;
  end_net(lists);
  return true;
}

// Returns whether all of them are there.
bool read_nets(Scanner& in, NetLists& lists) {
  const int first = first_cell_of(in, 0);
  const Range cells = cell_range(lists.ncells, first);
  const NetForm form{true, true, false, first, kMostPins};
  lists.net_weights.push_back(0);
  for (int j = 1; j <= lists.nnets;) {
    if (const int nread = read_plain_nets(in, lists, form); nread > 0) {
      j += nread;
      continue;
    }
    const bool is_missing = at_end(in);
    read_or_drop_net(in, lists, j, true, [&] { return read_net(in, lists, j, cells); });
    if (is_missing) return false;
    ++j;
  }
  return true;
}

// Returns whether there was no error.
bool read_cell_weight(Scanner& in, NetLists& lists, int i) {
  const auto weight = [&] { return "the weight of " + of_all("cell", i, lists.ncells); };
  const Token token = next_on_line(in);
  locate(in, {Item::kCellWeight, i, 0}, token.offset);
  const std::optional<int> w =
      number_or_refuse(in, token, any_weight(), [&] { return weight_meaning(weight()); });
  if (!w) return false;
  lists.cell_weights.push_back(*w);
  return next_line_or_refuse(in, weight);
}

void read_cell_weights(Scanner& in, NetLists& lists) {
  lists.cell_weights.push_back(0);
  for (int i = 1; i <= lists.ncells;) {
    if (const int nread = read_plain_weights(in, lists.cell_weights, lists.ncells); nread > 0) {
      i += nread;
      continue;
    }
    const bool is_missing = at_end(in);
    read_line(in, [&] { return read_cell_weight(in, lists, i); });
    if (is_missing) return;
    lists.cell_weights.resize(static_cast<std::size_t>(++i), 1);
  }
}

std::uintmax_t digits(int value) {
  char text[std::numeric_limits<int>::digits10 + 3];
  return static_cast<std::uintmax_t>(std::to_chars(text, text + sizeof text, value).ptr - text);
}

// Length of a whole kub file.
std::uintmax_t kub_bytes(const Hypergraph& h) {
  std::uintmax_t bytes = digits(h._c) + 1 + digits(h._n);
  for (int j = 1; j <= h._n; ++j) {
    const Net& net = h._nlst[j];
    bytes += 1 + digits(net.w) + 1 + digits(net_size(net));
    for (const int i : pins_of(net)) bytes += 1 + digits(i - 1);
  }
  for (int i = 1; i <= h._c; ++i) bytes += 1 + digits(h._clst[i].w);
  return bytes;
}

}  // namespace

void read_kub(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  const Token ncells = next_on_line(in);
  lists.ncells = as_number(in, ncells, first_count_range("the number of cells"));
  note_header(in, ncells.offset);
  expect_line_end(in, "the number of cells");
  const int nnets = as_number(in, next_on_line(in), count_range("the number of nets"));
  expect_line_end(in, "the number of nets");
  const Counts counts = settled_counts(in, {lists.ncells, nnets, 3});
  lists.ncells = counts.ncells;
  begin_nets(lists, counts.nnets);

  begin_lines(in, {});
  if (!read_nets(in, lists)) return;
  read_cell_weights(in, lists);
  expect_end(in, "the weights of " + counted(lists.ncells, "cell"));
}

// The writer of the module does not check that its output arrived, so this does.
void write_kub(const Hypergraph& h, const WriteOptions& /*options*/, const char* filename) {
  write_kub_hypergraph(&h, filename);
  std::error_code error;
  const bool is_file = std::filesystem::is_regular_file(filename, error);
  if (is_file && std::filesystem::file_size(filename, error) != kub_bytes(h))
    errexit("the kub file is not whole, data was lost: is the disk full?");
}

void write_kub_stream(NetStream& nets, const char* filename) {
  TextWriter out(filename, "quillon generate: hypergraph");
  out.number(nets.ncells);
  out.character('\n');
  out.number(nets.nnets);
  out.character('\n');
  for (int j = 1; j <= nets.nnets; ++j) {
    const std::span<const int> pins = nets.next_net();
    write_with_blank(out, nets.net_weight(j));
    out.number(static_cast<int>(pins.size()));
    for (const int i : pins) {
      out.character(' ');
      out.number(i - 1);
    }
    out.character('\n');
  }
  for (int i = 1; i <= nets.ncells; ++i) {
    out.number(nets.cell_weight(i));
    out.character('\n');
  }
  out.close();
}

void find_losses_of_kub(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  note(losses.refused, count_weights(h, is_negative), "weight", " below 0, which readers refuse");
}

}  // namespace quillon::formats
