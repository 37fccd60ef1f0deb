#include "python/core/transform.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "formats/net_lists.h"
#include "hypergraph/detail/lists.h"
#include "python/core/call.h"
#include "python/core/integers.h"
#include "tools/operations/order.h"
#include "tools/operations/pruning.h"

namespace quillon::python {
namespace {

// Nets first .. last of a pruning copy, as a hypergraph with all its cells.
std::unique_ptr<Graph> nets_of_copy(const Hypergraph& copy, int first, int last) {
  formats::NetLists lists;
  lists.ncells = copy._c;
  formats::begin_nets(lists, last - first + 1);
  lists.net_weights.push_back(0);
  for (int j = first; j <= last; ++j) {
    for (const int i : pins_of(copy._nlst[j])) lists.nadj.push_back(i);
    formats::end_net(lists);
    lists.net_weights.push_back(copy._nlst[j].w);
  }
  lists.cell_weights.push_back(0);
  for (int i = 1; i <= copy._c; ++i) lists.cell_weights.push_back(copy._clst[i].w);
  auto graph = std::make_unique<Graph>();
  formats::to_net_side(std::move(lists), graph->record);
  return graph;
}

// A hypergraph of its own for functions that reorder pins or set parts.
void copy_record(const Hypergraph& h, formats::Record& copy) { CopyHypergraph(&copy.h, &h); }

void check_permutation(const std::vector<int>& numbers, const std::string& name) {
  std::vector<std::size_t> positions(numbers.size(), 0);
  for (std::size_t k = 1; k < numbers.size(); ++k) {
    std::size_t& position = positions[static_cast<std::size_t>(numbers[k])];
    if (position != 0)
      throw std::invalid_argument(name + "[" + std::to_string(k - 1) + "] is " +
                                  std::to_string(numbers[k] - 1) + ", and so is " + name + "[" +
                                  std::to_string(position - 1) + "]");
    position = k;
  }
}

std::vector<int> permutation_of(const Integers& integers, int count, const std::string& name) {
  std::vector<int> numbers = by_number(integers, count, {name, 0, count - 1}, 1);
  check_permutation(numbers, name);
  return numbers;
}

std::unique_ptr<Graph> reordered_graph(const Graph& source, Hypergraph& reordered,
                                       const tool::OldNumbers& orders) {
  auto graph = std::make_unique<Graph>();
  std::swap(graph->record.h, reordered);
  graph->record.nfolded = source.record.nfolded;
  graph->record.h._fmt = source.h()._fmt;
  graph->names = tool::renumbered(source.names, orders);
  graph->small_nets = source.small_nets;
  graph->weights = source.weights;
  graph->has_cell_side = true;
  return graph;
}

struct Reordered {
  std::unique_ptr<Graph> graph;
  tool::OldNumbers orders;
};

ReorderedGraph shown(Reordered reordered) {
  return {share(std::move(reordered.graph)), from_zero(reordered.orders.cells),
          from_zero(reordered.orders.nets)};
}

struct PruningResult {
  std::unique_ptr<Graph> kept;
  std::unique_ptr<Graph> set_aside;
  std::vector<int> cells;  // by new number, as arrays of the module
  std::vector<int> nets;
  std::vector<int> nets_set_aside;
};

std::vector<int> labels(const int* by_number, int first, int last) {
  std::vector<int> numbers{0};
  numbers.insert(numbers.end(), by_number + first, by_number + last + 1);
  return numbers;
}

PruningResult split(const tool::Pruned& pruned, const Graph& source) {
  const Hypergraph& copy = *pruned.h;
  const int kept = pruned.nkept;
  const int all = pruned.ncopied;
  PruningResult result{nets_of_copy(copy, 1, kept), nets_of_copy(copy, kept + 1, all),
                       labels(copy._clabel, 1, copy._c), labels(copy._nlabel, 1, kept),
                       labels(copy._nlabel, kept + 1, all)};
  result.kept->names = tool::names_of_copy(source.names, copy, 1, kept);
  result.set_aside->names = tool::names_of_copy(source.names, copy, kept + 1, all);
  result.kept->weights = source.weights;
  result.set_aside->weights = source.weights;
  return result;
}

}  // namespace

PrunedGraphs prune(Graph& graph, int max_size, bool shuffle, std::uint64_t seed) {
  need_cell_side(graph);
  PruningResult result = call([&] {
    formats::Record copy;
    tool::Pruned pruned;
    copy_record(graph.h(), copy);
    tool::prune(copy.h, {max_size, shuffle, seed}, pruned);
    return split(pruned, graph);
  });
  return {share(std::move(result.kept)), share(std::move(result.set_aside)), from_zero(result.cells),
          from_zero(result.nets), from_zero(result.nets_set_aside)};
}

ReorderedGraph permute(Graph& graph, const py::array& cells, const py::array& nets) {
  need_cell_side(graph);
  const Integers cell_numbers(cells);
  const Integers net_numbers(nets);
  return shown(call([&] {
    const Hypergraph& h = graph.h();
    tool::OldNumbers orders{permutation_of(cell_numbers, h._c, "cell_order"),
                            permutation_of(net_numbers, h._n, "net_order")};
    formats::Record record;
    tool::permute(h, orders, record.h);
    return Reordered{reordered_graph(graph, record.h, orders), std::move(orders)};
  }));
}

ReorderedGraph reorder_by_part(Graph& graph, const py::array& parts) {
  need_cell_side(graph);
  const Integers part_numbers(parts);
  return shown(call([&] {
    formats::Record copy;
    formats::Record record;
    copy_record(graph.h(), copy);
    const std::vector<int> part_of = by_number(part_numbers, graph.h()._c, {"parts"});
    tool::OldNumbers orders = tool::reorder_by_part(copy.h, part_of, record.h);
    return Reordered{reordered_graph(graph, record.h, orders), std::move(orders)};
  }));
}

}  // namespace quillon::python
