#include "formats/source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "formats/findings.h"

namespace quillon::formats {
namespace {

constexpr unsigned kBufferSize = 1U << 18;     // of zlib
constexpr std::size_t kMostAtOnce = 1U << 30;  // bytes that one call of zlib can return

Watcher* current_watcher = nullptr;

gzFile gz(void* file) { return static_cast<gzFile>(file); }

// A copy that other programs do not inherit.
int duplicate(int descriptor) { return fcntl(descriptor, F_DUPFD_CLOEXEC, 0); }

}  // namespace

Watcher::~Watcher() = default;

Watcher* set_watcher(Watcher* watcher) { return std::exchange(current_watcher, watcher); }

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

Source::Source(const std::string& name) : name_(shown_name(name)) {
  const int descriptor = name == "-" ? duplicate(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0)
    throw BadFile({"cannot-open", Severity::kError, name_, 0, 0,
                   "cannot open '" + name_ + "': " + std::strerror(errno), ""});
  file_.reset(gzdopen(descriptor, "r"));
  if (file_ == nullptr) {
    close(descriptor);
    throw BadFile(
        {"cannot-open", Severity::kError, name_, 0, 0, "cannot open '" + name_ + "': out of memory", ""});
  }
  gzbuffer(gz(file_.get()), kBufferSize);

  // The offset of a file tells how much is left, compressed or not; a pipe only has bytes so far.
  watch_ = watch_file(name_, descriptor);
  if (watch_ == nullptr)
    watch_ = std::make_unique<Watch>("reading " + name_, 0, [nread = nread_] { return nread->load(); });
}

void Source::Close::operator()(void* file) const { gzclose(gz(file)); }

Source::~Source() = default;

void Source::fail(const std::string& reason) const {
  throw BadFile({"cannot-read", Severity::kError, name_, 0, 0, "cannot read '" + name_ + "': " + reason, ""});
}

void Source::fail_reading() const {
  const int system_error = errno;
  int status = Z_OK;
  const char* const reason = gzerror(gz(file_.get()), &status);
  if (status == Z_MEM_ERROR) fail("out of memory");
  if (status == Z_ERRNO) fail(std::strerror(system_error));
  // zlib begins with a name of its own, "<fd:3>: ".
  const char* const name_end = std::strstr(reason, ">: ");
  fail(std::string("its compressed data is damaged: ") + (name_end == nullptr ? reason : name_end + 3));
}

void Source::check_complete() const {
  int status = Z_OK;
  gzerror(gz(file_.get()), &status);
  if (status == Z_BUF_ERROR) fail("its compressed data is cut off");
}

std::size_t Source::read(char* bytes, std::size_t size) {
  std::size_t filled = 0;
  while (filled < size) {
    errno = 0;
    const int length =
        gzread(gz(file_.get()), bytes + filled, static_cast<unsigned>(std::min(size - filled, kMostAtOnce)));
    if (length < 0) fail_reading();
    if (length == 0) {
      check_complete();
      break;
    }
    filled += static_cast<std::size_t>(length);
    *nread_ += static_cast<std::uint64_t>(length);
  }
  return filled;
}

void Source::finish() {
  if (gzdirect(gz(file_.get())) != 0) return;
  std::vector<char> ignored(kBufferSize);
  while (read(ignored.data(), ignored.size()) > 0) {
  }
}

std::string read_all(const std::string& name) {
  Source source(name);
  std::string bytes;
  std::size_t filled = 0;
  do {
    bytes.resize(std::max<std::size_t>(kBufferSize, 2 * filled));
    filled += source.read(bytes.data() + filled, bytes.size() - filled);
  } while (filled == bytes.size());
  bytes.resize(filled);
  return bytes;
}

}  // namespace quillon::formats
