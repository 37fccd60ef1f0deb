#include "engines/program.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <new>
#include <numeric>
#include <optional>
#include <string_view>

namespace quillon::engines {
namespace {

template <typename Number>
Number number_in(std::string_view option, std::string_view text, Number least) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stopped != end || !(number >= least))
    throw BadUsage(std::string(option) + ": '" + std::string(text) + "' is not a number from " +
                   std::to_string(least));
  return number;
}

measures::Limit limit_in(std::string_view option, std::string_view text) {
  const std::size_t sign = std::min(text.find('='), text.size());
  const std::optional<measures::BalanceRule> rule = measures::balance_rule_named(text.substr(0, sign));
  const auto value = measures::decimal_of(text.substr(std::min(sign + 1, text.size())));
  if (!rule || !value)
    throw BadUsage(std::string(option) + ": '" + std::string(text) +
                   "' is not RULE=VALUE with a number from 0");
  return {*rule, *value};
}

FileFormat format_named(std::string_view name) {
  if (name == "quillon") return FileFormat::kQuillon;
  if (name == "hmetis") return FileFormat::kHmetis;
  throw BadUsage("--format: '" + std::string(name) + "' is neither quillon nor hmetis");
}

Expansion expansion_named(std::string_view name) {
  if (name == "star") return Expansion::kStar;
  if (name == "clique") return Expansion::kClique;
  throw BadUsage("--expand: '" + std::string(name) + "' is neither star nor clique");
}

void set_option(EngineOptions& options, std::string_view name, std::string_view value) {
  if (name == "--format")
    options.format = format_named(value);
  else if (name == "--expand")
    options.expand.expansion = expansion_named(value);
  else if (name == "--largest-clique")
    options.expand.largest_clique = number_in<std::int64_t>(name, value, 2);
  else if (name == "--limit")
    options.limit = limit_in(name, value);
  else if (name == "--seed")
    options.seed = number_in<int>(name, value, 0);
  else if (name == "--threads")
    options.threads = number_in<int>(name, value, 1);
  else if (name == "--fixed")
    options.fixed = value;
  else
    throw BadUsage("there is no option " + std::string(name));
}

// What a limit means for parts that should all weigh the same.
struct Bounds {
  std::int64_t least = 0;
  std::int64_t most = 0;
  double imbalance = 0;  // to ask for

  // By how much a part is outside at most.
  [[nodiscard]] std::int64_t miss_of(const std::vector<std::int64_t>& weights) const {
    const auto [lightest, heaviest] = std::minmax_element(weights.begin(), weights.end());
    return std::max({std::int64_t{0}, *heaviest - most, least - *lightest});
  }
};

Bounds bounds_of(const EngineOptions& options, std::int64_t total_weight) {
  const measures::Bounds bounds = measures::bounds_of(options.limit, total_weight, options.nparts, {});
  const measures::Decimal value = options.limit.value;
  const double average = static_cast<double>(total_weight) / options.nparts;
  Bounds result{bounds.least.front(), bounds.most.front(), 0};
  if (options.limit.rule == measures::BalanceRule::kEpsilon)
    result.imbalance = static_cast<double>(value.digits) * std::pow(10.0, -value.places);
  else if (total_weight > 0)
    result.imbalance = std::max(0.0, static_cast<double>(result.most) / average - 1);
  return result;
}

void print_miss(double imbalance, const std::vector<std::int64_t>& weights, const Bounds& bounds) {
  const auto [lightest, heaviest] = std::minmax_element(weights.begin(), weights.end());
  std::fprintf(stderr,
               "asked for an imbalance of %g, got parts of weight %lld to %lld, expected %lld to %lld\n",
               imbalance, static_cast<long long>(*lightest), static_cast<long long>(*heaviest),
               static_cast<long long>(bounds.least), static_cast<long long>(bounds.most));
}

// Of this process, in bytes.
std::int64_t peak_memory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return std::int64_t{1024} * usage.ru_maxrss;
}

}  // namespace

EngineOptions parse_options(int argc, char** argv) {
  EngineOptions options;
  std::vector<std::string_view> operands;
  for (int k = 1; k < argc; ++k) {
    const std::string_view word = argv[k];
    if (word == "--quiet") {
      options.quiet = true;
    } else if (word.starts_with("--")) {
      if (++k == argc) throw BadUsage(std::string(word) + " has no value");
      set_option(options, word, argv[k]);
    } else {
      operands.push_back(word);
    }
  }
  if (operands.size() != 2) throw BadUsage(std::string("usage: ") + argv[0] + " [OPTIONS] FILE K");
  options.file = operands[0];
  options.nparts = number_in<int>("K", operands[1], 1);
  return options;
}

int run_engine(const char* name, const std::function<void()>& work) {
  const auto fail = [name](const char* message, int status) {
    std::fprintf(stderr, "%s: error: %s\n", name, message);
    return status;
  };
  try {
    work();
    return 0;
  } catch (const BadUsage& error) {
    return fail(error.what(), kUsage);
  } catch (const TooLarge& error) {
    return fail(error.what(), kTooLarge);
  } catch (const std::bad_alloc&) {
    return fail("out of memory", kFailure);
  } catch (const std::exception& error) {
    return fail(error.what(), kFailure);
  }
}

std::FILE* take_standard_output() {
  const int descriptor = dup(STDOUT_FILENO);
  std::FILE* const out = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
  if (out == nullptr || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
    throw BadInput(std::string("cannot use standard output: ") + std::strerror(errno));
  return out;
}

template <typename Number>
void print_parts(std::FILE* out, const std::vector<Number>& parts) {
  std::array<char, std::size_t{1} << 16> block{};
  constexpr std::size_t kLongest = std::numeric_limits<Number>::digits10 + 3;  // with sign and line end
  char* at = block.data();
  const auto flush = [&] {
    const auto size = static_cast<std::size_t>(at - block.data());
    if (std::fwrite(block.data(), 1, size, out) != size)
      throw BadInput(std::string("cannot write standard output: ") + std::strerror(errno));
    at = block.data();
  };
  char* const full = block.data() + block.size() - kLongest;
  for (const Number part : parts) {
    if (at > full) flush();
    at = std::to_chars(at, block.data() + block.size(), part).ptr;
    *at++ = '\n';
  }
  flush();
}

template void print_parts(std::FILE*, const std::vector<std::int32_t>&);
template void print_parts(std::FILE*, const std::vector<std::int64_t>&);

void finish_output(std::FILE* out) {
  if (std::fclose(out) != 0)
    throw BadInput(std::string("cannot write standard output: ") + std::strerror(errno));
}

template <typename Number>
std::vector<std::int64_t> part_weights(const Graph<Number>& graph, const std::vector<Number>& parts,
                                       int nparts, const Ranks& ranks) {
  std::vector<std::int64_t> weights(static_cast<std::size_t>(nparts));
  for (std::size_t i = 0; i < static_cast<std::size_t>(graph.cells.size()); ++i)
    weights[static_cast<std::size_t>(parts[i])] += graph.weights[i];
  ranks.add_up(weights);
  return weights;
}

template std::vector<std::int64_t> part_weights(const Graph<std::int32_t>&, const std::vector<std::int32_t>&,
                                                int, const Ranks&);
template std::vector<std::int64_t> part_weights(const Graph<std::int64_t>&, const std::vector<std::int64_t>&,
                                                int, const Ranks&);

template <typename Number>
std::vector<Number> partition_within(const Graph<Number>& graph, const EngineOptions& options,
                                     const Ranks& ranks,
                                     const std::function<std::vector<Number>(double imbalance)>& partition) {
  std::vector<Number> best(static_cast<std::size_t>(graph.cells.size()), 0);
  if (options.nparts == 1) return best;
  if (options.fixed.empty() && options.nparts >= graph.ncells_in_all) {
    std::iota(best.begin(), best.end(), static_cast<Number>(graph.cells.begin));
    return best;
  }
  constexpr int kMostTries = 4;
  const Bounds bounds = bounds_of(options, graph.total_weight);
  std::int64_t least_miss = std::numeric_limits<std::int64_t>::max();
  double imbalance = bounds.imbalance;
  for (int attempt = 0; attempt < kMostTries && least_miss > 0; ++attempt, imbalance /= 2) {
    std::vector<Number> parts = partition(imbalance);
    const std::vector<std::int64_t> weights = part_weights(graph, parts, options.nparts, ranks);
    const std::int64_t miss = bounds.miss_of(weights);
    if (miss > 0 && !options.quiet && ranks.rank() == 0) print_miss(imbalance, weights, bounds);
    if (miss >= least_miss) continue;
    least_miss = miss;
    parts.resize(best.size());
    best = std::move(parts);
  }
  return best;
}

template std::vector<std::int32_t> partition_within(const Graph<std::int32_t>&, const EngineOptions&,
                                                    const Ranks&,
                                                    const std::function<std::vector<std::int32_t>(double)>&);
template std::vector<std::int64_t> partition_within(const Graph<std::int64_t>&, const EngineOptions&,
                                                    const Ranks&,
                                                    const std::function<std::vector<std::int64_t>(double)>&);

template <typename Number>
void print_graph(const char* name, const Graph<Number>& graph, const EngineOptions& options,
                 const Ranks& ranks) {
  std::vector<std::int64_t> counts{graph.nvertices(), static_cast<std::int64_t>(graph.ends.size())};
  ranks.add_up(counts);
  if (options.quiet || ranks.rank() != 0) return;
  std::fprintf(stderr, "%s: %lld cells; a graph of %lld vertices and %lld edges\n", name,
               static_cast<long long>(graph.ncells_in_all), static_cast<long long>(counts[0]),
               static_cast<long long>(counts[1] / 2));  // each edge is stored at both ends
}

template void print_graph(const char*, const Graph<std::int32_t>&, const EngineOptions&, const Ranks&);
template void print_graph(const char*, const Graph<std::int64_t>&, const EngineOptions&, const Ranks&);

void print_summary(const char* name, const EngineOptions& options, const Ranks& ranks) {
  const std::vector<std::int64_t> peaks = ranks.gather(peak_memory());
  if (options.quiet || ranks.rank() != 0) return;
  std::fprintf(stderr, "%s: %d %s, at most %.1f MB of memory a rank\n", name, ranks.count(),
               ranks.count() == 1 ? "rank" : "ranks",
               static_cast<double>(*std::max_element(peaks.begin(), peaks.end())) * 1e-6);
}

}  // namespace quillon::engines
