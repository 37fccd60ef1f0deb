#include <cstdlib>
#include <cstring>

#include "oracle/lines.h"
#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "oracle/services.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

constexpr int kLineSize = 16777216;

enum class SmallNets { kFold, kKeep };

// State of a reader.
struct Reading {
  Hypergraph* h;
  Line line;
  Header header;
  SmallNets small_nets;
  int* work;  // the last net that named each cell, or null
  int last_pin = 0;
  std::int64_t npins_read = 0;
  int nremoved_nets = 0;
  int nremoved_pins = 0;
};

void check_count(int count, int most, const char* what) {
  if (count < 0) errexit("read_hypergraph : negative number of %s [%d]", what, count);
  if (count > most) errexit("read_hypergraph : too many %s [%d], at most %d are possible", what, count, most);
}

void check_counts(const Header& header) {
  check_count(header.ncells, 2147483645, "cells");
  check_count(header.nnets, 2147483645, "nets");
  check_count(header.npins, 2147483647, "pins");
}

void allocate_net_side(Hypergraph* h) {
  h->_clst =
      static_cast<Cell*>(services.umalloc(bytes_with_spares(h->_c, sizeof(Cell)), "read_hypergraph: clst"));
  h->_nlst =
      static_cast<Net*>(services.umalloc(bytes_with_spares(h->_n, sizeof(Net)), "read_hypergraph: nlst"));
  h->_cell_list = static_cast<int*>(
      services.umalloc(bytes_with_spares(h->_p, sizeof(int)), "read_hypergraph: cell_list"));
}

int* allocate_work(int ncells) {
  int* const work =
      static_cast<int*>(services.umalloc(bytes_with_spares(ncells, sizeof(int)), "read_hypergraph: work"));
  for (int i = 0; i <= ncells; ++i) work[i] = 0;
  return work;
}

void init_cells(Hypergraph* h) {
  h->_mincd = kNoMinimum;
  for (int i = 1; i <= h->_c; ++i) {
    h->_clst[i].w = 1;
    h->_clst[i].inw = 0;
    h->_clst[i].pno = -1;
    h->_clst[i].nets = nullptr;
    h->_clst[i].netsend = nullptr;
  }
}

// Stores the cells of net j from `first` on and returns their number. There is room for two more entries than
// announced; the attempt that finds no number stores the shift.
std::int64_t read_pins(Reading& r, const char* at, int j, std::int64_t first) {
  const std::int64_t room = std::int64_t{r.header.npins} + 2;
  std::int64_t cursor = first;
  for (bool found = true; found;) {
    int id = 0;
    found = next_number(at, id);
    id = sum(id, r.header.shift);
    if (cursor < room) r.h->_cell_list[cursor] = id;
    if (!found) break;

    if (id < 1 || id > r.h->_c)
      errexit("invalid vertex/cell id %d in the  vertex/cell list of net %d", id, j);
    if (r.work != nullptr) {
      if (r.work[id] == j) uwarning("read_hypergraph: \n %d is already added to net list of %d", id, j);
      r.work[id] = j;
    }
    r.last_pin = id;
    ++cursor;
  }
  r.npins_read += cursor - first;
  return cursor - first;
}

void remove_net(Reading& r, const Net& net, std::int64_t npins) {
  Hypergraph* const h = r.h;
  if (npins == 1) {
    Cell& cell = h->_clst[r.last_pin];
    cell.inw = sum(cell.inw, net.w);
    h->_totinw = sum(h->_totinw, net.w);
  } else {
    h->_totnw = difference(h->_totnw, net.w);
    h->_virtualnets = sum(h->_virtualnets, net.w);
    if (net.w >= 2) errexit("file contains a net with weight %d but net doesn't have any pin.", net.w);
  }
  r.nremoved_pins += static_cast<int>(npins);
  ++r.nremoved_nets;
  --h->_n;
}

[[noreturn]] void net_line_too_long(const Reading& r, int j) {
  if (r.small_nets == SmallNets::kKeep) errexit("read_hypergraph: Buffer for fgets not big enough.");
  errexit("read_hypergraph: Buffer for fgets not big enough for net %d\n.", j);
}

// Nets missing at the end of the input are empty and weigh 0.
void close_nets(Hypergraph* h, int j, int* end) {
  h->_nlst[j].pins = end;
  for (; j <= h->_n; ++j) {
    h->_nlst[j].w = 0;
    h->_nlst[j].pinsend = end - 1;
    h->_nlst[j + 1].pins = end;
  }
}

void read_nets(Reading& r) {
  Hypergraph* const h = r.h;
  int j = 1;
  std::int64_t cursor = 0;
  while (j <= h->_n) {
    fetch_line(r.line);
    if (is_at_end(r.line)) break;
    if (is_too_long(r.line)) net_line_too_long(r, j);

    const char* at = r.line.text;
    Net& net = h->_nlst[j];
    net.w = 1;
    if ((h->_fmt & 2) != 0) next_number(at, net.w);
    const std::int64_t npins = read_pins(r, at, j, cursor);
    net.pins = h->_cell_list + cursor;
    net.pinsend = net.pins + npins - 1;
    h->_totnw = sum(h->_totnw, net.w);

    if (r.small_nets == SmallNets::kFold && npins < 2) {
      remove_net(r, net, npins);
    } else {
      cursor += npins;
      ++j;
    }
  }
  if (r.work != nullptr) services.free(r.work);
  if (r.npins_read != h->_p)
    errexit("read_hypergraph: Something wrong with the pins from input file %d %d\n", h->_p,
            static_cast<int>(r.npins_read));
  h->_p -= r.nremoved_pins;
  close_nets(h, j, h->_cell_list + cursor);
}

void check_weight_line(const Reading& r) {
  if (is_too_long(r.line)) errexit("read_hypergraph: Buffer for fgets not big enough.");
  const std::size_t length = std::strlen(r.line.text);
  if (length == 0 || r.line.text[length - 1] != '\n')
    errexit("read_hypergraph: no newline at the end of line '%s'\n", r.line.text);
}

// Reads the numbers of a line; one in `weights_per_cell` is the weight of a cell i. Surplus weights count in
// the total, and the first of them is stored.
void read_weights_of_line(Reading& r, std::int64_t& i, std::int64_t& k) {
  const char* at = r.line.text;
  for (int w = 0; next_number(at, w);) {
    if (k == 0) {
      if (i <= std::int64_t{r.h->_c} + 1) r.h->_clst[i].w = w;
      r.h->_totcw = sum(r.h->_totcw, w);
    }
    ++k;
    if (k == r.header.weights_per_cell) {
      k = 0;
      ++i;
    }
  }
}

void read_cell_weights(Reading& r, int check) {
  Hypergraph* const h = r.h;
  std::int64_t i = 1;
  std::int64_t k = 0;
  while (i <= h->_c) {
    const bool got = fetch_line(r.line);
    if (r.small_nets == SmallNets::kFold && is_at_end(r.line)) break;
    check_weight_line(r);
    if (is_at_end(r.line)) break;
    const std::int64_t i_before = i;
    const std::int64_t k_before = k;
    read_weights_of_line(r, i, k);
    const bool no_cell_ends = r.header.weights_per_cell < 1 || (i == i_before && k == k_before);
    if (!got && no_cell_ends) throw Endless{};
  }
  if (i <= h->_c && check != 0)
    uwarning("read_hypergraph: some cell (vertex) weights are missing, initializing to 1");
  for (; i <= h->_c; ++i) {
    h->_clst[i].w = 1;
    h->_totcw = sum(h->_totcw, 1);
  }
}

int read_stream(Hypergraph* h, std::FILE* ifp, int check, SmallNets small_nets) {
  *h = {};
  Line line = line_of(ifp, "read_hypergraph : line");
  const Header header = read_header(line);
  check_counts(header);
  h->_c = header.ncells;
  h->_n = header.nnets;
  h->_p = header.npins;
  h->_fmt = header.fmt;
  if (small_nets == SmallNets::kFold) grow_line(line, header.npins, "read_hypergraph: line");
  allocate_net_side(h);
  if (small_nets == SmallNets::kKeep) grow_line(line, header.npins, "read_hypergraph: line");
  int* const work = check != 0 ? allocate_work(h->_c) : nullptr;
  init_cells(h);

  Reading reading = {h, line, header, small_nets, work};
  read_nets(reading);
  if ((h->_fmt & 1) != 0)
    read_cell_weights(reading, check);
  else
    h->_totcw = h->_c;
  services.free(line.text);
  return reading.nremoved_nets;
}

int read_named(Hypergraph* h, const char* filename, int check, SmallNets small_nets) {
  std::FILE* const ifp = ufopen(filename, "r", "read_hypergraph");
  const int nremoved = read_stream(h, ifp, check, small_nets);
  ufclose(ifp);
  return nremoved;
}

}  // namespace

Line line_of(std::FILE* file, const char* tag) {
  return {file, static_cast<char*>(services.umalloc(kLineSize, tag)), kLineSize};
}

void grow_line(Line& line, int npins, const char* tag) {
  if (npins <= line.size) return;
  line.text = static_cast<char*>(services.urealloc(line.text, static_cast<std::uint64_t>(npins), tag));
  line.size = npins;
}

bool fetch_line(const Line& line) {
  bool got = std::fgets(line.text, line.size, line.file) != nullptr;
  while (line.text[0] == '%') {
    if (!got) throw Endless{};
    got = std::fgets(line.text, line.size, line.file) != nullptr;
  }
  return got;
}

bool is_at_end(const Line& line) { return std::feof(line.file) != 0; }

bool is_too_long(const Line& line) {
  return std::strlen(line.text) >= static_cast<std::size_t>(line.size) - 5;
}

bool next_number(const char*& at, int& value) {
  char* end = nullptr;
  // strtoll is strtol with 64 bits on every platform.
  value = static_cast<int>(static_cast<std::uint32_t>(std::strtoll(at, &end, 10)));
  if (end == at) return false;
  at = end;
  return true;
}

Header read_header(const Line& line) {
  constexpr const char* kCannotRead = "read_hypergraph : cannot read numbering, #cells, #nets, #pins.";
  do {
    if (std::fgets(line.text, line.size, line.file) == nullptr) errexit("%s", kCannotRead);
  } while (line.text[0] == '%');

  int numbers[6] = {};
  int count = 0;
  const char* at = line.text;
  while (count < 6 && next_number(at, numbers[count])) ++count;
  if (count < 4) errexit("%s", kCannotRead);
  const int fmt = count > 4 ? numbers[4] : 0;
  if (fmt < 0 || fmt > 3) errexit("read_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbers[0] < 0 || numbers[0] > 1)
    errexit("read_hypergraph : invalid numbering parameter [%d]", numbers[0]);
  return {1 - numbers[0], numbers[1], numbers[2], numbers[3], fmt, count > 5 ? numbers[5] : 1};
}

int read_hypergraphFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  return read_stream(h, ifp, check, SmallNets::kFold);
}

int read_hypergraph(Hypergraph* h, const char* filename, int check) {
  return read_named(h, filename, check, SmallNets::kFold);
}

int read_hypergraph_with_onepin_netsFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  read_stream(h, ifp, check, SmallNets::kKeep);
  return 0;
}

int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check) {
  read_named(h, filename, check, SmallNets::kKeep);
  return 1;
}

}  // namespace quillon::oracle
