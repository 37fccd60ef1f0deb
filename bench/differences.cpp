#include "bench/differences.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

namespace quillon::bench {
namespace {

std::int64_t position(const int* at, const int* base) {
  return at == nullptr ? std::numeric_limits<std::int64_t>::min() : at - base;
}

std::string numbered(const char* what, std::int64_t number) {
  return std::string(what) + " " + std::to_string(number);
}

bool same_net(const Hypergraph& a, const Hypergraph& b, int j) {
  return a._nlst[j].w == b._nlst[j].w &&
         position(a._nlst[j].pins, a._cell_list) == position(b._nlst[j].pins, b._cell_list) &&
         position(a._nlst[j].pinsend, a._cell_list) == position(b._nlst[j].pinsend, b._cell_list);
}

bool same_cell(const Cell& a, const Cell& b) { return a.w == b.w && a.inw == b.inw && a.pno == b.pno; }

bool same_cell_list(const Hypergraph& a, const Hypergraph& b, int i) {
  return a._clst[i].wdeg == b._clst[i].wdeg &&
         position(a._clst[i].nets, a._net_list) == position(b._clst[i].nets, b._net_list) &&
         position(a._clst[i].netsend, a._net_list) == position(b._clst[i].netsend, b._net_list);
}

}  // namespace

void Differences::values(const std::string& what, std::int64_t a, std::int64_t b) {
  if (a != b && first_.empty()) first_ = what + " is " + std::to_string(a) + " and " + std::to_string(b);
}

void Differences::ints(const std::string& what, const int* a, const int* b, std::int64_t count) {
  const auto at = std::mismatch(a, a + count, b);
  if (at.first != a + count) values(what + " at " + std::to_string(at.first - a), *at.first, *at.second);
}

void Differences::files(const std::string& a, const std::string& b) {
  const auto size = [](const std::string& path) {
    return static_cast<std::int64_t>(std::filesystem::file_size(path));
  };
  values("file size", size(a), size(b));
  if (!first_.empty()) return;

  constexpr std::size_t kBlock = std::size_t{1} << 20;
  std::vector<char> text_a(kBlock);
  std::vector<char> text_b(kBlock);
  std::ifstream file_a(a, std::ios::binary);
  std::ifstream file_b(b, std::ios::binary);
  for (std::int64_t offset = 0; file_a && file_b; offset += file_a.gcount()) {
    file_a.read(text_a.data(), std::ssize(text_a));
    file_b.read(text_b.data(), std::ssize(text_b));
    const auto end = text_a.begin() + file_a.gcount();
    const auto at = std::mismatch(text_a.begin(), end, text_b.begin());
    if (at.first != end) {
      values(numbered("byte", offset + (at.first - text_a.begin())), *at.first, *at.second);
      return;
    }
  }
}

void Differences::counts(const Hypergraph& a, const Hypergraph& b) {
  values("_c", a._c, b._c);
  values("_n", a._n, b._n);
  values("_p", a._p, b._p);
  values("_maxwcd", a._maxwcd, b._maxwcd);
  values("_maxcd", a._maxcd, b._maxcd);
  values("_mincd", a._mincd, b._mincd);
  values("_totcw", a._totcw, b._totcw);
  values("_totinw", a._totinw, b._totinw);
  values("_totnw", a._totnw, b._totnw);
  values("_virtualnets", a._virtualnets, b._virtualnets);
  values("_fmt", a._fmt, b._fmt);
  values("_ninternets", a._ninternets, b._ninternets);
}

void Differences::nets(const Hypergraph& a, const Hypergraph& b, int nnets, std::int64_t npins) {
  for (int j = 1; j <= nnets; ++j) {
    if (same_net(a, b, j)) continue;
    if (first_.empty()) first_ = numbered("net", j);
    return;
  }
  ints("_cell_list", a._cell_list, b._cell_list, npins);
}

void Differences::net_sentinel(const Hypergraph& a, const Hypergraph& b, int nnets) {
  values("sentinel net", position(a._nlst[nnets + 1].pins, a._cell_list),
         position(b._nlst[nnets + 1].pins, b._cell_list));
}

void Differences::cells(const Hypergraph& a, const Hypergraph& b) {
  for (int i = 1; i <= a._c && first_.empty(); ++i)
    if (!same_cell(a._clst[i], b._clst[i])) first_ = numbered("cell", i);
}

void Differences::cell_lists(const Hypergraph& a, const Hypergraph& b, std::int64_t npins) {
  for (int i = 1; i <= a._c && first_.empty(); ++i)
    if (!same_cell_list(a, b, i)) first_ = numbered("list of cell", i);
  values("sentinel cell", position(a._clst[a._c + 1].nets, a._net_list),
         position(b._clst[b._c + 1].nets, b._net_list));
  if (first_.empty()) ints("_net_list", a._net_list, b._net_list, npins);
}

}  // namespace quillon::bench
