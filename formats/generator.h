#pragma once
/// @file
/// Generated hypergraphs. The same recipe gives the same hypergraph on every system: see docs/generate.md.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "formats/law.h"
#include "formats/net_lists.h"
#include "formats/net_stream.h"

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Kinds of generated hypergraphs.
enum class GeneratorKind {
  kRandom,       ///< The cells of a net are any.
  kLocal,        ///< The cells of a net are close to each other in number.
  kMesh2d,       ///< Net i has point i of a rectangular mesh and its up to four neighbours.
  kMesh3d,       ///< The same in a box, with up to six neighbours.
  kPlanted,      ///< All nets but a given number lie in one part each of a hidden partition.
  kPowerlaw,     ///< Degrees of cells follow a law too.
  kNetlist,      ///< Nets in nested blocks, by Rent's rule.
  kFromDegrees,  ///< The degree of each cell and the size of each net are given.
};

/// What to generate. Members without meaning to the kind are ignored.
struct Recipe {
  GeneratorKind kind = GeneratorKind::kRandom;  ///< The kind.
  int ncells = 0;                               ///< Number of cells.
  int nnets = 0;                                ///< Number of nets.
  std::uint64_t seed = 0;                       ///< Of all random numbers.
  Law sizes{2, 14};                             ///< Of nets.
  int reach = 200;                              ///< kLocal: farthest cell from the middle of a net.
  std::array<int, 3> sides{1, 1, 1};            ///< Of meshes, the number of points along each.
  int nparts = 2;                               ///< kPlanted: number of parts.
  int ncut = 0;                                 ///< kPlanted: number of nets that touch several parts.
  Law degrees{1, 1};                            ///< kPowerlaw: degrees of cells, in proportion.
  int rent = 650;                               ///< kNetlist: the exponent, in thousandths, at most 1000.
  std::vector<int> given_degrees = {};          ///< kFromDegrees: by cell; entry 0 is not used.
  std::vector<int> given_sizes = {};            ///< kFromDegrees: by net; entry 0 is not used.
  std::optional<Law> cell_weights = {};         ///< None: all are 1.
  std::optional<Law> net_weights = {};          ///< None: all are 1.
};

class PinSet;

/// A generated hypergraph: any net of it at any time. Cells and nets count from 1.
class Generator {
 public:
  virtual ~Generator();
  Generator(const Generator&) = delete;
  Generator& operator=(const Generator&) = delete;

  [[nodiscard]] int ncells() const { return ncells_; }
  [[nodiscard]] int nnets() const { return nnets_; }
  [[nodiscard]] std::int64_t npins() const { return npins_; }

  /// @return  The number of pins of net j.
  [[nodiscard]] virtual int size_of(int j) const = 0;

  /// Finds the cells of net j.
  ///
  /// @param first  Number of pins of the nets before it.
  /// @param pins   Out.
  virtual void find_pins(int j, std::int64_t first, PinSet& pins) const = 0;

  /// @return  The part of cell i in the hidden partition, from 0; -1 without one.
  [[nodiscard]] virtual int part_of(int i) const;

  [[nodiscard]] int cell_weight(int i) const;
  [[nodiscard]] int net_weight(int j) const;
  /// @return  Bits as in `NetStream::weights`.
  [[nodiscard]] int weights() const;

 protected:
  Generator(const Recipe& recipe, int ncells, int nnets);

  /// Adds up `size_of` of all nets.
  void count_pins();

  [[nodiscard]] const Recipe& recipe() const { return recipe_; }
  [[nodiscard]] std::uint64_t seed() const { return recipe_.seed; }

 private:
  Recipe recipe_;
  int ncells_;
  int nnets_;
  std::int64_t npins_ = 0;
};

/// Prepares a generator.
///
/// @param recipe     What to generate.
/// @return           Its memory does not grow with the number of pins, except for kFromDegrees.
/// @throws BadRecipe if no such hypergraph exists, or it has more than 2147483645 pins.
std::unique_ptr<Generator> make_generator(Recipe recipe);

/// Hands over a generated hypergraph net by net.
///
/// @param generator  Has to live as long as the stream.
/// @param comment    As `NetStream::comment`.
std::unique_ptr<NetStream> stream_of(const Generator& generator, std::string comment);

/// Reads a stream into arrays.
///
/// @param nets  Read to its end.
NetLists lists_of(NetStream& nets);

/// Writes the hidden partition with one part a line.
///
/// @param generator  Of kPlanted.
/// @param filename   File to write.
/// @par Errors       Fatal (util/util.h) if the file cannot be written.
void write_hidden_parts(const Generator& generator, const char* filename);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
