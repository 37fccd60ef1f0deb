#include "formats/line_errors.h"

namespace quillon::formats {

void report_unexpected(const Scanner& in, const Token& token, const char* rule, const std::string& expected,
                       const char* hint) {
  const Place place = place_of(in, token.offset);
  report(in, {rule, Severity::kError, in.name, place.line, place.column,
              "found " + shown(in, token) + ", expected " + expected, hint});
}

}  // namespace quillon::formats
