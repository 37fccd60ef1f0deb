#include <algorithm>
#include <cstring>
#include <limits>

#include "hypergraph/hypergraph.h"
#include "hypergraph/lists.h"
#include "util/util.h"

namespace quillon {
namespace {

// The two readers differ in what they do with nets of fewer than two pins, and in little else.
enum class SmallNets { kFold, kKeep };

constexpr int kLineSize = 16777216;
constexpr int kCellWeights = 1;  // bits of _fmt
constexpr int kNetWeights = 2;

struct LineBuffer {
  std::FILE* stream;
  char* text;  // the line read last, also after an attempt to read beyond the end
  int size;
};

struct Header {
  int shift;  // what turns the file's cell numbers into ours
  int ncells;
  int nnets;
  int npins;
  int fmt;
  int weights_per_cell;
};

// The cell numbers of one net line.
struct PinsRead {
  std::int64_t count;
  int last;  // of them; what a net of one pin is about
};

// How far the nets have been read.
struct NetsRead {
  int j = 1;               // the net to be filled next
  std::int64_t used = 0;   // entries of _cell_list that the nets so far take
  std::int64_t npins = 0;  // cell numbers read, those of removed nets included
  int nremoved_nets = 0;
  int nremoved_pins = 0;
};

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

int low_32_bits(std::uint64_t magnitude, bool negative) {
  return static_cast<int>(static_cast<std::uint32_t>(negative ? -magnitude : magnitude));
}

// Reads an integer as strtol does in base 10 with 64 bits, and keeps its low 32. On success `at` moves behind
// it; otherwise `at` stays and the value is 0. strtol itself has 32 bits on some platforms, and is slow on
// all.
bool scan_int(const char*& at, int& value) {
  const char* p = at;
  while (is_space(*p)) ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  value = 0;
  if (!is_digit(*p)) return false;

  constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
  const std::uint64_t limit = kLargest + (negative ? 1 : 0);
  std::uint64_t magnitude = 0;
  for (; is_digit(*p); ++p)
    magnitude = std::min(limit, magnitude > kLargest / 10 ? limit : 10 * magnitude + std::uint64_t(*p - '0'));
  value = low_32_bits(magnitude, negative);
  at = p;
  return true;
}

// A count for a message that has room for 32 bits.
int as_int(std::int64_t count) {
  return static_cast<int>(std::min<std::int64_t>(count, std::numeric_limits<int>::max()));
}

bool at_end(std::FILE* stream) { return std::feof(stream) != 0 || std::ferror(stream) != 0; }

// Fetches the next line that is not a comment. Only the first byte of the buffer is looked at, not whether a
// line was read: when the input ends in a comment, this waits for a line for ever. Callers know, and rely on
// what stays in the buffer at the end of the input.
void next_line(const LineBuffer& line) {
  do {
    [[maybe_unused]] const char* const read = std::fgets(line.text, line.size, line.stream);
  } while (line.text[0] == '%' && std::ferror(line.stream) == 0);
}

bool too_long(const LineBuffer& line, std::size_t length) {
  return length >= static_cast<std::size_t>(line.size - 5);
}

int scan_header(const char* text, int (&numbers)[6]) {
  int count = 0;
  while (count < 6 && scan_int(text, numbers[count])) ++count;
  return count;
}

// Nothing is in the buffer yet, so that here the end of the input has to be seen.
Header read_header(const LineBuffer& line) {
  const char* read = nullptr;
  do {
    read = std::fgets(line.text, line.size, line.stream);
  } while (read != nullptr && line.text[0] == '%');

  int numbers[6] = {};
  const int count = read == nullptr ? 0 : scan_header(line.text, numbers);
  if (count < 4) errexit("read_hypergraph : cannot read numbering, #cells, #nets, #pins.");

  const int fmt = count > 4 ? numbers[4] : 0;
  if (fmt < 0 || fmt > 3) errexit("read_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbers[0] < 0 || numbers[0] > 1)
    errexit("read_hypergraph : invalid numbering parameter [%d]", numbers[0]);
  return {1 - numbers[0], numbers[1], numbers[2], numbers[3], fmt, count > 5 ? numbers[5] : 1};
}

// The sentinel's number, one above the count, has to be an int as well.
void check_count(int count, int largest, const char* what) {
  if (count < 0) errexit("read_hypergraph : negative number of %s [%d]", what, count);
  if (count > largest)
    errexit("read_hypergraph : too many %s [%d], at most %d are possible", what, count, largest);
}

void take_header(Hypergraph* h, const Header& header) {
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

void grow_line_buffer(LineBuffer& line, int npins, const char* tag) {
  if (npins <= kLineSize) return;
  line.size = npins;
  line.text = static_cast<char*>(urealloc(line.text, static_cast<std::uint64_t>(npins), tag));
}

void allocate_net_side(Hypergraph* h) {
  h->_clst = static_cast<Cell*>(umalloc(bytes_with_spares(h->_c, sizeof(Cell)), "read_hypergraph: clst"));
  h->_nlst = static_cast<Net*>(umalloc(bytes_with_spares(h->_n, sizeof(Net)), "read_hypergraph: nlst"));
  h->_cell_list =
      static_cast<int*>(umalloc(bytes_with_spares(h->_p, sizeof(int)), "read_hypergraph: cell_list"));
}

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

// Entry `index` of _cell_list. A file with more pins than announced, which is refused when all are counted,
// gets as far as the end of the array.
int* pin_at(const Hypergraph* h, std::int64_t index) {
  return h->_cell_list + std::min(index, std::int64_t{h->_p} + 2);
}

// Stores the cell numbers of a net line behind the nets before it. The entry behind the last one gets the
// value of the attempt that found none, for which the array has spare room.
PinsRead read_pins(const Hypergraph* h, const char* at, int shift, int j, int* work, std::int64_t used) {
  const std::int64_t room = std::int64_t{h->_p} + 2;
  for (PinsRead pins{0, 0};; ++pins.count) {
    int id = 0;
    const bool found = scan_int(at, id);
    add_wrapping(id, shift);
    if (used + pins.count < room) h->_cell_list[used + pins.count] = id;
    if (!found) return pins;

    if (id < 1 || id > h->_c) errexit("invalid vertex/cell id %d in the  vertex/cell list of net %d", id, j);
    if (work != nullptr) {
      if (work[id] == j) uwarning("read_hypergraph: \n %d is already added to net list of %d", id, j);
      work[id] = j;
    }
    pins.last = id;
  }
}

// Takes a net out again, so that the next line can have its number and its place in _cell_list.
void remove_small_net(Hypergraph* h, NetsRead& nets, int w, const PinsRead& pins) {
  if (pins.count == 1) {
    add_wrapping(h->_clst[pins.last].inw, w);
    add_wrapping(h->_totinw, w);
    ++nets.nremoved_pins;
  } else {
    subtract_wrapping(h->_totnw, w);
    add_wrapping(h->_virtualnets, w);
    if (w >= 2) errexit("file contains a net with weight %d but net doesn't have any pin.", w);
  }
  ++nets.nremoved_nets;
  --h->_n;
}

NetsRead read_nets(Hypergraph* h, const LineBuffer& line, int shift, int* work, SmallNets small_nets) {
  NetsRead nets;
  while (nets.j <= h->_n) {
    next_line(line);
    if (at_end(line.stream)) break;
    if (too_long(line, std::strlen(line.text))) {
      if (small_nets == SmallNets::kKeep) errexit("read_hypergraph: Buffer for fgets not big enough.");
      errexit("read_hypergraph: Buffer for fgets not big enough for net %d\n.", nets.j);
    }

    const char* at = line.text;
    int w = 1;
    if ((h->_fmt & kNetWeights) != 0) scan_int(at, w);
    const PinsRead pins = read_pins(h, at, shift, nets.j, work, nets.used);
    nets.npins += pins.count;
    add_wrapping(h->_totnw, w);

    if (pins.count < 2 && small_nets == SmallNets::kFold) {
      remove_small_net(h, nets, w, pins);
      continue;
    }
    Net& net = h->_nlst[nets.j];
    net.w = w;
    net.pins = pin_at(h, nets.used);
    nets.used += pins.count;
    net.pinsend = pin_at(h, nets.used) - 1;
    ++nets.j;
  }
  return nets;
}

// Sets the sentinel, and before it the nets that the file ended before, as nets without pins.
void close_nets(Hypergraph* h, const NetsRead& nets) {
  int* const end = h->_cell_list + nets.used;
  h->_nlst[nets.j].pins = end;
  for (int j = nets.j; j <= h->_n; ++j) {
    h->_nlst[j].w = 0;
    h->_nlst[j].pinsend = end - 1;
    h->_nlst[j + 1].pins = end;
  }
}

// Fetches a line of cell weights; false at the end of the input. The reader that keeps small nets looks at
// the line before it asks for the end: at the end that is the line before, still in the buffer.
bool next_weight_line(const LineBuffer& line, SmallNets small_nets) {
  next_line(line);
  if (small_nets == SmallNets::kFold && at_end(line.stream)) return false;
  const std::size_t length = std::strlen(line.text);
  if (too_long(line, length)) errexit("read_hypergraph: Buffer for fgets not big enough.");
  if (length == 0 || line.text[length - 1] != '\n')
    errexit("read_hypergraph: no newline at the end of line '%s'\n", line.text);
  return !at_end(line.stream);
}

void read_cell_weights(Hypergraph* h, const LineBuffer& line, const Header& header, int check,
                       SmallNets small_nets) {
  std::int64_t i = 1;
  std::int64_t k = 0;  // how many numbers of cell i have been read
  while (i <= h->_c && next_weight_line(line, small_nets)) {
    const char* at = line.text;
    for (int w = 0; scan_int(at, w);) {
      if (k == 0) {
        // The last line may hold numbers too many: they count, and the sentinel has room for the first of
        // them.
        if (i <= h->_c + 1) h->_clst[i].w = w;
        add_wrapping(h->_totcw, w);
      }
      if (++k == header.weights_per_cell) {
        k = 0;
        ++i;
      }
    }
  }

  if (i <= h->_c && check != 0)
    uwarning("read_hypergraph: some cell (vertex) weights are missing, initializing to 1");
  for (; i <= h->_c; ++i) {
    h->_clst[i].w = 1;
    add_wrapping(h->_totcw, 1);
  }
}

int read_stream(Hypergraph* h, std::FILE* ifp, int check, SmallNets small_nets) {
  *h = Hypergraph{};
  LineBuffer line{ifp, static_cast<char*>(umalloc(kLineSize, "read_hypergraph : line")), kLineSize};
  const Header header = read_header(line);
  take_header(h, header);
  if (small_nets == SmallNets::kFold) grow_line_buffer(line, h->_p, "read_hypergraph: line");
  allocate_net_side(h);
  if (small_nets == SmallNets::kKeep) grow_line_buffer(line, h->_p, "read_hypergraph: line");
  int* const work = check != 0 ? allocate_work(h->_c) : nullptr;
  init_cells(h);

  const NetsRead nets = read_nets(h, line, header.shift, work, small_nets);
  _usfree(work);
  if (nets.npins != h->_p)
    errexit("read_hypergraph: Something wrong with the pins from input file %d %d\n", h->_p,
            as_int(nets.npins));
  h->_p -= nets.nremoved_pins;
  close_nets(h, nets);

  if ((h->_fmt & kCellWeights) != 0)
    read_cell_weights(h, line, header, check, small_nets);
  else
    h->_totcw = h->_c;
  _usfree(line.text);
  return nets.nremoved_nets;
}

int read_named(Hypergraph* h, const char* filename, int check, SmallNets small_nets) {
  std::FILE* const ifp = ufopen(filename, "r", "read_hypergraph");
  const int nremoved = read_stream(h, ifp, check, small_nets);
  ufclose(ifp);
  return nremoved;
}

// Net arrays while they are read. A file may have more pins than announced: they are counted and not stored.
struct NetArrays {
  int* xnadj;
  int* nadj;
  std::int64_t room;  // entries of nadj
  std::int64_t npins = 0;
};

NetArrays allocate_net_arrays(const Header& header) {
  const std::int64_t nnets = std::max(header.nnets, 0);
  const std::int64_t room = std::int64_t{std::max(header.npins, 0)} + 2;
  int* const xnadj = imalloc(nnets + 2, "read_hypergraph_netar: xnadj");
  return {xnadj, imalloc(room, "read_hypergraph_netar: nadj"), room};
}

// Appends the cell numbers of a net line, and behind them the value of the attempt that found none.
void append_pins(NetArrays& arrays, const char* at, int shift) {
  for (bool found = true; found; arrays.npins += found ? 1 : 0) {
    int id = 0;
    found = scan_int(at, id);
    add_wrapping(id, shift);
    if (arrays.npins < arrays.room) arrays.nadj[arrays.npins] = id;
  }
}

// Whether a line was read is not asked: at the end of the input, a missing net line is the line before once
// more.
void read_net_arrays(NetArrays& arrays, const LineBuffer& line, const Header& header) {
  for (std::int64_t j = 1; j <= header.nnets; ++j) {
    next_line(line);
    if (too_long(line, std::strlen(line.text)))
      errexit("read_hypergraph_netar: Buffer for fgets not big enough.");
    arrays.xnadj[j] = as_int(arrays.npins);
    const char* at = line.text;
    int ignored_weight = 0;
    if ((header.fmt & kNetWeights) != 0) scan_int(at, ignored_weight);
    append_pins(arrays, at, header.shift);
  }
}

// Smallest and largest of the sizes or degrees seen.
struct Range {
  int min = kNoMinimum;
  int max = -1;

  void take(int value) {
    min = std::min(min, value);
    max = std::max(max, value);
  }
};

Range write_nets(const Hypergraph* h, std::FILE* ofp, int shift, int fmt) {
  Range sizes;
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    std::fputc('\n', ofp);
    if ((fmt & kNetWeights) != 0) std::fprintf(ofp, "%d ", net.w);
    for (const int i : pins_of(net)) std::fprintf(ofp, "%d ", i - shift);
    sizes.take(net_size(net));
  }
  return sizes;
}

// Writes the value of cell i, and ends the line behind every hundredth.
void write_on_line_of_100(std::FILE* ofp, int i, int value) {
  std::fprintf(ofp, "%d ", value);
  if (i % 100 == 0) std::fputc('\n', ofp);
}

void write_cell_weights(const Hypergraph* h, std::FILE* ofp) {
  std::fprintf(ofp, "\n%% ------ Cell weights -------\n");
  for (int i = 1; i <= h->_c; ++i) write_on_line_of_100(ofp, i, h->_clst[i].w);
}

// Averages over no cells or no nets are what the division by zero gives.
void write_statistics(const Hypergraph* h, std::FILE* ofp, const Range& sizes) {
  Range degrees;
  for (int i = 1; i <= h->_c; ++i) degrees.take(degree(h->_clst[i]));
  std::fprintf(ofp, "\n%% ------ Hypergraph info -------");
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
  if (fmt < 0 || fmt > 3) errexit("write_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbering < 0 || numbering > 1)
    errexit("write_hypergraph : invalid numbering parameter [%d]", numbering);

  std::fprintf(ofp, "%% This file is created by Quillon v1.1");
  std::fprintf(ofp, "\n%% Quillon, a hypergraph partitioning library, by the Quillon authors\n%%\n");
  std::fprintf(ofp, "%d %d %d %d %d", numbering, h->_c, h->_n, h->_p, fmt);
  const Range sizes = write_nets(h, ofp, 1 - numbering, fmt);
  if ((fmt & kCellWeights) != 0) write_cell_weights(h, ofp);
  write_statistics(h, ofp, sizes);
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
  LineBuffer line{nullptr, static_cast<char*>(umalloc(kLineSize, "read_hypergraph_netar : line")), kLineSize};
  line.stream = ufopen(filename, "r", "read_hypergraph_netar");
  const Header header = read_header(line);
  *ncells = header.ncells;
  *nnets = header.nnets;
  grow_line_buffer(line, header.npins, "read_hypergraph_netar: line");

  NetArrays arrays = allocate_net_arrays(header);
  *xnadj = arrays.xnadj;
  *nadj = arrays.nadj;
  read_net_arrays(arrays, line, header);
  if (arrays.npins != header.npins)
    errexit("read_hypergraph_netar: Something wrong with the pins from input file %d %d\n", header.npins,
            as_int(arrays.npins));
  arrays.xnadj[std::int64_t{std::max(header.nnets, 0)} + 1] = header.npins;
  _usfree(line.text);
  ufclose(line.stream);
}

int write_hmetis_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_hmetis_hypergraph");
  std::fprintf(ofp, "%d %d 11", h->_n, h->_c);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(ofp, "\n%d ", h->_nlst[j].w);
    for (const int i : pins_of(h->_nlst[j])) std::fprintf(ofp, "%d ", i);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(ofp, "\n%d ", h->_clst[i].w);
  ufclose(ofp);
  return 0;
}

int write_kub_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_kub_hypergraph");
  std::fprintf(ofp, "%d\n%d", h->_c, h->_n);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(ofp, "\n%d %d", h->_nlst[j].w, net_size(h->_nlst[j]));
    for (const int i : pins_of(h->_nlst[j])) std::fprintf(ofp, " %d", i - 1);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(ofp, "\n%d", h->_clst[i].w);
  std::fclose(ofp);
  return 0;
}

void write_part_info(const Hypergraph* h, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  for (int i = 1; i <= h->_c; ++i) write_on_line_of_100(ofp, i, h->_clst[i].pno);
  ufclose(ofp);
}

void write_partvec(int n, const int* partvec, const char* filename) {
  std::FILE* const ofp = ufopen(filename, "w", "write_part_info: ofp");
  for (int i = 1; i <= n; ++i) write_on_line_of_100(ofp, i, partvec[i]);
  ufclose(ofp);
}

void read_part_info(Hypergraph* h, const char* filename) {
  int* const parts = imalloc(std::int64_t{h->_c} + 1, "read_part_info: ta");
  read_array(filename, parts, h->_c, 1);
  for (int i = 1; i <= h->_c; ++i) h->_clst[i].pno = parts[i];
  _usfree(parts);
}

}  // namespace quillon
