#pragma once
/// @file
/// Bytes of a file or of standard input, decompressed if they are gzip or zstd.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

/// Observes long reads, for example to draw their progress.
class Watcher {
 public:
  Watcher() = default;
  virtual ~Watcher();
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// A read begins. Reads do not nest.
  ///
  /// @param what   Such as "reading circuit.qhg".
  /// @param total  Bytes in all, 0 if unknown.
  /// @param done   Bytes so far; any thread may call it until `end`.
  virtual void begin(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done) = 0;

  /// The read that began last ends, well or not.
  virtual void end() = 0;

  /// Called now and then by the thread that asked for the read. May throw, which ends the read.
  virtual void poll() {}
};

/// Sets the watcher of all reads.
///
/// @param watcher  The caller's, alive until it is replaced; null for none.
/// @return         The previous one.
Watcher* set_watcher(Watcher* watcher);

/// Calls `Watcher::poll` of the watcher, if there is one.
void poll_watcher();

/// Tells the watcher, if there is one, of a read that lasts as long as this object.
class Watch {
 public:
  /// @param what   As for `Watcher::begin`.
  /// @param total  As there.
  /// @param done   As there.
  Watch(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  Watcher* watcher_;
};

/// Watches the offset of an open regular file.
///
/// @param name        As messages name the file.
/// @param descriptor  Open; may be closed before the watch ends.
/// @return            Destroy it when the read ends; null without a watcher and for other files.
std::unique_ptr<Watch> watch_file(const std::string& name, int descriptor);

/// Suffixes of compressed files, which are not part of the suffix that tells the format.
inline constexpr std::string_view kCompressedSuffixes[] = {".gz", ".zst"};

/// An open file, pipe or standard input. Gzip and zstd, recognised by content, are decompressed on a thread
/// of their own, in memory of a few MiB and what the window of the data needs (at most 128 MiB).
class Source {
 public:
  /// @param name  File name, or - for standard input.
  /// @throws BadFile if it cannot be opened.
  explicit Source(const std::string& name);

  /// @param descriptor  Open for reading; the source closes it.
  /// @param name        As messages name it.
  Source(int descriptor, const std::string& name);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  /// @return  The file name, or "standard input", as messages say.
  [[nodiscard]] const std::string& name() const;

  /// @return  False for pipes, devices and the like. Standard input can be a regular file too.
  [[nodiscard]] bool is_regular() const;

  /// @return  Whether its name opens the same file again.
  [[nodiscard]] bool can_be_reopened() const;

  /// Reads the first bytes of the input, without consuming them.
  ///
  /// @return  Whether they are those of gzip or zstd.
  /// @throws BadFile as `read` does.
  [[nodiscard]] bool is_compressed();

  /// Fills `bytes` as far as the input goes.
  ///
  /// @param bytes  Out, room for `size` bytes.
  /// @param size   Number of bytes wanted.
  /// @return       Number of bytes, less than `size` only at the end.
  /// @throws BadFile if the input cannot be read, or its compressed data is damaged, cut off or followed by
  ///                 anything else.
  std::size_t read(char* bytes, std::size_t size);

  /// Gives the next bytes without consuming them.
  ///
  /// @param most  Number of bytes wanted; more than 1 MiB means 1 MiB.
  /// @return      Fewer than `most` only at the end. Valid until the next call.
  /// @throws BadFile as `read` does.
  std::string_view peek(std::size_t most);

  /// @return  Number of bytes left, 0 if unknown: for compressed data, pipes and devices.
  /// @throws BadFile as `read` does.
  std::uint64_t bytes_left();

  /// Goes on reading elsewhere.
  ///
  /// @param offset  In the file.
  /// @return        Whether that is possible: not in compressed data, pipes and devices.
  /// @throws BadFile as `read` does.
  bool move_to(std::uint64_t offset);

  /// Reads compressed data to its end, where its checksum is verified. Does nothing for other files.
  ///
  /// @throws BadFile as `read` does.
  void finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// A text in UTF-8 may begin with it.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Bytes in heap memory of the utility layer, followed by a byte of value 0: huge pages for large texts, and
/// growth without a copy.
///
/// @par Errors  Out of memory is fatal (util/util.h).
class Text {
 public:
  /// An empty text.
  Text() : Text(std::string_view()) {}

  /// A copy.
  ///
  /// @param bytes  Copied.
  explicit Text(std::string_view bytes);

  /// @return  All bytes, valid until the next change.
  [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }

  /// Adds uninitialised bytes.
  ///
  /// @param size  Number of bytes.
  /// @return      The first of them.
  char* extend(std::size_t size);

  /// Removes the last bytes.
  ///
  /// @param size  Number of bytes left.
  void cut(std::size_t size);

  /// Ensures room.
  ///
  /// @param size  Number of bytes that the text will have.
  void reserve(std::size_t size);

 private:
  struct Free {
    void operator()(char* block) const;
  };

  std::unique_ptr<char[], Free> bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;  // without the byte after the text
};

/// Reads a whole input.
///
/// @param name  File name, or - for standard input.
/// @return      Its bytes, decompressed.
/// @throws BadFile as `Source` does.
std::string read_all(const std::string& name);

/// Tests whether a block cannot be of a text: it has bytes of value 0, and no line end.
///
/// @param block  Any bytes.
/// @return       False also for most other files that are no text.
inline bool is_no_text(std::string_view block) {
  return block.find('\n') == std::string_view::npos && block.find('\0') != std::string_view::npos;
}

/// Reads an input that should be a text, to its end or to that of a block that is no text. A file of zeros,
/// or without an end, does not fill the memory.
///
/// @param source   Read to its end, or until it is no text.
/// @param text     Out. Its bytes, decompressed.
/// @return         Whether it has been read to its end.
/// @throws BadFile as `Source::read` does.
bool read_text(Source& source, Text& text);

/// Names an input as messages do.
///
/// @param name  File name, or -.
/// @return      The name, or "standard input" for -.
std::string shown_name(const std::string& name);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
