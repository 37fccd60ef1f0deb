#pragma once
/// @file
/// What the name of an output or input stands for. Internal to `formats/`.

#include <string>

namespace quillon::formats {

/// An open stream, or a place in the file system.
struct Target {
  int descriptor = -1;  ///< Of a stream such as -, /dev/stderr or /proc/self/fd/3; -1 for files.
  std::string place;    ///< The file that the links lead to, which need not exist; empty for streams.
  int error = 0;        ///< errno if the links cannot be followed.
};

/// Follows links as the kernel does with fs.protected_symlinks set: in a sticky folder that everyone can
/// write to, only those of this user or of the owner of the folder.
///
/// @param name  File name, or - for standard output.
Target resolve_target(const std::string& name);

/// Resolves the name of an input, where - is standard input.
Target resolve_input(const std::string& name);

/// Whether two names stand for one stream or one file, by whatever path or hard link. The null device is
/// never the same.
bool are_same(const Target& a, const Target& b);

/// Whether a target is the null device.
bool is_null_device(const Target& target);

}  // namespace quillon::formats
