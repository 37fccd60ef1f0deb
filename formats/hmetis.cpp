#include "formats/hmetis.h"

#include <optional>

#include "formats/audit.h"
#include "formats/hints.h"
#include "formats/line_errors.h"
#include "formats/lines.h"
#include "formats/losses.h"
#include "formats/mirror_sum.h"
#include "formats/net_lines.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/text_writer.h"

namespace quillon::formats {
namespace {

struct Header {
  int nnets;
  int ncells;
  bool net_weights;
  bool cell_weights;
};

Token next_in_header(Scanner& in) {
  skip_comments(in);
  return next_on_line(in);
}

void read_format(const Scanner& in, const Token& token, Header& header) {
  const std::string_view fmt = token.text;
  const bool known =
      fmt.empty() || fmt == "0" || fmt == "00" || fmt == "1" || fmt == "01" || fmt == "10" || fmt == "11";
  if (!known)
    unexpected(in, token, "bad-format-code", "a format: none, 0, 1, 10 or 11",
               fmt.size() == 3 ? kMayBeMetis : "");
  header.net_weights = fmt.ends_with('1');
  header.cell_weights = fmt.size() == 2 && fmt.starts_with('1');
}

Header read_header(Scanner& in) {
  Header header{};
  const Token nnets = next_in_header(in);
  header.nnets = as_number(in, nnets, first_count_range("the number of nets"));
  note_header(in, nnets.offset);
  header.ncells = as_number(in, next_on_line(in), count_range("the number of cells"));
  read_format(in, next_on_line(in), header);
  expect_line_end(in, "the header", kMayBeMetis);
  const Counts counts = settled_counts(
      in, {header.ncells, header.nnets, (header.cell_weights ? 1 : 0) + (header.net_weights ? 2 : 0)});
  return {counts.nnets, counts.ncells, (counts.weights & 2) != 0, (counts.weights & 1) != 0};
}

void bad_cell(const Scanner& in, const Token& token, const Header& header, const Range& cells) {
  const char* hint = "";
  if (token.text == "0")
    hint = "hMETIS counts cells from 1; does this file count from 0?";
  else if (number_in(token, {cells.max + 1, header.nnets, ""}))
    hint = "the header gives the number of nets first; are its numbers swapped, or is this a METIS graph?";
  refuse_number(in, token, cells, hint);
}

// Returns whether the net can be kept, perhaps without some of its pins.
bool read_net(Scanner& in, NetLists& lists, const Header& header, const Range& cells) {
  const auto j = static_cast<int>(lists.xnadj.size()) - 1;
  locate(in, {Item::kNet, j, Item::kLine}, in.at);
  if (header.net_weights) {
    const Token weight = next_on_line(in);
    locate(in, {Item::kNet, j, Item::kWeight}, weight.offset);
    const std::optional<int> value = number_or_refuse(
        in, weight, any_weight(), [j] { return weight_meaning("the weight of net " + std::to_string(j)); });
    if (!value) return false;
    lists.net_weights.push_back(*value);
  }
  while (true) {
    const Token token = next_on_line(in);  // not assigned, as a copy would stall
    if (token.text.empty()) break;
    const std::optional<int> cell = number_in(token, cells);
    if (!cell) {
      bad_cell(in, token, header, cells);
      note_damage(in, j);
      continue;
    }
    locate(in, {Item::kNet, j, Item::kFirstPin + pins_of_last_net(lists)}, token.offset);
    lists.nadj.push_back(*cell + 1 - cells.min);
  }
  end_net(lists);
  skip_line(in);
  return true;
}

void read_nets(Scanner& in, NetLists& lists, const Header& header) {
  const int first = first_cell_of(in, 1);
  const Range cells = cell_range(header.ncells, first);
  const NetForm form{header.net_weights, false, false, first, kMostPins};
  for (int j = 1; j <= header.nnets;) {
    if (const int nread = read_plain_nets(in, lists, form); nread > 0) {
      j += nread;
      continue;
    }
    if (!skip_to_line(in)) unexpected(in, {{}, in.at}, "missing-line", of_all("net", j, header.nnets));
    read_or_drop_net(in, lists, j++, header.net_weights, [&] { return read_net(in, lists, header, cells); });
  }
}

std::string weight_name(int i, const Header& header) {
  return "the weight of " + of_all("cell", i, header.ncells);
}

// Returns whether there was no error.
bool read_cell_weight(Scanner& in, NetLists& lists, const Header& header, int i) {
  const Token weight = next_on_line(in);
  locate(in, {Item::kCellWeight, i, 0}, weight.offset);
  const std::optional<int> value =
      number_or_refuse(in, weight, any_weight(), [&] { return weight_meaning(weight_name(i, header)); });
  if (!value) return false;
  lists.cell_weights.push_back(*value);
  return next_line_or_refuse(in, [&] { return weight_name(i, header); });
}

void read_cell_weights(Scanner& in, NetLists& lists, const Header& header) {
  lists.cell_weights.push_back(0);
  for (int i = 1; i <= header.ncells;) {
    if (const int nread = read_plain_weights(in, lists.cell_weights, header.ncells); nread > 0) {
      i += nread;
      continue;
    }
    if (!skip_to_line(in))
      unexpected(in, {{}, in.at}, "missing-line", weight_name(i, header),
                 "format 10 of hMETIS means cell weights; net weights are 1");
    read_line(in, [&] { return read_cell_weight(in, lists, header, i); });
    lists.cell_weights.resize(static_cast<std::size_t>(++i), 1);
  }
}

void read_rest(Scanner& in, const Header& header) {
  const std::string what = counted(header.nnets, "net") +
                           (header.cell_weights ? " and " + counted(header.ncells, "cell weight") : "");
  const bool may_be_cell_weights = header.net_weights && !header.cell_weights;
  expect_comments(in, what,
                  may_be_cell_weights ? "format 1 of hMETIS means net weights; cell weights are 10" : "");
}

// A METIS graph of V vertices and E edges reads as V nets, on E cells, in which j names i whenever i names j.
bool looks_like_graph(const NetLists& lists) {
  if (lists.nadj.empty() || lists.nadj.size() != 2 * static_cast<std::size_t>(lists.ncells)) return false;
  MirrorSum sum;
  for (int j = 1; j <= lists.nnets; ++j) {
    const auto at = static_cast<std::size_t>(j);
    for (int k = lists.xnadj[at]; k < lists.xnadj[at + 1]; ++k) {
      const int i = lists.nadj[static_cast<std::size_t>(k)];
      if (i == j) return false;
      sum.add(j, i, 1);
    }
  }
  return sum.is_zero();
}

}  // namespace

void read_hmetis(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  const Header header = read_header(in);
  lists.ncells = header.ncells;
  begin_nets(lists, header.nnets);
  if (header.net_weights) lists.net_weights.push_back(0);
  begin_lines(in, {});
  read_nets(in, lists, header);
  if (header.cell_weights) read_cell_weights(in, lists, header);
  read_rest(in, header);
  if (!looks_like_graph(lists)) return;
  lists.remarks.emplace_back(kLikeMetis);
  note_oddity(in, {}, "looks-like-metis", kLikeMetis);
}

void write_hmetis(const Hypergraph& h, const WriteOptions& /*options*/, const char* filename) {
  write_hmetis_hypergraph(&h, filename);
}

void write_hmetis_stream(NetStream& nets, const char* filename) {
  TextWriter out(filename, "quillon generate: hypergraph");
  out.text(std::to_string(nets.nnets) + " " + std::to_string(nets.ncells) + " 11\n");
  for (int j = 1; j <= nets.nnets; ++j) {
    write_with_blank(out, nets.net_weight(j));
    for (const int i : nets.next_net()) write_with_blank(out, i);
    out.character('\n');
  }
  for (int i = 1; i <= nets.ncells; ++i) {
    write_with_blank(out, nets.cell_weight(i));
    out.character('\n');
  }
  out.close();
}

void find_losses_of_hmetis(const Hypergraph& h, const WriteOptions& /*options*/, Losses& losses) {
  note(losses.refused, count_nets_of_size(h, 0, any_weight), "net",
       " without pins, which many readers refuse");
  note(losses.refused, count_weights(h, is_zero), "weight", " of 0, which some readers refuse");
  note(losses.dropped, count_nets_of_size(h, 1, any_weight), "net", " of one pin, which some readers drop");
  note(losses.refused, count_weights(h, is_negative), "weight", " below 0, which readers refuse");
}

void note_oddities_of_hmetis(const Hypergraph& h, std::vector<std::string>& remarks) {
  note(remarks, count_nets_of_size(h, 0, any_weight), "net", " without pins, kept");
  note(remarks, count_nets_of_size(h, 1, any_weight), "net", " of one pin, kept");
  note(remarks, count_weights(h, is_zero), "weight", " of 0, kept");
}

}  // namespace quillon::formats
