#include "formats/mend.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "formats/audit.h"
#include "formats/formats.h"
#include "formats/net_audit.h"
#include "formats/readings.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

// What is odd, and gone once the nets are written again.
constexpr std::array<std::string_view, 13> kRewritten{"comment",
                                                      "crlf",
                                                      "mixed-line-ends",
                                                      "tab",
                                                      "header-blanks",
                                                      "lost-last-line",
                                                      "ignored-text",
                                                      "missing-weights",
                                                      "repeated-entry",
                                                      "no-final-newline",
                                                      "ignored-lines",
                                                      "nul-byte",
                                                      "entry-above-diagonal"};

template <std::size_t N>
bool is_among(const std::array<std::string_view, N>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

NetLists reread(const std::string& filename, const Reading& reading, const ReadOptions& read) {
  Audit audit;
  const std::unique_ptr<Scanner> in = open_audited(filename, reading.found, audit);
  audit.corrected = reading.counts;
  NetLists lists;
  reading.found.format->read(*in, lists, read);
  if (in->source != nullptr) finish(*in);
  return lists;
}

// Makes new nets of those that stay.
class NetMender {
 public:
  NetMender(NetLists& lists, const MendOptions& options)
      : lists_(lists),
        options_(options),
        parallel_to_(static_cast<std::size_t>(lists.nnets) + 1),
        last_net_(static_cast<std::size_t>(lists.ncells) + 1) {}

  // Returns how many repeated pins, empty, one-pin and parallel nets went.
  std::array<std::int64_t, 4> run() {
    if (options_.merge_parallel_nets) find_parallel_nets();
    merge_weights();
    int nkept = 0;
    int end = 0;
    for (int j = 1; j <= lists_.nnets; ++j) {
      const int begin = end;
      end = copy_pins(j, end);
      if (drops(j, end - begin)) {
        end = begin;
        continue;
      }
      keep(j, ++nkept, end);
    }
    lists_.nnets = nkept;
    lists_.nadj.resize(static_cast<std::size_t>(end));
    lists_.xnadj.resize(static_cast<std::size_t>(nkept) + 2);
    if (!lists_.net_weights.empty()) lists_.net_weights.resize(static_cast<std::size_t>(nkept) + 1);
    if (!lists_.net_names.empty()) lists_.net_names.resize(static_cast<std::size_t>(nkept) + 1);
    return counts_;
  }

 private:
  void find_parallel_nets() {
    for (const ParallelNet& net : audit_nets(lists_, {}, 0, audit_threads(lists_)).parallel_nets)
      parallel_to_[static_cast<std::size_t>(net.net)] = net.earlier;
  }

  void merge_weights() {
    const bool merges =
        std::any_of(parallel_to_.begin(), parallel_to_.end(), [](int net) { return net != 0; });
    if (!merges) return;
    if (lists_.net_weights.empty()) lists_.net_weights.assign(static_cast<std::size_t>(lists_.nnets) + 1, 1);
    for (std::size_t j = 1; j < parallel_to_.size(); ++j) {
      if (parallel_to_[j] == 0) continue;
      int& weight = lists_.net_weights[static_cast<std::size_t>(parallel_to_[j])];
      const std::int64_t sum = std::int64_t{weight} + lists_.net_weights[j];
      if (sum > std::numeric_limits<int>::max())
        throw BadFile({"total-too-large", Severity::kError, "", 0, 0,
                       "the weights of parallel nets are more than 32 bits hold together", ""});
      weight = static_cast<int>(sum);
    }
  }

  // Moves the pins of a net to their new place, the first of equal ones. Returns the place after them.
  int copy_pins(int j, int end) {
    const int first = next_pin_;
    next_pin_ = lists_.xnadj[static_cast<std::size_t>(j) + 1];
    for (int k = first; k < next_pin_; ++k) {
      const int i = lists_.nadj[static_cast<std::size_t>(k)];
      if (std::exchange(last_net_[static_cast<std::size_t>(i)], j) == j)
        ++counts_[0];
      else
        lists_.nadj[static_cast<std::size_t>(end++)] = i;
    }
    return end;
  }

  bool drops(int j, int size) {
    if (size == 0 && options_.drop_empty_nets) return ++counts_[1] > 0;
    if (size == 1 && options_.drop_one_pin_nets) return ++counts_[2] > 0;
    return parallel_to_[static_cast<std::size_t>(j)] != 0 && ++counts_[3] > 0;
  }

  void keep(int j, int number, int end) {
    const auto from = static_cast<std::size_t>(j);
    const auto to = static_cast<std::size_t>(number);
    lists_.xnadj[to + 1] = end;
    if (!lists_.net_weights.empty()) lists_.net_weights[to] = lists_.net_weights[from];
    if (!lists_.net_names.empty()) std::swap(lists_.net_names[to], lists_.net_names[from]);
  }

  NetLists& lists_;
  MendOptions options_;
  std::vector<int> parallel_to_;  // by net: the earlier net, or 0
  std::vector<int> last_net_;     // by cell
  int next_pin_ = 0;
  std::array<std::int64_t, 4> counts_{};
};

// Drops cells on no net. Returns the old number of each new cell, entry 0 not used.
std::vector<int> drop_isolated_cells(NetLists& lists) {
  std::vector<int> new_numbers(static_cast<std::size_t>(lists.ncells) + 1);
  for (const int i : lists.nadj) new_numbers[static_cast<std::size_t>(i)] = 1;
  std::vector<int> old_numbers{0};
  for (std::size_t i = 1; i < new_numbers.size(); ++i) {
    if (new_numbers[i] == 0) continue;
    const std::size_t to = old_numbers.size();
    new_numbers[i] = static_cast<int>(to);
    old_numbers.push_back(static_cast<int>(i));
    if (!lists.cell_weights.empty()) lists.cell_weights[to] = lists.cell_weights[i];
    if (!lists.cell_names.empty()) std::swap(lists.cell_names[to], lists.cell_names[i]);
  }
  for (int& i : lists.nadj) i = new_numbers[static_cast<std::size_t>(i)];
  lists.ncells = static_cast<int>(old_numbers.size()) - 1;
  if (!lists.cell_weights.empty()) lists.cell_weights.resize(old_numbers.size());
  if (!lists.cell_names.empty()) lists.cell_names.resize(old_numbers.size());
  return old_numbers;
}

void add_done(Mended& mended, const LintResult& found, std::string_view rule, std::int64_t count) {
  if (count == 0) return;
  mended.done.push_back({rule_named(rule), count});
  for (const Finding& finding : found.findings) {
    if (finding.rule != rule) continue;
    mended.findings.push_back(finding);
    mended.findings.back().severity = Severity::kNote;
    mended.findings.back().message.insert(0, "mended: ");
    mended.findings.back().hint.clear();
  }
}

// The finding on a header that was corrected, under the rule that it broke.
void add_correction(Mended& mended, const LintResult& found, const Reading& reading) {
  if (reading.change.empty()) return;
  const auto error = std::find_if(found.counts.begin(), found.counts.end(), [](const RuleCount& broken) {
    return broken.rule->severity == Severity::kError;
  });
  mended.done.insert(mended.done.begin(), {error->rule, 1});
  mended.findings.insert(mended.findings.begin(),
                         {std::string(error->rule->name), Severity::kNote, found.file, reading.header.line,
                          reading.header.column, "mended: the header says " + reading.change, ""});
}

// Whether the banner of a matrix announces values.
bool has_values(const std::string& filename) {
  constexpr std::size_t kLongestBanner = 1000;
  Source source(filename);
  std::string banner(source.peek(kLongestBanner));
  banner.resize(std::min(banner.find('\n'), banner.size()));
  for (char& c : banner) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return banner.find(" pattern") == std::string::npos;
}

}  // namespace

Mended mend(const std::string& filename, const LintResult& found, const LintOptions& lint,
            const MendOptions& options) {
  const Reading reading = only_reading(filename, found, lint);
  Mended mended;
  mended.lists = reread(filename, reading, lint.read);
  NetLists& lists = mended.lists;
  const std::array<std::int64_t, 4> counts = NetMender(lists, options).run();
  const int ncells = lists.ncells;
  if (options.drop_isolated_cells) mended.cells = drop_isolated_cells(lists);
  constexpr std::array<std::string_view, 4> kOfNets{"duplicate-pin", "empty-net", "one-pin-net",
                                                    "parallel-net"};
  for (const Rule& rule : all_rules()) {
    const bool is_rewritten = is_mended_by_writing(rule.name) || is_among(kRewritten, rule.name);
    std::int64_t count = is_rewritten ? reading.found.count(rule.name) : 0;
    for (std::size_t k = 0; k < kOfNets.size(); ++k)
      if (kOfNets[k] == rule.name) count = counts[k];
    // Of a file that does not list pins net by net, they are entries.
    if (rule.name == "duplicate-pin" && reading.found.count("repeated-entry") > 0) count = 0;
    if (rule.name == "isolated-cell") count = ncells - lists.ncells;
    add_done(mended, reading.found, rule.name, count);
  }
  add_correction(mended, found, reading);
  mended.losses = lists.losses;
  if (found.format->name == "mtx" && has_values(filename))
    mended.losses.emplace_back("the values of entries");
  return mended;
}

}  // namespace quillon::formats
