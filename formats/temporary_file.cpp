#include "formats/temporary_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "formats/sink.h"

namespace quillon::formats {
namespace {

// Names of temporary files, for a signal handler. A file without a free slot is still removed by its owner.
constexpr std::size_t kSlots = 16;
constinit std::array<std::atomic<const char*>, kSlots> temporary_files{};

[[noreturn]] void throw_error(int reason) { throw std::system_error(reason, std::generic_category()); }

// Shortens the last name of a path so that a suffix fits.
std::string shortened(const std::string& place) {
  constexpr std::size_t kName = 200;  // of the 255 bytes of a name
  const std::size_t name = place.find_last_of('/') + 1;
  return place.substr(0, name + kName);
}

std::string folder_of(const std::string& place) {
  const std::string folder = std::filesystem::path(place).parent_path().string();
  return folder.empty() ? "." : folder;
}

}  // namespace

TemporaryName::TemporaryName(std::string name) : name_(std::move(name)) {
  for (std::atomic<const char*>& slot : temporary_files) {
    const char* expected = nullptr;
    if (!slot.compare_exchange_strong(expected, name_.c_str())) continue;
    slot_ = &slot;
    return;
  }
}

TemporaryName::~TemporaryName() {
  if (is_made_) unlink(name_.c_str());
  release();
}

void TemporaryName::release() {
  is_made_ = false;
  if (slot_ != nullptr) slot_->store(nullptr);
  slot_ = nullptr;
}

void remove_temporary_files() {
  for (const std::atomic<const char*>& slot : temporary_files)
    if (const char* const name = slot.load(); name != nullptr) unlink(name);
}

std::unique_ptr<TemporaryName> make_beside(const std::string& place,
                                           const std::function<bool(const char*)>& make) {
  const std::string prefix = shortened(place) + ".quillon-" + std::to_string(getpid()) + "-";
  for (int n = 0;; ++n) {
    auto name = std::make_unique<TemporaryName>(prefix + std::to_string(n));
    if (make(name->name().c_str())) {
      name->made();
      return name;
    }
    if (errno != EEXIST) throw_error(errno);
  }
}

std::string temporary_folder() {
  const char* const folder = std::getenv("TMPDIR");
  return folder == nullptr || *folder == '\0' ? P_tmpdir : folder;
}

std::string name_of_descriptor(int descriptor) {
  const std::string name = "/proc/self/fd/" + std::to_string(descriptor);
  return access(name.c_str(), F_OK) == 0 ? name : "";
}

TemporaryFile::TemporaryFile(const std::string& place, unsigned mode) {
  file_.reset(open(folder_of(place).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
  if (file_.is_open()) name_ = name_of_descriptor(file_.number());
  if (!name_.empty()) return;
  temporary_ = make_beside(place, [&](const char* name) {
    file_.reset(open(name, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    return file_.is_open();
  });
  name_ = temporary_->name();
}

void TemporaryFile::resemble(const std::string& replaced) const {
  struct stat old {};
  if (stat(replaced.c_str(), &old) != 0) return;
  mode_t mode = old.st_mode & 0777U;
  const uid_t same_owner = static_cast<uid_t>(-1);
  if (fchown(file_.number(), old.st_uid, old.st_gid) != 0 &&
      fchown(file_.number(), same_owner, old.st_gid) != 0)
    mode &= 0707U | (mode & 7U) << 3U;  // what the old group could do does not go to another one
  fchmod(file_.number(), mode);
}

void TemporaryFile::link_beside(const std::string& place) {
  if (temporary_ != nullptr) return;
  temporary_ = make_beside(place, [this](const char* name) {
    return linkat(AT_FDCWD, name_.c_str(), AT_FDCWD, name, AT_SYMLINK_FOLLOW) == 0;
  });
}

int TemporaryFile::move_to(const std::string& place) {
  const char* const from = temporary_->name().c_str();
  moved_to_ = place;
  if (renameat2(AT_FDCWD, from, AT_FDCWD, place.c_str(), RENAME_EXCHANGE) == 0) {
    moved_ = Moved::kExchanged;
    struct stat old {};
    if (lstat(from, &old) != 0 || !S_ISDIR(old.st_mode)) return 0;
    put_back();
    return EISDIR;
  }
  const bool is_new = errno == ENOENT;
  // Not every file system can exchange two files.
  if (!is_new && errno != EINVAL && errno != ENOSYS) return errno;
  if (std::rename(from, place.c_str()) != 0) return errno;
  moved_ = is_new ? Moved::kCreated : Moved::kReplaced;
  return 0;
}

void TemporaryFile::put_back() {
  const char* const from = temporary_->name().c_str();
  if (moved_ == Moved::kExchanged) renameat2(AT_FDCWD, from, AT_FDCWD, moved_to_.c_str(), RENAME_EXCHANGE);
  if (moved_ == Moved::kCreated) unlink(moved_to_.c_str());
  moved_ = Moved::kNot;
}

void TemporaryFile::keep() {
  if (moved_ != Moved::kExchanged) temporary_->release();
  temporary_.reset();  // removes the old file after an exchange
}

}  // namespace quillon::formats
