#include "python/core/call.h"

#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <utility>

#include "formats/source.h"
#include "tools/operations/fatal_error.h"
#include "util/util.h"

namespace quillon::python {
namespace {

// Never destroyed: threads may still call when the program ends.
std::mutex& module_lock() {
  static auto* const lock = new std::mutex;
  return *lock;
}

struct Waiting {
  std::mutex lock;
  std::vector<std::function<void()>> frees;
};

Waiting& waiting() {
  static auto* const all = new Waiting;
  return *all;
}

// Under the lock of the module.
std::vector<std::string>& warnings_so_far() {
  static auto* const texts = new std::vector<std::string>;
  return *texts;
}

void note_warning(const char* text) {
  std::string line = text;
  while (line.ends_with('\n')) line.pop_back();
  warnings_so_far().push_back(std::move(line));
}

void drop(const char* /*text*/) {}

// Under the lock of the module.
void free_waiting() {
  std::vector<std::function<void()>> frees;
  {
    const std::lock_guard lock(waiting().lock);
    frees.swap(waiting().frees);
  }
  for (const std::function<void()>& free : frees) free();
}

bool any_waiting() {
  const std::lock_guard lock(waiting().lock);
  return !waiting().frees.empty();
}

// Whoever cannot get the lock leaves the work to the call that has it, which looks again after it has
// released it.
void free_if_idle() {
  while (any_waiting()) {
    const std::unique_lock lock(module_lock(), std::try_to_lock);
    if (!lock.owns_lock()) return;
    free_waiting();
  }
}

// Lets Python handle signals during long reads, such as that of Ctrl-C.
class SignalWatcher : public formats::Watcher {
 public:
  void begin(const std::string& /*what*/, std::uint64_t /*total*/,
             std::function<std::uint64_t()> /*done*/) override {}
  void end() override {}

  void poll() override {
    const auto now = std::chrono::steady_clock::now();
    if (now - last_ < std::chrono::milliseconds(20)) return;
    last_ = now;
    const pybind11::gil_scoped_acquire interpreter;
    if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
  }

 private:
  std::chrono::steady_clock::time_point last_;
};

}  // namespace

void install_handlers() {
  static SignalWatcher watcher;
  formats::set_watcher(&watcher);
  set_fatal_handler(tool::throw_fatal_error);
  set_warning_handler(note_warning);
  set_output_handler(drop);
}

Call::Call() : thread_(PyEval_SaveThread()), lock_(module_lock()) {
  scope_.emplace();
  warnings_so_far().clear();
}

Call::~Call() {
  scope_.reset();
  free_waiting();
  lock_.unlock();
  free_if_idle();
  PyEval_RestoreThread(static_cast<PyThreadState*>(thread_));
}

std::vector<std::string> Call::take_warnings() { return std::exchange(warnings_so_far(), {}); }

void issue(const std::vector<std::string>& warnings) {
  if (warnings.empty()) return;
  const pybind11::object warn = pybind11::module_::import("quillon._errors").attr("warn");
  for (const std::string& text : warnings) warn(text);
}

void free_later(std::function<void()> free) {
  {
    const std::lock_guard lock(waiting().lock);
    waiting().frees.push_back(std::move(free));
  }
  free_if_idle();
}

}  // namespace quillon::python
