#include "formats/item_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>

namespace quillon::formats {
namespace {

int number_of_text(ItemNames& names, const std::string& text) {
  const std::string_view texts[] = {text};
  int number = 0;
  names.numbers_of(texts, &number);
  return number;
}

TEST(ItemNames, DistinguishesIntegersFromStrings) {
  ItemNames names;
  EXPECT_EQ(number_of_text(names, "\"1\""), 1);
  EXPECT_EQ(names.number_of(1), 2);
  EXPECT_EQ(number_of_text(names, "-1"), 3);
  EXPECT_EQ(names.number_of(0), 4);
  EXPECT_EQ(number_of_text(names, "\"1\""), 1);
  EXPECT_EQ(number_of_text(names, "\"0\""), 5);
  EXPECT_EQ(names.number_of(1), 2);
  EXPECT_EQ(names.size(), 5);
  EXPECT_EQ(names.text_of(1), "\"1\"");
  EXPECT_EQ(names.text_of(2), "1");
  EXPECT_EQ(names.text_of(3), "-1");
  EXPECT_EQ(names.text_of(4), "0");
}

TEST(ItemNames, FindsAnIntegerAgainThatTheGrowingIndexReaches) {
  ItemNames names;
  constexpr std::uint64_t kLarge = 100000;
  ASSERT_FALSE(names.is_indexed(kLarge));
  EXPECT_EQ(names.number_of(kLarge), 1);
  for (int k = 0; !names.is_indexed(kLarge); ++k) names.number_of(static_cast<std::uint64_t>(k));
  const int size = names.size();
  EXPECT_EQ(names.number_of(kLarge), 1);
  EXPECT_EQ(names.size(), size);
  EXPECT_EQ(names.text_of(1), "100000");
}

TEST(ItemNames, IndexesNoIntegerFarAboveTheNumberOfNames) {
  ItemNames names;
  for (const std::uint64_t integer : {std::uint64_t{1} << 31, std::uint64_t{999999999999999999}}) {
    EXPECT_FALSE(names.is_indexed(integer));
    const int number = names.number_of(integer);
    EXPECT_EQ(names.number_of(integer), number);
    EXPECT_EQ(names.text_of(number), std::to_string(integer));
  }
  EXPECT_EQ(names.size(), 2);
}

TEST(ItemNames, FindsStringsThatSpellAnInteger) {
  ItemNames names;
  for (const std::uint64_t integer : {1, 7, 0, 100000}) names.number_of(integer);
  for (const char* const integer : {"-3", "18446744073709551615"}) number_of_text(names, integer);
  const auto spells_other = [&names](const std::string& text) {
    return names.spells_other(number_of_text(names, text));
  };
  for (const char* const text :
       {R"("1")", R"("7")", R"("0")", R"("100000")", R"("-3")", R"("18446744073709551615")"})
    EXPECT_TRUE(spells_other(text)) << text;
  for (const char* const text :
       {R"("2")", R"("01")", R"("-1")", R"("-0")", R"("-7")", R"("3")", R"("1 ")", R"("1.0")", R"("")",
        R"("-")", R"("a")", R"("+1")", R"("\"1\"")", R"("18446744073709551614")"})
    EXPECT_FALSE(spells_other(text)) << text;
  for (int number = 1; number <= 6; ++number) EXPECT_FALSE(names.spells_other(number)) << number;
}

TEST(ItemNames, AgreesWithAMapOnRandomNames) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    ItemNames names;
    std::map<std::string, int> expected;
    for (int k = 0; k < 20000; ++k) {
      const std::uint64_t integer = random() % (std::uint64_t{1} << (8 + random() % 12));
      const bool is_integer = random() % 2 == 0;
      const std::string text = is_integer ? std::to_string(integer) : "\"" + std::to_string(integer) + "\"";
      const int number = expected.try_emplace(text, static_cast<int>(expected.size()) + 1).first->second;
      const bool by_index = is_integer && (names.is_indexed(integer) || random() % 2 == 0);
      ASSERT_EQ(by_index ? names.number_of(integer) : number_of_text(names, text), number) << text;
    }
    for (const auto& [text, number] : expected) {
      ASSERT_EQ(names.text_of(number), text);
      const bool is_string = text.front() == '"';
      ASSERT_EQ(names.spells_other(number), is_string && expected.contains(text.substr(1, text.size() - 2)))
          << text;
    }
  }
}

}  // namespace
}  // namespace quillon::formats
