#include "fuzz/importer.h"

#include <algorithm>
#include <string>

#include "fuzz/accounts.h"
#include "fuzz/driver.h"
#include "tests/double/recorder.h"
#include "tests/support/records.h"

namespace quillon::tool {
namespace {

// What a bad text ends an importer with.
struct BadText {};

}  // namespace

// In place of the one that ends the program.
void bad_text(const Tokenizer& tokenizer, std::size_t offset, const std::string& message,
              const std::string& hint) {
  fuzz::expect(offset <= tokenizer.text.size(), "an error behind the end of the text");
  fuzz::expect(line_of(tokenizer, offset) >= 1, "an error before the first line");
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 32; };
  fuzz::expect(message.starts_with("found ") && std::none_of(message.begin(), message.end(), is_control) &&
                   std::none_of(hint.begin(), hint.end(), is_control),
               "a message that is not one line");
  throw BadText{};
}

}  // namespace quillon::tool

namespace quillon::fuzz {
namespace {

using tool::Arrays;

constexpr int kMostItems = 20000;     // for what follows the import, of cells, nets and pins
constexpr int kMostForChecks = 2000;  // pins, for what takes time by their square

template <typename Entries>
void expect_entries(const Entries& entries, int count, const char* what) {
  expect(entries.empty() || std::ssize(entries) == std::int64_t{count} + 1, what);
}

// What an importer promises of whatever it takes.
void expect_sound(const Arrays& arrays) {
  expect(arrays.ncells >= 0 && arrays.nnets >= 0, "negative counts");
  expect(std::ssize(arrays.xnadj) == std::int64_t{arrays.nnets} + 2, "not a start for each net");
  expect(arrays.xnadj[1] == 0 && std::is_sorted(arrays.xnadj.begin() + 1, arrays.xnadj.end()),
         "a net ends before it begins");
  expect(arrays.xnadj.back() == std::ssize(arrays.nadj), "not as many pins as the nets have");
  const auto is_cell = [&arrays](int cell) { return cell >= 1 && cell <= arrays.ncells; };
  expect(std::all_of(arrays.nadj.begin(), arrays.nadj.end(), is_cell), "a pin that is no cell");
  expect_entries(arrays.cell_weights, arrays.ncells, "not a weight for each cell");
  expect_entries(arrays.net_weights, arrays.nnets, "not a weight for each net");
  expect_entries(arrays.diagonal, arrays.nnets, "not a mark for each net");
  expect_entries(arrays.cell_names, arrays.ncells, "not a name for each cell");
  expect_entries(arrays.net_names, arrays.nnets, "not a name for each net");
}

// Whether the text was taken.
bool import(const std::function<void(tool::Tokenizer&, Arrays&)>& importer, const std::string& text,
            Arrays& arrays) {
  tool::Tokenizer in("in", text);
  try {
    if (!run_soundly([&] { importer(in, arrays); })) return false;
  } catch (const tool::BadText&) {
    return false;
  }
  expect_sound(arrays);
  return true;
}

bool is_small(const Arrays& arrays) {
  return arrays.ncells <= kMostItems && arrays.nnets <= kMostItems && std::ssize(arrays.nadj) <= kMostItems;
}

void check_lists(const Hypergraph& h) {
  if (h._p <= kMostForChecks && tool::count_repeated_pins(h) == 0) CheckListsofHypergraph(&h);
}

void expect_same(const Hypergraph& back, const Hypergraph& h) {
  expect(back._c == h._c && back._n == h._n, "other counts come back than went out");
  expect(pins_of_nets(back) == pins_of_nets(h), "other pins come back than went out");
  expect(nets_of_cells(back) == nets_of_cells(h), "other nets of cells come back than went out");
  expect(of_nets(back, &Net::w) == of_nets(h, &Net::w), "other net weights come back than went out");
  expect(of_cells(back, &Cell::w) == of_cells(h, &Cell::w), "other cell weights come back than went out");
}

void send_round(const RoundTrip& trip, const Arrays& arrays) {
  static const MemoryFile file;
  tool::Loaded loaded;
  tool::to_record(arrays, loaded);
  check_lists(loaded.h);
  trip.write(&loaded.h, {arrays.cell_names, arrays.net_names}, file.name());

  Arrays arrays_back;
  expect(import(trip.import_back, file.contents(), arrays_back), "what was written is not taken back");
  tool::Loaded back;
  tool::to_record(arrays_back, back);
  expect_same(back.h, loaded.h);
}

}  // namespace

void write_kub(const Hypergraph* h, const tool::Labels& /*labels*/, const char* filename) {
  tool::export_kub(h, filename);
  recorder::forget_files();  // it closes its file without telling
}

void try_importer(const RoundTrip& trip, const std::uint8_t* data, std::size_t size) {
  recorder::reset();
  Arrays arrays;
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (!import(trip.import, text, arrays) || !is_small(arrays)) return;
  if (run_soundly([&] { send_round(trip, arrays); })) expect_nothing_held();
}

}  // namespace quillon::fuzz
