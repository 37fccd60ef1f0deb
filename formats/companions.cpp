#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "formats/audit.h"
#include "formats/byte_audit.h"
#include "formats/byte_findings.h"
#include "formats/excerpts.h"
#include "formats/finding_store.h"
#include "formats/formats.h"
#include "formats/lint.h"
#include "formats/notes.h"
#include "formats/part_readers.h"
#include "formats/source.h"
#include "formats/stream.h"

namespace quillon::formats {
namespace {

// A file that belongs to a hypergraph.
class CompanionLinter {
 public:
  CompanionLinter(const LintResult& hypergraph, int nparts, std::size_t most_kept, bool excerpts)
      : hypergraph_(hypergraph), nparts_(nparts), excerpts_(excerpts), store_(most_kept) {}

  LintResult run(const std::string& filename, Companion kind) {
    LintResult result;
    result.file = shown_name(filename);
    bool has_mark = false;
    std::unique_ptr<Scanner> again;
    try {
      const auto source = std::make_shared<Source>(filename);
      Scanner in(source->name(), reader_of(source));
      in.source = source;
      if (kind == Companion::kLabels) read_whole(in);
      if (excerpts_ && source->can_be_reopened()) in.reopened_as = source->name();
      if (excerpts_ || kind == Companion::kPermutation) prepare_second_read(in);
      has_mark = skip_mark(in);
      listen_to(in);
      read_all(in, kind);
      if (excerpts_) again = read_again(in);
    } catch (const BadFile& error) {
      store_.add(error.finding());
    }
    store_.drop("nul-byte");  // of a reader, that it ends with
    add_byte_findings(bytes_, {result.file, has_mark}, store_);
    store_.move_to(result);
    if (again != nullptr) {
      skip_mark(*again);
      add_excerpts(*again, {}, has_mark ? kByteOrderMark.size() : 0, result);
    }
    return result;
  }

 private:
  // The bytes of the file, looked at on their way to the reader.
  Scanner::Read reader_of(const std::shared_ptr<Source>& source) {
    return [this, source](char* bytes, std::size_t size) {
      const std::size_t length = source->read(bytes, size);
      bytes_.look_at({bytes, length});
      return length;
    };
  }

  // Returns whether the text begins with a byte order mark.
  static bool skip_mark(Scanner& in) {
    if (at_end(in) || !in.text.starts_with(kByteOrderMark)) return false;
    in.at = kByteOrderMark.size();
    return true;
  }

  void read_all(Scanner& in, Companion kind) {
    try {
      read(in, kind);
    } catch (const BadFile& error) {
      store_.add(error.finding());
      if (in.stream == nullptr || store_.count_of("bad-compression") > 0) return;
    }
    while (!at_end(in)) skip_line(in);  // for the bytes
  }

  void listen_to(Scanner& in) {
    name_ = in.name;
    audit_.wants = [this](std::string_view rule) { return store_.wants(rule); };
    audit_.counted = [this](std::string_view rule, std::int64_t nmore) { store_.count(rule, nmore); };
    audit_.oddity = [this](const Finding& finding) { store_.add(finding); };
    in.audit = &audit_;
    in.listener = [this](const Finding& finding) { store_.add(finding); };
  }

  void read(Scanner& in, Companion kind) {
    const int ncells = hypergraph_.ncells;
    if (kind == Companion::kParts)
      check_parts(read_parts(in, ncells, nparts_, 0));
    else if (kind == Companion::kFixed)
      check_fixed(read_fixed_parts(in, ncells, nparts_, 0));
    else if (kind == Companion::kPermutation)
      check_permutation(read_permutation(in, ncells, "cell"));
    else
      read_labels(in, ncells, hypergraph_.nnets);
  }

  void warn(const char* rule, const std::string& message) {
    store_.add({rule, Severity::kWarning, name_, 0, 0, message, ""});
  }

  [[nodiscard]] std::int64_t weight_of(std::size_t cell) const {
    return hypergraph_.cell_weights.empty() ? 1 : hypergraph_.cell_weights[cell];
  }

  // The number of parts: given, or one more than the largest number.
  [[nodiscard]] int count_parts(const std::vector<int>& parts) const {
    return nparts_ > 0 ? nparts_ : *std::max_element(parts.begin(), parts.end()) + 1;
  }

  // Parts of k that all are out of range but fit when they count from 1 have one cause.
  void check_base(const std::vector<int>& parts) {
    const Finding* const first = store_.first_of("part-out-of-range");
    const bool has_0 = std::find(parts.begin() + 1, parts.end(), 0) != parts.end();
    if (first == nullptr && !has_0 && nparts_ == 0 && parts.size() > 1)
      warn("parts-from-1", "the smallest part is " +
                               std::to_string(*std::min_element(parts.begin() + 1, parts.end())) +
                               ": do parts count from 1?");
    if (first == nullptr || audit_.outside.smallest != nparts_ || audit_.outside.largest != nparts_) return;
    // A part that is out of range is stored as 0: there is no other 0.
    if (std::count(parts.begin() + 1, parts.end(), 0) != audit_.outside.count) return;
    Finding finding = *first;
    finding.message =
        "the largest part is " + std::to_string(nparts_) + " and there is no part 0: parts count from 1";
    finding.hint = "they count from 0 here";
    store_.drop("part-out-of-range");
    store_.add(std::move(finding));
  }

  void check_parts(const std::vector<int>& parts) {
    check_base(parts);
    if (parts.size() < 2 || store_.has_errors()) return;
    const int nparts = count_parts(parts);
    // Parts after the largest one that is named are empty. There may be many more of them than cells.
    const int nnamed = *std::max_element(parts.begin(), parts.end()) + 1;
    std::vector<char> is_named(static_cast<std::size_t>(nnamed));
    for (std::size_t i = 1; i < parts.size(); ++i) is_named[static_cast<std::size_t>(parts[i])] = 1;
    for (int p = 0; p < nparts; ++p) {
      if (p >= nnamed && !store_.wants("empty-part")) {
        store_.count("empty-part", nparts - p);
        break;
      }
      if (p >= nnamed || is_named[static_cast<std::size_t>(p)] == 0)
        warn("empty-part", "part " + std::to_string(p) + " of " + std::to_string(nparts) + " has no cells");
    }
    check_cells(nparts);
  }

  // Cells that all are named but for one that is 0: they count from 0.
  void check_permutation(const std::vector<int>& order) {
    const Finding* const first = store_.first_of("cell-out-of-range");
    const int ncells = hypergraph_.ncells;
    if (first == nullptr || audit_.outside.count != 1 || audit_.outside.smallest != 0 ||
        std::ssize(order) != std::int64_t{ncells} + 1 || store_.count_of("repeated-cell") > 0 ||
        std::find(order.begin(), order.end(), ncells) != order.end())
      return;
    Finding finding = *first;
    finding.rule = "counts-from-0";
    finding.message = "the smallest cell number is 0 and the largest " + std::to_string(ncells - 1) +
                      ": this file counts from 0";
    finding.hint = "permutations count from 1";
    store_.drop("cell-out-of-range");
    store_.add(std::move(finding));
  }

  [[nodiscard]] std::int64_t average_part(int nparts) const {
    std::int64_t total = 0;
    for (int i = 1; i <= hypergraph_.ncells; ++i) total += weight_of(static_cast<std::size_t>(i));
    return (total + nparts - 1) / nparts;
  }

  void check_cells(int nparts) {
    const std::int64_t average = average_part(nparts);
    for (int i = 1; i <= hypergraph_.ncells; ++i)
      if (const std::int64_t w = weight_of(static_cast<std::size_t>(i)); w > average)
        warn("heavy-cell", "cell " + std::to_string(i) + " weighs " + std::to_string(w) +
                               ", an average part of " + std::to_string(nparts) + " weighs " +
                               std::to_string(average));
  }

  void check_fixed(const std::vector<int>& parts) {
    if (parts.size() < 2 || store_.has_errors()) return;
    const std::int64_t nnamed = std::int64_t{*std::max_element(parts.begin(), parts.end())} + 1;
    // More parts make the average smaller: what is too heavy for those named is too heavy for more.
    if (nparts_ == 0 && (nnamed == 0 || nnamed > hypergraph_.ncells)) return;
    const int nparts = nparts_ > 0 ? nparts_ : static_cast<int>(nnamed);
    std::map<int, std::int64_t> weights;  // of the parts named
    for (std::size_t i = 1; i < parts.size(); ++i)
      if (parts[i] >= 0) weights[parts[i]] += weight_of(i);
    const std::int64_t average = average_part(nparts);
    for (const auto& [part, weight] : weights)
      if (weight > average)
        warn("overfull-part", "the cells fixed to part " + std::to_string(part) + " weigh " +
                                  std::to_string(weight) + ", an average part of " + std::to_string(nparts) +
                                  " weighs " + std::to_string(average));
    check_cells(nparts);
  }

  const LintResult& hypergraph_;
  int nparts_;
  bool excerpts_;
  FindingStore store_;
  ByteAudit bytes_;
  Audit audit_;
  std::string name_;
};

}  // namespace

LintResult lint_companion(const std::string& filename, Companion kind, const LintResult& hypergraph,
                          int nparts, std::size_t most_kept, bool excerpts) {
  return CompanionLinter(hypergraph, nparts, most_kept, excerpts).run(filename, kind);
}

}  // namespace quillon::formats
