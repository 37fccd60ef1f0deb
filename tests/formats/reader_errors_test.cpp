// The errors that each reader reports for broken files: rule, place, what was found and expected, and a hint.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/formats/finding_of.h"

namespace quillon::formats {
namespace {

struct BadText {
  std::string text;
  std::size_t line;
  std::size_t column;
  const char* rule;
  std::string message;
  std::string hint = {};
};

void expect_findings(const char* name, const std::vector<BadText>& table, const ReadOptions& options = {}) {
  for (const BadText& bad : table) {
    SCOPED_TRACE(testing::PrintToString(bad.text));
    EXPECT_EQ(finding_of([&] { read_text(format(name), bad.text, options); }),
              (Finding{bad.rule, Severity::kError, "in", bad.line, bad.column, bad.message, bad.hint}));
  }
}

const std::string kGraphHint = "is this a METIS graph?";

TEST(ReadHmetis, SaysWhatIsWrongWithAFile) {
  const std::string swapped =
      "the header gives the number of nets first; are its numbers swapped, or is this a METIS graph?";
  const std::string cell = "expected a cell number from 1 to 3";
  const std::string fmt = "expected a format: none, 0, 1, 10 or 11";
  expect_findings(
      "hmetis",
      {{"", 1, 1, "header-missing",
        "found the end of the file, expected the number of nets, from 0 to 2147483645"},
       {"% only\n", 2, 1, "header-missing",
        "found the end of the file, expected the number of nets, from 0 to 2147483645"},
       {"2\n", 1, 2, "header-short",
        "found the end of the line, expected the number of cells, from 0 to 2147483645"},
       {"-2 3\n", 1, 1, "bad-count", "found \"-2\", expected the number of nets, from 0 to 2147483645"},
       {"2147483646 3\n", 1, 1, "bad-count",
        "found \"2147483646\", expected the number of nets, from 0 to 2147483645"},
       {"2 3 7\n", 1, 5, "bad-format-code", "found \"7\", " + fmt},
       {"2 3 011\n1 2\n", 1, 5, "bad-format-code", "found \"011\", " + fmt, kGraphHint},
       {"2 3 1 1\n", 1, 7, "trailing-text", "found \"1\", expected the end of the line after the header",
        kGraphHint},
       {"2 3\n1 2\n", 3, 1, "missing-line", "found the end of the file, expected net 2 of 2"},
       {"2 3\n1 2\n% no more", 3, 10, "missing-line", "found the end of the file, expected net 2 of 2"},
       {"2 3\n1 0\n2\n", 2, 3, "cell-out-of-range", "found \"0\", " + cell,
        "hMETIS counts cells from 1; does this file count from 0?"},
       {"4 3\n1 4\n", 2, 3, "cell-out-of-range", "found \"4\", " + cell, swapped},
       {"2 3\n%\n  1 4\n2\n", 3, 5, "cell-out-of-range", "found \"4\", " + cell},
       {"2 3\n1 2x\n2\n", 2, 3, "not-a-number", "found \"2x\", " + cell},
       {"1 3\n\t1\t99999999999\n", 2, 4, "number-too-large", "found \"99999999999\", " + cell},
       {std::string("1 3\r\n1 2\0003\r\n", 12), 2, 3, "not-a-number", "found \"2?3\", " + cell},
       {"1 0\n1\n", 2, 1, "cell-out-of-range", "found \"1\", expected no cell, as there are none", swapped},
       {"1 3\n77777777777777777777777777777777777777777777777777", 2, 1, "number-too-large",
        "found \"7777777777777777777777777777777777777777...\", " + cell},
       {"2 3 1\n5 1 2\n-1 2\n", 3, 1, "bad-weight",
        "found \"-1\", expected the weight of net 2, from 0 to 2147483647"},
       {"1 3 1\n\n", 2, 1, "bad-weight",
        "found the end of the line, expected the weight of net 1, from 0 to 2147483647"},
       {"2 3 10\n1 2\n2 3\n4\n5\n", 6, 1, "missing-line",
        "found the end of the file, expected the weight of cell 3 of 3",
        "format 10 of hMETIS means cell weights; net weights are 1"},
       {"2 3 10\n1 2\n2 3\n4\n5 6\n7\n", 5, 3, "trailing-text",
        "found \"6\", expected the end of the line after the weight of cell 2 of 3"},
       {"2 3 1\n1 2\n2 3\n4\n5\n6\n", 4, 1, "trailing-text", "found \"4\", expected nothing after 2 nets",
        "format 1 of hMETIS means net weights; cell weights are 10"},
       {"2 3\n1 2\n2 3\n\n4\n", 5, 1, "trailing-text", "found \"4\", expected nothing after 2 nets"}});
}

TEST(ReadHmetis, RemarksOnAGraphThatReadsAsAHypergraph) {
  const NetLists lists = read_text(format("hmetis"), "4 3\n2\n1 3\n2\n\n");  // one net too many
  EXPECT_TRUE(lists.remarks.empty());

  const NetLists ring = read_text(format("hmetis"), "4 4\n2 4\n1 3\n2 4\n3 1\n");
  EXPECT_THAT(ring.remarks,
              testing::ElementsAre("line j names i whenever line i names j, as in a METIS graph"));
}

TEST(ReadQuillon, SaysWhatIsWrongWithAFile) {
  const std::string numbering = "expected the number that the file's cells begin with, 0 or 1";
  const std::string cell = "expected a cell number from 1 to 3";
  expect_findings(
      "quillon",
      {{"", 1, 1, "header-missing", "found the end of the file, " + numbering},
       {"2 3 1 2\n1 2\n", 1, 1, "bad-numbering", "found \"2\", " + numbering},
       {"x 3 1 2\n", 1, 1, "not-a-number", "found \"x\", " + numbering},
       {"1 3 2\n", 1, 6, "header-short",
        "found the end of the line, expected the number of pins, from 0 to 2147483645"},
       {"1 3 2 -4\n", 1, 7, "bad-count", "found \"-4\", expected the number of pins, from 0 to 2147483645"},
       {"1 3 2 4 5\n", 1, 9, "bad-format-code",
        "found \"5\", expected the weights in the file: 0 none, 1 of cells, 2 of nets, 3 of both"},
       {"1 3 1 2 1 0\n", 1, 11, "bad-count", "found \"0\", expected the number of weights per cell, from 1"},
       {"1 3 2 4\n1 2\n", 3, 1, "missing-line", "found the end of the file, expected net 2 of 2"},
       {"1 3 2 4\n1 2\n3\n", 1, 7, "pin-count",
        "found 3 pins on the net lines, expected the 4 of the header"},
       {"1 3 2 3\n1 2\n3 1\n", 3, 3, "pin-count",
        "found \"1\", expected no more than the 3 pins of the header"},
       {"1 3 1 2\n0 1\n", 2, 1, "cell-out-of-range", "found \"0\", " + cell,
        "the header says that cells count from 1; do they from 0?"},
       {"0 3 1 2\n3 1\n", 2, 1, "cell-out-of-range", "found \"3\", expected a cell number from 0 to 2",
        "the header says that cells count from 0; do they from 1?"},
       {"1 3 5 2\n4 1\n", 2, 1, "cell-out-of-range", "found \"4\", " + cell,
        "the header gives the number of cells first, that of nets second; are they swapped?"},
       {"1 3 1 2 2\n2147483648 1 2\n", 2, 1, "number-too-large",
        "found \"2147483648\", expected the weight of net 1, from -2147483648 to 2147483647"},
       {"1 3 2 3 1\n1 2\n2 3\n", 3, 3, "pin-count",
        "found \"3\", expected no more than the 3 pins of the header",
        "format 1 means cell weights here, and net weights in hMETIS; those are 2 here"}});
}

TEST(ReadKub, SaysWhatIsWrongWithAFile) {
  const std::string cell = "expected a cell number from 0 to 2";
  expect_findings(
      "kub",
      {{"", 1, 1, "header-missing",
        "found the end of the file, expected the number of cells, from 0 to 2147483645"},
       {"3 1\n", 1, 3, "trailing-text",
        "found \"1\", expected the end of the line after the number of cells"},
       {"3\n\n", 2, 1, "header-short",
        "found the end of the line, expected the number of nets, from 0 to 2147483645"},
       {"3\n1\n", 3, 1, "bad-weight",
        "found the end of the file, expected the weight of net 1 of 1, from 0 to 2147483647"},
       {"3\n1\n5\n", 3, 2, "bad-count",
        "found the end of the line, expected the number of pins of net 1 of 1, from 0 to 2147483645"},
       {"3\n1\n5 3 0 1\n", 3, 8, "missing-pin",
        "found the end of the line, expected pin 3 of 3 of net 1 of 1"},
       {"3\n1\n5 1 0 1\n", 3, 7, "trailing-text", "found \"1\", expected the end of the line after 1 pin"},
       {"3\n1\n5 1 3\n", 3, 5, "cell-out-of-range", "found \"3\", " + cell,
        "kub counts cells from 0; does this file count from 1?"},
       {"3\n9\n5 1 7\n", 3, 5, "cell-out-of-range", "found \"7\", " + cell,
        "the number of cells comes first, that of nets second; are they swapped?"},
       {"3\n1\n5 1 -1\n", 3, 5, "cell-out-of-range", "found \"-1\", " + cell},
       {"2\n0\n4\n", 4, 1, "bad-weight",
        "found the end of the file, expected the weight of cell 2 of 2, from 0 to 2147483647"},
       {"1\n0\n4\n6\n", 4, 1, "trailing-text", "found \"6\", expected nothing after the weights of 1 cell"}});
}

TEST(ReadMetis, SaysWhatIsWrongWithAFile) {
  const std::string vertex = "expected a vertex from 1 to 3";
  expect_findings(
      "metis",
      {{"", 1, 1, "header-missing",
        "found the end of the file, expected the number of vertices, from 0 to 2147483645"},
       {"3\n", 1, 2, "header-short",
        "found the end of the line, expected the number of edges, from 0 to 2147483645"},
       {"3 1 2\n", 1, 5, "bad-format-code", "found \"2\", expected a format of up to three digits 0 and 1"},
       {"3 1 0011\n", 1, 5, "bad-format-code",
        "found \"0011\", expected a format of up to three digits 0 and 1"},
       {"3 1 100\n", 1, 5, "bad-format-code", "found \"100\", expected another format",
        "100 is used for graphs with self-loops and multiple edges, which are not read here"},
       {"3 1 1 2\n", 1, 7, "trailing-text", "found \"2\", expected the end of the line after the header",
        "a number of weights goes with formats 10, 11, 110 and 111"},
       {"3 1\n2\n1\n", 4, 1, "missing-line", "found the end of the file, expected the line of vertex 3 of 3"},
       {"3 1\n2\n1\n\n1\n", 5, 1, "trailing-text",
        "found \"1\", expected nothing after the lines of 3 vertices"},
       {"3 1\n0\n\n\n", 2, 1, "cell-out-of-range", "found \"0\", " + vertex,
        "METIS counts vertices from 1; does this file count from 0?"},
       {"3 1\n4\n\n\n", 2, 1, "cell-out-of-range", "found \"4\", " + vertex},
       {"3 1\n1\n\n\n", 2, 1, "self-loop", "found \"1\", expected another vertex than 1 itself"},
       {"3 1\n2\n\n\n", 2, 1, "asymmetric-edge",
        "found vertex 2 on the line of vertex 1, expected 1 on the line of 2 too"},
       {"3 1\n2 2\n1\n\n", 2, 3, "repeated-edge",
        "found vertex 2 on the line of vertex 1, expected it there only once"},
       {"3 1\n2\n1 1\n\n", 3, 3, "repeated-edge",
        "found vertex 1 on the line of vertex 2, expected it there only once"},
       {"3 1 1\n2 5\n1 6\n\n", 3, 1, "asymmetric-edge",
        "found vertex 1 on the line of vertex 2, with weight 6, expected 5 as on the line of 1"},
       {"3 1 1\n2\n1 6\n\n", 2, 2, "bad-weight",
        "found the end of the line, expected the weight of the edge to 2, from 0 to 2147483647"},
       {"3 1 10\n\n1\n1\n", 2, 1, "bad-weight",
        "found the end of the line, expected the weight of vertex 1 of 3, from 0 to 2147483647"},
       {"3 2\n2\n1\n\n", 1, 3, "edge-count",
        "found 1 edge on the lines of the vertices, expected the 2 of the header",
        "an edge stands on two lines and counts once"},
       {"3 5\n2\n1\n\n", 1, 3, "edge-count",
        "found 1 edge on the lines of the vertices, expected the 5 of the header"}});
}

TEST(ReadMatrixMarket, SaysWhatIsWrongWithAFile) {
  const std::string first = "expected a first line %%MatrixMarket matrix coordinate FIELD SYMMETRY";
  const std::string banner = "%%MatrixMarket matrix coordinate pattern general\n";
  expect_findings(
      "mtx",
      {{"", 1, 1, "header-missing", "found the end of the file, " + first},
       {"2 2 1\n1 1\n", 1, 1, "bad-banner", "found \"2\", " + first},
       {"%%MatrixMarket vector\n", 1, 16, "bad-banner", "found \"vector\", " + first},
       {"%%MatrixMarket matrix array real general\n", 1, 23, "bad-banner",
        "found \"array\", expected coordinate", "dense matrices are not read here"},
       {"%%MatrixMarket matrix coordinate double general\n", 1, 34, "bad-banner",
        "found \"double\", expected pattern, integer, real or complex"},
       {"%%MatrixMarket matrix coordinate real lower\n", 1, 39, "bad-banner",
        "found \"lower\", expected general, symmetric, skew-symmetric or hermitian"},
       {banner, 2, 1, "header-missing",
        "found the end of the file, expected the number of rows, from 0 to 2147483645"},
       {banner + "% c\n\n2 2\n", 4, 4, "header-short",
        "found the end of the line, expected the number of entries, from 0 to 2147483645"},
       {"%%MatrixMarket matrix coordinate real symmetric\n2 3 1\n1 1 1\n", 2, 3, "not-square",
        "found \"3\", expected as many columns as the 2 rows of a symmetric matrix"},
       {banner + "2 2 2\n1 1\n", 4, 1, "missing-line", "found the end of the file, expected entry 2 of 2"},
       {banner + "2 2 1\n0 1\n", 3, 1, "cell-out-of-range", "found \"0\", expected a row from 1 to 2",
        "Matrix Market counts from 1; does this file count from 0?"},
       {banner + "2 3 1\n1 4\n", 3, 3, "cell-out-of-range", "found \"4\", expected a column from 1 to 3"},
       {banner + "2 2 1\n1 1 5\n", 3, 5, "trailing-text",
        "found \"5\", expected the end of the line after the entry"},
       {banner + "2 2 1\n1 1\n2 2\n", 4, 1, "trailing-text",
        "found \"2\", expected nothing after the 1 entry of the header"},
       {"%%MatrixMarket matrix coordinate real general\n2 2 1\n1 1\n", 3, 4, "bad-value",
        "found the end of the line, expected the value of entry 1 of 1"},
       {"%%MatrixMarket matrix coordinate real general\n2 2 1\n1 1 x\n", 3, 5, "bad-value",
        "found \"x\", expected the value of entry 1 of 1"},
       {"%%MatrixMarket matrix coordinate real general\n2 2 1\n1 1 +-5\n", 3, 5, "bad-value",
        "found \"+-5\", expected the value of entry 1 of 1"},
       {"%%MatrixMarket matrix coordinate integer general\n2 2 2\n1 1 +99999999999999999999\n1 2 1.5\n", 4, 5,
        "bad-value", "found \"1.5\", expected the whole value of entry 2 of 2"},
       {"%%MatrixMarket matrix coordinate integer general\n2 2 1\n1 1 -\n", 3, 5, "bad-value",
        "found \"-\", expected the whole value of entry 1 of 1"},
       {"%%MatrixMarket matrix coordinate pattern skew-symmetric\n2 2 2\n2 1\n 2 2\n", 4, 2, "diagonal-entry",
        "found an entry on the diagonal, expected none in a skew-symmetric matrix"},
       {banner + "0 2 1\n1 1\n", 3, 1, "cell-out-of-range",
        "found \"1\", expected no row, as there are none"}});
  expect_findings("mtx",
                  {{banner + "% c\n 1 2 1\n1 2\n", 3, 2, "not-square",
                    "found 1 rows and 2 columns, expected a square matrix to add a diagonal to"}},
                  {.add_diagonal = true});
  const std::string many = banner + "1073741823 1073741823 0\n";
  const std::string too_many = "found 2147483646 rows and columns, expected at most 2147483645 nets";
  for (const bool add_diagonal : {false, true})
    expect_findings("mtx", {{many, 2, 1, "bad-count", too_many}},
                    {.model = Model::kFineGrain, .add_diagonal = add_diagonal});
}

TEST(ReadEdgeList, SaysWhatIsWrongWithAFile) {
  const std::string weight = "weights are not read; a name that looks like one needs double quotes";
  expect_findings(
      "edges",
      {{"", 1, 1, "missing-line", "found the end of the file, expected a line of names"},
       {"# only\n\n", 3, 1, "missing-line", "found the end of the file, expected a line of names"},
       {"a b\n, c\n", 2, 1, "bad-name", "found \",\", expected a name"},
       {"a,, b\n", 1, 3, "bad-name", "found \",\", expected a name"},
       {"a, b, \nc\n", 1, 7, "bad-name", "found the end of the line, expected a name after the comma"},
       {"a, # b\n", 1, 4, "bad-name", "found \"#\", expected a name after the comma"},
       {"a b\nb c 0.5\n", 2, 5, "bad-name", "found \"0.5\", expected a name", weight},
       {"a b -1.e-3\n", 1, 5, "bad-name", "found \"-1.e-3\", expected a name", weight},
       {"a \"b\nc\n", 1, 5, "bad-name", "found the end of the line, expected the quote that ends the name"},
       {"a \"b\\", 1, 6, "bad-name", "found the end of the file, expected the quote that ends the name"},
       {"a \"b\"c\n", 1, 6, "bad-name", "found \"c\", expected a blank or a comma after the quote"},
       {"a \"\\x\"\n", 1, 3, "bad-name", "found \"\"\\x\"\", expected a string of JSON"},
       {"a b\xff\n", 1, 3, "bad-name", "found \"b?\", expected a name of UTF-8 text"},
       {"a \x01\n", 1, 3, "bad-name", "found \"?\", expected a name of UTF-8 text"}});
  expect_findings(
      "edges",
      {{"\n", 2, 1, "missing-line", "found the end of the file, expected a pair of names"},
       {"n a\nn\n", 2, 2, "missing-pin", "found the end of the line, expected a cell after its net"},
       {"n a\n\nn b 3\n", 3, 5, "trailing-text", "found \"3\", expected the end of the line after a pair",
        "weights are not read from lists"}},
      {.pairs = Pairs::kNetCell});
  expect_findings(
      "edges", {{"a # n\n", 1, 3, "missing-pin", "found the end of the line, expected a net after its cell"}},
      {.pairs = Pairs::kCellNet});
}

TEST(ReadCnf, SaysWhatIsWrongWithAFile) {
  const std::string first = "expected a line p cnf VARIABLES CLAUSES";
  const std::string literal = "expected a literal from -3 to 3, or the 0 that ends the clause";
  expect_findings(
      "cnf",
      {{"", 1, 1, "header-missing", "found the end of the file, " + first},
       {"c only\n", 2, 1, "header-missing", "found the end of the file, " + first},
       {"c\n\n 1 2 0\n", 3, 2, "bad-banner", "found \"1\", " + first},
       {"% 1\n", 1, 1, "bad-banner", "found \"%\", " + first},
       {"pcnf 3 1\n", 1, 1, "bad-banner", "found \"pcnf\", " + first},
       {"p wcnf 3 1 9\n", 1, 3, "bad-banner", "found \"wcnf\", expected cnf",
        "weighted formulas are not read here"},
       {"p edge 3 1\n", 1, 3, "bad-banner", "found \"edge\", expected cnf"},
       {"p cnf -3 1\n", 1, 7, "bad-count",
        "found \"-3\", expected the number of variables, from 0 to 2147483645"},
       {"p cnf 3\n1 0\n", 1, 8, "header-short",
        "found the end of the line, expected the number of clauses, from 0 to 2147483645"},
       {"p cnf 3 1 9\n", 1, 11, "trailing-text",
        "found \"9\", expected the end of the line after the number of clauses"},
       {"p cnf 3 1\n1 4 0\n", 2, 3, "cell-out-of-range", "found \"4\", " + literal},
       {"p cnf 3 1\n1\nc\n -4 0\n", 4, 2, "cell-out-of-range", "found \"-4\", " + literal},
       {"p cnf 3 1\n1 c 0\n", 2, 3, "not-a-number", "found \"c\", " + literal},
       {"p cnf 3 1\nx1 2 0\n", 2, 1, "not-a-number", "found \"x1\", " + literal},
       {"p cnf 3 1\n1 99999999999 0\n", 2, 3, "number-too-large", "found \"99999999999\", " + literal},
       {"p cnf 0 1\n1 0\n", 2, 1, "cell-out-of-range",
        "found \"1\", expected the 0 that ends the clause, as there are no variables"},
       {"p cnf 3 2\n1 0\n2 3\n", 4, 1, "missing-zero",
        "found the end of the file, expected the 0 that ends clause 2 of 2"},
       {"p cnf 3 2\n1 0\n2 3\n%\n0\n", 4, 1, "missing-zero",
        "found \"%\", expected the 0 that ends clause 2 of 2"},
       {"p cnf 3 3\n1 0\n2 0\n", 4, 1, "missing-line", "found the end of the file, expected clause 3 of 3"},
       {"p cnf 3 3\n1 0\n%\n0\n", 3, 1, "missing-line", "found \"%\", expected clause 2 of 3"},
       {"p cnf 3 1\n1 0 2 0\n", 2, 5, "trailing-text",
        "found \"2\", expected nothing after the 1 clause of the header"},
       {"p cnf 3 2\n1 0\n2 0\n0\n", 4, 1, "trailing-text",
        "found \"0\", expected nothing after the 2 clauses of the header"}});
  expect_findings("cnf",
                  {{"c\np cnf 1073741823 0\n", 2, 7, "bad-count",
                    "found 1073741823 variables, expected at most 1073741822 for the literal model"}},
                  {.model = Model::kLiteral});
}

TEST(ReadHif, SaysWhatIsWrongWithAFile) {
  expect_findings(
      "hif", {{"{}", 1, 3, "missing-incidences", "found no \"incidences\", expected an array of that name"},
              {"[]", 1, 1, "bad-json-value", "found \"[\", expected an object"},
              {"{\"incidences\": 7}", 1, 16, "bad-json-value", "found \"7\", expected an array"},
              {"{\"incidences\": [],\n \"edge\": []}", 2, 2, "unknown-key",
               "found \"edge\", expected incidences, nodes, edges, network-type or metadata"},
              {"{\"incidences\": [], \"incidences\": []}", 1, 20, "repeated-key",
               "found \"incidences\", expected each key once"},
              {"{\"incidences\": [3]}", 1, 17, "bad-json-value",
               "found \"3\", expected an object for each of the incidences"},
              {"{\"incidences\": [{\"edge\": 1}]}", 1, 17, "missing-key",
               "found an incidence without node, expected both edge and node"},
              {"{\"nodes\": [{\"weight\": 1}], \"incidences\": []}", 1, 12, "missing-key",
               "found an object without node, expected it in each of the nodes"},
              {"{\"edges\": [{}], \"incidences\": []}", 1, 12, "missing-key",
               "found an object without edge, expected it in each of the edges"},
              {"{\"incidences\": [{\"edge\": 1.5, \"node\": 2}]}", 1, 26, "bad-json-value",
               "found \"1.5\", expected a string or an integer for \"edge\""},
              {"{\"incidences\": [{\"edge\": 18446744073709551616, \"node\": 2}]}", 1, 26, "bad-json-value",
               "found \"18446744073709551616\", expected an integer of 64 bits, or a string"},
              {"{\"incidences\": [{\"edge\": 1, \"node\": 2, \"color\": 3}]}", 1, 40, "unknown-key",
               "found \"color\", expected edge, node, weight, direction or attrs"},
              {"{\"network-type\": \"mixed\", \"incidences\": []}", 1, 18, "bad-json-value",
               "found \"mixed\", expected a network type: undirected, directed or asc"},
              {"{\"incidences\": [],\n\"nodes\": [{\"node\": \"a\\\"b\", \"weight\": \"x\"}]}", 2, 38,
               "bad-json-value", "found \"x\", expected a number without quotes"}});
}

TEST(ReadHif, SaysWhereAFileIsNoJson) {
  const std::string value = "expected '[', '{', or a literal";
  expect_findings(
      "hif", {{"", 1, 1, "bad-json", "found end of input, " + value},
              {"{\"incidences\": [", 1, 17, "bad-json", "found end of input, " + value},
              {"{\"incidences\": [}", 1, 17, "bad-json", "found '}', " + value},
              {"{\"incidences\": []} 1", 1, 20, "bad-json", "found number literal, expected end of input"},
              {"{\"incidences\": [], \"metadata\": {\"x\": 1e999}}", 1, 38, "bad-json",
               "found a number too large, expected one of double precision"},
              {"nonsense", 1, 2, "bad-json", "found no JSON: invalid literal"}});
}

}  // namespace
}  // namespace quillon::formats
