// What single bytes say of a text, against a look at each of them.

#include "formats/byte_audit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillon::formats {
namespace {

using Position = std::pair<std::size_t, std::size_t>;  // line and column

Position position_of(const std::string& text, std::size_t offset) {
  const std::string before = text.substr(0, offset);
  const auto nlines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return {nlines + 1, offset - (before.rfind('\n') + 1) + 1};
}

// Where bytes are for which `is_such(offset)` holds.
template <typename IsSuch>
std::vector<Position> positions(const std::string& text, IsSuch is_such) {
  std::vector<Position> found;
  for (std::size_t k = 0; k < text.size(); ++k)
    if (is_such(k)) found.push_back(position_of(text, k));
  return found;
}

void expect_same(const Occurrences& found, const std::vector<Position>& expected) {
  EXPECT_EQ(found.count, static_cast<std::int64_t>(expected.size()));
  if (!expected.empty()) {
    EXPECT_EQ(Position(found.first.line, found.first.column), expected.front());
  }
}

std::string random_text(std::mt19937& random) {
  const std::string_view bytes("\n\r\t\0 12", 7);
  const std::size_t nkinds = 1 + random() % 3;  // of lines
  std::string text;
  for (std::size_t left = random() % 12; left > 0; --left) {
    const std::size_t kind = random() % nkinds;
    text += std::string(random() % 90, '7');
    if (kind == 2)
      for (std::size_t k = random() % 6; k > 0; --k) text += bytes[random() % bytes.size()];
    text += kind == 0 ? "\n" : "\r\n";
  }
  if (random() % 3 == 0) text += std::string(random() % 4, "7\r"[random() % 2]);
  return text;
}

TEST(ByteAudit, AgreesWithALookAtEachByteOfTextsInPieces) {
  for (unsigned seed = 1; seed <= 2000; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const std::string text = random_text(random);
    ByteAudit audit;
    for (std::size_t at = 0, size = 0; at < text.size(); at += size) {
      size = 1 + random() % (random() % 2 == 0 ? 5 : 400);
      audit.look_at(std::string_view(text).substr(at, size));
    }
    const auto byte = [&text](std::size_t k) { return k < text.size() ? text[k] : '.'; };
    const auto is_lf_after_cr = [&](std::size_t k) {
      return byte(k) == '\n' && k > 0 && byte(k - 1) == '\r';
    };
    expect_same(audit.crlf, positions(text, is_lf_after_cr));
    expect_same(audit.lf,
                positions(text, [&](std::size_t k) { return byte(k) == '\n' && !is_lf_after_cr(k); }));
    expect_same(audit.cr, positions(text, [&](std::size_t k) {
                  return byte(k) == '\r' && k + 1 < text.size() && byte(k + 1) != '\n';
                }));
    expect_same(audit.tab, positions(text, [&](std::size_t k) { return byte(k) == '\t'; }));
    EXPECT_EQ(audit.nnul, std::count(text.begin(), text.end(), '\0'));
    EXPECT_EQ(audit.is_empty(), text.empty());
    EXPECT_EQ(audit.ends_with_newline(), text.ends_with('\n'));
    EXPECT_EQ(Position(audit.end().line, audit.end().column), position_of(text, text.size()));
    if (!text.empty()) {
      const std::string_view before_last_byte = std::string_view(text).substr(0, text.size() - 1);
      EXPECT_EQ(audit.first_byte_of_last_line(), text[before_last_byte.rfind('\n') + 1]);
    }
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace quillon::formats
