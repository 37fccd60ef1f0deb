// Runs one function of the module, as a program that links only the module would.
//
//   library_calls NAME      in a folder with in.qhg and in.part

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

using namespace quillon;

constexpr int kParts = 3;
constexpr int kAccount = 2;

// A hypergraph with both sides, built without the readers.
Hypergraph loaded() {
  static const int xnadj[] = {0, 0, 2, 5, 6, 8};
  static const int nadj[] = {1, 2, 2, 3, 4, 1, 4, 3};
  Hypergraph h = {};
  hypergraph_LoadFromArr(&h, 4, 4, xnadj, nadj, nullptr);
  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = i % kParts;
  set_hypergraph_infos(&h);
  return h;
}

int* ints(int count) { return imalloc(count, "library_calls: ints"); }

Hypergraph* room_in_pools(const Hypergraph& source) {
  Hypergraph* const nh = create_hypergraph(0);
  nh->_c = source._c;
  nh->_n = source._n;
  nh->_p = source._p;
  create_hypergraph_data(nh, 1, 1, 1);
  return nh;
}

void prune(bool shuffled) {
  Hypergraph h = loaded();
  Hypergraph* const nh = room_in_pools(h);
  int* const netorder = ints(h._n + 1);
  int* const celldeg = ints(h._c + 1);
  int* const cellperm = ints(h._c + 1);
  auto** const cellend =
      static_cast<int**>(umalloc(sizeof(int*) * static_cast<std::uint64_t>(h._c + 1), "library_calls: ends"));
  int nmulti = 0;
  if (shuffled)
    CopyPermConsHypergraph(&h, nh, netorder, cellperm, celldeg, cellend, 3, &nmulti, kAccount);
  else
    CopyConsHypergraph(&h, nh, netorder, celldeg, cellend, 3, &nmulti, kAccount);
  for (void* const block : {static_cast<void*>(netorder), static_cast<void*>(celldeg),
                            static_cast<void*>(cellperm), static_cast<void*>(cellend)})
    _usfree(block);
  destroy_hypergraph_data(nh);
  destroy_hypergraph(nh);
  free_hypergraph(&h);
}

void permute() {
  Hypergraph h = loaded();
  Hypergraph nh = {};
  nh._c = h._c;
  nh._n = h._n;
  nh._p = h._p;
  malloc_hypergraph(&nh);
  SymmetricPermute(&h, kParts, &nh);
  free_hypergraph(&nh);
  free_hypergraph(&h);
}

void export_arrays() {
  Hypergraph h = loaded();
  int* xnadj = nullptr;
  int* nadj = nullptr;
  hypergraph_Fill2Arr(&h, &xnadj, &nadj);
  _usfree(xnadj);
  _usfree(nadj);
  free_hypergraph(&h);
}

void read_arrays() {
  int ncells = 0;
  int nnets = 0;
  int* xnadj = nullptr;
  int* nadj = nullptr;
  read_hypergraph_netar("in.qhg", &ncells, &nnets, &xnadj, &nadj);
  _usfree(xnadj);
  _usfree(nadj);
}

template <typename Use>
void with_loaded(Use use) {
  Hypergraph h = loaded();
  use(&h);
  free_hypergraph(&h);
}

struct Call {
  const char* name;
  void (*run)();
};

void read(int (*reader)(Hypergraph*, const char*, int)) {
  Hypergraph h;
  reader(&h, "in.qhg", 1);
  free_hypergraph(&h);
}

void copy(const Hypergraph* h) {
  Hypergraph nh;
  CopyHypergraph(&nh, h);
  free_hypergraph(&nh);
}

constexpr Call kCalls[] = {
    {"read_hypergraph", [] { read(read_hypergraph); }},
    {"read_hypergraph_with_onepin_nets", [] { read(read_hypergraph_with_onepin_nets); }},
    {"read_hypergraph_netar", read_arrays},
    {"read_part_info",
     [] {
       Hypergraph h;
       read_hypergraph(&h, "in.qhg", 0);
       read_part_info(&h, "in.part");
       free_hypergraph(&h);
     }},
    {"hypergraph_Fill2Arr", export_arrays},
    {"write_hypergraph", [] { with_loaded([](Hypergraph* h) { write_hypergraph(h, "out", 1, 3); }); }},
    {"write_hmetis_hypergraph",
     [] { with_loaded([](Hypergraph* h) { write_hmetis_hypergraph(h, "out"); }); }},
    {"write_kub_hypergraph", [] { with_loaded([](Hypergraph* h) { write_kub_hypergraph(h, "out"); }); }},
    {"write_part_info", [] { with_loaded([](Hypergraph* h) { write_part_info(h, "out"); }); }},
    {"CopyHypergraph", [] { with_loaded(copy); }},
    {"CopyConsHypergraph", [] { prune(false); }},
    {"CopyPermConsHypergraph", [] { prune(true); }},
    {"SymmetricPermute", permute},
    {"prinfo_hypergraph", [] { with_loaded(prinfo_hypergraph); }},
    {"pr_detailinfo_hypergraph", [] { with_loaded(pr_detailinfo_hypergraph); }},
    {"CheckListsofHypergraph", [] { with_loaded(CheckListsofHypergraph); }},
    {"PrintHypergraph", [] { with_loaded(PrintHypergraph); }},
};

}  // namespace

int main(int argc, char** argv) {
  for (const Call& call : kCalls) {
    if (argc == 2 && std::strcmp(argv[1], call.name) == 0) {
      call.run();
      return EXIT_SUCCESS;
    }
    if (argc == 1) quillon::uprintf("%s\n", call.name);
  }
  return argc == 1 ? EXIT_SUCCESS : EXIT_FAILURE;
}
