#include "bench/inputs.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "bench/system.h"
#include "formats/formats.h"
#include "formats/generator.h"
#include "util/util.h"

namespace quillon::bench {
namespace {

using formats::GeneratorKind;
using formats::Law;
using formats::Recipe;

Recipe local(int ncells, int reach) {
  Recipe recipe{.kind = GeneratorKind::kLocal, .ncells = ncells, .nnets = ncells, .seed = 2};
  recipe.reach = reach;
  return recipe;
}

Recipe mesh(int ncells) {
  const int side = static_cast<int>(std::sqrt(ncells));
  Recipe recipe{.kind = GeneratorKind::kMesh2d};
  recipe.sides = {side, side, 1};
  return recipe;
}

Recipe power(int ncells) {
  Recipe recipe{.kind = GeneratorKind::kPowerlaw, .ncells = ncells, .nnets = ncells, .seed = 3};
  recipe.sizes = Law::parse("power:2.3:2.." + std::to_string(std::max(20, ncells / 200)));
  recipe.degrees = Law::parse("power:3:1..1000");
  recipe.net_weights = Law(1, 9);
  recipe.cell_weights = Law(1, 1000);
  return recipe;
}

Recipe recipe_of(Shape shape, int ncells) {
  switch (shape) {
    case Shape::kLocal:
      return local(ncells, 200);
    case Shape::kWide:
      return local(ncells, 1500);
    case Shape::kMesh:
      return mesh(ncells);
    case Shape::kPower:
      return power(ncells);
    case Shape::kRandom:
      break;
  }
  return {.kind = GeneratorKind::kRandom, .ncells = ncells, .nnets = ncells, .seed = 1};
}

// Every standard library gives the same numbers for this engine, but not for its distributions.
void mark_parts(Hypergraph& h) {
  std::mt19937 random(4);
  for (int i = 1; i <= h._c; ++i) h._clst[i].pno = static_cast<int>(random() >> 26U);  // 64 parts
}

}  // namespace

void write_generated(Shape shape, int ncells, const std::string& path) {
  const std::unique_ptr<formats::Generator> generator = formats::make_generator(recipe_of(shape, ncells));
  formats::own_format().write_stream(*formats::stream_of(*generator, ""), path.c_str());
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
    write_generated(shape_, ncells_, path_);
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
