#pragma once
/// @file
/// Reads the cell weights of the text format into a record. Internal to `hypergraph/`.

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

/// Sets the weights of the cells and adds them to `_totcw`; a Reader for `read_lines`.
class WeightsReader {
 public:
  /// @param h           With `_c` cells and room for the sentinel.
  /// @param lines       After the last net line.
  /// @param per_cell    Numbers of each cell, of which the first is its weight.
  /// @param small_nets  The reader that keeps small nets checks a line before it tests for the end of the
  ///                    input.
  WeightsReader(Hypergraph* h, Lines& lines, int per_cell, SmallNets small_nets)
      : h_(h), lines_(lines), per_cell_(per_cell), small_nets_(small_nets) {}

  [[nodiscard]] bool is_done() const { return i_ > h_->_c; }

  /// Parses unsigned numbers only, whole lines where the last cell may be reached: whether there are enough
  /// weights is tested between lines.
  const char* read_fast(const char* at, const char* end) {
    while (at < end && !is_done()) {
      scan_numbers(at, end, scanned_);
      if (scanned_.size == 0) break;
      const char* const text = at;
      int ndone = 0;
      for (int k = 0; k < scanned_.nlines && !is_done(); ++k) {
        const Scanned::Line& line = scanned_.lines[k];
        at = text + line.end;
        move_to_line(lines_, lines_.end, static_cast<std::size_t>(at - lines_.text));
        while (ndone < line.count) add(scanned_.numbers[ndone++]);
      }
      if (i_ + (scanned_.count - ndone) > h_->_c) return at;
      while (ndone < scanned_.count) add(scanned_.numbers[ndone++]);
      at = text + scanned_.size;
    }
    return at;
  }

  bool fetch() {
    fetch_data_line(lines_);
    if (small_nets_ == SmallNets::kFold && lines_.at_end) return false;

    const std::size_t length = line_length(lines_);
    if (is_too_long(lines_, length)) {
      set_back(lines_);
      errexit("read_hypergraph: Buffer for fgets not big enough.");
    }
    if (length == 0 || line_begin(lines_)[length - 1] != '\n') {
      set_back(lines_);
      lines_.text[lines_.end] = '\0';
      errexit("read_hypergraph: no newline at the end of line '%s'\n", line_begin(lines_));
    }
    return !lines_.at_end;
  }

  void read_line(const char* at) {
    for (int w = 0; scan_int(at, line_end(lines_), w);) add(w);
  }

  /// Gives the cells that the file has no weight for the weight 1.
  ///
  /// @param warn  Whether to warn of them.
  void finish(bool warn) {
    if (is_done()) return;
    if (warn) uwarning("read_hypergraph: some cell (vertex) weights are missing, initializing to 1");
    for (; i_ <= h_->_c; ++i_) {
      h_->_clst[i_].w = 1;
      add_wrapping(h_->_totcw, 1);
    }
  }

 private:
  void add(int number) {
    if (k_ == 0) {
      // The last line may hold surplus numbers: they count, and the sentinel has room for the first of them.
      if (i_ <= h_->_c + 1) h_->_clst[i_].w = number;
      add_wrapping(h_->_totcw, number);
    }
    if (++k_ == per_cell_) {
      k_ = 0;
      ++i_;
    }
  }

  Hypergraph* h_;
  Lines& lines_;
  std::int64_t per_cell_;
  SmallNets small_nets_;
  std::int64_t i_ = 1;  // the next number belongs to this cell
  std::int64_t k_ = 0;  // numbers of cell i that have been read
  Scanned scanned_;
};

}  // namespace quillon
