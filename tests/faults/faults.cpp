// Preloaded into a program, runs it repeatedly; in each run another request for memory fails. With
// FAULTS_NO_UNNAMED_FILES in the environment, files without a name cannot be created.
//
// FAULTS_PIPES holds two descriptors: orders are read from the first, answers written to the second. For each
// order the program runs in a new process, with standard input at its beginning and with its outputs, which
// must be files, truncated. That process starts with main, or with the request whose number is in
// FAULTS_FIRST: what the program does before, which must not open files, is done once for all orders.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

// NOLINTBEGIN(bugprone-reserved-identifier): names of the C library
extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

struct Order {
  std::int32_t request;  // number of the failing request, from 1; 0: none fails
  std::int32_t goes_on;  // whether all later requests fail too
};

struct Answer {
  std::int32_t status;  // as waitpid gives it
  std::int32_t failed;  // whether a request failed
};

using Main = int (*)(int, char**, char**);

Main program = nullptr;
Order order = {};
std::int32_t requests_before_orders = 0;
std::int32_t first = 1;
std::int32_t* failed = nullptr;  // shared with the processes that the program forks

void serve();

bool fails() {
  if (requests_before_orders > 0 && --requests_before_orders == 0) serve();
  if (order.request == 0) return false;
  if (order.request > 1) {
    --order.request;
    return false;
  }
  if (order.goes_on == 0) order.request = 0;
  *failed = 1;
  errno = ENOMEM;
  return true;
}

void rewind_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) lseek(stream, 0, SEEK_SET);
  if (ftruncate(STDOUT_FILENO, 0) != 0 || ftruncate(STDERR_FILENO, 0) != 0) _exit(EXIT_FAILURE);
}

// Returns only in the processes that run the program.
void serve() {
  char* rest = nullptr;
  const int orders = static_cast<int>(std::strtol(std::getenv("FAULTS_PIPES"), &rest, 10));
  const int answers = static_cast<int>(std::strtol(rest, nullptr, 10));
  failed = static_cast<std::int32_t*>(
      mmap(nullptr, sizeof *failed, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

  for (Order next = {}; read(orders, &next, sizeof next) == sizeof next;) {
    *failed = 0;
    rewind_streams();
    const pid_t child = fork();
    if (child == 0) {
      close(orders);
      close(answers);
      order = next;
      order.request -= first - 1;
      return;
    }
    Answer answer = {};
    waitpid(child, &answer.status, 0);
    answer.failed = *failed;
    if (write(answers, &answer, sizeof answer) != sizeof answer) break;
  }
  _exit(EXIT_SUCCESS);
}

int begin(int argc, char** argv, char** environment) {
  if (std::getenv("FAULTS_PIPES") != nullptr) {
    if (const char* const text = std::getenv("FAULTS_FIRST"))
      first = static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
    if (first > 1)
      requests_before_orders = first;
    else
      serve();
  }
  return program(argc, argv, environment);
}

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) noexcept { return fails() ? nullptr : __libc_malloc(bytes); }

void* calloc(std::size_t count, std::size_t bytes) noexcept {
  return fails() ? nullptr : __libc_calloc(count, bytes);
}

void* realloc(void* block, std::size_t bytes) noexcept {
  return fails() ? nullptr : __libc_realloc(block, bytes);
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
  return fails() ? nullptr : __libc_memalign(alignment, bytes);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t bytes) noexcept {
  *block = fails() ? nullptr : __libc_memalign(alignment, bytes);
  return *block == nullptr ? ENOMEM : 0;
}

void* mmap(void* at, std::size_t bytes, int protection, int flags, int descriptor, off_t offset) noexcept {
  if ((flags & MAP_ANONYMOUS) != 0 && fails()) return MAP_FAILED;
  return reinterpret_cast<void*>(syscall(SYS_mmap, at, bytes, protection, flags, descriptor, offset));
}

int mprotect(void* at, std::size_t bytes, int protection) noexcept {
  if ((protection & PROT_WRITE) != 0 && fails()) return -1;
  return static_cast<int>(syscall(SYS_mprotect, at, bytes, protection));
}

int open(const char* name, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const bool makes = (flags & (O_CREAT | O_TMPFILE)) != 0;
  const mode_t mode = makes ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if ((flags & O_TMPFILE) == O_TMPFILE && std::getenv("FAULTS_NO_UNNAMED_FILES") != nullptr) {
    errno = EOPNOTSUPP;
    return -1;
  }
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, name, flags, mode));
}

// The start-up code passes the program's main to this function.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
int __libc_start_main(Main main, int argc, char** argv, void (*before)(), void (*after)(),
                      void (*linker_end)(), void* stack_end) {
  using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
  program = main;
  const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(begin, argc, argv, before, after, linker_end, stack_end);
}
}
