// The checks and reports against slow twins that count every entry, on random records, sound and broken.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using CheckLists = Recorded;
using CheckListsOfContinues = Recorded;
using CheckSymmetry = Recorded;
using PrinfoHypergraph = Recorded;
using PrDetailinfoHypergraph = Recorded;

constexpr int kMost = std::numeric_limits<int>::max();
constexpr int kLeast = std::numeric_limits<int>::min();

// What a call tells its caller and the user.
struct Outcome {
  std::string printed;
  std::string warnings;
  std::string fatal;
  int result = 0;

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.printed << "|" << outcome.warnings << "|" << outcome.fatal << "|" << outcome.result;
}

template <typename Call>
Outcome outcome_of(const Call& call) {
  recorder::reset();
  Outcome outcome;
  outcome.fatal = recorder::fatal_text([&] { outcome.result = call(); });
  outcome.printed = recorder::printed();
  for (const std::string& warning : recorder::warnings()) outcome.warnings += warning + "\n";
  return outcome;
}

[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...) {
  char buffer[1000];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

int sum(const std::vector<int>& values) {
  unsigned total = 0;
  for (const int value : values) total += static_cast<unsigned>(value);
  return static_cast<int>(total);
}

// The lists of one side; an item that does not exist has none.
class ListedSide {
 public:
  explicit ListedSide(Lists lists) : lists_(std::move(lists)) {}

  int count(int item, int entry) const {
    if (item < 1 || static_cast<std::size_t>(item) > lists_.size()) return 0;
    const std::vector<int>& list = lists_[static_cast<std::size_t>(item) - 1];
    return static_cast<int>(std::count(list.begin(), list.end(), entry));
  }

  int nentries() const {
    std::size_t n = 0;
    for (const std::vector<int>& list : lists_) n += list.size();
    return static_cast<int>(n);
  }

  // Calls `note(item, entry, count)` for the first entry that does not stand on the other side once.
  template <typename Note>
  bool first_wrong(const ListedSide& other, const Note& note) const {
    int item = 0;
    for (const std::vector<int>& list : lists_) {
      ++item;
      for (const int entry : list) {
        const int count = other.count(entry, item);
        if (count == 1) continue;
        note(item, entry, count);
        return true;
      }
    }
    return false;
  }

 private:
  Lists lists_;
};

int weight_without_pins(const Hypergraph& h) {
  int total = 0;
  int j = 0;
  for (const std::vector<int>& pins : pins_of_nets(h)) {
    ++j;
    if (pins.empty()) total = sum({total, h._nlst[j].w});
  }
  return total;
}

std::string slow_fatal_of_lists(const Hypergraph& h) {
  const ListedSide cells(nets_of_cells(h));
  const ListedSide nets(pins_of_nets(h));
  std::string fatal = "(no fatal error)";
  if (nets.first_wrong(cells, [&fatal](int j, int i, int count) {
        fatal =
            text(" CheckListsofHypergraph: net %d occurs %d times in the net list of cell %d", j, count, i);
      }))
    return fatal;
  if (nets.nentries() != h._p)
    return text("CheckListsofHypergraph pp(%d)!-=h->_p(%d) in cells of nets", nets.nentries(), h._p);
  if (cells.first_wrong(nets, [&fatal](int i, int j, int count) {
        fatal =
            text(" CheckListsofHypergraph: cell %d occurs %d times in the cell list of net %d", i, count, j);
      }))
    return fatal;
  // The sides agree, as no record here has lists for its spare cells and nets, and the nets have the right
  // number of pins: so have the cells.

  const int totcw = sum(of_cells(h, &Cell::w));
  const int totinw = sum(of_cells(h, &Cell::inw));
  const int totnw = sum({sum(of_nets(h, &Net::w)), totinw});
  if (totcw != h._totcw)
    return text("CheckListsofHypergraph: computed totcw=%d but h->_totcw = %d", totcw, h._totcw);
  if (totinw == h._totinw || sum({totnw, h._virtualnets}) == h._totnw) return fatal;
  return text(
      "CheckListsofHypergraph: totnw=%d but h->_totnw = %d OR virtn=%d and h->_virtualnets=%d "
      "BTW totinw=%d and h->totinw=%d",
      totnw, h._totnw, weight_without_pins(h), h._virtualnets, totinw, h._totinw);
}

Outcome slow_check_lists(const Hypergraph& h) {
  Outcome outcome;
  outcome.printed =
      text("\n CheckListsofHypergraph: Checking Hypergraph H=(%5d, %5d, %7d) TNW=%d TINW=%d VirtNets=%d",
           h._c, h._n, h._p, h._totnw, h._totinw, h._virtualnets);
  outcome.fatal = slow_fatal_of_lists(h);
  if (outcome.fatal != "(no fatal error)") return outcome;
  if (weight_without_pins(h) != 0) outcome.warnings = "hypergraph has nets with no pins\n";
  outcome.printed += "\n Checking DONE....\n";
  return outcome;
}

Outcome check_lists(const Record& r) {
  return outcome_of([&r] {
    CheckListsofHypergraph(&r.h);
    return 0;
  });
}

void expect_same_check(const Record& r) { EXPECT_EQ(check_lists(r), slow_check_lists(r.h)); }

// Items 1 .. nitems, each from its start to the next one's.
template <typename Item>
Lists regions(const Item* items, int nitems, int* Item::*start) {
  Lists lists(static_cast<std::size_t>(std::max(nitems, 0)));
  for (int k = 1; k <= nitems; ++k) {
    const int* const first = items[k].*start;
    const int* const next = items[k + 1].*start;
    if (first != nullptr && next != nullptr && first < next)
      lists[static_cast<std::size_t>(k) - 1].assign(first, next);
  }
  return lists;
}

std::string slow_fatal_of_regions(const Hypergraph& h, int nnets) {
  const ListedSide cells(regions(h._clst, h._c, &Cell::nets));
  const ListedSide all_nets(regions(h._nlst, h._n, &Net::pins));
  const ListedSide nets(regions(h._nlst, nnets, &Net::pins));
  std::string fatal = "(no fatal error)";
  cells.first_wrong(
      all_nets,
      [&fatal](int i, int j, int count) {
        fatal = text(" CheckListsofContinuesHypergraph: cell %d occurs %d times in the cell list of net %d",
                     i, count, j);
      }) ||
      nets.first_wrong(cells, [&fatal](int j, int i, int count) {
        fatal = text(" CheckListsofContinuesHypergraph: net %d occurs %d times in the net list of cell %d", j,
                     count, i);
      });
  return fatal;
}

std::string dump(const Hypergraph& h, int i) {
  const std::vector<int> pins = pins_of_nets(h)[static_cast<std::size_t>(i) - 1];
  std::string all = text("\n Pins[%4d] = {", i);
  for (std::size_t t = 0; t < pins.size(); ++t)
    all += text("%4d(P=%2d, W=%3d)%s", pins[t], h._clst[pins[t]].pno, h._clst[pins[t]].w,
                t + 1 < pins.size() ? ", " : " ");
  all += text("}\n\n Nets[%4d] = {", i);
  const std::vector<int> nets = nets_of_cells(h)[static_cast<std::size_t>(i) - 1];
  for (const int j : nets) all += text("%4d(W=%3d), ", j, h._nlst[j].w);
  return all + "}\n";
}

Outcome slow_symmetry(const Hypergraph& h, int verbose) {
  Outcome outcome;
  outcome.fatal = "(no fatal error)";
  const auto say = [&outcome, verbose](const std::string& line) {
    if (verbose != 0) outcome.printed += line;
  };
  say(text("\n Checking Symmetry in Hypergraph H=(%5d, %5d, %7d)", h._c, h._n, h._p));
  if (h._c != h._n) {
    say(text("\n NOT Symmetric because of #cells(%d) != #nets(%d)", h._c, h._n));
    return outcome;
  }
  const Lists cells = nets_of_cells(h);
  const Lists nets = pins_of_nets(h);
  for (int i = 1; i <= h._c; ++i) {
    const std::vector<int>& mine = cells[static_cast<std::size_t>(i) - 1];
    const std::vector<int>& theirs = nets[static_cast<std::size_t>(i) - 1];
    if (mine.size() != theirs.size()) {
      say(text("\n NOT Symmetric beacuse deg[d]=%d size[%d]=%d", i, static_cast<int>(mine.size()), i));
      return outcome;
    }
    for (const int v : mine) {
      const auto count = static_cast<int>(std::count(theirs.begin(), theirs.end(), v));
      if (count == 1) continue;
      outcome.fatal = text("\n NOT Symmetric cell %d not occured in cell-list of net %d", v, i);
      if (count > 1)
        outcome.fatal = text("CheckSymmetryinHypergraph: cell %d occurs %d times in the cell list of net %d",
                             v, count, i);
      else
        outcome.printed += dump(h, i);
      return outcome;
    }
  }
  outcome.result = 1;
  return outcome;
}

Outcome symmetry(const Record& r, int verbose) {
  return outcome_of([&r, verbose] { return CheckSymmetryinHypergraph(&r.h, verbose); });
}

class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  int below(int bound) { return static_cast<int>(engine_() % static_cast<unsigned>(bound)); }

  int& entry(std::vector<int>& list, int nused) { return list[static_cast<std::size_t>(below(nused))]; }

 private:
  std::mt19937 engine_;
};

int odd_number(Dice& dice, int count) {
  const std::vector<int> odd = {0, -1, count + 1, count + 2, kMost, kLeast, 4096, -4096};
  return odd[static_cast<std::size_t>(dice.below(static_cast<int>(odd.size())))];
}

// Breaks one thing, or moves something that may be anywhere.
void disturb(Record& r, Dice& dice) {
  Hypergraph& h = r.h;
  const bool on_nets = dice.below(2) == 0;
  std::vector<int>& list = on_nets ? r.cell_list : r.net_list;
  const int count = on_nets ? h._c : h._n;
  if (count < 1 || h._c < 1 || h._n < 1 || h._p < 1) return;
  Cell& cell = h._clst[1 + dice.below(h._c)];
  Net& net = h._nlst[1 + dice.below(h._n)];
  switch (dice.below(10)) {
    case 0:
      dice.entry(list, h._p) = 1 + dice.below(count);
      break;
    case 1:
      dice.entry(list, h._p) = odd_number(dice, count);
      break;
    case 2:
      dice.entry(list, h._p) = dice.entry(list, h._p);
      break;
    case 3:
      std::swap(dice.entry(list, h._p), dice.entry(list, h._p));
      break;
    case 4:
      if (cell.nets != nullptr && cell.netsend >= cell.nets) --cell.netsend;
      break;
    case 5:
      if (net.pins != nullptr && net.pinsend >= net.pins) --net.pinsend;
      break;
    case 6:
      h._p += 1 - 2 * dice.below(2);
      break;
    case 7:
      (dice.below(2) == 0 ? cell.w : dice.below(2) == 0 ? cell.inw : net.w) += 1 + dice.below(3);
      break;
    case 8:
      if (on_nets)
        net.pins = net.pinsend = nullptr;
      else
        cell.nets = cell.netsend = nullptr;
      break;
    default:
      (dice.below(2) == 0 ? h._totinw : dice.below(2) == 0 ? h._totnw : h._totcw) += 1;
  }
}

TEST_F(CheckLists, AgreesWithCountingOnRandomRecordsSoundAndBroken) {
  int nsound = 0;
  constexpr int kSeeds = 6000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r = random_record(seed, {.ncells = 12, .nnets = 12, .duplicates = seed % 5 == 0});
    for (int n = dice.below(4); n > 0; --n) disturb(r, dice);
    const Outcome expected = slow_check_lists(r.h);
    ASSERT_EQ(check_lists(r), expected);
    if (expected.fatal == "(no fatal error)") ++nsound;
  }
  EXPECT_GT(nsound, kSeeds / 10);
  EXPECT_LT(nsound, kSeeds / 2);
}

// Nets that have one cell in two, or in as many as told, in random order.
Shape long_lists(unsigned seed, int ncells, int nnets, int one_in = 2) {
  Dice dice(seed);
  Shape shape = {.ncells = ncells, .pins = Lists(static_cast<std::size_t>(nnets))};
  for (std::vector<int>& pins : shape.pins) {
    for (int i = 1; i <= ncells; ++i)
      if (dice.below(one_in) == 0) pins.push_back(i);
    for (std::size_t left = pins.size(); left > 1; --left)
      std::swap(pins[left - 1], pins[static_cast<std::size_t>(dice.below(static_cast<int>(left)))]);
  }
  return shape;
}

// The same entries, the first list of the cells in falling order.
void turn_first_cell(Record& r) { std::reverse(r.cells[1].nets, r.cells[1].netsend + 1); }

TEST_F(CheckLists, AgreesWithCountingOnLongLists) {
  struct Size {
    int ncells;
    int nnets;
  };
  // More numbers than a pass over a list tells apart, more cells than places, long lists of cells.
  for (const Size size : {Size{300000, 2}, Size{9000, 5}, Size{40, 300}, Size{200, 200}, Size{3, 3000}}) {
    SCOPED_TRACE(testing::Message() << size.ncells << " cells, " << size.nnets << " nets");
    Record r(long_lists(1, size.ncells, size.nnets));
    const std::string fatal = recorder::fatal_text([&r] { CheckListsofHypergraph(&r.h); });
    EXPECT_EQ(fatal, "(no fatal error)");
    turn_first_cell(r);
    EXPECT_EQ(check_lists(r).fatal, "(no fatal error)");
  }
}

TEST_F(CheckLists, AgreesWithCountingOnLongListsWithMistakes) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r(seed % 2 == 0 ? long_lists(seed, 60, 90) : long_lists(seed, 600, 9));
    if (seed % 3 == 0) turn_first_cell(r);
    for (int n = dice.below(3); n > 0; --n) disturb(r, dice);
    expect_same_check(r);
  }
}

// The list of one net names cell `a` twice in place of `b`, both once on the cells' side, far apart in
// numbers.
TEST_F(CheckLists, ACellTwiceOnALongNetIsFatalWhereverItsNumberLies) {
  for (const int a : {1, 1000, 131071, 131072, 131073, 262144, 299999}) {
    Record r(long_lists(2, 300000, 1, 400));
    std::vector<int> pins = pins_of_nets(r.h)[0];
    const auto at = std::find(pins.begin(), pins.end(), a);
    const int doubled = at == pins.end() ? pins[0] : a;
    const auto other = r.cell_list[1] == doubled ? 2u : 1u;
    const int lost = std::exchange(r.cell_list[other], doubled);

    EXPECT_EQ(check_lists(r).fatal,
              text(" CheckListsofHypergraph: cell %d occurs %d times in the cell list of net 1",
                   std::min(lost, doubled), lost < doubled ? 0 : 2));
  }
}

// Net 1 has cells 1 .. 256, a multiple of what is looked up at once, net 2 cell 256 and net 3 cell 257.
Record record_of_many_cells() {
  std::vector<int> pins(256);
  std::iota(pins.begin(), pins.end(), 1);
  return Record({.ncells = 4400, .pins = {pins, {256}, {257}}});
}

TEST_F(CheckLists, ANetThatAnotherCellNamesNextIsFatal) {
  for (const int i : {256 - 4096, 256 + 4096, 257, 255}) {
    Record r = record_of_many_cells();
    r.cell_list[256] = i;
    EXPECT_EQ(check_lists(r).fatal,
              text(" CheckListsofHypergraph: net 2 occurs 0 times in the net list of cell %d", i));
  }
}

TEST_F(CheckLists, ANetThatStandsBehindTheListOfItsCellIsFatal) {
  Record r = record_of_many_cells();
  r.cell_list[257] = 256;
  EXPECT_EQ(check_lists(r).fatal,
            " CheckListsofHypergraph: net 3 occurs 0 times in the net list of cell 256");
}

TEST_F(CheckListsOfContinues, AgreesWithCountingOnRandomRecordsSoundAndBroken) {
  int nsound = 0;
  constexpr int kSeeds = 4000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r = random_record(seed, {.ncells = 10, .nnets = 10, .duplicates = seed % 5 == 0});
    for (int n = r.h._p < 1 ? 0 : dice.below(3); n > 0; --n) {
      const bool on_nets = dice.below(2) == 0;
      std::vector<int>& list = on_nets ? r.cell_list : r.net_list;
      dice.entry(list, r.h._p) = 1 + dice.below(on_nets ? r.h._c : r.h._n);
    }
    const int nnets = dice.below(r.h._n + 1);
    const std::string expected = slow_fatal_of_regions(r.h, nnets);
    ASSERT_EQ(recorder::fatal_text([&] { CheckListsofContinuesHypergraph(&r.h, nnets); }), expected);
    if (expected == "(no fatal error)") ++nsound;
  }
  EXPECT_GT(nsound, kSeeds / 10);
  EXPECT_LT(nsound, kSeeds * 9 / 10);
}

// Net i has the cells that name net i: a pair of numbers is a pin both ways. Pins of a net stand in any
// order.
Shape symmetric_shape(Dice& dice, int most) {
  const int n = dice.below(most + 1);
  Shape shape = {.ncells = n, .pins = Lists(static_cast<std::size_t>(n))};
  const int of = 1 + dice.below(4);
  for (int i = 1; i <= n; ++i) {
    for (int j = 1; j <= i; ++j) {
      if (dice.below(of) != 0) continue;
      shape.pins[static_cast<std::size_t>(i) - 1].push_back(j);
      if (i != j) shape.pins[static_cast<std::size_t>(j) - 1].push_back(i);
    }
  }
  if (dice.below(2) == 0)
    for (std::vector<int>& pins : shape.pins) std::reverse(pins.begin(), pins.end());
  return shape;
}

TEST_F(CheckSymmetry, AgreesWithCountingOnRandomRecordsSoundAndBroken) {
  int nsymmetric = 0;
  constexpr int kSeeds = 4000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r(symmetric_shape(dice, seed % 20 == 0 ? 90 : 9));
    for (int n = r.h._p < 1 ? 0 : dice.below(3); n > 0; --n) {
      std::vector<int>& list = dice.below(2) == 0 ? r.cell_list : r.net_list;
      switch (dice.below(4)) {
        case 0:
          dice.entry(list, r.h._p) = 1 + dice.below(r.h._c);
          break;
        case 1:
          std::swap(dice.entry(list, r.h._p), dice.entry(list, r.h._p));
          break;
        case 2: {  // both sides name a number twice
          const int k = dice.below(r.h._p);
          r.cell_list[static_cast<std::size_t>(k)] = r.net_list[static_cast<std::size_t>(k)] =
              1 + dice.below(r.h._c);
          break;
        }
        default:
          if (Cell& cell = r.h._clst[1 + dice.below(r.h._c)]; cell.netsend >= cell.nets) --cell.netsend;
      }
    }
    const int verbose = dice.below(2);
    const Outcome expected = slow_symmetry(r.h, verbose);
    ASSERT_EQ(symmetry(r, verbose), expected);
    nsymmetric += expected.result;
  }
  EXPECT_GT(nsymmetric, kSeeds / 10);
  EXPECT_LT(nsymmetric, kSeeds * 9 / 10);
}

// What the reports tell of one side, from its lists and weights by one loop a figure.
struct Figures {
  std::vector<int> lengths;
  std::vector<int> weights;
  double avg = 0;
  double std = 0;

  Figures(const Lists& lists, std::vector<int> w, int npins) : weights(std::move(w)) {
    for (const std::vector<int>& list : lists) lengths.push_back(static_cast<int>(list.size()));
    const auto n = static_cast<double>(lengths.size());
    avg = npins / n;
    double squares = 0;
    for (const int length : lengths) squares += (length - avg) * (length - avg);
    std = std::sqrt(squares / n);
  }

  static int least(const std::vector<int>& values, int from) {
    int result = 2000000000;
    for (const int value : values)
      if (value >= from) result = std::min(result, value);
    return result;
  }

  static int most(const std::vector<int>& values) {
    return std::accumulate(values.begin(), values.end(), 0, [](int a, int b) { return std::max(a, b); });
  }

  int nempty() const { return static_cast<int>(std::count(lengths.begin(), lengths.end(), 0)); }

  std::string fields() const {
    return text("\t%.2lf\t%.2lf\t%.2lf\t%d\t%d\t%d", avg, std, std / avg, least(lengths, 1), nempty(),
                most(lengths));
  }

  std::string weight_fields() const {
    return text("\t%d\t%d\t%d", least(weights, kLeast), most(weights), sum(weights));
  }

  std::string length_lines() const {
    return text("\n\tAvg\t: %8.3lf\n\tStd\t: %8.3lf\n\tCov\t: %8.3lf\n\tMin\t: %8d (Zero#: %d)\n\tMax\t: %8d",
                avg, std, std / avg, least(lengths, kLeast), nempty(), most(lengths));
  }

  std::string weight_lines() const {
    const int total = sum(weights);
    const int least_w = least(weights, kLeast);
    const int most_w = most(weights);
    return text(
        "\n\tMin\t: %8d (%.3lf%% of total weight)\n\tMax\t: %8d (%.3lf%% of total weight)\n\tTotal\t: %8d",
        least_w, static_cast<double>(least_w) / total * 100.0, most_w,
        static_cast<double>(most_w) / total * 100.0, total);
  }

  // `item` is what a line says behind the length, `name` what before.
  std::string distribution(const char* name, const char* item) const {
    std::string lines = "\n===============================================";
    for (int length = 0; length <= most(lengths); ++length) {
      const auto count = static_cast<int>(std::count(lengths.begin(), lengths.end(), length));
      if (count != 0)
        lines += text("\n %s= %4d --> %6d %s(s) (%8.2lf%%)", name, length, count, item,
                      static_cast<double>(count) / static_cast<double>(lengths.size()) * 100.0);
    }
    return lines;
  }
};

struct Reports {
  std::string line;
  std::string details;
};

Reports slow_reports(const Hypergraph& h) {
  const Figures cells(nets_of_cells(h), of_cells(h, &Cell::w), h._p);
  const Figures nets(pins_of_nets(h), of_nets(h, &Net::w), h._p);
  Reports reports;
  reports.line = text("%d\t%d\t%d", h._c, h._n, h._p) + cells.fields() + nets.fields() +
                 cells.weight_fields() + nets.weight_fields() + "\n";
  reports.details = text(" H=(%d, %d, %d)\nCell Degree", h._c, h._n, h._p) + cells.length_lines() +
                    "\nNet Size" + nets.length_lines() + "\nCell Weights" + cells.weight_lines() +
                    "\nNet Weights" + nets.weight_lines() + "\n\n Cell Degree distribution" +
                    cells.distribution("CelDeg", "cell") + "\n\n Net Size  distribution" +
                    nets.distribution("NetSize", "net") + "\n\n";
  return reports;
}

Reports reports_of(const Record& r) {
  recorder::reset();
  testing::internal::CaptureStdout();
  prinfo_hypergraph(&r.h);
  Reports reports;
  reports.line = testing::internal::GetCapturedStdout();
  pr_detailinfo_hypergraph(&r.h);
  reports.details = recorder::printed();
  return reports;
}

TEST_F(PrinfoHypergraph, AndTheDetailsAgreeToTheDigitOnRandomRecords) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed, {.ncells = 30, .nnets = 30, .weight = 1000, .duplicates = seed % 2 == 0});
    if (seed % 3 == 0) r.h._p += static_cast<int>(seed % 17);
    const Reports expected = slow_reports(r.h);
    const Reports reports = reports_of(r);
    ASSERT_EQ(reports.line, expected.line);
    ASSERT_EQ(reports.details, expected.details);
  }
}

// Lists on both sides of what is counted in the first pass, and cells that have as many nets.
TEST_F(PrDetailinfoHypergraph, AgreesToTheDigitOnVeryLongLists) {
  constexpr int kCells = 17000;
  Shape shape = {.ncells = kCells};
  for (const int size : {kCells, 16385, 16384, 16384, 16383, 1, 0}) {
    std::vector<int> pins(static_cast<std::size_t>(size));
    std::iota(pins.begin(), pins.end(), 1);
    shape.pins.push_back(pins);
  }
  for (const bool turned : {false, true}) {
    Shape other = {.ncells = 7, .pins = nets_of_cells(shape)};
    const Record r(turned ? other : shape);
    const Reports expected = slow_reports(r.h);
    const Reports reports = reports_of(r);
    EXPECT_EQ(reports.line, expected.line);
    EXPECT_EQ(reports.details, expected.details);
  }
}

}  // namespace
}  // namespace quillon
