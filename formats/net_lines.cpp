#include "formats/net_lines.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include "formats/audit.h"
#include "formats/lines.h"

namespace quillon::formats {
namespace {

// Stores cell numbers from 1. Returns whether all of them are cells.
bool store_cells(const int* numbers, int count, int first_cell, int ncells, int* cells) {
  const int shift = 1 - first_cell;
  unsigned outside = 0;
  for (int k = 0; k < count; ++k) {
    cells[k] = numbers[k] + shift;
    outside |= static_cast<unsigned>(cells[k] - 1) >= static_cast<unsigned>(ncells) ? 1U : 0U;
  }
  return outside == 0;
}

// Net lines that consist of cells: all of them at once.
bool store_unweighted(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  const int npins = lines.before(count);
  const auto before = static_cast<int>(lists.nadj.size());
  if (!store_cells(lines.numbers, npins, form.first_cell, lists.ncells,
                   lists.nadj.extend(static_cast<std::size_t>(npins))))
    return false;
  int* const starts = lists.xnadj.extend(static_cast<std::size_t>(count));
  for (int k = 0; k < count; ++k) starts[k] = before + lines.before(k + 1);
  return true;
}

// Whether a line begins with a weight, and with its number of cells, as the form demands.
bool has_head(const int* line, int size, const NetForm& form) {
  const int head = form.head();
  return size >= head && (!form.has_size || line[head - 1] == size - head);
}

// Raw pointers, as lines are short.
bool store_by_line(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  const int head = form.head();
  for (int k = 0; k < count; ++k)
    if (!has_head(lines.line(k), lines.size(k), form)) return false;

  const auto nnets = static_cast<std::size_t>(count);
  const auto npins = static_cast<std::size_t>(lines.before(count)) - nnets * static_cast<std::size_t>(head);
  int end = static_cast<int>(lists.nadj.size());
  int* pin = lists.nadj.extend(npins);
  int* const ends = lists.xnadj.extend(nnets);
  if (form.has_weight) lists.net_weights.resize(lists.net_weights.size() + nnets);
  int* const weights =
      form.has_weight ? lists.net_weights.data() + lists.net_weights.size() - nnets : nullptr;
  const int shift = 1 - form.first_cell;
  const auto ncells = static_cast<unsigned>(lists.ncells);
  unsigned outside = 0;
  for (int k = 0; k < count; ++k) {
    const int* const line = lines.line(k);
    const int* const line_end = lines.line(k + 1);
    if (weights != nullptr) weights[k] = line[0];
    for (const int* number = line + head; number != line_end; ++number) {
      *pin = *number + shift;
      outside |= static_cast<unsigned>(*pin++ - 1) >= ncells ? 1U : 0U;
    }
    ends[k] = end += lines.size(k) - head;
  }
  return outside == 0;
}

// Stores lines with cells out of range that lint only counts. Returns false if it wants their places.
bool store_damaged(const Scanner& in, const NumberLines& lines, int count, NetLists& lists,
                   const NetForm& form) {
  constexpr std::string_view kRule = "cell-out-of-range";
  if (in.audit == nullptr || in.audit->is_locating() || in.audit->wants(kRule)) return false;
  const int head = form.head();
  for (int k = 0; k < count; ++k)
    if (!has_head(lines.line(k), lines.size(k), form)) return false;
  for (int k = 0; k < count; ++k) {
    const int* const end = lines.line(k + 1);
    bool is_damaged = false;
    if (form.has_weight) lists.net_weights.push_back(*lines.line(k));
    for (const int* number = lines.line(k) + head; number != end; ++number) {
      const int cell = *number + 1 - form.first_cell;
      if (cell >= 1 && cell <= lists.ncells) {
        lists.nadj.push_back(cell);
        continue;
      }
      is_damaged = true;
      in.audit->add_outside(*number);
      in.audit->count(kRule);
    }
    if (is_damaged) note_damage(in, static_cast<int>(lists.xnadj.size()) - 1);
    end_net(lists);
  }
  return true;
}

// Room for all pins if the remaining nets are like those so far, so that the array moves seldom.
void make_room(NetLists& lists, std::size_t npins) {
  const std::size_t needed = lists.nadj.size() + npins;
  if (needed <= lists.nadj.capacity()) return;
  constexpr std::size_t kMostGrowth = 64;
  const std::uint64_t nread = lists.xnadj.size() - 1;
  const std::uint64_t expected = needed * (static_cast<std::uint64_t>(lists.nnets) + 1) / nread;
  lists.nadj.reserve(std::clamp<std::uint64_t>(expected + expected / 16, 2 * needed, kMostGrowth * needed));
}

}  // namespace

int read_plain_nets(Scanner& in, NetLists& lists, const NetForm& form) {
  const NumberLines lines = number_lines(in);
  const auto nleft =
      static_cast<std::int64_t>(lists.nnets) + 2 - static_cast<std::int64_t>(lists.xnadj.size());
  const int count = static_cast<int>(std::min<std::int64_t>(lines.count, nleft));
  if (count == 0) return 0;
  const auto npins = static_cast<std::size_t>(lines.before(count));
  const std::size_t pins_before = lists.nadj.size();
  const std::size_t nets_before = lists.xnadj.size();
  const bool by_line = form.has_weight || form.has_size;
  if (pins_before + npins > kMostPins) return 0;  // perhaps too many; they are counted line by line
  make_room(lists, npins);
  const bool stored =
      by_line ? store_by_line(lines, count, lists, form) : store_unweighted(lines, count, lists, form);
  if (!stored || lists.nadj.size() > form.most_pins) {
    lists.nadj.resize(pins_before);
    lists.xnadj.resize(nets_before);
    if (form.has_weight) lists.net_weights.resize(nets_before - 1);
    if (stored || !store_damaged(in, lines, count, lists, form)) return 0;
  }
  skip_lines(in, count);
  return count;
}

void read_or_drop_net(Scanner& in, NetLists& lists, int net, bool has_weights,
                      const std::function<void()>& read) {
  if (skips_net(in, net)) {
    skip_line(in);
    drop_net(lists, has_weights);
    return;
  }
  if (read_line(in, read)) return;
  note_damage(in, net);
  drop_net(lists, has_weights);
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
  const NumberLines lines = number_lines(in);
  const auto nleft = static_cast<std::int64_t>(count) + 1 - static_cast<std::int64_t>(weights.size());
  const int nread = static_cast<int>(std::min<std::int64_t>(lines.count, nleft));
  for (int k = 0; k < nread; ++k)
    if (lines.size(k) != 1) return 0;
  if (nread == 0) return 0;
  weights.insert(weights.end(), lines.numbers, lines.numbers + nread);
  skip_lines(in, nread);
  return nread;
}

}  // namespace quillon::formats
