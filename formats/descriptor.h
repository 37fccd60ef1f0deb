#pragma once
/// @file
/// Open files by number. Internal to `formats/`.

#include <cstddef>

namespace quillon::formats {

/// A descriptor that is closed on every way out.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool is_open() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }
  void reset(int number);

  /// Returns whether what was written has arrived, as far as the system can tell.
  bool close();

 private:
  int number_;
};

/// A copy that other programs do not inherit; -1 after an error.
int duplicate(int descriptor);

/// Wakes another thread that waits for a descriptor.
class Stop {
 public:
  /// @throws std::system_error if the system has no descriptor left.
  Stop();

  void request();

  /// Waits until a descriptor can be read without blocking, or has ended.
  ///
  /// @return  False if a stop is requested, at once or while it waits.
  [[nodiscard]] bool wait_to_read(int descriptor) const;

 private:
  Descriptor event_;
};

/// Reads once, or waits and reads where a descriptor does not block.
///
/// @return  Number of bytes, 0 at the end, -1 after an error, which errno names.
std::ptrdiff_t read_some(int descriptor, char* bytes, std::size_t size);

/// Writes all bytes. Returns false after an error, which errno names.
bool write_all(int descriptor, const char* bytes, std::size_t size);

}  // namespace quillon::formats
