#include "formats/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>
#include <vector>

#include "formats/compression.h"
#include "formats/descriptor.h"
#include "formats/findings.h"
#include "formats/hidden.h"
#include "formats/read_ahead.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kMostPeeked = std::size_t{1} << 20;
constexpr std::size_t kReadAtOnce = std::size_t{4} << 20;

Watcher* current_watcher = nullptr;

// Adds the next block to the text; returns it, empty at the end. In blocks, so that a watcher sees progress.
std::string_view read_block(Source& source, Text& text) {
  poll_watcher();
  const std::size_t size = text.view().size();
  if (size == 0)
    text.reserve(source.bytes_left() + kReadAtOnce);  // with room for the read that finds the end
  const std::size_t length = source.read(text.extend(kReadAtOnce), kReadAtOnce);
  text.cut(size + length);
  return text.view().substr(size);
}

// Ends the thread that decompresses when nobody wants its bytes any more.
struct Stopped {};

}  // namespace

Watcher::~Watcher() = default;

Watcher* set_watcher(Watcher* watcher) { return std::exchange(current_watcher, watcher); }

void poll_watcher() {
  if (current_watcher != nullptr) current_watcher->poll();
}

Watch::Watch(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done)
    : watcher_(current_watcher) {
  if (watcher_ != nullptr) watcher_->begin(what, total, std::move(done));
}

Watch::~Watch() {
  if (watcher_ != nullptr) watcher_->end();
}

std::unique_ptr<Watch> watch_file(const std::string& name, int descriptor) {
  struct stat status {};
  if (current_watcher == nullptr || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
    return nullptr;
  // A copy shares the offset, and stays valid however the file is closed.
  const std::shared_ptr<int> copy(new int(duplicate(descriptor)), [](const int* number) {
    close(*number);
    delete number;
  });
  return std::make_unique<Watch>("reading " + name, static_cast<std::uint64_t>(status.st_size), [copy] {
    const off_t offset = lseek(*copy, 0, SEEK_CUR);
    return static_cast<std::uint64_t>(std::max<off_t>(offset, 0));
  });
}

std::string shown_name(const std::string& name) { return name == "-" ? "standard input" : name; }

struct QUILLON_HIDDEN Source::State {
  std::string name;
  Descriptor file;
  bool is_regular = false;
  bool has_path = false;
  bool has_begun = false;                      // the first bytes have been read
  bool has_ended = false;                      // nothing is read again: a terminal could go on
  std::unique_ptr<Stop> stop;                  // for the thread
  std::unique_ptr<Decompressor> decompressor;  // null for plain files
  std::unique_ptr<ReadAhead> read_ahead;       // null if the system has no thread left
  std::vector<char> ahead;                     // read but not consumed, from `ahead_begin` on
  std::ptrdiff_t ahead_begin = 0;
  std::shared_ptr<std::atomic<std::uint64_t>> nread = std::make_shared<std::atomic<std::uint64_t>>(0);
  std::unique_ptr<Watch> watch;

  State(int descriptor, std::string shown);
  [[noreturn]] void fail(const char* rule, const std::string& reason) const;
  std::size_t read_file(char* bytes, std::size_t size);
  void begin();
  void begin_decompressing(Compression compression, std::string_view first);
  std::size_t consume_ahead(char* bytes, std::size_t size);
  std::size_t fetch(char* bytes, std::size_t size);
  std::size_t decompress(char* bytes, std::size_t size);
};

Source::State::State(int descriptor, std::string shown) : name(std::move(shown)), file(descriptor) {
  if (!file.is_open())
    throw BadFile({"cannot-open", Severity::kError, name, 0, 0,
                   "cannot open '" + name + "': " + std::strerror(errno), ""});
  struct stat status {};
  is_regular = fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode);

  // The offset of a file tells how much is left, compressed or not; a pipe only has bytes so far.
  watch = watch_file(name, file.number());
  if (watch == nullptr)
    watch = std::make_unique<Watch>("reading " + name, 0, [count = nread] { return count->load(); });
}

void Source::State::fail(const char* rule, const std::string& reason) const {
  throw BadFile({rule, Severity::kError, name, 0, 0, "cannot read '" + name + "': " + reason, ""});
}

// Runs on the other thread if there is one.
std::size_t Source::State::read_file(char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size && !has_ended) {
    if (stop != nullptr && !stop->wait_to_read(file.number())) throw Stopped();
    const std::ptrdiff_t length = read_some(file.number(), bytes + filled, size - filled);
    if (length < 0) fail("cannot-read", std::strerror(errno));
    filled += static_cast<std::size_t>(length);
    has_ended = length == 0;
  }
  return filled;
}

void Source::State::begin() {
  if (std::exchange(has_begun, true)) return;
  ahead.resize(kMagicSize);
  ahead.resize(read_file(ahead.data(), ahead.size()));
  const std::string_view first(ahead.data(), ahead.size());
  if (const Compression compression = compression_of_bytes(first); compression != Compression::kNone)
    begin_decompressing(compression, first);
}

void Source::State::begin_decompressing(Compression compression, std::string_view first) {
  decompressor = make_decompressor(compression, first,
                                   [this](char* bytes, std::size_t size) { return read_file(bytes, size); });
  ahead.clear();
  try {
    stop = std::make_unique<Stop>();
    read_ahead = std::make_unique<ReadAhead>(
        [this](char* bytes, std::size_t size) { return decompressor->read(bytes, size); }, *stop);
  } catch (const std::system_error&) {
    // Without a thread, `fetch` decompresses.
  }
}

std::size_t Source::State::consume_ahead(char* bytes, std::size_t size) {
  const auto length = std::min(static_cast<std::ptrdiff_t>(size), std::ssize(ahead) - ahead_begin);
  std::copy_n(ahead.begin() + ahead_begin, length, bytes);
  ahead_begin += length;
  return static_cast<std::size_t>(length);
}

std::size_t Source::State::fetch(char* bytes, std::size_t size) {
  try {
    if (read_ahead != nullptr) return read_ahead->read(bytes, size);
    return decompressor != nullptr ? decompress(bytes, size) : read_file(bytes, size);
  } catch (const DamagedData& damage) {
    fail("bad-compression", damage.what());
  }
}

std::size_t Source::State::decompress(char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    const std::size_t wanted = std::min(size - filled, kBlockSize);
    const std::size_t length = decompressor->read(bytes + filled, wanted);
    filled += length;
    if (length < wanted) break;
  }
  return filled;
}

Source::Source(const std::string& name)
    : Source(name == "-" ? duplicate(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC),
             shown_name(name)) {
  state_->has_path = name != "-";
}

Source::Source(int descriptor, const std::string& name) : state_(std::make_unique<State>(descriptor, name)) {}

Source::~Source() = default;

const std::string& Source::name() const { return state_->name; }

bool Source::is_regular() const { return state_->is_regular; }

bool Source::can_be_reopened() const { return state_->is_regular && state_->has_path; }

bool Source::is_compressed() {
  state_->begin();
  return state_->decompressor != nullptr;
}

std::size_t Source::read(char* bytes, std::size_t size) {
  state_->begin();
  std::size_t filled = state_->consume_ahead(bytes, size);
  if (filled < size) filled += state_->fetch(bytes + filled, size - filled);
  *state_->nread += filled;
  return filled;
}

std::string_view Source::peek(std::size_t most) {
  state_->begin();
  most = std::min(most, kMostPeeked);
  std::vector<char>& ahead = state_->ahead;
  ahead.erase(ahead.begin(), ahead.begin() + std::exchange(state_->ahead_begin, 0));
  if (ahead.size() < most) {
    const std::size_t size = most - ahead.size();
    const auto more = std::make_unique_for_overwrite<char[]>(size);  // most files are shorter
    const std::size_t count = state_->fetch(more.get(), size);
    ahead.insert(ahead.end(), more.get(), more.get() + count);
  }
  return {ahead.data(), std::min(most, ahead.size())};
}

std::uint64_t Source::bytes_left() {
  state_->begin();
  struct stat status {};
  if (!state_->is_regular || state_->decompressor != nullptr || fstat(state_->file.number(), &status) != 0)
    return 0;
  const off_t offset = lseek(state_->file.number(), 0, SEEK_CUR);
  const auto nahead = std::ssize(state_->ahead) - state_->ahead_begin;
  return static_cast<std::uint64_t>(std::max<off_t>(status.st_size - offset, 0) + nahead);
}

bool Source::move_to(std::uint64_t offset) {
  state_->begin();
  const bool can_move = state_->is_regular && state_->decompressor == nullptr;
  if (!can_move || lseek(state_->file.number(), static_cast<off_t>(offset), SEEK_SET) < 0) return false;
  state_->ahead.clear();
  state_->ahead_begin = 0;
  state_->has_ended = false;
  return true;
}

void Source::finish() {
  state_->begin();
  if (state_->decompressor == nullptr) return;
  const auto ignored = std::make_unique_for_overwrite<char[]>(kBlockSize);
  while (read(ignored.get(), kBlockSize) > 0) {
  }
}

void Text::Free::operator()(char* block) const { _usfree(block); }

Text::Text(std::string_view bytes) { bytes.copy(extend(bytes.size()), bytes.size()); }

void Text::reserve(std::size_t size) {
  if (bytes_ != nullptr && size <= capacity_) return;
  // Out of memory may be an exception, which leaves the old block.
  auto* const block = static_cast<char*>(urealloc(bytes_.get(), std::uint64_t{size} + 1, "Text: bytes"));
  (void)bytes_.release();
  bytes_.reset(block);
  capacity_ = size;
}

char* Text::extend(std::size_t size) {
  if (bytes_ == nullptr || size > capacity_ - size_) reserve(std::max(size_ + size, 2 * capacity_));
  cut(size_ + size);
  return bytes_.get() + size_ - size;
}

void Text::cut(std::size_t size) {
  size_ = size;
  bytes_[size] = '\0';
}

std::string read_all(const std::string& name) {
  Source source(name);
  Text text;
  while (!read_block(source, text).empty()) {
  }
  return std::string(text.view());
}

bool read_text(Source& source, Text& text) {
  bool is_text = true;
  for (std::string_view block = " "; is_text && !block.empty();) {
    block = read_block(source, text);
    is_text = !is_no_text(block);
  }
  return is_text;
}

}  // namespace quillon::formats
