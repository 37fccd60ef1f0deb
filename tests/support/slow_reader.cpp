#include "tests/support/slow_reader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <stdexcept>

#include "tests/double/recorder.h"

namespace quillon::slow {
namespace {

constexpr int kLineSize = 16777216;
constexpr int kMostItems = 1000000;  // of a kind; more pins than bytes in a line would make the line grow

// Ends a run, as errexit does.
struct Fatal {
  std::string text;
};

// Ends a run that otherwise never would.
struct Endless {};

// Ends a run that would take memory by the gigabyte.
struct Huge {};

std::string text_of(long long value) { return std::to_string(value); }

int low_bits(long long value) { return static_cast<int>(static_cast<std::uint32_t>(value)); }

int sum(int a, int b) { return low_bits(static_cast<long long>(a) + b); }

int difference(int a, int b) { return low_bits(static_cast<long long>(a) - b); }

template <typename Value>
std::vector<Value> marked_part(const std::vector<Value>& all, std::int64_t bytes_each) {
  const std::int64_t nmarked = std::min<std::int64_t>(std::ssize(all), kMarkedBytes / bytes_each);
  return {all.begin(), all.begin() + nmarked};
}

class SlowReader {
 public:
  SlowReader(Kind kind, std::FILE* file, int check, Outcome& out)
      : standard_(kind == Kind::kStandard), file_(file), check_(check != 0), out_(out) {}

  void run() {
    allocate_line();
    read_header();
    allocate_arrays();
    if (check_) allocate_work();
    initialise_cells();
    read_nets();
    check_pins();
    close_nets();
    read_cell_weights();
    request("free read_hypergraph : line");
    fill_outcome();
  }

 private:
  void request(const std::string& line) { out_.requests.push_back(line); }

  // ---- Memory

  void allocate_line() {
    request("umalloc 16777216 read_hypergraph : line");
    static std::vector<char> buffer(kLineSize);  // one for all runs: sanitizers make each new one dear
    line_ = buffer.data();
  }

  void allocate_arrays() {
    request("umalloc " + text_of((h_.c + 2LL) * 32) + " read_hypergraph: clst");
    request("umalloc " + text_of((h_.n + 2LL) * 24) + " read_hypergraph: nlst");
    request("umalloc " + text_of((h_.p + 2LL) * 4) + " read_hypergraph: cell_list");
    const SeenCell untouched = {kUntouched, kUntouched, kUntouched, kUntouched, false};
    h_.cells.assign(static_cast<std::size_t>(h_.c + 2LL), untouched);
    h_.nets.assign(static_cast<std::size_t>(h_.n + 2LL), SeenNet{});
    h_.cell_list.assign(static_cast<std::size_t>(h_.p + 2LL), kUntouched);
  }

  void allocate_work() {
    request("umalloc " + text_of((h_.c + 2LL) * 4) + " read_hypergraph: work");
    work_.assign(static_cast<std::size_t>(h_.c + 1LL), 0);
  }

  // ---- Lines and numbers

  void fetch_line() {
    bool got = std::fgets(line_, kLineSize, file_) != nullptr;
    while (line_[0] == '%') {
      if (!got) throw Endless{};
      got = std::fgets(line_, kLineSize, file_) != nullptr;
    }
    at_ = line_;
  }

  bool end_of_file() const { return std::feof(file_) != 0; }

  std::int64_t length() const { return static_cast<std::int64_t>(std::strlen(line_)); }

  // The number is 0 when there is none. strtoll is strtol with 64 bits on every platform.
  bool next_number(int& number) {
    char* end = nullptr;
    number = low_bits(std::strtoll(at_, &end, 10));
    if (end == at_) return false;
    at_ = end;
    return true;
  }

  // ---- Header

  void read_header() {
    do {
      if (std::fgets(line_, kLineSize, file_) == nullptr) cannot_read_header();
    } while (line_[0] == '%');

    int numbering = 0;
    // NOLINTBEGIN(cert-err34-c): whatever it makes of a number is the rule here
    const int count =
        std::sscanf(line_, "%d %d %d %d %d %d", &numbering, &h_.c, &h_.n, &h_.p, &h_.fmt, &weights_per_cell_);
    // NOLINTEND(cert-err34-c)
    if (count < 4) cannot_read_header();
    if (count == 4) h_.fmt = 0;
    if (count <= 5) weights_per_cell_ = 1;

    if (h_.fmt < 0 || h_.fmt > 3)
      throw Fatal{"read_hypergraph : invalid fmt parameter [" + text_of(h_.fmt) + "]"};
    if (numbering < 0 || numbering > 1)
      throw Fatal{"read_hypergraph : invalid numbering parameter [" + text_of(numbering) + "]"};
    check_count(h_.c, "cells", 2147483645);
    check_count(h_.n, "nets", 2147483645);
    check_count(h_.p, "pins", 2147483647);
    if (std::max({h_.c, h_.n, h_.p}) > kMostItems) throw Huge{};
    shift_ = (numbering + 1) % 2;
  }

  [[noreturn]] static void cannot_read_header() {
    throw Fatal{"read_hypergraph : cannot read numbering, #cells, #nets, #pins."};
  }

  static void check_count(int count, const std::string& what, int most) {
    if (count < 0) throw Fatal{"read_hypergraph : negative number of " + what + " [" + text_of(count) + "]"};
    if (count > most)
      throw Fatal{"read_hypergraph : too many " + what + " [" + text_of(count) + "], at most " +
                  text_of(most) + " are possible"};
  }

  // ---- Cells and nets

  void initialise_cells() {
    h_.mincd = 2000000000;
    for (int i = 1; i <= h_.c; ++i) h_.cells.at(i) = {1, 0, -1, kUntouched, true};
  }

  void read_nets() {
    while (j_ <= h_.n) {
      fetch_line();
      if (end_of_file()) break;
      if (length() >= kLineSize - 5) net_line_too_long();

      SeenNet& net = h_.nets.at(j_);
      net.first = cursor_;
      if (h_.fmt == 2 || h_.fmt == 3)
        next_number(net.w);
      else
        net.w = 1;
      read_pins();
      net.last = cursor_ - 1;
      h_.totnw = sum(h_.totnw, net.w);

      const std::int64_t npins = cursor_ - net.first;
      if (!standard_ || npins >= 2)
        j_ += 1;
      else
        remove_net(net, npins);
    }
  }

  [[noreturn]] void net_line_too_long() const {
    if (!standard_) throw Fatal{"read_hypergraph: Buffer for fgets not big enough."};
    throw Fatal{"read_hypergraph: Buffer for fgets not big enough for net " + text_of(j_) + "\n."};
  }

  void read_pins() {
    int id = 0;
    while (true) {
      const bool got = next_number(id);
      id = sum(id, shift_);
      if (cursor_ < std::ssize(h_.cell_list)) h_.cell_list.at(cursor_) = id;
      if (!got) break;

      if (id < 1 || id > h_.c)
        throw Fatal{"invalid vertex/cell id " + text_of(id) + " in the  vertex/cell list of net " +
                    text_of(j_)};
      if (check_) {
        if (work_.at(id) == j_)
          out_.warnings.push_back("read_hypergraph: \n " + text_of(id) + " is already added to net list of " +
                                  text_of(j_));
        work_.at(id) = j_;
      }
      only_pin_ = id;
      pins_counted_ += 1;
      cursor_ += 1;
    }
  }

  void remove_net(const SeenNet& net, std::int64_t npins) {
    if (npins == 1) {
      int& inw = h_.cells.at(only_pin_).inw;
      inw = sum(inw, net.w);
      h_.totinw = sum(h_.totinw, net.w);
    } else {
      h_.totnw = difference(h_.totnw, net.w);
      h_.virtualnets = sum(h_.virtualnets, net.w);
      if (net.w >= 2)
        throw Fatal{"file contains a net with weight " + text_of(net.w) + " but net doesn't have any pin."};
    }
    cursor_ = net.first;
    removed_pins_ += static_cast<int>(npins);
    removed_nets_ += 1;
    h_.n -= 1;
  }

  void check_pins() {
    if (check_) request("free read_hypergraph: work");
    if (pins_counted_ != h_.p)
      throw Fatal{"read_hypergraph: Something wrong with the pins from input file " + text_of(h_.p) + " " +
                  text_of(pins_counted_) + "\n"};
    h_.p -= removed_pins_;
  }

  void close_nets() {
    h_.nets.at(j_).first = cursor_;
    for (int j = j_; j <= h_.n; ++j) {
      h_.nets.at(j).w = 0;
      h_.nets.at(j).last = cursor_ - 1;
      h_.nets.at(j + 1).first = cursor_;
    }
  }

  // ---- Cell weights

  void read_cell_weights() {
    if (h_.fmt == 0 || h_.fmt == 2) {
      h_.totcw = h_.c;
      return;
    }
    std::int64_t i = 1;
    std::int64_t k = 0;
    while (i <= h_.c) {
      fetch_line();
      if (standard_ && end_of_file()) break;
      check_weight_line();
      if (end_of_file()) break;
      read_weights_of_line(i, k);
    }
    if (i <= h_.c && check_)
      out_.warnings.push_back("read_hypergraph: some cell (vertex) weights are missing, initializing to 1");
    for (; i <= h_.c; ++i) {
      h_.cells.at(i).w = 1;
      h_.totcw = sum(h_.totcw, 1);
    }
  }

  void check_weight_line() const {
    if (length() >= kLineSize - 5) throw Fatal{"read_hypergraph: Buffer for fgets not big enough."};
    const std::string text = line_;
    if (text.empty() || text.back() != '\n')
      throw Fatal{"read_hypergraph: no newline at the end of line '" + text + "'\n"};
  }

  void read_weights_of_line(std::int64_t& i, std::int64_t& k) {
    int number = 0;
    while (next_number(number)) {
      if (k == 0) {
        if (i < std::ssize(h_.cells)) h_.cells.at(i).w = number;
        h_.totcw = sum(h_.totcw, number);
      }
      k += 1;
      if (k == weights_per_cell_) {
        k = 0;
        i += 1;
      }
    }
  }

  // ---- Result

  void fill_outcome() {
    out_.result = removed_nets_;
    h_.others_null = true;
    h_.sentinel = h_.nets.at(h_.n + 1).first;
    h_.pins.assign(h_.cell_list.begin(), h_.cell_list.begin() + h_.sentinel);
    h_.nets.resize(static_cast<std::size_t>(h_.n) + 1);
    h_.nets.erase(h_.nets.begin());
    for (int i = 1; i <= h_.c; ++i) h_.weights.push_back(h_.cells.at(i).w);
    h_.cells = marked_part(h_.cells, sizeof(Cell));
    h_.cell_list = marked_part(h_.cell_list, sizeof(int));
    out_.record = h_;
  }

  const bool standard_;
  std::FILE* const file_;
  const bool check_;
  Outcome& out_;

  SeenRecord h_ = {};
  char* line_ = nullptr;
  const char* at_ = nullptr;
  std::vector<int> work_;

  int shift_ = 0;
  int weights_per_cell_ = 1;
  int j_ = 1;
  int only_pin_ = 0;
  int removed_nets_ = 0;
  int removed_pins_ = 0;
  std::int64_t cursor_ = 0;
  std::int64_t pins_counted_ = 0;
};

// ---- What the reader of the module leaves behind

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

void PrintTo(const Outcome& outcome, std::ostream* out) {
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

Outcome read(Kind kind, std::FILE* file, int check) {
  Outcome outcome;
  try {
    SlowReader(kind, file, check, outcome).run();
  } catch (const Fatal& fatal) {
    outcome.fatal = fatal.text;
  } catch (const Endless&) {
    outcome.endless = true;
  } catch (const Huge&) {
    outcome.huge = true;
  }
  outcome.position = std::ftell(file);
  return outcome;
}

Outcome read_with_module(Kind kind, std::FILE* file, int check) {
  recorder::reset();
  Hypergraph h;
  std::memset(&h, 0xa5, sizeof h);
  const auto reader =
      kind == Kind::kStandard ? read_hypergraphFromFile : read_hypergraph_with_onepin_netsFromFile;

  Outcome outcome;
  try {
    outcome.result = reader(&h, file, check);
    outcome.record = snapshot(h);
  } catch (const recorder::FatalError& error) {
    outcome.fatal = error.what();
  }
  outcome.warnings = recorder::warnings();
  outcome.requests = recorder::requests();
  outcome.position = std::ftell(file);
  return outcome;
}

}  // namespace quillon::slow
