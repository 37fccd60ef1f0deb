#pragma once
/// @file
/// The obvious form of the module's functions: one step after the other as their descriptions say it, with
/// the C library and its malloc. The benchmarks compare the module with these.
///
/// Arguments and results are those of the functions of the same name in `hypergraph/hypergraph.h`. Memory
/// comes from malloc: release a record with `release`, an array with `std::free`.

#include <cstdint>
#include <cstdlib>

#include "hypergraph/hypergraph.h"

namespace quillon::obvious {

/// Takes an uncleared array from malloc; running out of memory is fatal.
void* take(std::int64_t count, std::size_t each);

inline int* take_ints(std::int64_t count) { return static_cast<int*>(take(count, sizeof(int))); }

/// Takes the four arrays of a record, sized by its counts.
void take_arrays(Hypergraph* h);

/// Frees the four arrays, and `_internets`, `_clabel` and `_nlabel`, and sets them to null.
void release(Hypergraph* h);

/// @name Files
/// @{
int read_hypergraph(Hypergraph* h, const char* filename, int check);
int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check);
void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj);
int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt);
int write_hmetis_hypergraph(const Hypergraph* h, const char* filename);
int write_kub_hypergraph(const Hypergraph* h, const char* filename);
void write_part_info(const Hypergraph* h, const char* filename);
void write_partvec(int n, const int* partvec, const char* filename);
void read_part_info(Hypergraph* h, const char* filename);
/// @}

/// @name One side from the other, and summaries
/// @{
int construct_net_list(Hypergraph* h, int* work);
int construct_cell_list(Hypergraph* h, int* work);
void set_hypergraph_infos(Hypergraph* h);
void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj);
void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal);
/// @}

/// @name Copies
/// Those that draw random numbers take them from the stream of `uRandom`, in the order that is documented.
/// @{
int CopyHypergraph(Hypergraph* nh, const Hypergraph* h);
int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode);
int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode);
int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm);
/// @}

/// @name Reports and checks
/// They print the same text, and the first broken rule ends the program.
/// @{
void prinfo_hypergraph(const Hypergraph* h);
void pr_detailinfo_hypergraph(const Hypergraph* h);
void CheckListsofHypergraph(const Hypergraph* h);
int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose);
/// @}

}  // namespace quillon::obvious
