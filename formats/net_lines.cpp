#include "formats/net_lines.h"

#include <algorithm>
#include <cstdint>

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

// The numbers of a line before its cells, if they are there and the size is right; else -1.
int head_of(const NumberLines& lines, int k, const NetForm& form) {
  const int head = (form.has_weight ? 1 : 0) + (form.has_size ? 1 : 0);
  const int size = lines.size(k);
  if (size < head) return -1;
  return !form.has_size || lines.line(k)[head - 1] == size - head ? head : -1;
}

bool store_by_line(const NumberLines& lines, int count, NetLists& lists, const NetForm& form) {
  for (int k = 0; k < count; ++k) {
    const int head = head_of(lines, k, form);
    if (head < 0) return false;
    const int* const line = lines.line(k);
    const int npins = lines.size(k) - head;
    if (!store_cells(line + head, npins, form.first_cell, lists.ncells,
                     lists.nadj.extend(static_cast<std::size_t>(npins))))
      return false;
    if (form.has_weight) lists.net_weights.push_back(line[0]);
    lists.xnadj.push_back(static_cast<int>(lists.nadj.size()));
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
  if (!by_line && pins_before + npins > form.most_pins) return 0;
  make_room(lists, npins);
  const bool stored =
      by_line ? store_by_line(lines, count, lists, form) : store_unweighted(lines, count, lists, form);
  if (!stored || lists.nadj.size() > form.most_pins) {
    lists.nadj.resize(pins_before);
    lists.xnadj.resize(nets_before);
    if (form.has_weight) lists.net_weights.resize(nets_before - 1);
    return 0;
  }
  skip_lines(in, count);
  return count;
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
