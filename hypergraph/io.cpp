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

// The sentinel's number, one above the count, has to be an int as well.
void check_count(int count, int largest, const char* what) {
  if (count < 0) errexit("read_hypergraph : negative number of %s [%d]", what, count);
  if (count > largest)
    errexit("read_hypergraph : too many %s [%d], at most %d are possible", what, count, largest);
}

// Nothing is in the buffer yet, so that here the end of the input has to be seen.
Header read_header(Hypergraph* h, const LineBuffer& line) {
  const char* read = nullptr;
  do {
    read = std::fgets(line.text, line.size, line.stream);
  } while (read != nullptr && line.text[0] == '%');

  int numbers[6] = {0, 0, 0, 0, 0, 1};
  const int count = read == nullptr ? 0 : scan_header(line.text, numbers);
  if (count < 4) errexit("read_hypergraph : cannot read numbering, #cells, #nets, #pins.");

  h->_c = numbers[1];
  h->_n = numbers[2];
  h->_p = numbers[3];
  h->_fmt = count > 4 ? numbers[4] : 0;
  if (h->_fmt < 0 || h->_fmt > 3) errexit("read_hypergraph : invalid fmt parameter [%d]", h->_fmt);
  if (numbers[0] < 0 || numbers[0] > 1)
    errexit("read_hypergraph : invalid numbering parameter [%d]", numbers[0]);

  constexpr int kLargest = std::numeric_limits<int>::max();
  check_count(h->_c, kLargest - 2, "cells");
  check_count(h->_n, kLargest - 2, "nets");
  check_count(h->_p, kLargest, "pins");
  return {1 - numbers[0], count > 5 ? numbers[5] : 1};
}

std::uint64_t bytes_with_spares(int count, std::uint64_t each) {
  return (static_cast<std::uint64_t>(count) + 2) * each;
}

void grow_line_buffer(LineBuffer& line, int npins) {
  if (npins <= kLineSize) return;
  line.size = npins;
  line.text =
      static_cast<char*>(urealloc(line.text, static_cast<std::uint64_t>(npins), "read_hypergraph: line"));
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
  const Header header = read_header(h, line);
  if (small_nets == SmallNets::kFold) grow_line_buffer(line, h->_p);
  allocate_net_side(h);
  if (small_nets == SmallNets::kKeep) grow_line_buffer(line, h->_p);
  int* const work = check != 0 ? allocate_work(h->_c) : nullptr;
  init_cells(h);

  const NetsRead nets = read_nets(h, line, header.shift, work, small_nets);
  _usfree(work);
  if (nets.npins != h->_p)
    errexit("read_hypergraph: Something wrong with the pins from input file %d %d\n", h->_p,
            static_cast<int>(std::min<std::int64_t>(nets.npins, std::numeric_limits<int>::max())));
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

}  // namespace quillon
