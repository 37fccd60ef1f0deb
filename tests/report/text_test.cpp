#include "tools/report/text.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace quillon::tool {
namespace {

TEST(Grouped, PutsACommaBeforeEachThreeDigits) {
  EXPECT_EQ(grouped(0), "0");
  EXPECT_EQ(grouped(999), "999");
  EXPECT_EQ(grouped(1000), "1,000");
  EXPECT_EQ(grouped(-999), "-999");
  EXPECT_EQ(grouped(-1234567), "-1,234,567");
  EXPECT_EQ(grouped(std::numeric_limits<std::int64_t>::min()), "-9,223,372,036,854,775,808");
}

TEST(GroupedCount, HasAPlural) {
  EXPECT_EQ(grouped_count(0, "cell"), "0 cells");
  EXPECT_EQ(grouped_count(1, "cell"), "1 cell");
  EXPECT_EQ(grouped_count(12752, "cell"), "12,752 cells");
}

TEST(ShortForm, HasThreeDigitsAndAUnit) {
  EXPECT_EQ(short_form(0), "0");
  EXPECT_EQ(short_form(950), "950");
  EXPECT_EQ(short_form(999.6), "1.00 k");
  EXPECT_EQ(short_form(1234), "1.23 k");
  EXPECT_EQ(short_form(16e6), "16.0 M");
  EXPECT_EQ(short_form(2147483647), "2.15 G");
  EXPECT_EQ(short_form(123e15), "123000 T");
}

TEST(Decimal, HasThreePlacesForFractionsBelowAThousand) {
  EXPECT_EQ(decimal(4), "4");
  EXPECT_EQ(decimal(1.8), "1.800");
  EXPECT_EQ(decimal(3.9654), "3.965");
  EXPECT_EQ(decimal(12345.6), "12,346");
  EXPECT_EQ(decimal(1e15), "1e+15");
  EXPECT_EQ(decimal(std::nan("")), "\u2013");
}

TEST(Percentage, HasTwoOrThreeDigits) {
  EXPECT_EQ(percentage(1), "100 %");
  EXPECT_EQ(percentage(0), "0 %");
  EXPECT_EQ(percentage(0.12345), "12.3 %");
  EXPECT_EQ(percentage(0.09996), "10.0 %");
  EXPECT_EQ(percentage(0.0234), "2.34 %");
  EXPECT_EQ(percentage(0.0099999), "1.0 %");
  EXPECT_EQ(percentage(0.00304), "0.30 %");
  EXPECT_EQ(percentage(0.00000123), "0.00012 %");
  EXPECT_EQ(percentage(0.000000123), "1.2e-05 %");
  EXPECT_EQ(percentage(std::nan("")), "\u2013");
  EXPECT_EQ(percentage(1 / 0.0), "\u2013");
}

TEST(Percentage, IsNotRoundedTo100) {
  EXPECT_EQ(percentage(299979.0 / 300000), "99.99 %");
  EXPECT_EQ(percentage(0.9999999), "99.99999 %");
  EXPECT_EQ(percentage(0.9994), "99.9 %");
}

TEST(Escaped, LeavesNoMarkup) {
  EXPECT_EQ(escaped("<b a=\"'\">&"), "&lt;b a=&quot;&#39;&quot;&gt;&amp;");
  EXPECT_EQ(escaped("Kn\u00f6del \u20ac \U0001F600"), "Kn\u00f6del \u20ac \U0001F600");
}

TEST(Escaped, ReplacesWhatIsNotAllowedInXml) {
  const std::string bad = "\uFFFD";
  EXPECT_EQ(escaped("a\x01z\x7F\n"), "a" + bad + "z" + bad + bad);
  EXPECT_EQ(escaped("\xFF"), bad);
  EXPECT_EQ(escaped("\xC3"), bad);                                // truncated
  EXPECT_EQ(escaped("\xC3<"), bad + "&lt;");                      // does not hide the next character
  EXPECT_EQ(escaped("\xC0\xBC"), bad + bad);                      // "<" in two bytes
  EXPECT_EQ(escaped("\xE0\x80\xBC"), bad + bad + bad);            // and in three
  EXPECT_EQ(escaped("\xED\xA0\x80"), bad + bad + bad);            // half of a surrogate pair
  EXPECT_EQ(escaped("\xEF\xBF\xBF"), bad + bad + bad);            // U+FFFF
  EXPECT_EQ(escaped("\xF4\x90\x80\x80"), bad + bad + bad + bad);  // above U+10FFFF
}

}  // namespace
}  // namespace quillon::tool
