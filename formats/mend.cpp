#include "formats/mend.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "formats/audit.h"
#include "formats/formats.h"
#include "formats/net_audit.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Errors that are gone once the nets are written again.
constexpr std::array<std::string_view, 4> kMendable{"byte-order-mark", "counts-from-0", "counts-from-1",
                                                    "pin-count"};

// What is odd, and gone then too.
constexpr std::array<std::string_view, 10> kRewritten{
    "comment",        "crlf",         "mixed-line-ends", "tab",           "header-blanks", "no-final-newline",
    "lost-last-line", "ignored-text", "missing-weights", "repeated-entry"};

template <std::size_t N>
bool is_among(const std::array<std::string_view, N>& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

void refuse_other_errors(const LintResult& found) {
  for (const Finding& finding : found.findings)
    if (finding.severity == Severity::kError && !is_among(kMendable, finding.rule)) throw BadFile(finding);
  for (const RuleCount& broken : found.counts)
    if (broken.rule->severity == Severity::kError && !is_among(kMendable, broken.rule->name))
      throw BadFile(
          {std::string(broken.rule->name), Severity::kError, found.file, 0, 0,
           found.file + " has an error that cannot be mended safely: " + std::string(broken.rule->name), ""});
}

NetLists read_again(const std::string& filename, const LintResult& found, const ReadOptions& read) {
  auto source = std::make_unique<Source>(filename);
  if (found.count("byte-order-mark") > 0) {
    char mark[kByteOrderMark.size()];
    source->read(mark, sizeof mark);
  }
  Audit audit;
  audit.wants = [](std::string_view) { return true; };
  if (found.count("counts-from-0") > 0) audit.starts_from = 0;
  if (found.count("counts-from-1") > 0) audit.starts_from = 1;
  NetLists lists;
  if (found.format->reads_whole_text) {
    Scanner in = open_scanner(std::move(source));
    in.audit = &audit;
    found.format->read(in, lists, read);
  } else {
    Scanner in(std::move(source));
    in.audit = &audit;
    if (found.count("byte-order-mark") > 0) {
      in.reopened_as.clear();  // the mark would be there again
      prepare_second_read(in);
    }
    found.format->read(in, lists, read);
    finish(in);
  }
  return lists;
}

// Makes new nets of those that stay.
class NetMender : private NetVisitor {
 public:
  NetMender(NetLists& lists, const MendOptions& options)
      : lists_(lists),
        options_(options),
        parallel_to_(static_cast<std::size_t>(lists.nnets) + 1),
        last_net_(static_cast<std::size_t>(lists.ncells) + 1) {}

  // Returns how many repeated pins, empty, one-pin and parallel nets went.
  std::array<std::int64_t, 4> run() {
    if (options_.merge_parallel_nets) visit_nets(lists_, {}, *this);
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
  void empty_net(int /*j*/) override {}
  void one_pin_net(int /*j*/) override {}
  void repeated_pin(const RepeatedPin& /*pin*/) override {}
  void parallel_net(const ParallelNet& net) override {
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

}  // namespace

Mended mend(const std::string& filename, const LintResult& found, const ReadOptions& read,
            const MendOptions& options) {
  refuse_other_errors(found);
  Mended mended{read_again(filename, found, read), {}};
  const std::array<std::int64_t, 4> counts = NetMender(mended.lists, options).run();
  constexpr std::array<std::string_view, 4> kOfNets{"duplicate-pin", "empty-net", "one-pin-net",
                                                    "parallel-net"};
  for (const Rule& rule : all_rules()) {
    std::int64_t count =
        is_among(kMendable, rule.name) || is_among(kRewritten, rule.name) ? found.count(rule.name) : 0;
    for (std::size_t k = 0; k < kOfNets.size(); ++k)
      if (kOfNets[k] == rule.name) count = counts[k];
    if (count > 0) mended.done.push_back({&rule, count});
  }
  return mended;
}

}  // namespace quillon::formats
