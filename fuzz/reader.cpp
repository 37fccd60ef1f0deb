// Both readers on any text, and every function of the module on the records that they accept.

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "hypergraph/hypergraph.h"
#include "tests/double/recorder.h"
#include "tests/support/destination.h"
#include "tests/support/reader_outcome.h"
#include "tests/support/records.h"
#include "util/util.h"

namespace quillon::fuzz {
namespace {

constexpr int kMostItems = 20000;     // cells, nets or pins of a record that is used after reading
constexpr int kMostForChecks = 2000;  // pins, for checks of quadratic time

struct Mode {
  StreamReader* reader;
  bool is_pipe;
  int check;
};

void expect_counts(const Hypergraph& h) {
  expect(h._c >= 0 && h._n >= 0 && h._p >= 0, "negative counts");
  expect(h._nlst[h._n + 1].pins - h._cell_list == h._p, "the sentinel is not after the last pin");
  for (int j = 1; j <= h._n; ++j)
    expect(h._nlst[j].pinsend + 1 == h._nlst[j + 1].pins, "lists do not follow one another");
}

void build_cell_side(Hypergraph& h) {
  h._net_list =
      static_cast<int*>(umalloc((static_cast<std::uint64_t>(h._p) + 2) * sizeof(int), "fuzz: net_list"));
  int* const work = imalloc(std::int64_t{h._c} + 1, "fuzz: work");
  construct_net_list(&h, work);
  _usfree(work);
}

bool has_repeated_pins(const Lists& pins) {
  for (std::vector<int> net : pins) {
    std::sort(net.begin(), net.end());
    if (std::adjacent_find(net.begin(), net.end()) != net.end()) return true;
  }
  return false;
}

// The readers also add the numbers after the last cell's weight on its line to `_totcw`.
bool has_plain_total(const Hypergraph& h) {
  unsigned total = 0;
  for (int i = 1; i <= h._c; ++i) total += static_cast<unsigned>(h._clst[i].w);
  return static_cast<int>(total) == h._totcw;
}

void read_back(const Hypergraph& h, const Lists& pins, int numbering) {
  static const MemoryFile file;
  write_hypergraph(&h, file.name(), numbering, 3);
  Hypergraph copy;
  read_hypergraph_with_onepin_nets(&copy, file.name(), 1);
  expect(copy._c == h._c && copy._n == h._n && copy._p == h._p, "other counts read back than written");
  expect(pins_of_nets(copy) == pins, "other pins read back than written");
  expect(of_nets(copy, &Net::w) == of_nets(h, &Net::w), "other net weights read back than written");
  expect(of_cells(copy, &Cell::w) == of_cells(h, &Cell::w), "other cell weights read back than written");
  free_hypergraph(&copy);
}

void through_arrays(const Hypergraph& h, const Lists& pins) {
  int* xnadj = nullptr;
  int* nadj = nullptr;
  hypergraph_Fill2Arr(&h, &xnadj, &nadj);
  Hypergraph copy;
  hypergraph_LoadFromArr(&copy, h._n, h._c, xnadj, nadj, nullptr);
  expect(pins_of_nets(copy) == pins, "other pins loaded from arrays than exported");
  free_hypergraph(&copy);
  _usfree(nadj);
  _usfree(xnadj);
}

void copy_plainly(const Hypergraph& h, const Lists& pins) {
  Hypergraph copy = {};
  CopyHypergraph(&copy, &h);
  expect(pins_of_nets(copy) == pins, "the copy has other pins");
  expect(nets_of_cells(copy) == nets_of_cells(h), "the copy has other nets of cells");
  free_hypergraph(&copy);
}

void prune_and_compare(const Hypergraph& h, int maxsize, int mode) {
  Destination seen(h);
  prune(h, seen, maxsize, mode);
  Destination expected(h);
  prune_by_oracle(h, expected, maxsize, mode);
  expect(image_of(seen) == image_of(expected), "pruning gives another copy than its twin");
  if (expected.h._internets != nullptr) poolfree_upto(0, expected.h._internets, "fuzz: internets");
  if (seen.h._internets != nullptr) poolfree_upto(0, seen.h._internets, "fuzz: internets");
}

// `check` also chooses between modes of the functions, so that each run tests one of them.
void use(Hypergraph& h, int check) {
  expect_counts(h);
  build_cell_side(h);
  const Lists pins = pins_of_nets(h);
  if (h._p <= kMostForChecks && has_plain_total(h) && !has_repeated_pins(pins)) CheckListsofHypergraph(&h);
  for (const int maxsize : {3, std::numeric_limits<int>::max()}) prune_and_compare(h, maxsize, 1 + check);
  set_hypergraph_infos(&h);
  expect(has_plain_total(h), "the total is not that of the cell weights");
  read_back(h, pins, check);
  through_arrays(h, pins);
  copy_plainly(h, pins);
}

void read_and_use(Source& source, const Mode& mode) {
  recorder::reset();
  Hypergraph h;
  std::memset(&h, 0xa5, sizeof h);
  const Stream stream = mode.is_pipe ? source.open_pipe() : source.open_file();
  const Ending ending = run([&] { mode.reader(&h, stream.get(), mode.check); });
  if (!ending.returned) {
    expect_reader_error(ending.fatal);
    return;
  }
  const bool is_used = !mode.is_pipe && std::max({h._c, h._n, h._p}) <= kMostItems;
  if (is_used && !run_soundly([&] { use(h, mode.check); })) return;
  free_hypergraph(&h);
  expect_nothing_held();
  expect_files_closed();
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const std::string text = fuzz::expanded(data, size);
  if (ends_in_comment(text)) return 0;
  fuzz::Source source(text);
  for (StreamReader* const reader : {kStandardReader.module, kOnePinReader.module})
    for (const bool is_pipe : {false, true})
      for (const int check : {0, 1}) fuzz::read_and_use(source, {reader, is_pipe, check});
  recorder::reset();
  return 0;
}
