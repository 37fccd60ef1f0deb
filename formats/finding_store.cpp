#include "formats/finding_store.h"

#include <algorithm>
#include <cassert>
#include <tuple>
#include <utility>

namespace quillon::formats {
namespace {

std::size_t least_kept = kLeastKept;

}  // namespace

void set_least_kept(std::size_t count) { least_kept = count; }

FindingStore::FindingStore(std::size_t most_moved)
    : most_moved_(most_moved),
      most_kept_(std::max(most_moved, least_kept)),
      counts_(all_rules().size()),
      nkept_(all_rules().size()) {}

std::size_t FindingStore::index_of(std::string_view rule) const {
  if (rule == last_rule_ && !rule.empty()) return last_index_;
  const Rule* const found = rule_named(rule);
  assert(found != nullptr);
  last_rule_ = found->name;
  last_index_ = static_cast<std::size_t>(found - all_rules().data());
  return last_index_;
}

bool FindingStore::wants(std::string_view rule) const { return nkept_[index_of(rule)] < most_kept_; }

void FindingStore::add(Finding finding, std::int64_t count) {
  const std::size_t rule = index_of(finding.rule);
  counts_[rule] += count;
  if (nkept_[rule] == most_kept_) return;
  ++nkept_[rule];
  finding.severity = all_rules()[rule].severity;
  findings_.push_back(std::move(finding));
}

bool FindingStore::has_errors() const {
  for (std::size_t k = 0; k < counts_.size(); ++k)
    if (counts_[k] > 0 && all_rules()[k].severity == Severity::kError) return true;
  return false;
}

const Finding* FindingStore::first_of(std::string_view rule) const {
  const auto first = std::find_if(findings_.begin(), findings_.end(),
                                  [rule](const Finding& finding) { return finding.rule == rule; });
  return first == findings_.end() ? nullptr : &*first;
}

void FindingStore::drop(std::string_view rule) {
  std::erase_if(findings_, [rule](const Finding& finding) { return finding.rule == rule; });
  counts_[index_of(rule)] = 0;
  nkept_[index_of(rule)] = 0;
}

void FindingStore::drop_on_line(std::string_view rule, std::size_t line) {
  const auto ndropped = static_cast<std::int64_t>(std::erase_if(
      findings_, [&](const Finding& finding) { return finding.rule == rule && finding.line == line; }));
  counts_[index_of(rule)] -= ndropped;
}

bool FindingStore::add_hint_on_line(std::size_t line, const char* hint) {
  bool has_errors = false;
  for (Finding& finding : findings_) {
    if (finding.line != line || finding.severity != Severity::kError) continue;
    has_errors = true;
    if (finding.hint.empty()) finding.hint = hint;
  }
  return has_errors;
}

void FindingStore::move_to(LintResult& result) {
  const auto key = [](const Finding& finding) {
    return std::tuple(finding.line == 0, finding.line, finding.column);
  };
  std::stable_sort(findings_.begin(), findings_.end(),
                   [key](const Finding& a, const Finding& b) { return key(a) < key(b); });
  std::vector<std::size_t> nmoved(counts_.size());
  std::erase_if(findings_,
                [&](const Finding& finding) { return nmoved[index_of(finding.rule)]++ >= most_moved_; });
  result.findings = std::move(findings_);
  for (std::size_t k = 0; k < counts_.size(); ++k)
    if (counts_[k] > 0) result.counts.push_back({&all_rules()[k], counts_[k]});
}

}  // namespace quillon::formats
