// The reader of net arrays on any text, beside the reader of hypergraphs where both take it.

#include <algorithm>

#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "hypergraph/hypergraph.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"
#include "util/util.h"

namespace quillon::fuzz {
namespace {

struct NetArrays {
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
};

Lists lists_of(const NetArrays& arrays) {
  Lists pins;
  for (int j = 1; j <= arrays.nnets; ++j)
    pins.emplace_back(arrays.nadj + arrays.xnadj[j], arrays.nadj + arrays.xnadj[j + 1]);
  return pins;
}

void expect_sound(const NetArrays& arrays) {
  const int nnets = std::max(arrays.nnets, 0);
  expect(arrays.xnadj[1] == 0, "the first net does not begin at 0");
  expect(std::is_sorted(arrays.xnadj + 1, arrays.xnadj + nnets + 2), "a net ends before it begins");
}

void load(const NetArrays& arrays) {
  const auto is_cell = [&arrays](int cell) { return cell >= 1 && cell <= arrays.ncells; };
  if (arrays.ncells < 0 || arrays.nnets < 0) return;
  if (!std::all_of(arrays.nadj, arrays.nadj + arrays.xnadj[arrays.nnets + 1], is_cell)) return;
  Hypergraph h;
  hypergraph_LoadFromArr(&h, arrays.nnets, arrays.ncells, arrays.xnadj, arrays.nadj, nullptr);
  expect(pins_of_nets(h) == lists_of(arrays), "other pins loaded than read");
  free_hypergraph(&h);
}

void compare_with_reader(const NetArrays& arrays, const char* filename) {
  Hypergraph h;
  const Ending ending = run([&] { read_hypergraph_with_onepin_nets(&h, filename, 0); });
  if (!ending.returned) {
    expect_reader_error(ending.fatal);
    return;
  }
  expect(h._c == arrays.ncells && h._n == arrays.nnets, "other counts than the reader of hypergraphs");
  expect(pins_of_nets(h) == lists_of(arrays), "other pins than the reader of hypergraphs");
  free_hypergraph(&h);
  _usfree(arrays.nadj);
  _usfree(arrays.xnadj);
  expect_nothing_held();
  expect_files_closed();
}

void read_and_compare(const char* filename) {
  recorder::reset();
  NetArrays arrays;
  const Ending ending = run(
      [&] { read_hypergraph_netar(filename, &arrays.ncells, &arrays.nnets, &arrays.xnadj, &arrays.nadj); });
  if (!ending.returned) {
    expect_reader_error(ending.fatal);
    return;
  }
  expect_sound(arrays);
  if (run_soundly([&] { load(arrays); })) compare_with_reader(arrays, filename);
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  static const fuzz::MemoryFile file;
  const std::string text = fuzz::expanded(data, size);
  // Missing net lines are the last one again, and read again.
  if (slow::ends_in_comment(text) || fuzz::announces_much(text)) return 0;
  file.fill(text);
  fuzz::read_and_compare(file.name());
  recorder::reset();
  return 0;
}
