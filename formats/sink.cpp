#include "formats/sink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <utility>

#include "util/util.h"

namespace quillon::formats {
namespace {

// Names of temporary files, for a signal handler. A file without a free slot is still removed by its owner.
constexpr std::size_t kSlots = 16;
constinit std::array<std::atomic<const char*>, kSlots> temporary_files{};

// The name of a temporary file, which is removed unless it is released.
class TemporaryName {
 public:
  // Registered before the file is made, so that a signal in between leaves nothing.
  explicit TemporaryName(std::string name) : name_(std::move(name)) {
    for (std::atomic<const char*>& slot : temporary_files) {
      const char* expected = nullptr;
      if (!slot.compare_exchange_strong(expected, name_.c_str())) continue;
      slot_ = &slot;
      return;
    }
  }
  ~TemporaryName() {
    if (is_made_) unlink(name_.c_str());
    release();
  }
  TemporaryName(const TemporaryName&) = delete;
  TemporaryName& operator=(const TemporaryName&) = delete;

  [[nodiscard]] const std::string& name() const { return name_; }
  void made() { is_made_ = true; }
  void release() {
    is_made_ = false;
    if (slot_ != nullptr) slot_->store(nullptr);
    slot_ = nullptr;
  }

 private:
  std::string name_;
  std::atomic<const char*>* slot_ = nullptr;
  bool is_made_ = false;
};

[[noreturn]] void cannot_write(const std::string& target, int reason) {
  errexit("cannot write %s: %s", shown_target(target).c_str(), std::strerror(reason));
}

// Shortens the last name of a path so that a suffix fits.
std::string shortened(const std::string& place) {
  constexpr std::size_t kName = 200;  // of the 255 bytes of a name
  const std::size_t name = place.find_last_of('/') + 1;
  return place.substr(0, name + kName);
}

// Calls `make` with names beside `place` until one is free: killed programs can have left files.
template <typename Make>
std::unique_ptr<TemporaryName> make_beside(const std::string& target, const std::string& place, Make make) {
  const std::string prefix = shortened(place) + ".quillon-" + std::to_string(getpid()) + "-";
  for (int n = 0;; ++n) {
    auto name = std::make_unique<TemporaryName>(prefix + std::to_string(n));
    if (make(name->name().c_str())) {
      name->made();
      return name;
    }
    if (errno != EEXIST) cannot_write(target, errno);
  }
}

// The file that a chain of links leads to, even if it does not exist yet, so that no link is replaced by a
// file.
std::string follow_links(const std::string& target) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  std::error_code ignored;
  std::filesystem::path place = target;
  for (int n = 0; n < kMostLinks && std::filesystem::is_symlink(place, ignored); ++n)
    place = place.parent_path() / std::filesystem::read_symlink(place, ignored);
  if (std::filesystem::is_symlink(place, ignored)) cannot_write(target, ELOOP);
  return place.string();
}

// A path without links and dots; as it stands where the system cannot follow it.
std::filesystem::path resolved(const std::string& name) {
  std::error_code error;
  std::filesystem::path path = std::filesystem::absolute(name, error);
  if (!error) path = std::filesystem::weakly_canonical(path, error);
  return error ? std::filesystem::path(name) : path;
}

bool same_place(const std::string& a, const std::string& b) { return resolved(a) == resolved(b); }

// The permissions that fopen asks for.
constexpr mode_t kFopenMode = 0666;

// A file without a name, of which nothing stays however the program ends; -1 where the system has none.
int open_unnamed(const std::string& place) {
  const std::filesystem::path folder = std::filesystem::path(place).parent_path();
  return open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kFopenMode);
}

// A descriptor that is closed on every way out.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  [[nodiscard]] bool is_open() const { return number_ >= 0; }
  [[nodiscard]] int number() const { return number_; }
  void reset(int number) {
    close();
    number_ = number;
  }
  // Returns whether what was written has arrived, as far as the system can tell.
  bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string name_of_descriptor(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

void write_all(int descriptor, const char* bytes, std::size_t size, const std::string& target) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) cannot_write(target, errno);
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

}  // namespace

NotWritten::NotWritten(const std::string& target)
    : runtime_error("cannot write " + shown_target(target)), target_(target) {}

NotWritten::~NotWritten() = default;

// One file. Exactly one of the three kinds of storage is used.
struct [[gnu::visibility("hidden")]] Outputs::Staged {
  std::string written;                           // the name to write to
  std::string target;                            // as the user named it
  std::string place;                             // of a regular file, with links followed
  std::unique_ptr<std::FILE, CloseFile> passed;  // for other files: holds the bytes until they are passed on
  Descriptor unnamed;                            // of a file that is named when it is published
  std::unique_ptr<TemporaryName> temporary;      // name beside the target

  explicit Staged(std::string its_target) : target(std::move(its_target)) {
    std::error_code ignored;
    const bool is_new = !std::filesystem::exists(target, ignored);
    const bool is_file = is_new || std::filesystem::is_regular_file(target, ignored);
    if (is_standard_output(target) || !is_file)
      stage_to_pass_on();
    else
      stage_beside();
  }
  void stage_to_pass_on();
  void stage_beside();
  void pass_on();
  void reach_disk() const;
  void move_to_place();
};

void Outputs::Staged::stage_to_pass_on() {
  std::error_code ignored;
  if (std::filesystem::is_directory(target, ignored)) cannot_write(target, EISDIR);
  // A file opened now would get the descriptor of a closed standard output, and then its own bytes.
  if (is_standard_output(target) && fcntl(STDOUT_FILENO, F_GETFD) < 0) cannot_write(target, errno);
  passed.reset(std::tmpfile());
  if (passed == nullptr) errexit("cannot make a temporary file: %s", std::strerror(errno));
  written = name_of_descriptor(fileno(passed.get()));
  place = target;
}

// The file is made here and only filled by the writer, so that errors of making it name the target.
void Outputs::Staged::stage_beside() {
  place = follow_links(target);
  unnamed.reset(open_unnamed(place));
  if (unnamed.is_open()) {
    written = name_of_descriptor(unnamed.number());
    return;
  }
  temporary = make_beside(target, place, [](const char* name) {
    const int descriptor = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kFopenMode);
    if (descriptor >= 0) close(descriptor);
    return descriptor >= 0;
  });
  written = temporary->name();
}

void Outputs::Staged::pass_on() {
  Descriptor to(is_standard_output(target) ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0)
                                           : open(target.c_str(), O_WRONLY | O_CLOEXEC));
  if (!to.is_open()) cannot_write(target, errno);
  std::vector<char> block(std::size_t{1} << 18);
  std::rewind(passed.get());
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), passed.get()))
    write_all(to.number(), block.data(), size, target);
  if (std::ferror(passed.get()) != 0 || !to.close()) cannot_write(target, errno);
}

// Some write errors surface only at fsync.
void Outputs::Staged::reach_disk() const {
  const Descriptor file(open(written.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.is_open() || fsync(file.number()) != 0) cannot_write(target, errno);
}

void Outputs::Staged::move_to_place() {
  std::error_code ignored;
  const std::filesystem::file_status replaced = std::filesystem::status(place, ignored);
  if (std::filesystem::exists(replaced))
    std::filesystem::permissions(written, replaced.permissions(), ignored);

  if (temporary == nullptr)
    temporary = make_beside(target, place, [this](const char* name) {
      return linkat(AT_FDCWD, written.c_str(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
    });
  if (std::rename(temporary->name().c_str(), place.c_str()) != 0) cannot_write(target, errno);
  temporary->release();
}

Outputs::Outputs() = default;

Outputs::~Outputs() = default;

void Outputs::write(const std::string& target, const std::function<void(const char*)>& write) {
  auto file = std::make_unique<Staged>(target);
  for (const std::unique_ptr<Staged>& other : files_)
    if (same_place(file->place, other->place))
      errexit("%s is named for two outputs", shown_target(target).c_str());
  files_.push_back(std::move(file));
  try {
    write(files_.back()->written.c_str());
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

}  // namespace

void Outputs::publish() {
  std::fflush(stdout);
  for (const std::unique_ptr<Staged>& file : files_)
    if (file->passed == nullptr) file->reach_disk();
  for (const std::unique_ptr<Staged>& file : files_)
    if (file->passed != nullptr) file->pass_on();

  const Uninterrupted guard;
  for (const std::unique_ptr<Staged>& file : files_)
    if (file->passed == nullptr) file->move_to_place();
}

void remove_temporary_files() {
  for (const std::atomic<const char*>& slot : temporary_files)
    if (const char* const name = slot.load(); name != nullptr) unlink(name);
}

void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target) {
  if (target.empty() || is_standard_output(target)) return;
  for (const std::string& input : inputs)
    if (input == target || (!input.empty() && input != "-" && same_place(input, target)))
      errexit("%s is an input; refusing to overwrite it", shown_target(target).c_str());
}

bool is_standard_output(const std::string& target) { return target == "-" || target == "/dev/stdout"; }

std::string shown_target(const std::string& target) {
  return is_standard_output(target) ? "standard output" : "'" + target + "'";
}

}  // namespace quillon::formats
