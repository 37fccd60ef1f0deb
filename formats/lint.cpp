#include "formats/lint.h"

#include <algorithm>
#include <cassert>
#include <memory>
#include <numeric>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "formats/audit.h"
#include "formats/byte_audit.h"
#include "formats/byte_findings.h"
#include "formats/detect.h"
#include "formats/excerpts.h"
#include "formats/finding_store.h"
#include "formats/formats.h"
#include "formats/hints.h"
#include "formats/lint_as.h"
#include "formats/net_audit.h"
#include "formats/notes.h"
#include "formats/repetitions.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

// Another item that a message mentions, by the column or the line of its place.
enum class Mention { kNone, kColumn, kLine };

// A finding whose place is not known yet.
struct Pending {
  Finding finding;
  Item item = {};
  Mention mention = Mention::kNone;
  Item other = {};  // that the message mentions
};

// One file, read once; again if its cells count from another number than they should, or the counts of its
// header are swapped.
class Linter {
 public:
  Linter(std::string filename, const LintOptions& options, const std::optional<Counts>& corrected)
      : filename_(std::move(filename)), options_(options), corrected_(corrected), store_(options.most_kept) {
    result_.file = shown_name(filename_);
  }

  LintResult run() {
    try {
      open();
    } catch (const BadFile& error) {
      store_.add(error.finding());
    }
    if (in_ != nullptr) {
      read_all();
      add_byte_findings();
      add_suffix_finding();
    }
    store_.move_to(result_);
    shift_columns_after_mark();
    if (options_.excerpts) result_.excerpts.resize(result_.findings.size());
    if (in_ != nullptr && options_.excerpts) {
      rewind();
      in_->audit = nullptr;
      add_excerpts(*in_, audit_.waypoints, has_mark_ && !is_json() ? kByteOrderMark.size() : 0, result_);
    }
    return std::move(result_);
  }

 private:
  [[nodiscard]] bool is_own() const { return result_.format == &own_format(); }
  [[nodiscard]] bool is_graph() const { return result_.format->name == "metis"; }
  [[nodiscard]] bool is_json() const { return result_.format->name == "hif"; }

  // Ends a read that is of use only without errors.
  struct FoundError {};

  // ---- Reading ----

  void open() {
    auto source = std::make_shared<Source>(filename_);
    const auto peek = [&source](std::size_t most) {
      std::string_view text = source->peek(most);
      const bool is_whole = text.size() < most;
      if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
      return Sample{text, is_whole};
    };
    Choice choice{options_.format, false};
    if (options_.format == nullptr) choice = choose_format(filename_, peek);
    if (choice.format == nullptr)
      throw BadFile({"unknown-format", Severity::kError, source->name(), 0, 0,
                     "cannot tell the format of '" + source->name() + "'", kNameTheFormat});
    result_.format = choice.format;
    is_by_content_ = choice.by_content;
    result_.is_regular = source->is_regular();
    has_mark_ = source->peek(kByteOrderMark.size()) == kByteOrderMark;
    open_scanner_of(std::move(source));
  }

  // The bytes of the file, looked at on their way to the reader. A byte order mark is left out, except of
  // JSON.
  Scanner::Read reader_of(std::shared_ptr<Source> source) {
    return [this, source = std::move(source), skip = has_mark_ && !is_json()](char* bytes,
                                                                              std::size_t size) mutable {
      if (std::exchange(skip, false)) source->read(bytes, std::min(size, kByteOrderMark.size()));
      const std::size_t length = source->read(bytes, size);
      bytes_.look_at({bytes, length});
      return length;
    };
  }

  void open_scanner_of(std::shared_ptr<Source> source) {
    const bool can_reopen = source->is_regular() && filename_ != "-" && !has_mark_;
    const Scanner::Read read = reader_of(source);
    if (result_.format->reads_whole_text) {
      in_ = std::make_unique<Scanner>(source->name(), read_text(read));
      return;
    }
    in_ = std::make_unique<Scanner>(source->name(), read);
    in_->source = source;
    if (can_reopen)
      in_->reopened_as = source->name();
    else
      prepare_second_read(*in_);
  }

  static Text read_text(const Scanner::Read& read) {
    constexpr std::size_t kPiece = std::size_t{1} << 20;
    Text text;
    while (true) {
      char* const begin = text.extend(kPiece);
      const std::string_view piece(begin, read(begin, kPiece));
      text.cut(text.view().size() - (kPiece - piece.size()));
      if (piece.size() < kPiece || is_no_text(piece)) return text;
    }
  }

  void read_all() {
    std::optional<int> first;
    read(first);
    if ((first = other_first_cell())) {
      const std::int64_t nbefore = count_number_errors();
      restart();
      read(first);
      if (count_number_errors() >= nbefore) {  // the shift explains nothing
        first = std::nullopt;
        shift_ = std::nullopt;
        restart();
        read(first);
      }
    }
    if (std::optional<Finding> swapped = swapped_header()) {
      swap_counts(first);
      store_.add(std::move(*swapped));
    } else if (may_be_swapped()) {
      try_swapped_counts(first);
    }
    if (shift_) add_shift();
    add_header_findings();
    add_net_findings();
    locate_pending();
    result_.ncells = lists_.ncells;
    result_.nnets = lists_.nnets;
    result_.cell_weights = std::move(lists_.cell_weights);
  }

  void read(std::optional<int> first_cell) {
    audit_ = {};
    audit_.starts_from = first_cell;
    audit_.corrected = corrected_;
    audit_.most_kept = options_.most_kept;
    audit_.wants = [this](std::string_view rule) { return store_.wants(rule); };
    audit_.counted = [this](std::string_view rule, std::int64_t nmore) { store_.count(rule, nmore); };
    audit_.oddity = [this](const Finding& finding) { store_.add(finding); };
    audit_.pins = [this](const PinList& pins) { add_pin_findings(pins); };
    audit_.complete = [this](int last) { net_audit_->look_at(last); };
    net_audit_.emplace(lists_, audit_.damaged, std::max<std::size_t>(options_.most_kept, 1));
    in_->audit = &audit_;
    in_->listener = [this](const Finding& finding) {
      store_.add(finding);
      if (ends_at_error_) throw FoundError();
    };
    lists_.grow_slowly = true;
    try {
      result_.format->read(*in_, lists_, options_.read);
      is_complete_ = true;
      if (in_->source != nullptr) finish(*in_);
    } catch (const FoundError&) {
    } catch (const BadFile& error) {
      add_last_error(error.finding());
    }
  }

  // The error that ended the read.
  void add_last_error(Finding finding) {
    if (finding.file.empty()) finding.file = in_->name;
    if (finding.rule == "trailing-text" &&
        finding.message.find("expected nothing after") != std::string::npos) {
      nsurplus_ = count_surplus_lines();
      if (nsurplus_ > 1) finding.message += "; there are " + counted(nsurplus_, "such line");
    }
    const std::string rule = finding.rule;
    store_.add(std::move(finding));
    try {
      if (in_->stream == nullptr) return;
      while (!at_end(*in_)) skip_line(*in_);  // for the bytes
      finish(*in_);
    } catch (const BadFile& error) {
      if (error.finding().rule != rule) store_.add(error.finding());  // damaged data is met once more
    }
  }

  // Lines with text, the current one too.
  std::int64_t count_surplus_lines() {
    std::int64_t count = 1;
    skip_line(*in_);
    while (skip_to_line(*in_)) {
      count += next_on_line(*in_).text.empty() ? 0 : 1;
      skip_line(*in_);
    }
    return count;
  }

  // The text from its start once more.
  void rewind() {
    if (result_.format->reads_whole_text) {
      in_->at = 0;
      in_->counted = {};
    } else {
      in_ = read_again(*in_);
    }
  }

  // ---- Errors with one cause ----

  // Errors that a file has if its cells count from another number.
  [[nodiscard]] std::int64_t count_number_errors() const {
    return store_.count_of("cell-out-of-range") + store_.count_of("self-loop");
  }

  // The number that cells really count from, if all errors in cell numbers have that cause. Adds the finding.
  std::optional<int> other_first_cell() {
    const Finding* const first_error = store_.first_of("cell-out-of-range");
    if (first_error == nullptr || audit_.outside.smallest != audit_.outside.largest) return std::nullopt;
    const int first = audit_.first_cell;
    const std::int64_t outside = audit_.outside.smallest;
    const auto [smallest, largest] = cells_named();
    const std::int64_t last = std::int64_t{lists_.ncells} - 1 + first;
    const bool reaches_last = audit_.reaches_last || reaches_last_.value_or(largest == last);
    const bool from_0 = first == 1 && outside == 0 && !reaches_last;
    const bool from_1 = first == 0 && outside == last + 1 && smallest > 0;
    if (!from_0 && !from_1) return std::nullopt;
    Finding finding = *first_error;
    finding.rule = from_0 ? "counts-from-0" : "counts-from-1";
    shift_ = std::move(finding);
    return 1 - first;
  }

  // The smallest and the largest valid cell number, as in the file; those of a matrix are rows and columns.
  [[nodiscard]] std::pair<std::int64_t, std::int64_t> cells_named() const {
    if (extremes_) return *extremes_;
    if (lists_.nadj.empty()) return {audit_.outside.smallest, audit_.outside.largest};
    const auto [smallest, largest] = std::minmax_element(lists_.nadj.begin(), lists_.nadj.end());
    const int shift = audit_.first_cell - 1;
    return {*smallest + shift, *largest + shift};
  }

  // The finding on the first cell number, once all cell numbers are known.
  void add_shift() {
    const auto [smallest, largest] = cells_named();
    const std::string first = shift_->rule == "counts-from-0" ? "0" : "1";
    shift_->message = "the smallest cell number is " + std::to_string(smallest) + " and the largest " +
                      std::to_string(largest) + ": this file counts from " + first;
    shift_->hint = std::string(is_own() ? "its header says from " : "the format counts from ") +
                   (first == "0" ? "1" : "0");
    store_.add(*shift_);
  }

  void restart() {
    store_ = FindingStore(options_.most_kept);
    counted_to_first_ = {};
    pending_.clear();
    npending_.clear();
    lists_ = {};
    is_complete_ = false;
    nsurplus_ = 0;
    rewind();
  }

  // As many lines as the header has cells, no number above its count of nets: the counts are swapped.
  [[nodiscard]] std::optional<Finding> swapped_header() const {
    const bool has_nets_and_cells = is_own() || result_.format->name == "hmetis";
    if (!has_nets_and_cells || corrected_ || !audit_.announced || lists_.xnadj.size() < 2)
      return std::nullopt;
    const auto [ncells, nnets, weights] = *audit_.announced;
    const std::int64_t nsurplus = nsurplus_ + audit_.nignored_lines;
    const std::int64_t nlines = std::ssize(lists_.xnadj) - 2 + nsurplus;
    if ((is_complete_ && nsurplus == 0) || ncells == nnets || nlines != ncells) return std::nullopt;
    const std::int64_t largest = std::max(cells_named().second, audit_.outside.largest);
    const std::int64_t last = nnets - 1 + audit_.first_cell;  // cell, if they are
    if (largest > last) return std::nullopt;
    // Unless cells say more, lines may be missing as well.
    if (nlines < nnets && largest < last && audit_.outside.count == 0) return std::nullopt;
    return Finding{"swapped-header",
                   Severity::kError,
                   result_.file,
                   audit_.header.line,
                   audit_.header.column,
                   "the header announces " + counted(nnets, "net") + " and " + counted(ncells, "cell") +
                       ", but there are " + counted(nlines, "line") + " of nets and the largest cell is " +
                       std::to_string(largest),
                   is_own() ? "the number of cells comes first" : "the number of nets comes first"};
  }

  // Whether the counts are still to be tried in the other order. Of a hMETIS file, each line has been read,
  // some as what they are not.
  [[nodiscard]] bool may_be_swapped() const {
    if (corrected_ || !audit_.announced || audit_.announced->ncells == audit_.announced->nnets) return false;
    if (result_.format->name == "hmetis")
      return is_complete_ && (audit_.announced->weights & 1) != 0 &&
             store_.count_of("trailing-text") + store_.count_of("cell-out-of-range") > 0;
    if (is_graph() && bytes_.end().line <= static_cast<std::size_t>(audit_.announced->nnets))
      return false;  // too few lines for so many vertices after the header
    return (result_.format->name == "kub" || is_graph()) && store_.has_errors();
  }

  void swap_counts(std::optional<int> first) {
    const auto [ncells, nnets, weights] = *audit_.announced;
    corrected_ = {nnets, ncells, weights};
    restart();
    read(first);
  }

  // Keeps what the other order explains, and else what was found before.
  void try_swapped_counts(std::optional<int> first) {
    FindingStore store = std::move(store_);
    Audit audit = std::move(audit_);
    NetLists lists = std::move(lists_);
    const std::int64_t nsurplus = nsurplus_;
    const bool is_complete = is_complete_;
    audit_.announced = audit.announced;
    ends_at_error_ = true;
    swap_counts(first);
    ends_at_error_ = false;
    const bool has_all_edges = !is_graph() || lists_.nnets == corrected_->nnets;
    if (!store_.has_errors() && has_all_edges) return add_swap();
    corrected_.reset();
    restart();
    store_ = std::move(store);
    audit_ = std::move(audit);
    lists_ = std::move(lists);
    nsurplus_ = nsurplus;
    is_complete_ = is_complete;
  }

  void add_swap() {
    const auto [ncells, nnets, weights] = *audit_.announced;
    const std::string nets = is_graph() ? std::to_string(nnets) + " edges" : counted(nnets, "net");
    const std::string cells = is_graph() ? std::to_string(ncells) + " vertices" : counted(ncells, "cell");
    const char* const first = result_.format->name == "hmetis" ? "nets" : is_graph() ? "vertices" : "cells";
    note("swapped-header", audit_.header,
         "the header announces " + nets + " and " + cells +
             ", but the lines fit the counts in the other order",
         std::string("the number of ") + first + " comes first");
  }

  // ---- Headers and bytes ----

  void note(const char* rule, const Place& place, const std::string& message, const std::string& hint = {},
            std::int64_t count = 1) {
    store_.add({rule, Severity::kNote, result_.file, place.line, place.column, message, hint}, count);
  }

  void add_header_findings() {
    const std::string& line = audit_.header_line;
    std::size_t end = line.size();
    if (end > 0 && line[end - 1] == '\r') --end;
    const auto is_blank = [&line](std::size_t k) { return line[k] == ' ' || line[k] == '\t'; };
    for (std::size_t k = 0; k < end && !is_json(); ++k) {
      if (!is_blank(k) || (k > 0 && k + 1 < end && !is_blank(k + 1))) continue;
      note("header-blanks", {audit_.header.line, k + 1}, "the header has surplus blanks");
      break;
    }
    if (is_own()) add_weight_format_finding();
    if (audit_.nignored_lines > 0)
      note("ignored-lines", audit_.ignored_line,
           counted(audit_.nignored_lines, "line") + " after all that the header announces, not read", "",
           audit_.nignored_lines);
    if (audit_.ncomments > 0)
      note("comment", audit_.comment, counted(audit_.ncomments, "comment line") + ", the first is here", "",
           audit_.ncomments);
  }

  // The fifth number of our header, 1 or 2.
  void add_weight_format_finding() {
    const std::string& line = audit_.header_line;
    std::size_t at = 0;
    for (int k = 0; k < 5; ++k) {
      at = line.find_first_not_of(" \t\r", at);
      if (at == std::string::npos) return;
      const std::size_t end = std::min(line.find_first_of(" \t\r", at), line.size());
      const std::string_view word = std::string_view(line).substr(at, end - at);
      if (k == 4 && (word == "1" || word == "2"))
        note("weight-format", {audit_.header.line, at + 1},
             "weight format " + std::string(word) + " means " + (word == "1" ? "cell" : "net") +
                 " weights here, " + (word == "1" ? "net weights" : "nothing") + " in hMETIS");
      at = end;
    }
  }

  void add_suffix_finding() {
    if (const Format* const named = format_of_file(filename_); is_by_content_ && named != nullptr)
      note("suffix-disagrees", {},
           "the name is that of a " + std::string(named->name) + " file, the content is " +
               std::string(result_.format->name));
  }

  void add_byte_findings() {
    store_.drop("nul-byte");  // of a reader, that it ends with
    const TextTraits traits{result_.file, has_mark_ && !is_json(), is_own() && is_complete_,
                            audit_.ends_with_statistics};
    formats::add_byte_findings(bytes_, traits, store_);
    if (!is_json() && bytes_.tab.count > 0)
      note("tab", bytes_.tab.first, counted(bytes_.tab.count, "tab") + ", the first is here", "",
           bytes_.tab.count);
    if (is_own() && bytes_.long_line.count > 0)
      note("long-line", bytes_.long_line.first,
           "the line is longer than the " + std::to_string(ByteAudit::kLongLine) +
               " bytes of the library's readers",
           "", bytes_.long_line.count);
    if (is_own() && bytes_.first_byte_of_last_line() == '%' && store_.count_of("missing-weights") > 0)
      note("endless-wait", {}, "the last line is a comment, and cell weights are missing");
  }

  // ---- Nets, pins and weights ----

  [[nodiscard]] bool nets_have_lines() const { return has_net_lines(*result_.format, options_.read); }

  void add_net_findings() {
    for (const std::string& loss : lists_.losses) note("data-not-kept", {}, "not read: " + loss);
    if (lists_.xnadj.size() < 2) return;
    check_pin_count();
    if (!nets_have_lines() && !audit_.damaged.empty()) return;  // of other items than nets
    if (audit_.parallel_nets) return add_edge_findings(*audit_.parallel_nets);
    const NetFindings found = net_audit_->finish(audit_threads(lists_));
    if (nets_have_lines())
      add_nets(found);
    else
      add_summaries(found);
    const bool is_sound = is_complete_ && audit_.damaged.empty();
    if (is_sound) add_isolated_cells(found.isolated_cells);
    add_weight_findings();
  }

  // Of nets that have two different pins each.
  void add_edge_findings(const Audit::ParallelNets& parallel_nets) {
    add_summary("parallel-net", {parallel_nets.count, {parallel_nets.first}});
    if (is_complete_) add_isolated_cells(find_isolated_cells(lists_, audit_threads(lists_)));
    add_weight_findings();
  }

  [[nodiscard]] Finding finding(const char* rule, std::string message, std::string hint = {}) const {
    return {rule, Severity::kError, result_.file, 0, 0, std::move(message), std::move(hint)};
  }

  // Whether another finding of a rule is to be kept for the second read. If not, it is counted.
  bool has_room_for(const char* rule) {
    const bool has_room = npending_[rule] < options_.most_kept;
    if (!has_room) store_.count(rule);
    return has_room;
  }

  void add_pending(Pending pending) {
    ++npending_[rule_named(pending.finding.rule)->name];
    pending_.push_back(std::move(pending));
  }

  void add_net(const char* rule, int j, std::string message, Mention mention = Mention::kNone,
               int other = 0) {
    add_pending({finding(rule, std::move(message)),
                 {Item::kNet, j, Item::kLine},
                 mention,
                 {Item::kNet, other, Item::kLine}});
  }

  // Findings on nets that are lines: those kept get places, the others are counted.
  void add_nets(const NetFindings& found) {
    for (const int j : kept(found.empty_nets.first))
      add_net("empty-net", j, "net " + std::to_string(j) + " has no pins");
    for (const int j : kept(found.one_pin_nets.first))
      add_net("one-pin-net", j, "net " + std::to_string(j) + " has one pin");
    for (const ParallelNet& net : kept(found.parallel_nets))
      add_net("parallel-net", net.net,
              "net " + std::to_string(net.net) + " has the same cells as net " + std::to_string(net.earlier) +
                  " on line ",
              Mention::kLine, net.earlier);
    count_others("empty-net", found.empty_nets.count);
    count_others("one-pin-net", found.one_pin_nets.count);
    count_others("parallel-net", std::ssize(found.parallel_nets));
    if (result_.format->name == "cnf") return;  // the reader reports repeated pins
    for (const RepeatedPin& pin : kept(found.repeated_pins.first)) add_repeated_pin(pin);
    count_others("duplicate-pin", found.repeated_pins.count);
  }

  template <typename Entry>
  [[nodiscard]] std::span<const Entry> kept(const std::vector<Entry>& entries) const {
    return {entries.data(), std::min(entries.size(), options_.most_kept)};
  }

  void count_others(const char* rule, std::int64_t count) {
    store_.count(rule, count - static_cast<std::int64_t>(npending_[rule]));
  }

  // One finding for all nets of a kind, as they have no places, in the order of the first ones.
  void add_summaries(const NetFindings& found) {
    const auto is_before = [](const Tally<int>& a, const Tally<int>& b) {
      return a.count > 0 && (b.count == 0 || a.first.front() < b.first.front());
    };
    if (is_before(found.empty_nets, found.one_pin_nets)) add_summary("empty-net", found.empty_nets);
    add_summary("one-pin-net", found.one_pin_nets);
    if (!is_before(found.empty_nets, found.one_pin_nets)) add_summary("empty-net", found.empty_nets);
    Tally<int> parallel_nets;
    for (const ParallelNet& net : found.parallel_nets) parallel_nets.add(net.net, 1);
    add_summary("parallel-net", parallel_nets);
  }

  void add_summary(const char* rule, const Tally<int>& nets) {
    if (nets.count == 0) return;
    note(rule, {},
         counted(nets.count, "net") + ": " + std::string(rule_named(rule)->summary) + "; the first is net " +
             std::to_string(nets.first.front()),
         "", nets.count);
  }

  void add_repeated_pin(const RepeatedPin& pin) {
    const int cell = lists_.nadj.data()[lists_.xnadj[static_cast<std::size_t>(pin.net)] + pin.second];
    add_pending({finding("duplicate-pin", "net " + std::to_string(pin.net) + " names cell " +
                                              cell_name(cell) + " again, first in column "),
                 {Item::kNet, pin.net, Item::kFirstPin + pin.second},
                 Mention::kColumn,
                 {Item::kNet, pin.net, Item::kFirstPin + pin.first}});
  }

  // As in the file.
  [[nodiscard]] std::string cell_name(int cell) const {
    return lists_.cell_names.empty() ? std::to_string(cell - 1 + audit_.first_cell)
                                     : lists_.cell_names[static_cast<std::size_t>(cell)];
  }

  void add_isolated_cells(const IsolatedCells& isolated) {
    if (isolated.count == 0) return;
    note("isolated-cell", {},
         counted(isolated.count, "cell") + (isolated.count == 1 ? " is" : " are") +
             " on no net; the first is cell " + cell_name(isolated.first),
         "", isolated.count);
  }

  // The pins of a quillon file.
  void check_pin_count() {
    const auto npins = static_cast<std::int64_t>(lists_.nadj.size());
    if (!is_own() || !is_complete_ || !audit_.damaged.empty() || !audit_.announced_pins ||
        npins == *audit_.announced_pins)
      return;
    Pending pending{finding("pin-count", "found " + counted(npins, "pin") +
                                             " on the net lines, expected the " +
                                             std::to_string(*audit_.announced_pins) + " of the header")};
    if (npins < *audit_.announced_pins) {
      note("pin-count", audit_.announced_pins_place, pending.finding.message);
      return;
    }
    const auto net = std::upper_bound(lists_.xnadj.begin(), lists_.xnadj.end(), *audit_.announced_pins) -
                     lists_.xnadj.begin() - 1;
    pending.item = {Item::kNet, net,
                    Item::kFirstPin + *audit_.announced_pins - lists_.xnadj[static_cast<std::size_t>(net)]};
    add_pending(std::move(pending));
  }

  void add_weight_findings() {
    add_weight_findings(lists_.net_weights, "net");
    add_weight_findings(lists_.cell_weights, "cell");
  }

  // The place of the weight of a net or cell, if it has one.
  [[nodiscard]] Item weight_item(bool is_net, int number) const {
    if (result_.format->name == "metis") {
      if (!is_net) return {Item::kNet, number, Item::kLine};
      const int* const ends = lists_.nadj.data() + 2 * (static_cast<std::size_t>(number) - 1);
      return {Item::kNet, ends[0], Item::kFirstPin + ends[1]};
    }
    return is_net ? Item{Item::kNet, number, Item::kWeight} : Item{Item::kCellWeight, number, 0};
  }

  void add_weight_findings(const std::vector<int>& weights, const std::string& kind) {
    std::int64_t total = 0;
    const bool is_net = kind == "net";
    const bool has_places = nets_have_lines() || result_.format->name == "metis";
    for (std::size_t k = 1; k < weights.size(); ++k) {
      total += weights[k];
      if (weights[k] > 0) continue;
      const char* const rule = weights[k] < 0 ? "negative-weight"
                               : is_net       ? "zero-net-weight"
                                              : "zero-cell-weight";
      if (!has_room_for(rule)) continue;
      const int number = static_cast<int>(k);
      std::string message = kind + " " + std::to_string(k) + " has weight " + std::to_string(weights[k]);
      if (has_places)
        add_pending({finding(rule, std::move(message)), weight_item(is_net, number)});
      else
        note(rule, {}, message);
    }
    if (total != static_cast<int>(total))
      note("total-too-large", {},
           "the weights of all " + kind + "s are " + std::to_string(total) +
               " together, more than 32 bits hold");
  }

  // Pins in the order of a file that does not list them net by net.
  void add_pin_findings(const PinList& pins);
  [[nodiscard]] std::string pin_name(const PinList& pins, std::size_t k) const;
  void add_pin(const char* rule, const PinList& pins, std::size_t k, std::string message,
               std::optional<std::size_t> first = {});
  void note_extremes(const PinList& pins);

  // ---- Places ----

  void locate_pending() {
    std::vector<Audit::Wanted> wanted;
    for (const Pending& pending : pending_) {
      wanted.push_back({pending.item, {}});
      if (pending.mention != Mention::kNone) wanted.push_back({pending.other, {}});
    }
    const auto by_item = [](const Audit::Wanted& a, const Audit::Wanted& b) { return a.item < b.item; };
    std::sort(wanted.begin(), wanted.end(), by_item);
    if (wanted.empty()) return;
    Audit audit;
    audit.wanted = std::move(wanted);
    audit.waypoints = audit_.waypoints;
    audit.starts_from = audit_.starts_from;
    audit.corrected = corrected_;
    rewind();
    read_audited(*in_, *result_.format, options_.read, audit);
    add_located(audit);
  }

  void add_located(const Audit& audit) {
    for (Pending& pending : pending_) {
      const Place place = audit.place_of_wanted(pending.item);
      pending.finding.line = place.line;
      pending.finding.column = place.column;
      const Place other = pending.mention == Mention::kNone ? Place{} : audit.place_of_wanted(pending.other);
      if (pending.mention == Mention::kColumn) pending.finding.message += std::to_string(other.column);
      if (pending.mention == Mention::kLine) pending.finding.message += std::to_string(other.line);
      store_.add(std::move(pending.finding));
    }
  }

  // The reader has not seen the mark.
  void shift_columns_after_mark() {
    if (!has_mark_ || is_json()) return;
    for (Finding& found : result_.findings)
      if (found.line == 1 && found.rule != "byte-order-mark") found.column += kByteOrderMark.size();
  }

  std::string filename_;
  const LintOptions& options_;
  std::optional<Counts> corrected_;
  LintResult result_;
  FindingStore store_;
  std::unique_ptr<Scanner> in_;
  ByteAudit bytes_;
  bool has_mark_ = false;       // a byte order mark
  bool is_by_content_ = false;  // the suffix of the name was not believed

  Audit audit_;
  NetLists lists_;
  std::optional<NetAudit> net_audit_;
  bool is_complete_ = false;    // the reader got to the end
  bool ends_at_error_ = false;  // the read is given up at its first error
  std::int64_t nsurplus_ = 0;   // lines that the header does not announce
  std::optional<Finding> shift_;
  std::optional<std::pair<std::int64_t, std::int64_t>> extremes_;  // of rows and columns
  std::optional<bool> reaches_last_;   // whether a matrix has an entry in its last row or column
  Scanner::Counted counted_to_first_;  // as in the scanner, for pins that others repeat
  std::vector<Pending> pending_;
  std::unordered_map<std::string_view, std::size_t> npending_;  // by rule
};

void Linter::add_pin_findings(const PinList& pins) {
  const bool is_matrix = result_.format->name == "mtx";
  const std::vector<int>& damaged = audit_.damaged;
  if (is_matrix) note_extremes(pins);
  for (std::size_t k = 0; pins.is_mirrored && 2 * k < pins.numbers.size(); ++k)  // no damaged one is above
    if (pins.numbers[2 * k] < pins.numbers[2 * k + 1] && has_room_for("entry-above-diagonal"))
      add_pin("entry-above-diagonal", pins, k, "entry " + pin_name(pins, k) + " is above the diagonal");
  const bool is_half = pins.is_mirrored && store_.count_of("entry-above-diagonal") == 0 && pending_.empty();
  if ((!pins.is_mirrored || is_half) && damaged.empty() && is_without_repetitions(pins)) return;
  const bool by_sorting = lists_.avoids(std::int64_t{pins.nnets} + pins.ncells, pins.numbers.size() / 2);
  for (const auto& [first, second] : find_repeated(pins, damaged, by_sorting)) {
    if (!has_room_for("repeated-entry")) continue;
    const std::string what = is_matrix   ? "entry " + pin_name(pins, second) + " is"
                             : is_json() ? "this incidence is"
                                         : "this pair is";
    add_pin("repeated-entry", pins, second, what + " given before, on line ", first);
  }
}

// The numbers of a net and a cell as in the file.
std::string Linter::pin_name(const PinList& pins, std::size_t k) const {
  const int shift = audit_.first_cell - 1;
  return "(" + std::to_string(pins.numbers[2 * k] + shift) + ", " +
         std::to_string(pins.numbers[2 * k + 1] + shift) + ")";
}

void Linter::add_pin(const char* rule, const PinList& pins, std::size_t k, std::string message,
                     std::optional<std::size_t> first) {
  if (pins.offsets.empty()) {
    const Item item{Item::kNet, static_cast<std::int64_t>(k) + 1, Item::kLine};
    const Item other{Item::kNet, static_cast<std::int64_t>(first.value_or(k)) + 1, Item::kLine};
    add_pending({finding(rule, std::move(message)), item, first ? Mention::kLine : Mention::kNone, other});
    return;
  }
  if (!store_.wants(rule)) return store_.count(rule);
  if (first) {
    std::swap(in_->counted, counted_to_first_);  // each ascends, mostly
    message += std::to_string(place_of(*in_, pins.offsets[*first]).line);
    std::swap(in_->counted, counted_to_first_);
  }
  note(rule, place_of(*in_, pins.offsets[k]), message);
}

void Linter::note_extremes(const PinList& pins) {
  std::int64_t smallest = std::numeric_limits<int>::max();
  std::int64_t largest = 0;
  bool reaches_last = false;
  for_each_sound(pins, audit_.damaged, [&](std::size_t k) {
    const auto [net, cell] = std::pair(pins.numbers[2 * k], pins.numbers[2 * k + 1]);
    smallest = std::min<std::int64_t>({smallest, net, cell});
    largest = std::max<std::int64_t>({largest, net, cell});
    reaches_last = reaches_last || net == pins.nnets || cell == pins.ncells;
  });
  const int shift = audit_.first_cell - 1;
  extremes_ = {smallest + shift, largest + shift};
  reaches_last_ = reaches_last;
}

}  // namespace

std::int64_t LintResult::count(Severity severity) const {
  std::int64_t total = 0;
  for (const RuleCount& broken : counts)
    total += (is_mended ? Severity::kNote : broken.rule->severity) == severity ? broken.count : 0;
  return total;
}

std::int64_t LintResult::count(std::string_view rule) const {
  for (const RuleCount& broken : counts)
    if (broken.rule->name == rule) return broken.count;
  return 0;
}

LintResult lint(const std::string& filename, const LintOptions& options) {
  return Linter(filename, options, std::nullopt).run();
}

LintResult lint_as(const std::string& filename, const LintOptions& options, const Counts& counts) {
  return Linter(filename, options, counts).run();
}

}  // namespace quillon::formats
