#pragma once
/// @file
/// Writes hypergraphs in the format that the readers read. Internal to `hypergraph/` and `formats/`.

#include <cstdio>

#include "hypergraph/detail/header.h"
#include "hypergraph/detail/lists.h"
#include "hypergraph/detail/printer.h"
#include "hypergraph/hypergraph.h"
#include "util/util.h"

namespace quillon {

/// A cell's number in a file. The number of a broken record wraps.
inline int lowered(int i, int shift) {
  subtract_wrapping(i, shift);
  return i;
}

/// Prints the pins of a net with a blank after each.
inline char* print_pins(Printer& printer, char* at, const Net& net, int shift) {
  for (const int i : pins_of(net)) at = print_with_blank(make_room(printer, at), lowered(i, shift));
  return at;
}

/// Writes the line of each net, with its line end first. Returns the extremes of their sizes.
inline Extremes write_nets(const Hypergraph* h, std::FILE* ofp, int shift, int fmt) {
  Printer printer(ofp);
  char* at = printer.block;
  Extremes sizes{.max = -1};
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    at = make_room(printer, at);
    *at++ = '\n';
    if ((fmt & kNetWeights) != 0) at = print_with_blank(at, net.w);
    at = print_pins(printer, at, net, shift);
    sizes.add(net_size(net));
  }
  flush(printer, at);
  return sizes;
}

/// Writes a value for each of `count` cells, with a line end after every hundredth.
template <typename ValueOf>
void write_lines_of_100(std::FILE* ofp, int count, ValueOf value_of) {
  Printer printer(ofp);
  char* at = printer.block;
  for (int ndone = 0; ndone < count;) {
    at = print_with_blank(make_room(printer, at), value_of(++ndone));
    if (ndone % 100 == 0) *at++ = '\n';
  }
  flush(printer, at);
}

/// First line of the block that `write_statistics` writes.
inline constexpr char kStatisticsTitle[] = "% ------ Hypergraph info -------";

/// Writes the block for people. Averages over no cells or no nets are the result of the division by zero.
inline void write_statistics(const Hypergraph* h, std::FILE* ofp, const Extremes& degrees,
                             const Extremes& sizes) {
  std::fprintf(ofp, "\n%s", kStatisticsTitle);
  std::fprintf(ofp, "\n #Cells           : %7d", h->_c);
  std::fprintf(ofp, "\n #Nets            : %7d", h->_n);
  std::fprintf(ofp, "\n #Pins            : %7d", h->_p);
  std::fprintf(ofp, "\n Min. Cells Deg.  : %7d", degrees.min);
  std::fprintf(ofp, "\n Max. Cells Deg.  : %7d", degrees.max);
  std::fprintf(ofp, "\n Avg. Cells Deg.  : %7.3lf", static_cast<double>(h->_p) / h->_c);
  std::fprintf(ofp, "\n Min. Nets Size   : %7d", sizes.min);
  std::fprintf(ofp, "\n Max. Nets Size   : %7d", sizes.max);
  std::fprintf(ofp, "\n Avg. Nets Size   : %7.3lf", static_cast<double>(h->_p) / h->_n);
}

/// `write_hypergraph2File` for a record whose cells need no lists.
///
/// @param degrees_of  Called once, after the nets are written; returns the extremes of the degrees.
/// @par Errors        Those of `write_hypergraph2File`.
template <typename DegreesOf>
void write_record(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt, DegreesOf degrees_of) {
  if (fmt < 0 || fmt > 3) errexit("write_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbering < 0 || numbering > 1)
    errexit("write_hypergraph : invalid numbering parameter [%d]", numbering);

  std::fprintf(ofp, "%% This file is created by Quillon v1.1");
  std::fprintf(ofp, "\n%% Quillon, a hypergraph partitioning library, by the Quillon authors\n%%\n");
  std::fprintf(ofp, "%d %d %d %d %d", numbering, h->_c, h->_n, h->_p, fmt);
  const Extremes sizes = write_nets(h, ofp, 1 - numbering, fmt);
  if ((fmt & kCellWeights) != 0) {
    std::fprintf(ofp, "\n%% ------ Cell weights -------\n");
    write_lines_of_100(ofp, h->_c, [h](int i) { return h->_clst[i].w; });
  }
  write_statistics(h, ofp, degrees_of(), sizes);
}

}  // namespace quillon
