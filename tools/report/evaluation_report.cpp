#include "tools/report/evaluation_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "tools/report/text.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using Models = std::vector<const PartitionModel*>;

MeasureValue known(const std::optional<std::int64_t>& value) {
  return value ? MeasureValue(*value) : MeasureValue();
}

constexpr std::array<Measure, 15> kMeasures{{
    {"parts", "parts", false, [](const auto& m) { return MeasureValue(std::ssize(m.sizes.weights)); }},
    {"cut_nets", "cut nets", false, [](const auto& m) { return MeasureValue(m.cut.ncut_nets); }},
    {"cut", "cut", false, [](const auto& m) { return MeasureValue(m.cut.cut); }},
    {"connectivity_minus_one", "connectivity minus one", false,
     [](const auto& m) { return MeasureValue(m.cut.connectivity_minus_one); }},
    {"sum_of_external_degrees", "sum of external degrees", false,
     [](const auto& m) { return MeasureValue(m.cut.sum_of_external_degrees); }},
    {"connectivity_pairs", "sum of w L (L - 1)", false,
     [](const auto& m) { return known(m.connectivity_pairs); }},
    {"absorption", "absorption", true, [](const auto& m) { return MeasureValue(m.absorption); }},
    {"imbalance", "imbalance", false, [](const auto& m) { return MeasureValue(m.imbalance); }},
    {"epsilon", "epsilon", false, [](const auto& m) { return MeasureValue(m.balance.epsilon); }},
    {"ufactor", "ufactor", false, [](const auto& m) { return MeasureValue(m.balance.ufactor); }},
    {"ubfactor", "ubfactor", false, [](const auto& m) { return MeasureValue(m.balance.ubfactor); }},
    {"share", "share", false, [](const auto& m) { return MeasureValue(m.balance.share); }},
    {"mondriaan", "mondriaan", false, [](const auto& m) { return MeasureValue(m.balance.mondriaan); }},
    {"heaviest_weight", "heaviest part", false,
     [](const auto& m) { return MeasureValue(m.sizes.weights[m.heaviest]); }},
    {"lightest_weight", "lightest part", true,
     [](const auto& m) { return MeasureValue(m.sizes.weights[m.lightest]); }},
}};

// The shortest text that reads back to the same number.
std::string exact(const MeasureValue& value) {
  if (const auto* const whole = std::get_if<std::int64_t>(&value)) return std::to_string(*whole);
  if (const auto* const real = std::get_if<double>(&value)) return fmt::format("{}", *real);
  return "-";
}

std::string plural(std::size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

constexpr std::size_t kMostNamed = 20;

void print_broken(const LimitModel& limit) {
  print_row("limit " + limit.text, "broken by " + plural(limit.broken.size(), "part"));
  for (std::size_t k = 0; k < std::min(kMostNamed, limit.broken.size()); ++k) {
    const BrokenPart& broken = limit.broken[k];
    const bool is_heavy = broken.weight > broken.most;
    uprintf("  part %d weighs %lld, at %s %lld\n", broken.part, static_cast<long long>(broken.weight),
            is_heavy ? "most" : "least", static_cast<long long>(is_heavy ? broken.most : broken.least));
  }
  if (limit.broken.size() > kMostNamed) uprintf("  ...\n");
}

// "7", or "7 (name)".
std::string shown_cell(const MovedCell& moved) {
  const std::string number = std::to_string(moved.cell);
  return moved.name.empty() ? number : number + " (" + in_one_line(moved.name) + ")";
}

void print_moved(const std::vector<MovedCell>& moved) {
  print_row("fixed cells moved", std::to_string(moved.size()));
  for (std::size_t k = 0; k < std::min(kMostNamed, moved.size()); ++k)
    uprintf("  cell %s is fixed to part %d and in part %d\n", shown_cell(moved[k]).c_str(), moved[k].fixed_to,
            moved[k].part);
  if (moved.size() > kMostNamed) uprintf("  ...\n");
}

// All columns after the name of the file, header or values.
template <typename Text>
std::string columns(const char* separator, const Text& text) {
  std::string line;
  for (const Measure& measure : kMeasures) line += (line.empty() ? "" : separator) + text(measure);
  return line;
}

bool has_limits(const PartitionModel& model) { return !model.limits.empty() || model.moved; }

// The name of the file, as the first column of tables of several files.
std::string file_column(const Models& models, const PartitionModel& model) {
  return models.size() > 1 ? in_one_line(model.part_file) + "\t" : "";
}

std::string file_heading(const Models& models) { return models.size() > 1 ? "partition\t" : ""; }

void print_parts(const Models& models) {
  uprintf("%spart\tcells\tweight\tboundary_cells\tinternal_nets\tvolume_sent\tvolume_received\n",
          file_heading(models).c_str());
  for (const PartitionModel* const model : models)
    for (std::size_t part = 0; part < model->sizes.ncells.size(); ++part)
      uprintf("%s\n", fmt::format("{}{}\t{}\t{}\t{}\t{}\t{}\t{}", file_column(models, *model), part,
                                  model->sizes.ncells[part], model->sizes.weights[part],
                                  model->details->nboundary_cells[part], model->details->ninternal_nets[part],
                                  model->details->volumes_sent[part], model->details->volumes_received[part])
                          .c_str());
}

void print_sparse_matrix(const Models& models) {
  uprintf("%spart\tother\tweight\n", file_heading(models).c_str());
  for (const PartitionModel* const model : models)
    for (const measures::MatrixEntry& entry : *model->matrix)
      uprintf("%s%d\t%d\t%lld\n", file_column(models, *model).c_str(), entry.part, entry.other,
              static_cast<long long>(entry.weight));
}

void print_square_matrix(const PartitionModel& model) {
  const std::size_t nparts = model.sizes.weights.size();
  std::vector<std::int64_t> weights(nparts * nparts, 0);
  for (const measures::MatrixEntry& entry : *model.matrix) {
    const auto a = static_cast<std::size_t>(entry.part);
    const auto b = static_cast<std::size_t>(entry.other);
    weights[a * nparts + b] = weights[b * nparts + a] = entry.weight;
  }
  std::string text = "part";
  for (std::size_t part = 0; part < nparts; ++part) text += "\t" + std::to_string(part);
  for (std::size_t k = 0; k < weights.size(); ++k) {
    if (k % nparts == 0) text += "\n" + std::to_string(k / nparts);
    text += "\t" + std::to_string(weights[k]);
  }
  uprintf("%s\n", text.c_str());
}

void print_matrix(const Models& models) {
  constexpr std::size_t kMostSquare = 256;
  if (models.size() == 1 && models.front()->sizes.weights.size() <= kMostSquare)
    print_square_matrix(*models.front());
  else
    print_sparse_matrix(models);
}

// Names are the last column, if the file of the hypergraph has any.
void print_nets(const Models& models) {
  const bool is_named = std::any_of(models.begin(), models.end(), [](const PartitionModel* model) {
    return std::any_of(model->nets->begin(), model->nets->end(),
                       [](const CostlyNet& net) { return !net.name.empty(); });
  });
  uprintf("%snet\tparts\tcost%s\n", file_heading(models).c_str(), is_named ? "\tname" : "");
  for (const PartitionModel* const model : models)
    for (const CostlyNet& net : *model->nets)
      uprintf("%s\n", fmt::format("{}{}\t{}\t{}{}", file_column(models, *model), net.net, net.connectivity,
                                  net.cost, is_named ? "\t" + in_one_line(net.name) : "")
                          .c_str());
}

}  // namespace

std::span<const Measure> all_measures() { return kMeasures; }

std::string rounded_text(const MeasureValue& value) {
  const auto* const real = std::get_if<double>(&value);
  return real != nullptr ? fmt::format("{:.6f}", *real) : exact(value);
}

bool is_better(const Measure& measure, const PartitionModel& a, const PartitionModel& b) {
  const MeasureValue x = measure.value(a);
  const MeasureValue y = measure.value(b);
  if (x.index() != y.index()) return x.index() > y.index();
  return measure.more_is_better ? x > y : x < y;
}

void print_limits_text(const PartitionModel& model) {
  for (const LimitModel& limit : model.limits) {
    if (limit.broken.empty())
      print_row("limit " + limit.text, "holds");
    else
      print_broken(limit);
  }
  if (model.moved) print_moved(*model.moved);
}

void print_evaluation_text(const PartitionModel& model) {
  uprintf("%s: %d cells, %d nets, %d pins; %s: %s\n", model.hypergraph.c_str(), model.ncells, model.nnets,
          model.npins, model.part_file.c_str(), plural(model.sizes.weights.size(), "part").c_str());
  for (const Measure& measure : kMeasures) {
    const std::string key = measure.key;
    if (key == "parts") continue;
    std::string text = rounded_text(measure.value(model));
    if (key == "heaviest_weight") text = fmt::format("{}, weight {}", model.heaviest, text);
    if (key == "lightest_weight") text = fmt::format("{}, weight {}", model.lightest, text);
    print_row(measure.label, text);
  }
  print_row("empty parts", std::to_string(model.nempty));
  print_limits_text(model);
}

void print_overview_text(const Models& models) {
  constexpr std::array kShown{1, 2, 3, 4, 7};  // of kMeasures
  uprintf("%10s", "parts");
  for (const int k : kShown)
    uprintf(" %*s", k < 3 ? 12 : k == 7 ? 10 : 23, kMeasures[static_cast<std::size_t>(k)].label);
  uprintf("  limits  partition\n");
  for (const PartitionModel* const model : models) {
    uprintf("%10zu", model->sizes.weights.size());
    for (const int k : kShown)
      uprintf(" %*s",
              k < 3    ? 12
              : k == 7 ? 10
                       : 23,
              rounded_text(kMeasures[static_cast<std::size_t>(k)].value(*model)).c_str());
    uprintf("  %-6s  %s\n",
            !has_limits(*model)         ? "-"
            : model->is_within_limits() ? "hold"
                                        : "broken",
            in_one_line(model->part_file).c_str());
  }
}

void print_evaluation_table(const Models& models) {
  const std::string header = columns("\t", [](const Measure& measure) { return std::string(measure.key); });
  uprintf("partition\t%s\theaviest_part\tlightest_part\tempty_parts\twithin_limits\n", header.c_str());
  for (const PartitionModel* const model : models)
    uprintf("%s\t%s\t%zu\t%zu\t%lld\t%s\n", in_one_line(model->part_file).c_str(),
            columns("\t", [model](const Measure& measure) { return exact(measure.value(*model)); }).c_str(),
            model->heaviest, model->lightest, static_cast<long long>(model->nempty),
            model->is_within_limits() ? "yes" : "no");
}

void print_evaluation_summary(const PartitionModel& model) {
  const auto pair = [&model](const Measure& measure) {
    return std::string(measure.key) + "=" + exact(measure.value(model));
  };
  uprintf("RESULT %s heaviest_part=%zu lightest_part=%zu empty_parts=%lld within_limits=%s partition=%s\n",
          columns(" ", pair).c_str(), model.heaviest, model.lightest, static_cast<long long>(model.nempty),
          model.is_within_limits() ? "yes" : "no", in_one_line(model.part_file).c_str());
}

void print_part_tables(const Models& models) {
  if (models.empty()) return;
  const PartitionModel& any = *models.front();
  bool is_first = true;
  const auto print = [&](bool is_wanted, void (*table)(const Models&)) {
    if (!is_wanted) return;
    if (!is_first) uprintf("\n");
    is_first = false;
    table(models);
  };
  print(any.details.has_value(), print_parts);
  print(any.matrix.has_value(), print_matrix);
  print(any.nets.has_value(), print_nets);
}

}  // namespace quillon::tool
