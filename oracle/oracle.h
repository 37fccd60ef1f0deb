#pragma once
/// @file
/// A slow, obvious twin of each function of the module that has a fast path, step by step as
/// `hypergraph/hypergraph.h` describes it. Tests and fuzzers compare the module with the twins, benchmarks
/// measure it against them. Nothing here uses code of the module, only its header.
///
/// Arguments, results, messages, requests and output are those of the function of the same name in namespace
/// quillon. Memory comes from `services`, everything else from the utility layer.
///
/// Functions that are obvious themselves have no twin: the lifecycle of records except `malloc_hypergraph`
/// and `free_hypergraph`, `SortPins`, `clear_weights`, `CopySetAsideNets`, `HygrInfo` and `PrintHypergraph`.

#include <cstdint>
#include <cstdio>

#include "hypergraph/hypergraph.h"

namespace quillon::oracle {

/// Thrown by the readers where the module never returns: the input ends, or cannot be read on, after a
/// comment while a line is missing; or it cannot be read on after a line of cell weights that completes no
/// cell.
struct Endless {};

/// @name Lifecycle
/// @{
void malloc_hypergraph(Hypergraph* h);
void free_hypergraph(Hypergraph* h);
/// @}

/// @name One side from the other, and summaries
/// @{
int construct_net_list(Hypergraph* h, int* work);
int construct_cell_list(Hypergraph* h, int* work);
void set_hypergraph_infos(Hypergraph* h);
/// @}

/// @name Files
/// @{
int read_hypergraphFromFile(Hypergraph* h, std::FILE* ifp, int check);
int read_hypergraph(Hypergraph* h, const char* filename, int check);
int read_hypergraph_with_onepin_netsFromFile(Hypergraph* h, std::FILE* ifp, int check);
int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check);
int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt);
int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt);
int write_hmetis_hypergraph(const Hypergraph* h, const char* filename);
int write_kub_hypergraph(const Hypergraph* h, const char* filename);
void write_part_info(const Hypergraph* h, const char* filename);
void write_partvec(int n, const int* partvec, const char* filename);
void read_part_info(Hypergraph* h, const char* filename);

/// The twin of the function of the utility layer.
void read_array(const char* filename, std::int32_t* array, int count, int first);
/// @}

/// @name Net arrays
/// @{
void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj);
void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal);
void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj);
/// @}

/// @name Copies
/// @{
int CopyHypergraph(Hypergraph* nh, const Hypergraph* h);
int CopyConsHypergraph(const Hypergraph* h, Hypergraph* nh, int* netorder, int* celldeg, int** cellend,
                       int maxsize, int* nmulti, int mode);
int CopyPermConsHypergraph(Hypergraph* h, Hypergraph* nh, int* netorder, int* cellperm, int* celldeg,
                           int** cellend, int maxsize, int* nmulti, int mode);
int PermuteHypergraph(const Hypergraph* h, Hypergraph* nh, const int* netperm, int* cellperm);
void SymmetricPermute(const Hypergraph* h, int k, Hypergraph* nh);
/// @}

/// @name Reports and checks
/// The checks do not read lists of spare items, 0 and the one after the last.
/// @{
void prinfo_hypergraph(const Hypergraph* h);
void pr_detailinfo_hypergraph(const Hypergraph* h);
void CheckListsofHypergraph(const Hypergraph* h);
void CheckListsofContinuesHypergraph(const Hypergraph* h, int nnets);
int CheckSymmetryinHypergraph(const Hypergraph* h, int verbose);
void PrintPins(const Hypergraph* h, int j);
void PrintNets(const Hypergraph* h, int i);
/// @}

}  // namespace quillon::oracle
