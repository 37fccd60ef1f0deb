#include "python/core/measure.h"

#include <stdexcept>
#include <utility>

#include "formats/net_lists.h"
#include "measures/balance.h"
#include "measures/comparison.h"
#include "measures/figures.h"
#include "python/core/call.h"
#include "python/core/integers.h"
#include "tools/operations/fatal_error.h"
#include "tools/operations/output.h"
#include "tools/report/comparison_report.h"
#include "tools/report/json_report.h"
#include "tools/report/model.h"

namespace quillon::python {
namespace {

// Under the lock of the module.
std::string& output_so_far() {
  static auto* const text = new std::string;
  return *text;
}

// What `print` writes by uprintf.
template <typename Print>
std::string printed(const Print& print) {
  output_so_far().clear();
  const tool::DivertedOutput diverted([](const char* text) { output_so_far() += text; });
  print();
  return std::exchange(output_so_far(), {});
}

tool::FoldedNets folded_nets(const Graph& graph) {
  const Hypergraph& h = graph.h();
  tool::FoldedNets folded{graph.record.nfolded, 0, h._virtualnets};
  for (int i = 1; i <= h._c; ++i) folded.one_pin_weight += h._clst[i].inw;
  return folded;
}

measures::Partition partition_of(const Integers& parts, int nparts, int ncells, const char* name) {
  return {by_number(parts, ncells, {name, 0, nparts - 1}), nparts};
}

measures::Decimal decimal_of(const std::string& text, const std::string& name) {
  const std::optional<measures::Decimal> decimal = measures::decimal_of(text);
  if (!decimal) throw std::invalid_argument(name + " is " + text + ", expected a number from 0");
  return *decimal;
}

tool::NamedLimit limit_of(const LimitText& text) {
  if (const auto rule = measures::balance_rule_named(text.first))
    return {text.first + "=" + text.second, {*rule, decimal_of(text.second, "limit " + text.first)}};
  throw std::invalid_argument("limit '" + text.first +
                              "', expected epsilon, ufactor, ubfactor, share or mondriaan");
}

tool::PartitionWishes wishes_of(const EvaluationRequest& request, const Graph& graph) {
  tool::PartitionWishes wishes;
  for (const LimitText& limit : request.limits) wishes.limits.push_back(limit_of(limit));
  for (const std::string& target : request.targets)
    wishes.targets.values.push_back(decimal_of(target, "target"));
  wishes.targets.are_shares = request.are_shares;
  wishes.details = request.details;
  wishes.matrix = request.matrix;
  wishes.nnets = request.nnets;
  wishes.names = &graph.names;
  return wishes;
}

}  // namespace

std::string stats_json(Graph& graph, const std::string& file) {
  need_cell_side(graph);
  return call([&] {
    const measures::Figures figures = measures::figures_of(graph.h());
    return printed([&] { tool::print_stats_json(file, folded_nets(graph), figures); });
  });
}

std::string evaluation_json(Graph& graph, const EvaluationRequest& request) {
  const Integers parts(request.parts);
  const Integers fixed(request.fixed);
  return call([&] {
    const Hypergraph& h = graph.h();
    tool::PartitionWishes wishes = wishes_of(request, graph);
    const measures::Partition partition = partition_of(parts, request.nparts, h._c, "parts");
    if (fixed.data != nullptr) wishes.fixed = by_number(fixed, h._c, {"fixed", -1, request.nparts - 1});
    const tool::PartitionModel model = tool::partition_model("", "", h, partition, wishes);
    return printed([&] { tool::print_partition_json("eval", model); });
  });
}

std::string comparison_json(Graph& graph, const py::array& first, const py::array& second, int nparts_first,
                            int nparts_second) {
  const Integers first_parts(first);
  const Integers second_parts(second);
  return call([&] {
    const Hypergraph& h = graph.h();
    const measures::Partition a = partition_of(first_parts, nparts_first, h._c, "parts1");
    const measures::Partition b = partition_of(second_parts, nparts_second, h._c, "parts2");
    const tool::ComparisonModel model{
        tool::partition_model("", "", h, a), tool::partition_model("", "", h, b),
        measures::compare_partitions(h, a, b), measures::cut_changes(h, a, b), true};
    return printed([&] { tool::print_comparison_json(model); });
  });
}

std::int64_t count_repeated_pins(Graph& graph) {
  return call([&graph] { return formats::count_repeated_pins(graph.h()); });
}

std::optional<std::string> broken_rule(Graph& graph) {
  need_cell_side(graph);
  return call([&]() -> std::optional<std::string> {
    try {
      CheckListsofHypergraph(&graph.h());
    } catch (const tool::FatalError& error) {
      return error.what();
    }
    Call::take_warnings();  // on nets without pins, which `check` notes
    return std::nullopt;
  });
}

}  // namespace quillon::python
