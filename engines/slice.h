#pragma once
/// @file
/// Slices of a hypergraph file: each of several readers scans its own range of bytes, and none reads the
/// whole file. Counts have 64 bits: a hypergraph can be larger than a record.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillon::engines {

enum class FileFormat { kQuillon, kHmetis };

/// The file cannot be read, or breaks a rule of its format.
struct BadInput : std::runtime_error {
  using runtime_error::runtime_error;
};

/// The numbers of the program are too small for the hypergraph; those of 64 bits may be large enough.
struct TooLarge : std::runtime_error {
  using runtime_error::runtime_error;
};

/// A range of numbers, from `begin` to before `end`.
struct Range {
  std::int64_t begin = 0;
  std::int64_t end = 0;

  [[nodiscard]] std::int64_t size() const { return end - begin; }
};

/// Divides 0 .. total - 1 into ranges whose sizes differ by at most 1.
///
/// @param index  Of the range, 0 .. count - 1.
Range share_of(std::int64_t total, std::int64_t index, std::int64_t count);

/// What the header of a file says.
struct FileHeader {
  FileFormat format = FileFormat::kQuillon;
  std::int64_t ncells = 0;
  std::int64_t nnets = 0;
  std::int64_t npins = -1;  ///< -1: the format does not say.
  std::int64_t first_cell = 1;
  bool cell_weights = false;
  bool net_weights = false;
  std::int64_t weights_per_cell = 1;
  Range body;  ///< Bytes of the file after the header line.
};

/// @param filename  A regular file, not compressed.
/// @throws BadInput
FileHeader read_header(const std::string& filename, FileFormat format);

/// What a first pass over a range of bytes counts. A line belongs to the range in which it begins; comments
/// do not count.
struct Survey {
  std::int64_t nlines = 0;
  std::int64_t nwords = 0;  ///< In these lines.
};

/// @param bytes  Part of `header.body`.
/// @par Cost     Constant memory.
Survey survey(const std::string& filename, const FileHeader& header, Range bytes);

/// The nets, and the numbers of the section of cell weights, in the lines that begin in a range of bytes.
///
/// @tparam Number  std::int32_t or std::int64_t, wide enough for the number of cells.
template <typename Number>
struct Slice {
  std::int64_t first_net = 0;           ///< Number of the first net here, from 0.
  std::vector<std::int64_t> starts{0};  ///< One more than nets: where the pins of each net begin in `pins`.
  std::vector<Number> pins;             ///< Cells from 0, increasing within a net, none repeated.
  std::vector<Number> net_weights;      ///< Empty: all are 1.
  std::vector<Number> weight_numbers;   ///< Of the section of cell weights, in order.
  std::int64_t npins_in_file = 0;       ///< Repeated pins included.

  [[nodiscard]] std::int64_t nnets() const { return static_cast<std::int64_t>(starts.size()) - 1; }
};

/// @param bytes       As for `survey`.
/// @param counts      What `survey` counted there.
/// @param first_line  Number of lines that begin before the range, after the header and without comments.
/// @throws BadInput
template <typename Number>
Slice<Number> read_slice(const std::string& filename, const FileHeader& header, Range bytes, Survey counts,
                         std::int64_t first_line);

/// The part of each cell that has a fixed one, -1 for others: one number for each cell, separated by white
/// space.
std::vector<std::int64_t> read_fixed(const std::string& filename, std::int64_t ncells, std::int64_t nparts);

}  // namespace quillon::engines
