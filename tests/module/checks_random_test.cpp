// The checks and reports against their twins on random records, sound and broken.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "oracle/oracle.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/extremes.h"
#include "tests/support/records.h"

namespace quillon {
namespace {

using CheckLists = Recorded;
using CheckListsOfContinues = Recorded;
using CheckSymmetry = Recorded;
using PrinfoHypergraph = Recorded;
using PrDetailinfoHypergraph = Recorded;

// All reports of a call.
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

Outcome lists_checked_by(void (*check)(const Hypergraph*), const Record& r) {
  return outcome_of([&r, check] {
    check(&r.h);
    return 0;
  });
}

Outcome check_lists(const Record& r) { return lists_checked_by(CheckListsofHypergraph, r); }

Outcome twin_of_check_lists(const Record& r) { return lists_checked_by(oracle::CheckListsofHypergraph, r); }

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

// Breaks one thing, or reorders entries.
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

TEST_F(CheckLists, AgreesWithItsTwinOnRandomRecordsSoundAndBroken) {
  int nsound = 0;
  constexpr int kSeeds = 6000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r = random_record(seed, {.ncells = 12, .nnets = 12, .duplicates = seed % 5 == 0});
    for (int n = dice.below(4); n > 0; --n) disturb(r, dice);
    const Outcome expected = twin_of_check_lists(r);
    ASSERT_EQ(check_lists(r), expected);
    if (expected.fatal == recorder::kSound) ++nsound;
  }
  EXPECT_GT(nsound, kSeeds / 10);
  EXPECT_LT(nsound, kSeeds / 2);
}

// Both sides keep as many entries as they had, so that it depends on the entries whether they agree.
void disturb_entries(Record& r, Dice& dice) {
  const bool on_nets = dice.below(2) == 0;
  std::vector<int>& list = on_nets ? r.cell_list : r.net_list;
  const int count = on_nets ? r.h._c : r.h._n;
  if (r.h._p < 1) return;
  switch (dice.below(4)) {
    case 0:
      dice.entry(list, r.h._p) = 1 + dice.below(count);
      break;
    case 1:
      dice.entry(list, r.h._p) = odd_number(dice, count);
      break;
    case 2:
      list[static_cast<std::size_t>(r.h._p) - 1] = 1 + dice.below(count);
      break;
    default:
      std::swap(dice.entry(list, r.h._p), dice.entry(list, r.h._p));
  }
}

TEST_F(CheckLists, AgreesWithItsTwinOnAsManyEntriesOnBothSides) {
  int nsound = 0;
  constexpr int kSeeds = 4000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    const int most = seed % 8 == 0 ? 60 : 6;
    Record r = random_record(seed, {.ncells = most, .nnets = most, .duplicates = seed % 7 == 0});
    for (int n = dice.below(3); n > 0; --n) disturb_entries(r, dice);
    const Outcome expected = twin_of_check_lists(r);
    ASSERT_EQ(check_lists(r), expected);
    if (expected.fatal == recorder::kSound) ++nsound;
  }
  EXPECT_GT(nsound, kSeeds / 10);
  EXPECT_LT(nsound, kSeeds * 9 / 10);
}

// Look-ups are queued by 64: the wrong entry is the last one of a full queue, or among the rest.
TEST_F(CheckLists, NoticesTheLastEntryWhereverItIsInTheQueue) {
  for (const int npins : {1, 2, 63, 64, 65, 127, 128, 129}) {
    Shape shape = {.ncells = npins + 1};
    for (int i = 1; i <= npins; ++i) shape.pins.push_back({i});
    Record r(shape);
    EXPECT_EQ(check_lists(r).fatal, recorder::kSound) << npins;
    r.cell_list[static_cast<std::size_t>(npins) - 1] = npins + 1;
    EXPECT_EQ(
        check_lists(r).fatal,
        text(" CheckListsofHypergraph: net %d occurs 0 times in the net list of cell %d", npins, npins + 1));
  }
}

// Nets with one in two cells, or one in `one_in`, in random order.
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

// Reverses the list of cell 1, to a falling order.
void turn_first_cell(Record& r) { std::reverse(r.cells[1].nets, r.cells[1].netsend + 1); }

TEST_F(CheckLists, AgreesWithItsTwinOnLongLists) {
  struct Size {
    int ncells;
    int nnets;
  };
  // More numbers than one pass over a list covers, more cells than cached places, long lists of cells.
  for (const Size size : {Size{300000, 2}, Size{9000, 5}, Size{40, 300}, Size{200, 200}, Size{3, 3000}}) {
    SCOPED_TRACE(testing::Message() << size.ncells << " cells, " << size.nnets << " nets");
    Record r(long_lists(1, size.ncells, size.nnets));
    const std::string fatal = recorder::fatal_text([&r] { CheckListsofHypergraph(&r.h); });
    EXPECT_EQ(fatal, recorder::kSound);
    turn_first_cell(r);
    EXPECT_EQ(check_lists(r).fatal, recorder::kSound);
  }
}

TEST_F(CheckLists, AgreesWithItsTwinOnLongListsWithMistakes) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r(seed % 2 == 0 ? long_lists(seed, 60, 90) : long_lists(seed, 600, 9));
    if (seed % 3 == 0) turn_first_cell(r);
    for (int n = dice.below(3); n > 0; --n) disturb(r, dice);
    EXPECT_EQ(check_lists(r), twin_of_check_lists(r));
  }
}

// The net names one cell twice and does not name another, whose number may be far away. On the cell side both
// are listed once.
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

// Net 1 has cells 1 .. 256, a multiple of the number of queued look-ups; net 2 has cell 256, net 3 cell 257.
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

TEST_F(CheckLists, ANetThatFollowsTheListOfItsCellIsFatal) {
  Record r = record_of_many_cells();
  r.cell_list[257] = 256;
  EXPECT_EQ(check_lists(r).fatal,
            " CheckListsofHypergraph: net 3 occurs 0 times in the net list of cell 256");
}

TEST_F(CheckListsOfContinues, AgreesWithItsTwinOnRandomRecordsSoundAndBroken) {
  int nsound = 0;
  constexpr int kSeeds = 4000;
  for (unsigned seed = 1; seed <= kSeeds; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Dice dice(seed);
    Record r = random_record(seed, {.ncells = 10, .nnets = 10, .duplicates = seed % 5 == 0});
    for (int n = r.h._p < 1 ? 0 : dice.below(3); n > 0; --n) {
      const bool on_nets = dice.below(2) == 0;
      std::vector<int>& list = on_nets ? r.cell_list : r.net_list;
      const int count = on_nets ? r.h._c : r.h._n;
      dice.entry(list, r.h._p) = dice.below(4) == 0 ? odd_number(dice, count) : 1 + dice.below(count);
    }
    const int nnets = dice.below(r.h._n + 1);
    const std::string expected =
        recorder::fatal_text([&] { oracle::CheckListsofContinuesHypergraph(&r.h, nnets); });
    ASSERT_EQ(recorder::fatal_text([&] { CheckListsofContinuesHypergraph(&r.h, nnets); }), expected);
    if (expected == recorder::kSound) ++nsound;
  }
  EXPECT_GT(nsound, kSeeds / 10);
  EXPECT_LT(nsound, kSeeds * 9 / 10);
}

// If net i has cell j, net j has cell i. The pins of a net are in increasing or falling order.
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

TEST_F(CheckSymmetry, AgreesWithItsTwinOnRandomRecordsSoundAndBroken) {
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
        case 2: {  // both sides may name a number twice
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
    const Outcome expected = outcome_of([&] { return oracle::CheckSymmetryinHypergraph(&r.h, verbose); });
    ASSERT_EQ(outcome_of([&] { return CheckSymmetryinHypergraph(&r.h, verbose); }), expected);
    nsymmetric += expected.result;
  }
  EXPECT_GT(nsymmetric, kSeeds / 10);
  EXPECT_LT(nsymmetric, kSeeds * 9 / 10);
}

struct Reports {
  std::string line;
  std::string details;
  std::vector<std::string> requests;
  bool operator==(const Reports&) const = default;
};

void PrintTo(const Reports& reports, std::ostream* out) {
  *out << reports.line << reports.details << testing::PrintToString(reports.requests);
}

using Report = void(const Hypergraph* h);

Reports reports_by(Report* line, Report* details, const Record& r) {
  recorder::reset();
  testing::internal::CaptureStdout();
  line(&r.h);
  const std::string captured = testing::internal::GetCapturedStdout();
  details(&r.h);
  return {captured, recorder::printed(), recorder::requests()};
}

Reports reports_of(const Record& r) { return reports_by(prinfo_hypergraph, pr_detailinfo_hypergraph, r); }

Reports twins_of_reports(const Record& r) {
  return reports_by(oracle::prinfo_hypergraph, oracle::pr_detailinfo_hypergraph, r);
}

TEST_F(PrinfoHypergraph, AndTheDetailsAgreeToTheDigitOnRandomRecords) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Record r = random_record(seed, {.ncells = 30, .nnets = 30, .weight = 1000, .duplicates = seed % 2 == 0});
    if (seed % 3 == 0) r.h._p += static_cast<int>(seed % 17);
    ASSERT_EQ(reports_of(r), twins_of_reports(r));
  }
}

// Lists of nets and of cells, some longer than those counted in the first pass.
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
    EXPECT_EQ(reports_of(r), twins_of_reports(r));
  }
}

}  // namespace
}  // namespace quillon
