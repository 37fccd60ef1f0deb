#pragma once
/// @file
/// What a scanner needs to read a text in blocks. Internal to `formats/`.

#include <cstddef>
#include <memory>
#include <utility>

#include "formats/block_queue.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// The blocks of a scanner, and how many of the lines of the current one have been consumed by number.
struct Scanner::Stream {
  explicit Stream(BlockQueue::Read read) : queue(std::move(read)) {}

  BlockQueue queue;
  const Block* block = nullptr;  ///< The scanner's text; null before the first one.
  std::size_t run = 0;           ///< Index of a run; those before it have been consumed or passed.
  int line = 0;                  ///< Lines of it that have been consumed.
  int odd = 0;                   ///< Odd words of these lines.
  int word = 0;                  ///< Words of it that have been consumed, if lines do not matter.
  std::size_t at = 0;            ///< Offset of the lines or words not consumed.

  /// Begins a run of the current block.
  void enter_run(std::size_t index) {
    run = index;
    line = 0;
    odd = 0;
    word = 0;
    at = run < block->runs.size() ? block->runs[run].begin : 0;
  }

  void enter(const Block* next_block) {
    block = next_block;
    enter_run(0);
  }
};

/// Reads a text that is read in blocks into memory.
///
/// @param scanner  At the start of the text; afterwards at that of a whole text.
void read_whole(Scanner& scanner);

/// Goes on at the start of another line of a file that is read by its words.
///
/// @param scanner       Of a text that is read in blocks.
/// @param offset        Of the line in the file.
/// @param lines_before  Lines before it.
/// @return              Whether the file can be read from there; if not, nothing happens.
bool move_to_line(Scanner& scanner, std::size_t offset, std::size_t lines_before);

}  // namespace quillon::formats
