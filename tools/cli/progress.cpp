#include "tools/cli/progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <exception>
#include <utility>

#include "tools/cli/console.h"

namespace quillon::tool {
namespace {

constexpr const char* kEraseLine = "\r\x1b[K";
constexpr std::chrono::milliseconds kBetweenLooks{100};

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
  constexpr double kLongest = 359999;
  const long whole = std::lround(std::min(seconds, kLongest));
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

std::string bar(double share) {
  constexpr std::size_t kLength = 20;
  std::string text(kLength, '.');
  std::fill_n(text.begin(), static_cast<std::ptrdiff_t>(share * kLength), '#');
  return text;
}

// What follows the name, the most important first.
std::array<std::string, 3> figures(std::uint64_t done, std::uint64_t total, double seconds,
                                   ProgressUnit unit) {
  if (total == 0)
    return {fmt::format("  {:.1f} MB", megabytes(done)), fmt::format("  {}", minutes(seconds)), ""};
  const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  std::string left;
  if (share > 0) left = fmt::format("  {} left", minutes(seconds * (1 - share) / share));
  const bool are_bytes = unit == ProgressUnit::kBytes;
  return {fmt::format("  {:3.0f}%", std::floor(100 * share)), fmt::format("  [{}]", bar(share)),
          are_bytes ? fmt::format("  {:.1f} of {:.1f} MB{}", megabytes(done), megabytes(total), left) : left};
}

// A line wider than the terminal would wrap, and could not be erased.
std::string shortened(const std::string& text, std::size_t length) {
  if (text.size() <= length) return text;
  constexpr std::size_t kDots = 3;
  if (length <= kDots) return "";
  return text.substr(0, length - kDots) + "...";
}

}  // namespace

std::string progress_line(const std::string& what, std::uint64_t done, std::uint64_t total, double seconds,
                          int columns, ProgressUnit unit) {
  constexpr std::size_t kShortestName = 20;
  const std::size_t room = columns > 1 ? static_cast<std::size_t>(columns) - 1 : 0;
  const std::size_t name = std::min(what.size(), kShortestName);
  std::string shown;
  for (const std::string& figure : figures(done, total, seconds, unit))
    if (name + shown.size() + figure.size() <= room) shown += figure;
  return shortened(what, room - std::min(room, shown.size())) + shown;
}

Progress::Progress(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done,
                   std::chrono::milliseconds show_after, ProgressUnit unit)
    : what_(printable(STDERR_FILENO, what)),
      total_(total),
      done_(std::move(done)),
      show_after_(show_after),
      unit_(unit) {
  at_work = this;
  try {
    thread_ = std::thread([this] { watch(); });
  } catch (const std::exception&) {
    // Without a thread there is no line.
  }
}

Progress::~Progress() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
  erase();
  at_work = nullptr;
}

void Progress::watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  if (wake_.wait_for(lock, show_after_, [this] { return is_stopping_; })) return;
  try {
    do draw();
    while (!wake_.wait_for(lock, kBetweenLooks, [this] { return is_stopping_; }));
  } catch (const std::exception&) {
    // Without memory there is no line.
  }
}

void Progress::draw() {
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin_;
  const std::string line =
      kEraseLine + progress_line(what_, done_(), total_, seconds.count(), columns_of_terminal(), unit_);
  write_to_terminal(line.data(), line.size());
  is_drawn_ = true;
}

void Progress::erase() {
  if (is_drawn_) write_to_terminal(kEraseLine, std::char_traits<char>::length(kEraseLine));
  is_drawn_ = false;
}

ProgressPause::ProgressPause() {
  if (at_work == nullptr) return;
  lock_ = std::unique_lock<std::mutex>(at_work->mutex_);
  at_work->erase();
}

ProgressPause::~ProgressPause() = default;

void ProgressWatcher::begin(const std::string& what, std::uint64_t total,
                            std::function<std::uint64_t()> done) {
  if (quiet() || !can_draw_on(STDERR_FILENO)) return;
  progress_.reset();
  progress_ = std::make_unique<Progress>(what, total, std::move(done));
}

void ProgressWatcher::end() { progress_.reset(); }

}  // namespace quillon::tool
