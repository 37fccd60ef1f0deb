#include <gmock/gmock.h>
#include <zlib.h>

#include <cmath>
#include <limits>
#include <map>

#include "formats/net_lists.h"
#include "measures/figures.h"
#include "tests/tool/full_disk.h"
#include "tests/tool/tool_fixture.h"
#include "tools/report/charts.h"
#include "tools/report/png.h"
#include "tools/report/summaries.h"
#include "tools/report/text.h"

namespace quillon::tool_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

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

TEST(Base64, FillsUpToFourDigits) {
  EXPECT_EQ(tool::base64(""), "");
  EXPECT_EQ(tool::base64("M"), "TQ==");
  EXPECT_EQ(tool::base64("Ma"), "TWE=");
  EXPECT_EQ(tool::base64("Man"), "TWFu");
  EXPECT_EQ(tool::base64("\xFF\xEF\xBE"), "/+++");
}

std::uint32_t big_endian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t k = 0; k < 4; ++k) value = value << 8U | static_cast<unsigned char>(bytes[at + k]);
  return value;
}

// The data of each chunk by its type.
std::map<std::string, std::string> chunks_of(const std::string& file) {
  std::map<std::string, std::string> chunks;
  for (std::size_t at = 8; at < file.size();) {
    const std::uint32_t length = big_endian(file, at);
    const auto* const checked = reinterpret_cast<const Bytef*>(file.data() + at + 4);
    EXPECT_EQ(big_endian(file, at + 8 + length), crc32(0, checked, length + 4));
    chunks[file.substr(at + 4, 4)] = file.substr(at + 8, length);
    at += 12 + length;
  }
  return chunks;
}

TEST(Png, HoldsTheShadesInChunksWithChecksums) {
  const std::string file = tool::png_of({3, 2, {0, 70, 255, 9, 8, 7}});
  ASSERT_EQ(file.substr(0, 8), "\x89PNG\r\n\x1a\n");
  const std::map<std::string, std::string> chunks = chunks_of(file);
  ASSERT_THAT(chunks,
              ElementsAre(Pair("IDAT", testing::_), Pair("IEND", ""),
                          Pair("IHDR", std::string("\0\0\0\3\0\0\0\2\x08\x03\0\0\0", 13)),
                          Pair("PLTE", testing::SizeIs(3 * 256)), Pair("tRNS", testing::SizeIs(256))));
  EXPECT_EQ(chunks.at("tRNS")[70], '\x46');

  std::string pixels(8, '?');
  uLongf size = pixels.size();
  const std::string& packed = chunks.at("IDAT");
  ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(pixels.data()), &size,
                       reinterpret_cast<const Bytef*>(packed.data()), packed.size()),
            Z_OK);
  EXPECT_EQ(size, 8U);
  EXPECT_EQ(pixels, std::string("\0\0\x46\xFF\0\x09\x08\x07", 8));
}

testing::Matcher<tool::Bin> is_bin(int lo, int hi, std::int64_t count) {
  return AllOf(testing::Field(&tool::Bin::lo, lo), testing::Field(&tool::Bin::hi, hi),
               testing::Field(&tool::Bin::count, count));
}

TEST(LogarithmicBins, HoldOneValueEachWhereThereAreFew) {
  EXPECT_TRUE(tool::logarithmic_bins({}).empty());
  EXPECT_THAT(tool::logarithmic_bins({{0, 5}, {39, 2}, {40, 1}}),
              ElementsAre(is_bin(0, 0, 5), is_bin(39, 39, 2), is_bin(40, 40, 1)));
}

TEST(LogarithmicBins, HoldAnEighthOfADecadeOtherwise) {
  // Borders at 1, 2, 3, 4, 5, 6, 8, 10, 14, .. 75, 100: 10 to the power of k / 8, rounded up.
  EXPECT_THAT(tool::logarithmic_bins({{0, 9}, {1, 1}, {6, 1}, {7, 1}, {10, 1}, {13, 1}, {14, 1}, {80, 4}}),
              ElementsAre(is_bin(0, 0, 9), is_bin(1, 1, 1), is_bin(6, 7, 2), is_bin(10, 13, 2),
                          is_bin(14, 17, 1), is_bin(75, 80, 4)));
}

TEST(LogarithmicBins, LoseNothingUpToTheLargestNumber) {
  std::vector<std::pair<int, int>> distribution;
  for (std::int64_t value = 1; value <= std::numeric_limits<int>::max(); value = value * 3 / 2 + 1)
    distribution.emplace_back(static_cast<int>(value), 1);
  distribution.emplace_back(std::numeric_limits<int>::max(), 1);
  std::int64_t count = 0;
  std::int64_t previous = 0;
  for (const tool::Bin& bin : tool::logarithmic_bins(distribution)) {
    EXPECT_GT(bin.lo, previous);
    EXPECT_GE(bin.hi, bin.lo);
    previous = bin.hi;
    count += bin.count;
  }
  EXPECT_EQ(count, std::ssize(distribution));
}

TEST(Groups, AreAsEvenAsCanBeAndKnowTheirFirstItem) {
  for (int count = 1; count <= 40; ++count) {
    for (int ngroups = 1; ngroups <= count; ++ngroups) {
      for (int index = 0; index < count; ++index) {
        const int group = tool::group_of(index, count, ngroups);
        const int begin = tool::group_begin(group, count, ngroups);
        const int end = tool::group_begin(group + 1, count, ngroups);
        EXPECT_LE(begin, index);
        EXPECT_LT(index, end);
        EXPECT_GE(end - begin, count / ngroups);
        EXPECT_LE(end - begin, (count + ngroups - 1) / ngroups);
      }
    }
  }
}

// 5 cells of weights 3, 1, 1, 1, 2; nets of weights 5, 2, 7, 1: {1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}.
class ReportOfFive : public testing::Test {
 protected:
  void SetUp() override {
    tool::Arrays arrays;
    arrays.ncells = 5;
    tool::begin_nets(arrays, 4);
    for (const std::vector<int>& net : {std::vector<int>{1, 3, 5}, {1, 2}, {2, 3, 4, 5}, {}}) {
      arrays.nadj.insert(arrays.nadj.end(), net.begin(), net.end());
      tool::end_net(arrays);
    }
    arrays.nadj.insert(arrays.nadj.end(), {0, 0});
    arrays.cell_weights = {0, 3, 1, 1, 1, 2};
    arrays.net_weights = {0, 5, 2, 7, 1};
    tool::to_record(arrays, loaded_);
  }

  tool::Loaded loaded_;
};

TEST_F(ReportOfFive, HasTheFiguresOfTheRecord) {
  const tool::Figures figures = tool::figures_of(loaded_.h);
  EXPECT_EQ(figures.npins, 9);
  EXPECT_THAT(figures.degrees.distribution, ElementsAre(Pair(1, 1), Pair(2, 4)));
  EXPECT_THAT(figures.sizes.distribution, ElementsAre(Pair(0, 1), Pair(2, 1), Pair(3, 1), Pair(4, 1)));
  EXPECT_EQ(figures.sizes.min, 0);
  EXPECT_EQ(figures.sizes.min_above_zero, 2);
  EXPECT_EQ(figures.sizes.nzero, 1);
  EXPECT_EQ(figures.sizes.max, 4);
  EXPECT_DOUBLE_EQ(figures.degrees.average, 1.8);
  EXPECT_DOUBLE_EQ(figures.degrees.deviation, 0.4);
  EXPECT_DOUBLE_EQ(figures.sizes.deviation, std::sqrt(35.0) / 4);  // squares 81 + 1 + 9 + 49 sixteenths
  EXPECT_EQ(figures.cells.total, 8);
  EXPECT_EQ(figures.nets.min, 1);
  EXPECT_EQ(figures.nets.max, 7);
  EXPECT_EQ(figures.nets.total, 15);
}

TEST_F(ReportOfFive, HasADensityForEachBox) {
  // Boxes of cells 1..3 and 4..5 by nets 1..2 and 3..4.
  const tool::DensityGrid grid = tool::density_grid(loaded_.h, 2, 2);
  EXPECT_THAT(grid.npins, ElementsAre(4, 1, 2, 2));
  EXPECT_THAT(grid.densities, ElementsAre(4.0 / 6, 1.0 / 4, 2.0 / 6, 2.0 / 4));
  EXPECT_DOUBLE_EQ(grid.smallest, 0.25);
  EXPECT_DOUBLE_EQ(grid.largest, 4.0 / 6);

  const tool::DensityGrid exact = tool::density_grid(loaded_.h, 100, 100);
  EXPECT_THAT(exact.npins, ElementsAre(1, 0, 1, 0, 1, 1, 1, 0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0, 0));
}

TEST_F(ReportOfFive, KnowsTheLargestFirst) {
  EXPECT_THAT(tool::largest_nets(loaded_.h, 3), ElementsAre(3, 1, 2));
  EXPECT_THAT(tool::largest_nets(loaded_.h, 10), ElementsAre(3, 1, 2, 4));
  EXPECT_THAT(tool::busiest_cells(loaded_.h, 5), ElementsAre(1, 2, 3, 5, 4));  // all but 4 have two nets
  EXPECT_THAT(tool::cell_weight_distribution(loaded_.h), ElementsAre(Pair(1, 3), Pair(2, 1), Pair(3, 1)));
  EXPECT_THAT(tool::net_weight_distribution(loaded_.h),
              ElementsAre(Pair(1, 1), Pair(2, 1), Pair(5, 1), Pair(7, 1)));
}

TEST_F(ReportOfFive, HasTheWeightBetweenParts) {
  // Net 1 lies in parts 0 and 1, net 2 in 0 and 2, net 3 in 1 and 2.
  const std::vector<int> parts{-1, 0, 2, 0, 2, 1};
  const tool::CutMatrix matrix = tool::cut_matrix(loaded_.h, parts, 4, 16);
  EXPECT_EQ(matrix.ngroups, 4);
  EXPECT_THAT(matrix.weights, ElementsAre(0, 12, 9, 0, 12, 0, 7, 0, 9, 7, 0, 0, 0, 0, 0, 0));

  // Parts 0, 1 together and 2, 3: net 1 lies in the first group, the others in both.
  const tool::CutMatrix groups = tool::cut_matrix(loaded_.h, parts, 4, 2);
  EXPECT_THAT(groups.weights, ElementsAre(5, 9, 9, 0));
}

TEST(DistributionChart, DrawsABarForEachBinUpToItsCount) {
  const std::string svg =
      tool::distribution_chart({{0, 0, 3}, {1, 1, 10}, {2, 9, 1000}}, "degree", "cells", {"id", "T<", "D&"});
  EXPECT_THAT(
      svg,
      AllOf(StartsWith("<svg viewBox=\"0 0 400 260\" role=\"img\" "
                       "aria-labelledby=\"id-title id-desc\">\n"
                       "<title id=\"id-title\">T&lt;</title>\n<desc id=\"id-desc\">D&amp;</desc>\n"),
            HasSubstr("<title>degree 0: 3 cells</title>"), HasSubstr("<title>degree 1: 10 cells</title>"),
            HasSubstr("<title>degree 2 to 9: 1,000 cells</title>"), HasSubstr(">1,000</text>"),
            EndsWith("</svg>\n")));
}

class Report : public WritingTool {
 protected:
  void SetUp() override {
    place_.write("h.qhg", "1 5 4 9 3\n5 1 3 5\n2 1 2\n7 2 3 4 5\n1\n3 1 1 1 2\n");
    place_.write("h.part", "0\n2\n0\n2\n0\n");
  }

  [[nodiscard]] std::string page(const std::string& arguments) const {
    const Outcome outcome = place_.run("$QUILLON report " + arguments + " -o -");
    EXPECT_EQ(outcome.status, 0) << arguments;
    EXPECT_EQ(outcome.err, "") << arguments;
    return outcome.out;
  }
};

std::string datum(const std::string& id, const std::string& value, const std::string& shown) {
  return std::string("<data id=\"")
      .append(id)
      .append("\" value=\"")
      .append(value)
      .append("\">")
      .append(shown + "</data>");
}

TEST_F(Report, WritesOnePageThatNeedsNothingElse) {
  succeed("$QUILLON report h.qhg h.part -o page.html");
  const std::string text = contents("page.html");
  EXPECT_EQ(text, page("h.qhg h.part"));
  EXPECT_EQ(folder(), "h.part\nh.qhg\npage.html\n");
  EXPECT_THAT(text, AllOf(StartsWith("<!DOCTYPE html>\n<html lang=\"en\""), EndsWith("</html>\n"),
                          Not(HasSubstr("<script")), Not(HasSubstr("url(h"))));
  EXPECT_THAT(text, HasSubstr("default-src 'none'"));
}

TEST_F(Report, HoldsTheNumbersOfTheHypergraph) {
  EXPECT_THAT(page("h.qhg"),
              AllOf(HasSubstr("Hypergraph of 5 cells, 4 nets, 9 pins</p>"),
                    HasSubstr(datum("cells", "5", "5")), HasSubstr(datum("nets", "4", "4")),
                    HasSubstr(datum("pins", "9", "9")), HasSubstr(datum("average-degree", "1.8", "1.800")),
                    HasSubstr(datum("average-size", "2.25", "2.250")), HasSubstr(datum("size-max", "4", "4")),
                    HasSubstr(datum("size-zero", "1", "1")), HasSubstr(datum("cell-weight-total", "8", "8")),
                    HasSubstr(datum("net-weight-total", "15", "15")), HasSubstr("<h2>Sparsity</h2>"),
                    Not(HasSubstr("<h2>Partition</h2>"))));
}

TEST_F(Report, HoldsTheNumbersOfThePartition) {
  EXPECT_THAT(
      page("h.qhg h.part -k 4"),
      AllOf(HasSubstr("partition h.part</p>"), HasSubstr(datum("parts", "4", "4")),
            HasSubstr(datum("cut-nets", "2", "2")), HasSubstr(datum("cut", "9", "9")),
            HasSubstr(datum("connectivity", "9", "9")), HasSubstr(datum("external-degrees", "18", "18")),
            HasSubstr(datum("imbalance", "2", "200 %")),
            HasSubstr("<tr><th scope=\"row\">0</th><td class=\"within\">5</td><td style=\"--a:0.000\">0</td>"
                      "<td style=\"--a:0.450\">9</td><td style=\"--a:0.000\">0</td></tr>")));
}

TEST_F(Report, ShowsLargeTotalsInShortAndExactly) {
  place_.write("heavy.qhg", "1 2 1 2 1\n1 2\n2000000000 2000000000\n");
  place_.write("heavy.part", "0 1");
  place_.write("cut.qhg", "1 2 1 2 2\n16000000 1 2\n");
  EXPECT_THAT(page("cut.qhg heavy.part"), HasSubstr("<dt>Cut</dt><dd>16.0 M <small>" +
                                                    datum("cut", "16000000", "16,000,000") + "</small>"));
  EXPECT_THAT(page("heavy.qhg"), HasSubstr(datum("cell-weight-total", "4000000000", "4,000,000,000")));
}

TEST_F(Report, EscapesNamesAndTitles) {
  const std::string markup = "&lt;script&gt;alert(1)&lt;b&gt;";
  succeed("cp h.qhg '<script>alert(1)<b>'");
  EXPECT_THAT(page("'<script>alert(1)<b>'"),
              AllOf(Not(HasSubstr("<script")), HasSubstr("<title>" + markup + "</title>"),
                    HasSubstr("<h1>" + markup + "</h1>")));
  EXPECT_THAT(page("h.qhg --title 'A & B'"), HasSubstr("<h1>A &amp; B</h1>"));
}

TEST_F(Report, DoesNotSayWhereTheFilesLie) {
  const std::string folder = place_.run("printf %s \"$PWD\"").out;
  ASSERT_THAT(folder, testing::StartsWith("/"));
  EXPECT_THAT(page("'" + folder + "/h.qhg' '" + folder + "/h.part'"),
              AllOf(HasSubstr("<h1>h.qhg</h1>"), HasSubstr("partition h.part<"), Not(HasSubstr(folder))));
}

TEST_F(Report, ReadsOtherFormatsAndStandardInput) {
  place_.write("h.hgr", "2 3\n1 2\n2 3\n");
  EXPECT_THAT(page("h.hgr"), HasSubstr("Hypergraph of 3 cells, 2 nets, 4 pins"));
  EXPECT_THAT(page("- --from hmetis < h.hgr"),
              AllOf(HasSubstr("3 cells, 2 nets, 4 pins"), HasSubstr("<h1>standard input</h1>")));
}

TEST_F(Report, TakesHypergraphsOfNothing) {
  place_.write("none.qhg", "1 0 0 0\n");
  place_.write("nets.qhg", "1 0 2 0\n\n\n");
  place_.write("cells.qhg", "1 3 0 0\n");
  place_.write("empty", "");
  place_.write("three", "0 0 0");
  for (const std::string files : {"none.qhg", "none.qhg empty -k 1", "nets.qhg", "nets.qhg empty -k 2",
                                  "cells.qhg", "cells.qhg three"}) {
    const std::string text = page(files);
    EXPECT_THAT(text, AllOf(HasSubstr("There are no pins."), Not(HasSubstr("nan")), Not(HasSubstr("inf\"")),
                            Not(HasSubstr("inf<"))))
        << files;
  }
  EXPECT_THAT(page("cells.qhg"),
              AllOf(HasSubstr(datum("degree-zero", "3", "3")), HasSubstr("There are no nets.")));
}

TEST_F(Report, GroupsPartsWhereThereAreMany) {
  std::string cells;
  for (int i = 0; i < 3000; ++i) cells.append(std::to_string(i)).append("\n");
  place_.write("many.qhg", "1 3000 2 4\n1 2\n1 3000\n");
  place_.write("many.part", cells);
  EXPECT_THAT(
      page("many.qhg many.part"),
      AllOf(HasSubstr("The first 1,000 of 3,000 parts."), HasSubstr("for groups of parts"),
            HasSubstr("<tr><th scope=\"row\">0\u201311</th><td>2,989\u20132,999</td><td>1</td></tr>")));
}

TEST_F(Report, RefusesToReplaceWhatItReads) {
  place_.write("h.part", "0\n2\n0\n2\n0\n");
  for (const std::string name : {"h.qhg", "h.part"})
    EXPECT_EQ(place_.run("$QUILLON report h.qhg h.part -o " + name).err,
              "quillon: error: '" + name + "' is read, and would be replaced\n");
}

TEST_F(Report, WritesNothingOfBadInput) {
  EXPECT_EQ(failure("$QUILLON report bad.qhg -o page.html", {{"bad.qhg", "1 2 1 2\n1 3\n"}}),
            "quillon: error: invalid vertex/cell id 3 in the  vertex/cell list of net 1\n");
  EXPECT_EQ(
      failure("$QUILLON report h.qhg bad.part -o page.html", {{"bad.part", "0 1"}}),
      "quillon: bad.part:1:4: error: found the end of the file, expected the part number, from 0 to 4, of "
      "cell 3\n");
}

TEST_F(Report, SeesAFullDisk) {
  EXPECT_EQ(place_.run("$QUILLON report h.qhg -o - >/dev/full").err,
            "quillon: error: cannot write standard output: No space left on device\n");
  ASSERT_EQ(place_.run(kMakeFullDisk).status, 0);
  if (folder().find("full") == std::string::npos) GTEST_SKIP() << "no device can be made here";
  EXPECT_EQ(place_.run("$QUILLON report h.qhg -o full").err,
            "quillon: error: cannot write 'full': No space left on device\n");
}

TEST_F(Report, RefusesWrongUsage) {
  for (const std::string arguments : {"h.qhg", "-o x", "h.qhg -o x -k 2", "h.qhg h.part -o x -k 0",
                                      "h.qhg h.part more -o x", "h.qhg -o x --from mtrix"}) {
    EXPECT_EQ(place_.run("$QUILLON report " + arguments).status, 2) << arguments;
    EXPECT_EQ(folder(), "h.part\nh.qhg\n") << arguments;
  }
}

}  // namespace
}  // namespace quillon::tool_test
