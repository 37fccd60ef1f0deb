#pragma once
/// @file
/// Output files that appear whole or not at all: written as unnamed files where the system has those, else
/// beside their targets, and renamed once all of them are complete. Targets that end in .gz or .zst are
/// compressed.

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Thrown, with the cause nested in it, when a file could not be written.
class NotWritten : public std::runtime_error {
 public:
  /// @param target  As given to `Outputs::write`.
  explicit NotWritten(const std::string& target);
  ~NotWritten() override;

  /// @return  As given to `Outputs::write`.
  [[nodiscard]] const std::string& target() const { return target_; }

 private:
  std::string target_;
};

/// The output files of one command. Destroying it removes what was not published; a fatal handler that ends
/// the program instead of throwing leaves that to `remove_temporary_files`.
class Outputs {
 public:
  /// @param force  Replaces files without write permission too.
  explicit Outputs(bool force = false);
  ~Outputs();
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;

  /// Writes one file. In sticky folders that everyone can write to, links are followed only if they belong to
  /// this user or to the owner of the folder, as the kernel does.
  ///
  /// @param target  File name, or a stream: - or /dev/stdout for standard output, /dev/stderr, /dev/fd/N.
  ///                What goes to a stream, pipe or device waits in a file in TMPDIR, or /tmp. Naming a file
  ///                twice is an error.
  /// @param write   Writes the file of the name that it is given, and closes it.
  /// @throws NotWritten  with what `write` threw nested in it. Nothing is published for this target then.
  /// @par Errors    Fatal (util/util.h) if no file can be made for the target, or the target exists and has
  ///                no write permission.
  void write(const std::string& target, const std::function<void(const char* filename)>& write);

  /// Flushes stdout, passes bytes to streams, pipes and devices, and then moves every file to its target,
  /// with permissions, group and owner of the file that was there as far as the system lets it, but without
  /// setuid and setgid.
  ///
  /// @param report  Called, if not empty, once only the moves are left. It may print to stdout, which is
  ///                flushed before the first move.
  /// @par Errors    Fatal (util/util.h) if standard output or another stream fails, or a file cannot be moved
  ///                or does not reach the disk. No file is new then, except where the file system cannot
  ///                exchange two files and the error came between two of them.
  void publish(const std::function<void()>& report = {});

 private:
  struct Staged;
  void move_all();

  bool force_;
  std::vector<std::unique_ptr<Staged>> files_;
};

/// Removes the temporary files of all `Outputs`, up to 16. For signal handlers: calls nothing but `unlink`.
void remove_temporary_files();

/// Refuses to write a file that is also read.
///
/// @param inputs  File names; - is standard input; empty ones are ignored.
/// @param target  As given to `Outputs::write`, or empty for none.
/// @par Errors    Fatal (util/util.h) if `target` is one of the input files, by whatever path or hard link.
void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target);

/// Refuses to write a file twice, before anything is written.
///
/// @param targets  As given to `Outputs::write`; empty ones are ignored, and so is the null device.
/// @par Errors     Fatal (util/util.h) if two of them are one file, by whatever path or hard link, or one
///                 stream.
void refuse_named_twice(const std::vector<std::string>& targets);

/// Tests whether a target stands for standard output.
///
/// @param target  As given to `Outputs::write`.
/// @return        True for -, /dev/stdout, /dev/fd/1, /proc/self/fd/1 and links to them.
bool is_standard_output(const std::string& target);

/// Names a target as messages do.
///
/// @param target  As given to `Outputs::write`.
/// @return        Its name in single quotes, or "standard output".
std::string shown_target(const std::string& target);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
