#include "tools/report/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace quillon::tool_test {
namespace {

TEST(Text, GroupsDigitsByThrees) {
  EXPECT_EQ(tool::grouped(0), "0");
  EXPECT_EQ(tool::grouped(999), "999");
  EXPECT_EQ(tool::grouped(1000), "1,000");
  EXPECT_EQ(tool::grouped(-999), "-999");
  EXPECT_EQ(tool::grouped(-1234567), "-1,234,567");
  EXPECT_EQ(tool::grouped(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
  EXPECT_EQ(tool::grouped_count(1, "cell"), "1 cell");
  EXPECT_EQ(tool::grouped_count(12752, "cell"), "12,752 cells");
}

TEST(Text, ShortensLargeNumbersToThreeDigits) {
  EXPECT_EQ(tool::short_form(0), "0");
  EXPECT_EQ(tool::short_form(950), "950");
  EXPECT_EQ(tool::short_form(999.6), "1.00 k");
  EXPECT_EQ(tool::short_form(1234), "1.23 k");
  EXPECT_EQ(tool::short_form(16e6), "16.0 M");
  EXPECT_EQ(tool::short_form(2147483647), "2.15 G");
  EXPECT_EQ(tool::short_form(123e15), "123000 T");
}

TEST(Text, ShowsAveragesAndShares) {
  EXPECT_EQ(tool::decimal(4), "4");
  EXPECT_EQ(tool::decimal(3.9654), "3.965");
  EXPECT_EQ(tool::decimal(12345.6), "12,346");
  EXPECT_EQ(tool::decimal(std::nan("")), "\u2013");
  EXPECT_EQ(tool::percentage(1), "100 %");
  EXPECT_EQ(tool::percentage(0), "0 %");
  EXPECT_EQ(tool::percentage(0.12345), "12.3 %");
  EXPECT_EQ(tool::percentage(0.0234), "2.34 %");
  EXPECT_EQ(tool::percentage(0.00304), "0.30 %");
  EXPECT_EQ(tool::percentage(0.00000123), "0.00012 %");
  EXPECT_EQ(tool::percentage(0.000000123), "1.2e-05 %");
  EXPECT_EQ(tool::percentage(std::nan("")), "\u2013");
}

TEST(Escaped, LeavesNoMarkupAndNothingThatNoPageMayHold) {
  EXPECT_EQ(tool::escaped("<b a=\"'\">&"), "&lt;b a=&quot;&#39;&quot;&gt;&amp;");
  EXPECT_EQ(tool::escaped("Kn\u00f6del \u20ac \U0001F600"), "Kn\u00f6del \u20ac \U0001F600");
  const std::string bad = "\uFFFD";
  EXPECT_EQ(tool::escaped("a\x01z\x7F\n"), "a" + bad + "z" + bad + bad);
  EXPECT_EQ(tool::escaped("\xFF"), bad);
  EXPECT_EQ(tool::escaped("\xC3"), bad);                                // cut off
  EXPECT_EQ(tool::escaped("\xC3<"), bad + "&lt;");                      // hides nothing
  EXPECT_EQ(tool::escaped("\xC0\xBC"), bad + bad);                      // "<" in two bytes
  EXPECT_EQ(tool::escaped("\xE0\x80\xBC"), bad + bad + bad);            // and in three
  EXPECT_EQ(tool::escaped("\xED\xA0\x80"), bad + bad + bad);            // half of a pair
  EXPECT_EQ(tool::escaped("\xF4\x90\x80\x80"), bad + bad + bad + bad);  // beyond the last character
}

}  // namespace
}  // namespace quillon::tool_test
