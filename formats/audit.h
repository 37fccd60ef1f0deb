#pragma once
/// @file
/// What a reader tells `lint` beside the errors of a text. Internal to `formats/`.

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "formats/findings.h"
#include "formats/format.h"
#include "formats/hidden.h"
#include "formats/scanner.h"

namespace quillon::formats {

/// Something in a text that has a place, in the order of texts.
struct Item {
  enum Kind : int { kNet, kCellWeight };
  /// Indices of what stands on the line of a net, before its pins.
  enum Index : std::int64_t { kLine, kWeight, kFirstPin };

  Kind kind = kNet;
  std::int64_t number = 0;  ///< Of the net or the cell, from 1.
  std::int64_t index = 0;   ///< On the line of a net: `kLine`, `kWeight`, or `kFirstPin` + k.

  // NOLINTNEXTLINE(modernize-use-nullptr): there is no null pointer
  auto operator<=>(const Item&) const = default;
};

/// The start of a block of a text, at that of a line.
struct Waypoint {
  Item next;                     ///< On the first line from here on that is no comment.
  std::size_t offset = 0;        ///< Of the block in the text.
  std::size_t lines_before = 0;  ///< Line ends before it.
};

/// Cell numbers that a file must not have.
struct Outside {
  std::int64_t count = 0;
  std::int64_t smallest = 0;
  std::int64_t largest = 0;
};

/// The counts of a header, and which weights it announces.
struct Counts {
  int ncells = 0;
  int nnets = 0;    ///< Of a matrix: entries.
  int weights = 0;  ///< 0 none, 1 cells, 2 nets, 3 both.

  bool operator==(const Counts&) const = default;
};

/// Nets and cells in the order of a text that does not list pins net by net.
struct PinList {
  std::span<const int> numbers;  ///< Two for each pin: its net, its cell.
  int nnets;
  int ncells;
  bool is_mirrored;                           ///< Pin (j, i) stands for pin (i, j) too.
  std::span<const std::size_t> offsets = {};  ///< Of each pin in the text; empty: as items `kLine`.
};

/// On the first read, a reader fills it. On a second read it looks up the places of items.
class QUILLON_HIDDEN Audit {
 public:
  // First read.
  std::function<bool(std::string_view rule)> wants;  ///< Whether it still matters where findings are.
  /// Receives the number of findings that are not wanted.
  std::function<void(std::string_view rule, std::int64_t nmore)> counted;
  std::function<void(const Finding&)> oddity;  ///< Receives warnings and notes.
  std::function<void(const PinList&)> pins;    ///< Receives the pins in the order of the text.
  std::function<void(int last)> complete;      ///< Learns up to which net all have been read; or null.
  Place header;                                ///< Of the header, if the format has one.
  std::string header_line;                     ///< The header without its line end.
  int first_cell = 1;                          ///< Number of the first cell in the file.
  std::vector<int> damaged;                    ///< Nets whose lines have errors, ascending.
  Outside outside;                             ///< Numbers that are no cells of the file.
  std::optional<Counts> announced;             ///< By the header, once it was read.
  std::optional<int> announced_pins;
  Place announced_pins_place;
  std::int64_t nignored_lines = 0;    ///< With text after all that the header announces.
  Place ignored_line;                 ///< The text of the first of them.
  bool ends_with_statistics = false;  ///< After all that the header announces, as our writer ends files.
  bool reaches_last = false;          ///< The last row or column of a matrix is in an entry that is left out.
  std::int64_t ncomments = 0;         ///< Comment lines.
  Place comment;                      ///< The first of them.
  std::optional<int> starts_from;     ///< Number to read as the first cell, whatever the format says.
  std::optional<Counts> corrected;    ///< Counts to read instead of those of the header.
  std::size_t most_kept = 0;          ///< Findings of each rule that may be wanted; the others are counted.

  /// Nets with the same cells as an earlier one.
  struct ParallelNets {
    std::int64_t count = 0;
    int first = 0;  ///< The first of them, or 0.
  };
  /// Set if the reader has looked for them, and each net has two different pins.
  std::optional<ParallelNets> parallel_nets;

  /// Where a second read can begin to look for items, in the order of the text.
  std::vector<Waypoint> waypoints;

  /// Counts findings that are not wanted.
  void count(std::string_view rule, std::int64_t nmore = 1) const { counted(rule, nmore); }

  /// @param number  A cell number that is out of range.
  void add_outside(std::int64_t number) {
    outside.smallest = outside.count == 0 || number < outside.smallest ? number : outside.smallest;
    outside.largest = outside.count == 0 || number > outside.largest ? number : outside.largest;
    ++outside.count;
  }

  // Second read, with the waypoints of the first.
  struct Wanted {
    Item item;
    Place place;
  };
  std::vector<Wanted> wanted;  ///< Sorted. Not empty on the second read.
  std::size_t next = 0;        ///< Index of the first one that is not on a line before the current one.

  /// Ends a second read.
  struct AllFound {};

  [[nodiscard]] bool is_locating() const { return !wanted.empty(); }

  /// Moves on to a line.
  ///
  /// @return            Whether items of it are wanted.
  /// @throws AllFound  if none of it, nor of any line after it, is.
  bool wants_line(Item::Kind kind, std::int64_t number);

  /// @param kind,number  Of a line.
  /// @return             The first number from this one on whose line has wanted items; a number that no item
  ///                     has if there is none.
  [[nodiscard]] std::int64_t next_number(Item::Kind kind, std::int64_t number) const;

  /// Notes the place of an item, if it is wanted.
  ///
  /// @param offset     Of its first byte in the current block.
  /// @throws AllFound  as `wants_line` does.
  void found(const Scanner& in, const Item& item, std::size_t offset);

  /// @param item  One of `wanted`.
  /// @return      Its place; line 0 if it was not found.
  [[nodiscard]] Place place_of_wanted(const Item& item) const;
};

/// Whether the nets of a file are its lines, so that they and their pins are items.
bool has_net_lines(const Format& format, const ReadOptions& options);

/// Reads a text for its audit only. Errors end it or are left out.
///
/// @param in     At its start.
/// @param audit  Gets `wants` and `counted` if it has none. Its functions may throw `Audit::AllFound`.
void read_audited(Scanner& in, const Format& format, const ReadOptions& options, Audit& audit);

/// @return  Whether `lint` looks for places, and not on the line of this net.
inline bool skips_net(Scanner& in, std::int64_t net) {
  return in.audit != nullptr && in.audit->is_locating() && !in.audit->wants_line(Item::kNet, net);
}

/// Tells `lint` where an item is, on the second read.
inline void locate(const Scanner& in, const Item& item, std::size_t offset) {
  if (in.audit != nullptr && in.audit->is_locating()) in.audit->found(in, item, offset);
}

/// Tells `lint`, on the first read, that the line of an item or a comment before it comes next.
///
/// @param in  At the start of a line; a waypoint if it is that of a block.
void note_next_item(const Scanner& in, const Item& next);

/// Goes on at a waypoint, the last one before a line.
///
/// @param in         At the start of a line; stays if the waypoint is not after it or cannot be reached.
/// @param waypoints  Of the first read.
/// @param is_before  Whether a waypoint is not after the line; false for all from some one on.
/// @return           The waypoint, or null if `in` stays.
const Waypoint* move_on(Scanner& in, const std::vector<Waypoint>& waypoints,
                        const std::function<bool(const Waypoint&)>& is_before);

/// Tells `lint` that a line has an error.
inline void note_damage(const Scanner& in, int net) {
  if (in.audit == nullptr) return;
  std::vector<int>& damaged = in.audit->damaged;
  if (damaged.empty() || damaged.back() != net) damaged.push_back(net);
}

/// Tells `lint` of a header.
///
/// @param offset  Of its first byte, in the current block.
void note_header(const Scanner& in, std::size_t offset);

/// Tells `lint` of the counts in a header.
///
/// @return  The counts to read by: the announced ones, unless `lint` corrects them.
inline Counts settled_counts(const Scanner& in, const Counts& announced) {
  if (in.audit == nullptr) return announced;
  in.audit->announced = announced;
  return in.audit->corrected.value_or(announced);
}

/// Tells `lint` of a comment line.
///
/// @param offset  Of its first byte, in the current block.
void note_comment(const Scanner& in, std::size_t offset);

/// Tells `lint` of a word that is no number of a cell or a part, but may be one if these count from another
/// number.
void note_outside(const Scanner& in, const Token& token);

/// Whether a finding is wanted with its text. If not, it is counted.
inline bool wants_text(const Scanner& in, std::string_view rule) {
  if (in.audit == nullptr || in.audit->wants(rule)) return true;
  in.audit->count(rule);
  return false;
}

/// Reports a warning or a note to `lint`; other readers ignore it.
void note_oddity(const Scanner& in, const Place& place, const char* rule, const std::string& message,
                 const std::string& hint = {});

/// As above, of which there may be one on every line.
///
/// @param offset   Of what is odd, in the current block.
/// @param message  Returns the message; called only if the text is wanted.
template <typename Message>
void note_oddity_at(const Scanner& in, std::size_t offset, const char* rule, Message message) {
  const bool is_heard = in.audit != nullptr && in.audit->oddity;
  if (is_heard && wants_text(in, rule)) note_oddity(in, place_of(in, offset), rule, message());
}

}  // namespace quillon::formats
