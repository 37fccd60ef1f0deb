#include "engines/slice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <limits>
#include <string>

#include "tests/formats/temp_folder.h"

using namespace quillon::engines;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Numbers = std::vector<std::int64_t>;

// What several readers get from their shares of a file, one after another.
struct Read {
  Numbers sizes;  // of the nets
  Numbers pins;
  Numbers net_weights;
  Numbers weight_numbers;
  bool operator==(const Read&) const = default;
};

Read read_in_shares(const std::string& filename, FileFormat format, std::int64_t nshares) {
  const FileHeader header = read_header(filename, format);
  Read read;
  std::int64_t line = 0;
  for (std::int64_t k = 0; k < nshares; ++k) {
    const Range share = share_of(header.body.size(), k, nshares);
    const Range bytes{header.body.begin + share.begin, header.body.begin + share.end};
    const Survey counts = survey(filename, header, bytes);
    const auto slice = read_slice<std::int32_t>(filename, header, bytes, counts, line);
    EXPECT_EQ(slice.first_net, std::min(line, header.nnets));
    for (std::int64_t j = 0; j < slice.nnets(); ++j) {
      const auto at = static_cast<std::size_t>(j);
      read.sizes.push_back(slice.starts[at + 1] - slice.starts[at]);
    }
    read.pins.insert(read.pins.end(), slice.pins.begin(), slice.pins.end());
    read.net_weights.insert(read.net_weights.end(), slice.net_weights.begin(), slice.net_weights.end());
    read.weight_numbers.insert(read.weight_numbers.end(), slice.weight_numbers.begin(),
                               slice.weight_numbers.end());
    line += counts.nlines;
  }
  return read;
}

std::string message_of(const std::string& filename, FileFormat format) {
  try {
    read_in_shares(filename, format, 1);
  } catch (const BadInput& error) {
    return error.what();
  }
  return "none";
}

class SliceTest : public testing::Test {
 protected:
  std::string file(const std::string& text) {
    const std::string name = folder_.at("h");
    std::ofstream(name) << text;
    return name;
  }
  quillon::formats::TempFolder folder_;
};

TEST(ShareOf, DividesEvenly) {
  EXPECT_EQ(share_of(10, 0, 3).begin, 0);
  EXPECT_EQ(share_of(10, 0, 3).end, 4);
  EXPECT_EQ(share_of(10, 1, 3).end, 7);
  EXPECT_EQ(share_of(10, 2, 3).end, 10);
  EXPECT_EQ(share_of(1, 5, 7).size(), 0);
  constexpr std::int64_t kMany = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(share_of(kMany, 63, 64).end, kMany);
}

// Every number of shares puts the borders at other bytes: within lines, comments and line ends.
TEST_F(SliceTest, ReadsTheSameInAnyNumberOfShares) {
  const std::string name = file(
      "% comment\n1 5 4 9 3 2\n% another\n5 1 3 5\n\t2 1 2 \r\n\n% 9 9\n7 2 3 4 5\n% weights\n3 0 1 0\n1 "
      "0\n1 0 2 0\n");
  const Read expected{
      {3, 2, 0, 4}, {0, 2, 4, 0, 1, 1, 2, 3, 4}, {5, 2, 1, 7}, {3, 0, 1, 0, 1, 0, 1, 0, 2, 0}};
  // The empty line has no weight.
  EXPECT_THAT(message_of(name, FileFormat::kQuillon), HasSubstr("the weight of net 3"));

  const std::string sound = file(
      "% comment\n1 5 4 9 3 2\n% another\n5 1 3 5\n\t2 1 2 \r\n1\n% 9 9\n7 2 3 4 5\n% weights\n3 0 1 0\n1 "
      "0\n1 0 2 0\n");
  for (std::int64_t nshares = 1; nshares <= 100; ++nshares)
    EXPECT_EQ(read_in_shares(sound, FileFormat::kQuillon, nshares), expected) << nshares << " shares";
}

TEST_F(SliceTest, ReadsHmetisFiles) {
  const std::string name = file("% comment\n2 3 11\n5 1 2\n% here\n6 3\n1\n2\n3\n");
  for (std::int64_t nshares = 1; nshares <= 30; ++nshares)
    EXPECT_EQ(read_in_shares(name, FileFormat::kHmetis, nshares),
              (Read{{2, 1}, {0, 1, 2}, {5, 6}, {1, 2, 3}}));
}

TEST_F(SliceTest, LeavesOutRepeatedPinsAndSortsTheRest) {
  EXPECT_EQ(read_in_shares(file("0 4 1 5\n3 1 3 0 1\n"), FileFormat::kQuillon, 1),
            (Read{{3}, {0, 1, 3}, {}, {}}));
}

TEST_F(SliceTest, IgnoresTextAfterNumbersOnlyInOurOwnFormat) {
  EXPECT_EQ(read_in_shares(file("1 2 1 2 of a kind\n1 2 pins\n"), FileFormat::kQuillon, 1),
            (Read{{2}, {0, 1}, {}, {}}));
  EXPECT_THAT(message_of(file("1 2\n1 2 pins\n"), FileFormat::kHmetis),
              HasSubstr("h: byte 8: expected the end"));
  EXPECT_THAT(message_of(file("1 2\n1 2x\n"), FileFormat::kHmetis),
              HasSubstr("h: byte 7: expected a number"));
}

TEST_F(SliceTest, ReadsCountsOfMoreThan32Bits) {
  const std::string name = file("1 6000000000 5000000000 7000000000 3 4000000000\n");
  const FileHeader header = read_header(name, FileFormat::kQuillon);
  EXPECT_EQ(header.ncells, 6000000000);
  EXPECT_EQ(header.nnets, 5000000000);
  EXPECT_EQ(header.npins, 7000000000);
  EXPECT_EQ(header.weights_per_cell, 4000000000);
  EXPECT_EQ(read_header(file("5000000000 6000000000 11\n"), FileFormat::kHmetis).ncells, 6000000000);
}

// A file of 6 GiB, of which only the ends exist: in between lies a comment.
TEST_F(SliceTest, ReadsSlicesBeyondFourGigabytes) {
  constexpr std::int64_t kHole = std::int64_t{6} << 30;
  const std::string name = file("1 6000000000 5000000000 5000000000\n%");
  ASSERT_EQ(truncate(name.c_str(), kHole), 0);
  std::ofstream(name, std::ios::app) << "\n5999999999 1\n6000000000\n2 5999999998\n";
  const FileHeader header = read_header(name, FileFormat::kQuillon);

  const Range tail{kHole - 4096, header.body.end};
  const Survey counts = survey(name, header, tail);
  EXPECT_EQ(counts.nlines, 3);
  EXPECT_EQ(counts.nwords, 5);
  const auto slice = read_slice<std::int64_t>(name, header, tail, counts, 4999999997);
  EXPECT_EQ(slice.first_net, 4999999997);
  EXPECT_THAT(slice.starts, ElementsAre(0, 2, 3, 5));
  EXPECT_THAT(slice.pins, ElementsAre(0, 5999999998, 5999999999, 1, 5999999997));

  // No line begins in a range of the hole, and nothing beyond it is read.
  EXPECT_EQ(survey(name, header, {kHole / 2, kHole / 2 + 100000}).nlines, 0);
  const Survey past{3, 5};
  EXPECT_THAT(read_slice<std::int64_t>(name, header, tail, past, 5000000000).pins, IsEmpty());
}

TEST_F(SliceTest, NamesTheByteOfAnError) {
  EXPECT_THAT(message_of(file("1 3 2 5\n1 2\n2 3 9\n"), FileFormat::kQuillon),
              HasSubstr("h: byte 17: net 2 names cell 9, expected 1 to 3"));
  EXPECT_THAT(message_of(file("1 3 2 5 2\n-1 2\n"), FileFormat::kQuillon),
              HasSubstr("h: byte 12: expected the weight of net 1, from 0 to 2147483647, found -1"));
  EXPECT_THAT(message_of(file("1 3 x\n"), FileFormat::kQuillon),
              HasSubstr("h: byte 4: expected the number of nets"));
  EXPECT_THAT(message_of(file("1 1 10\n1\n2147483648\n"), FileFormat::kHmetis),
              HasSubstr("a cell weighs 2147483648"));
  EXPECT_THAT(message_of(file("1 2 7\n1 2\n"), FileFormat::kHmetis), HasSubstr("expected a format"));
  EXPECT_THAT(message_of(file("1 2\n1 99999999999999999999\n"), FileFormat::kHmetis),
              HasSubstr("does not fit into 64 bits"));
  EXPECT_THAT(message_of(folder_.at("none"), FileFormat::kHmetis), HasSubstr("cannot open"));
}

TEST_F(SliceTest, ReadsFixedCells) {
  EXPECT_THAT(read_fixed(file("-1\n0\n2 \n"), 3, 3), ElementsAre(-1, 0, 2));
  EXPECT_THROW(read_fixed(file("-1\n0\n"), 3, 3), BadInput);
  EXPECT_THROW(read_fixed(file("-1\n0\n3\n"), 3, 3), BadInput);
  EXPECT_THROW(read_fixed(file("-1\n0\nx\n"), 3, 3), BadInput);
}

}  // namespace
