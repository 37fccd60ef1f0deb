#pragma once
/// @file
/// Files that disappear unless they are moved to their place. Internal to `formats/`.

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "formats/descriptor.h"

namespace quillon::formats {

/// The name of a temporary file, which is removed unless it is released. `remove_temporary_files` knows it.
class TemporaryName {
 public:
  /// Registered before the file is made, so that a signal in between leaves nothing.
  explicit TemporaryName(std::string name);
  ~TemporaryName();
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }
  void made() { is_made_ = true; }
  void release();

 private:
  std::string name_;
  std::atomic<const char*>* slot_ = nullptr;
  bool is_made_ = false;
};

/// Calls `make` with names beside a place until one is free: killed programs can have left files.
///
/// @param make  Makes the file; returns false after an error, which errno names.
/// @throws std::system_error if `make` fails otherwise.
std::unique_ptr<TemporaryName> make_beside(const std::string& place,
                                           const std::function<bool(const char* name)>& make);

/// The folder for temporary files that are never published: TMPDIR, or /tmp.
std::string temporary_folder();

/// The name by which a descriptor can be opened again; empty if the system has no /proc.
std::string name_of_descriptor(int descriptor);

/// An empty file, which other programs do not see where the system has unnamed files.
class TemporaryFile {
 public:
  /// @param place  The file is made in the folder of this path.
  /// @param mode   Its permissions, without those that the mask of the process removes.
  /// @throws std::system_error if it cannot be made.
  TemporaryFile(const std::string& place, unsigned mode);

  /// The name to open it by.
  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] int descriptor() const { return file_.number(); }

  /// Copies what may be kept of the file that it will replace: the permissions without setuid, setgid and the
  /// sticky bit, the group and the owner.
  void resemble(const std::string& replaced) const;

  /// Gives it a name beside `place` if it has none.
  ///
  /// @throws std::system_error if that fails.
  void link_beside(const std::string& place);

  /// Moves it to `place` after `link_beside`. Until `keep` is called, `put_back` restores the previous state.
  ///
  /// @return  0, or an errno.
  int move_to(const std::string& place);
  void put_back();
  void keep();

 private:
  enum class Moved { kNot, kCreated, kExchanged, kReplaced };

  Descriptor file_;
  std::string name_;
  std::unique_ptr<TemporaryName> temporary_;  // null while the file has no name
  std::string moved_to_;
  Moved moved_ = Moved::kNot;
};

}  // namespace quillon::formats
