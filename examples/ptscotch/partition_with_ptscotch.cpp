// Partitions a hypergraph with PT-Scotch, which partitions graphs on many processes.
//
//   mpirun -n PROCESSES partition_with_ptscotch FILE NPARTS PARTS_FILE [IMBALANCE]
//
// The graph is the star expansion: a vertex for each cell and each net, an edge for each pin. Cells keep
// their weights and nets have weight 0, so that the parts are balanced in cell weight; an edge has the weight
// of its net. PT-Scotch thus minimises the total weight of the pins whose net is in another part than their
// cell. For a net of two pins this is the cost of cutting it; for a larger net it can be more.
#include <mpi.h>
#include <ptscotch.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace {

// Every process holds the whole record and passes its own range of vertices to PT-Scotch. Vertex i - 1 is
// cell i, vertex _c + j - 1 is net j.
void read_both_sides(quillon::Hypergraph* h, const char* filename) {
  quillon::read_hypergraph(h, filename, /*check=*/0);
  quillon::SortPins(h);  // makes repeated pins adjacent, on both sides
  h->_net_list = quillon::imalloc(std::int64_t{h->_p} + 2, "read_both_sides: net_list");
  std::vector<int> work(static_cast<std::size_t>(h->_c) + 1);
  quillon::construct_net_list(h, work.data());
  quillon::set_hypergraph_infos(h);
}

// PT-Scotch counts in SCOTCH_Num and divides by the total weight.
void refuse_what_does_not_fit(const quillon::Hypergraph& h) {
  constexpr std::int64_t kMost = std::numeric_limits<SCOTCH_Num>::max();
  std::int64_t weight = 0;
  for (int i = 1; i <= h._c; ++i) {
    if (h._clst[i].w < 0) quillon::errexit("cell %d weighs %d", i, h._clst[i].w);
    weight += h._clst[i].w;
  }
  if (weight < 1 || weight > kMost) quillon::errexit("the cells weigh %lld", static_cast<long long>(weight));
  if (std::int64_t{h._c} + h._n > kMost || 2 * std::int64_t{h._p} > kMost)
    quillon::errexit("%d cells, %d nets and %d pins are too many", h._c, h._n, h._p);
}

// The vertices first .. first + count - 1 of the star expansion, as arrays for PT-Scotch. Numbers count from
// 0. The graph refers to these arrays, so they must outlive it.
struct Slice {
  SCOTCH_Num count = 0;
  std::vector<SCOTCH_Num> starts{0};  // count + 1: where the edges of each vertex begin
  std::vector<SCOTCH_Num> weights;    // of the vertices
  std::vector<SCOTCH_Num> ends;       // the other end of each edge
  std::vector<SCOTCH_Num> edge_weights;
};

void add_edge(Slice& slice, SCOTCH_Num end, int weight) {
  const bool is_repeated =
      slice.ends.size() > static_cast<std::size_t>(slice.starts.back()) && slice.ends.back() == end;
  if (is_repeated || weight < 1) return;  // cutting a net of weight 0 costs nothing
  slice.ends.push_back(end);
  slice.edge_weights.push_back(weight);
}

void add_cell(Slice& slice, const quillon::Hypergraph& h, int i) {
  const quillon::Cell& cell = h._clst[i];
  for (const int* net = cell.nets; net <= cell.netsend; ++net)
    add_edge(slice, h._c + *net - 1, h._nlst[*net].w);
  slice.weights.push_back(cell.w);
  slice.starts.push_back(static_cast<SCOTCH_Num>(slice.ends.size()));
}

void add_net(Slice& slice, const quillon::Hypergraph& h, int j) {
  const quillon::Net& net = h._nlst[j];
  for (const int* pin = net.pins; pin <= net.pinsend; ++pin) add_edge(slice, *pin - 1, net.w);
  slice.weights.push_back(0);
  slice.starts.push_back(static_cast<SCOTCH_Num>(slice.ends.size()));
}

Slice expand(const quillon::Hypergraph& h, int first, int count) {
  Slice slice;
  slice.count = count;
  for (int vertex = first; vertex < first + count; ++vertex) {
    if (vertex < h._c)
      add_cell(slice, h, vertex + 1);
    else
      add_net(slice, h, vertex - h._c + 1);
  }
  return slice;
}

void expect(int status, const char* what) {
  if (status != 0) quillon::errexit("%s failed", what);
}

// The parts of the vertices of this process.
std::vector<SCOTCH_Num> part_slice(Slice& slice, int nparts, double imbalance) {
  int nprocesses = 0;
  MPI_Comm_size(MPI_COMM_WORLD, &nprocesses);
  const auto nedges = static_cast<SCOTCH_Num>(slice.ends.size());

  SCOTCH_Dgraph graph;
  expect(SCOTCH_dgraphInit(&graph, MPI_COMM_WORLD), "SCOTCH_dgraphInit");
  expect(SCOTCH_dgraphBuild(&graph, 0, slice.count, slice.count, slice.starts.data(), nullptr,
                            slice.weights.data(), nullptr, nedges, nedges, slice.ends.data(), nullptr,
                            slice.edge_weights.data()),
         "SCOTCH_dgraphBuild");
  expect(SCOTCH_dgraphCheck(&graph), "SCOTCH_dgraphCheck");

  SCOTCH_Strat strategy;
  expect(SCOTCH_stratInit(&strategy), "SCOTCH_stratInit");
  expect(SCOTCH_stratDgraphMapBuild(&strategy, SCOTCH_STRATQUALITY, nprocesses, nparts, imbalance),
         "SCOTCH_stratDgraphMapBuild");
  std::vector<SCOTCH_Num> parts(static_cast<std::size_t>(slice.count) + 1);  // + 1: data() is never null
  expect(SCOTCH_dgraphPart(&graph, nparts, &strategy, parts.data()), "SCOTCH_dgraphPart");
  SCOTCH_stratExit(&strategy);
  SCOTCH_dgraphExit(&graph);
  return parts;
}

// The parts of all cells, by cell number, on process 0. The parts of the nets are not needed.
std::vector<int> part_cells(const quillon::Hypergraph& h, int nparts, double imbalance) {
  int nprocesses = 0;
  int rank = 0;
  MPI_Comm_size(MPI_COMM_WORLD, &nprocesses);
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);

  const int nvertices = h._c + h._n;
  std::vector<int> firsts;
  std::vector<int> counts;
  for (int process = 0; process < nprocesses; ++process) {
    firsts.push_back(static_cast<int>(std::int64_t{nvertices} * process / nprocesses));
    counts.push_back(static_cast<int>(std::int64_t{nvertices} * (process + 1) / nprocesses) - firsts.back());
  }
  const auto mine = static_cast<std::size_t>(rank);
  Slice slice = expand(h, firsts[mine], counts[mine]);
  const std::vector<SCOTCH_Num> part_of_mine = part_slice(slice, nparts, imbalance);

  static_assert(sizeof(SCOTCH_Num) == sizeof(int), "build with the library of 32-bit numbers");
  std::vector<int> parts(static_cast<std::size_t>(nvertices) + 1);  // entry 0 is not used
  MPI_Gatherv(part_of_mine.data(), counts[mine], MPI_INT, parts.data() + 1, counts.data(), firsts.data(),
              MPI_INT, 0, MPI_COMM_WORLD);
  return parts;
}

void report(const quillon::Hypergraph& h, const std::vector<int>& parts, int nparts) {
  std::vector<std::int64_t> weights(static_cast<std::size_t>(nparts), 0);
  for (int i = 1; i <= h._c; ++i)
    weights[static_cast<std::size_t>(parts[static_cast<std::size_t>(i)])] += h._clst[i].w;

  std::vector<int> last_net(static_cast<std::size_t>(nparts), 0);  // with a pin in each part
  std::int64_t cut = 0;
  std::int64_t connectivity_minus_one = 0;
  for (int j = 1; j <= h._n; ++j) {
    int ntouched = 0;
    for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin) {
      int& last = last_net[static_cast<std::size_t>(parts[static_cast<std::size_t>(*pin)])];
      if (last != j) ++ntouched;
      last = j;
    }
    if (ntouched < 2) continue;
    cut += h._nlst[j].w;
    connectivity_minus_one += std::int64_t{h._nlst[j].w} * (ntouched - 1);
  }
  const auto heaviest = static_cast<double>(*std::max_element(weights.begin(), weights.end()));
  quillon::uprintf("cut                      %lld\n", static_cast<long long>(cut));
  quillon::uprintf("connectivity minus one   %lld\n", static_cast<long long>(connectivity_minus_one));
  quillon::uprintf("imbalance                %.6f\n", heaviest * nparts / h._totcw - 1);
}

}  // namespace

int main(int argc, char** argv) {
  // PT-Scotch may send messages from several threads of a process. A fatal error ends its process without
  // MPI_Finalize; mpirun then ends the others.
  int threads = 0;
  MPI_Init_thread(&argc, &argv, MPI_THREAD_MULTIPLE, &threads);
  if (threads < MPI_THREAD_MULTIPLE) quillon::errexit("this MPI library does not support multiple threads");
  const int nparts = argc >= 4 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 0;
  if (nparts < 1 || argc > 5) quillon::errexit("usage: %s FILE NPARTS PARTS_FILE [IMBALANCE]", argv[0]);
  const double imbalance = argc == 5 ? std::strtod(argv[4], nullptr) : 0.03;

  quillon::Hypergraph h;
  read_both_sides(&h, argv[1]);
  refuse_what_does_not_fit(h);
  const std::vector<int> parts = part_cells(h, nparts, imbalance);

  int rank = 0;
  MPI_Comm_rank(MPI_COMM_WORLD, &rank);
  if (rank == 0) {
    quillon::write_partvec(h._c, parts.data(), argv[3]);
    report(h, parts, nparts);
  }
  quillon::free_hypergraph(&h);
  MPI_Finalize();
}
