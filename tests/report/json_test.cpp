#include <gmock/gmock.h>

#include <functional>
#include <string>

#include "tests/support/five_cells.h"
#include "tests/support/records.h"
#include "tools/report/json_report.h"
#include "tools/report/text_report.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

std::string output;

void keep(const char* text) { output += text; }

std::string printed(const std::function<void()>& print) {
  output.clear();
  const TextHandler previous = set_output_handler(keep);
  print();
  set_output_handler(previous);
  return output;
}

Record with_internal_nets() {
  Record r = five_cells();
  r.h._totinw = 20;
  r.h._virtualnets = 30;
  return r;
}

TEST(PrintStatsJson, PrintsAllFiguresOnALine) {
  // Two of four cells on a net make every figure a short number.
  const Record r({4, {{1, 2}}, {7}, {1, 1, 1, 5}});

  EXPECT_EQ(
      printed([&] {
        print_stats_json("h", {3, 20, 30}, measures::figures_of(r.h));
      }),
      R"({"schema_version":1,"command":"stats","file":"h","status":"ok","cells":4,"nets":1,"pins":2,)"
      R"("folded":{"nets":3,"one_pin_weight":20,"pinless_weight":30},)"
      R"("cell_degree":{"average":0.5,"standard_deviation":0.5,"coefficient_of_variation":1.0,"minimum":0,)"
      R"("minimum_above_zero":1,"zeros":2,"maximum":1,"distribution":[[0,2],[1,2]]},)"
      R"("net_size":{"average":2.0,"standard_deviation":0.0,"coefficient_of_variation":0.0,"minimum":2,)"
      R"("minimum_above_zero":2,"zeros":0,"maximum":2,"distribution":[[2,1]]},)"
      R"("cell_weight":{"minimum":1,"maximum":5,"total":8},"net_weight":{"minimum":7,"maximum":7,"total":7}})"
      "\n");
}

TEST(PrintStatsJson, HasNullForFiguresOfNoItems) {
  const Record r({0, {}});

  EXPECT_EQ(
      printed([&] { print_stats_json("h", {}, measures::figures_of(r.h)); }),
      R"({"schema_version":1,"command":"stats","file":"h","status":"ok","cells":0,"nets":0,"pins":0,)"
      R"("folded":{"nets":0,"one_pin_weight":0,"pinless_weight":0},)"
      R"("cell_degree":{"average":null,"standard_deviation":null,"coefficient_of_variation":null,"minimum":null,)"
      R"("minimum_above_zero":null,"zeros":0,"maximum":null,"distribution":[]},)"
      R"("net_size":{"average":null,"standard_deviation":null,"coefficient_of_variation":null,"minimum":null,)"
      R"("minimum_above_zero":null,"zeros":0,"maximum":null,"distribution":[]},)"
      R"("cell_weight":{"minimum":null,"maximum":null,"total":0},)"
      R"("net_weight":{"minimum":null,"maximum":null,"total":0}})"
      "\n");
}

TEST(PrintCheckJson, PrintsCountsAndSymmetry) {
  EXPECT_EQ(printed([] { print_check_json("h", with_internal_nets().h, 2, true); }),
            R"({"schema_version":1,"command":"check","file":"h","status":"ok","cells":5,"nets":4,"pins":9,)"
            R"("folded":{"nets":2},"symmetric":true})"
            "\n");
}

TEST(PrintFailureJson, ReplacesMalformedUtf8) {
  EXPECT_EQ(printed([] { print_failure_json("check", "a\"\xFF"); }),
            "{\"schema_version\":1,\"command\":\"check\",\"file\":\"a\\\"\uFFFD\",\"status\":\"failed\"}\n");
}

TEST(PrintPartition, ShowsTheSameModelAsJsonAndAsText) {
  const measures::Partition partition{{-7, 0, 2, 0, 2, 0}, 3};
  const PartitionModel model = partition_model("h", "p", with_internal_nets().h, partition);

  EXPECT_EQ(
      printed([&] { print_partition_json("partition-info", model); }),
      R"({"schema_version":1,"command":"partition-info","file":"h","status":"ok","partition":"p",)"
      R"("cells":5,"nets":4,"pins":9,"parts":[{"part":0,"cells":3,"weight":6},)"
      R"({"part":1,"cells":0,"weight":0},{"part":2,"cells":2,"weight":2}],"cut_nets":2,"cut":9,)"
      R"("connectivity_minus_one":9,"sum_of_external_degrees":18,"imbalance":1.25,)"
      R"("absorption":9.666666666666666,"connectivity_pairs":18,)"
      R"("balance":{"epsilon":1.0,"ufactor":1250.0,"ubfactor":50.0,"share":41.666666666666664,)"
      R"("mondriaan":1.25},"heaviest_part":{"part":0,"cells":3,"weight":6},)"
      R"("lightest_part":{"part":1,"cells":0,"weight":0},"empty_parts":1,"limits":[],"within_limits":true})"
      "\n");
  EXPECT_EQ(printed([&] { print_partition_text(model); }),
            "h: 5 cells, 4 nets, 9 pins in 3 parts\n"
            "      part      cells         weight\n"
            "         0          3              6\n"
            "         1          0              0\n"
            "         2          2              2\n"
            "cut nets                 2\n"
            "cut                      9\n"
            "connectivity minus one   9\n"
            "sum of external degrees  18\n"
            "imbalance                1.250000\n");
}

}  // namespace
}  // namespace quillon::tool
