#include "python/core/build.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/net_lists.h"
#include "formats/source.h"
#include "formats/threads.h"
#include "hypergraph/detail/lists.h"
#include "python/core/call.h"
#include "python/core/errors.h"
#include "python/core/integers.h"
#include "util/util.h"

namespace quillon::python {
namespace {

using formats::Model;
using formats::NetLists;

void copy_offsets(const Integers& integers, std::size_t npins, formats::Ints& starts) {
  if (integers.size == 0) throw std::invalid_argument("offsets is empty, expected one more than nets");
  if (integers.size - 1 > static_cast<std::size_t>(std::numeric_limits<int>::max()) - 2)
    throw std::invalid_argument("there are " + std::to_string(integers.size - 1) + " nets, too many");
  const Range range{"offsets", 0, static_cast<std::int64_t>(npins)};
  starts.extend(1)[0] = 0;  // net 0 does not exist
  int* const copy = starts.extend(integers.size);
  copy_in_range(integers, range, 0, copy);
  for (std::size_t k = 0; k < integers.size; ++k) {
    const std::int64_t least = k == 0 ? 0 : copy[k - 1];
    const std::int64_t most = k == 0 ? 0 : range.most;
    if (copy[k] < least || copy[k] > most) refuse({range.name, least, most}, k, copy[k]);
  }
  const std::size_t last = integers.size - 1;
  if (static_cast<std::size_t>(copy[last]) != npins)
    refuse({range.name, range.most, range.most}, last, copy[last]);
}

std::vector<int> weights_of(const Integers& integers, int count, const char* name) {
  return integers.data == nullptr ? std::vector<int>() : by_number(integers, count, {name});
}

// By net: whether it has the cell of its number.
std::vector<int> diagonal_of(const NetLists& lists) {
  std::vector<int> diagonal(static_cast<std::size_t>(lists.nnets) + 1, 0);
  for (int j = 1; j <= lists.nnets; ++j) {
    const auto net = static_cast<std::size_t>(j);
    const int* const end = lists.nadj.data() + lists.xnadj[net + 1];
    diagonal[net] = std::find(lists.nadj.data() + lists.xnadj[net], end, j) != end ? 1 : 0;
  }
  return diagonal;
}

// What reading of small nets left in the record.
void restore_folded(Graph& graph, const Integers& folded_weights, const ArrayRequest& request) {
  if (folded_weights.data == nullptr) return;
  Hypergraph& h = graph.record.h;
  const std::vector<int> weights = weights_of(folded_weights, h._c, "folded_weights");
  for (int i = 1; i <= h._c; ++i) {
    h._clst[i].inw = weights[static_cast<std::size_t>(i)];
    add_wrapping(h._totinw, h._clst[i].inw);
  }
  add_wrapping(h._totnw, h._totinw);
  h._virtualnets = request.pinless_weight;
  graph.record.nfolded = request.nfolded;
  graph.small_nets = formats::SmallNets::kFold;
}

std::string names_of_all(const std::vector<std::string>& names) {
  std::string all;
  for (const std::string& name : names) all += (all.empty() ? "" : ", ") + name;
  return all;
}

formats::Pairs known_pairs(const std::string& name) {
  if (name.empty()) return formats::Pairs::kNone;
  if (name == "net-cell") return formats::Pairs::kNetCell;
  if (name == "cell-net") return formats::Pairs::kCellNet;
  throw std::invalid_argument("pairs is '" + name + "', expected net-cell or cell-net");
}

formats::LoadOptions load_options(const ReadRequest& request) {
  formats::LoadOptions options;
  if (!request.format.empty()) options.format = &known_format(request.format);
  options.read = {known_model(request.model), request.add_diagonal, known_pairs(request.pairs)};
  if (request.fold_small_nets) options.small_nets = formats::SmallNets::kFold;
  options.advice = "name it by the argument format";
  return options;
}

void warn_of(const formats::Loaded& loaded, const std::string& file) {
  for (const std::string& remark : loaded.remarks) uwarning("%s: %s", file.c_str(), advised(remark).c_str());
  for (const std::string& loss : loaded.losses) uwarning("%s: not read: %s", file.c_str(), loss.c_str());
}

}  // namespace

const formats::Format& known_format(const std::string& name) {
  const formats::Format* const format = formats::format_named(name);
  if (format != nullptr) return *format;
  std::vector<std::string> names;
  for (const formats::Format& known : formats::all_formats()) names.emplace_back(known.name);
  throw std::invalid_argument("format is '" + name + "', expected one of " + names_of_all(names));
}

Model known_model(const std::string& name) {
  std::vector<std::string> names;
  for (const formats::Format& format : formats::all_formats())
    for (const Model model : format.models) {
      if (formats::name_of(model) == name) return model;
      names.emplace_back(formats::name_of(model));
    }
  throw std::invalid_argument("model is '" + name + "', expected one of " + names_of_all(names));
}

SharedGraph read(const ReadRequest& request) {
  const formats::LoadOptions options = load_options(request);
  return share(call([&] {
    formats::set_threads(request.nthreads);
    auto graph = std::make_unique<Graph>();
    auto source = request.descriptor >= 0
                      ? std::make_unique<formats::Source>(request.descriptor, request.file)
                      : std::make_unique<formats::Source>(request.file);
    formats::Loaded loaded = formats::load(graph->record, std::move(source), options);
    warn_of(loaded, request.file);
    graph->names = std::move(loaded.names);
    graph->small_nets = options.small_nets;
    graph->weights = loaded.format == &formats::own_format() ? loaded.weights : graph->h()._fmt;
    graph->has_cell_side = true;
    return graph;
  }));
}

SharedGraph from_arrays(const ArrayRequest& request) {
  const Integers offsets(request.offsets);
  const Integers pins(request.pins);
  const Integers cell_weights(request.cell_weights);
  const Integers net_weights(request.net_weights);
  const Integers folded_weights(request.folded_weights);
  return share(call([&] {
    formats::check_pins(pins.size);
    NetLists lists;
    lists.ncells = request.ncells;
    copy_offsets(offsets, pins.size, lists.xnadj);
    lists.nnets = static_cast<int>(offsets.size - 1);
    copy_in_range(pins, {"pins", 0, request.ncells - 1}, 1, lists.nadj.extend(pins.size));
    lists.cell_weights = weights_of(cell_weights, lists.ncells, "cell_weights");
    lists.net_weights = weights_of(net_weights, lists.nnets, "net_weights");
    if (request.add_diagonal) lists.diagonal = diagonal_of(lists);
    auto graph = std::make_unique<Graph>();
    formats::to_net_side(std::move(lists), graph->record);
    graph->names = request.names;
    graph->weights = graph->h()._fmt;
    restore_folded(*graph, folded_weights, request);
    return graph;
  }));
}

}  // namespace quillon::python
