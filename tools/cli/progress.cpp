#include "tools/cli/progress.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "tools/cli/console.h"
#include "tools/report/text.h"

namespace quillon::tool {
namespace {

constexpr const char* kEraseLine = "\r\x1b[K";
constexpr std::chrono::milliseconds kBetweenLooks{100};

// The one that is at work, for the end of the program.
Progress* at_work = nullptr;

void write_to_terminal(const char* text, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(STDERR_FILENO, text, size);
    if (written <= 0) return;
    text += written;
    size -= static_cast<std::size_t>(written);
  }
}

int columns_of_terminal() {
  constexpr int kUsual = 80;
  winsize window{};
  return ioctl(STDERR_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0 ? window.ws_col : kUsual;
}

double megabytes(std::uint64_t bytes) { return static_cast<double>(bytes) * 1e-6; }

std::string minutes(double seconds) {
  constexpr double kLongest = 359999;  // what is longer has no meaning
  const long whole = std::lround(std::min(seconds, kLongest));
  return formatted("%ld:%02ld", whole / 60, whole % 60);
}

std::string bar(double share) {
  constexpr std::size_t kLength = 20;
  std::string text(kLength, '.');
  std::fill_n(text.begin(), static_cast<std::ptrdiff_t>(share * kLength), '#');
  return text;
}

// What follows the name, the most important first.
std::array<std::string, 3> figures(std::uint64_t done, std::uint64_t total, double seconds) {
  if (total == 0)
    return {formatted("  %.1f MB", megabytes(done)), formatted("  %s", minutes(seconds).c_str()), ""};
  const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  std::string left;
  if (share > 0) left = formatted("  %s left", minutes(seconds * (1 - share) / share).c_str());
  return {formatted("  %3.0f%%", std::floor(100 * share)), formatted("  [%s]", bar(share).c_str()),
          formatted("  %.1f of %.1f MB%s", megabytes(done), megabytes(total), left.c_str())};
}

// A terminal of some width cuts nothing: a line that is too long would go on below and could not be erased.
std::string shortened(const std::string& text, std::size_t length) {
  if (text.size() <= length) return text;
  constexpr std::size_t kDots = 3;
  if (length <= kDots) return "";
  return text.substr(0, length - kDots) + "...";
}

}  // namespace

std::string progress_line(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds,
                          int columns) {
  constexpr std::size_t kShortestName = 20;
  const std::size_t room = columns > 1 ? static_cast<std::size_t>(columns) - 1 : 0;
  const std::size_t name = std::min(what.size(), kShortestName);
  std::string behind;
  for (const std::string& figure : figures(done, total, seconds))
    if (name + behind.size() + figure.size() <= room) behind += figure;
  return shortened(what, room - std::min(room, behind.size())) + behind;
}

Progress::Progress(std::string what, std::uint64_t total, std::function<std::uint64_t()> done,
                   std::chrono::milliseconds show_after)
    : what_(std::move(what)), total_(total), done_(std::move(done)), show_after_(show_after) {
  std::FILE* const above_the_line = fopencookie(this, "w", {nullptr, write_message, nullptr, nullptr});
  if (above_the_line == nullptr) return;
  std::setvbuf(above_the_line, nullptr, _IONBF, 0);
  standard_error_ = std::exchange(stderr, above_the_line);
  static const int registered = std::atexit(stop_at_exit);
  if (registered == 0) at_work = this;
  try {
    thread_ = std::thread([this] { watch(); });
  } catch (const std::system_error&) {
    stop();  // no thread, no line
  }
}

Progress::~Progress() { stop(); }

void Progress::stop_at_exit() {
  if (at_work != nullptr) at_work->stop();
}

void Progress::stop() {
  if (standard_error_ == nullptr) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
  erase();
  std::fclose(std::exchange(stderr, standard_error_));
  standard_error_ = nullptr;
  at_work = nullptr;
}

ssize_t Progress::write_message(void* cookie, const char* text, std::size_t size) {
  Progress& progress = *static_cast<Progress*>(cookie);
  const std::lock_guard<std::mutex> lock(progress.mutex_);
  progress.erase();
  write_to_terminal(text, size);
  progress.is_at_line_start_ = size == 0 ? progress.is_at_line_start_ : text[size - 1] == '\n';
  return static_cast<ssize_t>(size);
}

void Progress::watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (wake_.wait_for(lock, show_after_, [this] { return is_stopping_; })) return;
  do draw();
  while (!wake_.wait_for(lock, kBetweenLooks, [this] { return is_stopping_; }));
}

// A message may come in pieces: nothing is drawn over the first of them.
void Progress::draw() {
  if (!is_at_line_start_) return;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin_;
  const std::string line =
      kEraseLine + progress_line(what_, done_(), total_, seconds.count(), columns_of_terminal());
  write_to_terminal(line.data(), line.size());
  is_drawn_ = true;
}

void Progress::erase() {
  if (is_drawn_) write_to_terminal(kEraseLine, std::char_traits<char>::length(kEraseLine));
  is_drawn_ = false;
}

std::unique_ptr<Progress> watch_count(const std::string& what, std::uint64_t total,
                                      std::function<std::uint64_t()> done) {
  if (quiet() || !can_draw_on(STDERR_FILENO)) return nullptr;
  return std::make_unique<Progress>(what, total, std::move(done));
}

std::unique_ptr<Progress> watch_file(const std::string& name, int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
  // A copy shares the offset, and stays valid however the file is closed.
  const std::shared_ptr<int> copy(new int(dup(descriptor)), [](const int* number) {
    close(*number);
    delete number;
  });
  return watch_count("reading " + name, static_cast<std::uint64_t>(status.st_size), [copy] {
    const off_t offset = lseek(*copy, 0, SEEK_CUR);
    return static_cast<std::uint64_t>(std::max<off_t>(offset, 0));
  });
}

}  // namespace quillon::tool
