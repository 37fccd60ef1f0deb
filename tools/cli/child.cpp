#include "tools/cli/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string_view>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr int kSignalled = 128;

// The child, for handlers of signals; 0 if there is none.
std::atomic<pid_t> running_child{0};
// /proc/CHILD/task/CHILD/children, which lists the processes that it has started and not waited for.
char children_file[64];

// In the new process, where only calls that are safe in a signal handler may be made. Returns if it fails.
void become(char* const* arguments, int output, pid_t parent) {
  // The signal comes when the parent ends. It may have ended already.
  if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) return;
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_DFL);
  const int input = open("/dev/null", O_RDONLY);
  if (input < 0 || dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0) return;
  execv(arguments[0], arguments);
}

// Calls `visit` with each process in `children_file`. Safe in a signal handler.
template <typename Visit>
void for_each_grandchild(Visit visit) {
  const int file = open(children_file, O_RDONLY | O_CLOEXEC);
  if (file < 0) return;
  char bytes[4096];
  pid_t child = 0;  // each number is followed by a blank
  for (ssize_t size = 0; (size = ::read(file, bytes, sizeof bytes)) > 0;) {
    for (const char c : std::string_view(bytes, static_cast<std::size_t>(size))) {
      if (c != ' ') {
        child = child * 10 + (c - '0');
        continue;
      }
      visit(child);
      child = 0;
    }
  }
  close(file);
}

// Whether a process has ended and nobody has waited for it.
bool is_zombie(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  const std::size_t name_end = line.rfind(") ");
  return name_end != std::string::npos && line.compare(name_end + 2, 1, "Z") == 0;
}

// Safe in a signal handler, as are the two functions after this one.
void kill_with_children(pid_t process) {
  for_each_grandchild([](pid_t grandchild) { kill(grandchild, SIGKILL); });
  kill(process, SIGKILL);
}

bool still_runs(pid_t process) {
  int status = 0;
  return waitpid(process, &status, WNOHANG) == 0;
}

// Asks a child to end, and kills it if it still runs after five seconds.
void end_process(pid_t process) {
  if (!still_runs(process)) return;
  kill(process, SIGTERM);
  constexpr int kMostTries = 500;
  constexpr timespec kTry{0, 10'000'000};
  for (int k = 0; k < kMostTries; ++k) {
    nanosleep(&kTry, nullptr);
    if (!still_runs(process)) return;
  }
  kill_with_children(process);
  int status = 0;
  pid_t ended = 0;
  do ended = waitpid(process, &status, 0);
  while (ended < 0 && errno == EINTR);
}

}  // namespace

Child::Child(const std::vector<std::string>& command, std::size_t nlaunched) : nlaunched_(nlaunched) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  int output[2];   // read, write
  int failure[2];  // receives errno if the program cannot be started; closed when it starts
  if (pipe2(output, O_CLOEXEC) != 0 || pipe2(failure, O_CLOEXEC) != 0)
    errexit("cannot start '%s': %s", arguments[0], std::strerror(errno));
  std::fflush(stdout);
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    become(arguments.data(), output[1], parent);
    const int reason = errno;
    [[maybe_unused]] const ssize_t written = write(failure[1], &reason, sizeof reason);
    _exit(kSignalled - 1);
  }
  int reason = process_ < 0 ? errno : 0;
  if (process_ > 0) {
    std::snprintf(children_file, sizeof children_file, "/proc/%d/task/%d/children", process_, process_);
    running_child = process_;
  }
  close(output[1]);
  close(failure[1]);
  output_ = output[0];
  if (process_ > 0 && ::read(failure[0], &reason, sizeof reason) > 0) wait();
  close(failure[0]);
  if (reason == 0) return;
  close(output_);
  errexit("cannot start '%s': %s", arguments[0], std::strerror(reason));
}

Child::~Child() {
  close(output_);
  if (process_ > 0) end_process(process_);
  running_child = 0;
}

// Called every second without output.
void Child::watch_launcher() {
  constexpr int kLongest = 10;
  std::size_t nalive = 0;
  for_each_grandchild([&nalive](pid_t process) { nalive += is_zombie(process) ? 0 : 1; });
  const bool has_all = nalive >= nlaunched_;
  has_launched_ = has_launched_ || has_all;
  nseconds_short_ = has_launched_ && !has_all ? nseconds_short_ + 1 : 0;
  if (nseconds_short_ == kLongest) kill_with_children(process_);
}

std::size_t Child::read(char* bytes, std::size_t size) {
  constexpr int kSecond = 1000;
  pollfd output{output_, POLLIN, 0};
  while (nlaunched_ > 0 && poll(&output, 1, kSecond) == 0) watch_launcher();
  ssize_t nread = 0;
  do nread = ::read(output_, bytes, size);
  while (nread < 0 && errno == EINTR);
  if (nread < 0) errexit("cannot read what a program prints: %s", std::strerror(errno));
  return static_cast<std::size_t>(nread);
}

int Child::wait() {
  int status = 0;
  pid_t ended = 0;
  do ended = waitpid(process_, &status, 0);
  while (ended < 0 && errno == EINTR);
  process_ = -1;
  running_child = 0;
  return WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
}

void end_running_child() {
  if (const pid_t process = running_child; process > 0) end_process(process);
}

std::string end_of_child(int status) {
  if (status <= kSignalled || status >= kSignalled + NSIG)
    return "exited with status " + std::to_string(status);
  return std::string("was killed (") + strsignal(status - kSignalled) + ")";
}

}  // namespace quillon::tool
