#include "tools/cli/console.h"

#include <unistd.h>

#include <algorithm>
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

// Number of bytes of the UTF-8 character that a text begins with; 0 for other bytes, and for the control
// characters from U+0080 to U+009F.
std::size_t length_of_character(std::string_view text) {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80) return is_control(text[0]) ? 0 : 1;
  const std::size_t length = first >= 0xC2 && first < 0xE0 ? 2 : first >= 0xE0 && first < 0xF0 ? 3 : 4;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  for (const char c : text.substr(1, length - 1))
    if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80) return 0;
  return first == 0xC2 && static_cast<unsigned char>(text[1]) < 0xA0 ? 0 : length;
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
  if (isatty(descriptor) != 1) return std::string(text);
  std::string shown;
  while (!text.empty()) {
    const std::size_t length = length_of_character(text);
    if (length > 0) {
      shown += text.substr(0, length);
    } else {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(text[0])));
      shown += code;
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return shown;
}

std::string error_prefix() { return coloured(STDERR_FILENO, Colour::kRed, "quillon: error:") + " "; }

void print_usage_error(const std::string& text) {
  std::fprintf(stderr, "%s%s\n", error_prefix().c_str(), printable(STDERR_FILENO, text).c_str());
}

void print_error(std::string_view text) { print_message("error", text); }

void print_warning(const char* text) { print_message("warning", text); }

void print_note(std::string_view text) {
  if (!quiet()) print_message("note", text);
}

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
