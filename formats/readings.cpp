#include "formats/readings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/finding_store.h"
#include "formats/formats.h"
#include "formats/lint_as.h"
#include "formats/notes.h"
#include "formats/ranges.h"
#include "formats/source.h"
#include "formats/stream.h"

namespace quillon::formats {
namespace {

constexpr std::array<std::string_view, 6> kMendable{"byte-order-mark", "counts-from-0",  "counts-from-1",
                                                    "pin-count",       "swapped-header", "edge-count"};

// What a file has whose header says something else than its lines.
constexpr std::array<std::string_view, 5> kOfCounts{"missing-line", "trailing-text", "pin-count",
                                                    "swapped-header", "edge-count"};

template <std::size_t N>
bool has_any(const LintResult& found, const std::array<std::string_view, N>& rules) {
  return std::any_of(rules.begin(), rules.end(),
                     [&found](std::string_view rule) { return found.count(rule) > 0; });
}

bool can_be_mended(const LintResult& found) {
  return std::all_of(found.counts.begin(), found.counts.end(), [](const RuleCount& broken) {
    return broken.rule->severity != Severity::kError || is_mended_by_writing(broken.rule->name);
  });
}

// A header whose counts may be wrong. Where a kub file ends early, a weight is missing.
bool may_miscount(const LintResult& found) {
  return has_any(found, kOfCounts) || (found.format->name == "kub" && found.count("bad-weight") > 0);
}

bool is_own(const LintResult& found) { return found.format == &own_format(); }

// Whether the pins that the header of a quillon file announces agree with its lines too.
bool agrees_with_pins(const LintResult& found) {
  return found.count("pin-count") == 0 && found.count("missing-weights") == 0 &&
         found.count("ignored-lines") == 0;
}

// The header of a file, and how many lines follow.
struct Outline {
  std::optional<Counts> announced;
  Place header;
  std::int64_t nlines = 0;  // without comments, and up to the last that is not blank
};

std::int64_t count_lines(Scanner& in, std::size_t nheader_lines, const Format& format) {
  for (std::size_t k = 0; k < nheader_lines; ++k) skip_line(in);
  std::int64_t count = 0;
  for (std::int64_t line = 1; !at_end(in); ++line) {
    skip_comments(in);
    const bool is_blank = next_on_line(in).text.empty();
    if (format.name == "mtx")
      count += is_blank ? 0 : 1;
    else if (!is_blank)
      count = line;
    skip_line(in);
  }
  return count;
}

Outline outline_of(const std::string& filename, const LintResult& found, const ReadOptions& read) {
  Outline outline;
  Audit audit;
  NetLists lists;
  lists.grow_slowly = true;
  const std::unique_ptr<Scanner> in = open_audited(filename, found, audit);
  in->listener = [](const Finding&) {};
  try {
    found.format->read(*in, lists, read);
  } catch (const BadFile&) {
    // reported by lint
  }
  outline.announced = audit.announced;
  outline.header = audit.header;
  if (!outline.announced) return outline;
  const std::size_t nmore = found.format->name == "kub" ? 1 : 0;  // a line for each count
  Audit ignored;
  const std::unique_ptr<Scanner> again = open_audited(filename, found, ignored);
  outline.nlines = count_lines(*again, outline.header.line + nmore, *found.format);
  return outline;
}

// Adds counts that differ from the announced ones.
class Candidates {
 public:
  explicit Candidates(const Counts& announced) : announced_(announced) {}

  void add(std::int64_t ncells, std::int64_t nnets, int weights) {
    if (ncells < 0 || ncells > kMostItems || nnets < 0 || nnets > kMostItems) return;
    const Counts counts{static_cast<int>(ncells), static_cast<int>(nnets), weights};
    if (counts != announced_ && std::find(all_.begin(), all_.end(), counts) == all_.end())
      all_.push_back(counts);
  }

  [[nodiscard]] const std::vector<Counts>& all() const { return all_; }

 private:
  Counts announced_;
  std::vector<Counts> all_;
};

// One number of the header wrong, or two of them swapped.
std::vector<Counts> candidates_of(const Outline& outline, std::string_view format) {
  const auto [ncells, nnets, weights] = *outline.announced;
  const std::int64_t nlines = outline.nlines;
  Candidates candidates(*outline.announced);
  const bool has_both = format == "hmetis" || format == "quillon";
  const bool has_cell_lines = format == "kub" || (format == "hmetis" && (weights & 1) != 0);
  if (has_both || format == "kub" || format == "metis") candidates.add(nnets, ncells, weights);
  if (has_cell_lines) candidates.add(nlines - nnets, nnets, weights);
  if (format == "metis")
    candidates.add(nlines, nnets, weights);
  else if (format != "quillon" || (weights & 1) == 0)
    candidates.add(ncells, nlines - (has_cell_lines ? ncells : 0), weights);
  for (int other = 0; has_both && other <= 3; ++other) candidates.add(ncells, nnets, other);
  return candidates.all();
}

std::string weight_format(int weights, std::string_view format) {
  constexpr std::array<const char*, 4> kOfHmetis{"0", "10", "1", "11"};
  return format == "hmetis" ? kOfHmetis[static_cast<std::size_t>(weights)] : std::to_string(weights);
}

// "3 nets instead of 2"
std::string change_of(const Counts& counts, const Counts& announced, std::string_view format) {
  std::string text;
  const auto add = [&text](const std::string& now, const std::string& before) {
    text += (text.empty() ? "" : " and ") + now + " instead of " + before;
  };
  const char* const cells = format == "metis" ? "vertex" : "cell";
  const char* const nets = format == "mtx" ? "entr" : format == "metis" ? "edge" : "net";
  const auto counted_items = [](int count, const std::string& one) {
    if (one == "vertex") return std::to_string(count) + (count == 1 ? " vertex" : " vertices");
    if (one == "entr") return std::to_string(count) + (count == 1 ? " entry" : " entries");
    return counted(count, one);
  };
  if (counts.nnets != announced.nnets)
    add(counted_items(counts.nnets, nets), std::to_string(announced.nnets));
  if (counts.ncells != announced.ncells)
    add(counted_items(counts.ncells, cells), std::to_string(announced.ncells));
  if (counts.weights != announced.weights)
    add("weight format " + weight_format(counts.weights, format), weight_format(announced.weights, format));
  return text;
}

// Whether the last cell is on a net.
bool names_last_cell(const std::string& filename, const LintResult& found, const Counts& counts) {
  Audit audit;
  NetLists lists;
  lists.grow_slowly = true;
  const std::unique_ptr<Scanner> in = open_audited(filename, found, audit);
  audit.corrected = counts;
  found.format->read(*in, lists, {});
  return std::find(lists.nadj.begin(), lists.nadj.end(), counts.ncells) != lists.nadj.end();
}

// The ways to read a file by another header than its own.
std::vector<Reading> other_readings(const std::string& filename, const LintResult& found,
                                    const LintOptions& options, const Outline& outline) {
  std::vector<Reading> readings;
  for (const Counts& counts : candidates_of(outline, found.format->name)) {
    LintResult found_then = lint_as(filename, options, counts);
    if (!can_be_mended(found_then) || (is_own(found) && !agrees_with_pins(found_then))) continue;
    const auto [ncells, nnets, weights] = *outline.announced;
    const bool is_swapped = counts == Counts{nnets, ncells, weights};
    if (is_swapped && found.format->name == "metis" && found_then.nnets != counts.nnets) continue;
    readings.push_back({counts, change_of(counts, *outline.announced, found.format->name), outline.header,
                        std::move(found_then)});
    // Both counts agree with the lines: no other header does so by chance.
    if (is_swapped && names_last_cell(filename, readings.back().found, counts)) break;
  }
  return readings;
}

// Two meanings, or an error without any.
[[noreturn]] void refuse(const LintResult& found, const std::vector<Reading>& readings) {
  // Swapped counts that no other header explains are not mended either.
  const bool counts_are_wrong = !readings.empty() || found.count("swapped-header") > 0;
  const auto is_error = [counts_are_wrong](std::string_view rule) {
    return rule_named(rule)->severity == Severity::kError &&
           (counts_are_wrong || !is_mended_by_writing(rule));
  };
  const auto error = std::find_if(found.findings.begin(), found.findings.end(),
                                  [&](const Finding& finding) { return is_error(finding.rule); });
  const auto broken = std::find_if(found.counts.begin(), found.counts.end(),
                                   [&](const RuleCount& rule) { return is_error(rule.rule->name); });
  Finding refusal{std::string(broken->rule->name), Severity::kError, found.file, 0, 0, "", ""};
  if (error != found.findings.end()) refusal = *error;
  if (!readings.empty()) {
    const std::string other = readings.size() > 1 ? readings[1].change : "the file is cut off";
    refusal.message =
        "the file has two meanings: the header should say " + readings[0].change + ", or " + other;
    refusal.hint = "correct it in an editor";
  } else if (error == found.findings.end()) {
    refusal.message = "the file has an error that cannot be mended safely: " + refusal.rule;
  }
  throw BadFile(std::move(refusal));
}

// Another header fits the lines of a quillon file, and so does its own but for the number of pins.
[[noreturn]] void refuse_other_pins(const LintResult& found, const Reading& reading) {
  throw BadFile({"pin-count", Severity::kError, found.file, reading.header.line, reading.header.column,
                 "the file has two meanings: the header should say " + reading.change +
                     ", or the number of pins that its nets have",
                 "correct it in an editor"});
}

// The last lines of nets may be the missing weights of cells.
[[noreturn]] void refuse_missing_weights(const LintResult& found) {
  throw BadFile(
      {"pin-count", Severity::kError, found.file, 0, 0,
       "the file has two meanings: the header announces too many nets and too few pins, or the weights "
       "of cells are missing",
       "correct it in an editor"});
}

// The pins of a quillon file agree neither with those of its nets nor with those of all its lines.
[[noreturn]] void refuse_surplus_lines(const LintResult& found) {
  throw BadFile({"ignored-lines", Severity::kError, found.file, 0, 0,
                 "the file has two meanings: the header should announce all lines, or those that it does not "
                 "announce are surplus",
                 "correct it in an editor"});
}

}  // namespace

bool is_mended_by_writing(std::string_view rule) {
  return std::find(kMendable.begin(), kMendable.end(), rule) != kMendable.end();
}

std::unique_ptr<Scanner> open_audited(const std::string& filename, const LintResult& found, Audit& audit) {
  auto source = std::make_unique<Source>(filename);
  const bool has_mark = found.count("byte-order-mark") > 0;
  if (has_mark) {
    char mark[kByteOrderMark.size()];
    source->read(mark, sizeof mark);
  }
  audit.wants = [](std::string_view) { return true; };
  audit.counted = [](std::string_view, std::int64_t) {};
  if (found.count("counts-from-0") > 0) audit.starts_from = 0;
  if (found.count("counts-from-1") > 0) audit.starts_from = 1;
  auto in = std::make_unique<Scanner>(std::move(source));
  in->audit = &audit;
  if (has_mark) {
    in->reopened_as.clear();  // the mark would be there again
    prepare_second_read(*in);
  }
  if (found.format->reads_whole_text) read_whole(*in);
  return in;
}

Reading only_reading(const std::string& filename, const LintResult& found, const LintOptions& options) {
  const bool is_mendable = can_be_mended(found);
  if (is_mendable && (found.format == nullptr || !may_miscount(found))) return {{}, {}, {}, found};
  LintOptions of_format = options;
  of_format.format = found.format;
  std::vector<Reading> readings;
  std::optional<Counts> announced;
  if (found.format != nullptr && may_miscount(found)) {
    const Outline outline = outline_of(filename, found, options.read);
    announced = outline.announced;
    // Edges are counted once there is a line for each vertex: only their number is wrong then.
    const bool has_all_lines = found.count("edge-count") > 0;
    if (announced && !has_all_lines) readings = other_readings(filename, found, of_format, outline);
  }
  if (is_mendable && readings.empty() && found.count("swapped-header") == 0) {
    if (found.count("pin-count") > 0 && found.count("ignored-lines") > 0) refuse_surplus_lines(found);
    if (found.count("pin-count") > 0 && found.count("missing-weights") > 0) refuse_missing_weights(found);
    return {announced, {}, {}, found};
  }
  const bool is_whole = found.count("ignored-lines") == 0 && found.count("missing-weights") == 0;
  if (is_mendable && found.count("pin-count") > 0 && found.count("swapped-header") == 0 && is_whole)
    refuse_other_pins(found, readings.front());
  // Downloads that break off seldom end with a line.
  const bool may_be_cut = (found.count("missing-line") > 0 || found.count("bad-weight") > 0) &&
                          (found.count("no-final-newline") > 0 || found.count("lost-last-line") > 0);
  if (readings.size() != 1 || may_be_cut) refuse(found, readings);
  return std::move(readings.front());
}

}  // namespace quillon::formats
