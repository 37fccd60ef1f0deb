#include "formats/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace quillon::formats {
namespace {

using testing::ElementsAre;

TEST(Names, NumbersThemInTheOrderOfTheirFirstAppearance) {
  Names names;
  EXPECT_EQ(names.size(), 0);
  EXPECT_EQ(names.find("b"), 0);
  EXPECT_EQ(names.number_of("b"), 1);
  EXPECT_EQ(names.number_of("a"), 2);
  EXPECT_EQ(names.number_of("b"), 1);
  EXPECT_EQ(names.number_of(""), 3);
  EXPECT_EQ(names.number_of({}), 3);
  EXPECT_EQ(names.size(), 3);
  EXPECT_EQ(names.find("a"), 2);
  EXPECT_EQ(names.find(""), 3);
  EXPECT_EQ(names.find("c"), 0);
  EXPECT_EQ(names.size(), 3);
  EXPECT_EQ(names.name_of(1), "b");
  EXPECT_EQ(names.name_of(2), "a");
  EXPECT_EQ(names.name_of(3), "");
}

TEST(Names, DistinguishesBytesAndLengths) {
  Names names;
  for (int length = 0; length <= 40; ++length) {
    const std::string zeros(static_cast<std::size_t>(length), '\0');
    EXPECT_EQ(names.number_of(zeros), length + 1);
  }
  for (int length = 0; length <= 40; ++length) {
    for (int at = 0; at < length; ++at) {
      std::string name(static_cast<std::size_t>(length), '\0');
      name[static_cast<std::size_t>(at)] = '\x01';
      EXPECT_EQ(names.find(name), 0) << length << " bytes, byte " << at;
    }
  }
}

TEST(Names, KeepsNamesOfAnyLength) {
  Names names;
  std::vector<std::string> texts;
  for (const std::size_t length : {1 << 20, 3, 1048568, 1048575, 7, 5000000, 1, (1 << 21) - 8, 0, 20})
    texts.emplace_back(length, static_cast<char>('a' + texts.size()));
  for (const std::string& text : texts) names.number_of(text);
  const std::string_view first = names.name_of(1);
  for (int k = 0; k < 300000; ++k) names.number_of(std::to_string(k));
  EXPECT_EQ(first.data(), names.name_of(1).data());  // names do not move
  for (std::size_t k = 0; k < texts.size(); ++k) {
    EXPECT_TRUE(names.name_of(static_cast<int>(k) + 1) == texts[k]) << k;
    EXPECT_EQ(names.find(texts[k]), static_cast<int>(k) + 1);
  }
  EXPECT_EQ(names.find("299999"), names.size());
}

TEST(Names, AgreesWithAMapOneByOneAndManyAtOnce) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    std::vector<std::string> texts;
    for (int k = 0; k < 3000; ++k) {
      std::string text = std::to_string(random() % (seed * 100));
      texts.push_back(text + std::string(random() % 3 == 0 ? random() % 30 : 0, 'x'));
    }
    std::unordered_map<std::string, int> expected;
    Names one_by_one;
    for (const std::string& text : texts) {
      const int number = expected.emplace(text, static_cast<int>(expected.size()) + 1).first->second;
      ASSERT_EQ(one_by_one.number_of(text), number);
    }
    Names at_once;
    std::vector<int> numbers(texts.size(), -7);
    const std::vector<std::string_view> views(texts.begin(), texts.end());
    at_once.numbers_of(views, numbers.data());
    for (std::size_t k = 0; k < texts.size(); ++k) ASSERT_EQ(numbers[k], expected.at(texts[k]));
    EXPECT_EQ(at_once.size(), static_cast<int>(expected.size()));
  }
}

TEST(Names, NumbersNoNamesAtOnce) {
  Names names;
  names.numbers_of({}, nullptr);
  EXPECT_EQ(names.size(), 0);
}

// A name of 16 bytes whose MurmurHash64A with the seed of libstdc++ is 0, for any first half: the last step
// for the second half can be undone.
constexpr std::uint64_t kMultiplier = 0xc6a4a7935bd1e995U;

std::uint64_t mixed(std::uint64_t word) {
  word *= kMultiplier;
  word ^= word >> 47;
  return word * kMultiplier;
}

std::uint64_t unmixed(std::uint64_t word) {
  std::uint64_t inverse = kMultiplier;  // modulo 2^64, by Newton's iteration
  for (int k = 0; k < 6; ++k) inverse *= 2 - kMultiplier * inverse;
  word *= inverse;
  word ^= word >> 47;
  return word * inverse;
}

std::string colliding_name(std::uint64_t first_half) {
  const std::uint64_t seed = 0xc70f6907U;
  const std::uint64_t state = (seed ^ (16 * kMultiplier) ^ mixed(first_half)) * kMultiplier;
  const std::uint64_t halves[] = {first_half, unmixed(state)};  // makes the state 0, which stays 0
  std::string name(16, '\0');
  std::memcpy(name.data(), halves, 16);
  return name;
}

// With random hashes, a table that is three quarters full has 1.5 slots a name on average; a chain of all
// names would have 80,000.
TEST(Names, SearchesFewSlotsForNamesThatCollideInOtherTables) {
  constexpr int kCount = 160000;
  const bool has_murmur = std::hash<std::string>()(colliding_name(1)) == 0;
  Names colliding;
  Names consecutive;
  Names alike;
  for (int k = 1; k <= kCount; ++k) {
    const std::string name = colliding_name(static_cast<std::uint64_t>(k));
    if (has_murmur) {
      ASSERT_EQ(std::hash<std::string>()(name), 0U);
    }
    colliding.number_of(name);
    consecutive.number_of(std::to_string(k));
    alike.number_of(std::string(100, 'a') + std::to_string(k));
  }
  for (const Names* const names : {&colliding, &consecutive, &alike}) {
    EXPECT_EQ(names->size(), kCount);
    EXPECT_LT(names->total_distance(), 4U * kCount);
  }
}

TEST(Names, CountsTheSlotsThatASearchVisits) {
  Names names;
  EXPECT_EQ(names.total_distance(), 0U);
  for (int k = 1; k <= 48; ++k) names.number_of(std::to_string(k));
  EXPECT_GT(names.total_distance(), 0U);  // 48 of 64 slots in use
}

}  // namespace
}  // namespace quillon::formats
