#include "tools/report/json_report.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "tools/report/comparison_report.h"
#include "tools/report/difference_report.h"
#include "tools/report/explanation_report.h"
#include "tools/report/feasibility_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

// File names need not be UTF-8.
void print_line(const Json& json) {
  uprintf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

Json begin(const std::string& command, const std::string& file, bool is_fine) {
  return {{"schema_version", kSchemaVersion},
          {"command", command},
          {"file", file},
          {"status", is_fine ? "ok" : "failed"}};
}

void add_counts(Json& json, int ncells, int nnets, int npins) {
  json["cells"] = ncells;
  json["nets"] = nnets;
  json["pins"] = npins;
}

// Null without items.
Json known(bool is_known, int value) { return is_known ? Json(value) : Json(); }

Json lengths_json(const measures::Lengths& lengths) {
  const bool is_known = lengths.count > 0;
  Json json{{"average", lengths.average},
            {"standard_deviation", lengths.deviation},
            {"coefficient_of_variation", lengths.variation},
            {"minimum", known(is_known, lengths.min)},
            {"minimum_above_zero", known(lengths.nzero < lengths.count, lengths.min_above_zero)},
            {"zeros", lengths.nzero},
            {"maximum", known(is_known, lengths.max)},
            {"distribution", Json::array()}};
  for (const auto& [length, count] : lengths.distribution)
    json["distribution"].push_back(Json::array({length, count}));
  return json;
}

Json weights_json(const measures::Weights& weights, bool is_known) {
  return {{"minimum", known(is_known, weights.min)},
          {"maximum", known(is_known, weights.max)},
          {"total", weights.total}};
}

Json quantiles_json(const measures::Quantiles& q) {
  const bool is_known = q.count > 0;
  return {{"minimum", known(is_known, q.min)},
          {"lower_quartile", known(is_known, q.lower_quartile)},
          {"median", known(is_known, q.median)},
          {"upper_quartile", known(is_known, q.upper_quartile)},
          {"percentile_90", known(is_known, q.percentile_90)},
          {"percentile_99", known(is_known, q.percentile_99)},
          {"maximum", known(is_known, q.max)},
          {"mean", is_known ? Json(q.mean) : Json()},
          {"standard_deviation", is_known ? Json(q.deviation) : Json()}};
}

Json part_json(const PartitionModel& model, std::size_t part) {
  if (model.sizes.ncells.empty()) return {};
  return {{"part", part}, {"cells", model.sizes.ncells[part]}, {"weight", model.sizes.weights[part]}};
}

Json parts_json(const PartitionModel& model) {
  Json parts = Json::array();
  for (std::size_t part = 0; part < model.sizes.ncells.size(); ++part) {
    Json row = part_json(model, part);
    if (model.details) {
      row["boundary_cells"] = model.details->nboundary_cells[part];
      row["internal_nets"] = model.details->ninternal_nets[part];
      row["volume_sent"] = model.details->volumes_sent[part];
      row["volume_received"] = model.details->volumes_received[part];
    }
    parts.push_back(std::move(row));
  }
  return parts;
}

void add_measures(Json& json, const PartitionModel& model) {
  json["cut_nets"] = model.cut.ncut_nets;
  json["cut"] = model.cut.cut;
  json["connectivity_minus_one"] = model.cut.connectivity_minus_one;
  json["sum_of_external_degrees"] = model.cut.sum_of_external_degrees;
  json["imbalance"] = model.imbalance;
  json["absorption"] = model.absorption;
  json["connectivity_pairs"] = model.connectivity_pairs ? Json(*model.connectivity_pairs) : Json();
  json["balance"] = Json::object();
  for (const auto& [rule, name] : measures::kBalanceRules)
    json["balance"][std::string(name)] = model.balance.of(rule);  // null if infinite
}

// The second minus the first of each number that both have.
Json difference_of(const Json& first, const Json& second) {
  Json difference = Json::object();
  for (const auto& [member, value] : second.items()) {
    const Json& before = first[member];
    if (value.is_object())
      difference[member] = difference_of(before, value);
    else if (value.is_number_float() && before.is_number_float())
      difference[member] = value.get<double>() - before.get<double>();
    else if (value.is_number_integer() && before.is_number_integer())
      difference[member] = value.get<std::int64_t>() - before.get<std::int64_t>();
    else if (member != "partition")
      difference[member] = nullptr;
  }
  return difference;
}

Json limit_json(const LimitModel& limit) {
  Json json{{"limit", limit.text}, {"holds", limit.broken.empty()}, {"broken_by", Json::array()}};
  for (const BrokenPart& broken : limit.broken)
    json["broken_by"].push_back(
        {{"part", broken.part}, {"weight", broken.weight}, {"least", broken.least}, {"most", broken.most}});
  return json;
}

Json net_json(const NetOfFile& net) {
  return {{"net", net.net},
          {"line", net.line > 0 ? Json(net.line) : Json()},
          {"weight", net.weight},
          {"pins", std::vector<int>(net.pins.begin(), net.pins.end())}};
}

Json nets_json(const DifferentNets& nets) {
  Json shown = Json::array();
  for (const auto& [first, second] : nets.shown)
    shown.push_back(first && second ? Json{{"first", net_json(*first)}, {"second", net_json(*second)}}
                                    : net_json(first ? *first : *second));
  return {{"count", nets.count}, {"shown", std::move(shown)}};
}

Json cell_weights_json(const DifferenceModel& model) {
  const std::vector<int>& cells = model.difference.weights;
  Json shown = Json::array();
  for (std::size_t k = 0; k < model.nweights_shown; ++k)
    shown.push_back({{"cell", cells[k]},
                     {"first", model.first->_clst[cells[k]].w},
                     {"second", model.second->_clst[cells[k]].w}});
  return {{"count", cells.size()}, {"shown", std::move(shown)}};
}

}  // namespace

std::string text_of_name(const std::string& json) {
  const Json name = Json::parse(json, nullptr, false);
  return name.is_string() ? name.get<std::string>() : json;
}

void print_stats_json(const std::string& file, const FoldedNets& folded, const measures::Figures& figures,
                      const StatsExtras& extras) {
  Json json = begin("stats", file, true);
  add_counts(json, figures.ncells, figures.nnets, figures.npins);
  json["folded"] = {{"nets", folded.count},
                    {"one_pin_weight", folded.one_pin_weight},
                    {"pinless_weight", folded.pinless_weight}};
  json["cell_degree"] = lengths_json(figures.degrees);
  json["net_size"] = lengths_json(figures.sizes);
  json["cell_weight"] = weights_json(figures.cells, figures.ncells > 0);
  json["net_weight"] = weights_json(figures.nets, figures.nnets > 0);
  for (const NamedQuantiles& named : extras.quantiles)
    json[named.member]["quantiles"] = quantiles_json(named.quantiles);
  if (extras.components != nullptr)
    json["components"] = {{"count", extras.components->count()}, {"largest", extras.components->largest()}};
  print_line(json);
}

void print_check_json(const std::string& file, const Hypergraph& h, int nfolded, bool is_symmetric) {
  Json json = begin("check", file, true);
  add_counts(json, h._c, h._n, h._p);
  json["folded"] = {{"nets", nfolded}};
  json["symmetric"] = is_symmetric;
  print_line(json);
}

void print_partition_json(const std::string& command, const PartitionModel& model) {
  Json json = begin(command, model.hypergraph, true);
  json["partition"] = model.part_file;
  add_counts(json, model.ncells, model.nnets, model.npins);
  json["parts"] = parts_json(model);
  add_measures(json, model);
  json["heaviest_part"] = part_json(model, model.heaviest);
  json["lightest_part"] = part_json(model, model.lightest);
  json["empty_parts"] = model.nempty;
  json["limits"] = Json::array();
  for (const LimitModel& limit : model.limits) json["limits"].push_back(limit_json(limit));
  if (model.moved) {
    json["moved_fixed_cells"] = Json::array();
    for (const MovedCell& moved : *model.moved) {
      Json& cell = json["moved_fixed_cells"].emplace_back(
          Json{{"cell", moved.cell}, {"part", moved.part}, {"fixed_to", moved.fixed_to}});
      if (!moved.name.empty()) cell["name"] = moved.name;
    }
  }
  json["within_limits"] = model.is_within_limits();
  if (model.matrix) {
    json["matrix"] = Json::array();
    for (const measures::MatrixEntry& entry : *model.matrix)
      json["matrix"].push_back(Json::array({entry.part, entry.other, entry.weight}));
  }
  if (model.nets) {
    json["costliest_nets"] = Json::array();
    for (const CostlyNet& found : *model.nets) {
      Json& net = json["costliest_nets"].emplace_back(
          Json{{"net", found.net}, {"parts", found.connectivity}, {"cost", found.cost}});
      if (!found.name.empty()) net["name"] = found.name;
    }
  }
  print_line(json);
}

void print_feasibility_json(const FeasibilityModel& model) {
  Json json = begin("eval", model.hypergraph, true);
  json["cells"] = model.ncells;
  json["parts"] = model.nparts;
  json["weight"] = model.weights.total;
  json["heaviest_cell"] = model.weights.heaviest == 0 ? Json()
                                                      : Json{{"cell", model.weights.heaviest},
                                                             {"weight", model.weights.sorted.front()}};
  json["heaviest_part_at_least"] = {{"weight", model.bound.weight},
                                    {"reason", reason_of(model.bound, model.nparts)}};
  json["imbalance_at_least"] = model.has_targets ? Json() : Json(model.least_imbalance());
  json["limits"] = Json::array();
  for (const FeasibilityLimit& limit : model.limits) {
    Json obstacles = Json::array();
    for (const measures::Obstacle& obstacle : limit.obstacles) obstacles.push_back(reason_of(obstacle));
    json["limits"].push_back({{"limit", limit.text},
                              {"least", limit.least},
                              {"most", limit.most},
                              {"capacity", limit.capacity},
                              {"obstacles", std::move(obstacles)}});
  }
  json["feasible"] = model.may_be_feasible() ? Json() : Json(false);
  print_line(json);
}

void print_comparison_json(const ComparisonModel& model) {
  const measures::Comparison& comparison = model.comparison;
  Json json = begin("compare", model.first.hypergraph, true);
  add_counts(json, model.first.ncells, model.first.nnets, model.first.npins);
  json["cells_moved"] = comparison.ncells_moved;
  json["weight_moved"] = comparison.weight_moved;
  json["normalised_mutual_information"] = comparison.normalised_mutual_information;
  json["adjusted_rand_index"] = comparison.adjusted_rand_index;
  json["names"] = comparison.names;
  json["nets_newly_cut"] = model.nets.newly_cut.size();
  json["nets_no_longer_cut"] = model.nets.no_longer_cut.size();
  if (model.lists_nets) {
    json["newly_cut"] = model.nets.newly_cut;
    json["no_longer_cut"] = model.nets.no_longer_cut;
  }
  for (const auto& [member, partition] :
       {std::pair{"first", &model.first}, std::pair{"second", &model.second}}) {
    json[member] = {{"partition", partition->part_file}, {"parts", partition->sizes.weights.size()}};
    add_measures(json[member], *partition);
  }
  json["difference"] = difference_of(json["first"], json["second"]);
  print_line(json);
}

void print_difference_json(const DifferenceModel& model) {
  Json json = begin("diff", model.first_file, true);
  add_counts(json, model.first->_c, model.first->_n, model.first->_p);
  json["second"] = {{"file", model.second_file}};
  add_counts(json["second"], model.second->_c, model.second->_n, model.second->_p);
  json["same"] = model.difference.is_empty();
  json["same_up_to_order"] = model.difference.is_order_only();
  json["cell_weights"] = cell_weights_json(model);
  json["nets_changed"] = nets_json(model.changed);
  json["nets_moved"] = nets_json(model.moved);
  json["nets_only_in_first"] = nets_json(model.only_first);
  json["nets_only_in_second"] = nets_json(model.only_second);
  print_line(json);
}

void print_explanation_json(const ExplanationModel& model) {
  const measures::Counts& counts = model.counts;
  Json json = begin("explain", model.file, true);
  json["format"] = model.format;
  add_counts(json, counts.ncells, counts.nnets, counts.npins);
  json["cells_used"] = counts.ncells_used;
  json["highest_cell"] = counts.highest_cell;
  json["cells_of_weight_0"] = counts.nzero_cells;
  json["nets_of_one_cell"] = counts.nsingle_nets;
  json["nets_without_pins"] = counts.nempty_nets;
  json["nets_of_weight_0"] = counts.nzero_nets;
  json["parallel_nets"] = counts.nparallel_nets;
  json["repeated_pins"] = counts.nrepeated_pins;
  json["pairs_of_cells"] = counts.npairs;
  json["cell_weight"] = counts.cell_weight;
  json["net_weight"] = counts.net_weight;
  print_line(json);
}

void print_failure_json(const std::string& command, const std::string& file, const std::string& partition) {
  Json json = begin(command, file, false);
  if (!partition.empty()) json["partition"] = partition;
  print_line(json);
}

}  // namespace quillon::tool
