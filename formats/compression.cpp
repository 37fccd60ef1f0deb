#include "formats/compression.h"

#include <zlib.h>
#include <zstd.h>
#include <zstd_errors.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace quillon::formats {
namespace {

constexpr int kGzipWindow = 15 + 16;  // the largest window, with the header and trailer of gzip

bool begins_gzip(std::string_view bytes) { return bytes.starts_with("\x1f\x8b"); }

// A frame, or a frame to skip, whose first byte has 16 values.
bool begins_zstd(std::string_view bytes) {
  if (bytes.starts_with("\x28\xb5\x2f\xfd")) return true;
  return bytes.size() >= kMagicSize && bytes.substr(1).starts_with("\x2a\x4d\x18") &&
         (bytes[0] & 0xf0) == 0x50;
}

// Compressed bytes between the file and a decompressor.
class Input {
 public:
  Input(std::string_view first, ReadBytes read)
      : bytes_(std::make_unique_for_overwrite<char[]>(kBlockSize)),
        end_(first.size()),
        nread_(first.size()),
        read_(std::move(read)) {
    first.copy(bytes_.get(), first.size());
  }

  [[nodiscard]] std::string_view rest() const { return {bytes_.get() + begin_, end_ - begin_}; }
  void consume(std::size_t size) { begin_ += size; }

  // Reads more bytes after the rest. Returns false at the end.
  bool read_more() {
    std::copy(bytes_.get() + begin_, bytes_.get() + end_, bytes_.get());
    end_ -= std::exchange(begin_, 0);
    const std::size_t size = read_(bytes_.get() + end_, kBlockSize - end_);
    end_ += size;
    nread_ += size;
    return size > 0;
  }

  // Whether another member or frame begins here. Anything else is an error.
  bool at_next(bool (*begins)(std::string_view)) {
    while (rest().size() < kMagicSize && read_more()) {
    }
    if (rest().empty()) return false;
    if (!begins(rest()))
      throw DamagedData("something else follows its compressed data after byte " + std::to_string(offset()));
    return true;
  }

  // Number of bytes consumed.
  [[nodiscard]] std::uint64_t offset() const { return nread_ - rest().size(); }

  [[noreturn]] void damaged(const char* where, const char* reason) const {
    throw DamagedData(std::string("its compressed data is damaged ") + where + " byte " +
                      std::to_string(offset()) + ": " + reason);
  }
  [[noreturn]] void cut_off() const {
    throw DamagedData("its compressed data is cut off after byte " + std::to_string(nread_));
  }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t begin_ = 0;
  std::size_t end_;
  std::uint64_t nread_;
  ReadBytes read_;
};

// zlib's interface does not promise to leave the input alone.
Bytef* zlib_bytes(const char* bytes) {
  return reinterpret_cast<Bytef*>(const_cast<char*>(bytes));  // NOLINT(*-const-cast)
}

class GzipDecompressor : public Decompressor {
 public:
  GzipDecompressor(std::string_view first, ReadBytes read) : input_(first, std::move(read)) {
    if (inflateInit2(&stream_, kGzipWindow) != Z_OK) throw std::bad_alloc();
  }
  ~GzipDecompressor() override { inflateEnd(&stream_); }
  GzipDecompressor(const GzipDecompressor&) = delete;
  GzipDecompressor& operator=(const GzipDecompressor&) = delete;

  std::size_t read(char* bytes, std::size_t size) override {
    stream_.next_out = zlib_bytes(bytes);
    stream_.avail_out = static_cast<uInt>(size);
    while (stream_.avail_out > 0 && (is_inside_ || begin_member())) inflate_more();
    return size - stream_.avail_out;
  }

 private:
  bool begin_member() {
    if (!input_.at_next(begins_gzip)) return false;
    inflateReset(&stream_);
    is_inside_ = true;
    return true;
  }

  void inflate_more() {
    const std::string_view rest = input_.rest();
    stream_.next_in = zlib_bytes(rest.data());
    stream_.avail_in = static_cast<uInt>(rest.size());
    const int status = inflate(&stream_, Z_NO_FLUSH);
    input_.consume(rest.size() - stream_.avail_in);
    switch (status) {
      case Z_OK:
        return;
      case Z_STREAM_END:
        is_inside_ = false;
        return;
      case Z_BUF_ERROR:  // there is room for output, so it lacks input
        if (!input_.read_more()) input_.cut_off();
        return;
      case Z_MEM_ERROR:
        throw std::bad_alloc();
      default:
        input_.damaged("near", stream_.msg == nullptr ? "it needs a dictionary" : stream_.msg);
    }
  }

  Input input_;
  z_stream stream_{};
  bool is_inside_ = false;  // a member has begun and not ended
};

struct FreeContext {
  void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
  void operator()(ZSTD_CCtx* context) const { ZSTD_freeCCtx(context); }
};

class ZstdDecompressor : public Decompressor {
 public:
  ZstdDecompressor(std::string_view first, ReadBytes read)
      : input_(first, std::move(read)), context_(ZSTD_createDCtx()) {
    if (context_ == nullptr) throw std::bad_alloc();
  }

  std::size_t read(char* bytes, std::size_t size) override {
    ZSTD_outBuffer out{bytes, size, 0};
    while (out.pos < out.size && (is_inside_ || input_.at_next(begins_zstd))) decompress_more(out);
    return out.pos;
  }

 private:
  void decompress_more(ZSTD_outBuffer& out) {
    if (input_.rest().empty() && !may_hold_output_ && !input_.read_more()) input_.cut_off();
    const std::string_view rest = input_.rest();
    ZSTD_inBuffer in{rest.data(), rest.size(), 0};
    const std::size_t status = ZSTD_decompressStream(context_.get(), &out, &in);
    input_.consume(in.pos);
    if (ZSTD_isError(status) != 0) {
      if (ZSTD_getErrorCode(status) == ZSTD_error_memory_allocation) throw std::bad_alloc();
      input_.damaged("after", ZSTD_getErrorName(status));  // somewhere in the rest
    }
    is_inside_ = status != 0;
    may_hold_output_ = is_inside_ && out.pos == out.size;
  }

  Input input_;
  std::unique_ptr<ZSTD_DCtx, FreeContext> context_;
  bool is_inside_ = false;        // a frame has begun and not ended
  bool may_hold_output_ = false;  // the last block of output was too short for all that is decompressed
};

class GzipCompressor : public Compressor {
 public:
  explicit GzipCompressor(WriteBytes write) : write_(std::move(write)), out_(kBlockSize) {
    constexpr int kMemory = 8;  // zlib's default
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK)
      throw std::bad_alloc();
  }
  ~GzipCompressor() override { deflateEnd(&stream_); }
  GzipCompressor(const GzipCompressor&) = delete;
  GzipCompressor& operator=(const GzipCompressor&) = delete;

  void write(const char* bytes, std::size_t size) override {
    stream_.next_in = zlib_bytes(bytes);
    stream_.avail_in = static_cast<uInt>(size);
    while (stream_.avail_in > 0) deflate_more(Z_NO_FLUSH);
  }
  void finish() override {
    while (deflate_more(Z_FINISH) != Z_STREAM_END) {
    }
  }

 private:
  int deflate_more(int flush) {
    stream_.next_out = zlib_bytes(out_.data());
    stream_.avail_out = static_cast<uInt>(out_.size());
    const int status = deflate(&stream_, flush);
    write_(out_.data(), out_.size() - stream_.avail_out);
    return status;
  }

  WriteBytes write_;
  std::vector<char> out_;
  z_stream stream_{};
};

class ZstdCompressor : public Compressor {
 public:
  explicit ZstdCompressor(WriteBytes write)
      : write_(std::move(write)), out_(kBlockSize), context_(ZSTD_createCCtx()) {
    if (context_ == nullptr) throw std::bad_alloc();
    ZSTD_CCtx_setParameter(context_.get(), ZSTD_c_checksumFlag, 1);
  }

  void write(const char* bytes, std::size_t size) override {
    ZSTD_inBuffer in{bytes, size, 0};
    while (in.pos < in.size) compress_more(in, ZSTD_e_continue);
  }
  void finish() override {
    ZSTD_inBuffer none{nullptr, 0, 0};
    while (compress_more(none, ZSTD_e_end) != 0) {
    }
  }

 private:
  // Returns 0 once everything is written.
  std::size_t compress_more(ZSTD_inBuffer& in, ZSTD_EndDirective end) {
    ZSTD_outBuffer out{out_.data(), out_.size(), 0};
    const std::size_t left = ZSTD_compressStream2(context_.get(), &out, &in, end);
    if (ZSTD_isError(left) != 0) throw std::bad_alloc();  // nothing else can fail here
    write_(out_.data(), out.pos);
    return left;
  }

  WriteBytes write_;
  std::vector<char> out_;
  std::unique_ptr<ZSTD_CCtx, FreeContext> context_;
};

}  // namespace

Compression compression_of_bytes(std::string_view first) {
  if (begins_gzip(first)) return Compression::kGzip;
  return begins_zstd(first) ? Compression::kZstd : Compression::kNone;
}

Compression compression_of_name(std::string_view filename) {
  if (filename.ends_with(".gz")) return Compression::kGzip;
  return filename.ends_with(".zst") ? Compression::kZstd : Compression::kNone;
}

std::unique_ptr<Decompressor> make_decompressor(Compression compression, std::string_view first,
                                                ReadBytes read) {
  if (compression == Compression::kGzip) return std::make_unique<GzipDecompressor>(first, std::move(read));
  return std::make_unique<ZstdDecompressor>(first, std::move(read));
}

std::unique_ptr<Compressor> make_compressor(Compression compression, WriteBytes write) {
  if (compression == Compression::kGzip) return std::make_unique<GzipCompressor>(std::move(write));
  return std::make_unique<ZstdCompressor>(std::move(write));
}

}  // namespace quillon::formats
