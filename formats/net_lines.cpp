#include "formats/net_lines.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "formats/audit.h"
#include "formats/damaged_lines.h"
#include "formats/lines.h"
#include "formats/ranges.h"

namespace quillon::formats {
namespace {

// Stores cell numbers from 1. `numbers` may be `cells` itself: inlined, as the loop is slow if the compiler
// has to expect any overlap. Returns whether all of them are cells.
[[gnu::always_inline]] inline bool store_cells(const int* numbers, std::size_t count, int first_cell,
                                               int ncells, int* cells) {
  const int shift = 1 - first_cell;
  unsigned outside = 0;
  for (std::size_t k = 0; k < count; ++k) {
    cells[k] = numbers[k] + shift;
    outside |= static_cast<unsigned>(cells[k] - 1) >= static_cast<unsigned>(ncells) ? 1U : 0U;
  }
  return outside == 0;
}

// Net lines that consist of cells: all of them at once.
bool store_unweighted(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  const auto npins = static_cast<std::size_t>(lines.before(count));
  const auto before = static_cast<int>(lists.nadj.size());
  int* const cells = lists.nadj.extend(npins);
  int* const starts = lists.xnadj.extend(static_cast<std::size_t>(count));
  for (int k = 0; k < count; ++k) starts[k] = before + lines.before(k + 1);
  return store_cells(lines.numbers, npins, form.first_cell, lists.ncells, cells);
}

// Whether each line begins with a weight, and with its number of cells, as the form demands.
bool have_heads(const NumberLines& lines, int count, const NetForm& form) {
  const int head = form.head();
  unsigned bad = 0;
  for (int k = 0; k < count; ++k) bad |= lines.size(k) < head ? 1U : 0U;
  for (int k = 0; form.has_size && bad == 0 && k < count; ++k)
    bad = lines.line(k)[head - 1] == lines.size(k) - head ? 0U : 1U;
  return bad == 0;
}

// Numbers that are copied of each line, whatever its length: the branch at the end of an exact loop over a
// short line would be unpredictable.
constexpr int kPinsAtOnce = 16;
static_assert(kPinsAtOnce <= kSpareNumbers);

// Room for the weights of `more` items after those so far. The array moves seldom, as each move costs fresh
// memory; `count` limits what a header can demand.
void make_room(std::vector<int>& weights, std::size_t more, int count) {
  const std::size_t needed = weights.size() + more;
  if (needed <= weights.capacity()) return;
  constexpr std::size_t kMostGrowth = 64;
  weights.reserve(std::clamp<std::size_t>(static_cast<std::size_t>(count) + 1, needed, kMostGrowth * needed));
}

// Raw pointers, as lines are short.
bool store_by_line(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  const int head = form.head();
  const auto nnets = static_cast<std::size_t>(count);
  const auto npins = static_cast<std::size_t>(lines.before(count)) - nnets * static_cast<std::size_t>(head);
  const std::size_t before = lists.nadj.size();
  int end = static_cast<int>(before);
  int* const cells = lists.nadj.extend(npins + kPinsAtOnce);
  lists.nadj.resize(before + npins);
  int* const ends = lists.xnadj.extend(nnets);
  int* pin = cells;
  for (int k = 0; k < count; ++k) {
    const int* const numbers = lines.line(k) + head;
    const int size = lines.size(k) - head;
    std::memcpy(pin, numbers, kPinsAtOnce * sizeof(int));
    if (size > kPinsAtOnce) [[unlikely]]
      std::copy(numbers + kPinsAtOnce, numbers + size, pin + kPinsAtOnce);
    pin += size;
    ends[k] = end += size;
  }
  if (form.has_weight) {
    make_room(lists.net_weights, nnets, lists.nnets);
    lists.net_weights.resize(lists.net_weights.size() + nnets);
    int* const weights = lists.net_weights.data() + lists.net_weights.size() - nnets;
    for (int k = 0; k < count; ++k) weights[k] = *lines.line(k);
  }
  return store_cells(cells, npins, form.first_cell, lists.ncells, cells);
}

// Stores plain net lines if nothing is wrong with any of them. Returns whether that is so; has no effect if
// not.
bool store_nets(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  if (!have_heads(lines, count, form)) return false;
  const std::size_t pins_before = lists.nadj.size();
  const std::size_t nets_before = lists.xnadj.size();
  const bool by_line = form.has_weight || form.has_size;
  const bool are_cells =
      by_line ? store_by_line(lines, count, lists, form) : store_unweighted(lines, count, lists, form);
  if (are_cells && lists.nadj.size() <= form.most_pins) return true;
  lists.nadj.resize(pins_before);
  lists.xnadj.resize(nets_before);
  if (form.has_weight) lists.net_weights.resize(nets_before - 1);
  return false;
}

// Reads net lines with errors that lint only counts.
class DamagedNets {
 public:
  DamagedNets(const Scanner& in, const NumberLines& lines, NetLists& lists, const NetForm& form)
      : in_(in),
        lists_(lists),
        form_(form),
        cells_{form.first_cell, lists.ncells - 1 + form.first_cell, {}, "cell-out-of-range"},
        weights_(form.ends_at_text ? any_signed_weight() : any_weight()),
        lines_(in, lines) {}

  // Returns false without effect if lint wants the text of an error.
  bool read(int line) {
    lines_.enter(line);
    bool is_damaged = false;
    const bool is_kept =
        form_.ends_at_text ? read_up_to_text(is_damaged) : read_head() && read_cells(is_damaged);
    if (!lines_.end_line()) {
      lists_.nadj.resize(static_cast<std::size_t>(lists_.xnadj.back()));
      if (form_.has_weight) lists_.net_weights.resize(lists_.xnadj.size() - 1);
      return false;
    }
    if (is_kept)
      end_net(lists_);
    else
      drop_net(lists_, form_.has_weight);
    if (is_damaged || !is_kept) note_damage(in_, static_cast<int>(lists_.xnadj.size()) - 2);
    return true;
  }

 private:
  // Returns whether the net can be kept, as `read_cells` does.
  bool read_head() {
    if (form_.has_weight) {
      int weight = 0;
      if (!lines_.next(weights_, weight)) return false;
      lists_.net_weights.push_back(weight);
    }
    size_ = lines_.nleft();
    return !form_.has_size || lines_.next(sizes_, size_);
  }

  bool read_cells(bool& is_damaged) {
    const int count = std::min(size_, lines_.nleft());
    int* const pins = lists_.nadj.extend(static_cast<std::size_t>(count));
    int* pin = pins;
    for (int k = 0; k < count; ++k) {
      int cell = 0;
      if (lines_.next_cell(cells_, cell))
        *pin++ = cell + 1 - cells_.min;
      else
        is_damaged = true;
    }
    lists_.nadj.resize(lists_.nadj.size() - static_cast<std::size_t>(pins + count - pin));
    if (count < size_)
      lines_.add("missing-pin");
    else if (lines_.nleft() > 0)
      lines_.add("trailing-text");
    else
      return true;
    return false;
  }

  bool read_up_to_text(bool& is_damaged) {
    if (form_.has_weight) {
      const std::optional<Token> integer = lines_.next_integer();
      int weight = 0;
      if (!lines_.convert(integer.value_or(Token{lines_.text_left(), 0}), weights_, weight, false))
        return false;
      lists_.net_weights.push_back(weight);
    }
    read_plain_cells();
    while (const std::optional<Token> token = lines_.next_integer()) {
      int cell = 0;
      if (lines_.convert(*token, cells_, cell, true))
        lists_.nadj.push_back(cell + 1 - cells_.min);
      else
        is_damaged = true;
      read_plain_cells();
    }
    if (!lines_.text_left().empty() && in_.audit->oddity) lines_.add("ignored-text");
    return true;
  }

  // Up to a word that is none.
  void read_plain_cells() {
    const auto most = static_cast<std::size_t>(lines_.nleft());
    const std::size_t before = lists_.nadj.size();
    int* const pins = lists_.nadj.extend(most);
    lists_.nadj.resize(before + lines_.next_plain_numbers(cells_, pins));
  }

  const Scanner& in_;
  NetLists& lists_;
  const NetForm& form_;
  const Range cells_;
  const Range weights_;
  const Range sizes_ = any_count("bad-count");
  DamagedLines lines_;
  int size_ = 0;
};

// Returns the number of lines read, up to the first one that has to be read by its words.
int read_damaged_nets(Scanner& in, const NumberLines& lines, int count, NetLists& lists,
                      const NetForm& form) {
  if (!may_count_errors(in)) return 0;
  int nread = 0;
  for (DamagedNets nets(in, lines, lists, form); nread < count && nets.read(nread);) ++nread;
  if (nread > 0) skip_lines(in, nread);
  return nread;
}

bool have_one_number(const NumberLines& lines, int count) {
  for (int k = 0; k < count; ++k)
    if (lines.size(k) != 1) return false;
  return true;
}

// Returns the number of lines read, up to the first one that has to be read by its words.
int read_damaged_weights(Scanner& in, const NumberLines& lines, int count, std::vector<int>& weights) {
  if (!may_count_errors(in)) return 0;
  const Range range = any_weight();
  DamagedLines damaged(in, lines);
  int nread = 0;
  for (; nread < count; ++nread) {
    damaged.enter(nread);
    int weight = 1;
    if (damaged.next(range, weight) && damaged.nleft() > 0) damaged.add("trailing-text");
    if (!damaged.end_line()) break;
    weights.push_back(weight);
  }
  if (nread > 0) skip_lines(in, nread);
  return nread;
}

// As many of the lines as there are items left. The last item is `last`, the next one `next`.
int count_for(const NumberLines& lines, std::int64_t next, std::int64_t last) {
  return static_cast<int>(std::min<std::int64_t>(lines.count, last + 1 - next));
}

// Room for `npins` more pins of `count` nets, and for all pins if the remaining nets are like those so far:
// the array moves seldom, as each move costs fresh memory.
void make_room(NetLists& lists, std::size_t npins, int count) {
  const std::size_t needed = lists.nadj.size() + npins;
  if (needed <= lists.nadj.capacity()) return;
  const auto nread = lists.xnadj.size() - 1 + static_cast<std::size_t>(count);
  lists.nadj.reserve(room_for_all(needed, nread, static_cast<std::size_t>(lists.nnets) + 1));
}

// Skips lines before the next one that lint looks for: to a later block, or else within the current one.
//
// next  What the next line has.
// last  Number of the last item of that kind.
//
// Returns the number of items skipped.
int skip_unwanted(Scanner& in, const Item& next, std::int64_t last) {
  const Item wanted{next.kind, std::min(in.audit->next_number(next.kind, next.number), last + 1)};
  const std::int64_t nwanted = wanted.number - next.number;
  if (nwanted <= 0 || at_end(in)) return 0;
  const auto is_before = [&wanted](const Waypoint& waypoint) { return waypoint.next <= wanted; };
  if (const Waypoint* const waypoint = move_on(in, in.audit->waypoints, is_before); waypoint != nullptr)
    return static_cast<int>(waypoint->next.number - next.number);
  const std::string_view text = in.text.substr(in.at);
  if (text.find('%') != std::string_view::npos) return 0;  // lines without items, perhaps
  auto count = static_cast<std::int64_t>(count_line_ends(text));
  if (count <= nwanted) {
    in.at += text.rfind('\n') + 1;  // 0 if there is no line end
  } else {
    count = nwanted;
    for (std::int64_t k = 0; k < count; ++k) in.at = in.text.find('\n', in.at) + 1;
  }
  return static_cast<int>(count);
}

int skip_nets(Scanner& in, NetLists& lists, const NetForm& form) {
  const Item next{Item::kNet, std::ssize(lists.xnadj) - 1};
  const int count = skip_unwanted(in, next, lists.nnets);
  const auto nskipped = static_cast<std::size_t>(count);
  lists.xnadj.resize(lists.xnadj.size() + nskipped, lists.xnadj.back());
  if (form.has_weight) lists.net_weights.resize(lists.net_weights.size() + nskipped, 1);
  return count;
}

int skip_weights(Scanner& in, std::vector<int>& weights, int count) {
  const int nskipped = skip_unwanted(in, {Item::kCellWeight, std::ssize(weights)}, count);
  weights.resize(weights.size() + static_cast<std::size_t>(nskipped), 1);
  return nskipped;
}

}  // namespace

int read_plain_nets(Scanner& in, NetLists& lists, const NetForm& form) {
  if (in.audit != nullptr && in.audit->is_locating()) return skip_nets(in, lists, form);
  NumberLines lines = number_lines(in);
  const std::int64_t next = std::ssize(lists.xnadj) - 1;
  note_next_item(in, {Item::kNet, next});
  if (in.audit != nullptr && in.audit->complete) in.audit->complete(static_cast<int>(next) - 1);
  const bool are_plain = lines.count > 0;
  if (!are_plain && may_count_errors(in)) lines = odd_lines(in);
  const int count = count_for(lines, next, lists.nnets);
  if (count == 0) return 0;
  const auto npins = static_cast<std::size_t>(lines.before(count));
  if (lists.nadj.size() + npins > kMostPins) return 0;  // perhaps too many; they are counted line by line
  const bool by_line = form.has_weight || form.has_size;
  make_room(lists, npins + (by_line ? kPinsAtOnce : 0), count);
  if (!are_plain || !store_nets(lines, count, lists, form))
    return read_damaged_nets(in, lines, count, lists, form);
  skip_lines(in, count);
  return count;
}

std::int64_t pins_of_last_net(const NetLists& lists) {
  return static_cast<std::int64_t>(lists.nadj.size()) - lists.xnadj.back();
}

int first_cell_of(const Scanner& in, int first) {
  if (in.audit == nullptr) return first;
  if (in.audit->starts_from.has_value()) first = *in.audit->starts_from;
  in.audit->first_cell = first;
  return first;
}

int read_plain_weights(Scanner& in, std::vector<int>& weights, int count) {
  if (in.audit != nullptr && in.audit->is_locating()) return skip_weights(in, weights, count);
  NumberLines lines = number_lines(in);
  const std::int64_t next = std::ssize(weights);
  note_next_item(in, {Item::kCellWeight, next});
  const bool are_plain = lines.count > 0;
  if (!are_plain && may_count_errors(in)) lines = odd_lines(in);
  const int nread = count_for(lines, next, count);
  if (nread == 0) return 0;
  make_room(weights, static_cast<std::size_t>(nread), count);
  if (!are_plain || !have_one_number(lines, nread)) return read_damaged_weights(in, lines, nread, weights);
  weights.insert(weights.end(), lines.numbers, lines.numbers + nread);
  skip_lines(in, nread);
  return nread;
}

std::size_t room_for_all(std::size_t needed, std::size_t nread, std::size_t nall) {
  constexpr std::size_t kMostGrowth = 1024;
  const std::uint64_t expected = std::uint64_t{needed} * nall / nread;
  return std::clamp<std::uint64_t>(expected + expected / 16, 2 * needed, kMostGrowth * needed);
}

}  // namespace quillon::formats
