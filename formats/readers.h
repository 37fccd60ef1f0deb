#pragma once
// From the text of a file to arrays, one function a format. All of them end the program on a bad file, with
// the place and what was expected there.

#include <limits>
#include <string>

#include "formats/net_lists.h"
#include "formats/scanner.h"

namespace quillon::tool {

/// How a matrix becomes a hypergraph.
enum class Model {
  kRowNet,     // rows are nets, columns are cells
  kColumnNet,  // columns are nets, rows are cells
  kFineGrain,  // entries are cells, rows and then columns are nets
};

void import_quillon(Tokenizer& in, Arrays& arrays);
void import_hmetis(Tokenizer& in, Arrays& arrays);
void import_kub(Tokenizer& in, Arrays& arrays);
void import_metis(Tokenizer& in, Arrays& arrays);
void import_matrix_market(Tokenizer& in, Arrays& arrays, Model model, bool add_diagonal);
void import_hif(const Tokenizer& in, Arrays& arrays);

/// Cells and nets are numbered by ints, as is the entry behind the last one.
inline constexpr int kMostItems = std::numeric_limits<int>::max() - 2;

/// @param what  Such as "the number of nets".
inline Range count_range(const std::string& what) {
  return {0, kMostItems, what + ", from 0 to " + std::to_string(kMostItems)};
}

/// @param what  Such as "the weight of net 3".
inline Range weight_range(const std::string& what) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  return {0, kLargest, what + ", from 0 to " + std::to_string(kLargest)};
}

/// Cell numbers of a file that counts from `first`.
inline Range cell_range(int ncells, int first) {
  const int last = ncells - 1 + first;
  if (ncells == 0) return {first, last, "no cell, as there are none"};
  return {first, last, "a cell number from " + std::to_string(first) + " to " + std::to_string(last)};
}

/// "net 3 of 10"
inline std::string of_all(const std::string& what, int number, int count) {
  return what + " " + std::to_string(number) + " of " + std::to_string(count);
}

}  // namespace quillon::tool
