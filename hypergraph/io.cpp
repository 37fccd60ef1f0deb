#include <algorithm>
#include <cstring>
#include <limits>

#include "hypergraph/detail/digits.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/printer.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {
namespace {

// The two readers differ in what they do with nets of fewer than two pins, and in little else.
enum class SmallNets { kFold, kKeep };

constexpr int kLineSize = 16777216;
constexpr int kCellWeights = 1;  // bits of _fmt
constexpr int kNetWeights = 2;

struct Header {
  int shift;  // what turns the file's cell numbers into ours
  int ncells;
  int nnets;
  int npins;
  int fmt;
  int weights_per_cell;
};

// How far the nets have been read.
struct NetsRead {
  int j = 1;               // the net to be filled next
  std::int64_t used = 0;   // entries of _cell_list that the nets so far take
  std::int64_t npins = 0;  // cell numbers read, those of removed nets included
  int nremoved_nets = 0;
  int nremoved_pins = 0;
};

// The net whose line is being read.
struct OpenNet {
  bool weight_due;
  int w;                   // 0 as long as it is due
  std::int64_t count = 0;  // pins
  int last = 0;            // of them; what a net of one pin is about
};

// What does not change from net to net.
struct NetRules {
  int shift;
  int* work;  // by cell, the last net that names it; null if nobody asks
  SmallNets small_nets;
};

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

int low_32_bits(std::uint64_t magnitude, bool negative) {
  return static_cast<int>(static_cast<std::uint32_t>(negative ? -magnitude : magnitude));
}

// Reads an integer from a line that ends at `end`, as strtol does in base 10 with 64 bits, and keeps its low
// 32. On success `at` moves behind it; otherwise `at` stays and the value is 0. strtol itself has 32 bits on
// some platforms, and is slow on all.
bool scan_int(const char*& at, const char* end, int& value) {
  const char* p = at;
  while (p < end && is_space(*p)) ++p;
  const bool negative = p < end && *p == '-';
  if (p < end && (*p == '-' || *p == '+')) ++p;
  value = 0;
  if (p == end || !is_digit(*p)) return false;

  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t limit = kLargest + (negative ? 1 : 0);
  std::uint64_t magnitude = 0;
  for (; p < end && is_digit(*p); ++p)
    magnitude = std::min(limit, magnitude > kLargest / 10 ? limit : 10 * magnitude + std::uint64_t(*p - '0'));
  value = low_32_bits(magnitude, negative);
  at = p;
  return true;
}

// A count for a message that has room for 32 bits.
int as_int(std::int64_t count) {
  return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
}

// Fetches the next line that is not a comment. Only the first byte of the line is looked at, not whether one
// was read: when the input ends in a comment, this waits for a line for ever. Callers know, and rely on what
// stays in the buffer at the end of the input.
void next_line(Lines& lines) {
  do {
    fetch_line(lines);
  } while (lines.text[lines.begin] == '%' && !(lines.at_end && std::ferror(lines.stream) != 0));
}

const char* line_begin(const Lines& lines) { return lines.text + lines.begin; }

const char* line_end(const Lines& lines) { return lines.text + lines.end; }

// What strlen would say of the line: nothing behind a NUL counts.
std::size_t line_length(const Lines& lines) {
  const std::size_t length = lines.end - lines.begin;
  const void* const nul = length > 0 ? std::memchr(line_begin(lines), '\0', length) : nullptr;
  return nul == nullptr ? length
                        : static_cast<std::size_t>(static_cast<const char*>(nul) - line_begin(lines));
}

bool too_long(const Lines& lines, std::size_t length) { return length >= lines.size - 5; }

// Behind the last whole line that has been read ahead; behind the last line fetched if there is none. None of
// the lines up to there is too long: where that is not certain, nothing counts as read ahead.
const char* whole_lines_end(const Lines& lines) {
  if (!lines.reads_ahead || too_long(lines, lines.filled - lines.end)) return line_end(lines);
  return lines.text + std::max(lines.end, lines.whole);
}

// The numbers that a text begins with, which ends in white space. The text has to be readable for some bytes
// more, or is copied where it is.
struct Numbers {
  const char* text;
  NumberRun run;
  char tail[kRunText];
};

void look_at(const char* at, const char* end, Numbers& numbers) {
  numbers.text = at;
  if (end - at < kRunText) {
    std::memset(numbers.tail, 0, sizeof numbers.tail);
    std::memcpy(numbers.tail, at, static_cast<std::size_t>(end - at));
    numbers.text = numbers.tail;
  }
  numbers.run = find_numbers(numbers.text);
}

int scan_header(const char* at, const char* end, int (&numbers)[6]) {
  int count = 0;
  while (count < 6 && scan_int(at, end, numbers[count])) ++count;
  return count;
}

// Nothing is in the buffer yet, so that here the end of the input has to be seen.
Header read_header(Lines& lines) {
  do {
    fetch_line(lines);
  } while (lines.end > lines.begin && !lines.at_end && lines.text[lines.begin] == '%');

  int numbers[6] = {};
  const bool is_comment = lines.end > lines.begin && lines.text[lines.begin] == '%';
  const int count = is_comment ? 0 : scan_header(line_begin(lines), line_end(lines), numbers);
  if (count < 4) errexit("read_hypergraph : cannot read numbering, #cells, #nets, #pins.");

  const int fmt = count > 4 ? numbers[4] : 0;
  if (fmt < 0 || fmt > 3) errexit("read_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbers[0] < 0 || numbers[0] > 1)
    errexit("read_hypergraph : invalid numbering parameter [%d]", numbers[0]);
  return {1 - numbers[0], numbers[1], numbers[2], numbers[3], fmt, count > 5 ? numbers[5] : 1};
}

// The sentinel's number, one above the count, has to be an int as well.
void check_count(int count, int largest, const char* what) {
  if (count < 0) errexit("read_hypergraph : negative number of %s [%d]", what, count);
  if (count > largest)
    errexit("read_hypergraph : too many %s [%d], at most %d are possible", what, count, largest);
}

void take_header(Hypergraph* h, const Header& header) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  check_count(header.ncells, kLargest - 2, "cells");
  check_count(header.nnets, kLargest - 2, "nets");
  check_count(header.npins, kLargest, "pins");
  h->_c = header.ncells;
  h->_n = header.nnets;
  h->_p = header.npins;
  h->_fmt = header.fmt;
}

std::uint64_t bytes_with_spares(int count, std::uint64_t each) {
  return (static_cast<std::uint64_t>(count) + 2) * each;
}

void grow_line_buffer(Lines& lines, int npins, const char* tag) {
  if (npins <= kLineSize) return;
  lines.size = static_cast<std::size_t>(npins);
  lines.text = static_cast<char*>(urealloc(lines.text, lines.size, tag));
}

void allocate_net_side(Hypergraph* h) {
  h->_clst = static_cast<Cell*>(umalloc(bytes_with_spares(h->_c, sizeof(Cell)), "read_hypergraph: clst"));
  h->_nlst = static_cast<Net*>(umalloc(bytes_with_spares(h->_n, sizeof(Net)), "read_hypergraph: nlst"));
  h->_cell_list =
      static_cast<int*>(umalloc(bytes_with_spares(h->_p, sizeof(int)), "read_hypergraph: cell_list"));
}

int* allocate_work(int ncells) {
  int* const work =
      static_cast<int*>(umalloc(bytes_with_spares(ncells, sizeof(int)), "read_hypergraph: work"));
  std::fill_n(work, std::int64_t{ncells} + 1, 0);
  return work;
}

void init_cells(Hypergraph* h) {
  h->_mincd = kNoMinimum;
  for (int i = 1; i <= h->_c; ++i) {
    Cell& cell = h->_clst[i];
    cell.w = 1;
    cell.inw = 0;
    cell.pno = -1;
    cell.nets = nullptr;
    cell.netsend = nullptr;
  }
}

// Entry `index` of _cell_list. A file with more pins than announced, which is refused when all are counted,
// gets as far as the end of the array.
int* pin_at(const Hypergraph* h, std::int64_t index) {
  return h->_cell_list + std::min(index, std::int64_t{h->_p} + 2);
}

bool is_cell(const Hypergraph* h, int id) { return id >= 1 && id <= h->_c; }

// Warns of pins that net j has already.
void mark_pins(const NetRules& rules, int j, const int* pins, std::int64_t count) {
  if (rules.work == nullptr) return;
  for (std::int64_t k = 0; k < count; ++k) {
    const int id = pins[k];
    if (rules.work[id] == j) uwarning("read_hypergraph: \n %d is already added to net list of %d", id, j);
    rules.work[id] = j;
  }
}

// Takes a net out again, so that the next line can have its number and its place in _cell_list.
void remove_small_net(Hypergraph* h, NetsRead& nets, const OpenNet& open) {
  if (open.count == 1) {
    add_wrapping(h->_clst[open.last].inw, open.w);
    add_wrapping(h->_totinw, open.w);
    ++nets.nremoved_pins;
  } else {
    subtract_wrapping(h->_totnw, open.w);
    add_wrapping(h->_virtualnets, open.w);
  }
  ++nets.nremoved_nets;
  --h->_n;
}

OpenNet open_net(const Hypergraph* h) {
  const bool weight_due = (h->_fmt & kNetWeights) != 0;
  return {weight_due, weight_due ? 0 : 1};
}

bool is_refused(const OpenNet& open, SmallNets small_nets) {
  return small_nets == SmallNets::kFold && open.count == 0 && open.w >= 2;
}

// At the end of its line.
void close_net(Hypergraph* h, NetsRead& nets, const OpenNet& open, SmallNets small_nets) {
  nets.npins += open.count;
  add_wrapping(h->_totnw, open.w);
  if (open.count < 2 && small_nets == SmallNets::kFold) {
    remove_small_net(h, nets, open);
    return;
  }
  Net& net = h->_nlst[nets.j];
  net.w = open.w;
  net.pins = pin_at(h, nets.used);
  nets.used += open.count;
  net.pinsend = pin_at(h, nets.used) - 1;
  ++nets.j;
}

// Reads the rest of the line fetched last, from `at` on, number by number, behind the pins that the net has
// already. The entry behind the last pin gets the value of the attempt that found none, for which the array
// has spare room.
void read_slowly(const Hypergraph* h, const NetsRead& nets, OpenNet& open, const Lines& lines, const char* at,
                 const NetRules& rules) {
  const std::int64_t room = std::int64_t{h->_p} + 2;
  const char* const end = line_end(lines);
  if (open.weight_due) scan_int(at, end, open.w);
  open.weight_due = false;
  for (;; ++open.count) {
    int id = 0;
    const bool found = scan_int(at, end, id);
    add_wrapping(id, rules.shift);
    const std::int64_t place = nets.used + open.count;
    if (place < room) h->_cell_list[place] = id;
    if (!found) return;
    if (!is_cell(h, id)) {
      set_back(lines);
      errexit("invalid vertex/cell id %d in the  vertex/cell list of net %d", id, nets.j);
    }
    mark_pins(rules, nets.j, &id, 1);
    open.last = id;
  }
}

// Goes on to a line of a run.
void move_to_line(Lines& lines, const char* run, int end) {
  lines.begin = lines.end;
  lines.end = static_cast<std::size_t>(run - lines.text) + static_cast<std::size_t>(end);
}

// The way that nearly all net lines go: runs of pins, without weights, of nets that all stay. They are stored
// where they belong before anything else is known of them. Stops, in the way of `read_plain_nets`, before a
// run that is not like that, has a number that is no cell, or goes beyond the nets or the room for pins.
const char* read_plain_pins(Hypergraph* h, NetsRead& nets, OpenNet& open, Lines& lines, const char* at,
                            const char* end, const NetRules& rules) {
  const int ncells = h->_c;
  const int shift = rules.shift;
  const bool folds = rules.small_nets == SmallNets::kFold;
  int* const first_pin = h->_cell_list + nets.used;
  int* const room_end = h->_cell_list + h->_p + 2;
  int* net_pins = first_pin;  // of the open net
  int* pin = net_pins + open.count;
  Net* const first_net = h->_nlst + nets.j;
  Net* const last_net = h->_nlst + h->_n;
  Net* net = first_net;

  while (end - at >= kRunText) {
    const NumberRun run = find_numbers(at);
    if (run.size == 0 || run.count >= room_end - pin) break;
    if (last_net - net < 64 && last_net - net < count_bits(run.line_ends)) break;
    if (folds && !all_lines_have_two(run, pin - net_pins)) break;
    if (!store_numbers(at, run, shift, ncells, pin)) break;

    int* const run_end = pin + run.count;
    std::uint64_t ends = run.ends;
    for (std::uint64_t line_ends = run.line_ends; line_ends != 0; line_ends &= line_ends - 1) {
      const std::uint64_t line = line_ends ^ (line_ends - 1);  // up to its end
      int* const behind = pin + count_bits(ends & line);
      ends &= ~line;
      mark_pins(rules, static_cast<int>(net - h->_nlst), pin, behind - pin);
      pin = behind;
      *net++ = {1, net_pins, pin - 1};
      net_pins = pin;
      move_to_line(lines, at, lowest_bit(line_ends) + 1);
    }
    mark_pins(rules, static_cast<int>(net - h->_nlst), pin, run_end - pin);
    pin = run_end;
    if (pin == net_pins) *pin = shift;
    at += run.size;
  }

  add_wrapping(h->_totnw, static_cast<int>(net - first_net));
  nets.j += static_cast<int>(net - first_net);
  nets.npins += net_pins - first_pin;
  nets.used += net_pins - first_pin;
  open.count = pin - net_pins;
  if (open.count > 0) open.last = pin[-1];
  return at;
}

// Gives a net some of its numbers: its weight if that is due, then pins.
void take_numbers(const Hypergraph* h, const NetsRead& nets, OpenNet& open, const int* numbers, int count,
                  const NetRules& rules) {
  if (open.weight_due && count > 0) {
    open.w = *numbers++;
    open.weight_due = false;
    --count;
  }
  int* const pins = h->_cell_list + nets.used + open.count;
  for (int k = 0; k < count; ++k) pins[k] = numbers[k] + rules.shift;
  mark_pins(rules, nets.j, pins, count);
  open.count += count;
  if (count > 0) open.last = pins[count - 1];
}

// The same as `take_numbers` for a net that nothing is done with, but to see whether its pins are cells.
bool takes_cells(const Hypergraph* h, OpenNet& open, const int* numbers, int count, int shift) {
  for (int k = 0; k < count; ++k) {
    const int number = numbers[k];
    if (open.weight_due) {
      open.w = number;
      open.weight_due = false;
    } else {
      if (number < 1 - shift || number > h->_c - shift) return false;
      ++open.count;
    }
  }
  return true;
}

// Whether the numbers of a run give no reason to end the program.
bool are_sound(const Hypergraph* h, OpenNet open, const int* numbers, const RunLines& split,
               const NetRules& rules) {
  for (int k = 0; k < split.count; ++k) {
    if (!takes_cells(h, open, numbers, split.numbers[k], rules.shift)) return false;
    if (is_refused(open, rules.small_nets)) return false;
    numbers += split.numbers[k];
    open = open_net(h);
  }
  return takes_cells(h, open, numbers, split.behind, rules.shift);
}

// Stores the numbers of any run, as far as there are nets. Returns false, and has done nothing, when there is
// a reason to end the program.
bool take_run(Hypergraph* h, NetsRead& nets, OpenNet& open, Lines& lines, const char* at,
              const Numbers& numbers, const NetRules& rules) {
  RunLines split;
  split_into_lines(numbers.run, split);
  int values[kMostInRun];
  store_numbers(numbers.text, numbers.run, 0, 0, values);
  if (!are_sound(h, open, values, split, rules)) return false;
  const int* next = values;
  for (int k = 0; k < split.count && nets.j <= h->_n; ++k) {
    take_numbers(h, nets, open, next, split.numbers[k], rules);
    next += split.numbers[k];
    *pin_at(h, nets.used + open.count) = rules.shift;
    close_net(h, nets, open, rules.small_nets);
    open = open_net(h);
    move_to_line(lines, at, split.ends[k]);
  }
  if (nets.j <= h->_n) take_numbers(h, nets, open, next, split.behind, rules);
  return true;
}

// Reads net lines as long as they hold nothing but unsigned numbers, with no reason to end the program, and
// there is room for these; does the same as `read_slowly` for each of them.
//
// @param open   The net that the text from `at` on is about.
// @param lines  The line before it; moves on to the last one that was finished.
// @return       Where it stopped, in the line behind that.
const char* read_plain_nets(Hypergraph* h, NetsRead& nets, OpenNet& open, Lines& lines, const char* at,
                            const char* end, const NetRules& rules) {
  const std::int64_t room = std::int64_t{h->_p} + 2;
  const bool has_weights = (h->_fmt & kNetWeights) != 0;
  Numbers numbers;
  while (at < end && nets.j <= h->_n) {
    if (!has_weights) at = read_plain_pins(h, nets, open, lines, at, end, rules);
    look_at(at, end, numbers);
    if (numbers.run.size == 0 || nets.used + open.count + numbers.run.count >= room) break;
    if (!take_run(h, nets, open, lines, at, numbers, rules)) break;
    at += numbers.run.size;
  }
  return at;
}

// Reads the line fetched last, from `at` on.
void read_fetched_net(Hypergraph* h, NetsRead& nets, OpenNet& open, Lines& lines, const char* at,
                      const NetRules& rules) {
  const std::size_t end = lines.end;
  const int nread = nets.j + nets.nremoved_nets;
  lines.end = lines.begin;
  at = read_plain_nets(h, nets, open, lines, at, lines.text + end, rules);
  lines.end = end;
  if (nets.j + nets.nremoved_nets != nread) return;
  read_slowly(h, nets, open, lines, at, rules);
  if (is_refused(open, rules.small_nets)) {
    set_back(lines);
    errexit("file contains a net with weight %d but net doesn't have any pin.", open.w);
  }
  close_net(h, nets, open, rules.small_nets);
}

NetsRead read_nets(Hypergraph* h, Lines& lines, const NetRules& rules) {
  NetsRead nets;
  while (nets.j <= h->_n) {
    OpenNet open = open_net(h);
    const char* at = read_plain_nets(h, nets, open, lines, line_end(lines), whole_lines_end(lines), rules);
    if (nets.j > h->_n) break;

    const std::ptrdiff_t done = at - line_end(lines);  // bytes of the line that is fetched now
    next_line(lines);
    if (lines.at_end) break;
    if (too_long(lines, line_length(lines))) {
      set_back(lines);
      if (rules.small_nets == SmallNets::kKeep) errexit("read_hypergraph: Buffer for fgets not big enough.");
      errexit("read_hypergraph: Buffer for fgets not big enough for net %d\n.", nets.j);
    }
    read_fetched_net(h, nets, open, lines, line_begin(lines) + done, rules);
  }
  return nets;
}

// Sets the sentinel, and before it the nets that the file ended before, as nets without pins.
void close_nets(Hypergraph* h, const NetsRead& nets) {
  int* const end = h->_cell_list + nets.used;
  h->_nlst[nets.j].pins = end;
  for (int j = nets.j; j <= h->_n; ++j) {
    h->_nlst[j].w = 0;
    h->_nlst[j].pinsend = end - 1;
    h->_nlst[j + 1].pins = end;
  }
}

// Fetches a line of cell weights; false at the end of the input. The reader that keeps small nets looks at
// the line before it asks for the end: at the end that is the line before, still in the buffer.
bool next_weight_line(Lines& lines, SmallNets small_nets) {
  next_line(lines);
  if (small_nets == SmallNets::kFold && lines.at_end) return false;
  const std::size_t length = line_length(lines);
  if (too_long(lines, length)) {
    set_back(lines);
    errexit("read_hypergraph: Buffer for fgets not big enough.");
  }
  if (length == 0 || line_begin(lines)[length - 1] != '\n') {
    set_back(lines);
    lines.text[lines.end] = '\0';
    errexit("read_hypergraph: no newline at the end of line '%s'\n", line_begin(lines));
  }
  return !lines.at_end;
}

// Where the next cell weight goes.
struct WeightsRead {
  std::int64_t i = 1;
  std::int64_t k = 0;  // how many numbers of cell i have been read
  int per_cell;
};

void take_weight(Hypergraph* h, WeightsRead& weights, int w) {
  if (weights.k == 0) {
    // The last line may hold numbers too many: they count, and the sentinel has room for the first of them.
    if (weights.i <= h->_c + 1) h->_clst[weights.i].w = w;
    add_wrapping(h->_totcw, w);
  }
  if (++weights.k == weights.per_cell) {
    weights.k = 0;
    ++weights.i;
  }
}

// Reads weights as long as there is nothing but unsigned numbers, and cells that wait for theirs behind them.
// Returns where it stopped, in the line behind the last one that was finished, which is in `lines`.
const char* read_plain_weights(Hypergraph* h, WeightsRead& weights, Lines& lines, const char* at,
                               const char* end) {
  Numbers numbers;
  int values[kMostInRun];
  while (at < end) {
    look_at(at, end, numbers);
    const int count = numbers.run.count;
    if (numbers.run.size == 0 || weights.i + count > h->_c) break;
    store_numbers(numbers.text, numbers.run, 0, 0, values);
    for (int k = 0; k < count; ++k) take_weight(h, weights, values[k]);
    for (std::uint64_t line_ends = numbers.run.line_ends; line_ends != 0; line_ends &= line_ends - 1)
      move_to_line(lines, at, lowest_bit(line_ends) + 1);
    at += numbers.run.size;
  }
  return at;
}

void read_cell_weights(Hypergraph* h, Lines& lines, const Header& header, int check, SmallNets small_nets) {
  WeightsRead weights{.per_cell = header.weights_per_cell};
  while (weights.i <= h->_c) {
    const char* at = read_plain_weights(h, weights, lines, line_end(lines), whole_lines_end(lines));
    const std::ptrdiff_t done = at - line_end(lines);  // bytes of the line that is fetched now
    if (!next_weight_line(lines, small_nets)) break;
    at = line_begin(lines) + done;
    for (int w = 0; scan_int(at, line_end(lines), w);) take_weight(h, weights, w);
  }

  if (weights.i <= h->_c && check != 0)
    uwarning("read_hypergraph: some cell (vertex) weights are missing, initializing to 1");
  for (; weights.i <= h->_c; ++weights.i) {
    h->_clst[weights.i].w = 1;
    add_wrapping(h->_totcw, 1);
  }
}

int read_stream(Hypergraph* h, std::FILE* ifp, int check, SmallNets small_nets) {
  *h = Hypergraph{};
  Lines lines{ifp, static_cast<char*>(umalloc(kLineSize, "read_hypergraph : line")), kLineSize};
  const Header header = read_header(lines);
  take_header(h, header);
  if (small_nets == SmallNets::kFold) grow_line_buffer(lines, h->_p, "read_hypergraph: line");
  allocate_net_side(h);
  if (small_nets == SmallNets::kKeep) grow_line_buffer(lines, h->_p, "read_hypergraph: line");
  int* const work = check != 0 ? allocate_work(h->_c) : nullptr;
  init_cells(h);

  begin_reading_ahead(lines);
  const NetsRead nets = read_nets(h, lines, {header.shift, work, small_nets});
  if (work != nullptr) _usfree(work);
  if (nets.npins != h->_p) {
    set_back(lines);
    errexit("read_hypergraph: Something wrong with the pins from input file %d %d\n", h->_p,
            as_int(nets.npins));
  }
  h->_p -= nets.nremoved_pins;
  close_nets(h, nets);

  if ((h->_fmt & kCellWeights) != 0)
    read_cell_weights(h, lines, header, check, small_nets);
  else
    h->_totcw = h->_c;
  set_back(lines);
  _usfree(lines.text);
  return nets.nremoved_nets;
}

int read_named(Hypergraph* h, const char* filename, int check, SmallNets small_nets) {
  std::FILE* const ifp = ufopen(filename, "r", "read_hypergraph");
  const int nremoved = read_stream(h, ifp, check, small_nets);
  ufclose(ifp);
  return nremoved;
}

// Net arrays while they are read. A file may have more pins than announced: they are counted and not stored.
struct NetArrays {
  int* xnadj;
  int* nadj;
  std::int64_t room;  // entries of nadj
  std::int64_t npins = 0;
};

NetArrays allocate_net_arrays(const Header& header) {
  const std::int64_t nnets = std::max(header.nnets, 0);
  const std::int64_t room = std::int64_t{std::max(header.npins, 0)} + 2;
  int* const xnadj = imalloc(nnets + 2, "read_hypergraph_netar: xnadj");
  return {xnadj, imalloc(room, "read_hypergraph_netar: nadj"), room};
}

// Reads the rest of a net line, and appends behind its cell numbers the value of the attempt that found none.
void append_slowly(NetArrays& arrays, const char* at, const char* end, int shift) {
  for (bool found = true; found; arrays.npins += found ? 1 : 0) {
    int id = 0;
    found = scan_int(at, end, id);
    add_wrapping(id, shift);
    if (arrays.npins < arrays.room) arrays.nadj[arrays.npins] = id;
  }
}

// Appends numbers of a net: a weight that is due goes nowhere, the others are pins.
void append_numbers(NetArrays& arrays, bool& weight_due, const int* numbers, int count, int shift) {
  const bool skipped = weight_due && count > 0;
  if (skipped) weight_due = false;
  for (int k = skipped ? 1 : 0; k < count; ++k) {
    arrays.nadj[arrays.npins] = numbers[k];
    add_wrapping(arrays.nadj[arrays.npins++], shift);
  }
}

// Reads net lines as long as they hold nothing but unsigned numbers and there is room for these. Returns
// where it stopped, in the line behind the last one that was finished, which is in `lines`.
const char* append_plain_nets(NetArrays& arrays, std::int64_t& j, bool& weight_due, Lines& lines,
                              const char* at, const char* end, const Header& header) {
  const bool has_weights = (header.fmt & kNetWeights) != 0;
  Numbers numbers;
  int values[kMostInRun];
  while (at < end && j <= header.nnets) {
    look_at(at, end, numbers);
    if (numbers.run.size == 0 || arrays.npins + numbers.run.count >= arrays.room) break;
    RunLines split;
    split_into_lines(numbers.run, split);
    // Pins that are all to be had are stored where they belong.
    const bool direct = !has_weights && j + split.count <= header.nnets;
    // cppcheck-suppress legacyUninitvar ; the values are about to be stored
    int* next = direct ? arrays.nadj + arrays.npins : values;
    store_numbers(numbers.text, numbers.run, direct ? header.shift : 0, 0, next);
    for (int k = 0; k <= split.count && j <= header.nnets; ++k) {
      const int count = k < split.count ? split.numbers[k] : split.behind;
      if (direct)
        arrays.npins += count;
      else
        append_numbers(arrays, weight_due, next, count, header.shift);
      next += count;
      if (k == split.count) break;
      arrays.xnadj[++j] = as_int(arrays.npins);
      weight_due = has_weights;
      move_to_line(lines, at, split.ends[k]);
      if (!direct || (k + 1 == split.count && split.behind == 0)) arrays.nadj[arrays.npins] = header.shift;
    }
    at += numbers.run.size;
  }
  return at;
}

// Gives nets j .. nnets the `size` pins of the net before, as far as there is room, with what stands behind
// the last of them.
void repeat_net(NetArrays& arrays, std::int64_t j, int nnets, std::int64_t size, int behind) {
  for (; j <= nnets; ++j) {
    const std::int64_t nstored = std::min(arrays.room - arrays.npins, size);
    if (nstored > 0) std::copy_n(arrays.nadj + arrays.npins - size, nstored, arrays.nadj + arrays.npins);
    arrays.npins += size;
    if (arrays.npins < arrays.room) arrays.nadj[arrays.npins] = behind;
    arrays.xnadj[j + 1] = as_int(arrays.npins);
  }
}

// Whether a line was read is not asked: at the end of the input, a missing net line is the line before once
// more. It is parsed once for all of them: a file of a few bytes may announce millions of nets.
void read_net_arrays(NetArrays& arrays, Lines& lines, const Header& header) {
  std::int64_t j = 1;
  arrays.xnadj[1] = 0;
  while (j <= header.nnets) {
    bool weight_due = (header.fmt & kNetWeights) != 0;
    const char* at =
        append_plain_nets(arrays, j, weight_due, lines, line_end(lines), whole_lines_end(lines), header);
    if (j > header.nnets) break;

    const bool is_missing = lines.at_end && std::feof(lines.stream) != 0;
    const std::int64_t npins_before = arrays.npins;
    const std::ptrdiff_t done = at - line_end(lines);  // bytes of the line that is fetched now
    next_line(lines);
    if (too_long(lines, line_length(lines)))
      errexit("read_hypergraph_netar: Buffer for fgets not big enough.");
    at = line_begin(lines) + done;
    if (weight_due) {
      int ignored_weight = 0;
      scan_int(at, line_end(lines), ignored_weight);
    }
    append_slowly(arrays, at, line_end(lines), header.shift);
    arrays.xnadj[++j] = as_int(arrays.npins);
    if (is_missing) return repeat_net(arrays, j, header.nnets, arrays.npins - npins_before, header.shift);
  }
}

// Smallest and largest of the sizes or degrees seen.
struct Range {
  int min = kNoMinimum;
  int max = -1;

  void take(int value) {
    min = std::min(min, value);
    max = std::max(max, value);
  }
};

char* print_pins(Printer& printer, char* at, const Net& net, int shift) {
  for (const int i : pins_of(net)) at = print_with_blank(make_room(printer, at), i - shift);
  return at;
}

Range write_nets(const Hypergraph* h, std::FILE* ofp, int shift, int fmt) {
  Printer printer(ofp);
  char* at = printer.block;
  Range sizes;
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    at = make_room(printer, at);
    *at++ = '\n';
    if ((fmt & kNetWeights) != 0) at = print_with_blank(at, net.w);
    at = print_pins(printer, at, net, shift);
    sizes.take(net_size(net));
  }
  flush(printer, at);
  return sizes;
}

// Writes a value for each of `count` cells, 100 a line. The line ends behind the hundredth.
template <typename ValueOf>
void write_lines_of_100(std::FILE* ofp, int count, ValueOf value_of) {
  Printer printer(ofp);
  char* at = printer.block;
  for (int ndone = 0; ndone < count;) {
    at = print_with_blank(make_room(printer, at), value_of(++ndone));
    if (ndone % 100 == 0) *at++ = '\n';
  }
  flush(printer, at);
}

// Averages over no cells or no nets are what the division by zero gives.
void write_statistics(const Hypergraph* h, std::FILE* ofp, const Range& sizes) {
  Range degrees;
  for (int i = 1; i <= h->_c; ++i) degrees.take(degree(h->_clst[i]));
  std::fprintf(ofp, "\n%% ------ Hypergraph info -------");
  std::fprintf(ofp, "\n #Cells           : %7d", h->_c);
  std::fprintf(ofp, "\n #Nets            : %7d", h->_n);
  std::fprintf(ofp, "\n #Pins            : %7d", h->_p);
  std::fprintf(ofp, "\n Min. Cells Deg.  : %7d", degrees.min);
  std::fprintf(ofp, "\n Max. Cells Deg.  : %7d", degrees.max);
  std::fprintf(ofp, "\n Avg. Cells Deg.  : %7.3lf", static_cast<double>(h->_p) / h->_c);
  std::fprintf(ofp, "\n Min. Nets Size   : %7d", sizes.min);
  std::fprintf(ofp, "\n Max. Nets Size   : %7d", sizes.max);
  std::fprintf(ofp, "\n Avg. Nets Size   : %7.3lf", static_cast<double>(h->_p) / h->_n);
}

}  // namespace

int read_hypergraphFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  return read_stream(h, ifp, check, SmallNets::kFold);
}

int read_hypergraph(Hypergraph* h, const char* filename, int check) {
  return read_named(h, filename, check, SmallNets::kFold);
}

int read_hypergraph_with_onepin_netsFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  return read_stream(h, ifp, check, SmallNets::kKeep);
}

int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check) {
  read_named(h, filename, check, SmallNets::kKeep);
  return 1;
}

int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt) {
  if (fmt < 0 || fmt > 3) errexit("write_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbering < 0 || numbering > 1)
    errexit("write_hypergraph : invalid numbering parameter [%d]", numbering);

  std::fprintf(ofp, "%% This file is created by Quillon v1.1");
  std::fprintf(ofp, "\n%% Quillon, a hypergraph partitioning library, by the Quillon authors\n%%\n");
  std::fprintf(ofp, "%d %d %d %d %d", numbering, h->_c, h->_n, h->_p, fmt);
  const Range sizes = write_nets(h, ofp, 1 - numbering, fmt);
  if ((fmt & kCellWeights) != 0) {
    std::fprintf(ofp, "\n%% ------ Cell weights -------\n");
    write_lines_of_100(ofp, h->_c, [h](int i) { return h->_clst[i].w; });
  }
  write_statistics(h, ofp, sizes);
  return 0;
}

int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt) {
  std::FILE* const ofp = ufopen(filename, "w", "write_hypergraph");
  write_hypergraph2File(h, ofp, numbering, fmt);
  ufclose(ofp);
  return 0;
}

void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj) {
  int* const starts = *xnadj = imalloc(std::int64_t{h->_n} + 2, "hypergraph_Fill2Arr: xnadj");
  int* const pins = *nadj = imalloc(std::int64_t{h->_p} + 2, "read_hypergraph_netar: nadj");
  int* cursor = pins;
  for (int j = 1; j <= h->_n; ++j) {
    starts[j] = static_cast<int>(cursor - pins);
    const std::span<const int> list = pins_of(h->_nlst[j]);
    cursor = std::copy(list.begin(), list.end(), cursor);
  }
  starts[std::max(h->_n, 0) + 1] = static_cast<int>(cursor - pins);
}

void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal) {
  const std::int64_t most_pins = std::int64_t{xnadj[nnets + 1]} + (diagonal != nullptr ? ncells : 0);
  if (most_pins > std::numeric_limits<int>::max())
    errexit("hypergraph_LoadFromArr: %d pins and a diagonal of %d are too many", xnadj[nnets + 1], ncells);
  h->_c = ncells;
  h->_n = nnets;
  h->_p = static_cast<int>(most_pins);
  malloc_hypergraph(h);

  int* cursor = h->_cell_list;
  for (int j = 1; j <= nnets; ++j) {
    Net& net = h->_nlst[j];
    net.pins = cursor;
    if (xnadj[j] < xnadj[j + 1]) cursor = std::copy(nadj + xnadj[j], nadj + xnadj[j + 1], cursor);
    if (diagonal != nullptr && j <= ncells && diagonal[j] == 0) *cursor++ = j;
    net.pinsend = cursor - 1;
    net.w = 1;
  }
  h->_nlst[nnets + 1].pins = cursor;
  h->_p = static_cast<int>(cursor - h->_cell_list);
  for (int i = 1; i <= ncells; ++i) h->_clst[i].w = 1;

  int* const work = imalloc(std::int64_t{ncells} + 2, "hypergraph_LoadFromArr: work");
  construct_net_list(h, work);
  _usfree(work);
}

void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj) {
  char* const text = static_cast<char*>(umalloc(kLineSize, "read_hypergraph_netar : line"));
  Lines lines{ufopen(filename, "r", "read_hypergraph_netar"), text, kLineSize};
  const Header header = read_header(lines);
  *ncells = header.ncells;
  *nnets = header.nnets;
  grow_line_buffer(lines, header.npins, "read_hypergraph_netar: line");

  NetArrays arrays = allocate_net_arrays(header);
  *xnadj = arrays.xnadj;
  *nadj = arrays.nadj;
  begin_reading_ahead(lines);
  read_net_arrays(arrays, lines, header);
  if (arrays.npins != header.npins)
    errexit("read_hypergraph_netar: Something wrong with the pins from input file %d %d\n", header.npins,
            as_int(arrays.npins));
  arrays.xnadj[std::int64_t{std::max(header.nnets, 0)} + 1] = header.npins;
  _usfree(lines.text);
  ufclose(lines.stream);
}

int write_hmetis_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_hmetis_hypergraph");
  std::fprintf(ofp, "%d %d 11", h->_n, h->_c);
  Printer printer(ofp);
  char* at = printer.block;
  for (int j = 1; j <= h->_n; ++j) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_pins(printer, print_with_blank(at, h->_nlst[j].w), h->_nlst[j], 0);
  }
  for (int i = 1; i <= h->_c; ++i) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_with_blank(at, h->_clst[i].w);
  }
  flush(printer, at);
  ufclose(ofp);
  return 0;
}

int write_kub_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_kub_hypergraph");
  std::fprintf(ofp, "%d\n%d", h->_c, h->_n);
  Printer printer(ofp);
  char* at = printer.block;
  for (int j = 1; j <= h->_n; ++j) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_with_blank(at, h->_nlst[j].w);
    at = print(make_room(printer, at), net_size(h->_nlst[j]));
    for (const int i : pins_of(h->_nlst[j])) {
      at = make_room(printer, at);
      *at++ = ' ';
      at = print(at, i - 1);
    }
  }
  for (int i = 1; i <= h->_c; ++i) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print(at, h->_clst[i].w);
  }
  flush(printer, at);
  std::fclose(ofp);
  return 0;
}

void write_part_info(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  write_lines_of_100(ofp, h->_c, [h](int i) { return h->_clst[i].pno; });
  ufclose(ofp);
}

void write_partvec(int n, const int* partvec, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  write_lines_of_100(ofp, n, [partvec](int i) { return partvec[i]; });
  ufclose(ofp);
}

void read_part_info(Hypergraph* h, const char* filename) {
  int* const parts = imalloc(std::int64_t{h->_c} + 1, "read_part_info: ta");
  read_array(filename, parts, h->_c, 1);
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].pno = parts[i];
  _usfree(parts);
}

}  // namespace quillon
