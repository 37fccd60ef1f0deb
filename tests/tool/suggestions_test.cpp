#include "tools/cli/suggestions.h"

#include <gtest/gtest.h>

namespace quillon::tool_test {
namespace {

using tool::did_you_mean;
using tool::edit_distance;
using tool::nearest;

TEST(EditDistance, CountsInsertedDroppedReplacedAndSwappedLetters) {
  EXPECT_EQ(edit_distance("", ""), 0);
  EXPECT_EQ(edit_distance("", "abc"), 3);
  EXPECT_EQ(edit_distance("abc", ""), 3);
  EXPECT_EQ(edit_distance("stats", "stats"), 0);
  EXPECT_EQ(edit_distance("stat", "stats"), 1);
  EXPECT_EQ(edit_distance("statss", "stats"), 1);
  EXPECT_EQ(edit_distance("stads", "stats"), 1);
  EXPECT_EQ(edit_distance("sttas", "stats"), 1);
  EXPECT_EQ(edit_distance("kitten", "sitting"), 3);
}

TEST(Nearest, ChoosesTheFirstOfTheNearestThatIsNearEnough) {
  EXPECT_EQ(nearest("statz", {"check", "stats", "state"}), "stats");
  EXPECT_EQ(nearest("part", {"check", "partition-info"}), "partition-info");
  EXPECT_EQ(nearest("pa", {"partition-info"}), "");
  EXPECT_EQ(nearest("nonsense", {"check", "stats"}), "");
  EXPECT_EQ(nearest("x", {}), "");
  EXPECT_EQ(did_you_mean("chekc", {"check"}), "; did you mean 'check'?");
  EXPECT_EQ(did_you_mean("x", {"check"}), "");
}

}  // namespace
}  // namespace quillon::tool_test
