#pragma once
/// @file
/// Work that is divided among threads. Internal to `formats/`.

#include <functional>

namespace quillon::formats {

/// Calls a function for each part of some work, on as many threads, the calling one included.
///
/// @param count  Number of parts, at least 1.
/// @param work   Called with 0 .. count - 1. Requests nothing of the utility layer, which knows one thread.
/// @throws       What `work` throws first in the order of parts, after all parts have ended.
void on_threads(int count, const std::function<void(int part)>& work);

}  // namespace quillon::formats
