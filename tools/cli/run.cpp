#include "tools/cli/run.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "formats/findings.h"
#include "formats/sink.h"
#include "tools/cli/advice.h"
#include "tools/cli/child.h"
#include "tools/cli/console.h"
#include "tools/cli/progress.h"
#include "util/scope.h"

namespace quillon::tool {
namespace {

constexpr const char* kOutOfMemory = "out of memory";

// For exceptions that nobody can catch: out of memory in a function that must not throw.
[[noreturn]] void end_program() {
  formats::remove_temporary_files();
  const char* reason = "unexpected end of the program";
  try {
    if (const std::exception_ptr error = std::current_exception()) std::rethrow_exception(error);
  } catch (const std::bad_alloc&) {
    reason = kOutOfMemory;
  } catch (const std::exception& error) {
    reason = error.what();
  } catch (...) {
    // of no kind that has a text
  }
  std::fprintf(stderr, "quillon: error: %s\n", reason);
  std::_Exit(kFinding);
}

// A child that ignores SIGTERM would go on after the end of this program.
extern "C" void remove_files_and_end(int signal) {
  formats::remove_temporary_files();
  end_running_child();
  std::signal(signal, SIG_DFL);
  raise(signal);
}

// A signal that the caller has the program ignore, as nohup does, stays ignored.
void handle(int signal) {
  struct sigaction before {};
  sigaction(signal, nullptr, &before);
  if (before.sa_handler != SIG_IGN) std::signal(signal, remove_files_and_end);
}

void print(const std::exception& error) {
  if (const auto* const bad_file = dynamic_cast<const formats::BadFile*>(&error);
      bad_file != nullptr && bad_file->finding().line > 0) {
    print_finding(formats::text_of(advised(bad_file->finding())));
  } else if (bad_file != nullptr) {
    print_error(bad_file->finding().message);
  } else if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) {
    print_error(kOutOfMemory);
  } else if (const auto* const not_written = dynamic_cast<const formats::NotWritten*>(&error)) {
    print_error(formats::shown_target(not_written->target()) + " is not written, because of the error above");
  } else {
    print_error(error.what());
  }
}

// NOLINTNEXTLINE(misc-no-recursion): as deep as errors are nested
void print_with_causes(const std::exception& error) {
  try {
    std::rethrow_if_nested(error);
  } catch (const std::exception& cause) {
    print_with_causes(cause);
  }
  print(error);
}

}  // namespace

void install_handlers() {
  static ProgressWatcher watcher;
  formats::set_watcher(&watcher);
  set_fatal_handler(throw_fatal_error);
  set_warning_handler(print_warning);
  std::set_terminate(end_program);
  for (const int signal : {SIGHUP, SIGINT, SIGPIPE, SIGQUIT, SIGTERM, SIGXCPU}) handle(signal);
  std::signal(SIGXFSZ, SIG_IGN);  // a file that reaches its size limit is an error like a full disk
}

void print_current_exception() {
  std::fflush(stdout);
  try {
    std::rethrow_exception(std::current_exception());
  } catch (const std::exception& error) {
    print_with_causes(error);
  }
}

int run_guarded(const std::function<int()>& work) {
  const Scope scope;
  try {
    return work();
  } catch (const UsageError&) {
    throw;
  } catch (const OutputError&) {
    throw;
  } catch (...) {
    print_current_exception();
    return kFinding;
  }
}

int for_each_file(const std::vector<std::string>& files, const std::function<int(const std::string&)>& work,
                  const std::function<void(const std::string&)>& failed) {
  int worst = kSuccess;
  for (const std::string& file : files) {
    const int status = run_guarded([&] { return work(file); });
    if (status != kSuccess) failed(file);
    flush_output();
    worst = std::max(worst, status);
  }
  return worst;
}

void print_beside(const std::string& target, const std::function<void()>& print) {
  if (!formats::is_standard_output(target)) return print();
  const DivertedOutput diverted(print_on_standard_error);
  print();
}

bool& force() {
  static bool is_forced = false;
  return is_forced;
}

void flush_output() {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw OutputError(std::string("cannot write standard output: ") +
                      (errno != 0 ? std::strerror(errno) : "an earlier write failed"));
}

}  // namespace quillon::tool
