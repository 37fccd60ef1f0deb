#pragma once
/// @file
/// Gives back what a failed call still holds, for programs that survive fatal errors (see
/// `set_fatal_handler`).

#include <cstdint>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon {

/// Remembers what the utility layer holds at its construction. Destroyed without `keep`, it
///
///   - closes the streams that `ufopen` has opened since and that are still open,
///   - frees the heap blocks that `umalloc`, `imalloc` and `urealloc` have returned since and that are still
///     held, and
///   - releases the pool blocks allocated since and still held, also when older blocks were released
///     meanwhile.
///
/// A block from before that `urealloc` resizes stays the caller's. The random stream and the handlers are
/// left alone. Nothing is reported: bytes that a closed stream could not write are lost.
///
/// Scopes nest: they are destroyed in the reverse order of their construction. What a scope keeps belongs to
/// the next outer scope, or to the program when there is none.
///
///     try {
///       Scope scope;
///       read_hypergraph(&h, filename, 0);
///       scope.keep();
///     } catch (const Refused& error) {  // thrown by the fatal handler
///       // no block and no stream of the call is left
///     }
///
/// @par Streams  A stream that std::fclose has closed is never closed again, even when its address or its
///               descriptor serves another stream by now: under a scope, `ufopen` gives its streams
///               descriptor numbers of 768 and more, which the system hands out to no one else while lower
///               ones are free, and a scope closes a stream only as long as its number leads to the file
///               opened under it. Streams for which there is no such number, and all streams where
///               the system has no POSIX descriptors (or built with QUILLON_PORTABLE), stay open.
/// @par Errors   Where there is no memory to note a block or a stream, the request fails like one that
///               cannot be satisfied.
/// @par Cost     While a scope lives, some 100 ns for each heap block and three system calls more for each
///               stream. Without one, a test of a global variable.
class Scope {
 public:
  Scope();
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Leaves everything as it is at destruction.
  void keep() { kept_ = true; }

  /// Pool tops, in bytes from the bottom: the lowest since construction. Internal.
  struct PoolMarks {
    std::uint64_t lowest[2];
    PoolMarks* outer;
  };

 private:
  std::uint64_t first_block_;
  std::uint64_t first_stream_;
  PoolMarks pools_;
  bool kept_ = false;
};

}  // namespace quillon

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
