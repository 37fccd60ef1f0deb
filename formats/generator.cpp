#include "formats/generator.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "formats/degree_generators.h"
#include "formats/draws.h"
#include "formats/pin_set.h"
#include "formats/text_writer.h"

namespace quillon::formats {
namespace {

// The sizes of all nets follow the law of the recipe.
class SizedByLaw : public Generator {
 public:
  explicit SizedByLaw(const Recipe& recipe) : Generator(recipe, recipe.ncells, recipe.nnets) {
    require_sizes(recipe, recipe.ncells, "cells");
  }

  [[nodiscard]] int size_of(int j) const final { return size_by_law(recipe(), j); }

 protected:
  [[nodiscard]] Draws draws_for(int j) const {
    return {seed(), Purpose::kPins, static_cast<std::uint64_t>(j)};
  }
};

// Adds different cells of a range to a net until it has `size`.
void add_any(PinSet& pins, int size, Draws& draws, int first, int count) {
  for (int npins = 0; npins < size;)
    if (pins.add(first + draws.below(count))) ++npins;
}

class RandomGenerator final : public SizedByLaw {
 public:
  explicit RandomGenerator(const Recipe& recipe) : SizedByLaw(recipe) { count_pins(); }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    const int size = size_of(j);
    Draws draws = draws_for(j);
    pins.begin(size);
    add_any(pins, size, draws, 1, ncells());
  }
};

// The middle of the nets moves evenly from the first cell to the last.
class LocalGenerator final : public SizedByLaw {
 public:
  explicit LocalGenerator(const Recipe& recipe)
      : SizedByLaw(recipe),
        window_(static_cast<int>(std::min<std::int64_t>(2 * std::int64_t{recipe.reach} + 1, ncells()))) {
    require_sizes(recipe, window_, "cells within reach");
    count_pins();
  }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    const std::int64_t middle = std::int64_t{j - 1} * ncells() / nnets() + 1;
    const std::int64_t lowest =
        std::clamp<std::int64_t>(middle - recipe().reach, 1, std::int64_t{ncells()} - window_ + 1);
    const int size = size_of(j);
    Draws draws = draws_for(j);
    pins.begin(size);
    add_any(pins, size, draws, static_cast<int>(lowest), window_);
  }

 private:
  int window_;
};

// A point is a cell and a net. The net has the point and its neighbours, in increasing order.
class MeshGenerator final : public Generator {
 public:
  explicit MeshGenerator(const Recipe& recipe) : Generator(recipe, npoints(recipe), npoints(recipe)) {
    int step = 1;
    for (std::size_t k = 0; k < 3; ++k) {
      steps_[k] = step;
      step *= recipe.sides[k];
    }
    count_pins();
  }

  [[nodiscard]] int size_of(int j) const override {
    int size = 1;
    for (std::size_t k = 0; k < 3; ++k) size += (has_lower(j, k) ? 1 : 0) + (has_upper(j, k) ? 1 : 0);
    return size;
  }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    pins.begin(7);
    for (std::size_t k = 3; k-- > 0;)
      if (has_lower(j, k)) pins.add(j - steps_[k]);
    pins.add(j);
    for (std::size_t k = 0; k < 3; ++k)
      if (has_upper(j, k)) pins.add(j + steps_[k]);
  }

 private:
  static int npoints(const Recipe& recipe) {
    std::int64_t count = 1;
    for (const int side : recipe.sides) {
      count *= side;
      if (side < 1 || count > static_cast<std::int64_t>(kMostPins))
        throw BadRecipe("a mesh has from 1 to 2147483645 points");
    }
    return static_cast<int>(count);
  }

  [[nodiscard]] int place(int j, std::size_t k) const { return (j - 1) / steps_[k] % recipe().sides[k]; }
  [[nodiscard]] bool has_lower(int j, std::size_t k) const { return place(j, k) > 0; }
  [[nodiscard]] bool has_upper(int j, std::size_t k) const { return place(j, k) < recipe().sides[k] - 1; }

  std::array<int, 3> steps_{};  // between neighbours
};

// Places 0 .. ncells - 1 are cut into blocks, the parts; the cell in a place is random.
class PlantedGenerator final : public SizedByLaw {
 public:
  explicit PlantedGenerator(const Recipe& recipe)
      : SizedByLaw(recipe),
        cells_(seed(), Purpose::kCellOrder, static_cast<std::uint64_t>(ncells())),
        nets_(seed(), Purpose::kNetOrder, static_cast<std::uint64_t>(std::max(nnets(), 1))) {
    if (recipe.nparts < 1 || recipe.nparts > recipe.ncells)
      throw BadRecipe("there are more parts than cells");
    if (recipe.ncut > recipe.nnets) throw BadRecipe("more nets would be cut than there are");
    if (recipe.ncut > 0 && recipe.nparts < 2) throw BadRecipe("only two parts or more can cut a net");
    if (recipe.ncut > 0 && recipe.sizes.min() < 2) throw BadRecipe("nets of one pin cannot be cut");
    require_sizes(recipe, recipe.ncells / recipe.nparts, "cells in each part");
    count_pins();
  }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    const int size = size_of(j);
    Draws draws = draws_for(j);
    pins.begin(size);
    if (nets_.at(static_cast<std::uint64_t>(j) - 1) < static_cast<std::uint64_t>(recipe().ncut))
      return find_cut_pins(size, draws, pins);
    const int part = draws.below(recipe().nparts);
    const int first = first_place(part);
    const int count = first_place(part + 1) - first;
    for (int npins = 0; npins < size;)
      if (pins.add(cell_at(first + draws.below(count)))) ++npins;
  }

  [[nodiscard]] int part_of(int i) const override {
    return part_of_place(static_cast<int>(cells_.place_of(static_cast<std::uint64_t>(i) - 1)));
  }

 private:
  // Any cells, the last of which is in another part if the others are all in one.
  void find_cut_pins(int size, Draws& draws, PinSet& pins) const {
    int part = -1;
    bool is_cut = false;
    for (int npins = 0; npins < size;) {
      const int place = draws.below(ncells());
      if (!pins.add(cell_at(place))) continue;
      if (npins++ == 0) part = part_of_place(place);
      is_cut = is_cut || part_of_place(place) != part;
    }
    if (is_cut) return;
    const int first = first_place(part);
    const int count = first_place(part + 1) - first;
    const int place = draws.below(ncells() - count);
    pins.replace_last(cell_at(place < first ? place : place + count));
  }

  [[nodiscard]] int cell_at(int place) const {
    return static_cast<int>(cells_.at(static_cast<std::uint64_t>(place))) + 1;
  }

  [[nodiscard]] int first_place(int part) const {
    return static_cast<int>(std::int64_t{part} * ncells() / recipe().nparts);
  }

  [[nodiscard]] int part_of_place(int place) const {
    return static_cast<int>(((std::int64_t{place} + 1) * recipe().nparts - 1) / ncells());
  }

  Shuffle cells_;
  Shuffle nets_;
};

// Blocks of cells are halved again and again. The depth of the smallest block around a net follows Rent's
// rule: with exponent p, blocks at the next depth have together 2^(1 - p) times as many nets.
class NetlistGenerator final : public SizedByLaw {
 public:
  explicit NetlistGenerator(const Recipe& recipe)
      : SizedByLaw(recipe), depths_(Law::growing(ndepths(recipe.ncells), 1000 - recipe.rent)) {
    count_pins();
  }

  void find_pins(int j, std::int64_t /*first*/, PinSet& pins) const override {
    const int size = size_of(j);
    Draws draws = draws_for(j);
    pins.begin(size);
    if (size < 2) return add_any(pins, size, draws, 1, ncells());

    int depth = depths_.draw(draws);
    int block = draws.below(1 << depth);
    for (; first_of(block + 1, depth) - first_of(block, depth) < size; --depth) block /= 2;
    const int first = first_of(block, depth);
    const int middle = first_of(2 * block + 1, depth + 1);
    const int end = first_of(block + 1, depth);
    add_any(pins, size, draws, first + 1, end - first);
    straddle(pins, draws, first, middle, end);
  }

 private:
  // Moves the last cell to the other half if all are in one.
  static void straddle(PinSet& pins, Draws& draws, int first, int middle, int end) {
    const auto is_low = [middle](int cell) { return cell <= middle; };
    const bool begins_low = is_low(pins.pins().front());
    for (const int cell : pins.pins())
      if (is_low(cell) != begins_low) return;
    const int cell = begins_low ? middle + draws.below(end - middle) : first + draws.below(middle - first);
    pins.replace_last(cell + 1);
  }

  // Blocks have two cells or more.
  static int ndepths(int ncells) {
    return std::max(1, static_cast<int>(std::bit_width(static_cast<unsigned>(ncells))) - 1);
  }

  // Number of cells before a block.
  [[nodiscard]] int first_of(int block, int depth) const {
    return static_cast<int>(std::int64_t{block} * ncells() >> depth);
  }

  Law depths_;
};

class GeneratedNets final : public NetStream {
 public:
  GeneratedNets(const Generator& generator, std::string line) : generator_(&generator) {
    ncells = generator.ncells();
    nnets = generator.nnets();
    npins = generator.npins();
    weights = generator.weights();
    comment = std::move(line);
  }

  std::span<const int> next_net() override {
    generator_->find_pins(++net_, first_, pins_);
    first_ += static_cast<std::int64_t>(pins_.pins().size());
    return pins_.pins();
  }

  [[nodiscard]] int net_weight(int j) const override { return generator_->net_weight(j); }
  [[nodiscard]] int cell_weight(int i) const override { return generator_->cell_weight(i); }

 private:
  const Generator* generator_;
  PinSet pins_;
  int net_ = 0;
  std::int64_t first_ = 0;
};

void require_pins(std::int64_t npins) {
  if (npins > static_cast<std::int64_t>(kMostPins))
    throw BadRecipe("there would be " + std::to_string(npins) + " pins or more, beyond 2147483645");
}

int weight_by(const std::optional<Law>& law, std::uint64_t seed, Purpose purpose, int item) {
  if (!law) return 1;
  Draws draws(seed, purpose, static_cast<std::uint64_t>(item));
  return law->draw(draws);
}

}  // namespace

NetStream::~NetStream() = default;

Generator::Generator(const Recipe& recipe, int ncells, int nnets)
    : recipe_(recipe), ncells_(ncells), nnets_(nnets) {}

Generator::~Generator() = default;

int Generator::part_of(int /*i*/) const { return -1; }

void Generator::count_pins() {
  npins_ = 0;
  for (int j = 1; j <= nnets_; ++j) npins_ += size_of(j);
  require_pins(npins_);
}

int Generator::cell_weight(int i) const {
  return weight_by(recipe_.cell_weights, seed(), Purpose::kCellWeight, i);
}

int Generator::net_weight(int j) const {
  return weight_by(recipe_.net_weights, seed(), Purpose::kNetWeight, j);
}

int Generator::weights() const { return (recipe_.cell_weights ? 1 : 0) + (recipe_.net_weights ? 2 : 0); }

int size_by_law(const Recipe& recipe, int j) {
  Draws draws(recipe.seed, Purpose::kSize, static_cast<std::uint64_t>(j));
  return recipe.sizes.draw(draws);
}

void require_sizes(const Recipe& recipe, int most, const char* what) {
  if (recipe.sizes.min() < 1) throw BadRecipe("nets have one pin at least");
  if (recipe.nnets > 0 && recipe.sizes.max() > most)
    throw BadRecipe("nets of " + std::to_string(recipe.sizes.max()) + " pins do not fit: there are " +
                    std::to_string(most) + " " + what);
  require_pins(std::int64_t{recipe.sizes.min()} * recipe.nnets);
}

std::unique_ptr<Generator> make_generator(Recipe recipe) {
  switch (recipe.kind) {
    case GeneratorKind::kRandom:
      return std::make_unique<RandomGenerator>(recipe);
    case GeneratorKind::kLocal:
      return std::make_unique<LocalGenerator>(recipe);
    case GeneratorKind::kMesh2d:
    case GeneratorKind::kMesh3d:
      return std::make_unique<MeshGenerator>(recipe);
    case GeneratorKind::kPlanted:
      return std::make_unique<PlantedGenerator>(recipe);
    case GeneratorKind::kNetlist:
      return std::make_unique<NetlistGenerator>(recipe);
    case GeneratorKind::kPowerlaw:
      return make_powerlaw_generator(recipe);
    case GeneratorKind::kFromDegrees:
      return make_degree_generator(recipe);
  }
  throw BadRecipe("no such kind");
}

std::unique_ptr<NetStream> stream_of(const Generator& generator, std::string comment) {
  return std::make_unique<GeneratedNets>(generator, std::move(comment));
}

NetLists lists_of(NetStream& nets) {
  NetLists lists;
  lists.ncells = nets.ncells;
  begin_nets(lists, nets.nnets);
  lists.nadj.reserve(static_cast<std::size_t>(nets.npins) + 2);
  for (int j = 1; j <= nets.nnets; ++j) {
    for (const int i : nets.next_net()) lists.nadj.push_back(i);
    end_net(lists);
  }
  if ((nets.weights & 1) != 0)
    for (int i = 0; i <= nets.ncells; ++i) lists.cell_weights.push_back(i == 0 ? 0 : nets.cell_weight(i));
  if ((nets.weights & 2) != 0)
    for (int j = 0; j <= nets.nnets; ++j) lists.net_weights.push_back(j == 0 ? 0 : nets.net_weight(j));
  return lists;
}

void write_hidden_parts(const Generator& generator, const char* filename) {
  TextWriter out(filename, "quillon generate: parts");
  for (int i = 1; i <= generator.ncells(); ++i) {
    out.number(generator.part_of(i));
    out.character('\n');
  }
  out.close();
}

}  // namespace quillon::formats
