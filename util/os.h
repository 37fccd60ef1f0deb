#pragma once
/// @file
/// Operating system calls of the utility layer. Where the system has none of the kind, or when built with
/// QUILLON_PORTABLE defined, every function falls back on the standard library. Internal to `util/`.

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace quillon::os {

/// Bytes of address space that a pool should try to reserve first: plenty by default, a quarter of the limit
/// if there is one (`ulimit -v`), so that two pools leave half of it to the heap.
std::uint64_t preferred_reservation();

/// Reserves address space without committing memory. Null when there is not enough.
///
/// The fallback allocates a heap block, for which `commit` and `decommit` do nothing.
void* reserve(std::uint64_t bytes);

/// Makes part of a reservation readable and writable; `at` and `bytes` are multiples of 2 MiB from its start,
/// or end with it. False when the system has no memory for it.
bool commit(void* at, std::uint64_t bytes);

/// Undoes `commit` for part of a reservation and returns its memory to the system.
void decommit(void* at, std::uint64_t bytes);

/// Asks for huge pages in those parts of a block that can have them. A hint for speed, no effect on results.
void advise_huge_pages(void* at, std::uint64_t bytes);

/// Descriptor of an open stream and the file it refers to; the descriptor is negative if unknown.
struct StreamMark {
  int descriptor = -1;
  std::uint64_t device = 0;
  std::uint64_t file = 0;
};

/// Opens a file as fopen does, with a descriptor number that the system does not assign while lower ones are
/// free. `still_open` can then tell whether the stream has been closed, without accessing the stream.
///
/// @param mark  Out, for `still_open`; its descriptor is negative if there is no such number.
/// @return      Open stream, or null after a failure, with errno set.
std::FILE* open_marked(const char* name, const char* mode, StreamMark& mark);

/// Decides whether a stream from `open_marked` is open. False if unknown.
bool still_open(const StreamMark& mark);

/// Reads what a file has now, and waits only while that is nothing.
///
/// @param stream  Open for reading, and only read by this function.
/// @param to      Out, `bytes` bytes.
/// @return        Number of bytes read, 0 at the end of the file, -1 after a failure.
std::ptrdiff_t read_some(std::FILE* stream, void* to, std::size_t bytes);

}  // namespace quillon::os
