#include <algorithm>
#include <utility>

#include "formats/readers.h"

namespace quillon::tool {
namespace {

struct Header {
  int nnets;
  int ncells;
  bool net_weights;
  bool cell_weights;
};

constexpr const char* kMayBeMetis = "is this a METIS graph? --from metis reads those";

Token next_in_header(Tokenizer& in) {
  skip_comments(in);
  return next_on_line(in);
}

void take_format(const Tokenizer& in, const Token& token, Header& header) {
  const std::string_view fmt = token.text;
  const bool known =
      fmt.empty() || fmt == "0" || fmt == "00" || fmt == "1" || fmt == "01" || fmt == "10" || fmt == "11";
  if (!known) unexpected(in, token, "a format: none, 0, 1, 10 or 11", fmt.size() == 3 ? kMayBeMetis : "");
  header.net_weights = fmt.ends_with('1');
  header.cell_weights = fmt.size() == 2 && fmt.starts_with('1');
}

Header read_header(Tokenizer& in) {
  Header header{};
  header.nnets = as_number(in, next_in_header(in), count_range("the number of nets"));
  header.ncells = as_number(in, next_on_line(in), count_range("the number of cells"));
  take_format(in, next_on_line(in), header);
  expect_line_end(in, "the header", kMayBeMetis);
  return header;
}

[[noreturn]] void bad_cell(const Tokenizer& in, const Token& token, const Header& header,
                           const Range& cells) {
  const char* hint = "";
  if (token.text == "0")
    hint = "hMETIS counts cells from 1; does this file count from 0?";
  else if (number_in(token, {cells.max + 1, header.nnets, ""}))
    hint = "the header gives the number of nets first; are its numbers swapped, or is this a METIS graph?";
  unexpected(in, token, cells.meaning, hint);
}

// Goes to the line of an item, past comments. What is missing at the end of the file is said.
void begin_line(Tokenizer& in, const std::string& item, const char* hint) {
  skip_comments(in);
  if (at_end(in)) unexpected(in, {{}, in.at}, item, hint);
}

void read_net(Tokenizer& in, Arrays& arrays, const Header& header, const Range& cells) {
  if (header.net_weights) {
    const std::string net = "the weight of net " + std::to_string(arrays.xnadj.size() - 1);
    arrays.net_weights.push_back(as_number(in, next_on_line(in), weight_range(net)));
  }
  for (Token token = next_on_line(in); !token.text.empty(); token = next_on_line(in)) {
    const std::optional<int> cell = number_in(token, cells);
    if (!cell) bad_cell(in, token, header, cells);
    arrays.nadj.push_back(*cell);
  }
  end_net(arrays);
  skip_line(in);
}

void read_cell_weight(Tokenizer& in, Arrays& arrays, int i, const Header& header) {
  const std::string item = "the weight of " + of_all("cell", i, header.ncells);
  begin_line(in, item, "format 10 of hMETIS means cell weights; net weights are 1");
  arrays.cell_weights.push_back(as_number(in, next_on_line(in), weight_range(item)));
  expect_line_end(in, item);
}

void read_rest(Tokenizer& in, const Header& header) {
  const std::string behind = counted(header.nnets, "net") +
                             (header.cell_weights ? " and " + counted(header.ncells, "cell weight") : "");
  const bool may_be_cell_weights = header.net_weights && !header.cell_weights;
  expect_comments(in, behind,
                  may_be_cell_weights ? "format 1 of hMETIS means net weights; cell weights are 10" : "");
}

// A METIS graph of V vertices and E edges reads as V nets, on E cells, in which j names i whenever i names j.
bool looks_like_graph(const Arrays& arrays) {
  if (arrays.nadj.empty() || arrays.nadj.size() != 2 * static_cast<std::size_t>(arrays.ncells)) return false;
  std::vector<std::pair<int, int>> pairs;
  std::vector<std::pair<int, int>> mirrored;
  for (int j = 1; j <= arrays.nnets; ++j) {
    const auto at = static_cast<std::size_t>(j);
    for (int k = arrays.xnadj[at]; k < arrays.xnadj[at + 1]; ++k) {
      const int i = arrays.nadj[static_cast<std::size_t>(k)];
      if (i == j) return false;
      pairs.emplace_back(j, i);
      mirrored.emplace_back(i, j);
    }
  }
  std::sort(pairs.begin(), pairs.end());
  std::sort(mirrored.begin(), mirrored.end());
  return pairs == mirrored;
}

}  // namespace

void import_hmetis(Tokenizer& in, Arrays& arrays) {
  const Header header = read_header(in);
  const Range cells = cell_range(header.ncells, 1);
  arrays.ncells = header.ncells;
  begin_nets(arrays, header.nnets);
  if (header.net_weights) arrays.net_weights.push_back(0);
  for (int j = 1; j <= header.nnets; ++j) {
    begin_line(in, of_all("net", j, header.nnets), "");
    read_net(in, arrays, header, cells);
  }
  if (header.cell_weights) {
    arrays.cell_weights.push_back(0);
    for (int i = 1; i <= header.ncells; ++i) read_cell_weight(in, arrays, i, header);
  }
  read_rest(in, header);
  if (looks_like_graph(arrays))
    arrays.remarks.emplace_back(
        "line j names i whenever line i names j, as in a METIS graph; --from metis reads it as one");
}

}  // namespace quillon::tool
