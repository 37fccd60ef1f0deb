// The readers against their twins: on any input both end in the same way, with the same record, messages and
// requests, and leave the stream at the same position.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/double/recorder.h"
#include "tests/support/reader_outcome.h"

namespace quillon {
namespace {

class ReadersOnAnyInput : public testing::Test {
 protected:
  ReadersOnAnyInput() { recorder::reset(); }
  ~ReadersOnAnyInput() override { recorder::reset(); }
};

std::string visible(const std::string& text) {
  std::string line;
  for (const char c : text) {
    const unsigned byte = static_cast<unsigned char>(c);
    const char hex[] = {'\\', 'x', "0123456789abcdef"[byte / 16], "0123456789abcdef"[byte % 16], '\0'};
    line += c == '\n' ? "\\n\n" : byte < 32 || byte > 126 ? hex : std::string(1, c);
  }
  return line;
}

struct Mode {
  ReaderPair reader;
  int check;
};

const Mode kModes[] = {{kStandardReader, 0}, {kStandardReader, 1}, {kOnePinReader, 0}, {kOnePinReader, 1}};

// A stream that cannot seek, so that the reader cannot read ahead.
struct OneWay {
  std::string text;
  std::size_t at = 0;
};

Stream one_way_stream(OneWay& from) {
  const auto read = [](void* cookie, char* bytes, std::size_t size) {
    OneWay& source = *static_cast<OneWay*>(cookie);
    const std::size_t length = source.text.copy(bytes, size, source.at);
    source.at += length;
    return static_cast<ssize_t>(length);
  };
  return Stream(fopencookie(&from, "r", {read, nullptr, nullptr, nullptr}));
}

// Runs a reader and its twin on a text and returns the outcome on which they agree; nothing for a text from
// which a reader may never return.
std::optional<ReaderOutcome> agreed(const Mode& mode, const std::string& text) {
  if (ends_in_comment(text)) return std::nullopt;
  const Stream stream = stream_of(text);
  const ReaderOutcome expected = outcome_of(mode.reader.oracle, stream.get(), mode.check);
  EXPECT_FALSE(expected.endless) << visible(text);
  if (expected.endless) return std::nullopt;

  std::rewind(stream.get());
  EXPECT_EQ(outcome_of(mode.reader.module, stream.get(), mode.check), expected)
      << mode.reader.name << " reader, check " << mode.check << "\n"
      << visible(text);

  if (text.size() % 8 != 0 && text.size() < 500) return expected;  // one in eight short texts is enough
  OneWay from{text};
  ReaderOutcome one_way = outcome_of(mode.reader.module, one_way_stream(from).get(), mode.check);
  one_way.position = expected.position;  // a stream that cannot seek has none
  EXPECT_EQ(one_way, expected) << "one-way stream, check " << mode.check << "\n" << visible(text);
  return expected;
}

std::vector<std::string> good_texts() {
  std::vector<std::string> texts;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(QUILLON_TEST_FILES) / "good"))
    if (entry.path().extension() == ".qhg") {
      std::ifstream file(entry.path(), std::ios::binary);
      texts.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
  return texts;
}

// ---- Random texts

// Draws that are the same on every platform.
class Draw {
 public:
  explicit Draw(std::uint32_t seed) : engine_(seed) {}

  int below(int bound) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(bound)); }
  int between(int first, int last) { return first + below(last - first + 1); }
  bool once_in(int times) { return below(times) == 0; }

  template <typename Value>
  Value one_of(const std::vector<Value>& values) {
    return values[static_cast<std::size_t>(below(static_cast<int>(values.size())))];
  }

 private:
  std::mt19937 engine_;
};

// Shape of a random file. One choice in `odd` is irregular.
struct Plan {
  int odd;
  int numbering, ncells, nnets, npins, fmt, weights_per_cell;
};

// A number; one in `odd` has another notation or another value in the higher 32 bits.
std::string number(Draw& draw, const Plan& plan, long long value) {
  if (!draw.once_in(plan.odd)) return std::to_string(value);
  switch (draw.below(4)) {
    case 0:
      return (value < 0 ? "-000" : "+0") + std::to_string(value < 0 ? -value : value);
    case 1:
      return std::to_string(value + 4294967296LL * draw.between(1, 3));
    case 2:
      return std::to_string(value - 4294967296LL * draw.between(1, 3));
    default:
      return std::string("+").append(std::to_string(value));
  }
}

// A number that is rarely valid.
std::string wild_number(Draw& draw) {
  return draw.one_of<std::string>({"0",
                                   "-1",
                                   "2147483647",
                                   "-2147483648",
                                   "2147483648",
                                   "-2147483649",
                                   "4294967297",
                                   "9223372036854775807",
                                   "9223372036854775808",
                                   "-9223372036854775808",
                                   "-9223372036854775809",
                                   "99999999999999999999999",
                                   "-99999999999999999999999",
                                   "--1",
                                   "+-2",
                                   "1e3",
                                   "0x2",
                                   "-",
                                   "1.5",
                                   "%d"});
}

std::string gap(Draw& draw, const Plan& plan) {
  if (!draw.once_in(plan.odd)) return " ";
  std::string text;
  for (int i = draw.between(1, 4); i > 0; --i)
    text += draw.one_of<std::string>({" ", "\t", "\v", "\f", "\r"});
  return text;
}

std::string line_end(Draw& draw, const Plan& plan) {
  if (!draw.once_in(plan.odd)) return "\n";
  return draw.one_of<std::string>({"\r\n", " \n", "\n\n", " % 1 2\n", "x1\n", std::string("\0\n", 2),
                                   std::string(" \0 1\n", 5), "", " "});
}

std::string comments(Draw& draw, const Plan& plan) {
  std::string text;
  while (draw.once_in(plan.odd)) text += draw.one_of<std::string>({"%\n", "% 1 2\n", "%%x\r\n", "%1\n"});
  return text;
}

int drawn_net_weight(Draw& draw) {
  return draw.one_of<int>({1, 1, 1, 2, 3, 0, -1, -7, 2147483647, -2147483647 - 1});
}

std::string net_line(Draw& draw, Plan& plan) {
  const int npins = plan.ncells < 1 ? 0 : draw.one_of<int>({0, 1, 1, 2, 2, 3, 4, 7});
  const bool weighted = plan.fmt == 2 || plan.fmt == 3;
  const int w = npins == 0 && !draw.once_in(plan.odd) ? draw.between(-3, 1) : drawn_net_weight(draw);
  std::string text = draw.once_in(plan.odd) ? gap(draw, plan) : "";
  if (weighted) text += number(draw, plan, w);
  for (int k = 0; k < npins; ++k) {
    if (weighted || k > 0) text += gap(draw, plan);
    const bool wild = draw.once_in(20 * plan.odd);
    text += wild ? wild_number(draw) : number(draw, plan, draw.between(1, plan.ncells) - 1 + plan.numbering);
  }
  plan.npins += npins;
  return text + line_end(draw, plan);
}

std::string weight_block(Draw& draw, const Plan& plan) {
  std::string text = comments(draw, plan);
  const int each = plan.weights_per_cell < 1 ? 1 : plan.weights_per_cell;
  const int excess = draw.once_in(plan.odd) ? draw.between(-3, 9) : 0;
  for (int k = plan.ncells * each + excess; k > 0; --k) {
    text += draw.once_in(4 * plan.odd) ? wild_number(draw) : number(draw, plan, draw.between(-9, 99));
    text += draw.once_in(3) ? line_end(draw, plan) + comments(draw, plan) : gap(draw, plan);
  }
  return text + line_end(draw, plan);
}

std::string header(Draw& draw, const Plan& plan) {
  const auto value = [&](int right) {
    if (draw.once_in(9 * plan.odd)) return wild_number(draw);
    return number(draw, plan, draw.once_in(4 * plan.odd) ? right + draw.between(-2, 3) : right);
  };
  std::string text = number(draw, plan, plan.numbering);
  for (const int count : {plan.ncells, plan.nnets, plan.npins}) text += gap(draw, plan) + value(count);
  if (plan.fmt != 0 || plan.weights_per_cell != 1 || draw.once_in(2))
    text += gap(draw, plan) + value(plan.fmt);
  if (plan.weights_per_cell != 1 || draw.once_in(3)) text += gap(draw, plan) + value(plan.weights_per_cell);
  return text + line_end(draw, plan);
}

// Truncates the text, or removes or inserts some bytes.
void damage(Draw& draw, std::string& text) {
  const int at = draw.below(static_cast<int>(text.size()) + 1);
  const std::string scraps = std::string("\0\xff%\n\r\t\v\f -+0x", 13);
  switch (draw.below(3)) {
    case 0:
      text.resize(static_cast<std::size_t>(at));
      break;
    case 1:
      text.erase(static_cast<std::size_t>(at), static_cast<std::size_t>(draw.between(1, 3)));
      break;
    default:
      text.insert(static_cast<std::size_t>(at), 1, scraps[static_cast<std::size_t>(draw.below(14))]);
  }
}

std::string random_text(std::uint32_t seed) {
  Draw draw(seed);
  Plan plan{};
  plan.odd = draw.one_of<int>({3, 10, 40, 1000});
  plan.numbering = draw.once_in(10 * plan.odd) ? draw.between(-1, 2) : draw.below(2);
  plan.ncells = draw.between(0, 6);
  plan.nnets = draw.between(0, 6);
  plan.fmt = draw.once_in(10 * plan.odd) ? draw.between(-2, 5) : draw.below(4);
  plan.weights_per_cell = draw.one_of<int>({1, 1, 1, 2, 3, 0, -1});

  std::string nets;
  for (int j = 0; j < plan.nnets; ++j) nets += comments(draw, plan) + net_line(draw, plan);
  if (draw.once_in(2)) {  // enough lines that the record is read ahead, in pieces smaller than the blanks
    const int nlines = 130;
    for (int k = 0; k < nlines; ++k) nets += std::string(draw.once_in(40) ? 300 : 0, ' ') + "\n";
    for (int j = 0; j < plan.nnets; ++j) nets += comments(draw, plan) + net_line(draw, plan);
    plan.nnets = 2 * plan.nnets + nlines;
  }
  std::string text = comments(draw, plan) + header(draw, plan) + nets;
  if (plan.fmt == 1 || plan.fmt == 3) text += weight_block(draw, plan);
  if (draw.once_in(plan.odd)) text += "% ---\n 12 34\n";
  while (draw.once_in(plan.odd)) damage(draw, text);
  return text;
}

// ---- Tests

TEST_F(ReadersOnAnyInput, AreOnlyGivenTextsWhoseLastLineIsNoComment) {
  EXPECT_FALSE(ends_in_comment(""));
  EXPECT_FALSE(ends_in_comment("\n"));
  EXPECT_FALSE(ends_in_comment("1\n"));
  EXPECT_FALSE(ends_in_comment("%\n1"));
  EXPECT_FALSE(ends_in_comment("%\n\n"));
  EXPECT_FALSE(ends_in_comment("1\n %\n"));
  EXPECT_FALSE(ends_in_comment("1\n2%"));
  EXPECT_FALSE(ends_in_comment(std::string("\0%", 2)));
  EXPECT_TRUE(ends_in_comment("%"));
  EXPECT_TRUE(ends_in_comment("%\n"));
  EXPECT_TRUE(ends_in_comment("% text\n"));
  EXPECT_TRUE(ends_in_comment("1\n%"));
  EXPECT_TRUE(ends_in_comment("1\n%\n"));
  EXPECT_TRUE(ends_in_comment("\n%\r\n"));
}

// The twin detects that it would never return, so it gets every text.
TEST_F(ReadersOnAnyInput, WaitForEverOnNoTextThatTheyAreGiven) {
  int nendless = 0;
  for (std::uint32_t seed = 1; seed <= 3000; ++seed) {
    const std::string text = random_text(seed) + (seed % 2 == 0 ? "%" : "");
    const Stream stream = stream_of(text);
    const bool endless = outcome_of(kOnePinReader.oracle, stream.get(), 0).endless;
    EXPECT_TRUE(!endless || ends_in_comment(text)) << visible(text);
    nendless += endless ? 1 : 0;
  }
  EXPECT_GT(nendless, 100);
}

TEST_F(ReadersOnAnyInput, AgreeOnEveryPrefixOfEveryGoodFile) {
  const std::vector<std::string> texts = good_texts();
  ASSERT_GE(texts.size(), 10u);

  for (const std::string& text : texts)
    for (std::size_t length = 0; length <= text.size(); ++length) {
      for (const Mode& mode : kModes) agreed(mode, text.substr(0, length));
      if (HasFailure()) return;
    }
}

TEST_F(ReadersOnAnyInput, AgreeWithAnyByteReplaced) {
  const std::vector<std::string> texts = {
      "%a\n1 3 4 8 3 2\n5 1 2\n%\n1\n-4 2\n6 3 1 2 1 3\n2 0 3\n0 4 0\nend\n", "0 2 2 4\n0 1\n1 0\n",
      "0 2 130 4\n0 1\n" + std::string(128, '\n') + "1 0\n"};
  const std::string replacements("\0\xff \n%-+07x\r\t", 12);

  for (const std::string& text : texts) {
    for (std::size_t at = 0; at < text.size(); ++at) {
      for (const char replacement : replacements) {
        std::string changed = text;
        changed[at] = replacement;
        for (const Mode& mode : kModes) agreed(mode, changed);
        if (HasFailure()) return;
      }
    }
  }
}

// Some texts are sound, and every error that a short text can cause occurs.
TEST_F(ReadersOnAnyInput, AgreeOnRandomTexts) {
  std::map<std::string, int> ends = {{"read_hypergraph : cannot read", 0},
                                     {"read_hypergraph : invalid fmt", 0},
                                     {"read_hypergraph : invalid numbering", 0},
                                     {"read_hypergraph : negative number of", 0},
                                     {"read_hypergraph : too many", 0},
                                     {"invalid vertex/cell id", 0},
                                     {"file contains a net with weight", 0},
                                     {"read_hypergraph: Something wrong with the pins", 0},
                                     {"read_hypergraph: no newline at the end of line", 0}};
  int nread = 0;
  int nwarned = 0;
  for (std::uint32_t seed = 1; seed <= 4000 && !HasFailure(); ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const std::optional<ReaderOutcome> outcome = agreed(kModes[seed % 4], random_text(seed));
    if (!outcome) continue;
    for (auto& [message, times] : ends) times += outcome->fatal.starts_with(message) ? 1 : 0;
    nread += outcome->fatal.empty() ? 1 : 0;
    nwarned += outcome->warnings.empty() ? 0 : 1;
  }

  for (const auto& [message, times] : ends) EXPECT_GE(times, 5) << message;
  EXPECT_GE(nread, 1000);
  EXPECT_GE(nwarned, 100);
}

// A file of some hundred nets as writers produce it, with a few irregularities, at which the fast path of the
// reader stops and resumes.
std::string long_text(std::uint32_t seed) {
  Draw draw(seed);
  const int ncells = draw.one_of<int>({3, 90, 5000, 123456, 12345678});
  const int nnets = draw.between(60, 400);
  const int fmt = draw.below(4);
  const int smallest = draw.once_in(2) ? 2 : 0;
  const bool blank_at_end = draw.once_in(2);
  const int odd = draw.one_of<int>({40, 400, 1000000});
  std::string lines;
  int npins = 0;
  for (int j = 1; j <= nnets; ++j) {
    const int size = draw.once_in(100) ? draw.between(200, 900) : draw.between(smallest, 12);
    npins += size;
    if (draw.once_in(odd)) lines += "% a comment\n";
    std::string line;
    if (fmt >= 2) line.append(std::to_string(draw.below(size == 0 ? 2 : 300))).append(" ");
    for (int k = 0; k < size; ++k) {
      if (draw.once_in(4 * odd)) line += draw.one_of<std::string>({"\t", "+", "00", " ", "000000000"});
      line.append(std::to_string(draw.between(1, ncells))).append(" ");
    }
    if (!blank_at_end && !line.empty()) line.pop_back();
    if (draw.once_in(odd)) line += draw.one_of<std::string>({"x", " % 7", "\r", std::string(1, '\0'), " -1"});
    lines.append(line).append("\n");
  }
  if ((fmt & 1) != 0)
    for (int i = 1; i <= std::min(ncells, 400); ++i)
      lines.append(std::to_string(draw.below(1000))).append(i % 100 == 0 ? "\n" : " ");
  const int announced = draw.once_in(10) ? npins - draw.between(-40, 40) : npins;
  return "1 " + std::to_string(ncells) + " " + std::to_string(nnets) + " " + std::to_string(announced) + " " +
         std::to_string(fmt) + "\n" + lines +
         draw.one_of<std::string>({"", "the rest\n", std::string(100, '\n')});
}

TEST_F(ReadersOnAnyInput, AgreeOnLongTexts) {
  int nread = 0;
  for (std::uint32_t seed = 1; seed <= 240 && !HasFailure(); ++seed) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    const std::optional<ReaderOutcome> outcome = agreed(kModes[seed % 4], long_text(seed));
    if (outcome && outcome->fatal.empty()) ++nread;
  }
  EXPECT_GE(nread, 60);
}

}  // namespace
}  // namespace quillon
