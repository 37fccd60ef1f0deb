// The reader of the Hypergraph Interchange Format against its slow twin, on random documents, sound and
// broken.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "formats/findings.h"
#include "formats/formats.h"
#include "formats/scanner.h"
#include "oracle/hif.h"
#include "tests/formats/finding_of.h"

namespace quillon::formats {
namespace {

class Dice {
 public:
  explicit Dice(unsigned seed) : random_(seed) {}

  // 0 .. count - 1
  std::size_t below(std::size_t count) { return random_() % count; }
  bool one_in(std::size_t count) { return below(count) == 0; }
  const std::string& one_of(const std::vector<std::string>& texts) { return texts[below(texts.size())]; }

 private:
  std::mt19937 random_;
};

const std::vector<std::string> kBlanks{"", "", "", " ", "\n", "\r\n", "\t", "  \n "};
const std::vector<std::string> kNames{"0",
                                      "-0",
                                      "7",
                                      "-7",
                                      "65536",
                                      "70000",
                                      "999999999999999999",
                                      "1000000000000000000",
                                      "18446744073709551615",
                                      "-9223372036854775808",
                                      R"("")",
                                      R"("7")",
                                      R"("a")",
                                      R"("\u0061")",
                                      R"("\"\\\/\b\f\n\r\t")",
                                      R"("\u0000\u001f\u007F")",
                                      "\"\xc3\xa9\"",
                                      R"("\u00e9")",
                                      "\"\xf0\x9f\x98\x80\"",
                                      R"("\ud83d\uDE00")",
                                      "\"\xe2\x82\xac and a text of more than sixteen bytes\"",
                                      R"("a text of more than sixteen bytes")"};
const std::vector<std::string> kNumbers{"1",      "0",          "-3",   "2.0",       "0.5",
                                        "2e1",    "1E+2",       "1e-5", "123456789", "-2147483649",
                                        "1e-400", "2147483648", "1e308"};
const std::vector<std::string> kObjects{"{}", R"({"a":[1,{"b":null}],"c":"]}"})",
                                        R"({"x":[[],{},[true,false]]})", R"({"edge":1.5,"y":-1.25e-3})"};

class Documents {
 public:
  explicit Documents(unsigned seed) : dice_(seed), nnames_(1 + dice_.below(40)) {}

  std::string next() {
    std::vector<std::string> members{key("incidences") + list({"edge", "node"})};
    if (!dice_.one_in(3)) members.push_back(key("nodes") + list({"node"}));
    if (!dice_.one_in(3)) members.push_back(key("edges") + list({"edge"}));
    if (dice_.one_in(3)) members.push_back(key("metadata") + dice_.one_of(kObjects));
    if (dice_.one_in(3))
      members.push_back(key("network-type") + dice_.one_of({R"("undirected")", R"("directed")", R"("asc")"}));
    return (dice_.one_in(20) ? "\xef\xbb\xbf" : "") + shuffled('{', members, '}') + blank();
  }

 private:
  std::string blank() { return dice_.one_of(kBlanks); }

  std::string key(const std::string& name) {
    const bool is_escaped = name[0] < 'p' && dice_.one_in(30);  // \u0061 .. \u006f
    const std::string first =
        is_escaped ? std::string("\\u006") + "0123456789abcdef"[name[0] & 15] : name.substr(0, 1);
    return blank() + "\"" + first + name.substr(1) + "\"" + blank() + ":" + blank();
  }

  std::string shuffled(char open, std::vector<std::string> members, char close) {
    for (std::size_t k = members.size(); k > 1; --k) std::swap(members[k - 1], members[dice_.below(k)]);
    return enclosed(open, members, close);
  }

  std::string enclosed(char open, const std::vector<std::string>& members, char close) {
    std::string text(1, open);
    for (std::size_t k = 0; k < members.size(); ++k)
      text += (k == 0 ? "" : ",") + blank() + members[k] + blank();
    return text + close;
  }

  std::string name() {
    if (dice_.one_in(4)) return dice_.one_of(kNames);
    const std::string number = std::to_string(dice_.below(nnames_));
    return dice_.one_in(2) ? number : "\"" + number + "\"";
  }

  std::string list(const std::vector<std::string>& ids) {
    std::vector<std::string> records;
    for (std::size_t left = dice_.below(dice_.one_in(5) ? 300 : 12); left > 0; --left) {
      std::vector<std::string> members;
      for (const std::string& id : ids) members.push_back(key(id) + name());
      if (dice_.one_in(4)) members.push_back(key("weight") + dice_.one_of(kNumbers));
      if (dice_.one_in(8)) members.push_back(key("attrs") + dice_.one_of(kObjects));
      if (ids.size() == 2 && dice_.one_in(8))
        members.push_back(key("direction") + dice_.one_of({R"("head")", R"("tail")"}));
      records.push_back(shuffled('{', members, '}'));
    }
    return enclosed('[', records, ']');
  }

  Dice dice_;
  std::size_t nnames_;
};

// What may be put into a text, mostly to break it.
const std::vector<std::string>& pieces() {
  static const std::vector<std::string> all{"{",
                                            "}",
                                            "[",
                                            "]",
                                            ",",
                                            ":",
                                            "\"",
                                            "\\",
                                            "0",
                                            "-",
                                            ".",
                                            "e",
                                            "1e999",
                                            "-1e999",
                                            "true",
                                            "null",
                                            "tru",
                                            "x",
                                            "\x01",
                                            "\x80",
                                            "\xc3",
                                            "\xed\xa0\x80",
                                            "\xf4\x90",
                                            "\\u12",
                                            "\\ud800",
                                            "\\udc00",
                                            "\\ud800\\u0041",
                                            "/*",
                                            "\"edge\":",
                                            "\"node\":",
                                            "\"weight\":",
                                            "\"attrs\":",
                                            "\"color\":",
                                            "1",
                                            " ",
                                            "18446744073709551616",
                                            "-9223372036854775809",
                                            std::string(400, '9'),
                                            "\"\"",
                                            "1.5",
                                            "{}",
                                            "[]",
                                            std::string(1, '\0')};
  return all;
}

// One or two changes that mostly break a text.
std::string changed(std::string text, Dice& dice) {
  for (std::size_t left = 1 + dice.below(2); left > 0; --left) {
    const std::size_t at = dice.below(text.size() + 1);
    const std::size_t size = dice.one_in(2) ? dice.below(4) : dice.below(text.size() - at + 1);
    switch (dice.below(5)) {
      case 0:
        text.resize(at);
        break;
      case 1:
        text.insert(at, dice.one_of(pieces()));
        break;
      case 2:
        text.replace(at, size, dice.one_of(pieces()));
        break;
      case 3:
        text.erase(at, size);
        break;
      default:
        text.insert(dice.below(text.size() + 1), text.substr(at, size));
    }
  }
  return text;
}

// The words of an error in a string, a number or a literal differ.
std::string comparable(const std::string& message) {
  constexpr std::string_view kNoJson = "found no JSON: ";
  return message.starts_with(kNoJson) ? std::string(kNoJson) : message;
}

void expect_same(const NetLists& lists, const oracle::HifContents& twin) {
  ASSERT_EQ(lists.nnets, static_cast<int>(twin.pins.size()));
  EXPECT_EQ(lists.ncells + 1, static_cast<int>(twin.cell_names.size()));
  for (int j = 1; j <= lists.nnets; ++j) {
    const std::vector<int> pins(lists.nadj.begin() + lists.xnadj[static_cast<std::size_t>(j)],
                                lists.nadj.begin() + lists.xnadj[static_cast<std::size_t>(j) + 1]);
    ASSERT_EQ(pins, twin.pins[static_cast<std::size_t>(j) - 1]) << "net " << j;
  }
  EXPECT_EQ(lists.cell_names, twin.cell_names);
  EXPECT_EQ(lists.net_names, twin.net_names);
  EXPECT_EQ(lists.cell_weights, twin.cell_weights);
  EXPECT_EQ(lists.net_weights, twin.net_weights);
  EXPECT_EQ(lists.remarks, twin.remarks);
  EXPECT_EQ(lists.losses, twin.losses);
}

// Whether both accept the text.
bool agree(const std::string& text) {
  Scanner in("in", text);
  NetLists lists;
  try {
    const oracle::HifContents twin = oracle::read_hif(text);
    EXPECT_NO_THROW(format("hif").read(in, lists, {}));
    expect_same(lists, twin);
    return true;
  } catch (const oracle::HifFinding& twin) {
    const Finding finding = finding_of([&] { format("hif").read(in, lists, {}); });
    const std::size_t line_start = twin.offset == 0 ? 0 : text.rfind('\n', twin.offset - 1) + 1;
    EXPECT_EQ(finding.rule, twin.rule);
    EXPECT_EQ(finding.line, place_of(in, twin.offset).line);
    EXPECT_EQ(finding.column, twin.offset - line_start + 1);
    EXPECT_EQ(comparable(finding.message), comparable(twin.message));
    return false;
  }
}

TEST(ReadHif, AgreesWithItsTwinOnRandomDocuments) {
  for (unsigned seed = 1; seed <= 500; ++seed) {
    const std::string text = Documents(seed).next();
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + text);
    EXPECT_TRUE(agree(text));
    if (testing::Test::HasFailure()) return;
  }
}

TEST(ReadHif, AgreesWithItsTwinOnBrokenDocuments) {
  std::vector<std::string> documents;
  for (unsigned seed = 1; seed <= 500; ++seed) documents.push_back(Documents(seed).next());
  int nbroken = 0;
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    Dice dice(seed);
    const std::string text = changed(documents[seed % documents.size()], dice);
    SCOPED_TRACE("seed " + std::to_string(seed) + "\n" + testing::PrintToString(text));
    if (!agree(text)) ++nbroken;
    if (testing::Test::HasFailure()) return;
  }
  EXPECT_GT(nbroken, 2000);
}

TEST(ReadHif, AgreesWithItsTwinOnEveryPrefix) {
  const std::string text =
      "\xef\xbb\xbf"
      R"( {"nodes":[{"node":-12.5e+3,"weight":1e5}],"edges":[{"edge":"\ud83d\ude00)"
      "\xf0\x9f\x98\x80"
      R"(","attrs":{"a":[null,true,false,{}]}}],"incidences":[{"edge":12,"node":"x","direction":"head"}]} )";
  for (std::size_t size = 0; size <= text.size(); ++size) {
    SCOPED_TRACE(text.substr(0, size));
    agree(text.substr(0, size));
  }
}

}  // namespace
}  // namespace quillon::formats
