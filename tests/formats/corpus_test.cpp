// Importers and exporters on the files of corpus/, whose index says what a reader has to make of them.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "formats/lint.h"
#include "hypergraph/detail/lists.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/records.h"

namespace quillon::formats {
namespace {

using Json = nlohmann::json;

const std::string kFolder = QUILLON_CONFORMANCE_CORPUS;

Json index_files() {
  std::ifstream in(kFolder + "/index.json");
  return Json::parse(in).at("files");
}

Model model_named(const std::string& name) {
  for (const Format& format : all_formats())
    for (const Model model : format.models)
      if (name_of(model) == name) return model;
  ADD_FAILURE() << "no model " << name;
  return Model::kDefault;
}

ReadOptions options_of(const Json& file) {
  ReadOptions options;
  if (file.contains("model")) options.model = model_named(file.at("model"));
  return options;
}

std::string path_of(const Json& file) { return kFolder + "/" + file.at("file").get<std::string>(); }

std::vector<int> weights_of(const Json& file, const char* member, std::size_t count) {
  return file.contains(member) ? file.at(member).get<std::vector<int>>() : std::vector<int>(count, 1);
}

// What a file of the corpus holds, or what was read from one.
struct Contents {
  Lists nets;
  std::vector<int> cell_weights;
  std::vector<int> net_weights;

  bool operator==(const Contents&) const = default;
};

void PrintTo(const Contents& contents, std::ostream* out) {
  *out << testing::PrintToString(contents.nets) << ", weights of cells "
       << testing::PrintToString(contents.cell_weights) << ", of nets "
       << testing::PrintToString(contents.net_weights);
}

Contents expected_of(const Json& file) {
  const Lists nets = file.at("nets").get<Lists>();
  return {nets, weights_of(file, "cell_weights", file.at("cells")),
          weights_of(file, "net_weights", nets.size())};
}

Contents contents_of(const Hypergraph& h) {
  return {pins_of_nets(h), of_cells(h, &Cell::w), of_nets(h, &Net::w)};
}

TEST(Corpus, IsReadAsItsIndexSays) {
  int nread = 0;
  for (const Json& file : index_files()) {
    if (file.contains("error")) continue;
    SCOPED_TRACE(file.at("file"));
    Record record;
    const Format& own = format(file.at("format").get<std::string>());
    const Finding finding = finding_of([&] { load(record, path_of(file), {&own, options_of(file)}); });
    EXPECT_EQ(finding.rule, kNoFinding) << finding.message;
    EXPECT_EQ(contents_of(record.h), expected_of(file));
    ++nread;
  }
  EXPECT_GT(nread, 50);
}

TEST(Corpus, IsRefusedAtThePlaceThatItsIndexNames) {
  int nrefused = 0;
  for (const Json& file : index_files()) {
    if (!file.contains("error")) continue;
    SCOPED_TRACE(file.at("file"));
    const Format& own = format(file.at("format").get<std::string>());
    const auto check = [&error = file.at("error")](const Finding& finding) {
      EXPECT_EQ(finding.rule, error.at("rule"));
      EXPECT_EQ(finding.line, error.at("line"));
      EXPECT_EQ(finding.column, error.at("column"));
    };
    check(finding_of([&] { read_file(path_of(file), own, {}); }));
    Scanner in(path_of(file));
    const std::vector<Finding> findings = findings_in(in, own, {});
    ASSERT_FALSE(findings.empty());
    check(findings.front());
    ++nrefused;
  }
  EXPECT_GT(nrefused, 50);
}

// Where all cells fit if they count from another number, lint says so in place of the first that does not.
bool is_in_place_of(const Finding& finding, const std::string& rule) {
  return finding.rule == rule || finding.rule == "counts-from-0" || finding.rule == "counts-from-1";
}

TEST(Corpus, IsLintedAsItsIndexSays) {
  for (const Json& file : index_files()) {
    SCOPED_TRACE(file.at("file"));
    const LintResult result =
        lint(path_of(file), {&format(file.at("format").get<std::string>()), options_of(file)});
    if (!file.contains("error")) {
      EXPECT_EQ(result.count(Severity::kError), 0);
      continue;
    }
    const Json& error = file.at("error");
    const bool is_found =
        std::any_of(result.findings.begin(), result.findings.end(), [&error](const Finding& finding) {
          return finding.line == error.at("line") && finding.column == error.at("column") &&
                 finding.severity == Severity::kError && is_in_place_of(finding, error.at("rule"));
        });
    EXPECT_TRUE(is_found);
  }
}

// A hypergraph as a file of the format holds it: without what it has no room for.
Contents kept_by(const Format& target, Contents contents) {
  if (target.name == "mtx" || target.name == "edges") {
    contents.cell_weights.assign(contents.cell_weights.size(), 1);
    contents.net_weights.assign(contents.net_weights.size(), 1);
  }
  return contents;
}

// Formats that hold the nets of a hypergraph with the numbers of its cells.
bool holds_nets(const Format& target, const Hypergraph& h) {
  Losses losses;
  if (target.write == nullptr || target.name == "metis" || target.name == "edges") return false;
  if (target.find_losses != nullptr) target.find_losses(h, {}, losses);
  const auto is_negative = [](const auto& item) { return item.w < 0; };
  const bool has_negative = std::any_of(h._clst + 1, h._clst + h._c + 1, is_negative) ||
                            std::any_of(h._nlst + 1, h._nlst + h._n + 1, is_negative);
  if (has_negative && target.name != "quillon" && target.name != "hif") return false;
  return target.keeps_repeated_pins || count_repeated_pins(h) == 0;
}

TEST(Corpus, IsTheSameAfterExportAndImport) {
  std::map<std::string_view, int> nwritten;
  const TempFolder folder;
  for (const Json& file : index_files()) {
    if (file.contains("error")) continue;
    Record record;
    load(record, path_of(file), {format_named(file.at("format").get<std::string>()), options_of(file)});
    for (const Format& target : all_formats()) {
      if (!holds_nets(target, record.h)) continue;
      SCOPED_TRACE(file.at("file").get<std::string>() + " as " + std::string(target.name));
      const std::string copy = folder.write("copy", "");
      target.write(record.h, {}, copy.c_str());
      Record again;
      load(again, copy, {&target, {}});
      EXPECT_EQ(contents_of(again.h), kept_by(target, contents_of(record.h)));
      ++nwritten[target.name];
    }
  }
  EXPECT_EQ(nwritten.size(), 5);  // quillon, hmetis, kub, mtx, hif
  for (const auto& [name, count] : nwritten) EXPECT_GT(count, 40) << name;
}

TEST(Corpus, HasGoodAndBadFilesOfEveryFormat) {
  std::map<std::string, int> good;
  std::map<std::string, int> bad;
  for (const Json& file : index_files()) ++(file.contains("error") ? bad : good)[file.at("format")];
  for (const Format& own : all_formats()) {
    EXPECT_GE(good[std::string(own.name)], 3) << own.name;
    EXPECT_GE(bad[std::string(own.name)], 3) << own.name;
  }
}

}  // namespace
}  // namespace quillon::formats
