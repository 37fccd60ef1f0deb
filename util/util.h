#pragma once
/// @file
/// The utility layer: memory, messages, files, random numbers and integer sorting.
///
/// The hypergraph module allocates memory, opens files, and reports warnings and errors only through these
/// functions, so a program may link the module against another implementation of them. One thread at a time:
/// the pools, the random stream, the handlers and the table of open files are global.
///
/// Errors are fatal: they go through `errexit` to the fatal handler, which by default exits with status 1. A
/// handler that throws makes every error an exception; `util/scope.h` then frees what the failed call still
/// holds. The layer itself stays usable after any error.

#include <cstdint>
#include <cstdio>

#ifdef QUILLON_SHARED_BUILD  // a shared library exports exactly what the public headers declare
#pragma GCC visibility push(default)
#endif

namespace quillon {

static_assert(sizeof(int) == 4, "the record and its files count in 32 bits");

/// @name Heap
/// @{

/// Allocates a heap block.
///
/// @param bytes  Size; 0 gives a block of its own too, never null.
/// @param tag    What the block is for ("function: block"). Used in the failure message only.
/// @return       Uninitialised block, aligned for any type, owned by the caller; free it with `_usfree`.
/// @par Errors   Out of memory is fatal and names tag and byte count.
/// @par Cost     Blocks of 4 MiB and more ask the system for huge pages, so that filling them costs one page
///               fault in 2 MiB instead of one in 4 KiB.
[[nodiscard]] void* umalloc(std::uint64_t bytes, const char* tag);

/// Allocates an uninitialised array of `count` ints on the heap, as `umalloc` does.
///
/// @param count  Elements, not bytes; 0 is allowed, a negative count is fatal.
/// @param tag    As for `umalloc`.
/// @return       Array, owned by the caller; free it with `_usfree`.
[[nodiscard]] std::int32_t* imalloc(std::int64_t count, const char* tag);

/// Grows or shrinks a heap block, keeping its contents up to the smaller size.
///
/// @param block  From `umalloc`, `imalloc` or `urealloc`, or null for a new block. Not valid after success;
///               after an error that was thrown it is unchanged and still the caller's.
/// @param bytes  New size; 0 gives a block of its own too.
/// @param tag    As for `umalloc`.
/// @return       The block, possibly at another address; bytes beyond the old size are uninitialised.
/// @par Errors   As for `umalloc`.
[[nodiscard]] void* urealloc(void* block, std::uint64_t bytes, const char* tag);

/// Frees a heap block.
///
/// @param block  From `umalloc`, `imalloc` or `urealloc`; null is allowed and does nothing.
void _usfree(void* block);

/// @}
/// @name Mark-and-release pools
/// Two stacks, numbered 0 and 1. Each is one region of reserved address space: its blocks never move, come at
/// increasing addresses, are aligned to 64 bytes, and use physical memory only as far as the
/// pool has grown.
/// @{

/// Allocates an uninitialised block on top of a pool.
///
/// @param pool   0 or 1; anything else is fatal.
/// @param bytes  Size; a block of 0 bytes has an address of its own.
/// @param tag    What the block is for.
/// @return       Block, owned by the pool, valid until `poolfree_upto` releases it or an older one.
/// @par Errors   A pool that cannot grow is fatal and names pool, tag and byte count.
[[nodiscard]] void* poolalloc(int pool, std::uint64_t bytes, const char* tag);

/// Releases a block and every younger block of the same pool.
///
/// Memory more than 64 MiB above the new top is returned to the system.
///
/// @param pool   0 or 1; anything else is fatal.
/// @param block  A block that the pool still holds.
/// @param tag    Names the release in the message below.
/// @return       Number of blocks released, at least 1.
/// @par Errors   A block that the pool does not hold (including null and a block released before) is fatal:
///               the message names the pool and the tag. Nothing is released then.
/// @par Cost     O(blocks released).
int poolfree_upto(int pool, void* block, const char* tag);

/// @}
/// @name Messages
/// Arguments are as for printf, and checked by the compiler as such.
/// @{

/// Reports a fatal error: hands the text to the fatal handler, or by default flushes standard output, writes
/// "quillon: error: " and the text to standard error, and exits with status 1.
///
/// @param format  What is wrong; by default a line end follows unless the format ends with one.
[[noreturn, gnu::format(printf, 1, 2)]] void errexit(const char* format, ...);

/// Hands the text to the warning handler, or by default writes "quillon: warning: " and the text to standard
/// error.
///
/// @param format  What is odd; by default a line end follows unless the format ends with one.
[[gnu::format(printf, 1, 2)]] void uwarning(const char* format, ...);

/// Hands the text to the output handler, or by default writes it to standard output, unchanged.
///
/// @param format  The text.
/// @return        Number of bytes written or handed over, negative after a failure.
[[gnu::format(printf, 1, 2)]] int uprintf(const char* format, ...);

/// @}
/// @name Handlers
/// Functions that receive the messages of `errexit`, `uwarning` and `uprintf` instead of the default. Each is
/// handed the text as formatted: without "quillon: error: " or "quillon: warning: " and without an added line
/// end; a line end of the format stays. The text is valid during the call only.
///
/// Without a handler, messages are printed as they are formatted and no memory is allocated. With one, a text
/// of up to 4095 bytes needs no heap either; if there is no memory for a longer one, the handler gets its
/// first 4095 bytes (and `uprintf` returns a negative number). If vsnprintf fails, the handler gets the
/// format itself.
///
/// While a handler runs, the function that called it uses the default. A handler may throw.
/// @{

/// Must not return: it throws or ends the program. If it returns, the default reports the error.
using FatalHandler = void (*)(const char* message);

/// Receives one warning or one piece of output.
using TextHandler = void (*)(const char* text);

/// Sets the handler of `errexit`, and so of all errors of the utility layer and the module.
///
/// @param handler  Null restores the default.
/// @return         The previous handler, null if that was the default; setting it again restores it.
FatalHandler set_fatal_handler(FatalHandler handler);

/// Sets the handler of `uwarning`.
///
/// @param handler  Null restores the default.
/// @return         The previous handler, null if that was the default.
TextHandler set_warning_handler(TextHandler handler);

/// Sets the handler of `uprintf`.
///
/// @param handler  Null restores the default.
/// @return         The previous handler, null if that was the default.
TextHandler set_output_handler(TextHandler handler);

/// @}
/// @name Files
/// @{

/// Opens a file.
///
/// @param name   File name; a copy is kept for the messages of `ufclose`.
/// @param mode   As for fopen.
/// @param tag    The function that opens it, for the failure message.
/// @return       Open stream, never null; close it with `ufclose`.
/// @par Errors   Fatal, naming file, mode, tag and the system's reason. A directory is refused in every mode.
[[nodiscard]] std::FILE* ufopen(const char* name, const char* mode, const char* tag);

/// Closes a stream.
///
/// @param stream  Open, from `ufopen` or elsewhere; not to be used afterwards, nor after an error.
/// @par Errors    Fatal when anything written to the stream was lost (a full disk) or when reading it had
///              failed; the message names the file and, if it still cannot be read, the reason. The stream
///              is closed in any case.
void ufclose(std::FILE* stream);

/// Reads integers separated by white space from a text file.
///
/// @param filename  File to read; what follows the last integer needed is ignored, and not waited for.
/// @param array     Out, owned by the caller: entries first .. first + count - 1 are filled in file order.
/// @param count     How many integers; 0 or less reads none.
/// @param first     Index of the first entry filled.
/// @par Errors      Fatal, naming file, entry number (from 1) and count: an entry that is missing, cannot be
///                  read, is not a decimal integer, or does not fit in 32 bits (the last two with line and
///                  text). The entries before it are stored, a few after it may be overwritten, and the file
///                  is closed.
void read_array(const char* filename, std::int32_t* array, int count, int first);

/// @}
/// @name Order and chance
/// @{

/// Sorts ints into increasing order in place.
///
/// @param count   How many.
/// @param values  `count` ints.
/// @par Cost      O(count log count), no allocation.
void uqsorti(std::uint64_t count, std::int32_t* values);

/// Rearranges the entries into a uniformly random order: for i = count, count - 1, .. 2, entry i (from 1) is
/// swapped with entry `uRandom(i) + 1` (Fisher-Yates). A count below 2 draws nothing.
///
/// @param values  `count` ints.
/// @param count   How many.
void PermuteInPlace(std::int32_t* values, int count);

/// Draws a uniform integer in 0 .. m - 1.
///
/// The stream is xoshiro256** (D. Blackman, S. Vigna, "Scrambled Linear Pseudorandom Number Generators", ACM
/// TOMS 47(4), 2021), of which the upper 32 bits of each number are used; the bound is applied by D. Lemire's
/// multiplication with rejection ("Fast Random Integer Generation in an Interval", ACM TOMACS 29(1), 2019),
/// so that all values are equally likely.
///
/// @param m  At least 1; less is fatal. A draw with m = 1 advances the stream like any other.
/// @return   The number drawn.
int uRandom(int m);

/// Restarts the stream of `uRandom`. The same seed gives the same stream on every platform and compiler.
///
/// The state is four numbers of SplitMix64 (G. Steele, D. Lea, C. Flood, OOPSLA 2014) started at the seed. A
/// program that never calls this gets the stream of seed 0.
///
/// @param seed  Any value; each gives a different stream.
void uSeed(std::uint64_t seed);

/// @}

}  // namespace quillon

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
