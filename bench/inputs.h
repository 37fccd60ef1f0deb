#pragma once
/// @file
/// Inputs of the benchmarks: hypergraphs from fixed seeds, and the user's files.

#include <cstdint>
#include <string>

#include "hypergraph/hypergraph.h"

namespace quillon::bench {

enum class Shape {
  kRandom,  ///< As many nets as cells, 2 to 14 pins each, all cells alike.
  kLocal,   ///< As kRandom, the pins of a net within 401 cells around a centre that moves along.
  kWide,    ///< As kLocal, within 3,001 cells.
  kMesh,    ///< Rows of the matrix of a square mesh, each point joined with its four neighbours.
  kPower,   ///< Net sizes and cell degrees follow power laws; nets and cells carry weights.
};

/// Writes a hypergraph of `quillon generate` in the text format, cells numbered from 1; no net names a cell
/// twice. The same arguments give the same file everywhere.
///
/// @param ncells  At least 100. A mesh gets the largest square number up to it.
void write_generated(Shape shape, int ncells, const std::string& path);

/// A hypergraph file and its record. Both are made at first use: a run of a few benchmarks makes only the
/// inputs that it needs.
class Input {
 public:
  /// A hypergraph to be generated into a folder.
  Input(std::string name, Shape shape, int ncells, const std::string& folder);
  /// The user's file.
  explicit Input(const std::string& path);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }
  /// Whether cell i is on the nets that name the cells of net i.
  [[nodiscard]] bool symmetric() const { return generated_ && shape_ == Shape::kMesh; }

  const char* path();
  std::int64_t bytes();
  /// Both sides built, small nets kept, every cell in one of 64 parts.
  const Hypergraph& record();
  /// Whether some net names a cell twice. Generated hypergraphs have no such net.
  bool has_duplicate_pins();

 private:
  std::string name_;
  std::string path_;
  bool generated_;
  bool written_;
  bool loaded_ = false;
  Shape shape_ = Shape::kRandom;
  int ncells_ = 0;
  Hypergraph h_ = {};
};

}  // namespace quillon::bench
