#include <gmock/gmock.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/support/pool_top.h"
#include "tests/support/records.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::Eq;
using testing::ExitedWithCode;

using StreamReader = int(Hypergraph*, std::FILE*, int);

constexpr int kLineSize = 16777216;

std::string pool_error(int pool, const void* block, const std::string& tag, const std::string& newest) {
  char text[300];
  std::snprintf(text, sizeof text,
                "poolfree_upto: pool %d does not hold block %p for \"%s\"; its newest is %s", pool, block,
                tag.c_str(), newest.c_str());
  return text;
}

// Reads a text as a file.
int read_text(StreamReader* reader, const std::string& text, int check = 0) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::tmpfile(), std::fclose);
  if (stream == nullptr) return -1;
  std::fwrite(text.data(), 1, text.size(), stream.get());
  std::rewind(stream.get());
  Hypergraph h;
  const int result = reader(&h, stream.get(), check);
  free_hypergraph(&h);
  return result;
}

StreamReader* const kReaders[] = {read_hypergraphFromFile, read_hypergraph_with_onepin_netsFromFile};

void expect_both_readers_refuse(const std::string& file, const std::string& text) {
  for (StreamReader* const reader : kReaders)
    EXPECT_EQ(fatal_text([&] { read_text(reader, file); }), text) << file;
}

Hypergraph* created(int ncells, int nnets, int npins) {
  Hypergraph* const h = create_hypergraph(5);
  h->_c = ncells;
  h->_n = nnets;
  h->_p = npins;
  return h;
}

// Fills the net side with one net of all cells, and builds the cell side from it.
void fill_with_one_net(Hypergraph* h) {
  for (int i = 1; i <= h->_c; ++i) {
    h->_clst[i] = Cell{1, 0, -1, 0, nullptr, nullptr};
    h->_cell_list[i - 1] = i;
  }
  h->_nlst[1] = Net{1, h->_cell_list, h->_cell_list + h->_p - 1};
  h->_nlst[2].pins = h->_cell_list + h->_p;
  std::vector<int> work(static_cast<std::size_t>(h->_c) + 1);
  construct_net_list(h, work.data());
  set_hypergraph_infos(h);
  h->_totnw = 1;
}

TEST(PoolRecord, LivesAndLeavesBothPoolsEmpty) {
  void* const tops[] = {top_of(0), top_of(1)};
  for (int round = 0; round < 3; ++round) {
    Hypergraph* const h = created(100, 1, 100);
    create_hypergraph_data(h, 1, 1, 1);
    h->_internets = static_cast<InternalNet*>(poolalloc(0, 8, "internal nets"));
    fill_with_one_net(h);
    testing::internal::CaptureStdout();
    CheckListsofHypergraph(h);
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "\n CheckListsofHypergraph: Checking Hypergraph H=(  100,     1,     100) TNW=1 TINW=0 VirtNets=0"
        "\n Checking DONE....\n");

    destroy_hypergraph_data(h);
    EXPECT_EQ(destroy_hypergraph(h), 1);
    EXPECT_EQ(top_of(0), tops[0]);
    EXPECT_EQ(top_of(1), tops[1]);
  }
}

TEST(PoolRecord, EveryEntryOfItsArraysIsItsOwn) {
  // Writes every entry: the address sanitizer ends the program if a block is too short.
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 1, 1, 1);
  for (int i = 0; i <= 4; ++i) h->_clst[i].wdeg = h->_iprm[i] = h->_iprmi[i] = h->_fixedAtPart[i] = 100 + i;
  for (int i = 0; i <= 3; ++i) h->_clabel[i] = 200 + i;
  for (int j = 0; j <= 3; ++j) h->_nlst[j].w = 300 + j;
  for (int j = 0; j <= 2; ++j) h->_netmap[j] = h->_nlabel[j] = 400 + j;
  for (int k = 0; k <= 6; ++k) h->_cell_list[k] = h->_net_list[k] = 500 + k;

  for (int i = 0; i <= 4; ++i) {
    EXPECT_EQ(h->_clst[i].wdeg, 100 + i);
    EXPECT_EQ(h->_iprm[i], 100 + i);
    EXPECT_EQ(h->_iprmi[i], 100 + i);
    EXPECT_EQ(h->_fixedAtPart[i], 100 + i);
  }
  for (int i = 0; i <= 3; ++i) EXPECT_EQ(h->_clabel[i], 200 + i);
  for (int j = 0; j <= 3; ++j) EXPECT_EQ(h->_nlst[j].w, 300 + j);
  for (int j = 0; j <= 2; ++j) EXPECT_EQ(h->_netmap[j], 400 + j);
  for (int j = 0; j <= 2; ++j) EXPECT_EQ(h->_nlabel[j], 400 + j);
  for (int k = 0; k <= 6; ++k) EXPECT_EQ(h->_cell_list[k], 500 + k);
  for (int k = 0; k <= 6; ++k) EXPECT_EQ(h->_net_list[k], 500 + k);
  destroy_hypergraph_data(h);
  destroy_hypergraph(h);
}

TEST(PoolRecord, ReleasedWithoutItsDataAlsoReleasesThePoolZeroArrays) {
  void* const top = top_of(0);
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 0, 0, 0);
  int* const cell_list = h->_cell_list;

  EXPECT_EQ(destroy_hypergraph(h), 6);
  EXPECT_EQ(top_of(0), top);
  EXPECT_EQ(poolfree_upto(1, cell_list, "still held"), 1);
}

TEST(PoolRecord, ReleasedTwiceIsAnErrorNamingPoolAndTag) {
  Hypergraph* const h = create_hypergraph(0);
  destroy_hypergraph(h);

  EXPECT_EQ(fatal_text([&] { destroy_hypergraph(h); }),
            pool_error(0, h, "destroy_hypergraph: hygre", "\"none\" of 0 bytes"));
}

TEST(PoolRecord, DataReleasedTwiceIsAnErrorNamingPoolAndTag) {
  Hypergraph* const h = created(3, 2, 5);
  create_hypergraph_data(h, 1, 0, 0);
  destroy_hypergraph_data(h);
  EXPECT_EQ(fatal_text([&] { destroy_hypergraph_data(h); }),
            pool_error(1, h->_net_list, "destroy_hypergraph_data: net_list", "\"none\" of 0 bytes"));

  h->_net_list = nullptr;
  EXPECT_EQ(fatal_text([&] { destroy_hypergraph_data(h); }),
            pool_error(1, h->_cell_list, "destroy_hypergraph_data: cell_list", "\"none\" of 0 bytes"));
  destroy_hypergraph(h);
}

TEST(PoolRecord, ARecordReleasedBeforeAnOlderOneKeepsItsDataFromBeingReleased) {
  Hypergraph* const older = created(1, 1, 1);
  create_hypergraph_data(older, 0, 0, 0);
  Hypergraph* const younger = created(1, 1, 1);
  create_hypergraph_data(younger, 0, 0, 0);
  Hypergraph released = *younger;
  destroy_hypergraph_data(older);

  EXPECT_EQ(fatal_text([&] { destroy_hypergraph_data(&released); }),
            pool_error(1, released._cell_list, "destroy_hypergraph_data: cell_list", "\"none\" of 0 bytes"));
  destroy_hypergraph(older);
}

TEST(HeapRecord, LivesAndMayBeFreedTwice) {
  Hypergraph h;
  h._c = 4;
  h._n = 1;
  h._p = 4;
  malloc_hypergraph(&h);
  fill_with_one_net(&h);
  EXPECT_EQ(h._maxcd, 1);

  free_hypergraph(&h);
  free_hypergraph(&h);
  EXPECT_EQ(h._clst, nullptr);
}

TEST(Statistics, AStaleCellTotalIsAnError) {
  Record r({.ncells = 2, .pins = {{1, 2}}});
  r.h._totcw = -3;
  const std::string text = "computed total cellw=2 but hypergraph->_totcw=-3";

  EXPECT_EQ(fatal_text([&] { prinfo_hypergraph(&r.h); }), text);
  EXPECT_EQ(fatal_text([&] { pr_detailinfo_hypergraph(&r.h); }), text);
}

TEST(CheckLists, EveryBrokenRuleIsAnError) {
  const Shape shape = {.ncells = 2, .pins = {{1, 2}}};
  struct Case {
    std::function<void(Record&)> break_rule;
    std::string text;
  };
  const std::vector<Case> cases = {
      {[](Record& r) { r.net_list[1] = 2; },
       " CheckListsofHypergraph: net 1 occurs 0 times in the net list of cell 2"},
      {[](Record& r) { r.h._p = 3; }, "CheckListsofHypergraph pp(2)!-=h->_p(3) in cells of nets"},
      {[](Record& r) { --r.nets[1].pinsend, --r.h._p; },
       " CheckListsofHypergraph: cell 2 occurs 0 times in the cell list of net 1"},
      {[](Record& r) { r.h._totcw = 3; }, "CheckListsofHypergraph: computed totcw=2 but h->_totcw = 3"},
      {[](Record& r) { r.h._totinw = r.h._totnw = 4; },
       "CheckListsofHypergraph: totnw=1 but h->_totnw = 4 OR virtn=0 and h->_virtualnets=0 "
       "BTW totinw=0 and h->totinw=4"},
  };

  for (const Case& broken : cases) {
    Record r(shape);
    broken.break_rule(r);
    EXPECT_EQ(fatal_text([&] { CheckListsofHypergraph(&r.h); }), broken.text);
  }
}

TEST(CheckListsOfContinues, AnEntryThatIsNotNamedBackIsAnError) {
  Record cells({.ncells = 2, .pins = {{1, 2}, {}}});
  cells.net_list[1] = 2;
  EXPECT_EQ(fatal_text([&] { CheckListsofContinuesHypergraph(&cells.h, 2); }),
            " CheckListsofContinuesHypergraph: cell 2 occurs 0 times in the cell list of net 2");

  Record nets({.ncells = 2, .pins = {{1, 2}}});
  nets.cells[3].nets = nets.cells[2].nets;
  EXPECT_EQ(fatal_text([&] { CheckListsofContinuesHypergraph(&nets.h, 1); }),
            " CheckListsofContinuesHypergraph: net 1 occurs 0 times in the net list of cell 2");
}

TEST(CheckSymmetry, ListsOfEqualLengthThatDifferAreErrors) {
  const Record cycle({.ncells = 3, .pins = {{2}, {3}, {1}}});
  EXPECT_EQ(fatal_text([&] { CheckSymmetryinHypergraph(&cycle.h, 0); }),
            "\n NOT Symmetric cell 3 not occured in cell-list of net 1");
}

TEST(CheckSymmetry, ANumberThatTheNetListsTwiceIsAnError) {
  Record r({.ncells = 2, .pins = {{1, 1}, {}}});
  r.net_list[1] = 2;
  EXPECT_EQ(fatal_text([&] { CheckSymmetryinHypergraph(&r.h, 1); }),
            "CheckSymmetryinHypergraph: cell 1 occurs 2 times in the cell list of net 1");
}

TEST(Reader, AnIncompleteHeaderIsAnError) {
  for (const char* const file : {"", "\n", "1 2 3\n", "% only a comment\n", "x 1 2 3 4\n"})
    expect_both_readers_refuse(file, "read_hypergraph : cannot read numbering, #cells, #nets, #pins.");
}

TEST(Reader, AWeightFormatOutOfRangeIsAnError) {
  expect_both_readers_refuse("1 1 1 1 4\n1\n", "read_hypergraph : invalid fmt parameter [4]");
  expect_both_readers_refuse("7 1 1 1 -1\n1\n", "read_hypergraph : invalid fmt parameter [-1]");
}

TEST(Reader, ANumberingOutOfRangeIsAnError) {
  expect_both_readers_refuse("2 1 1 1\n1\n", "read_hypergraph : invalid numbering parameter [2]");
  expect_both_readers_refuse("-1 1 1 1\n1\n", "read_hypergraph : invalid numbering parameter [-1]");
}

TEST(Reader, CountsThatNoRecordCanHaveAreErrors) {
  expect_both_readers_refuse("1 -1 1 1\n", "read_hypergraph : negative number of cells [-1]");
  expect_both_readers_refuse("1 1 -2 1\n", "read_hypergraph : negative number of nets [-2]");
  expect_both_readers_refuse("1 1 1 -3\n", "read_hypergraph : negative number of pins [-3]");
  expect_both_readers_refuse(
      "1 2147483646 1 1\n", "read_hypergraph : too many cells [2147483646], at most 2147483645 are possible");
  expect_both_readers_refuse("1 1 2147483647 1\n",
                             "read_hypergraph : too many nets [2147483647], at most 2147483645 are possible");
}

TEST(Reader, ACellNumberOutOfRangeIsAnError) {
  expect_both_readers_refuse("1 2 2 4\n1 2\n1 3\n",
                             "invalid vertex/cell id 3 in the  vertex/cell list of net 2");
  expect_both_readers_refuse("1 2 1 2\n0 2\n", "invalid vertex/cell id 0 in the  vertex/cell list of net 1");
  expect_both_readers_refuse("0 2 1 2\n0 2\n", "invalid vertex/cell id 3 in the  vertex/cell list of net 1");
}

TEST(Reader, ANumberOfPinsOtherThanAnnouncedIsAnError) {
  expect_both_readers_refuse("1 2 1 3\n1 2\n",
                             "read_hypergraph: Something wrong with the pins from input file 3 2\n");
  expect_both_readers_refuse("1 2 2 2\n1 2\n1 2\n",
                             "read_hypergraph: Something wrong with the pins from input file 2 4\n");
}

TEST(Reader, AWeightedNetWithoutPinsIsAnErrorForTheReaderThatRemovesIt) {
  const std::string file = "1 2 2 2 2\n3 1 2\n5\n";

  EXPECT_EQ(fatal_text([&] { read_text(read_hypergraphFromFile, file); }),
            "file contains a net with weight 5 but net doesn't have any pin.");
  EXPECT_EQ(read_text(read_hypergraph_with_onepin_netsFromFile, file), 0);
}

TEST(Reader, AWeightLineWithoutItsLineEndIsAnErrorForTheReaderThatKeepsNets) {
  const std::string file = "1 2 1 2 1\n1 2\n7 8";

  EXPECT_EQ(fatal_text([&] { read_text(read_hypergraph_with_onepin_netsFromFile, file); }),
            "read_hypergraph: no newline at the end of line '7 8'\n");
  EXPECT_EQ(read_text(read_hypergraphFromFile, file), 0);
}

TEST(Reader, AWeightLineCutShortByANullByteIsAnError) {
  using namespace std::string_literals;
  expect_both_readers_refuse("1 2 1 2 1\n1 2\n7\0 8\n9\n"s,
                             "read_hypergraph: no newline at the end of line '7'\n");
}

// The text, padded with blanks to a line of that many bytes including its line end.
std::string padded_line(std::string text, int nbytes) {
  text.resize(static_cast<std::size_t>(nbytes) - 1, ' ');
  return text + "\n";
}

TEST(Reader, ANetLineThatFillsTheBufferIsAnError) {
  const std::string file = "1 2 2 4\n1 2\n" + padded_line("1 2", kLineSize - 5);

  EXPECT_EQ(fatal_text([&] { read_text(read_hypergraphFromFile, file); }),
            "read_hypergraph: Buffer for fgets not big enough for net 2\n.");
  EXPECT_EQ(fatal_text([&] { read_text(read_hypergraph_with_onepin_netsFromFile, file); }),
            "read_hypergraph: Buffer for fgets not big enough.");
}

TEST(Reader, AWeightLineThatFillsTheBufferIsAnError) {
  const std::string file = "1 2 1 2 1\n1 2\n" + padded_line("7 8", kLineSize - 5);

  for (StreamReader* const reader : kReaders)
    EXPECT_EQ(fatal_text([&] { read_text(reader, file); }),
              "read_hypergraph: Buffer for fgets not big enough.");
}

TEST(Reader, LinesOneByteShorterAreRead) {
  const std::string file =
      "1 2 1 2 1\n" + padded_line("1 2", kLineSize - 6) + padded_line("7 8", kLineSize - 6);

  for (StreamReader* const reader : kReaders) EXPECT_EQ(read_text(reader, file), 0);
}

TEST(Reader, AMissingFileIsAnErrorNamingFileModeAndTag) {
  const std::string text =
      "ufopen: cannot open 'no/such/file' with mode \"r\" for \"read_hypergraph\": No such file or "
      "directory";
  Hypergraph h;

  EXPECT_EQ(fatal_text([&] { read_hypergraph(&h, "no/such/file", 0); }), text);
  EXPECT_EQ(fatal_text([&] { read_hypergraph_with_onepin_nets(&h, "no/such/file", 0); }), text);
}

// With the default handler.

TEST(ReaderDeathTest, ABrokenFileEndsTheProgramWithStatus1) {
  EXPECT_EXIT(read_text(read_hypergraphFromFile, "1 2 1 2\n1 3\n"), ExitedWithCode(1),
              Eq("quillon: error: invalid vertex/cell id 3 in the  vertex/cell list of net 1\n"));
}

TEST(ReaderDeathTest, TheMessageOfALongLineIsPrintedWhole) {
  const std::string line(8'000'000, '7');
  EXPECT_EXIT(read_text(read_hypergraph_with_onepin_netsFromFile, "1 2 1 2 1\n1 2\n" + line),
              ExitedWithCode(1),
              Eq("quillon: error: read_hypergraph: no newline at the end of line '" + line + "'\n"));
}

}  // namespace
}  // namespace quillon
