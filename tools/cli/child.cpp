#include "tools/cli/child.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <thread>

#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr int kSignalled = 128;

// In the new process, where only calls that are safe in a signal handler may be made. Returns if it fails.
void become(char* const* arguments, int output, pid_t parent) {
  // The signal comes when the parent ends. It may have ended already.
  if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) return;
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_DFL);
  const int input = open("/dev/null", O_RDONLY);
  if (input < 0 || dup2(input, STDIN_FILENO) < 0 || dup2(output, STDOUT_FILENO) < 0) return;
  execv(arguments[0], arguments);
}

// The processes that another one has started.
std::vector<pid_t> children_of(pid_t process) {
  const std::string number = std::to_string(process);
  std::ifstream file("/proc/" + number + "/task/" + number + "/children");
  std::vector<pid_t> children;
  for (pid_t child = 0; file >> child;) children.push_back(child);
  return children;
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
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  constexpr int kMostTries = 500;
  for (int k = 0; k < kMostTries && process_ > 0; ++k) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    wait_for(WNOHANG);
  }
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  wait();
}

// Called every second without output.
void Child::watch_launcher() {
  constexpr int kLongest = 10;
  const std::vector<pid_t> children = children_of(process_);
  const bool has_all = children.size() >= nlaunched_;
  has_launched_ = has_launched_ || has_all;
  nseconds_short_ = has_launched_ && !has_all ? nseconds_short_ + 1 : 0;
  if (nseconds_short_ != kLongest) return;
  for (const pid_t child : children) kill(child, SIGKILL);
  kill(process_, SIGKILL);
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

int Child::wait() { return wait_for(0); }

int Child::wait_for(int options) {
  int status = 0;
  pid_t ended = 0;
  do ended = waitpid(process_, &status, options);
  while (ended < 0 && errno == EINTR);
  if (ended != 0) process_ = -1;
  return WIFSIGNALED(status) ? kSignalled + WTERMSIG(status) : WEXITSTATUS(status);
}

std::string end_of_child(int status) {
  if (status <= kSignalled || status >= kSignalled + NSIG)
    return "exited with status " + std::to_string(status);
  return std::string("was killed (") + strsignal(status - kSignalled) + ")";
}

}  // namespace quillon::tool
