#include "tools/report/json_report.h"

#include <nlohmann/json.hpp>

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

}  // namespace

void print_stats_json(const std::string& file, const FoldedNets& folded, const measures::Figures& figures) {
  Json json = begin("stats", file, true);
  add_counts(json, figures.ncells, figures.nnets, figures.npins);
  json["folded"] = {{"nets", folded.count},
                    {"one_pin_weight", folded.one_pin_weight},
                    {"pinless_weight", folded.pinless_weight}};
  json["cell_degree"] = lengths_json(figures.degrees);
  json["net_size"] = lengths_json(figures.sizes);
  json["cell_weight"] = weights_json(figures.cells, figures.ncells > 0);
  json["net_weight"] = weights_json(figures.nets, figures.nnets > 0);
  print_line(json);
}

void print_check_json(const std::string& file, const Hypergraph& h, int nfolded, bool is_symmetric) {
  Json json = begin("check", file, true);
  add_counts(json, h._c, h._n, h._p);
  json["folded"] = {{"nets", nfolded}};
  json["symmetric"] = is_symmetric;
  print_line(json);
}

void print_partition_json(const PartitionModel& model) {
  Json json = begin("partition-info", model.hypergraph, true);
  json["partition"] = model.part_file;
  add_counts(json, model.ncells, model.nnets, model.npins);
  json["parts"] = Json::array();
  for (std::size_t part = 0; part < model.sizes.ncells.size(); ++part)
    json["parts"].push_back(
        {{"part", part}, {"cells", model.sizes.ncells[part]}, {"weight", model.sizes.weights[part]}});
  json["cut_nets"] = model.cut.ncut_nets;
  json["cut"] = model.cut.cut;
  json["connectivity_minus_one"] = model.cut.connectivity_minus_one;
  json["sum_of_external_degrees"] = model.cut.sum_of_external_degrees;
  json["imbalance"] = model.imbalance;
  print_line(json);
}

void print_failure_json(const std::string& command, const std::string& file) {
  print_line(begin(command, file, false));
}

}  // namespace quillon::tool
