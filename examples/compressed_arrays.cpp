// Converts a sparse matrix in compressed rows to a hypergraph, and back.
//
//   compressed_arrays
#include <vector>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

// The usual compressed rows: rows and columns from 0, row i begins at columns[starts[i]].
struct Matrix {
  int nrows = 0;
  int ncolumns = 0;
  std::vector<int> starts;
  std::vector<int> columns;
};

// Second differences of five points. The diagonal, which has no zeros, is omitted.
Matrix example() { return {5, 5, {0, 1, 3, 5, 7, 8}, {1, 0, 2, 1, 3, 2, 4, 3}}; }

// Rows become nets and columns become cells. Both count from 1 in the arrays, so that their numbers increase
// by one and entry 0 of xnadj is not used. Positions in nadj count from 0 as before.
void load(quillon::Hypergraph* h, const Matrix& matrix) {
  std::vector<int> xnadj{0};
  xnadj.insert(xnadj.end(), matrix.starts.begin(), matrix.starts.end());
  std::vector<int> nadj;
  for (const int column : matrix.columns) nadj.push_back(column + 1);

  // 0 adds cell j to net j, 1 means that it is already there. A null pointer adds none.
  const std::vector<int> diagonal(xnadj.size(), 0);

  h->_fmt = 0;  // no weights; the only field that the caller sets
  quillon::hypergraph_LoadFromArr(h, matrix.nrows, matrix.ncolumns, xnadj.data(), nadj.data(),
                                  diagonal.data());
  quillon::set_hypergraph_infos(h);  // loading sets the summary to 0
}

Matrix unload(const quillon::Hypergraph* h) {
  int* xnadj = nullptr;
  int* nadj = nullptr;
  quillon::hypergraph_Fill2Arr(h, &xnadj, &nadj);  // the caller owns both arrays

  Matrix matrix{h->_n, h->_c, {}, {}};
  for (int j = 1; j <= h->_n + 1; ++j) matrix.starts.push_back(xnadj[j]);
  for (int pin = 0; pin < h->_p; ++pin) matrix.columns.push_back(nadj[pin] - 1);
  quillon::_usfree(nadj);
  quillon::_usfree(xnadj);
  return matrix;
}

void print(const Matrix& matrix) {
  for (std::size_t i = 0; i + 1 < matrix.starts.size(); ++i) {
    quillon::uprintf("row %zu:", i);
    for (int at = matrix.starts[i]; at < matrix.starts[i + 1]; ++at)
      quillon::uprintf(" %d", matrix.columns[static_cast<std::size_t>(at)]);
    quillon::uprintf("\n");
  }
}

}  // namespace

int main() {
  quillon::Hypergraph h;
  load(&h, example());
  quillon::uprintf("%d cells, %d nets, %d pins, %s\n", h._c, h._n, h._p,
                   quillon::CheckSymmetryinHypergraph(&h, 0) != 0 ? "symmetric" : "not symmetric");
  print(unload(&h));
  quillon::free_hypergraph(&h);
}
