#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "util/digits.h"
#include "util/os.h"
#include "util/scope_internal.h"
#include "util/util.h"

namespace quillon {
namespace {

struct OpenStream {
  std::FILE* stream;
  std::string name;
  bool only_reads;
  std::uint64_t number;
  os::StreamMark mark;
};

constinit int nscopes = 0;
constinit std::uint64_t next_number = 0;

// Streams opened by ufopen, with the names for the messages of ufclose. One that std::fclose has closed stays
// in the table until its address or its descriptor is used again.
std::vector<OpenStream>& open_streams() {
  static std::vector<OpenStream> streams;
  return streams;
}

// Removes a stream from the table. Returns its entry, or one without a name if it was opened elsewhere.
OpenStream forget(const std::FILE* stream) {
  std::vector<OpenStream>& streams = open_streams();
  const auto it = std::find_if(streams.begin(), streams.end(),
                               [stream](const OpenStream& open) { return open.stream == stream; });
  if (it == streams.end()) return {};
  OpenStream open = std::move(*it);
  streams.erase(it);
  return open;
}

// Opens a file and adds it to the table. Returns null after a failure, with the reason as an errno.
std::FILE* open_noted(const char* name, const char* mode, int& reason) try {
  // The system opens a directory for reading; only the first read fails.
  std::error_code ignored;
  if (std::filesystem::is_directory(name, ignored)) {
    reason = EISDIR;
    return nullptr;
  }

  // All memory is allocated before the stream is open, so that no failure leaves it open.
  std::vector<OpenStream>& streams = open_streams();
  OpenStream open{nullptr, name, std::strcmp(mode, "r") == 0, next_number, {}};
  streams.reserve(streams.size() + 1);
  open.stream = nscopes == 0 ? std::fopen(name, mode) : os::open_marked(name, mode, open.mark);
  if (open.stream == nullptr) {
    reason = errno;
    return nullptr;
  }

  const int descriptor = open.mark.descriptor;
  std::erase_if(streams, [&](const OpenStream& old) {
    return old.stream == open.stream || (descriptor >= 0 && old.mark.descriptor == descriptor);
  });
  std::FILE* const stream = open.stream;
  streams.push_back(std::move(open));
  ++next_number;
  return stream;
} catch (const std::bad_alloc&) {
  reason = ENOMEM;
  return nullptr;
}

// Why reading failed: reading on fails for the same reason. 0 if it does not.
int reason_of_read_error(std::FILE* stream) {
  std::clearerr(stream);
  errno = 0;
  return std::fgetc(stream) == EOF && std::ferror(stream) != 0 ? errno : 0;
}

}  // namespace

std::FILE* ufopen(const char* name, const char* mode, const char* tag) {
  int reason = 0;
  std::FILE* const stream = open_noted(name, mode, reason);
  if (stream == nullptr) {
    errexit("ufopen: cannot open '%s' with mode \"%s\" for \"%s\": %s", name, mode, tag,
            std::strerror(reason));
  }
  return stream;
}

void ufclose(std::FILE* stream) {
  const OpenStream known = forget(stream);
  const char* const name = known.name.empty() ? "(unnamed stream)" : known.name.c_str();
  const bool failed_before = std::ferror(stream) != 0;
  const int reason = failed_before && known.only_reads ? reason_of_read_error(stream) : 0;
  errno = 0;
  if (std::fclose(stream) != 0)
    errexit("ufclose: '%s' is not whole, data was lost: %s", name, std::strerror(errno));
  if (reason != 0)
    errexit("ufclose: '%s' is not whole, reading or writing it failed: %s", name, std::strerror(reason));
  if (failed_before) errexit("ufclose: '%s' is not whole, reading or writing it failed", name);
}

namespace internal {

std::uint64_t open_file_scope() {
  ++nscopes;
  return next_number;
}

void close_file_scope(std::uint64_t first, bool release) {
  --nscopes;
  if (!release) return;
  std::erase_if(open_streams(), [first](const OpenStream& open) {
    if (open.number < first) return false;
    if (os::still_open(open.mark)) std::fclose(open.stream);
    return true;
  });
}

}  // namespace internal

namespace {

// The file of read_array, closed also when an error is thrown.
struct InputFile {
  explicit InputFile(const char* name) : stream(ufopen(name, "r", "read_array")) {}
  ~InputFile() {
    if (stream == nullptr) return;
    forget(stream);
    std::fclose(stream);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  std::FILE* stream;
};

// Bytes of a stream one at a time, without the cost of a locked call for each. Reads what is there: a pipe
// may stay open after the numbers needed.
struct ByteSource {
  std::FILE* stream = nullptr;
  std::int64_t line = 1;
  bool failed = false;
  std::size_t at = 0;
  std::size_t end = 0;
  unsigned char block[1 << 14] = {};

  /// The next byte, or EOF.
  int next() {
    if (at == end) {
      const std::ptrdiff_t length = os::read_some(stream, block, sizeof block);
      failed = length < 0;
      at = end = 0;
      if (length <= 0) return EOF;
      end = static_cast<std::size_t>(length);
    }
    const int byte = block[at++];
    if (byte == '\n') ++line;
    return byte;
  }
};

enum class Verdict { kInteger, kMissing, kNotAnInteger, kOutOfRange };

struct Word {
  Verdict verdict = Verdict::kMissing;
  std::int64_t value = 0;
  std::int64_t line = 0;
  std::string text;  // truncated for messages
};

constexpr std::size_t kShownCharacters = 40;

void show(std::string& text, int byte) {
  if (text.size() == kShownCharacters) text += "...";
  if (text.size() < kShownCharacters) text += std::isprint(byte) != 0 ? static_cast<char>(byte) : '?';
}

bool is_space(int byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

void read_word(ByteSource& source, Word& word) {
  constexpr std::int64_t kBeyond = std::int64_t{1} << 32;
  word.text.clear();
  word.value = 0;
  int byte = source.next();
  while (is_space(byte)) byte = source.next();
  word.line = source.line;
  if (byte == EOF) {
    word.verdict = Verdict::kMissing;
    return;
  }

  const bool negative = byte == '-';
  if (byte == '-' || byte == '+') {
    show(word.text, byte);
    byte = source.next();
  }
  bool only_digits = byte >= '0' && byte <= '9';
  for (; byte != EOF && !is_space(byte); byte = source.next()) {
    show(word.text, byte);
    only_digits = only_digits && byte >= '0' && byte <= '9';
    if (only_digits) word.value = std::min(kBeyond, 10 * word.value + (byte - '0'));
  }
  if (negative) word.value = -word.value;
  const bool fits = word.value == static_cast<std::int32_t>(word.value);
  word.verdict = !only_digits ? Verdict::kNotAnInteger : fits ? Verdict::kInteger : Verdict::kOutOfRange;
}

// Reads at most `count` numbers without a sign that stand in the block, many at a time. Returns how many; the
// word after them may be anything.
int read_plain_numbers(ByteSource& source, Scanned& scanned, std::int32_t* array, int count) {
  int ndone = 0;
  while (ndone < count) {
    const char* text = reinterpret_cast<const char*>(source.block + source.at);
    const char* const end = reinterpret_cast<const char*>(source.block + source.end);
    const ShortNumbers shorts = scan_short_numbers(text, end, array + ndone, count - ndone);
    ndone += shorts.count;
    source.at += static_cast<std::size_t>(shorts.size);
    source.line += shorts.nlines;
    text += shorts.size;
    scan_numbers(text, end, scanned);
    if (scanned.size == 0) break;
    const int nused = std::min(count - ndone, scanned.count);
    std::copy_n(scanned.numbers, nused, array + ndone);
    ndone += nused;
    source.at += static_cast<std::size_t>(scanned.size);
    source.line += scanned.nlines;
  }
  return ndone;
}

}  // namespace

void read_array(const char* filename, std::int32_t* array, int count, int first) {
  InputFile file(filename);
  ByteSource source{file.stream};
  Scanned scanned;
  Word word;
  array += first;
  for (int ndone = 0; ndone < count; ++ndone) {
    ndone += read_plain_numbers(source, scanned, array + ndone, count - ndone);
    if (ndone == count) break;
    read_word(source, word);
    const int entry = ndone + 1;
    switch (word.verdict) {
      case Verdict::kInteger:
        array[ndone] = static_cast<std::int32_t>(word.value);
        break;
      case Verdict::kMissing:
        if (source.failed)
          errexit("read_array: entry %d of %d cannot be read, '%s' fails after entry %d", entry, count,
                  filename, ndone);
        errexit("read_array: entry %d of %d is missing, '%s' ends after entry %d", entry, count, filename,
                ndone);
      case Verdict::kNotAnInteger:
        errexit("read_array: entry %d of %d is not an integer in '%s', line %" PRId64 ": \"%s\"", entry,
                count, filename, word.line, word.text.c_str());
      case Verdict::kOutOfRange:
        errexit("read_array: entry %d of %d is out of 32-bit range in '%s', line %" PRId64 ": \"%s\"", entry,
                count, filename, word.line, word.text.c_str());
    }
  }
  ufclose(std::exchange(file.stream, nullptr));
}

}  // namespace quillon
