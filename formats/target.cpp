#include "formats/target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <climits>
#include <filesystem>
#include <optional>
#include <string_view>

#include "formats/descriptor.h"

namespace quillon::formats {
namespace {

namespace fs = std::filesystem;

// A path without links and dots; as it stands where the system cannot follow it.
fs::path resolved(const fs::path& name) {
  std::error_code error;
  fs::path path = fs::absolute(name, error);
  if (!error) path = fs::weakly_canonical(path, error);
  return error ? name : path;
}

int descriptor_in(std::string_view text) {
  int number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

// The names of this process's descriptors, also where /proc is missing; -1 for other paths.
int descriptor_of(const fs::path& path) {
  const std::string name = path.filename().string();
  const fs::path parent = path.parent_path();
  const fs::path folder = resolved(parent.empty() ? "." : parent);
  if (folder == "/dev") {
    constexpr std::string_view kNames[] = {"stdin", "stdout", "stderr"};
    for (int number = 0; number < 3; ++number)
      if (name == kNames[number]) return number;
  }
  const std::string process = "/proc/" + std::to_string(getpid());
  const std::string thread = process + "/task/" + std::to_string(gettid());
  for (const std::string& known :
       {std::string("/dev"), std::string("/proc/self"), std::string("/proc/thread-self"), process, thread})
    if (folder == known + "/fd") return descriptor_in(name);
  return -1;
}

bool may_follow(const struct stat& link, const fs::path& folder) {
  struct stat status {};
  if (stat(folder.empty() ? "." : folder.c_str(), &status) != 0) return true;  // opening the file will fail
  constexpr mode_t kShared = S_ISVTX | S_IWOTH;
  return (status.st_mode & kShared) != kShared || link.st_uid == geteuid() || link.st_uid == status.st_uid;
}

// The text of a link; none for other files. The link that is tested is the one that is read.
std::optional<std::string> text_of_link(const fs::path& place, int& error) {
  const Descriptor link(open(place.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status {};
  if (!link.is_open() || fstat(link.number(), &status) != 0 || !S_ISLNK(status.st_mode)) return {};
  if (!may_follow(status, place.parent_path())) error = EACCES;
  char text[PATH_MAX];
  const ssize_t length = readlinkat(link.number(), "", text, sizeof text);
  if (length < 0) return {};
  return std::string(text, static_cast<std::size_t>(length));
}

bool identify(const Target& target, struct stat& status) {
  return (target.descriptor >= 0 ? fstat(target.descriptor, &status) : stat(target.place.c_str(), &status)) ==
         0;
}

bool is_null(const struct stat& status) { return S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3); }

}  // namespace

Target resolve_target(const std::string& name) {
  if (name == "-") return {STDOUT_FILENO, "", 0};
  Target target{-1, name, 0};
  fs::path place = name;
  constexpr int kMostLinks = 40;  // as many as the system follows
  for (int n = 0;; ++n) {
    if (const int descriptor = descriptor_of(place); descriptor >= 0) return {descriptor, "", target.error};
    const std::optional<std::string> text = text_of_link(place, target.error);
    if (!text) break;
    if (n == kMostLinks) target.error = ELOOP;
    if (target.error != 0) return target;
    place = place.parent_path() / *text;
  }
  // The links in /proc to descriptors of other processes lead to pipes and devices, which have no other name.
  struct stat status {};
  if (stat(name.c_str(), &status) != 0 || S_ISREG(status.st_mode)) target.place = place.string();
  return target;
}

Target resolve_input(const std::string& name) {
  return name == "-" ? Target{STDIN_FILENO, "", 0} : resolve_target(name);
}

bool are_same(const Target& a, const Target& b) {
  if (a.descriptor >= 0 && a.descriptor == b.descriptor) return true;
  const bool are_files = a.descriptor < 0 && b.descriptor < 0;
  struct stat first {};
  struct stat second {};
  if (!identify(a, first) || !identify(b, second)) return are_files && resolved(a.place) == resolved(b.place);
  if (first.st_dev != second.st_dev || first.st_ino != second.st_ino || is_null(first)) return false;
  return are_files || S_ISREG(first.st_mode);  // two streams can share a terminal or a pipe
}

bool is_null_device(const Target& target) {
  struct stat status {};
  return target.descriptor < 0 && identify(target, status) && is_null(status);
}

}  // namespace quillon::formats
