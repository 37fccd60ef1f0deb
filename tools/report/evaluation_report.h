#pragma once
// Evaluations of partitions as text, tables and RESULT lines on standard output.

#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "tools/report/model.h"

namespace quillon::tool {

/// The value of a measure; none if it is unknown.
using MeasureValue = std::variant<std::monostate, std::int64_t, double>;

/// A measure as users name it, sort by it, and see it.
struct Measure {
  const char* key;    // "cut_nets", also the name of the column
  const char* label;  // "cut nets"
  bool more_is_better;
  MeasureValue (*value)(const PartitionModel& model);
};

/// All measures, in the order of reports.
std::span<const Measure> all_measures();

/// Six decimal places for a value that is not an integer; "-" for an unknown one.
std::string rounded_text(const MeasureValue& value);

/// Whether a partition is better than another by a measure; an unknown value is worse than any.
bool is_better(const Measure& measure, const PartitionModel& a, const PartitionModel& b);

/// All about one partition.
void print_evaluation_text(const PartitionModel& model);

/// The limits, and the fixed cells that moved, if there are any to be told about.
void print_limits_text(const PartitionModel& model);

/// A table for readers: the main measures of each partition.
void print_overview_text(const std::vector<const PartitionModel*>& models);

/// Tab-separated values with a header: all measures of each partition.
void print_evaluation_table(const std::vector<const PartitionModel*>& models);

/// "RESULT key=value ...", all measures.
void print_evaluation_summary(const PartitionModel& model);

/// Tab-separated tables of parts, pairs of parts and nets, each with a header, as far as the models have
/// them. With several models, the first column is the file of the partition.
void print_part_tables(const std::vector<const PartitionModel*>& models);

}  // namespace quillon::tool
