#include "tools/output.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

void remove_unpublished() {
  if (getpid() != owner) return;
  for (const std::string& file : unpublished()) std::remove(file.c_str());
}

void remember(const std::string& file) {
  unpublished().push_back(file);
  if (owner == 0 && std::atexit(remove_unpublished) == 0) owner = getpid();
}

[[noreturn]] void cannot_write(const std::string& target, int reason) {
  errexit("cannot write %s: %s", shown_target(target).c_str(), std::strerror(reason));
}

bool is_standard_output(const std::string& target) { return target == "-" || target == "/dev/stdout"; }

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
  return {"/proc/self/fd/" + std::to_string(fileno(file)), target, target, file};
}

// The file is made here and only filled by others, whose messages would name it instead of its target.
StagedFile stage_beside(const std::string& target, std::size_t number) {
  const std::string place = behind_links(target);
  const std::string beside = place + ".quillon-" + std::to_string(getpid()) + "-" + std::to_string(number);
  constexpr mode_t kAsFopen = 0666;
  const int descriptor = open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kAsFopen);
  if (descriptor < 0) cannot_write(target, errno);
  close(descriptor);
  remember(beside);
  return {beside, target, place, nullptr};
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
  if (std::rename(file.written.c_str(), file.place.c_str()) != 0) cannot_write(file.target, errno);
  std::erase(unpublished(), file.written);
}

}  // namespace

std::string shown_target(const std::string& target) {
  return is_standard_output(target) ? "standard output" : "'" + target + "'";
}

void stage(Outputs& outputs, const std::string& target, const std::function<void(const char*)>& write) {
  std::error_code ignored;
  const bool is_new = !std::filesystem::exists(target, ignored);
  const bool is_file = is_new || std::filesystem::is_regular_file(target, ignored);
  StagedFile file = is_standard_output(target) || !is_file ? stage_to_be_passed_on(target)
                                                           : stage_beside(target, outputs.staged.size());
  for (const StagedFile& other : outputs.staged)
    if (same_place(file.place, other.place))
      errexit("%s is to be written twice", shown_target(target).c_str());
  outputs.staged.push_back(file);
  write(file.written.c_str());
}

void publish(Outputs& outputs) {
  std::fflush(stdout);
  for (const StagedFile& file : outputs.staged)
    if (file.passed == nullptr) reach_disk(file);
  for (const StagedFile& file : outputs.staged)
    if (file.passed != nullptr) pass_on(file);
  for (const StagedFile& file : outputs.staged)
    if (file.passed == nullptr) put_in_place(file);
}

}  // namespace quillon::tool
