#include "tools/report/json_report.h"

#include <nlohmann/json.hpp>

#include "formats/source.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;

// Names of files need not be UTF-8.
void print_line(const Json& json) {
  uprintf("%s\n", json.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

Json begin(const std::string& command, const std::string& file, bool is_fine) {
  return {{"schema_version", kSchemaVersion},
          {"command", command},
          {"file", formats::shown_name(file)},
          {"status", is_fine ? "ok" : "failed"}};
}

void add_counts(Json& json, const Hypergraph& h) {
  json["cells"] = h._c;
  json["nets"] = h._n;
  json["pins"] = h._p;
}

// Null stands where there is nothing to have a figure.
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

void print_stats_json(const std::string& file, const formats::Record& record, const measures::Figures& figures) {
  Json json = begin("stats", file, true);
  add_counts(json, record.h);
  json["folded"] = {{"nets", record.nfolded},
                    {"one_pin_weight", record.h._totinw},
                    {"pinless_weight", record.h._virtualnets}};
  json["cell_degree"] = lengths_json(figures.degrees);
  json["net_size"] = lengths_json(figures.sizes);
  json["cell_weight"] = weights_json(figures.cells, figures.ncells > 0);
  json["net_weight"] = weights_json(figures.nets, figures.nnets > 0);
  print_line(json);
}

void print_check_json(const std::string& file, const formats::Record& record, bool is_symmetric) {
  Json json = begin("check", file, true);
  add_counts(json, record.h);
  json["folded"] = {{"nets", record.nfolded}};
  json["symmetric"] = is_symmetric;
  print_line(json);
}

void print_partition_json(const std::string& file, const std::string& part_file, const Hypergraph& h,
                          const measures::PartSizes& sizes, const measures::CutSizes& cut) {
  Json json = begin("partition-info", file, true);
  json["partition"] = formats::shown_name(part_file);
  add_counts(json, h);
  json["parts"] = Json::array();
  for (std::size_t part = 0; part < sizes.ncells.size(); ++part)
    json["parts"].push_back({{"part", part}, {"cells", sizes.ncells[part]}, {"weight", sizes.weights[part]}});
  json["cut_nets"] = cut.ncut_nets;
  json["cut"] = cut.cut;
  json["connectivity_minus_one"] = cut.connectivity_minus_one;
  json["sum_of_external_degrees"] = cut.sum_of_external_degrees;
  json["imbalance"] = measures::imbalance(sizes);
  print_line(json);
}

void print_failure_json(const std::string& command, const std::string& file) {
  print_line(begin(command, file, false));
}

}  // namespace quillon::tool
