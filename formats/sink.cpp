#include "formats/sink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "util/util.h"

namespace quillon::tool {
namespace {

// What an end of the program has to remove. Child processes, which end too, leave it alone.
std::vector<std::string>& unpublished() {
  static std::vector<std::string> files;
  return files;
}

pid_t owner = 0;

// The target that others are writing: their messages name the file that stands for it, if any.
const std::string* being_written = nullptr;

// Sets it until an exception or the last line; an end of the program in between finds it set.
struct Writing {
  explicit Writing(const std::string& target) { being_written = &target; }
  ~Writing() { being_written = nullptr; }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;
};

void clean_up() {
  if (getpid() != owner) return;
  for (const std::string& file : unpublished()) std::remove(file.c_str());
  if (being_written != nullptr)
    std::fprintf(stderr, "quillon: error: %s is not written, because of the error above\n",
                 shown_target(*being_written).c_str());
}

void clean_up_at_exit() {
  unpublished();  // made before, it is there until after
  if (owner == 0 && std::atexit(clean_up) == 0) owner = getpid();
}

[[noreturn]] void cannot_write(const std::string& target, int reason) {
  errexit("cannot write %s: %s", shown_target(target).c_str(), std::strerror(reason));
}

// The path with so much of its last name that some may be added.
std::string cut_short(const std::string& place) {
  constexpr std::size_t kName = 200;  // of the 255 bytes that names may have
  const std::size_t name = place.find_last_of('/') + 1;
  return place.substr(0, name + kName);
}

// Has `make` make a file beside `place`, under the first name that is free: a program that was killed may
// have left files. The name is noted before the file is there, when there may still be no memory for it.
template <typename Make>
std::string make_beside(const std::string& target, const std::string& place, Make make) {
  std::vector<std::string>& files = unpublished();
  clean_up_at_exit();
  const std::string prefix = cut_short(place) + ".quillon-" + std::to_string(getpid()) + "-";
  for (int n = 0;; ++n) {
    files.push_back(prefix + std::to_string(n));
    if (make(files.back().c_str())) return files.back();
    const int reason = errno;
    files.pop_back();
    if (reason != EEXIST) cannot_write(target, reason);
  }
}

// Where the file lies or is to lie, so that a link is not replaced by a file, not even one that leads
// nowhere yet.
std::string behind_links(const std::string& target) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  std::error_code ignored;
  std::filesystem::path place = target;
  for (int n = 0; n < kMostLinks && std::filesystem::is_symlink(place, ignored); ++n)
    place = place.parent_path() / std::filesystem::read_symlink(place, ignored);
  if (std::filesystem::is_symlink(place, ignored)) cannot_write(target, ELOOP);
  return place.string();
}

bool same_place(const std::string& a, const std::string& b) {
  std::error_code ignored;
  return std::filesystem::weakly_canonical(std::filesystem::absolute(a), ignored) ==
         std::filesystem::weakly_canonical(std::filesystem::absolute(b), ignored);
}

// A file without a name, for what has no place of its own to be written beside.
StagedFile stage_to_be_passed_on(const std::string& target) {
  std::error_code ignored;
  if (std::filesystem::is_directory(target, ignored)) cannot_write(target, EISDIR);
  // A file opened now would get the number of a closed standard output, and then its own bytes.
  if (is_standard_output(target) && fcntl(STDOUT_FILENO, F_GETFD) < 0) cannot_write(target, errno);
  std::FILE* const file = std::tmpfile();
  if (file == nullptr) errexit("cannot make a temporary file: %s", std::strerror(errno));
  return {"/proc/self/fd/" + std::to_string(fileno(file)), target, target, file, -1};
}

// The permissions that fopen asks for.
constexpr mode_t kAsFopen = 0666;

// A file that has no name yet, so that whatever ends the program leaves nothing of it behind; or -1 where
// there are no such files.
int open_unnamed(const std::string& place) {
  const std::filesystem::path folder = std::filesystem::path(place).parent_path();
  return open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kAsFopen);
}

// The file is made here and only filled by others, so that what cannot be made is said of the target.
StagedFile stage_beside(const std::string& target) {
  const std::string place = behind_links(target);
  if (const int descriptor = open_unnamed(place); descriptor >= 0)
    return {"/proc/self/fd/" + std::to_string(descriptor), target, place, nullptr, descriptor};

  const std::string beside = make_beside(target, place, [](const char* name) {
    const int descriptor = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kAsFopen);
    if (descriptor >= 0) close(descriptor);
    return descriptor >= 0;
  });
  return {beside, target, place, nullptr, -1};
}

void write_all(int descriptor, const char* bytes, std::size_t size, const std::string& target) {
  while (size > 0) {
    const ssize_t written = write(descriptor, bytes, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) cannot_write(target, errno);
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

void pass_on(const StagedFile& file) {
  const int descriptor =
      is_standard_output(file.target) ? dup(STDOUT_FILENO) : open(file.target.c_str(), O_WRONLY | O_CLOEXEC);
  if (descriptor < 0) cannot_write(file.target, errno);
  std::vector<char> block(std::size_t{1} << 18);
  std::rewind(file.passed);
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), file.passed))
    write_all(descriptor, block.data(), size, file.target);
  std::fclose(file.passed);
  if (close(descriptor) != 0) cannot_write(file.target, errno);
}

// Some disks only say when they are asked to keep what was written that they cannot.
void reach_disk(const StagedFile& file) {
  const int descriptor = open(file.written.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0 || fsync(descriptor) != 0) cannot_write(file.target, errno);
  close(descriptor);
}

void put_in_place(const StagedFile& file) {
  std::error_code ignored;
  const std::filesystem::file_status replaced = std::filesystem::status(file.place, ignored);
  if (std::filesystem::exists(replaced))
    std::filesystem::permissions(file.written, replaced.permissions(), ignored);

  const auto give_name = [&file](const char* name) {
    return linkat(AT_FDCWD, file.written.c_str(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
  };
  const std::string beside =
      file.unnamed < 0 ? file.written : make_beside(file.target, file.place, give_name);
  if (std::rename(beside.c_str(), file.place.c_str()) != 0) cannot_write(file.target, errno);
  std::erase(unpublished(), beside);
  if (file.unnamed >= 0) close(file.unnamed);
}

// Who interrupts the program gets all files or none.
void put_all_in_place(const Outputs& outputs) {
  sigset_t interruptions;
  sigset_t before;
  sigemptyset(&interruptions);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM}) sigaddset(&interruptions, signal);
  sigprocmask(SIG_BLOCK, &interruptions, &before);
  for (const StagedFile& file : outputs.staged)
    if (file.passed == nullptr) put_in_place(file);
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

bool is_standard_output(const std::string& target) { return target == "-" || target == "/dev/stdout"; }

std::string shown_target(const std::string& target) {
  return is_standard_output(target) ? "standard output" : "'" + target + "'";
}

void stage(Outputs& outputs, const std::string& target, const std::function<void(const char*)>& write) {
  std::error_code ignored;
  const bool is_new = !std::filesystem::exists(target, ignored);
  const bool is_file = is_new || std::filesystem::is_regular_file(target, ignored);
  StagedFile file =
      is_standard_output(target) || !is_file ? stage_to_be_passed_on(target) : stage_beside(target);
  for (const StagedFile& other : outputs.staged)
    if (same_place(file.place, other.place))
      errexit("%s is to be written twice", shown_target(target).c_str());
  outputs.staged.push_back(file);
  clean_up_at_exit();
  const Writing writing(target);
  write(file.written.c_str());
}

void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target) {
  if (target.empty() || is_standard_output(target)) return;
  for (const std::string& input : inputs)
    if (input == target || (!input.empty() && input != "-" && same_place(input, target)))
      errexit("%s is read, and would be replaced", shown_target(target).c_str());
}

void publish(const Outputs& outputs) {
  std::fflush(stdout);
  for (const StagedFile& file : outputs.staged)
    if (file.passed == nullptr) reach_disk(file);
  for (const StagedFile& file : outputs.staged)
    if (file.passed != nullptr) pass_on(file);
  put_all_in_place(outputs);
}

}  // namespace quillon::tool
