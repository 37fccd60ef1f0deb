#pragma once
/// @file
/// Frees what a failed call still holds, for programs that survive fatal errors (see `set_fatal_handler`).

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
///   - releases the pool blocks allocated since and still held, even if older blocks were released meanwhile.
///
/// A block from before the scope stays the caller's, also when `urealloc` resizes it. Blocks must be freed by
/// `_usfree` or `urealloc`, not by std::free. The random stream and the handlers stay as they are. Write
/// errors of a stream closed by a scope are not reported.
///
/// Scopes nest and must be destroyed in reverse order of construction. What a scope keeps belongs to the next
/// outer scope, or to the program if there is none.
///
///     try {
///       Scope scope;
///       read_hypergraph(&h, filename, 0);
///       scope.keep();
///     } catch (const Refused& error) {  // thrown by the fatal handler
///       // All blocks and streams of the call are released.
///     }
///
/// @par Streams
/// A stream already closed by std::fclose is not closed again, even if another stream has its address. Under
/// a scope, `ufopen` uses descriptor numbers from 768 up, which the system does not assign while lower ones
/// are free, and the scope closes a stream only if its descriptor is open and still refers to the same file.
/// It errs only if foreign code opens the same file under the same high number after the std::fclose. Streams
/// that get no such number because of a low limit on open files stay open; so do all streams if built with
/// QUILLON_PORTABLE or without POSIX.
///
/// @par Errors
/// If there is no memory to record a block or a stream, the request fails with its usual message.
///
/// @par Cost
/// While a scope exists, about 0.1 us for each heap block and 5 us for each stream; without one, a test of a
/// global variable for each request.
class Scope {
 public:
  Scope();
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Makes the destructor release nothing.
  void keep() { kept_ = true; }

  /// @cond  for the pools only
  /// Lowest tops of the pools since construction, in bytes from the bottom.
  struct PoolMarks {
    std::uint64_t lowest[2];
    PoolMarks* outer;
  };
  /// @endcond

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
