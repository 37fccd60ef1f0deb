#pragma once
// A target that takes nothing.

namespace quillon::tool_test {

/// Shell command that makes `full` in the folder: a device of its own where the user may make one. The
/// system's /dev/full must not be a target by name, or a tool that replaces it would do so for everybody.
inline constexpr const char* kMakeFullDisk =
    "{ mknod -m 666 full c 1 7 && true <>full || { rm -f full; test -w /dev || ln -s /dev/full full; }; } "
    "2>&1";

}  // namespace quillon::tool_test
