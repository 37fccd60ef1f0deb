#include "tests/support/reader_outcome.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <stdexcept>

#include "oracle/oracle.h"
#include "tests/double/recorder.h"

namespace quillon {
namespace {

// Larger requests fail: a text may announce more than a test should allocate.
constexpr std::uint64_t kMostBytes = std::uint64_t{40} << 20;

std::int64_t bytes_requested(const std::string& tag) {
  for (const std::string& request : recorder::requests({"umalloc"}))
    if (request.ends_with(" " + tag)) return std::stoll(request.substr(std::strlen("umalloc ")));
  throw std::logic_error("never requested: " + tag);
}

bool all_others_null(const Hypergraph& h) {
  const void* const others[] = {h._net_list, h._aux1,   h._aux2,   h._iprm,      h._iprmi,
                                h._netmap,   h._clabel, h._nlabel, h._internets, h._fixedAtPart};
  return std::all_of(std::begin(others), std::end(others),
                     [](const void* other) { return other == nullptr; });
}

SeenRecord counts_and_sums(const Hypergraph& h) {
  SeenRecord seen = {};
  seen.c = h._c;
  seen.n = h._n;
  seen.p = h._p;
  seen.fmt = h._fmt;
  seen.maxwcd = h._maxwcd;
  seen.maxcd = h._maxcd;
  seen.mincd = h._mincd;
  seen.totcw = h._totcw;
  seen.totinw = h._totinw;
  seen.totnw = h._totnw;
  seen.virtualnets = h._virtualnets;
  seen.ninternets = h._ninternets;
  seen.tag = h._tag;
  seen.others_null = all_others_null(h);
  return seen;
}

SeenRecord snapshot(const Hypergraph& h) {
  SeenRecord seen = counts_and_sums(h);
  const auto marked = [](const char* tag, std::int64_t bytes_each) {
    return std::min(bytes_requested(tag), kMarkedBytes) / bytes_each;
  };
  const std::int64_t ncells = marked("read_hypergraph: clst", sizeof(Cell));
  for (const Cell* cell = h._clst; cell < h._clst + ncells; ++cell)
    seen.cells.push_back(
        {cell->w, cell->inw, cell->pno, cell->wdeg, cell->nets == nullptr && cell->netsend == nullptr});
  for (int i = 1; i <= h._c; ++i) seen.weights.push_back(h._clst[i].w);
  for (int j = 1; j <= h._n; ++j) {
    const Net& net = h._nlst[j];
    seen.nets.push_back({net.w, net.pins - h._cell_list, net.pinsend - h._cell_list});
  }
  seen.sentinel = h._nlst[h._n + 1].pins - h._cell_list;
  seen.pins.assign(h._cell_list, h._cell_list + seen.sentinel);
  const std::int64_t nentries = marked("read_hypergraph: cell_list", sizeof(int));
  seen.cell_list.assign(h._cell_list, h._cell_list + nentries);
  return seen;
}

template <typename Value>
void print_all(const char* what, const std::vector<Value>& values, std::ostream& out) {
  out << "  " << what;
  for (const Value& value : values) out << " [" << value << "]";
  out << "\n";
}

void print_record(const SeenRecord& r, std::ostream& out) {
  out << "  counts " << r.c << " " << r.n << " " << r.p << " fmt " << r.fmt << "\n  summaries " << r.maxwcd
      << " " << r.maxcd << " " << r.mincd << " " << r.totcw << " " << r.totinw << " " << r.totnw << " "
      << r.virtualnets << "\n  others null " << r.others_null << " " << r.ninternets << " " << r.tag << "\n";
  for (const SeenCell& cell : r.cells)
    out << "  cell " << cell.w << " " << cell.inw << " " << cell.pno << " " << cell.wdeg << " "
        << cell.null_lists << "\n";
  for (const SeenNet& net : r.nets) out << "  net " << net.w << " " << net.first << ".." << net.last << "\n";
  out << "  sentinel " << r.sentinel << "\n";
  print_all("weights", r.weights, out);
  print_all("pins", r.pins, out);
  print_all("cell_list", r.cell_list, out);
}

}  // namespace

void PrintTo(const ReaderOutcome& outcome, std::ostream* out) {
  *out << "\n  endless " << outcome.endless << ", fatal [" << outcome.fatal << "], result " << outcome.result
       << ", position " << outcome.position << "\n";
  print_all("warnings", outcome.warnings, *out);
  print_all("requests", outcome.requests, *out);
  print_record(outcome.record, *out);
}

Stream stream_of(const std::string& text) {
  Stream file(std::tmpfile());
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size())
    throw std::runtime_error("cannot write a temporary file");
  std::rewind(file.get());
  return file;
}

bool ends_in_comment(const std::string& text) {
  if (text.empty()) return false;
  const std::size_t before = text.find_last_of('\n', text.size() - 2);
  const std::size_t first = text.size() < 2 || before == std::string::npos ? 0 : before + 1;
  return text[first] == '%';
}

ReaderOutcome outcome_of(StreamReader* reader, std::FILE* file, int check) {
  recorder::reset();
  recorder::limit_requests(kMostBytes);
  Hypergraph h;
  std::memset(&h, 0xa5, sizeof h);

  ReaderOutcome outcome;
  try {
    outcome.result = reader(&h, file, check);
    outcome.record = snapshot(h);
  } catch (const recorder::FatalError& error) {
    outcome.fatal = error.what();
  } catch (const oracle::Endless&) {
    outcome.endless = true;
  }
  outcome.warnings = recorder::warnings();
  outcome.requests = recorder::requests();
  outcome.position = std::ftell(file);
  recorder::reset();  // frees the blocks of the run
  return outcome;
}

}  // namespace quillon
