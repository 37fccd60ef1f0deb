#include "oracle/lines.h"
#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

constexpr std::int64_t kMostPins = 2147483647;

std::int64_t not_negative(int count) { return count > 0 ? count : 0; }

// Appends the numbers of a line. There is room for two more entries than announced; the attempt that finds no
// number stores the shift.
void append_pins(const char* at, int shift, int* nadj, std::int64_t room, std::int64_t& npins) {
  for (bool found = true; found;) {
    int id = 0;
    found = next_number(at, id);
    if (npins < room) nadj[npins] = sum(id, shift);
    if (found) ++npins;
  }
}

}  // namespace

void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj) {
  *xnadj = services.imalloc(std::int64_t{h->_n} + 2, "hypergraph_Fill2Arr: xnadj");
  *nadj = services.imalloc(std::int64_t{h->_p} + 2, "read_hypergraph_netar: nadj");
  int npins = 0;
  for (int j = 1; j <= h->_n; ++j) {
    (*xnadj)[j] = npins;
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) (*nadj)[npins++] = *pin;
  }
  (*xnadj)[h->_n + 1] = npins;
}

void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal) {
  const std::int64_t most_pins = std::int64_t{xnadj[nnets + 1]} + (diagonal != nullptr ? ncells : 0);
  if (most_pins > kMostPins)
    errexit("hypergraph_LoadFromArr: %d pins and a diagonal of %d are too many", xnadj[nnets + 1], ncells);
  h->_c = ncells;
  h->_n = nnets;
  h->_p = static_cast<int>(most_pins);
  oracle::malloc_hypergraph(h);

  int* at = h->_cell_list;
  for (int j = 1; j <= nnets; ++j) {
    h->_nlst[j].w = 1;
    h->_nlst[j].pins = at;
    for (int k = xnadj[j]; k < xnadj[j + 1]; ++k) *at++ = nadj[k];
    if (diagonal != nullptr && j <= ncells && diagonal[j] == 0) *at++ = j;
    h->_nlst[j].pinsend = at - 1;
  }
  h->_nlst[nnets + 1].pins = at;
  h->_p = static_cast<int>(at - h->_cell_list);
  for (int i = 1; i <= ncells; ++i) h->_clst[i].w = 1;

  int* const work = services.imalloc(std::int64_t{ncells} + 2, "hypergraph_LoadFromArr: work");
  oracle::construct_net_list(h, work);
  services.free(work);
}

void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj) {
  Line line = line_of(nullptr, "read_hypergraph_netar : line");
  line.file = ufopen(filename, "r", "read_hypergraph_netar");
  const Header header = read_header(line);
  *ncells = header.ncells;
  *nnets = header.nnets;
  grow_line(line, header.npins, "read_hypergraph_netar: line");

  const std::int64_t room = not_negative(header.npins) + 2;
  *xnadj = services.imalloc(not_negative(header.nnets) + 2, "read_hypergraph_netar: xnadj");
  *nadj = services.imalloc(room, "read_hypergraph_netar: nadj");

  std::int64_t npins = 0;
  for (std::int64_t j = 1; j <= header.nnets; ++j) {
    (*xnadj)[j] = static_cast<int>(npins);
    fetch_line(line);
    if (is_too_long(line)) errexit("read_hypergraph_netar: Buffer for fgets not big enough.");
    const char* at = line.text;
    int weight = 0;
    if ((header.fmt & 2) != 0) next_number(at, weight);
    append_pins(at, header.shift, *nadj, room, npins);
  }
  if (npins != header.npins)
    errexit("read_hypergraph_netar: Something wrong with the pins from input file %d %d\n", header.npins,
            static_cast<int>(npins));
  (*xnadj)[not_negative(header.nnets) + 1] = header.npins;
  services.free(line.text);
  ufclose(line.file);
}

}  // namespace quillon::oracle
