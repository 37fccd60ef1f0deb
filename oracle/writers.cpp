#include "oracle/lists.h"
#include "oracle/oracle.h"
#include "util/util.h"

namespace quillon::oracle {
namespace {

void write_statistics(const Hypergraph* h, std::FILE* file) {
  int mindeg = kNoMinimum;
  int maxdeg = -1;
  for (int i = 1; i <= h->_c; ++i) {
    const int deg = degree_of(h->_clst[i]);
    if (deg < mindeg) mindeg = deg;
    if (deg > maxdeg) maxdeg = deg;
  }
  int minsize = kNoMinimum;
  int maxsize = -1;
  for (int j = 1; j <= h->_n; ++j) {
    const int size = size_of(h->_nlst[j]);
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

int write_hypergraph2File(const Hypergraph* h, std::FILE* ofp, int numbering, int fmt) {
  if (fmt < 0 || fmt > 3) errexit("write_hypergraph : invalid fmt parameter [%d]", fmt);
  if (numbering < 0 || numbering > 1)
    errexit("write_hypergraph : invalid numbering parameter [%d]", numbering);

  std::fprintf(ofp, "%% This file is created by Quillon v1.1");
  std::fprintf(ofp, "\n%% Quillon, a hypergraph partitioning library, by the Quillon authors\n%%\n");
  std::fprintf(ofp, "%d %d %d %d %d", numbering, h->_c, h->_n, h->_p, fmt);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(ofp, "\n");
    if ((fmt & 2) != 0) std::fprintf(ofp, "%d ", h->_nlst[j].w);
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(ofp, "%d ", *pin - 1 + numbering);
  }
  if ((fmt & 1) != 0) {
    std::fprintf(ofp, "\n%% ------ Cell weights -------\n");
    for (int i = 1; i <= h->_c; ++i) {
      std::fprintf(ofp, "%d ", h->_clst[i].w);
      if (i % 100 == 0) std::fprintf(ofp, "\n");
    }
  }
  write_statistics(h, ofp);
  return 0;
}

int write_hypergraph(const Hypergraph* h, const char* filename, int numbering, int fmt) {
  std::FILE* const file = ufopen(filename, "w", "write_hypergraph");
  oracle::write_hypergraph2File(h, file, numbering, fmt);
  ufclose(file);
  return 0;
}

int write_hmetis_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "write_hmetis_hypergraph");
  std::fprintf(file, "%d %d 11", h->_n, h->_c);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(file, "\n%d ", h->_nlst[j].w);
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(file, "%d ", *pin);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(file, "\n%d ", h->_clst[i].w);
  ufclose(file);
  return 0;
}

int write_kub_hypergraph(const Hypergraph* h, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "write_kub_hypergraph");
  std::fprintf(file, "%d\n%d", h->_c, h->_n);
  for (int j = 1; j <= h->_n; ++j) {
    std::fprintf(file, "\n%d %d", h->_nlst[j].w, size_of(h->_nlst[j]));
    if (h->_nlst[j].pins == nullptr) continue;
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      std::fprintf(file, " %d", *pin - 1);
  }
  for (int i = 1; i <= h->_c; ++i) std::fprintf(file, "\n%d", h->_clst[i].w);
  std::fclose(file);
  return 0;
}

void write_part_info(const Hypergraph* h, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "write_part_info: ofp");
  for (int i = 1; i <= h->_c; ++i) {
    std::fprintf(file, "%d ", h->_clst[i].pno);
    if (i % 100 == 0) std::fprintf(file, "\n");
  }
  ufclose(file);
}

void write_partvec(int n, const int* partvec, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "write_part_info: ofp");
  for (int i = 1; i <= n; ++i) {
    std::fprintf(file, "%d ", partvec[i]);
    if (i % 100 == 0) std::fprintf(file, "\n");
  }
  ufclose(file);
}

}  // namespace quillon::oracle
