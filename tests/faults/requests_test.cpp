#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "tests/double/recorded.h"
#include "tests/double/recorder.h"
#include "tests/support/destination.h"
#include "tests/support/records.h"
#include "tests/support/temp_file.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kLongLine = 16777217;  // pins for which the readers' first buffer is too short

using EachRequestFails = Recorded;
using NoRequestIsMade = Recorded;

Record three_nets_in_parts() {
  return Record({.ncells = 3,
                 .pins = {{1, 2}, {3}, {2, 3, 1}},
                 .net_weights = {4, 5, 6},
                 .cell_weights = {7, 8, 9},
                 .parts = {1, 0, 1}});
}

// The messages that end `body` when its first, second, .. request fails, up to its last request. No run warns
// or prints anything.
std::vector<std::string> messages(const std::function<void()>& body) {
  std::vector<std::string> all;
  for (std::size_t n = 1;; ++n) {
    recorder::reset();
    recorder::fail_allocation(static_cast<int>(n));
    const std::string text = recorder::fatal_text(body);
    if (recorder::requests({"umalloc", "imalloc", "urealloc", "poolalloc"}).size() < n) return all;
    all.push_back(text);
    EXPECT_THAT(recorder::warnings(), IsEmpty());
    EXPECT_EQ(recorder::printed(), "");
  }
}

// Whether two records agree in all counts, lists and weights.
void expect_unchanged(const Record& r, const Record& before) {
  EXPECT_EQ(counts_of(r.h), counts_of(before.h));
  EXPECT_EQ(pins_of_nets(r.h), pins_of_nets(before.h));
  EXPECT_EQ(nets_of_cells(r.h), nets_of_cells(before.h));
  EXPECT_EQ(of_nets(r.h, &Net::w), of_nets(before.h, &Net::w));
  for (const auto field : {&Cell::w, &Cell::inw, &Cell::pno, &Cell::wdeg})
    EXPECT_EQ(of_cells(r.h, field), of_cells(before.h, field));
}

TEST_F(EachRequestFails, OfTheExportOfNetArrays) {
  const Record r = three_nets_in_parts();
  EXPECT_THAT(messages([&r] {
                int* xnadj = nullptr;
                int* nadj = nullptr;
                hypergraph_Fill2Arr(&r.h, &xnadj, &nadj);
              }),
              ElementsAre("hypergraph_Fill2Arr: xnadj", "read_hypergraph_netar: nadj"));
  expect_unchanged(r, three_nets_in_parts());
}

TEST_F(EachRequestFails, OfTheImportOfNetArrays) {
  const std::vector<int> xnadj{kMarker, 0, 2, 3};
  const std::vector<int> nadj{1, 2, 3};
  const std::vector<int> diagonal{kMarker, 1, 0};
  for (const int* const marks : {static_cast<const int*>(nullptr), diagonal.data()}) {
    EXPECT_THAT(
        messages([&] {
          Hypergraph h = {};
          hypergraph_LoadFromArr(&h, 2, 3, xnadj.data(), nadj.data(), marks);
        }),
        ElementsAre("malloc_hypergraph: clst", "malloc_hypergraph: nlst", "malloc_hypergraph: cell_list",
                    "malloc_hypergraph: net_list", "hypergraph_LoadFromArr: work"));
  }
}

std::vector<std::string> messages_of_net_array_reader(const std::string& text) {
  const TempFile file(text);
  return messages([&file] {
    int ncells = 0;
    int nnets = 0;
    int* xnadj = nullptr;
    int* nadj = nullptr;
    read_hypergraph_netar(file.name(), &ncells, &nnets, &xnadj, &nadj);
  });
}

TEST_F(EachRequestFails, OfTheReaderOfNetArrays) {
  EXPECT_THAT(messages_of_net_array_reader("1 3 2 4\n1 2\n3 1\n"),
              ElementsAre("read_hypergraph_netar : line", "read_hypergraph_netar: xnadj",
                          "read_hypergraph_netar: nadj"));
}

TEST_F(EachRequestFails, OfTheReaderOfNetArraysWithLongLines) {
  EXPECT_THAT(messages_of_net_array_reader("1 3 1 " + std::to_string(kLongLine) + "\n1 2\n"),
              ElementsAre("read_hypergraph_netar : line", "read_hypergraph_netar: line",
                          "read_hypergraph_netar: xnadj", "read_hypergraph_netar: nadj"));
}

TEST_F(EachRequestFails, OfTheReadersByName) {
  const TempFile file("1 2 1 2 1\n1 2\n3 4\n");
  for (auto* const reader : {read_hypergraph, read_hypergraph_with_onepin_nets}) {
    const std::vector<std::string> checked = messages([&] {
      Hypergraph h;
      reader(&h, file.name(), 1);
    });
    EXPECT_THAT(checked,
                ElementsAre("read_hypergraph : line", "read_hypergraph: clst", "read_hypergraph: nlst",
                            "read_hypergraph: cell_list", "read_hypergraph: work"));
    const std::vector<std::string> unchecked = messages([&] {
      Hypergraph h;
      reader(&h, file.name(), 0);
    });
    EXPECT_THAT(unchecked, ElementsAre("read_hypergraph : line", "read_hypergraph: clst",
                                       "read_hypergraph: nlst", "read_hypergraph: cell_list"));
  }
}

TEST_F(EachRequestFails, OfTheReaderOfPartsWhichThenLeavesTheFileAlone) {
  const TempFile file("2 2 2\n");
  EXPECT_THAT(messages([&file] {
                Record r = three_nets_in_parts();
                read_part_info(&r.h, file.name());
              }),
              ElementsAre("read_part_info: ta"));

  recorder::reset();
  Record r = three_nets_in_parts();
  recorder::fail_allocation(1);
  recorder::fatal_text([&] { read_part_info(&r.h, file.name()); });
  expect_unchanged(r, three_nets_in_parts());
  EXPECT_THAT(recorder::requests({"read_array", "ufopen"}), IsEmpty());
}

TEST_F(EachRequestFails, OfThePruningCopiesWhichLeaveTheirSourceAlone) {
  Record r = three_nets_in_parts();
  EXPECT_THAT(messages([&r] {
                Destination d(r.h);
                prune(r.h, d, 9, kAccount);
              }),
              ElementsAre("CopyConsHypergraph: nh->_internets"));
  expect_unchanged(r, three_nets_in_parts());
  EXPECT_THAT(messages([&r] {
                Destination d(r.h);
                prune_shuffled(r.h, d, 9, kAccount);
              }),
              ElementsAre("CopyPermConsHypergraph: nh->_internets"));
}

TEST_F(EachRequestFails, OfTheCopyAndThePermutationsWhichLeaveTheirSourceAlone) {
  const Record r = three_nets_in_parts();
  EXPECT_THAT(messages([&r] {
                Hypergraph copy;
                CopyHypergraph(&copy, &r.h);
              }),
              ElementsAre("malloc_hypergraph: clst", "malloc_hypergraph: nlst",
                          "malloc_hypergraph: cell_list", "malloc_hypergraph: net_list"));
  EXPECT_THAT(messages([&r] {
                Destination d(r.h);
                SymmetricPermute(&r.h, 2, &d.h);
              }),
              ElementsAre("con", "cwork", "rcwork"));
  expect_unchanged(r, three_nets_in_parts());
}

// The functions that allocate no memory, by name.
const std::map<std::string, void (*)(Record& r, const char* file)> kOthers = {
    {"construct_net_list",
     [](Record& r, const char*) {
       std::vector<int> work(r.cells.size());
       construct_net_list(&r.h, work.data());
     }},
    {"construct_cell_list",
     [](Record& r, const char*) {
       std::vector<int> work(r.cells.size() + r.nets.size());
       construct_cell_list(&r.h, work.data());
     }},
    {"SortPins", [](Record& r, const char*) { SortPins(&r.h); }},
    {"set_hypergraph_infos", [](Record& r, const char*) { set_hypergraph_infos(&r.h); }},
    {"clear_weights", [](Record& r, const char*) { clear_weights(&r.h); }},
    {"HygrInfo", [](Record& r, const char*) { HygrInfo(&r.h); }},
    {"write_hypergraph", [](Record& r, const char* file) { write_hypergraph(&r.h, file, 1, 3); }},
    {"write_hmetis_hypergraph", [](Record& r, const char* file) { write_hmetis_hypergraph(&r.h, file); }},
    {"write_kub_hypergraph",
     [](Record& r, const char* file) {
       write_kub_hypergraph(&r.h, file);
       recorder::forget_files();
     }},
    {"write_part_info", [](Record& r, const char* file) { write_part_info(&r.h, file); }},
    {"write_partvec",
     [](Record&, const char* file) {
       const std::vector<int> parts{0, 1, 0};
       write_partvec(2, parts.data(), file);
     }},
    {"prinfo_hypergraph",
     [](Record& r, const char*) {
       testing::internal::CaptureStdout();
       prinfo_hypergraph(&r.h);
       EXPECT_NE(testing::internal::GetCapturedStdout(), "");
     }},
    {"CheckListsofHypergraph",
     [](Record& r, const char*) {
       set_hypergraph_infos(&r.h);
       CheckListsofHypergraph(&r.h);
     }},
    {"CheckListsofContinuesHypergraph",
     [](Record& r, const char*) { CheckListsofContinuesHypergraph(&r.h, r.h._n); }},
    {"CheckSymmetryinHypergraph", [](Record& r, const char*) { CheckSymmetryinHypergraph(&r.h, 1); }},
    {"PrintPins", [](Record& r, const char*) { PrintPins(&r.h, 1); }},
    {"PrintNets", [](Record& r, const char*) { PrintNets(&r.h, 1); }},
    {"PrintHypergraph", [](Record& r, const char*) { PrintHypergraph(&r.h); }},
};

TEST_F(NoRequestIsMade, ByTheFunctionsThatNeedNone) {
  for (const auto& other : kOthers) {
    SCOPED_TRACE(other.first);
    recorder::reset();
    recorder::fail_allocation(1);
    // Symmetric, because the symmetry check is one of the functions.
    Record r({.ncells = 2, .pins = {{1, 2}, {1, 2}}, .parts = {0, 1}});
    const TempFile file;
    EXPECT_EQ(recorder::fatal_text([&] { other.second(r, file.name()); }), recorder::kSound);
    EXPECT_THAT(recorder::requests({"umalloc", "imalloc", "urealloc", "poolalloc"}), IsEmpty());
  }
}

}  // namespace
}  // namespace quillon
