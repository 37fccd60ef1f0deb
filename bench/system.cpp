#include "bench/system.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "util/util.h"

namespace quillon::bench {

StandardOutput::StandardOutput(const std::string& path) {
  std::fflush(stdout);
  kept_ = dup(STDOUT_FILENO);
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (kept_ < 0 || file < 0 || dup2(file, STDOUT_FILENO) < 0)
    errexit("cannot redirect to '%s'", path.c_str());
  close(file);
}

StandardOutput::~StandardOutput() {
  std::fflush(stdout);
  dup2(kept_, STDOUT_FILENO);
  close(kept_);
}

void run_program(std::vector<std::string> words, const std::string& output) {
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0600);
  pid_t child = 0;
  const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (error != 0 || waitpid(child, &status, 0) != child || status != 0)
    errexit("'%s' could not be run or failed", argv[0]);
}

void settle(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0 || fsync(file) != 0) errexit("cannot settle '%s'", path.c_str());
  close(file);
}

}  // namespace quillon::bench
