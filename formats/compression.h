#pragma once
/// @file
/// Compressed bytes in and out: gzip and zstd. Internal to `formats/`.

#include <cstddef>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace quillon::formats {

enum class Compression { kNone, kGzip, kZstd };

/// Number of first bytes that tell how a file is compressed.
inline constexpr std::size_t kMagicSize = 4;

/// Number of bytes that are compressed and decompressed at once.
inline constexpr std::size_t kBlockSize = std::size_t{1} << 18;

/// How a file is compressed, by its first `kMagicSize` bytes, or fewer if it is shorter.
Compression compression_of_bytes(std::string_view first);

/// How a file is to be compressed, by the suffix of its name.
Compression compression_of_name(std::string_view filename);

/// Compressed data breaks the rules of its format. The text goes after the name of the file.
struct DamagedData : std::runtime_error {
  using runtime_error::runtime_error;
};

/// Fills a block of memory as far as the input goes, and returns the number of bytes.
using ReadBytes = std::function<std::size_t(char* bytes, std::size_t size)>;

/// Accepts all bytes of a block of memory.
using WriteBytes = std::function<void(const char* bytes, std::size_t size)>;

class Decompressor {
 public:
  Decompressor() = default;
  virtual ~Decompressor() = default;
  Decompressor(const Decompressor&) = delete;
  Decompressor& operator=(const Decompressor&) = delete;

  /// Fills `bytes` as far as the data goes, at most `kBlockSize` bytes.
  ///
  /// @return  Number of bytes, less than `size` only at the end of the last member or frame.
  /// @throws DamagedData if the data is damaged, cut off, or followed by anything else.
  virtual std::size_t read(char* bytes, std::size_t size) = 0;
};

class Compressor {
 public:
  Compressor() = default;
  virtual ~Compressor() = default;
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  /// Compresses at most `kBlockSize` bytes.
  virtual void write(const char* bytes, std::size_t size) = 0;

  /// Ends the data. Nothing can be written afterwards.
  virtual void finish() = 0;
};

/// @param compression  Not `kNone`.
/// @param first        Bytes of the data that have been read already; copied.
/// @param read         Reads the bytes that follow. What it throws passes through.
std::unique_ptr<Decompressor> make_decompressor(Compression compression, std::string_view first,
                                                ReadBytes read);

/// @param compression  Not `kNone`. The level is the default of its library.
/// @param write        Receives the compressed bytes. What it throws passes through.
std::unique_ptr<Compressor> make_compressor(Compression compression, WriteBytes write);

}  // namespace quillon::formats
