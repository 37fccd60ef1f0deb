// The table of formats, and findings as text.

#include <gmock/gmock.h>

#include <exception>
#include <set>
#include <string>
#include <type_traits>
#include <utility>

#include "tests/formats/finding_of.h"
#include "tests/support/temp_file.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

TEST(AllFormats, HaveNamesAndSuffixesOfTheirOwn) {
  std::vector<std::string_view> names;
  std::set<std::string_view> unique_names;
  std::set<std::string_view> suffixes;
  std::size_t nsuffixes = 0;
  for (const Format& format : all_formats()) {
    names.push_back(format.name);
    unique_names.insert(format.name);
    suffixes.insert(format.suffixes.begin(), format.suffixes.end());
    nsuffixes += format.suffixes.size();
    EXPECT_FALSE(format.suffixes.empty()) << format.name;
    for (const std::string_view suffix : format.suffixes) {
      EXPECT_TRUE(suffix.starts_with(".")) << suffix;
      EXPECT_EQ(suffix.find('.', 1), std::string_view::npos) << suffix;
    }
  }
  EXPECT_THAT(names, ElementsAre("quillon", "hmetis", "kub", "mtx", "metis", "hif", "edges", "cnf"));
  EXPECT_EQ(unique_names.size(), names.size());
  EXPECT_EQ(suffixes.size(), nsuffixes);
}

TEST(AllFormats, AreReadAndDescribedAndRefuseWhatTheyDoNotWrite) {
  for (const Format& format : all_formats()) {
    SCOPED_TRACE(format.name);
    EXPECT_NE(format.read, nullptr);
    EXPECT_FALSE(format.summary.empty());
    EXPECT_FALSE(format.first_cell.empty());
    EXPECT_FALSE(format.weights.empty());
    if (format.write == nullptr) {
      ASSERT_NE(format.refusal, nullptr);
      EXPECT_NE(format.refusal({}), "");
    } else if (format.refusal != nullptr) {
      EXPECT_EQ(format.refusal({}), "");
    }
  }
  EXPECT_EQ(format("cnf").refusal({}), "SAT formulas are only read: a hypergraph has no signs of literals");
  EXPECT_EQ(format("mtx").refusal({.model = Model::kFineGrain}),
            "a matrix is written in the row-net or column-net model");
}

TEST(AllFormats, HaveModelsIfTheyHaveTheOption) {
  for (const Format& format : all_formats())
    EXPECT_EQ(format.models.empty(), (format.options & kModelOption) == 0) << format.name;
  EXPECT_THAT(format("mtx").models, ElementsAre(Model::kRowNet, Model::kColumnNet, Model::kFineGrain));
  EXPECT_THAT(format("cnf").models, ElementsAre(Model::kPrimal, Model::kDual, Model::kLiteral));
}

TEST(NameOf, TellsAllModelsApart) {
  std::vector<std::string_view> names;
  for (const Format& format : all_formats())
    for (const Model model : format.models) names.push_back(name_of(model));
  EXPECT_THAT(names, ElementsAre("row-net", "column-net", "fine-grain", "primal", "dual", "literal"));
  EXPECT_EQ(name_of(Model::kDefault), "default");
}

TEST(AllFormats, BeginWithOurOwn) {
  EXPECT_EQ(&own_format(), &all_formats().front());
  EXPECT_EQ(own_format().name, "quillon");
}

TEST(FormatNamed, FindsExactNames) {
  for (const Format& format : all_formats()) EXPECT_EQ(format_named(format.name), &format);
  for (const char* const name : {"", "Quillon", "quillon ", "qhg", ".qhg", "matrix"})
    EXPECT_EQ(format_named(name), nullptr) << name;
}

TEST(FormatOfFile, GoesByTheSuffix) {
  const auto name_of = [](const char* file) { return format_of_file(file)->name; };
  EXPECT_EQ(name_of("a.qhg"), "quillon");
  for (const char* const file : {"a.hgr", "a.hmetis", "a.hg", "b.mtx/a.hgr.gz"})
    EXPECT_EQ(name_of(file), "hmetis");
  EXPECT_EQ(name_of("a.kub"), "kub");
  EXPECT_EQ(name_of("a.mtx.gz"), "mtx");
  EXPECT_EQ(name_of("a.graph"), "metis");
  EXPECT_EQ(name_of("a.hif.json"), "hif");
  EXPECT_EQ(name_of("a.cnf"), "cnf");
  for (const char* const file : {"a.edges", "a.hel"}) EXPECT_EQ(name_of(file), "edges");
  for (const char* const file :
       {"", "-", "qhg", "a.txt", "a.qhg.xz", "a.gz", "a.zst", "a.qhg.gz.gz", "a.qhg.zst.gz", "a.QHG", ".gz"})
    EXPECT_EQ(format_of_file(file), nullptr) << file;
}

TEST(FormatOfFile, KnowsEverySuffixOfTheTableAlsoCompressed) {
  for (const Format& format : all_formats()) {
    for (const std::string_view suffix : format.suffixes) {
      const std::string file = "dir.d/file" + std::string(suffix);
      EXPECT_EQ(format_of_file(file), &format) << file;
      EXPECT_EQ(format_of_file(file + ".gz"), &format) << file;
      EXPECT_EQ(format_of_file(file + ".zst"), &format) << file;
    }
  }
}

TEST(TextOf, NamesThePlaceSeverityAndHint) {
  EXPECT_EQ(text_of({"a-b", Severity::kError, "f.hgr", 3, 7, "found 1", "is it 2?"}),
            "f.hgr:3:7: error: found 1 (is it 2?)");
  EXPECT_EQ(text_of({"a-b", Severity::kWarning, "f.hgr", 3, 7, "found 1", ""}),
            "f.hgr:3:7: warning: found 1");
  EXPECT_EQ(text_of({"a-b", Severity::kNote, "f.hgr", 0, 0, "cannot read 'f.hgr'", ""}),
            "note: cannot read 'f.hgr'");
  EXPECT_EQ(text_of({"a-b", Severity::kError, "f.hgr", 0, 0, "too many", "really?"}),
            "error: too many (really?)");
}

TEST(BadFile, CarriesItsFindingWhenCopied) {
  const Finding finding{"a-b", Severity::kWarning, "f", 1, 2, "found 1", "why?"};
  const BadFile error(finding);
  const BadFile copy = error;  // NOLINT(performance-unnecessary-copy-initialization): the copy is under test
  EXPECT_EQ(copy.finding(), finding);
  EXPECT_STREQ(copy.what(), "f:1:2: warning: found 1 (why?)");
  static_assert(std::is_nothrow_move_constructible_v<Finding>);
  try {
    throw BadFile(finding);
  } catch (const std::exception& caught) {
    EXPECT_STREQ(caught.what(), error.what());
  }
}

TEST(CheckPins, RefusesMoreThanARecordCanHave) {
  check_pins(2147483645);
  const Finding finding = finding_of([] { check_pins(2147483646); });
  EXPECT_EQ(finding, error_of_file("too-many-pins", "", "more than 2147483645 pins are too many"));
}

// The check does not know the file name; read_file adds it.
TEST(ReadFile, NamesTheFileThatHasTooManyPins) {
  Format many = own_format();
  many.read = [](Scanner& /*in*/, NetLists& /*lists*/, const ReadOptions& /*options*/) {
    check_pins(std::size_t{1} << 31);
  };
  const TempFile file("1 0 0 0\n");
  EXPECT_EQ(finding_of([&] { read_file(file.name(), many, {}); }),
            error_of_file("too-many-pins", file.name(), "more than 2147483645 pins are too many"));
}

TEST(Losses, OfEachFormatAreCounted) {
  NetLists lists = read_text(own_format(), "1 3 4 5 3\n5 1 2 1\n0 3\n1\n-1 2\n7 1 1\n");
  Record record;
  to_record(std::move(lists), record);
  const auto losses_in = [&record](const char* name, const WriteOptions& options = {}) {
    Losses losses;
    if (format(name).find_losses != nullptr) format(name).find_losses(record.h, options, losses);
    return losses;
  };
  EXPECT_THAT(losses_in("quillon").lost, ElementsAre());
  EXPECT_THAT(losses_in("quillon", {.weights = 0}).lost,
              ElementsAre("1 cell weight other than 1", "3 net weights other than 1"));
  EXPECT_THAT(losses_in("hmetis").refused, ElementsAre("1 net without pins, which many readers refuse",
                                                       "1 weight of 0, which some readers refuse",
                                                       "1 weight below 0, which readers refuse"));
  EXPECT_THAT(losses_in("hmetis").dropped, ElementsAre("2 nets of one pin, which some readers drop"));
  EXPECT_THAT(losses_in("kub").refused, ElementsAre("1 weight below 0, which readers refuse"));
  EXPECT_THAT(losses_in("mtx").lost,
              ElementsAre("1 cell weight other than 1", "3 net weights other than 1", "1 repeated pin"));
  EXPECT_EQ(format("hif").find_losses, nullptr);
}

Losses losses_of_graph(const std::string& text) {
  Record record;
  to_record(read_text(format("hmetis"), text), record);
  Losses losses;
  format("metis").find_losses(record.h, {}, losses);
  return losses;
}

TEST(FormatOfText, KnowsFormulasByTheirHeader) {
  const auto name_of = [](const char* text, bool is_whole) {
    const Format* const format = format_of_text({text, is_whole});
    return format == nullptr ? std::string_view("none") : format->name;
  };
  EXPECT_EQ(name_of("p cnf 3 2\n1 -2 0\n3 0\n", true), "cnf");
  EXPECT_EQ(name_of("c of DIMACS\n\nc\np cnf 3 2\n1 -", false), "cnf");
  EXPECT_EQ(name_of("c of DIMACS\nc ...", false), "cnf");
  EXPECT_EQ(name_of("c of DIMACS\n", true), "none");
  EXPECT_EQ(name_of("cell 1\ncell 2\n", true), "none");
}

TEST(Losses, OfEdgeListsAreEmptyNetsLoneCellsAndWeights) {
  const auto losses_of = [](const std::string& text) {
    Record record;
    to_record(read_text(format("hmetis"), text), record);
    Losses losses;
    const Labels labels{{"", "1"}, {"", "\"n\"", "2", "3"}};
    format("edges").find_losses(record.h, {.labels = &labels}, losses);
    return losses;
  };
  const Losses losses = losses_of("3 4 11\n2 1 2\n1 1 1\n1\n3\n1\n1\n1\n");
  EXPECT_THAT(losses.lost, ElementsAre("1 cell weight other than 1", "1 net weight other than 1",
                                       "1 net without pins", "2 cells without nets", "1 net name"));
  EXPECT_THAT(losses.refused, ElementsAre());
  EXPECT_THAT(losses_of("1 1\n1\n").lost, ElementsAre("1 net name"));
  EXPECT_THAT(losses_of("1 0\n\n").refused, ElementsAre("no names, which makes it no list"));
}

TEST(Losses, OfMetisAreThoseOfMergedEdges) {
  const Losses sound = losses_of_graph("2 3 11\n1 1 2\n2 2 3\n0\n1\n2\n");
  EXPECT_THAT(sound.lost, ElementsAre());
  EXPECT_THAT(sound.refused, ElementsAre());

  const Losses merged = losses_of_graph("5 3 1\n0 1 2\n0 2 1\n3 3 1\n0 1 2\n0 2 3\n");
  EXPECT_THAT(merged.lost,
              ElementsAre("2 nets parallel to an earlier one, merged with it by adding the weights"));
  EXPECT_THAT(merged.refused, ElementsAre("2 edges of a weight below 1, which METIS refuses"));
  EXPECT_THAT(losses_of_graph("2 2 1\n0 1 2\n5 2 1\n").refused, ElementsAre());

  EXPECT_THAT(losses_of_graph("0 2\n").refused, ElementsAre("no edges, which METIS refuses"));
  // Nothing is said of a hypergraph that the writer refuses.
  const Losses none = losses_of_graph("3 3 1\n0 1 2\n0 1 2\n0 1 2 3\n");
  EXPECT_THAT(none.lost, ElementsAre());
  EXPECT_THAT(none.refused, ElementsAre());
}

}  // namespace
}  // namespace quillon::formats
