#pragma once
/// @file
/// Reads the net lines of the text format into net arrays. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/scan.h"
#include "util/digits.h"
#include "util/util.h"

namespace quillon {

/// Number of nets, at least 0, and entries of `nadj` for a header, whose counts may be negative.
inline std::int64_t net_count(const Header& header) { return std::max(header.nnets, 0); }

inline std::int64_t pin_room(const Header& header) { return std::int64_t{std::max(header.npins, 0)} + 2; }

/// Fills net arrays; a Reader for `read_lines`. What a line does stands in `append` and `close_net`, as in
/// `NetReader`. A file may have more pins than announced: they are counted and not stored.
///
/// The end of the input is no error: a missing net line is the line before once more.
class NetArrayReader {
 public:
  /// @param header  Of the file.
  /// @param lines   After the header line.
  /// @param xnadj   Out, net_count + 2 entries.
  /// @param nadj    Out, pin_room entries.
  NetArrayReader(const Header& header, Lines& lines, int* xnadj, int* nadj)
      : header_(header),
        lines_(lines),
        xnadj_(xnadj),
        nadj_(nadj),
        room_(pin_room(header)),
        has_weights_((header.fmt & kNetWeights) != 0),
        weight_due_(has_weights_) {
    xnadj_[1] = 0;
  }

  [[nodiscard]] bool is_done() const { return j_ > header_.nnets; }

  const char* read_fast(const char* at, const char* end);

  bool fetch() {
    is_missing_ = lines_.at_end;
    fetch_data_line(lines_);
    if (is_too_long(lines_, line_length(lines_)))
      errexit("read_hypergraph_netar: Buffer for fgets not big enough.");
    return true;
  }

  void read_line(const char* at);

  /// Ends reading.
  ///
  /// @par Errors  A number of pins other than announced is fatal.
  void finish() {
    if (npins_ != header_.npins)
      errexit("read_hypergraph_netar: Something wrong with the pins from input file %d %d\n", header_.npins,
              as_int(npins_));
    xnadj_[net_count(header_) + 1] = header_.npins;
  }

 private:
  bool store_together();
  void append(const int* numbers, int count, bool stored);
  void close_net(bool stored);
  void repeat_last_net(std::int64_t size);

  Header header_;
  Lines& lines_;
  int* xnadj_;
  int* nadj_;
  std::int64_t room_;  // entries of nadj
  bool has_weights_;
  bool weight_due_;          // of the net being read
  bool is_missing_ = false;  // the line fetched last is the one before it once more
  std::int64_t j_ = 1;       // the net being read
  std::int64_t npins_ = 0;
  Scanned scanned_;
};

/// Parses unsigned numbers only.
inline const char* NetArrayReader::read_fast(const char* at, const char* end) {
  while (at < end && !is_done()) {
    scan_numbers(at, end, scanned_);
    if (scanned_.size == 0) break;
    const bool stored = store_together();
    const char* const text = at;
    const int* numbers = scanned_.numbers;
    for (int k = 0; k < scanned_.nlines; ++k) {
      if (is_done()) return at;
      const int* const next = scanned_.numbers + scanned_.lines[k].count;
      at = text + scanned_.lines[k].end;
      move_to_line(lines_, lines_.end, static_cast<std::size_t>(at - lines_.text));
      append(numbers, static_cast<int>(next - numbers), stored);
      close_net(stored);
      numbers = next;
    }
    if (is_done()) return at;
    append(numbers, static_cast<int>(scanned_.numbers + scanned_.count - numbers), stored);
    if (stored) nadj_[npins_] = header_.shift;
    at = text + scanned_.size;
  }
  return at;
}

inline void NetArrayReader::read_line(const char* at) {
  const std::int64_t npins_before = npins_;
  for (int number = 0; scan_int(at, line_end(lines_), number);) append(&number, 1, false);
  close_net(false);
  if (is_missing_) repeat_last_net(npins_ - npins_before);
}

/// Stores the numbers scanned, if all of them are pins that are needed: one copy for many nets.
inline bool NetArrayReader::store_together() {
  const int count = scanned_.count;
  if (has_weights_ || npins_ + count >= room_ || j_ + scanned_.nlines > header_.nnets) return false;
  const int shift = header_.shift;
  const int* const numbers = scanned_.numbers;
  int* const pins = nadj_ + npins_;
  for (int k = 0; k < count; ++k) pins[k] = numbers[k] + shift;
  return true;
}

/// Appends numbers of a net: a weight that is due is skipped, the others are pins.
///
/// @param stored  Whether they are in place.
inline void NetArrayReader::append(const int* numbers, int count, bool stored) {
  if (weight_due_ && count > 0) {
    weight_due_ = false;
    ++numbers;
    --count;
  }
  const std::int64_t nplaces = std::max<std::int64_t>(room_ - npins_, 0);
  for (std::int64_t k = 0; !stored && k < std::min<std::int64_t>(count, nplaces); ++k) {
    nadj_[npins_ + k] = numbers[k];
    add_wrapping(nadj_[npins_ + k], header_.shift);
  }
  npins_ += count;
}

/// Ends a net. The entry after its pins gets the value of the attempt that finds no number.
///
/// @param stored  Whether the pins of the next net are in place.
inline void NetArrayReader::close_net(bool stored) {
  if (!stored && npins_ < room_) nadj_[npins_] = header_.shift;
  xnadj_[++j_] = as_int(npins_);
  weight_due_ = has_weights_;
}

/// Gives all remaining nets the `size` pins of the net before, as far as there is room. The line is parsed
/// only once: a file of a few bytes may announce millions of nets.
inline void NetArrayReader::repeat_last_net(std::int64_t size) {
  while (!is_done()) {
    const std::int64_t nstored = std::min(room_ - npins_, size);
    if (nstored > 0) std::copy_n(nadj_ + npins_ - size, nstored, nadj_ + npins_);
    npins_ += size;
    close_net(false);
  }
}

}  // namespace quillon
