#include "tools/output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
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

// Where the file lies or is to lie, so that a link is not replaced by a file, not even one that leads
// nowhere yet.
std::string behind_links(const std::string& target) {
  constexpr int kMostLinks = 40;  // as many as the system follows
  std::error_code ignored;
  std::filesystem::path place = target;
  for (int n = 0; n < kMostLinks && std::filesystem::is_symlink(place, ignored); ++n)
    place = place.parent_path() / std::filesystem::read_symlink(place, ignored);
  return place.string();
}

bool same_place(const std::string& a, const std::string& b) {
  return std::filesystem::absolute(a).lexically_normal() == std::filesystem::absolute(b).lexically_normal();
}

}  // namespace

void stage(Outputs& outputs, const std::string& target, const std::function<void(const char*)>& write) {
  std::error_code ignored;
  if (std::filesystem::exists(target, ignored) && !std::filesystem::is_regular_file(target, ignored)) {
    write(target.c_str());
    return;
  }
  const std::string place = behind_links(target);
  for (const auto& [other_beside, other_place] : outputs.staged)
    if (same_place(place, other_place)) errexit("'%s' is to be written twice", target.c_str());
  const std::string beside =
      place + ".quillon-" + std::to_string(getpid()) + "-" + std::to_string(outputs.staged.size());
  remember(beside);
  outputs.staged.emplace_back(beside, place);
  write(beside.c_str());
}

void publish(Outputs& outputs) {
  for (const auto& [beside, place] : outputs.staged) {
    std::error_code ignored;
    const std::filesystem::file_status replaced = std::filesystem::status(place, ignored);
    if (std::filesystem::exists(replaced))
      std::filesystem::permissions(beside, replaced.permissions(), ignored);
    if (std::rename(beside.c_str(), place.c_str()) != 0)
      errexit("cannot rename '%s' to '%s': %s", beside.c_str(), place.c_str(), std::strerror(errno));
    unpublished().erase(std::find(unpublished().begin(), unpublished().end(), beside));
  }
  outputs.staged.clear();
}

}  // namespace quillon::tool
