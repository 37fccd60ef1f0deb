#include "tools/cli/isolate.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "formats/sink.h"
#include "formats/source.h"
#include "tools/commands/commands.h"
#include "util/util.h"

namespace quillon::tool {
namespace {

constexpr int kSignalled = 128;

void drop(int descriptor) {
  const int nowhere = open("/dev/null", O_WRONLY);
  if (nowhere < 0 || dup2(nowhere, descriptor) < 0)
    errexit("cannot open /dev/null: %s", std::strerror(errno));
  close(nowhere);
}

void divert(Output output) {
  if (output == Output::kOnStandardError) dup2(STDERR_FILENO, STDOUT_FILENO);
  if (output == Output::kErrorsOnly || output == Output::kHidden) drop(STDOUT_FILENO);
  if (output == Output::kHidden) drop(STDERR_FILENO);
}

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) errexit("cannot wait for a child process: %s", std::strerror(errno));
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

}  // namespace

void flush_output() {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    errexit("cannot write standard output: %s",
            errno != 0 ? std::strerror(errno) : "an earlier write failed");
}

int run_isolated(Output output, const std::function<int()>& work) {
  flush_output();
  const pid_t child = fork();
  if (child < 0) errexit("cannot start a child process: %s", std::strerror(errno));
  if (child > 0) return wait_for(child);

  divert(output);
  const int status = work();
  flush_output();
  std::exit(status);
}

void print_beside(const std::string& target, const std::function<void()>& print) {
  if (!is_standard_output(target)) return print();
  run_isolated(Output::kOnStandardError, [&print] {
    print();
    return kFine;
  });
}

int for_each_file(const std::vector<std::string>& files, const std::function<int(const std::string&)>& work,
                  const std::function<void(const std::string&)>& failed) {
  int worst = kFine;
  for (const std::string& file : files) {
    const int status = run_isolated(Output::kShown, [&] { return work(file); });
    if (status == kFine) continue;
    if (status == kSignalled + SIGPIPE) return status;  // nobody reads on
    if (status > kSignalled)
      std::fprintf(stderr, "quillon: error: %s: ended by signal %d (%s)\n", shown_name(file).c_str(),
                   status - kSignalled, strsignal(status - kSignalled));
    failed(file);
    worst = std::max(worst, status > kSignalled ? kFinding : status);
  }
  return worst;
}

}  // namespace quillon::tool
