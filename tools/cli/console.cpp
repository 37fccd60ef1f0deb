#include "tools/cli/console.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tools/cli/progress.h"

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

bool is_control(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F;
}

void print_message(const char* kind, std::string_view text) {
  const std::string shown = printable(STDERR_FILENO, text);
  const ProgressPause pause;
  std::fprintf(stderr, "quillon: %s: %s%s", kind, shown.c_str(), shown.ends_with('\n') ? "" : "\n");
}

}  // namespace

bool can_draw_on(int descriptor) {
  return isatty(descriptor) == 1 && !environment("TERM").empty() && environment("TERM") != "dumb";
}

std::string coloured(int descriptor, Colour colour, const std::string& text) {
  if (!can_draw_on(descriptor) || !environment("NO_COLOR").empty()) return text;
  return sequence_of(colour) + text + "\x1b[0m";
}

std::string printable(int descriptor, std::string_view text) {
  std::string shown(text);
  if (isatty(descriptor) != 1) return shown;
  for (std::size_t at = 0; at < shown.size(); ++at) {
    if (!is_control(shown[at])) continue;
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(shown[at])));
    shown.replace(at, 1, code);
  }
  return shown;
}

std::string error_prefix() { return coloured(STDERR_FILENO, Colour::kRed, "quillon: error:") + " "; }

void print_usage_error(const std::string& text) {
  std::fprintf(stderr, "%s%s\n", error_prefix().c_str(), printable(STDERR_FILENO, text).c_str());
}

void print_error(std::string_view text) { print_message("error", text); }

void print_warning(const char* text) { print_message("warning", text); }

void print_finding(std::string_view text) {
  const std::string shown = printable(STDERR_FILENO, text);
  const ProgressPause pause;
  std::fprintf(stderr, "quillon: %s\n", shown.c_str());
}

void print_on_standard_error(const char* text) {
  const ProgressPause pause;
  std::fputs(text, stderr);
}

bool& quiet() {
  static bool is_quiet = false;
  return is_quiet;
}

}  // namespace quillon::tool
