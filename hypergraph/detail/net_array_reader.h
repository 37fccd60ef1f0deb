#pragma once
/// @file
/// Reads the net lines of the text format into net arrays. Internal to `hypergraph/`.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "hypergraph/detail/digits.h"
#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/scan.h"
#include "util/util.h"

namespace quillon {

/// Number of nets, at least 0, and entries of `nadj` for a header, whose counts may be negative.
inline std::int64_t net_count(const Header& header) { return std::max(header.nnets, 0); }

inline std::int64_t pin_room(const Header& header) { return std::int64_t{std::max(header.npins, 0)} + 2; }

/// Fills net arrays; a Reader for `read_lines`. A file may have more pins than announced: they are counted
/// and not stored.
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
    is_missing_ = lines_.at_end && std::feof(lines_.stream) != 0;
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
  void append_numbers(const int* numbers, int count);
  void append_slowly(const char* at, const char* end);
  void repeat_last_net(std::int64_t size);

  void close_net() {
    xnadj_[++j_] = as_int(npins_);
    weight_due_ = has_weights_;
  }

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
};

/// Parses unsigned numbers only, as far as there is room for them.
inline const char* NetArrayReader::read_fast(const char* at, const char* end) {
  LeadingNumbers numbers;
  int values[kMostInRun];
  while (at < end && !is_done()) {
    find_leading_numbers(at, end, numbers);
    if (numbers.run.size == 0 || npins_ + numbers.run.count >= room_) break;
    RunLines split;
    split_into_lines(numbers.run, split);
    // A run of nothing but needed pins is stored in its final place.
    const bool direct = !has_weights_ && j_ + split.count <= header_.nnets;
    // cppcheck-suppress legacyUninitvar ; the values are about to be stored
    int* next = direct ? nadj_ + npins_ : values;
    store_numbers(numbers.text, numbers.run, direct ? header_.shift : 0, 0, next);
    for (int k = 0; k <= split.count && !is_done(); ++k) {
      const int count = k < split.count ? split.numbers[k] : split.rest;
      if (direct)
        npins_ += count;
      else
        append_numbers(next, count);
      next += count;
      if (k == split.count) break;
      close_net();
      move_to_line(lines_, at, split.ends[k]);
      if (!direct || (k + 1 == split.count && split.rest == 0)) nadj_[npins_] = header_.shift;
    }
    at += numbers.run.size;
  }
  return at;
}

inline void NetArrayReader::read_line(const char* at) {
  const std::int64_t npins_before = npins_;
  if (weight_due_) {
    int ignored_weight = 0;
    scan_int(at, line_end(lines_), ignored_weight);
  }
  append_slowly(at, line_end(lines_));
  close_net();
  if (is_missing_) repeat_last_net(npins_ - npins_before);
}

/// Appends numbers of a net: a weight that is due is skipped, the others are pins.
inline void NetArrayReader::append_numbers(const int* numbers, int count) {
  if (weight_due_ && count > 0) {
    weight_due_ = false;
    ++numbers;
    --count;
  }
  int* const pins = nadj_ + npins_;
  const int shift = header_.shift;
  for (int k = 0; k < count; ++k) pins[k] = numbers[k] + shift;
  npins_ += count;
}

/// Appends the rest of a net line, and after its pins the value of the attempt that found no number.
inline void NetArrayReader::append_slowly(const char* at, const char* end) {
  for (bool found = true; found; npins_ += found ? 1 : 0) {
    int id = 0;
    found = scan_int(at, end, id);
    add_wrapping(id, header_.shift);
    if (npins_ < room_) nadj_[npins_] = id;
  }
}

/// Gives all remaining nets the `size` pins of the net before, as far as there is room. The line is parsed
/// only once: a file of a few bytes may announce millions of nets.
inline void NetArrayReader::repeat_last_net(std::int64_t size) {
  while (!is_done()) {
    const std::int64_t nstored = std::min(room_ - npins_, size);
    if (nstored > 0) std::copy_n(nadj_ + npins_ - size, nstored, nadj_ + npins_);
    npins_ += size;
    if (npins_ < room_) nadj_[npins_] = header_.shift;
    close_net();
  }
}

}  // namespace quillon
