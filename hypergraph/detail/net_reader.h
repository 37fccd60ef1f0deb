#pragma once
/// @file
/// Reads the net lines of the text format into a record. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hypergraph/detail/digits.h"
#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/scan.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {

/// Fills the nets of a record; a Reader for `read_lines`.
///
/// Numbers are stored in `_cell_list` as they are parsed. A file may have more pins than announced, which is
/// refused once all are counted: until then the surplus is counted and not stored.
class NetReader {
 public:
  /// @param h           With the counts of the header, room for them, totals of 0 and initialised cells.
  /// @param lines       After the header line.
  /// @param shift       To add to the file's cell numbers: 0 or 1.
  /// @param work        By cell, zeros: the last net that names it. Null: no warnings of duplicate pins.
  /// @param small_nets  Whether to remove nets of fewer than two pins, which lowers `_n`.
  NetReader(Hypergraph* h, Lines& lines, int shift, int* work, SmallNets small_nets)
      : h_(h),
        lines_(lines),
        shift_(shift),
        work_(work),
        small_nets_(small_nets),
        room_(std::int64_t{h->_p} + 2),
        open_(new_net()) {}

  [[nodiscard]] bool is_done() const { return j_ > h_->_n; }

  const char* read_fast(const char* at, const char* end);

  bool fetch();

  void read_line(const char* at);

  /// Ends reading: corrects `_p`, makes the nets that the file lacks empty, and sets the sentinel.
  ///
  /// @return      Number of nets removed.
  /// @par Errors  A number of pins other than announced is fatal.
  int finish();

 private:
  // The net whose line is being read.
  struct OpenNet {
    bool weight_due;
    int w;                   // 0 while it is due
    std::int64_t count = 0;  // pins
    int last = 0;            // the last pin
  };

  [[nodiscard]] OpenNet new_net() const {
    const bool weight_due = (h_->_fmt & kNetWeights) != 0;
    return {weight_due, weight_due ? 0 : 1};
  }

  [[nodiscard]] bool is_cell(int id) const { return id >= 1 && id <= h_->_c; }

  [[nodiscard]] bool is_refused(const OpenNet& net) const {
    return small_nets_ == SmallNets::kFold && net.count == 0 && net.w >= 2;
  }

  // Entry `index` of _cell_list, or its end.
  [[nodiscard]] int* pin_at(std::int64_t index) const { return h_->_cell_list + std::min(index, room_); }

  void mark_pins(int j, const int* pins, std::int64_t count) const;
  const char* read_plain_pins(const char* at, const char* end);
  bool store_run(const char* at, const LeadingNumbers& numbers);
  [[nodiscard]] bool is_sound(const int* numbers, const RunLines& split) const;
  bool count_numbers(OpenNet& net, const int* numbers, int count) const;
  void append_numbers(const int* numbers, int count);
  void append_slowly(const char* at);
  void close_net();
  void remove_net();

  Hypergraph* h_;
  Lines& lines_;
  int shift_;
  int* work_;
  SmallNets small_nets_;
  std::int64_t room_;  // entries of _cell_list

  int j_ = 1;               // the net to be filled next
  std::int64_t used_ = 0;   // entries of _cell_list that the nets before it occupy
  std::int64_t npins_ = 0;  // cell numbers read, those of removed nets included
  int nremoved_nets_ = 0;
  int nremoved_pins_ = 0;
  OpenNet open_;
};

/// Parses unsigned numbers only, and only as far as there is room for them and no reason to end the program.
inline const char* NetReader::read_fast(const char* at, const char* end) {
  const bool has_weights = (h_->_fmt & kNetWeights) != 0;
  LeadingNumbers numbers;
  while (at < end && !is_done()) {
    if (!has_weights) at = read_plain_pins(at, end);
    find_leading_numbers(at, end, numbers);
    if (numbers.run.size == 0 || used_ + open_.count + numbers.run.count >= room_) break;
    if (!store_run(at, numbers)) break;
    at += numbers.run.size;
  }
  return at;
}

inline bool NetReader::fetch() {
  fetch_data_line(lines_);
  if (lines_.at_end) return false;
  if (is_too_long(lines_, line_length(lines_))) {
    set_back(lines_);
    if (small_nets_ == SmallNets::kKeep) errexit("read_hypergraph: Buffer for fgets not big enough.");
    errexit("read_hypergraph: Buffer for fgets not big enough for net %d\n.", j_);
  }
  return true;
}

/// Lines that were not buffered go through the fast path here.
inline void NetReader::read_line(const char* at) {
  const std::size_t end = lines_.end;
  const int nread = j_ + nremoved_nets_;
  lines_.end = lines_.begin;  // the fast path moves on to this line when it completes it
  at = read_fast(at, lines_.text + end);
  lines_.end = end;
  if (j_ + nremoved_nets_ != nread) return;

  append_slowly(at);
  if (is_refused(open_)) {
    set_back(lines_);
    errexit("file contains a net with weight %d but net doesn't have any pin.", open_.w);
  }
  close_net();
}

inline int NetReader::finish() {
  if (npins_ != h_->_p) {
    set_back(lines_);
    errexit("read_hypergraph: Something wrong with the pins from input file %d %d\n", h_->_p, as_int(npins_));
  }
  h_->_p -= nremoved_pins_;

  int* const end = h_->_cell_list + used_;
  h_->_nlst[j_].pins = end;
  for (int j = j_; j <= h_->_n; ++j) {
    h_->_nlst[j].w = 0;
    h_->_nlst[j].pinsend = end - 1;
    h_->_nlst[j + 1].pins = end;
  }
  return nremoved_nets_;
}

/// Warns of pins that net j has already.
inline void NetReader::mark_pins(int j, const int* pins, std::int64_t count) const {
  if (work_ == nullptr) return;
  for (std::int64_t k = 0; k < count; ++k) {
    const int id = pins[k];
    if (work_[id] == j) uwarning("read_hypergraph: \n %d is already added to net list of %d", id, j);
    work_[id] = j;
  }
}

/// Fast path: unweighted nets, none removed. Pins are stored in their final place before they are checked.
/// Stops before a run of any other kind, with a number that is no cell, or beyond the nets or the room for
/// pins.
///
/// One function, longer than others: its state has to stay in registers from run to run.
inline const char* NetReader::read_plain_pins(const char* at, const char* end) {
  const int ncells = h_->_c;
  const int shift = shift_;
  const bool folds = small_nets_ == SmallNets::kFold;
  int* const first_pin = h_->_cell_list + used_;
  int* const room_end = h_->_cell_list + room_;
  int* net_pins = first_pin;  // of the open net
  int* pin = net_pins + open_.count;
  Net* const first_net = h_->_nlst + j_;
  Net* const last_net = h_->_nlst + h_->_n;
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
      const std::uint64_t line = line_ends ^ (line_ends - 1);  // all bits up to its end
      int* const next_pins = pin + count_bits(ends & line);
      ends &= ~line;
      mark_pins(static_cast<int>(net - h_->_nlst), pin, next_pins - pin);
      pin = next_pins;
      *net++ = {1, net_pins, pin - 1};
      net_pins = pin;
      move_to_line(lines_, at, lowest_bit(line_ends) + 1);
    }
    mark_pins(static_cast<int>(net - h_->_nlst), pin, run_end - pin);
    pin = run_end;
    if (pin == net_pins) *pin = shift;  // as append_slowly stores after the last pin
    at += run.size;
  }

  add_wrapping(h_->_totnw, static_cast<int>(net - first_net));
  j_ += static_cast<int>(net - first_net);
  npins_ += net_pins - first_pin;
  used_ += net_pins - first_pin;
  open_.count = pin - net_pins;
  if (open_.count > 0) open_.last = pin[-1];
  return at;
}

/// Stores the numbers of any run, as far as there are nets. Returns false, without effect, if there is a
/// reason to end the program.
inline bool NetReader::store_run(const char* at, const LeadingNumbers& numbers) {
  RunLines split;
  split_into_lines(numbers.run, split);
  int values[kMostInRun];
  store_numbers(numbers.text, numbers.run, 0, 0, values);
  if (!is_sound(values, split)) return false;

  const int* next = values;
  for (int k = 0; k < split.count && !is_done(); ++k) {
    append_numbers(next, split.numbers[k]);
    next += split.numbers[k];
    *pin_at(used_ + open_.count) = shift_;
    close_net();
    move_to_line(lines_, at, split.ends[k]);
  }
  if (!is_done()) append_numbers(next, split.rest);
  return true;
}

/// Dry run: whether the numbers of a run give no reason to end the program.
inline bool NetReader::is_sound(const int* numbers, const RunLines& split) const {
  OpenNet net = open_;
  for (int k = 0; k < split.count; ++k) {
    if (!count_numbers(net, numbers, split.numbers[k]) || is_refused(net)) return false;
    numbers += split.numbers[k];
    net = new_net();
  }
  return count_numbers(net, numbers, split.rest);
}

/// As `append_numbers`, but stores no pins. Returns whether all of them are cells.
inline bool NetReader::count_numbers(OpenNet& net, const int* numbers, int count) const {
  for (int k = 0; k < count; ++k) {
    const int number = numbers[k];
    if (net.weight_due) {
      net.w = number;
      net.weight_due = false;
    } else {
      if (number < 1 - shift_ || number > h_->_c - shift_) return false;
      ++net.count;
    }
  }
  return true;
}

/// Adds numbers to the open net: its weight if that is due, then pins.
inline void NetReader::append_numbers(const int* numbers, int count) {
  if (open_.weight_due && count > 0) {
    open_.w = *numbers++;
    open_.weight_due = false;
    --count;
  }
  int* const pins = h_->_cell_list + used_ + open_.count;
  for (int k = 0; k < count; ++k) pins[k] = numbers[k] + shift_;
  mark_pins(j_, pins, count);
  open_.count += count;
  if (count > 0) open_.last = pins[count - 1];
}

/// Adds the rest of the line fetched last to the open net, number by number. The entry after the last pin
/// gets the value of the attempt that found no number, for which the array has spare room.
inline void NetReader::append_slowly(const char* at) {
  const char* const end = line_end(lines_);
  if (open_.weight_due) scan_int(at, end, open_.w);
  open_.weight_due = false;
  for (;; ++open_.count) {
    int id = 0;
    const bool found = scan_int(at, end, id);
    add_wrapping(id, shift_);
    const std::int64_t place = used_ + open_.count;
    if (place < room_) h_->_cell_list[place] = id;
    if (!found) return;
    if (!is_cell(id)) {
      set_back(lines_);
      errexit("invalid vertex/cell id %d in the  vertex/cell list of net %d", id, j_);
    }
    mark_pins(j_, &id, 1);
    open_.last = id;
  }
}

/// Ends the open net and opens the next.
inline void NetReader::close_net() {
  npins_ += open_.count;
  add_wrapping(h_->_totnw, open_.w);
  if (open_.count < 2 && small_nets_ == SmallNets::kFold) {
    remove_net();
  } else {
    Net& net = h_->_nlst[j_++];
    net.w = open_.w;
    net.pins = pin_at(used_);
    used_ += open_.count;
    net.pinsend = pin_at(used_) - 1;
  }
  open_ = new_net();
}

/// The next net gets the number of the open one and its place in _cell_list.
inline void NetReader::remove_net() {
  if (open_.count == 1) {
    add_wrapping(h_->_clst[open_.last].inw, open_.w);
    add_wrapping(h_->_totinw, open_.w);
    ++nremoved_pins_;
  } else {
    subtract_wrapping(h_->_totnw, open_.w);
    add_wrapping(h_->_virtualnets, open_.w);
  }
  ++nremoved_nets_;
  --h_->_n;
}

}  // namespace quillon
