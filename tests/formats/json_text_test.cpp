#include "formats/json_text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "formats/json_name.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

// "PLACE: MESSAGE" of the error that `read` throws.
template <typename Read>
std::string error_of(const std::string& text, Read read) {
  JsonText json(text);
  try {
    read(json);
  } catch (const BadJson& error) {
    return std::to_string(error.place()) + ": " + error.what();
  }
  return "none";
}

std::string error_of_value(const std::string& text) {
  return error_of(text, [](JsonText& json) {
    json.value();
    json.expect_end();
  });
}

TEST(JsonText, ReadsWordsAndTheirPlaces) {
  const std::string text = " {\"a\" : [ -12.5e3 ,true,null,\"x\"]}";
  JsonText json(text);
  EXPECT_EQ(json.value().text(), "{");
  EXPECT_FALSE(json.accept('}'));
  EXPECT_EQ(json.key().text(), "\"a\"");
  json.expect(':');
  EXPECT_EQ(json.value().text(), "[");
  const JsonWord number = json.value();
  EXPECT_EQ(number.kind, JsonKind::kNumber);
  EXPECT_FALSE(number.is_plain);
  EXPECT_EQ(JsonText::number_of(number), -12500);
  EXPECT_EQ(json.offset_of(number.begin), 10);
  EXPECT_TRUE(json.accept(','));
  EXPECT_EQ(json.value().kind, JsonKind::kTrue);
  json.expect(',');
  EXPECT_EQ(json.value().kind, JsonKind::kNull);
  json.expect(',');
  const JsonWord string = json.value();
  EXPECT_EQ(string.kind, JsonKind::kString);
  EXPECT_TRUE(string.is_plain);
  EXPECT_EQ(JsonText::value_of(string), "x");
  json.expect(']');
  json.expect('}');
  json.expect_end();
  EXPECT_EQ(json.offset(), text.size());
}

TEST(JsonText, ReadsShortIntegersWithAnyNumberOfDigitsAndAnythingAfterThem) {
  std::uint64_t expected = 0;
  std::string digits;
  for (int length = 1; length <= 18; ++length) {
    const auto digit = static_cast<unsigned>((length * 7 + 2) % 10);  // 9, 6, 3, 0, 7, ..
    expected = 10 * expected + digit;
    digits.push_back(static_cast<char>('0' + digit));
    for (const std::string after : {"", "}", ", 1234567890", "\n", "/", ":", "\xff", "\xca\xca\xca"}) {
      SCOPED_TRACE(digits + after);
      const std::string text = digits + after;
      JsonText json(text);
      std::uint64_t value = 0;
      ASSERT_TRUE(json.short_integer(value));
      EXPECT_EQ(value, expected);
      EXPECT_EQ(json.offset(), digits.size());
    }
  }
}

TEST(JsonText, LeavesOtherNumbersWhereTheyAre) {
  for (const std::string text : {"", "-1", "01", "00000000", "1.0", "12345678.5", "1e3", "123456789E1",
                                 "\"1\"", "1234567890123456789", "x1234567", "/1234567", ":1234567"}) {
    SCOPED_TRACE(text);
    JsonText json(text);
    std::uint64_t value = 0;
    EXPECT_FALSE(json.short_integer(value));
    EXPECT_EQ(json.offset(), 0);
  }
  const std::string zero = "0,";
  JsonText json(zero);
  std::uint64_t value = 7;
  EXPECT_TRUE(json.short_integer(value));
  EXPECT_EQ(value, 0);
}

TEST(JsonText, AcceptsExactTextOnly) {
  const std::string text = "\"edge\":\"ed";
  JsonText json(text);
  EXPECT_FALSE(json.accept_exactly("\"node\":"));
  EXPECT_TRUE(json.accept_exactly("\"edge\":"));
  EXPECT_EQ(json.offset(), 7);
  EXPECT_FALSE(json.accept_exactly("\"edge\":"));  // longer than what is left
  EXPECT_EQ(json.offset(), 7);
}

TEST(JsonText, FindsTheEndOfStringsOfAnyLength) {
  for (std::size_t length = 0; length <= 70; ++length) {
    for (const std::string last : {"", "\\\"", "\\\\", "\xc3\xa9", "\x7f"}) {
      SCOPED_TRACE(testing::Message() << length << " bytes before " << last);
      const std::string text = "\"" + std::string(length, 'a') + last + "\"" + std::string(20, '"');
      JsonText json(text);
      const JsonWord word = json.string();
      EXPECT_EQ(word.text().size(), length + last.size() + 2);
      EXPECT_EQ(word.is_plain, !last.starts_with('\\'));
    }
    const std::string open = "\"" + std::string(length, 'a');
    EXPECT_EQ(error_of_value(open),
              std::to_string(open.size()) + ": found no JSON: invalid string: no closing quote");
    EXPECT_EQ(
        error_of_value(open + "\x1f\""),
        std::to_string(open.size()) + ": found no JSON: invalid string: control characters must be escaped");
  }
}

TEST(JsonText, RefusesWhatIsNoJson) {
  const std::string no_utf8 = ": found no JSON: invalid string: no UTF-8";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "0: found end of input, expected '[', '{', or a literal"},
      {"}", "0: found '}', expected '[', '{', or a literal"},
      {"1 2", "2: found number literal, expected end of input"},
      {"tru", "3: found no JSON: invalid literal"},
      {"-", "1: found no JSON: invalid number: no digit after the minus"},
      {"1.", "2: found no JSON: invalid number: no digit after the point"},
      {"1e+", "3: found no JSON: invalid number: no digit in the exponent"},
      {"1e400", "0: found a number too large, expected one of double precision"},
      {"\"\\x\"", "2: found no JSON: invalid string: no escape begins so"},
      {"\"\\u12g4\"", "5: found no JSON: invalid string: \\u needs four hexadecimal digits"},
      {"\"\\udc00\"", "6: found no JSON: invalid string: second half of a surrogate pair alone"},
      {"\"\\ud800x\"", "7: found no JSON: invalid string: first half of a surrogate pair alone"},
      {"\"\xc0\x80\"", "1" + no_utf8},          // not the shortest encoding
      {"\"\xed\xa0\x80\"", "2" + no_utf8},      // a surrogate
      {"\"\xf4\x90\x80\x80\"", "2" + no_utf8},  // after the last character
      {"\"\xe2\x82\"", "3" + no_utf8},
  };
  for (const auto& [text, error] : cases) EXPECT_EQ(error_of_value(text), error) << text;
}

TEST(JsonText, SkipsObjectsOfAnyDepth) {
  const auto skip = [](JsonText& json) {
    json.value();
    json.skip_object();
    json.expect_end();
  };
  EXPECT_EQ(error_of("{}", skip), "none");
  EXPECT_EQ(error_of(R"({"a":[1,[],{"b":{}}],"c":"}"} )", skip), "none");
  EXPECT_EQ(error_of("{\"a\":[1}", skip), "7: found '}', expected ']'");
  EXPECT_EQ(error_of("{\"a\":1,}", skip), "7: found '}', expected string literal");
  const std::string deep = "{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
  EXPECT_EQ(error_of(deep, skip), "none");
}

TEST(JsonName, GivesOneTextForEachName) {
  const auto name = [](const std::string& text) { return json_name(text).value_or("none"); };
  EXPECT_EQ(name("\"a\\u0062\\/\""), "\"ab/\"");
  EXPECT_EQ(name("\"\\u00e9\\ud83d\\ude00\\u0001\\n\""), "\"\xc3\xa9\xf0\x9f\x98\x80\\u0001\\n\"");
  EXPECT_EQ(name("-0"), "0");
  EXPECT_EQ(name("18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(name("18446744073709551616"), "none");
  EXPECT_EQ(name("-9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(name("-9223372036854775809"), "none");
  for (const char* const text : {"", "1.0", "1e2", "true", "[]", "\"a", "1 2", "01"})
    EXPECT_EQ(name(text), "none");
}

}  // namespace
}  // namespace quillon::formats
