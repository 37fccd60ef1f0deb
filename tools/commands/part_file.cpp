#include "tools/commands/part_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "formats/part_vector.h"
#include "formats/scanner.h"
#include "formats/source.h"
#include "tools/cli/run.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using measures::Decimal;
using measures::Partition;
using measures::Targets;

void warn_of_empty_parts(const std::string& file, const Partition& partition, int first) {
  constexpr std::size_t kMostNamed = 10;
  std::vector<bool> is_used(static_cast<std::size_t>(partition.nparts), false);
  for (std::size_t i = 1; i < partition.parts.size(); ++i)
    is_used[static_cast<std::size_t>(partition.parts[i])] = true;
  std::string named;
  std::size_t nempty = 0;
  for (std::size_t part = 0; part < is_used.size(); ++part) {
    if (is_used[part]) continue;
    if (nempty < kMostNamed)
      named += (nempty > 0 ? ", " : "") + std::to_string(part + static_cast<std::size_t>(first));
    ++nempty;
  }
  if (nempty > kMostNamed) named += ", ...";
  if (nempty > 0 && partition.parts.size() > 1)
    uwarning("%s: %zu of %d parts %s empty: %s", formats::shown_name(file).c_str(), nempty, partition.nparts,
             nempty == 1 ? "is" : "are", named.c_str());
}

// Whether parts count from 1, it seems: no cell is in part 0.
bool seems_to_count_from_1(const Partition& partition) {
  return partition.parts.size() > 1 && partition.nparts > 1 &&
         std::find(partition.parts.begin() + 1, partition.parts.end(), 0) == partition.parts.end();
}

struct Assignment {
  int first;
  int last;
  Decimal value;
};

std::string_view without_spaces(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r") - begin + 1);
}

std::optional<int> part_in(std::string_view text) {
  text = without_spaces(text);
  int part = 0;
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), part);
  if (error != std::errc() || stopped != text.data() + text.size() || part < 0) return std::nullopt;
  return part;
}

// "PART = VALUE" or "FIRST-LAST = VALUE", where ":0" may follow the parts; or a value alone, of the next
// part.
std::optional<Assignment> assignment_in(std::string_view line, int next) {
  const std::size_t sign = line.find('=');
  const auto value = measures::decimal_of(without_spaces(sign == line.npos ? line : line.substr(sign + 1)));
  if (!value) return std::nullopt;
  if (sign == line.npos) return Assignment{next, next, *value};

  std::string_view parts = line.substr(0, sign);
  if (const std::size_t colon = parts.find(':'); colon != parts.npos) {
    if (part_in(parts.substr(colon + 1)) != 0) return std::nullopt;  // of several weights, cells have one
    parts = parts.substr(0, colon);
  }
  const std::size_t dash = parts.find('-');
  const std::optional<int> first = part_in(parts.substr(0, dash));
  const std::optional<int> last = dash == parts.npos ? first : part_in(parts.substr(dash + 1));
  if (!first || !last || *first > *last) return std::nullopt;
  return Assignment{*first, *last, *value};
}

double as_double(const Decimal& decimal) {
  auto value = static_cast<double>(decimal.digits);
  for (int k = 0; k < decimal.places; ++k) value /= 10;
  return value;
}

/// Collects the targets of the lines of a file.
class TargetLines {
 public:
  TargetLines(const formats::Scanner& in, int nparts) : in_(in), values_(static_cast<std::size_t>(nparts)) {}

  /// Reads the present line.
  void read() {
    const std::string_view rest = std::string_view(in_.text).substr(in_.at);
    const std::string_view line = without_spaces(rest.substr(0, rest.find('\n')));
    if (line.empty() || line.front() == '%' || line.front() == '#') return;
    const std::optional<Assignment> found = assignment_in(line, next_);
    if (!found || found->last >= static_cast<int>(values_.size()))
      formats::bad_text(in_, in_.at, "bad-target",
                        "expected a share or weight for one of " + std::to_string(values_.size()) +
                            " parts, such as \"0.25\" or \"0-3 = 0.25\"");
    for (int part = found->first; part <= found->last; ++part) {
      std::optional<Decimal>& value = values_[static_cast<std::size_t>(part)];
      if (value)
        formats::bad_text(in_, in_.at, "repeated-target", "a second target for part " + std::to_string(part));
      value = found->value;
      sum_ += as_double(found->value);
    }
    has_assignments_ = has_assignments_ || line.find('=') != line.npos;
    next_ = found->last + 1;
  }

  /// The targets, after the last line.
  Targets targets() {
    constexpr double kRounding = 1e-6;
    Targets targets;
    targets.are_shares = sum_ <= 1 + kRounding;
    if (has_assignments_ && targets.are_shares) share_the_rest();
    for (std::size_t part = 0; part < values_.size(); ++part) {
      if (!values_[part])
        formats::bad_text(in_, in_.at, "missing-target",
                          "there is no target for part " + std::to_string(part));
      targets.values.push_back(*values_[part]);
    }
    return targets;
  }

 private:
  // Parts without a value get equal shares of what the others leave of 1.
  void share_the_rest() {
    constexpr double kPlaces = 1e12;
    const auto nmissing =
        std::count_if(values_.begin(), values_.end(), [](const auto& value) { return !value; });
    const double share = std::max(0.0, 1 - sum_) / static_cast<double>(std::max<std::ptrdiff_t>(1, nmissing));
    for (std::optional<Decimal>& value : values_)
      if (!value) value = Decimal{std::llround(share * kPlaces), 12};
  }

  const formats::Scanner& in_;
  std::vector<std::optional<Decimal>> values_;  // by part
  bool has_assignments_ = false;
  int next_ = 0;  // part of the next value without one
  double sum_ = 0;
};

}  // namespace

std::vector<Option> add_parts(Options& options, PartOptions& parts) {
  const Option nparts =
      options.number("-k", "K", 1, parts.nparts,
                     "Number of parts, at most that of the cells (default: largest part number + 1)");
  const Option first = options.choice<int>("--parts-from", {{"0", 0}, {"1", 1}}, parts.first,
                                           "Number of the first part in files (default 0)");
  const Option allow =
      options.flag("--allow-empty-parts", parts.allow_empty_parts, "Allow more parts than cells");
  return {nparts, first, allow};
}

void check_number_of_parts(const PartOptions& options, int ncells) {
  if (options.allow_empty_parts || options.nparts <= std::max(1, ncells)) return;
  errexit("-k %d is more than the %d cells; --allow-empty-parts allows it", options.nparts, ncells);
}

Partition read_partition(const std::string& file, int ncells, const PartOptions& options) {
  check_number_of_parts(options, ncells);
  Partition partition{formats::read_parts(file, ncells, options.nparts, options.first), options.nparts};
  if (options.nparts == 0)
    partition.nparts = *std::max_element(partition.parts.begin(), partition.parts.end()) + 1;
  if (options.first == 0 && seems_to_count_from_1(partition))
    uwarning("%s: no cell is in part 0; if the parts count from 1, say it with --parts-from 1",
             formats::shown_name(file).c_str());
  else
    warn_of_empty_parts(file, partition, options.first);
  return partition;
}

void add_balance(Options& options, BalanceOptions& balance) {
  options.texts("--limit", "RULE=VALUE", balance.limits,
                "Demand a balance, such as epsilon=0.03; may be given several times");
  options.file("--targets", "FILE", balance.targets, ValueKind::kFile,
               "What each part should weigh: a share or weight per line");
  options.file("--fixed", "FILE", balance.fixed, ValueKind::kFile,
               "The part that each cell is fixed to, or -1: a number per line");
}

NamedLimit limit_of(const std::string& text) {
  const std::size_t sign = text.find('=');
  const std::optional<measures::BalanceRule> rule = measures::balance_rule_named(text.substr(0, sign));
  if (sign == std::string::npos || !rule)
    throw UsageError("--limit: '" + text +
                     "' is not epsilon, ufactor, ubfactor, share or mondriaan, followed by =VALUE");
  const std::optional<Decimal> value = measures::decimal_of(std::string_view(text).substr(sign + 1));
  if (!value) throw UsageError("--limit: '" + text.substr(sign + 1) + "' is not a number from 0 on");
  return {text, {*rule, *value}};
}

Targets read_targets(const std::string& file, int nparts) {
  formats::Scanner in = formats::open_scanner(file);
  TargetLines lines(in, nparts);
  for (; !formats::at_end(in); formats::skip_line(in)) lines.read();
  formats::finish(in);
  return lines.targets();
}

}  // namespace quillon::tool
