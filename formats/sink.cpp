#include "formats/sink.h"

#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <optional>
#include <system_error>
#include <utility>

#include "formats/compressing_pipe.h"
#include "formats/compression.h"
#include "formats/descriptor.h"
#include "formats/hidden.h"
#include "formats/target.h"
#include "formats/temporary_file.h"
#include "formats/write_back.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

[[noreturn]] void cannot_write(const std::string& target, int reason) {
  errexit("cannot write %s: %s", shown_target(target).c_str(), std::strerror(reason));
}

// The permissions that fopen asks for, and those of bytes on their way to a stream.
constexpr unsigned kFopenMode = 0666;
constexpr unsigned kPrivateMode = 0600;

[[noreturn]] void refuse_twice(const std::string& target) {
  errexit("%s is named for two outputs", shown_target(target).c_str());
}

}  // namespace

NotWritten::NotWritten(const std::string& target)
    : runtime_error("cannot write " + shown_target(target)), target_(target) {}

NotWritten::~NotWritten() = default;

// One output.
struct QUILLON_HIDDEN Outputs::Staged {
  std::string target;                   // as the user named it
  Target where;                         // that, with links followed
  bool is_passed_on = false;            // to a stream, pipe or device
  std::unique_ptr<TemporaryFile> file;  // holds the bytes; null for the null device

  Staged(std::string its_target, bool force);
  void stage_file(bool force);
  void stage_stream();
  void write(const std::function<void(const char*)>& write);
  void write_compressed(Compression compression, const std::function<void(const char*)>& write);
  void pass_on() const;
  void make_ready() const;
};

Outputs::Staged::Staged(std::string its_target, bool force)
    : target(std::move(its_target)), where(resolve_target(target)) {
  if (where.error != 0) cannot_write(target, where.error);
  struct stat status {};
  const bool exists = where.descriptor < 0 && stat(where.place.c_str(), &status) == 0;
  if (exists && S_ISDIR(status.st_mode)) cannot_write(target, EISDIR);
  is_passed_on = where.descriptor >= 0 || (exists && !S_ISREG(status.st_mode));
  if (is_null_device(where)) return;
  try {
    if (is_passed_on)
      stage_stream();
    else
      stage_file(force || !exists);
  } catch (const std::system_error& error) {
    cannot_write(target, error.code().value());
  }
}

void Outputs::Staged::stage_file(bool force) {
  if (!force && faccessat(AT_FDCWD, where.place.c_str(), W_OK, AT_EACCESS) != 0)
    errexit("cannot replace %s: it is write-protected", shown_target(target).c_str());
  file = std::make_unique<TemporaryFile>(where.place, kFopenMode);
}

void Outputs::Staged::stage_stream() {
  if (where.descriptor >= 0) {
    const int flags = fcntl(where.descriptor, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) cannot_write(target, EBADF);
  }
  const std::string folder = temporary_folder();
  try {
    file = std::make_unique<TemporaryFile>(folder + "/output", kPrivateMode);
  } catch (const std::system_error& error) {
    errexit("cannot make a temporary file in '%s': %s", folder.c_str(), error.code().message().c_str());
  }
}

void Outputs::Staged::write(const std::function<void(const char*)>& write) {
  if (file == nullptr) return write("/dev/null");
  const Compression compression = where.descriptor < 0 ? compression_of_name(target) : Compression::kNone;
  if (compression != Compression::kNone) return write_compressed(compression, write);
  std::optional<WriteBack> write_back;
  if (!is_passed_on) write_back.emplace(file->descriptor());
  write(file->name().c_str());
}

void Outputs::Staged::write_compressed(Compression compression,
                                       const std::function<void(const char*)>& write) {
  try {
    CompressingPipe pipe(compression, file->descriptor());
    write(pipe.name().c_str());
    pipe.finish();
  } catch (const std::system_error& error) {
    cannot_write(target, error.code().value());
  }
}

void Outputs::Staged::pass_on() const {
  if (file == nullptr) return;
  Descriptor to(where.descriptor >= 0 ? duplicate(where.descriptor)
                                      : open(target.c_str(), O_WRONLY | O_CLOEXEC));
  if (!to.is_open() || lseek(file->descriptor(), 0, SEEK_SET) != 0) cannot_write(target, errno);
  std::vector<char> block(kBlockSize);
  while (const std::ptrdiff_t size = read_some(file->descriptor(), block.data(), block.size()))
    if (size < 0 || !write_all(to.number(), block.data(), static_cast<std::size_t>(size)))
      cannot_write(target, errno);
  if (!to.close()) cannot_write(target, errno);
}

void Outputs::Staged::make_ready() const {
  try {
    file->resemble(where.place);
    file->link_beside(where.place);
  } catch (const std::system_error& error) {
    cannot_write(target, error.code().value());
  }
}

Outputs::Outputs(bool force) : force_(force) {}

Outputs::~Outputs() = default;

void Outputs::write(const std::string& target, const std::function<void(const char*)>& write) {
  auto file = std::make_unique<Staged>(target, force_);
  for (const std::unique_ptr<Staged>& other : files_)
    if (are_same(file->where, other->where)) refuse_twice(target);
  files_.push_back(std::move(file));
  try {
    files_.back()->write(write);
  } catch (...) {
    files_.pop_back();  // so that `publish` cannot move half a file
    std::throw_with_nested(NotWritten(target));
  }
}

namespace {

// Delays interruptions for as long as it lives: all files of a command are moved, or none.
class Uninterrupted {
 public:
  Uninterrupted() {
    sigset_t interruptions;
    sigemptyset(&interruptions);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) sigaddset(&interruptions, signal);
    sigprocmask(SIG_BLOCK, &interruptions, &before_);
  }
  ~Uninterrupted() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
  Uninterrupted(const Uninterrupted&) = delete;
  Uninterrupted& operator=(const Uninterrupted&) = delete;

 private:
  sigset_t before_{};
};

// Text that cannot be written now must not be written later, after the error.
void flush_standard_output() {
  errno = 0;
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return;
  const int reason = errno != 0 ? errno : EIO;
  __fpurge(stdout);
  std::clearerr(stdout);
  cannot_write("-", reason);
}

}  // namespace

void Outputs::publish(const std::function<void()>& report) {
  flush_standard_output();
  for (const std::unique_ptr<Staged>& file : files_)
    // Some write errors surface only at fsync.
    if (!file->is_passed_on && fsync(file->file->descriptor()) != 0) cannot_write(file->target, errno);
  for (const std::unique_ptr<Staged>& file : files_)
    if (file->is_passed_on) file->pass_on();

  for (const std::unique_ptr<Staged>& file : files_)
    if (!file->is_passed_on) file->make_ready();
  if (report) {
    report();
    flush_standard_output();
  }
  const Uninterrupted guard;
  move_all();
}

void Outputs::move_all() {
  std::vector<TemporaryFile*> moved;
  for (const std::unique_ptr<Staged>& file : files_) {
    if (file->is_passed_on) continue;
    if (const int reason = file->file->move_to(file->where.place); reason != 0) {
      for (TemporaryFile* const earlier : moved) earlier->put_back();
      cannot_write(file->target, reason);
    }
    moved.push_back(file->file.get());
  }
  for (TemporaryFile* const file : moved) file->keep();
}

void refuse_named_twice(const std::vector<std::string>& targets) {
  std::vector<Target> known;
  for (const std::string& target : targets) {
    if (target.empty()) continue;
    const Target where = resolve_target(target);
    for (const Target& other : known)
      if (are_same(where, other)) refuse_twice(target);
    known.push_back(where);
  }
}

void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target) {
  if (target.empty()) return;
  const Target where = resolve_target(target);
  for (const std::string& input : inputs) {
    if (input.empty()) continue;
    if ((input == target && input != "-") || are_same(resolve_input(input), where))
      errexit("%s is an input; refusing to overwrite it", shown_target(target).c_str());
  }
}

bool is_standard_output(const std::string& target) {
  return resolve_target(target).descriptor == STDOUT_FILENO;
}

std::string shown_target(const std::string& target) {
  return is_standard_output(target) ? "standard output" : "'" + target + "'";
}

}  // namespace quillon::formats
