#pragma once
// Hypergraphs from files and arrays.

#include <optional>
#include <string>

#include "python/core/graph.h"

namespace quillon::python {

/// How to read a file.
struct ReadRequest {
  std::string file;     // path, or what messages call the descriptor
  int descriptor = -1;  // open, and closed by the read; -1: the path is opened
  std::string format;   // empty: by suffix or content
  std::string model;
  std::string pairs;  // net-cell, cell-net or empty
  bool fold_small_nets = false;
  bool add_diagonal = false;
  int nthreads = 0;  // 0: the default
};

SharedGraph read(const ReadRequest& request);

/// Nets in compressed rows, counted from 0. The arrays are contiguous and hold ints of 32 or 64 bits.
struct ArrayRequest {
  py::array offsets;
  py::array pins;
  int ncells = 0;
  std::optional<py::array> cell_weights;
  std::optional<py::array> net_weights;
  formats::Labels names = {};                    // by number, or empty
  bool add_diagonal = false;                     // each net gets the cell of its number unless it has it
  std::optional<py::array> folded_weights = {};  // of one-pin nets, by cell
  int nfolded = 0;
  int pinless_weight = 0;
};

/// @throws std::invalid_argument  if an entry is out of range, with its position.
SharedGraph from_arrays(const ArrayRequest& request);

/// A format of the table by its name.
///
/// @throws std::invalid_argument  if there is none.
const formats::Format& known_format(const std::string& name);

/// A model by its name.
///
/// @throws std::invalid_argument  if there is none.
formats::Model known_model(const std::string& name);

}  // namespace quillon::python
