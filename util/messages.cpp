#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "util/util.h"

namespace quillon {
namespace {

// A handler, or null for the default. What it reports itself while it runs goes to the default.
struct Hook {
  void (*handler)(const char*) = nullptr;
  bool running = false;

  [[nodiscard]] bool active() const { return handler != nullptr && !running; }
};

constinit Hook fatal, warning, output;

// Hands a text to the handler of a hook, which may throw.
void call(Hook& hook, const char* text) {
  struct Running {
    bool& flag;
    explicit Running(bool& running) : flag(running) { flag = true; }
    ~Running() { flag = false; }
  };
  const Running running(hook.running);
  hook.handler(text);
}

struct Free {
  void operator()(char* memory) const { std::free(memory); }
};

// Formats a text for the handler of a hook. A text that does not fit on the stack goes to the heap; where
// that has no memory the handler gets as much as fits. Returns the bytes of the whole text, negative where
// the handler did not get all of it.
[[gnu::format(printf, 2, 0)]] int hand_over(Hook& hook, const char* format, std::va_list arguments) {
  char text[4096];
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  const std::size_t bytes = length < 0 ? 0 : static_cast<std::size_t>(length) + 1;
  const std::unique_ptr<char, Free> large(bytes <= sizeof text ? nullptr
                                                               : static_cast<char*>(std::malloc(bytes)));
  if (large != nullptr) std::vsnprintf(large.get(), bytes, format, again);
  va_end(again);

  // A text that cannot be formatted is shown by its format.
  call(hook, length < 0 ? format : large != nullptr ? large.get() : text);
  return bytes <= sizeof text || large != nullptr ? length : -1;
}

// A line end closes the message, unless the caller's format brings its own.
[[gnu::format(printf, 2, 0)]] void report(const char* kind, const char* format, std::va_list arguments) {
  std::fprintf(stderr, "quillon: %s: ", kind);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): both callers start it
  std::vfprintf(stderr, format, arguments);
  const std::size_t length = std::strlen(format);
  if (length == 0 || format[length - 1] != '\n') std::fputc('\n', stderr);
}

}  // namespace

FatalHandler set_fatal_handler(FatalHandler handler) { return std::exchange(fatal.handler, handler); }

TextHandler set_warning_handler(TextHandler handler) { return std::exchange(warning.handler, handler); }

TextHandler set_output_handler(TextHandler handler) { return std::exchange(output.handler, handler); }

void errexit(const char* format, ...) {
  std::va_list arguments;
  if (fatal.active()) {
    va_start(arguments, format);
    hand_over(fatal, format, arguments);
    va_end(arguments);
  }
  std::fflush(stdout);
  va_start(arguments, format);
  report("error", format, arguments);
  va_end(arguments);
  std::exit(1);
}

void uwarning(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  if (warning.active())
    hand_over(warning, format, arguments);
  else
    report("warning", format, arguments);
  va_end(arguments);
}

int uprintf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): started one line above
  const int written =
      output.active() ? hand_over(output, format, arguments) : std::vprintf(format, arguments);
  va_end(arguments);
  return written;
}

}  // namespace quillon
