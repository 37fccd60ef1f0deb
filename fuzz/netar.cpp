// The reader of net arrays against its twin on any text, and against the reader of hypergraphs where both
// accept it.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"
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

using Reader = void(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj);

// The result of a run of the reader.
struct Result {
  Ending ending;
  NetArrays arrays;
  std::vector<int> entries;  // of xnadj from 1 on, then those of nadj in use
  std::vector<std::string> requests;
};

Result read_by(Reader* reader, const char* filename) {
  recorder::reset();
  Result result;
  NetArrays& arrays = result.arrays;
  result.ending = run([&] { reader(filename, &arrays.ncells, &arrays.nnets, &arrays.xnadj, &arrays.nadj); });
  result.requests = recorder::requests();
  if (!result.ending.returned) return result;
  const int nnets = std::max(arrays.nnets, 0);
  result.entries.assign(arrays.xnadj + 1, arrays.xnadj + nnets + 2);
  result.entries.insert(result.entries.end(), arrays.nadj, arrays.nadj + arrays.xnadj[nnets + 1]);
  return result;
}

// Does not reset the recorder: it still holds the requests of the module.
Result read_by_both(const char* filename) {
  const Result expected = read_by(oracle::read_hypergraph_netar, filename);
  Result seen = read_by(read_hypergraph_netar, filename);
  expect(seen.ending.fatal == expected.ending.fatal, "another error than the twin");
  expect(seen.arrays.ncells == expected.arrays.ncells && seen.arrays.nnets == expected.arrays.nnets,
         "other counts than the twin");
  expect(seen.entries == expected.entries, "other net arrays than the twin");
  expect(seen.requests == expected.requests, "other requests than the twin");
  return seen;
}

// The twin parses the last line again for every net that is missing.
bool is_slow_for_twin(const std::string& text) {
  constexpr std::size_t kMuch = 5000;
  return text.size() > kMuch && announces_more_than(text, 50);
}

void read_and_compare(const char* filename, const std::string& text) {
  const Result result =
      is_slow_for_twin(text) ? read_by(read_hypergraph_netar, filename) : read_by_both(filename);
  if (!result.ending.returned) {
    expect_reader_error(result.ending.fatal);
    return;
  }
  const NetArrays& arrays = result.arrays;
  expect_sound(arrays);
  if (run_soundly([&] { load(arrays); })) compare_with_reader(arrays, filename);
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  static const fuzz::MemoryFile file;
  const std::string text = fuzz::expanded(data, size);
  if (ends_in_comment(text) || fuzz::announces_much(text)) return 0;
  file.fill(text);
  fuzz::read_and_compare(file.name(), text);
  recorder::reset();
  return 0;
}
