#pragma once
/// @file
/// Nets of a record as values, and the obvious functions of sets of them.

#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"

namespace quillon::oracle {

/// Weight and pins of a net.
using NetValue = std::pair<int, std::vector<int>>;

/// The nets of a record in their order.
///
/// @param sorted  Whether to sort the pins of each net.
std::vector<NetValue> nets_of(const Hypergraph& h, bool sorted);

/// Number of nets of `a` without an equal one in `b`, where each net of `b` counts once.
int count_missing(const std::vector<NetValue>& a, const std::vector<NetValue>& b);

/// Length of the longest sequence of nets that both have in the same order.
int longest_common(const std::vector<NetValue>& a, const std::vector<NetValue>& b);

/// The first of each group of nets with the same weight and pins, whatever the order of the pins.
std::vector<NetValue> distinct(const std::vector<NetValue>& nets);

/// What `measures::Simplifications` asks for.
struct Steps {
  bool repeated_pins;
  bool small_nets;
  bool parallel_nets;
  bool isolated_cells;
};

/// Cells that are left, by old number, and nets, with old numbers of cells.
struct Simple {
  std::vector<int> cells;
  std::vector<NetValue> nets;
  std::vector<int> net_origins;  ///< By new net from 0: its old number.
};

/// Simplifies a record step by step.
Simple simplify(const Hypergraph& h, const Steps& steps);

}  // namespace quillon::oracle
