#pragma once
/// @file
/// The vertices that many lines of a graph name, looked at together. Internal to `formats/`.
///
/// No branch depends on where a line ends or on which vertex is the smaller one: lines are short, and such
/// branches would be unpredictable.

#include <cstddef>
#include <cstdint>

namespace quillon::formats {

/// Mentions of vertices by vertices, in the order of the text. All numbers are at least 0.
struct Mentions {
  const int* from;    ///< By mention: the vertex on whose line it is; 0 follows after the last.
  const int* to;      ///< By mention: the vertex named; `kSpareNumbers` more can be read.
  std::size_t count;  ///< Mentions.
};

/// What a look at all of them tells.
struct MentionsLook {
  bool sound = true;         ///< Each names a vertex from 1 on that exists and is not its own.
  bool ascending = true;     ///< Those of each line ascend.
  std::size_t nforward = 0;  ///< Those that name a larger vertex than their own.

  bool operator==(const MentionsLook&) const = default;
};

/// Looks at all mentions in the fastest way that the processor has.
MentionsLook look_at_mentions(const Mentions& mentions, int nvertices);

/// As `look_at_mentions`, one by one.
MentionsLook look_at_mentions_plainly(const Mentions& mentions, int nvertices);

/// Mentions as pairs of 64 bits, in an order that does not matter.
struct MentionPairs {
  static constexpr std::size_t kMost = 256;

  std::uint64_t pairs[kMost];     ///< The smaller vertex in the upper half, the larger one in the lower half.
  std::uint64_t backward[kMost];  ///< All bits set if the larger vertex names the smaller one, else none.
  std::size_t count;
};

/// Lists pairs in the fastest way that the processor has.
///
/// @param first  Index of the first mention; at most `kMost` from it on are listed.
void list_pairs(const Mentions& mentions, std::size_t first, MentionPairs& list);

/// As `list_pairs`, one by one.
void list_pairs_plainly(const Mentions& mentions, std::size_t first, MentionPairs& list);

/// Stores both vertices of each mention of a larger vertex, the smaller one first, in the fastest way that
/// the processor has.
///
/// @param pins   Out, twice `count` ints.
/// @param count  Number of such mentions.
void store_forward(const Mentions& mentions, int* pins, std::size_t count);

/// As `store_forward`, one by one.
void store_forward_plainly(const Mentions& mentions, int* pins, std::size_t count);

}  // namespace quillon::formats
