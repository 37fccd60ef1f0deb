#include <algorithm>
#include <limits>

#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lines.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/net_array_reader.h"
#include "hypergraph/detail/net_reader.h"
#include "hypergraph/detail/printer.h"
#include "hypergraph/detail/record_writer.h"
#include "hypergraph/detail/weights_reader.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {
namespace {

constexpr int kLineSize = 16777216;

// The sentinel's number, one above the count, must be an int as well.
void check_count(int count, int largest, const char* what) {
  if (count < 0) errexit("read_hypergraph : negative number of %s [%d]", what, count);
  if (count > largest)
    errexit("read_hypergraph : too many %s [%d], at most %d are possible", what, count, largest);
}

void set_counts(Hypergraph* h, const Header& header) {
  constexpr int kLargest = std::numeric_limits<int>::max();
  check_count(header.ncells, kLargest - 2, "cells");
  check_count(header.nnets, kLargest - 2, "nets");
  check_count(header.npins, kLargest, "pins");
  h->_c = header.ncells;
  h->_n = header.nnets;
  h->_p = header.npins;
  h->_fmt = header.fmt;
}

std::uint64_t bytes_with_spares(int count, std::uint64_t each) {
  return (static_cast<std::uint64_t>(count) + 2) * each;
}

void grow_line_buffer(Lines& lines, int npins, const char* tag) {
  if (npins <= kLineSize) return;
  lines.size = static_cast<std::size_t>(npins);
  lines.text = static_cast<char*>(urealloc(lines.text, lines.size, tag));
}

void allocate_net_side(Hypergraph* h) {
  h->_clst = static_cast<Cell*>(umalloc(bytes_with_spares(h->_c, sizeof(Cell)), "read_hypergraph: clst"));
  h->_nlst = static_cast<Net*>(umalloc(bytes_with_spares(h->_n, sizeof(Net)), "read_hypergraph: nlst"));
  h->_cell_list =
      static_cast<int*>(umalloc(bytes_with_spares(h->_p, sizeof(int)), "read_hypergraph: cell_list"));
}

// By cell, the last net that names it.
int* allocate_work(int ncells) {
  int* const work =
      static_cast<int*>(umalloc(bytes_with_spares(ncells, sizeof(int)), "read_hypergraph: work"));
  std::fill_n(work, std::int64_t{ncells} + 1, 0);
  return work;
}

void init_cells(Hypergraph* h) {
  h->_mincd = kNoMinimum;
  for (int i = 1; i <= h->_c; ++i) {
    Cell& cell = h->_clst[i];
    cell.w = 1;
    cell.inw = 0;
    cell.pno = -1;
    cell.nets = nullptr;
    cell.netsend = nullptr;
  }
}

// Of the net lines, for numbers of six digits.
std::int64_t expected_bytes(const Header& header) {
  return std::int64_t{7} * header.npins + std::int64_t{2} * header.nnets;
}

int read_stream(Hypergraph* h, std::FILE* ifp, int check, SmallNets small_nets) {
  *h = Hypergraph{};
  Lines lines{ifp, static_cast<char*>(umalloc(kLineSize, "read_hypergraph : line")), kLineSize};
  const Header header = read_header(lines);
  set_counts(h, header);
  if (small_nets == SmallNets::kFold) grow_line_buffer(lines, h->_p, "read_hypergraph: line");
  allocate_net_side(h);
  if (small_nets == SmallNets::kKeep) grow_line_buffer(lines, h->_p, "read_hypergraph: line");
  int* const work = check != 0 ? allocate_work(h->_c) : nullptr;
  init_cells(h);

  begin_reading_ahead(lines, expected_bytes(header));
  NetReader nets(h, lines, header.shift, work, small_nets);
  read_lines(nets, lines);
  if (work != nullptr) _usfree(work);
  const int nremoved = nets.finish();

  if ((h->_fmt & kCellWeights) != 0) {
    WeightsReader weights(h, lines, header.weights_per_cell, small_nets);
    read_lines(weights, lines);
    weights.finish(check != 0);
  } else {
    h->_totcw = h->_c;
  }
  set_back(lines);
  _usfree(lines.text);
  return nremoved;
}

int read_named(Hypergraph* h, const char* filename, int check, SmallNets small_nets) {
  std::FILE* const ifp = ufopen(filename, "r", "read_hypergraph");
  const int nremoved = read_stream(h, ifp, check, small_nets);
  ufclose(ifp);
  return nremoved;
}

Extremes degrees_of(const Hypergraph* h) {
  Extremes degrees{.max = -1};
  for (int i = 1; i <= h->_c; ++i) degrees.add(degree(h->_clst[i]));
  return degrees;
}

}  // namespace

int read_hypergraphFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  return read_stream(h, ifp, check, SmallNets::kFold);
}

int read_hypergraph(Hypergraph* h, const char* filename, int check) {
  return read_named(h, filename, check, SmallNets::kFold);
}

int read_hypergraph_with_onepin_netsFromFile(Hypergraph* h, std::FILE* ifp, int check) {
  return read_stream(h, ifp, check, SmallNets::kKeep);
}

int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check) {
  read_named(h, filename, check, SmallNets::kKeep);
  return 1;
}

int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt) {
  write_record(h, ofp, numbering, fmt, [h] { return degrees_of(h); });
  return 0;
}

int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt) {
  std::FILE* const ofp = ufopen(filename, "w", "write_hypergraph");
  write_hypergraph2File(h, ofp, numbering, fmt);
  ufclose(ofp);
  return 0;
}

void hypergraph_Fill2Arr(const Hypergraph* h, int** xnadj, int** nadj) {
  int* const starts = *xnadj = imalloc(std::int64_t{h->_n} + 2, "hypergraph_Fill2Arr: xnadj");
  int* const pins = *nadj = imalloc(std::int64_t{h->_p} + 2, "read_hypergraph_netar: nadj");
  int* cursor = pins;
  for (int j = 1; j <= h->_n; ++j) {
    starts[j] = static_cast<int>(cursor - pins);
    const std::span<const int> list = pins_of(h->_nlst[j]);
    cursor = std::copy(list.begin(), list.end(), cursor);
  }
  starts[std::max(h->_n, 0) + 1] = static_cast<int>(cursor - pins);
}

void hypergraph_LoadFromArr(Hypergraph* h, int nnets, int ncells, const int* xnadj, const int* nadj,
                            const int* diagonal) {
  const std::int64_t most_pins = std::int64_t{xnadj[nnets + 1]} + (diagonal != nullptr ? ncells : 0);
  if (most_pins > std::numeric_limits<int>::max())
    errexit("hypergraph_LoadFromArr: %d pins and a diagonal of %d are too many", xnadj[nnets + 1], ncells);
  h->_c = ncells;
  h->_n = nnets;
  h->_p = static_cast<int>(most_pins);
  malloc_hypergraph(h);

  int* cursor = h->_cell_list;
  for (int j = 1; j <= nnets; ++j) {
    Net& net = h->_nlst[j];
    net.pins = cursor;
    if (xnadj[j] < xnadj[j + 1]) cursor = std::copy(nadj + xnadj[j], nadj + xnadj[j + 1], cursor);
    if (diagonal != nullptr && j <= ncells && diagonal[j] == 0) *cursor++ = j;
    net.pinsend = cursor - 1;
    net.w = 1;
  }
  h->_nlst[nnets + 1].pins = cursor;
  h->_p = static_cast<int>(cursor - h->_cell_list);
  for (int i = 1; i <= ncells; ++i) h->_clst[i].w = 1;

  int* const work = imalloc(std::int64_t{ncells} + 2, "hypergraph_LoadFromArr: work");
  construct_net_list(h, work);
  _usfree(work);
}

void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj) {
  char* const text = static_cast<char*>(umalloc(kLineSize, "read_hypergraph_netar : line"));
  Lines lines{ufopen(filename, "r", "read_hypergraph_netar"), text, kLineSize};
  const Header header = read_header(lines);
  *ncells = header.ncells;
  *nnets = header.nnets;
  grow_line_buffer(lines, header.npins, "read_hypergraph_netar: line");
  *xnadj = imalloc(net_count(header) + 2, "read_hypergraph_netar: xnadj");
  *nadj = imalloc(pin_room(header), "read_hypergraph_netar: nadj");

  begin_reading_ahead(lines, expected_bytes(header));
  NetArrayReader nets(header, lines, *xnadj, *nadj);
  read_lines(nets, lines);
  nets.finish();
  _usfree(lines.text);
  ufclose(lines.stream);
}

int write_hmetis_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_hmetis_hypergraph");
  std::fprintf(ofp, "%d %d 11", h->_n, h->_c);
  Printer printer(ofp);
  char* at = printer.block;
  for (int j = 1; j <= h->_n; ++j) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_pins(printer, print_with_blank(at, h->_nlst[j].w), h->_nlst[j], 0);
  }
  for (int i = 1; i <= h->_c; ++i) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_with_blank(at, h->_clst[i].w);
  }
  flush(printer, at);
  ufclose(ofp);
  return 0;
}

int write_kub_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_kub_hypergraph");
  std::fprintf(ofp, "%d\n%d", h->_c, h->_n);
  Printer printer(ofp);
  char* at = printer.block;
  for (int j = 1; j <= h->_n; ++j) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print_with_blank(at, h->_nlst[j].w);
    at = print(make_room(printer, at), net_size(h->_nlst[j]));
    for (const int i : pins_of(h->_nlst[j])) {
      at = make_room(printer, at);
      *at++ = ' ';
      at = print(at, lowered(i, 1));
    }
  }
  for (int i = 1; i <= h->_c; ++i) {
    at = make_room(printer, at);
    *at++ = '\n';
    at = print(at, h->_clst[i].w);
  }
  flush(printer, at);
  std::fclose(ofp);
  return 0;
}

void write_part_info(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  write_lines_of_100(ofp, h->_c, [h](int i) { return h->_clst[i].pno; });
  ufclose(ofp);
}

void write_partvec(int n, const int* partvec, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  write_lines_of_100(ofp, n, [partvec](int i) { return partvec[i]; });
  ufclose(ofp);
}

void read_part_info(Hypergraph* h, const char* filename) {
  int* const parts = imalloc(std::int64_t{h->_c} + 1, "read_part_info: ta");
  read_array(filename, parts, h->_c, 1);
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].pno = parts[i];
  _usfree(parts);
}

}  // namespace quillon
