#pragma once
/// @file
/// How many threads readers use.

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Sets the number of threads that scan text, the calling one included. What is read does not depend on it.
///
/// @param count  At least 1; 0 for the default: the environment's QUILLON_THREADS if that is a number from 1
///               to 1024, else the number of processors that this process may use.
void set_threads(int count);

/// @return  The number of threads that scan text.
int threads();

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
