// By itself, so that a program may put another in its place.

#include <cstdio>
#include <cstdlib>

#include "formats/scanner.h"

namespace quillon::tool {

void bad_text(const Tokenizer& tokenizer, std::size_t offset, const std::string& message,
              const std::string& hint) {
  const std::size_t line_end = offset == 0 ? std::string::npos : tokenizer.text.rfind('\n', offset - 1);
  const std::size_t column = line_end == std::string::npos ? offset + 1 : offset - line_end;
  std::fflush(stdout);
  std::fprintf(stderr, "quillon: %s:%zu:%zu: error: %s%s\n", tokenizer.name.c_str(),
               line_of(tokenizer, offset), column, message.c_str(),
               hint.empty() ? "" : (" (" + hint + ")").c_str());
  std::exit(EXIT_FAILURE);
}

}  // namespace quillon::tool
