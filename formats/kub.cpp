#include "formats/readers.h"

namespace quillon::tool {
namespace {

[[noreturn]] void bad_cell(const Tokenizer& in, const Token& token, int nnets, const Range& cells) {
  const char* hint = "";
  if (cells.max >= 0 && number_in(token, {cells.max + 1, cells.max + 1, ""}))
    hint = "kub counts cells from 0; does this file count from 1?";
  else if (number_in(token, {cells.max + 1, nnets - 1, ""}))
    hint = "the number of cells comes first, that of nets second; are they swapped?";
  unexpected(in, token, cells.meaning, hint);
}

void read_net(Tokenizer& in, Arrays& arrays, int j, const Range& cells) {
  const std::string net = of_all("net", j, arrays.nnets);
  arrays.net_weights.push_back(as_number(in, next_on_line(in), weight_range("the weight of " + net)));
  const int size = as_number(in, next_on_line(in), count_range("the number of pins of " + net));
  for (int k = 1; k <= size; ++k) {
    const Token token = next_on_line(in);
    if (token.text.empty()) unexpected(in, token, of_all("pin", k, size) + " of " + net);
    const std::optional<int> cell = number_in(token, cells);
    if (!cell) bad_cell(in, token, arrays.nnets, cells);
    arrays.nadj.push_back(*cell + 1);
  }
  end_net(arrays);
  expect_line_end(in, counted(size, "pin"));
}

}  // namespace

void import_kub(Tokenizer& in, Arrays& arrays) {
  arrays.ncells = as_number(in, next_on_line(in), count_range("the number of cells"));
  expect_line_end(in, "the number of cells");
  begin_nets(arrays, as_number(in, next_on_line(in), count_range("the number of nets")));
  expect_line_end(in, "the number of nets");

  const Range cells = cell_range(arrays.ncells, 0);
  arrays.net_weights.push_back(0);
  for (int j = 1; j <= arrays.nnets; ++j) read_net(in, arrays, j, cells);

  arrays.cell_weights.push_back(0);
  for (int i = 1; i <= arrays.ncells; ++i) {
    const std::string weight = "the weight of " + of_all("cell", i, arrays.ncells);
    arrays.cell_weights.push_back(as_number(in, next_on_line(in), weight_range(weight)));
    expect_line_end(in, weight);
  }
  expect_end(in, "the weights of " + counted(arrays.ncells, "cell"));
}

}  // namespace quillon::tool
