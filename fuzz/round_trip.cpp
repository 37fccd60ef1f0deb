#include "fuzz/round_trip.h"

#include <algorithm>
#include <string>
#include <utility>

#include "formats/block_queue.h"
#include "formats/findings.h"
#include "formats/record.h"
#include "formats/threads.h"
#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"

namespace quillon::fuzz {
namespace {

using formats::Format;
using formats::NetLists;
using formats::ReadOptions;

constexpr int kMostItems = 20000;     // cells, nets or pins of a hypergraph that is written and read again
constexpr int kMostForChecks = 2000;  // pins, for checks of quadratic cost
constexpr char kName[] = "in";

template <typename Entries>
void expect_entries(const Entries& entries, int count, const char* what) {
  expect(entries.empty() || std::ssize(entries) == std::int64_t{count} + 1, what);
}

// The guarantees of a reader for every text that it accepts.
void expect_sound(const NetLists& lists) {
  expect(lists.ncells >= 0 && lists.nnets >= 0, "negative counts");
  expect(std::ssize(lists.xnadj) == std::int64_t{lists.nnets} + 2, "not a start for each net");
  expect(lists.xnadj[1] == 0 && std::is_sorted(lists.xnadj.begin() + 1, lists.xnadj.end()),
         "a net ends before it begins");
  expect(lists.xnadj.back() == std::ssize(lists.nadj), "not as many pins as the nets have");
  const auto is_cell = [&lists](int cell) { return cell >= 1 && cell <= lists.ncells; };
  expect(std::all_of(lists.nadj.begin(), lists.nadj.end(), is_cell), "a pin that is no cell");
  expect_entries(lists.cell_weights, lists.ncells, "not a weight for each cell");
  expect_entries(lists.net_weights, lists.nnets, "not a weight for each net");
  expect_entries(lists.diagonal, lists.nnets, "not a mark for each net");
  expect_entries(lists.cell_names, lists.ncells, "not a name for each cell");
  expect_entries(lists.net_names, lists.nnets, "not a name for each net");
}

bool is_one_line(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; });
}

void expect_sound(const formats::Finding& finding, const std::string& text) {
  expect(finding.severity == formats::Severity::kError && finding.file == kName, "a finding of no file");
  expect(is_inside(text, finding.line, finding.column), "a finding outside the text");
  expect(finding.message.starts_with("found ") && is_one_line(finding.message) && is_one_line(finding.hint),
         "a message that is not one line");
  const auto is_letter = [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; };
  expect(!finding.rule.empty() && std::all_of(finding.rule.begin(), finding.rule.end(), is_letter),
         "no name of a rule");
}

// Whether the text is accepted.
bool read(const Format& format, const std::string& text, const ReadOptions& options, NetLists& lists) {
  formats::Scanner in(kName, text);
  try {
    if (!run_soundly([&] { format.read(in, lists, options); })) return false;
  } catch (const formats::BadFile& error) {
    expect_sound(error.finding(), text);
    return false;
  }
  expect_sound(lists);
  return true;
}

// Reads a text in small blocks. Returns the error, or an empty text.
std::string read_in_blocks(const Format& format, const std::string& text, const ReadOptions& options,
                           NetLists& lists) {
  formats::set_threads(1);
  formats::set_block_sizes({1 + text.size() % 61, std::size_t{1} << 20});
  std::size_t at = 0;
  formats::Scanner in(kName, [&](char* bytes, std::size_t size) {
    const std::size_t length = text.copy(bytes, size, at);
    at += length;
    return length;
  });
  try {
    if (!run_soundly([&] { format.read(in, lists, options); })) return "out of memory";
    return "";
  } catch (const formats::BadFile& error) {
    return error.what();
  }
}

// The words of a whole text are read one by one, the lines of blocks by number.
void expect_same_in_blocks(const Format& format, const std::string& text, const ReadOptions& options) {
  if (format.reads_whole_text) return;
  NetLists whole;
  std::string error;
  try {
    formats::Scanner in(kName, text);
    if (!run_soundly([&] { format.read(in, whole, options); })) return;
  } catch (const formats::BadFile& bad) {
    error = bad.what();
  }
  NetLists lists;
  const std::string error_in_blocks = read_in_blocks(format, text, options, lists);
  if (error_in_blocks == "out of memory") return;
  expect(error_in_blocks == error, "another error in blocks than in the whole text");
  if (!error.empty()) return;
  expect(lists.ncells == whole.ncells && lists.nnets == whole.nnets, "other counts in blocks");
  expect(lists.xnadj == whole.xnadj && lists.nadj == whole.nadj, "other pins in blocks");
  expect(lists.net_weights == whole.net_weights && lists.cell_weights == whole.cell_weights,
         "other weights in blocks");
  expect(lists.remarks == whole.remarks && lists.losses == whole.losses, "other remarks in blocks");
}

bool is_small(const NetLists& lists) {
  return lists.ncells <= kMostItems && lists.nnets <= kMostItems && std::ssize(lists.nadj) <= kMostItems;
}

void check_lists(const Hypergraph& h) {
  if (h._p <= kMostForChecks && formats::count_repeated_pins(h) == 0) CheckListsofHypergraph(&h);
}

void expect_same(const Hypergraph& back, const Hypergraph& h) {
  expect(back._c == h._c && back._n == h._n, "other counts come back than went out");
  expect(pins_of_nets(back) == pins_of_nets(h), "other pins come back than went out");
  expect(nets_of_cells(back) == nets_of_cells(h), "other nets of cells come back than went out");
  expect(of_nets(back, &Net::w) == of_nets(h, &Net::w), "other net weights come back than went out");
  expect(of_cells(back, &Cell::w) == of_cells(h, &Cell::w), "other cell weights come back than went out");
}

// Pairs are read only.
bool is_written(const Format& format, const ReadOptions& read, const formats::WriteOptions& options) {
  return format.write != nullptr && read.pairs == formats::Pairs::kNone &&
         (format.refusal == nullptr || format.refusal(options).empty());
}

void send_round(const Format& format, NetLists& lists, const ReadOptions& read_options) {
  static const MemoryFile file;
  const formats::Labels labels{lists.cell_names, lists.net_names};
  formats::Record record;
  formats::to_record(std::move(lists), record);
  check_lists(record.h);

  const formats::WriteOptions options{
      .numbering = 0, .weights = 3, .model = read_options.model, .labels = &labels};
  const Format& used = is_written(format, read_options, options) ? format : *formats::format_named("kub");
  used.write(record.h, options, file.name());
  if (used.name == "kub") recorder::forget_files();  // its writer closes the file by std::fclose

  NetLists lists_back;
  expect(read(used, file.contents(), {.model = read_options.model}, lists_back),
         "what was written is refused");
  formats::Record back;
  formats::to_record(std::move(lists_back), back);
  expect_same(back.h, record.h);
}

}  // namespace

void try_round_trip(const Format& format, const std::string& text, const ReadOptions& options) {
  recorder::reset();
  expect_same_in_blocks(format, text, options);
  NetLists lists;
  if (!read(format, text, options, lists) || !is_small(lists)) return;
  if (run_soundly([&] { send_round(format, lists, options); })) expect_nothing_held();
}

}  // namespace quillon::fuzz
