#pragma once
/// @file
/// Reads the net lines of the text format into a record. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/scan.h"
#include "hypergraph/hypergraph.h"
#include "util/digits.h"
#include "util/util.h"

namespace quillon {

/// Fills the nets of a record; a Reader for `read_lines`.
///
/// A line is the open net until its end has been read. What it does stands in `append`, which gives the net
/// numbers, and `close_net`, which ends it. The fast path hands over the numbers of many lines scanned at
/// once, the slow path one number at a time.
///
/// A file may have more pins than announced, which is refused once all are counted: until then the surplus is
/// counted and not stored.
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
        folds_(small_nets == SmallNets::kFold),
        has_weights_((h->_fmt & kNetWeights) != 0),
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
  struct OpenNet {
    bool weight_due;
    int w;                   // 0 while it is due
    std::int64_t count = 0;  // pins
    int last = 0;            // the last pin
  };

  [[nodiscard]] OpenNet new_net() const { return {has_weights_, has_weights_ ? 0 : 1}; }

  [[nodiscard]] bool is_cell(int id) const { return id >= 1 && id <= h_->_c; }

  [[nodiscard]] std::int64_t next_place() const { return used_ + open_.count; }

  // Entry `index` of _cell_list, or its end.
  [[nodiscard]] int* pin_at(std::int64_t index) const { return h_->_cell_list + std::min(index, room_); }

  int add_stored(const char* text);
  int add_one_by_one(const char* text);
  void append(const int* numbers, int count);
  void store_after_pins();
  void close_net();
  void remove_net();

  bool store_together();
  [[nodiscard]] bool keeps_all_lines() const;
  [[nodiscard]] bool are_sound(const int* numbers, int count) const;
  static void mark(int* work, int j, int id);
  static void warn_of_duplicate(int j, int id);
  void mark_scanned() const;
  [[noreturn]] void refuse_cell(int id) const;

  Hypergraph* h_;
  Lines& lines_;
  int shift_;
  int* work_;
  bool folds_;
  bool has_weights_;
  std::int64_t room_;  // entries of _cell_list

  int j_ = 1;               // the net to be filled next
  std::int64_t used_ = 0;   // entries of _cell_list that the nets before it occupy
  std::int64_t npins_ = 0;  // cell numbers read, those of removed nets included
  int nremoved_nets_ = 0;
  int nremoved_pins_ = 0;
  OpenNet open_;
  Scanned scanned_;
};

/// Parses unsigned numbers only. Stops at a number that is no cell if its line is not complete.
inline const char* NetReader::read_fast(const char* at, const char* end) {
  while (at < end && !is_done()) {
    scan_numbers(at, end, scanned_);
    if (scanned_.size == 0) break;
    const int size = store_together() ? add_stored(at) : add_one_by_one(at);
    at += size;
    if (size < scanned_.size) break;
  }
  return at;
}

/// Adds what `store_together` has stored to the nets. Returns the number of bytes that were scanned.
inline int NetReader::add_stored(const char* text) {
  if (work_ != nullptr) mark_scanned();
  int before = 0;
  for (int k = 0; k < scanned_.nlines; ++k) {
    const int count = scanned_.lines[k].count;
    open_.count += count - before;
    close_net();
    before = count;
  }
  if (scanned_.count > before) {
    open_.count += scanned_.count - before;
    open_.last = scanned_.numbers[scanned_.count - 1] + shift_;
  } else {
    store_after_pins();
  }
  const std::size_t offset = static_cast<std::size_t>(text - lines_.text);
  const int nlines = scanned_.nlines;
  for (int k = std::max(0, nlines - 2); k < nlines; ++k)
    move_to_line(lines_, lines_.end, offset + static_cast<std::size_t>(scanned_.lines[k].end));
  return scanned_.size;
}

/// Adds what was scanned to the nets. Returns the number of bytes up to where it stopped: at the end of the
/// last net, or at an incomplete line with a number that is no cell.
inline int NetReader::add_one_by_one(const char* text) {
  const int* numbers = scanned_.numbers;
  int size = 0;
  for (int k = 0; k < scanned_.nlines; ++k) {
    if (is_done()) return size;
    const int* const next = scanned_.numbers + scanned_.lines[k].count;
    size = scanned_.lines[k].end;
    move_to_line(lines_, lines_.end, static_cast<std::size_t>(text + size - lines_.text));
    append(numbers, static_cast<int>(next - numbers));
    store_after_pins();
    close_net();
    numbers = next;
  }
  const int rest = static_cast<int>(scanned_.numbers + scanned_.count - numbers);
  if (is_done() || !are_sound(numbers, rest)) return size;
  append(numbers, rest);
  return scanned_.size;
}

inline bool NetReader::fetch() {
  fetch_data_line(lines_);
  if (lines_.at_end) return false;
  if (is_too_long(lines_, line_length(lines_))) {
    set_back(lines_);
    if (!folds_) errexit("read_hypergraph: Buffer for fgets not big enough.");
    errexit("read_hypergraph: Buffer for fgets not big enough for net %d\n.", j_);
  }
  return true;
}

/// Long lines that were not buffered go through the fast path here.
inline void NetReader::read_line(const char* at) {
  if (line_end(lines_) - at >= kRunText) {
    const std::size_t end = lines_.end;
    const int nread = j_ + nremoved_nets_;
    lines_.end = lines_.begin;  // the fast path moves on to this line when it completes it
    at = read_fast(at, lines_.text + end);
    lines_.end = end;
    if (j_ + nremoved_nets_ != nread) return;
  }

  for (int number = 0; scan_int(at, line_end(lines_), number);) append(&number, 1);
  store_after_pins();
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

/// Adds numbers to the open net: its weight if that is due, then pins.
inline void NetReader::append(const int* numbers, int count) {
  const int* const end = numbers + count;
  if (open_.weight_due && numbers != end) {
    open_.w = *numbers++;
    open_.weight_due = false;
  }
  for (; numbers != end; ++numbers) {
    int id = *numbers;
    add_wrapping(id, shift_);
    if (next_place() < room_) *pin_at(next_place()) = id;
    if (!is_cell(id)) refuse_cell(id);
    if (work_ != nullptr) mark(work_, j_, id);
    open_.last = id;
    ++open_.count;
  }
}

/// The entry after the last pin gets the value of the attempt that finds no number, 0 plus the shift; the
/// array has spare room for it.
inline void NetReader::store_after_pins() {
  if (next_place() < room_) *pin_at(next_place()) = shift_;
}

/// Ends the open net and opens the next.
inline void NetReader::close_net() {
  npins_ += open_.count;
  add_wrapping(h_->_totnw, open_.w);
  if (open_.count < 2 && folds_) {
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
    if (open_.w >= 2) {
      set_back(lines_);
      errexit("file contains a net with weight %d but net doesn't have any pin.", open_.w);
    }
  }
  ++nremoved_nets_;
  --h_->_n;
}

/// Stores the numbers scanned, if all of them are cells of nets that are kept: one copy for many nets.
/// Returns false, and stores nothing of use, for any others.
inline bool NetReader::store_together() {
  const int count = scanned_.count;
  if (has_weights_ || next_place() + count >= room_) return false;
  if (scanned_.nlines > h_->_n - j_) return false;  // the numbers after the last line end need a net
  if (folds_ && !keeps_all_lines()) return false;
  const int shift = shift_;
  const int ncells = h_->_c;
  const int* const numbers = scanned_.numbers;
  int* const pins = pin_at(next_place());
  int nwrong = 0;
  for (int k = 0; k < count; ++k) {
    const int id = numbers[k] + shift;
    nwrong += id < 1 || id > ncells ? 1 : 0;
    pins[k] = id;
  }
  return nwrong == 0;
}

/// Whether each line that was scanned to its end has two numbers or more.
inline bool NetReader::keeps_all_lines() const {
  std::int64_t before = -open_.count;
  int nsmall = 0;
  for (int k = 0; k < scanned_.nlines; ++k) {
    nsmall += scanned_.lines[k].count - before < 2 ? 1 : 0;
    before = scanned_.lines[k].count;
  }
  return nsmall == 0;
}

/// Whether the numbers may be appended to the open net without an error.
inline bool NetReader::are_sound(const int* numbers, int count) const {
  const int* const pins = numbers + (open_.weight_due && count > 0 ? 1 : 0);
  return std::all_of(pins, numbers + count, [this](int number) { return is_cell(number + shift_); });
}

/// Warns if the cell is on net j already.
inline void NetReader::mark(int* work, int j, int id) {
  if (work[id] == j) [[unlikely]]
    warn_of_duplicate(j, id);
  work[id] = j;
}

// Inlined, it would slow down the loop over marks.
[[gnu::noinline]] inline void NetReader::warn_of_duplicate(int j, int id) {
  uwarning("read_hypergraph: \n %d is already added to net list of %d", id, j);
}

/// Marks the cells that `store_together` has stored, the first of them with the open net.
inline void NetReader::mark_scanned() const {
  int* const work = work_;
  const int* const pins = pin_at(next_place());
  int done = 0;
  for (int k = 0; k <= scanned_.nlines; ++k) {
    const int end = k < scanned_.nlines ? scanned_.lines[k].count : scanned_.count;
    for (; done < end; ++done) mark(work, j_ + k, pins[done]);
  }
}

inline void NetReader::refuse_cell(int id) const {
  set_back(lines_);
  errexit("invalid vertex/cell id %d in the  vertex/cell list of net %d", id, j_);
}

}  // namespace quillon
