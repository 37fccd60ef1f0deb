#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/generator.h"
#include "formats/part_vector.h"
#include "formats/sink.h"
#include "tools/commands/commands.h"
#include "tools/commands/common_options.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

using formats::GeneratorKind;
using formats::Law;
using formats::Recipe;

struct GenerateOptions {
  GeneratorKind kind = GeneratorKind::kRandom;
  std::string degree_file;
  std::string out;
  OutputOptions output;
  std::uint64_t seed = 0;
  int ncells = 0;  // 0: not given
  int nnets = 0;   // 0: not given
  std::string size;
  std::string sides;
  int reach = 0;  // 0: not given
  std::string degree;
  std::string rent;
  int nparts = 0;  // 0: not given
  int ncut = -1;   // -1: not given
  std::string parts;
  std::string sizes_file;
  std::string cell_weights;
  std::string net_weights;
};

constexpr const char* kGenerateNotes = R"(
Examples:
  quillon generate random -o random.qhg --cells 1000 --nets 1200 --size 2..8
  quillon generate mesh3d -o mesh.hgr --sides 20x20x10
  quillon generate planted -o hidden.qhg --cells 9000 --nets 8000 --parts-count 4 --cut-nets 50 --parts hidden.part
  quillon generate netlist -o chip.qhg --cells 100000 --nets 100000 --rent 0.6 --cell-weights 1..8
  quillon generate powerlaw -o web.qhg --cells 5000 --nets 4000 --degree power:2.5:1..300 --size 2..40

Kinds:
  random        the cells of a net are any
  local         the cells of a net are at most --reach from its middle, which moves from the first cell to the last
  mesh2d        net i has point i of a rectangle and its neighbours; mesh3d: of a box
  planted       the cells are in --parts-count hidden parts of equal size; exactly --cut-nets nets touch several
  powerlaw      degrees of cells are in proportion to --degree, sizes of nets follow --size
  netlist       nets in nested blocks of cells; how many leave a block follows Rent's rule with exponent --rent
  from-degrees  the degrees of the cells are in FILE, the sizes of the nets in the file of --sizes

A distribution, DIST:
  5                 always 5
  2..14             from 2 to 14, each with the same chance
  power:2.3:2..50   from 2 to 50, the chance of k in proportion to 1 / k^2.3
  2=60,3..9=40      2 with a chance of 60 in 100, else from 3 to 9

No net has a cell twice. The same options give the same file on every system; docs/generate.md says how. The formats
quillon, hmetis, kub and mtx are written as the nets are made, in little memory.)";

constexpr std::pair<GeneratorKind, const char*> kKinds[] = {
    {GeneratorKind::kRandom, "random"},   {GeneratorKind::kLocal, "local"},
    {GeneratorKind::kMesh2d, "mesh2d"},   {GeneratorKind::kMesh3d, "mesh3d"},
    {GeneratorKind::kPlanted, "planted"}, {GeneratorKind::kPowerlaw, "powerlaw"},
    {GeneratorKind::kNetlist, "netlist"}, {GeneratorKind::kFromDegrees, "from-degrees"},
};

std::string name_of(GeneratorKind kind) { return kKinds[static_cast<std::size_t>(kind)].second; }

bool is_mesh(GeneratorKind kind) { return kind == GeneratorKind::kMesh2d || kind == GeneratorKind::kMesh3d; }

bool has_law_of_sizes(GeneratorKind kind) { return !is_mesh(kind) && kind != GeneratorKind::kFromDegrees; }

// Refuses options without meaning to the kind, and demands those that it cannot do without.
void check_usage(const GenerateOptions& options) {
  const GeneratorKind kind = options.kind;
  const bool has_law = has_law_of_sizes(kind);
  const bool is_planted = kind == GeneratorKind::kPlanted;
  const bool is_from_degrees = kind == GeneratorKind::kFromDegrees;
  const std::tuple<const char*, bool, bool, bool> rules[] = {
      // option, whether it is given, may be given, must be given
      {"FILE", !options.degree_file.empty(), is_from_degrees, is_from_degrees},
      {"--cells", options.ncells > 0, !is_from_degrees, has_law},
      {"--nets", options.nnets > 0, has_law, has_law},
      {"--size", !options.size.empty(), has_law, false},
      {"--sides", !options.sides.empty(), is_mesh(kind), false},
      {"--reach", options.reach > 0, kind == GeneratorKind::kLocal, false},
      {"--degree", !options.degree.empty(), kind == GeneratorKind::kPowerlaw, false},
      {"--rent", !options.rent.empty(), kind == GeneratorKind::kNetlist, false},
      {"--parts-count", options.nparts > 0, is_planted, is_planted},
      {"--cut-nets", options.ncut >= 0, is_planted, is_planted},
      {"--parts", !options.parts.empty(), is_planted, false},
      {"--sizes", !options.sizes_file.empty(), is_from_degrees, is_from_degrees},
  };
  for (const auto& [name, is_given, is_allowed, is_required] : rules) {
    if (is_given && !is_allowed) throw UsageError(std::string(name) + " means nothing to " + name_of(kind));
    if (!is_given && is_required) throw UsageError(name_of(kind) + " needs " + name);
  }
  if (is_mesh(kind) && (options.ncells > 0) == !options.sides.empty())
    throw UsageError(name_of(kind) + " needs either --cells or --sides");
}

// "24x36" or "8x8x12".
std::array<int, 3> sides_in(const std::string& text, std::size_t count) {
  std::array<int, 3> sides{1, 1, 1};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (std::size_t k = 0; k < count; ++k) {
    if (k > 0 && (at == end || *at++ != 'x')) at = nullptr;
    const auto [next, error] = std::from_chars(at, at == nullptr ? at : end, sides[k]);
    if (error != std::errc() || sides[k] < 1 || (k + 1 == count && next != end))
      throw UsageError("--sides: '" + text + "' is not " + (count == 2 ? "WxH" : "WxHxD"));
    at = next;
  }
  return sides;
}

// The largest square or cube of at most so many points.
std::array<int, 3> sides_for(int ncells, std::size_t count) {
  const auto npoints = [count](std::int64_t side) { return count == 2 ? side * side : side * side * side; };
  int side = 1;
  while (npoints(side + 1) <= ncells) ++side;
  return {side, side, count == 3 ? side : 1};
}

Law sizes_for(const GenerateOptions& options) {
  if (!options.size.empty()) return Law::parse(options.size);
  const int most = std::max(2, std::min(options.ncells, 1000));
  if (options.kind == GeneratorKind::kPowerlaw) return Law::parse("power:2.3:2.." + std::to_string(most));
  if (options.kind == GeneratorKind::kNetlist) return Law::parse("2=56,3=18,4=8,5..8=11,9..20=6,21..40=1");
  return {2, 14};
}

Law degrees_for(const GenerateOptions& options) {
  if (!options.degree.empty()) return Law::parse(options.degree);
  return Law::parse("power:3:1.." + std::to_string(std::min(options.nnets, 1000)));
}

std::optional<Law> weights_for(const std::string& text) {
  if (text.empty()) return std::nullopt;
  return Law::parse(text);
}

Recipe recipe_of(const GenerateOptions& options) {
  Recipe recipe;
  recipe.kind = options.kind;
  recipe.ncells = options.ncells;
  recipe.nnets = options.nnets;
  recipe.seed = options.seed;
  if (has_law_of_sizes(options.kind)) recipe.sizes = sizes_for(options);
  if (options.reach > 0) recipe.reach = options.reach;
  if (is_mesh(options.kind)) {
    const std::size_t count = options.kind == GeneratorKind::kMesh2d ? 2 : 3;
    recipe.sides = options.sides.empty() ? sides_for(options.ncells, count) : sides_in(options.sides, count);
  }
  recipe.nparts = options.nparts;
  recipe.ncut = options.ncut;
  if (options.kind == GeneratorKind::kPowerlaw) recipe.degrees = degrees_for(options);
  if (!options.rent.empty()) recipe.rent = formats::parse_thousandths(options.rent, "--rent");
  if (recipe.rent > 1000) throw UsageError("--rent is at most 1");
  recipe.cell_weights = weights_for(options.cell_weights);
  recipe.net_weights = weights_for(options.net_weights);
  return recipe;
}

// Degrees or sizes, by number; entry 0 is not used.
std::vector<int> counts_in(const std::string& file) {
  std::vector<int> counts =
      formats::read_numbers(file, 0, std::numeric_limits<int>::max(), "a whole number from 0");
  counts.insert(counts.begin(), 0);
  return counts;
}

// What can be said against a recipe without its files is wrong usage.
std::unique_ptr<formats::Generator> generator_for(const GenerateOptions& options) {
  try {
    Recipe recipe = recipe_of(options);
    if (options.kind != GeneratorKind::kFromDegrees) return formats::make_generator(std::move(recipe));
    recipe.given_degrees = counts_in(options.degree_file);
    recipe.given_sizes = counts_in(options.sizes_file);
    return formats::make_generator(std::move(recipe));
  } catch (const formats::BadRecipe& error) {
    if (options.kind == GeneratorKind::kFromDegrees) errexit("%s", error.what());
    throw UsageError(error.what());
  }
}

void write_nets(formats::Outputs& outputs, const GenerateOptions& options,
                const formats::Generator& generator) {
  const formats::Format& format = output_format(options.out, options.output);
  const std::string comment =
      name_of(options.kind) + " hypergraph of quillon generate, seed " + std::to_string(options.seed);
  const std::unique_ptr<formats::NetStream> nets = formats::stream_of(generator, comment);
  // A format without weights is written from a record, with a warning of what is lost.
  if (format.write_stream != nullptr && (format.has_weights || nets->weights == 0)) {
    outputs.write(options.out, [&](const char* filename) { format.write_stream(*nets, filename); });
    return;
  }
  formats::Record record;
  formats::to_record(formats::lists_of(*nets), record);
  write_output(outputs, options.out, record.h, options.output);
}

int run(const GenerateOptions& options) {
  check_usage(options);
  output_format(options.out, options.output);
  formats::refuse_to_replace({options.degree_file, options.sizes_file}, options.out);
  formats::refuse_named_twice({options.out, options.parts});
  const std::unique_ptr<formats::Generator> generator = generator_for(options);
  formats::Outputs outputs(force());
  write_nets(outputs, options, *generator);
  if (!options.parts.empty())
    outputs.write(options.parts,
                  [&](const char* filename) { formats::write_hidden_parts(*generator, filename); });
  outputs.publish();
  return kSuccess;
}

void declare_kind(Options& options, GenerateOptions& chosen) {
  std::vector<std::pair<std::string, GeneratorKind>> kinds;
  for (const auto& [kind, name] : kKinds) kinds.emplace_back(name, kind);
  options.choice<GeneratorKind>("KIND", kinds, chosen.kind, "Kind of hypergraph").required();
  options.file("FILE", "FILE", chosen.degree_file, ValueKind::kFile,
               "With from-degrees: the degrees of all cells, separated by any white space");
}

void declare_laws(Options& options, GenerateOptions& chosen) {
  options.text(
      "--size", "DIST", chosen.size,
      "Sizes of nets (default 2..14; powerlaw: power:2.3:2..1000; netlist: mostly 2 to 4, at most 40)");
  options.text("--degree", "DIST", chosen.degree,
               "With powerlaw: degrees of cells, in proportion (default power:3:1..1000)");
  options.text("--cell-weights", "DIST", chosen.cell_weights, "Weights of cells (default 1)");
  options.text("--net-weights", "DIST", chosen.net_weights, "Weights of nets (default 1)");
}

std::function<int()> declare_generate(Options& options) {
  auto chosen = std::make_shared<GenerateOptions>();
  declare_kind(options, *chosen);
  options.file("-o,--output", "OUT", chosen->out, ValueKind::kHypergraphOut, "Output file").required();
  options.number("--cells", "N", 1, chosen->ncells,
                 "Number of cells; of a mesh: at most, it is a square or a cube");
  options.number("--nets", "M", 1, chosen->nnets, "Number of nets");
  options.number("--seed", "S", chosen->seed,
                 "Seed (default 0); the same seed always gives the same hypergraph");
  declare_laws(options, *chosen);
  options.text("--sides", "WxH[xD]", chosen->sides,
               "With mesh2d and mesh3d: number of points along each side");
  options.number("--reach", "R", 1, chosen->reach,
                 "With local: largest distance of a cell from the middle of its net (default 200)");
  options.text("--rent", "P", chosen->rent, "With netlist: Rent's exponent, from 0 to 1 (default 0.65)");
  options.number("--parts-count", "K", 1, chosen->nparts, "With planted: number of parts");
  options.number("--cut-nets", "C", 0, chosen->ncut, "With planted: number of nets that touch several parts");
  options.file("--parts", "FILE", chosen->parts, ValueKind::kFile,
               "With planted: write the part of each cell to FILE");
  options.file("--sizes", "FILE", chosen->sizes_file, ValueKind::kFile,
               "With from-degrees: the sizes of all nets, separated by any white space");
  add_output(options, chosen->output);
  add_force(options);
  return [chosen] { return run(*chosen); };
}

}  // namespace

Command generate_command() {
  return {"generate", "Make a random or regular hypergraph", kGenerateNotes, declare_generate};
}

}  // namespace quillon::tool
