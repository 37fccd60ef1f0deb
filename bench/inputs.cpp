#include "bench/inputs.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <random>
#include <utility>

#include "bench/system.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

// Every standard library gives the same numbers for this engine, but not for its distributions.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  int below(int bound) {
    return static_cast<int>(std::uint64_t{engine_()} * static_cast<std::uint64_t>(bound) >> 32);
  }

  // In the open interval from 0 to 1.
  double unit() { return (static_cast<double>(engine_()) + 0.5) / 4294967296.0; }

 private:
  std::mt19937 engine_;
};

void end_net(Nets& nets) {
  ++nets.nnets;
  nets.starts.push_back(static_cast<int>(nets.pins.size()));
}

// Adds a net of `size` different cells. `draw` gives cell numbers, from 1.
template <typename Draw>
void add_net(Nets& nets, int size, std::vector<int>& last_net_of, const Draw& draw) {
  const int j = nets.nnets + 1;
  for (int npins = 0; npins < size;) {
    const int i = draw();
    if (last_net_of[i] == j) continue;
    last_net_of[i] = j;
    nets.pins.push_back(i);
    ++npins;
  }
  end_net(nets);
}

void generate_random(Nets& nets) {
  Dice dice(1);
  std::vector<int> last_net_of(nets.ncells + 1);
  for (int j = 1; j <= nets.ncells; ++j)
    add_net(nets, 2 + dice.below(13), last_net_of, [&] { return 1 + dice.below(nets.ncells); });
}

// The pins of a net are within `reach` cells around a centre that moves along.
void generate_local(Nets& nets, int reach) {
  Dice dice(2);
  std::vector<int> last_net_of(nets.ncells + 1);
  const int window = std::min(2 * reach + 1, nets.ncells);
  for (int j = 1; j <= nets.ncells; ++j) {
    const int first = std::clamp(j - reach, 1, nets.ncells - window + 1);
    add_net(nets, 2 + dice.below(13), last_net_of, [&] { return first + dice.below(window); });
  }
}

void generate_mesh(Nets& nets) {
  const int side = static_cast<int>(std::sqrt(nets.ncells));
  nets.ncells = side * side;
  for (int row = 0; row < side; ++row) {
    for (int column = 0; column < side; ++column) {
      const int j = row * side + column + 1;
      if (row > 0) nets.pins.push_back(j - side);
      if (column > 0) nets.pins.push_back(j - 1);
      nets.pins.push_back(j);
      if (column < side - 1) nets.pins.push_back(j + 1);
      if (row < side - 1) nets.pins.push_back(j + side);
      end_net(nets);
    }
  }
}

// The frequency of a size s falls as s to the power of -2.3, that of a degree d as d to the power of -3.
// Cells of high degree are spread over the numbers.
void generate_power(Nets& nets) {
  constexpr double kSmallestSize = 1.9;
  constexpr double kSizeExponent = -1 / 1.3;
  Dice dice(3);
  std::vector<int> cells(nets.ncells);
  for (int i = 0; i < nets.ncells; ++i) cells[i] = i + 1;
  for (int i = nets.ncells; i > 1; --i) std::swap(cells[i - 1], cells[dice.below(i)]);

  const double largest = std::max(20, nets.ncells / 200);
  std::vector<int> last_net_of(nets.ncells + 1);
  for (int j = 1; j <= nets.ncells; ++j) {
    const double size = std::min(largest, kSmallestSize * std::pow(dice.unit(), kSizeExponent));
    add_net(nets, static_cast<int>(size), last_net_of, [&] {
      const double u = dice.unit();
      return cells[static_cast<std::size_t>(nets.ncells * u * u)];
    });
  }
  nets.net_weights.resize(nets.nnets + 1);
  for (int& w : nets.net_weights) w = 1 + dice.below(9);
  nets.cell_weights.resize(nets.ncells + 1);
  for (int& w : nets.cell_weights) w = 1 + dice.below(1000);
}

// Buffers text for a file.
class Text {
 public:
  explicit Text(const std::string& path) : file_(ufopen(path.c_str(), "w", "write_text")) {}
  ~Text() {
    flush();
    ufclose(file_);
  }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  void number(int value, char separator) {
    if (used_ + 16 > sizeof text_) flush();
    char* const end = std::to_chars(text_ + used_, text_ + sizeof text_, value).ptr;
    *end = separator;
    used_ = static_cast<std::size_t>(end + 1 - text_);
  }

  void line_end() { text_[used_++] = '\n'; }

 private:
  void flush() {
    std::fwrite(text_, 1, used_, file_);
    used_ = 0;
  }

  std::FILE* file_;
  std::size_t used_ = 0;
  char text_[1 << 16];
};

void mark_parts(Hypergraph& h) {
  Dice dice(4);
  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = dice.below(64);
}

}  // namespace

Nets generate(Shape shape, int ncells) {
  Nets nets;
  nets.ncells = ncells;
  switch (shape) {
    case Shape::kRandom:
      generate_random(nets);
      break;
    case Shape::kLocal:
      generate_local(nets, 200);
      break;
    case Shape::kWide:
      generate_local(nets, 1500);
      break;
    case Shape::kMesh:
      generate_mesh(nets);
      break;
    case Shape::kPower:
      generate_power(nets);
      break;
  }
  return nets;
}

void write_text(const Nets& nets, const std::string& path) {
  Text text(path);
  const int fmt = (nets.cell_weights.empty() ? 0 : 1) + (nets.net_weights.empty() ? 0 : 2);
  for (const int value : {1, nets.ncells, nets.nnets, static_cast<int>(nets.pins.size())})
    text.number(value, ' ');
  text.number(fmt, '\n');

  for (int j = 1; j <= nets.nnets; ++j) {
    const int end = nets.starts[j + 1];
    if (!nets.net_weights.empty()) text.number(nets.net_weights[j], nets.starts[j] == end ? '\n' : ' ');
    for (int at = nets.starts[j]; at < end; ++at) text.number(nets.pins[at], at == end - 1 ? '\n' : ' ');
    if (nets.net_weights.empty() && nets.starts[j] == end) text.line_end();
  }
  if (nets.cell_weights.empty()) return;
  for (int i = 1; i <= nets.ncells; ++i)
    text.number(nets.cell_weights[i], i % 20 == 0 || i == nets.ncells ? '\n' : ' ');
}

Input::Input(std::string name, Shape shape, int ncells, const std::string& folder)
    : name_(std::move(name)),
      path_(folder + "/" + name_ + ".qhg"),
      generated_(true),
      written_(false),
      shape_(shape),
      ncells_(ncells) {}

Input::Input(const std::string& path)
    : name_(std::filesystem::path(path).filename().string()),
      path_(path),
      generated_(false),
      written_(true) {}

Input::~Input() {
  if (loaded_) free_hypergraph(&h_);
}

const char* Input::path() {
  if (!written_) {
    write_text(generate(shape_, ncells_), path_);
    settle(path_);
    written_ = true;
  }
  return path_.c_str();
}

std::int64_t Input::bytes() { return static_cast<std::int64_t>(std::filesystem::file_size(path())); }

const Hypergraph& Input::record() {
  if (loaded_) return h_;
  read_hypergraph_with_onepin_nets(&h_, path(), 0);
  h_._net_list = imalloc(std::int64_t{h_._p} + 2, "Input: net_list");
  int* const work = imalloc(std::int64_t{h_._c} + 1, "Input: work");
  construct_net_list(&h_, work);
  _usfree(work);
  mark_parts(h_);
  loaded_ = true;
  return h_;
}

bool Input::has_duplicate_pins() {
  if (generated_) return false;
  const Hypergraph& h = record();
  std::vector<int> last_net_of(static_cast<std::size_t>(h._c) + 1);
  for (int j = 1; j <= h._n; ++j)
    for (const int* pin = h._nlst[j].pins; pin <= h._nlst[j].pinsend; ++pin)
      if (std::exchange(last_net_of[*pin], j) == j) return true;
  return false;
}

}  // namespace quillon::bench
