#pragma once
/// @file
/// What the memory functions ask of the operating system. Where it offers nothing of the kind, or when built
/// with QUILLON_PORTABLE defined, every function has a fallback on the standard library. Internal to `util/`.

#include <cstdint>

namespace quillon::os {

/// Bytes of address space that a pool should try to reserve first: plenty where address space costs nothing,
/// less under a limit on it (`ulimit -v`), of which two pools together must leave at least half to the heap.
std::uint64_t preferred_reservation();

/// Reserves address space without memory behind it. Null when there is not enough.
///
/// The fallback takes a heap block, on which `commit` and `decommit` have nothing to do.
void* reserve(std::uint64_t bytes);

/// Makes part of a reservation readable and writable; `at` and `bytes` are multiples of 2 MiB from its start,
/// or end with it. False when the system has no memory for it.
bool commit(void* at, std::uint64_t bytes);

/// Undoes `commit` for part of a reservation and gives its memory back.
void decommit(void* at, std::uint64_t bytes);

/// Asks for huge pages in those parts of a block that can have them. Changes nothing but speed.
void advise_huge_pages(void* at, std::uint64_t bytes);

}  // namespace quillon::os
