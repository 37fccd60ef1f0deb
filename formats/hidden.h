#pragma once
// Keeps the private class of an exported one out of the shared library's exports.

// clang accepts the attribute only at the first declaration, in the public header, where gcc warns of it.
#ifdef __clang__
#define QUILLON_HIDDEN
#else
#define QUILLON_HIDDEN [[gnu::visibility("hidden")]]
#endif
