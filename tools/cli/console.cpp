#include "tools/cli/console.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace quillon::tool {
namespace {

std::string_view environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

const char* sequence_of(Colour colour) {
  switch (colour) {
    case Colour::kRed:
      return "\x1b[1;31m";
    case Colour::kGreen:
      return "\x1b[1;32m";
    case Colour::kBlue:
      return "\x1b[1;34m";
  }
  return "";
}

}  // namespace

bool can_draw_on(int descriptor) {
  return isatty(descriptor) == 1 && !environment("TERM").empty() && environment("TERM") != "dumb";
}

std::string coloured(int descriptor, Colour colour, const std::string& text) {
  if (!can_draw_on(descriptor) || !environment("NO_COLOR").empty()) return text;
  return sequence_of(colour) + text + "\x1b[0m";
}

std::string error_prefix() { return coloured(STDERR_FILENO, Colour::kRed, "quillon: error:") + " "; }

bool& quiet() {
  static bool is_quiet = false;
  return is_quiet;
}

}  // namespace quillon::tool
