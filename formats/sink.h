#pragma once
/// @file
/// Output files that appear whole or not at all: written as unnamed files where the system has those, else
/// beside their targets, and renamed once all of them are complete.

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
  Outputs();
  ~Outputs();
  Outputs(const Outputs&) = delete;
  Outputs& operator=(const Outputs&) = delete;

  /// Writes one file.
  ///
  /// @param target  File name, or - or /dev/stdout for standard output. Naming a file twice is an error.
  /// @param write   Writes the file of the name that it is given.
  /// @throws NotWritten  with what `write` threw nested in it. Nothing is published for this target then.
  /// @par Errors    Fatal (util/util.h) if no file can be made for the target.
  void write(const std::string& target, const std::function<void(const char* filename)>& write);

  /// Moves every file to its target, with the permissions of the file that was there. Standard output, pipes
  /// and devices come first and receive the bytes.
  ///
  /// @par Errors  Fatal (util/util.h) if a file cannot be moved, or does not reach the disk.
  void publish();

 private:
  struct Staged;
  std::vector<std::unique_ptr<Staged>> files_;
};

/// Removes the temporary files of all `Outputs`, up to 16. For signal handlers: calls nothing but `unlink`.
void remove_temporary_files();

/// Refuses to write a file that is also read.
///
/// @param inputs  File names; empty ones and - are ignored.
/// @param target  As given to `Outputs::write`.
/// @par Errors    Fatal (util/util.h) if `target` is one of the input files, by whatever path.
void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target);

/// Tests whether a target stands for standard output.
///
/// @param target  As given to `Outputs::write`.
/// @return        True for - and /dev/stdout.
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
