#include <cstdio>
#include <cstring>

#include "bench/obvious.h"
#include "util/util.h"

namespace quillon::obvious {
namespace {

constexpr int kLineSize = 16777216;

struct Line {
  std::FILE* file;
  char* text;
  int size;
};

struct Header {
  int shift;
  int ncells;
  int nnets;
  int npins;
  int fmt;
  int weights_per_cell;
};

std::FILE* open_file(const char* name, const char* mode) {
  std::FILE* const file = std::fopen(name, mode);
  if (file == nullptr) errexit("obvious: cannot open '%s'", name);
  return file;
}

void close_written(std::FILE* file, const char* name) {
  if (std::fclose(file) != 0) errexit("obvious: '%s' is not whole", name);
}

bool next_number(char*& at, int& value) {
  char* end = nullptr;
  value = static_cast<int>(std::strtol(at, &end, 10));
  if (end == at) return false;
  at = end;
  return true;
}

// False at the end of the file.
bool next_line(const Line& line) {
  do {
    if (std::fgets(line.text, line.size, line.file) == nullptr) return false;
  } while (line.text[0] == '%');
  if (std::strlen(line.text) >= static_cast<std::size_t>(line.size) - 5) errexit("obvious: line too long");
  return true;
}

Header read_header(Line& line) {
  if (!next_line(line)) errexit("obvious: no header");
  int numbers[6] = {0, 0, 0, 0, 0, 1};
  int count = 0;
  char* at = line.text;
  for (int value = 0; count < 6 && next_number(at, value); ++count) numbers[count] = value;
  if (count < 4 || numbers[1] < 0 || numbers[2] < 0 || numbers[3] < 0) errexit("obvious: bad header");
  return {1 - numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]};
}

Line open_lines(const char* filename) {
  return {open_file(filename, "r"), static_cast<char*>(take(kLineSize, 1)), kLineSize};
}

void grow_line(Line& line, int npins) {
  if (npins <= line.size) return;
  line.text = static_cast<char*>(std::realloc(line.text, static_cast<std::size_t>(npins)));
  if (line.text == nullptr) errexit("obvious: out of memory");
  line.size = npins;
}

void init_cells(Hypergraph* h) {
  h->_mincd = 2000000000;
  for (int i = 1; i <= h->_c; ++i) {
    h->_clst[i].w = 1;
    h->_clst[i].inw = 0;
    h->_clst[i].pno = -1;
    h->_clst[i].nets = nullptr;
    h->_clst[i].netsend = nullptr;
  }
}

// The line's numbers to `pins`, of which there is room for `room`. Returns how many there are.
int read_pins(const Hypergraph* h, char* at, int shift, int j, int* work, int* pins, std::int64_t room) {
  int npins = 0;
  for (int id = 0; next_number(at, id); ++npins) {
    id += shift;
    if (id < 1 || id > h->_c) errexit("obvious: bad cell %d in net %d", id, j);
    if (npins >= room) errexit("obvious: more pins than announced");
    if (work != nullptr) {
      if (work[id] == j) uwarning("obvious: %d is already added to net list of %d", id, j);
      work[id] = j;
    }
    pins[npins] = id;
  }
  return npins;
}

// Takes net `j` out again.
void fold_net(Hypergraph* h, int w, const int* pins, int npins) {
  if (npins == 1) {
    h->_clst[pins[0]].inw += w;
    h->_totinw += w;
    --h->_p;
  } else {
    h->_totnw -= w;
    h->_virtualnets += w;
  }
  --h->_n;
}

void read_nets(Hypergraph* h, const Line& line, const Header& header, int* work, bool fold) {
  int* pins = h->_cell_list;
  int npins_read = 0;
  int j = 1;
  while (j <= h->_n) {
    if (!next_line(line)) errexit("obvious: a net is missing");
    char* at = line.text;
    int w = 1;
    if ((h->_fmt & 2) != 0) next_number(at, w);
    const int npins = read_pins(h, at, header.shift, j, work, pins, header.npins - (pins - h->_cell_list));
    npins_read += npins;
    h->_totnw += w;
    if (fold && npins < 2) {
      fold_net(h, w, pins, npins);
      continue;
    }
    h->_nlst[j].w = w;
    h->_nlst[j].pins = pins;
    pins += npins;
    h->_nlst[j].pinsend = pins - 1;
    ++j;
  }
  h->_nlst[j].pins = pins;
  if (npins_read != header.npins) errexit("obvious: %d pins instead of %d", npins_read, header.npins);
}

void read_cell_weights(Hypergraph* h, const Line& line, int weights_per_cell) {
  int k = 0;
  for (int i = 1; i <= h->_c;) {
    if (!next_line(line)) errexit("obvious: a cell weight is missing");
    char* at = line.text;
    for (int w = 0; next_number(at, w);) {
      if (k == 0 && i <= h->_c) {
        h->_clst[i].w = w;
        h->_totcw += w;
      }
      ++k;
      if (k == weights_per_cell) {
        k = 0;
        ++i;
      }
    }
  }
}

int read(Hypergraph* h, const char* filename, int check, bool fold) {
  *h = {};
  Line line = open_lines(filename);
  const Header header = read_header(line);
  grow_line(line, header.npins);
  h->_c = header.ncells;
  h->_n = header.nnets;
  h->_p = header.npins;
  h->_fmt = header.fmt;
  h->_clst = static_cast<Cell*>(take(std::int64_t{h->_c} + 2, sizeof(Cell)));
  h->_nlst = static_cast<Net*>(take(std::int64_t{h->_n} + 2, sizeof(Net)));
  h->_cell_list = take_ints(std::int64_t{h->_p} + 2);
  init_cells(h);

  int* work = nullptr;
  if (check != 0) {
    work = take_ints(std::int64_t{h->_c} + 1);
    for (int i = 0; i <= h->_c; ++i) work[i] = 0;
  }
  read_nets(h, line, header, work, fold);
  std::free(work);
  if ((h->_fmt & 1) != 0)
    read_cell_weights(h, line, header.weights_per_cell);
  else
    h->_totcw = h->_c;
  std::free(line.text);
  std::fclose(line.file);
  return header.nnets - h->_n;
}

void write_statistics(const Hypergraph* h, std::FILE* file) {
  int mindeg = 2000000000;
  int maxdeg = -1;
  for (int i = 1; i <= h->_c; ++i) {
    const int deg = static_cast<int>(h->_clst[i].netsend - h->_clst[i].nets) + 1;
    if (deg < mindeg) mindeg = deg;
    if (deg > maxdeg) maxdeg = deg;
  }
  int minsize = 2000000000;
  int maxsize = -1;
  for (int j = 1; j <= h->_n; ++j) {
    const int size = static_cast<int>(h->_nlst[j].pinsend - h->_nlst[j].pins) + 1;
    if (size < minsize) minsize = size;
    if (size > maxsize) maxsize = size;
  }
  std::fprintf(file, "\n%% ------ Hypergraph info -------");
  std::fprintf(file, "\n #Cells           : %7d", h->_c);
  std::fprintf(file, "\n #Nets            : %7d", h->_n);
  std::fprintf(file, "\n #Pins            : %7d", h->_p);
  std::fprintf(file, "\n Min. Cells Deg.  : %7d", mindeg);
  std::fprintf(file, "\n Max. Cells Deg.  : %7d", maxdeg);
  std::fprintf(file, "\n Avg. Cells Deg.  : %7.3lf", static_cast<double>(h->_p) / h->_c);
  std::fprintf(file, "\n Min. Nets Size   : %7d", minsize);
  std::fprintf(file, "\n Max. Nets Size   : %7d", maxsize);
  std::fprintf(file, "\n Avg. Nets Size   : %7.3lf", static_cast<double>(h->_p) / h->_n);
}

}  // namespace

int read_hypergraph(Hypergraph* h, const char* filename, int check) { return read(h, filename, check, true); }

int read_hypergraph_with_onepin_nets(Hypergraph* h, const char* filename, int check) {
  read(h, filename, check, false);
  return 1;
}

void read_hypergraph_netar(const char* filename, int* ncells, int* nnets, int** xnadj, int** nadj) {
  Line line = open_lines(filename);
  const Header header = read_header(line);
  grow_line(line, header.npins);
  *ncells = header.ncells;
  *nnets = header.nnets;
  *xnadj = take_ints(std::int64_t{header.nnets} + 2);
  *nadj = take_ints(std::int64_t{header.npins} + 2);

  int npins = 0;
  for (int j = 1; j <= header.nnets; ++j) {
    if (!next_line(line)) errexit("obvious: a net is missing");
    (*xnadj)[j] = npins;
    char* at = line.text;
    int id = 0;
    if ((header.fmt & 2) != 0) next_number(at, id);
    while (next_number(at, id)) {
      if (npins == header.npins) errexit("obvious: more pins than announced");
      (*nadj)[npins++] = id + header.shift;
    }
  }
  if (npins != header.npins) errexit("obvious: %d pins instead of %d", npins, header.npins);
  (*xnadj)[header.nnets + 1] = npins;
  std::free(line.text);
  std::fclose(line.file);
}

int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt) {
  std::FILE* const file = open_file(filename, "w");
  std::fprintf(file, "%% This file is created by Quillon v1.1");
  std::fprintf(file, "\n%% Quillon, a hypergraph partitioning library, by the Quillon authors\n%%\n");
  std::fprintf(file, "%d %d %d %d %d", numbering, h->_c, h->_n, h->_p, fmt);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(file, "\n");
    if ((fmt & 2) != 0) std::fprintf(file, "%d ", h->_nlst[j].w);
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(file, "%d ", *pin - 1 + numbering);
  }
  if ((fmt & 1) != 0) {
    std::fprintf(file, "\n%% ------ Cell weights -------\n");
    for (int i = 1; i <= h->_c; ++i) {
      std::fprintf(file, "%d ", h->_clst[i].w);
      if (i % 100 == 0) std::fprintf(file, "\n");
    }
  }
  write_statistics(h, file);
  close_written(file, filename);
  return 0;
}

int write_hmetis_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const file = open_file(filename, "w");
  std::fprintf(file, "%d %d 11", h->_n, h->_c);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(file, "\n%d ", h->_nlst[j].w);
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(file, "%d ", *pin);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(file, "\n%d ", h->_clst[i].w);
  close_written(file, filename);
  return 0;
}

int write_kub_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const file = open_file(filename, "w");
  std::fprintf(file, "%d\n%d", h->_c, h->_n);
  for (int j = 1; j <= h->_n; ++j) {
    const int size = static_cast<int>(h->_nlst[j].pinsend - h->_nlst[j].pins) + 1;
    std::fprintf(file, "\n%d %d", h->_nlst[j].w, size);
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(file, " %d", *pin - 1);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(file, "\n%d", h->_clst[i].w);
  close_written(file, filename);
  return 0;
}

void write_part_info(const Hypergraph* h, const char* filename) {
  std::FILE* const file = open_file(filename, "w");
  for (int i = 1; i <= h->_c; ++i) {
    std::fprintf(file, "%d ", h->_clst[i].pno);
    if (i % 100 == 0) std::fprintf(file, "\n");
  }
  close_written(file, filename);
}

void write_partvec(int n, const int* partvec, const char* filename) {
  std::FILE* const file = open_file(filename, "w");
  for (int i = 1; i <= n; ++i) {
    std::fprintf(file, "%d ", partvec[i]);
    if (i % 100 == 0) std::fprintf(file, "\n");
  }
  close_written(file, filename);
}

void read_part_info(Hypergraph* h, const char* filename) {
  const Line line = open_lines(filename);
  for (int i = 1; i <= h->_c;) {
    if (!next_line(line)) errexit("obvious: a part number is missing");
    char* at = line.text;
    for (int part = 0; i <= h->_c && next_number(at, part); ++i) h->_clst[i].pno = part;
  }
  std::free(line.text);
  std::fclose(line.file);
}

}  // namespace quillon::obvious
