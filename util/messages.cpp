#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "util/util.h"

namespace quillon {
namespace {

// A line end closes the message, unless the caller's format brings its own.
[[gnu::format(printf, 2, 0)]] void report(const char* kind, const char* format, std::va_list arguments) {
  std::fprintf(stderr, "quillon: %s: ", kind);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): both callers start it
  std::vfprintf(stderr, format, arguments);
  const std::size_t length = std::strlen(format);
  if (length == 0 || format[length - 1] != '\n') std::fputc('\n', stderr);
}

}  // namespace

void errexit(const char* format, ...) {
  std::fflush(stdout);
  std::va_list arguments;
  va_start(arguments, format);
  report("error", format, arguments);
  va_end(arguments);
  std::exit(1);
}

void uwarning(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  report("warning", format, arguments);
  va_end(arguments);
}

int uprintf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started one line above
  const int written = std::vprintf(format, arguments);
  va_end(arguments);
  return written;
}

}  // namespace quillon
