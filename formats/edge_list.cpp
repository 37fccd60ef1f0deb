#include "formats/edge_list.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "formats/findings.h"
#include "formats/json_name.h"
#include "formats/line_errors.h"
#include "formats/losses.h"
#include "formats/name_bytes.h"
#include "formats/names.h"
#include "formats/notes.h"
#include "formats/source.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/lists.h"

namespace quillon::formats {
namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::string_view kSeparators = " \t\r\v\f,";
constexpr std::string_view kCommentSigns = "#%";

bool is_one_of(char c, std::string_view characters) { return characters.find(c) != std::string_view::npos; }

// An integer of 64 bits as JSON writes it; other words are strings.
bool is_integer(std::string_view word) {
  constexpr std::size_t kSafeLength = 18;
  const std::string_view digits = word.starts_with('-') ? word.substr(1) : word;
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return false;
  if (digits.front() == '0') return word == "0";
  return digits.size() <= kSafeLength || json_name(word).has_value();
}

// Such as 0.5 or -1.5e-3: a weight rather than a name.
bool is_fraction(std::string_view word) {
  if (word.find('.') == std::string_view::npos) return false;
  double value = 0;
  const auto [stopped, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return stopped == word.data() + word.size() && error != std::errc::invalid_argument;
}

bool is_plain(std::string_view word) {
  return std::all_of(word.begin(), word.end(),
                     [](char c) { return c > ' ' && c < 127 && c != '"' && c != '\\'; });
}

// The JSON text of a word; none if it has bytes that JSON does not allow.
std::optional<std::string> name_of_word(std::string_view word) {
  if (word.front() == '"') return json_name(word);
  if (is_integer(word)) return std::string(word);
  std::string text = "\"";
  for (const char c : word) {
    if (c == '"' || c == '\\') text += '\\';
    text += c;
  }
  text += '"';
  return is_plain(word) ? text : json_name(text);
}

// The names of a line, separated by blanks or commas. A word that begins with a double quote ends with one,
// and may have both inside.
class Line {
 public:
  // Moves past the line.
  explicit Line(Scanner& in) : in_(in), offset_(in.at) {
    skip_line(in);
    line_ = std::string_view(in.text).substr(offset_, in.at - offset_);
    if (line_.ends_with('\n')) line_.remove_suffix(1);
  }

  // The next name, with its quotes if it has any; empty at the end of the line or before a comment. None
  // after an error.
  std::optional<Token> next() {
    skip_blanks();
    if (is_at_end()) return token(at_);
    const std::size_t begin = at_;
    if (line_[at_] == '"') {
      if (!skip_quoted()) return std::nullopt;
    } else {
      skip_while_not(kSeparators);
    }
    const Token name = token(begin);
    const bool is_sound = (at_ > begin || refuse_name(byte(at_), "a name")) && skip_comma();
    return is_sound ? std::optional(name) : std::nullopt;
  }

  // None after an error.
  [[nodiscard]] std::optional<std::string> as_name(const Token& token) const {
    if (is_fraction(token.text)) {
      refuse_name(token, "a name", "weights are not read; a name that looks like one needs double quotes");
      return std::nullopt;
    }
    std::optional<std::string> name = name_of_word(token.text);
    if (!name) refuse_name(token, token.text.front() == '"' ? "a string of JSON" : "a name of UTF-8 text");
    return name;
  }

 private:
  [[nodiscard]] bool is_at_end() const { return at_ == line_.size() || is_one_of(line_[at_], kCommentSigns); }

  [[nodiscard]] Token token(std::size_t begin) const {
    return {line_.substr(begin, at_ - begin), offset_ + begin};
  }

  // The next byte; empty at the end of the line.
  [[nodiscard]] Token byte(std::size_t at) const { return {line_.substr(at, 1), offset_ + at}; }

  void skip_blanks() { at_ = std::min(line_.find_first_not_of(kBlanks, at_), line_.size()); }

  void skip_while_not(std::string_view ends) { at_ = std::min(line_.find_first_of(ends, at_), line_.size()); }

  // Returns false.
  bool refuse_name(const Token& token, const char* expected, const char* hint = "") const {
    return refuse(
        in_, token, "bad-name", [expected] { return expected; }, hint);
  }

  // Returns whether there was no error, as `skip_comma`.
  bool skip_quoted() {
    for (++at_; at_ < line_.size() && line_[at_] != '"'; ++at_)
      if (line_[at_] == '\\' && at_ + 1 < line_.size()) ++at_;
    if (at_ == line_.size()) return refuse_name(byte(at_), "the quote that ends the name");
    ++at_;
    const bool ends_here = at_ == line_.size() || is_one_of(line_[at_], kSeparators);
    return ends_here || refuse_name(byte(at_), "a blank or a comma after the quote");
  }

  bool skip_comma() {
    skip_blanks();
    if (at_ == line_.size() || line_[at_] != ',') return true;
    ++at_;
    skip_blanks();
    return !is_at_end() || refuse_name(byte(at_), "a name after the comma");
  }

  const Scanner& in_;
  std::size_t offset_;
  std::string_view line_;
  std::size_t at_ = 0;
};

// As labels, with an entry 0.
std::vector<std::string> texts_of(const Names& names) {
  std::vector<std::string> texts(1);
  texts.reserve(static_cast<std::size_t>(names.size()) + 1);
  for (int number = 1; number <= names.size(); ++number) texts.emplace_back(names.name_of(number));
  return texts;
}

// The names of nets that have none, so that files of labels are complete.
std::vector<std::string> numbers_up_to(int count) {
  std::vector<std::string> texts(1);
  texts.reserve(static_cast<std::size_t>(count) + 1);
  for (int number = 1; number <= count; ++number) texts.push_back(std::to_string(number));
  return texts;
}

// Whether each line may be an edge of two ends, and its weight.
class ThirdColumn {
 public:
  void look_at(const std::vector<Token>& names) {
    is_empty_ = false;
    is_integer_ = is_integer_ && names.size() == 3 && is_integer(names[2].text);
  }

  [[nodiscard]] bool may_be_weights() const { return is_integer_ && !is_empty_; }

 private:
  bool is_empty_ = true;
  bool is_integer_ = true;
};

// Reads a line whose end is known. Returns whether there was no error.
template <typename Read>
bool read_whole_line(Scanner& in, Read read) try {
  return read();
} catch (const BadFile& error) {
  report(in, error.finding());
  return false;
}

// The cells of a net, and its names. The net has not ended then. Returns whether there was no error.
bool read_names(Scanner& in, NetLists& lists, Names& cells, std::vector<Token>& names) {
  Line line(in);
  for (std::optional<Token> word = line.next(); !word || !word->text.empty(); word = line.next()) {
    if (!word) return false;
    if (names.empty()) locate(in, {Item::kNet, lists.nnets + 1, Item::kLine}, word->offset);
    locate(in, {Item::kNet, lists.nnets + 1, Item::kFirstPin + std::ssize(names)}, word->offset);
    names.push_back(*word);
    const std::optional<std::string> name = line.as_name(*word);
    if (!name) return false;
    lists.nadj.push_back(cells.number_of(*name));
  }
  return true;
}

void read_nets(Scanner& in, NetLists& lists) {
  Names cells;
  ThirdColumn third_column;
  std::vector<Token> names;
  begin_nets(lists, 0);
  while (!at_end(in)) {
    names.clear();
    if (!read_whole_line(in, [&] { return read_names(in, lists, cells, names); })) {
      note_damage(in, ++lists.nnets);
      drop_net(lists, false);
      continue;
    }
    if (names.empty()) continue;
    third_column.look_at(names);
    end_net(lists);
    ++lists.nnets;
  }
  if (lists.nnets == 0) unexpected(in, {{}, in.at}, "missing-line", "a line of names");
  lists.ncells = cells.size();
  lists.cell_names = texts_of(cells);
  lists.net_names = numbers_up_to(lists.nnets);
  if (!third_column.may_be_weights()) return;
  const char* const remark = "every line has three names, the last a number; weights are not read from lists";
  lists.remarks.emplace_back(remark);
  note_oddity(in, {}, "maybe-weights", remark);
}

// The pins of a file, and for `lint` where they are.
struct PinPairs {
  Names cells;
  Names nets;
  std::vector<Pin> pins;
  std::vector<std::size_t> offsets;
};

// Returns whether there was no error.
bool read_pair(Scanner& in, Pairs order, PinPairs& pairs) {
  Line line(in);
  const std::optional<Token> first = line.next();
  if (!first) return false;
  if (first->text.empty()) return true;
  const std::optional<Token> second = line.next();
  if (!second) return false;
  if (second->text.empty())
    return refuse(in, *second, "missing-pin", [order] {
      return order == Pairs::kNetCell ? "a cell after its net" : "a net after its cell";
    });
  const std::optional<Token> third = line.next();
  if (!third) return false;
  if (!third->text.empty())
    return refuse(
        in, *third, "trailing-text", [] { return "the end of the line after a pair"; },
        "weights are not read from lists");
  const std::optional<std::string> name = line.as_name(*first);
  if (!name) return false;
  const std::optional<std::string> other = line.as_name(*second);
  if (!other) return false;
  const bool net_first = order == Pairs::kNetCell;
  pairs.pins.push_back(
      {pairs.nets.number_of(net_first ? *name : *other), pairs.cells.number_of(net_first ? *other : *name)});
  if (in.audit != nullptr) pairs.offsets.push_back(first->offset);
  return true;
}

void give_to_audit(const Scanner& in, const PinPairs& pairs) {
  if (in.audit == nullptr || !in.audit->pins) return;
  std::vector<int> numbers;
  numbers.reserve(2 * pairs.pins.size());
  for (const Pin& pin : pairs.pins) numbers.insert(numbers.end(), {pin.net, pin.cell});
  in.audit->pins({numbers, pairs.nets.size(), pairs.cells.size(), false, pairs.offsets});
}

void read_pairs(Scanner& in, NetLists& lists, Pairs order) {
  PinPairs pairs;
  bool is_sound = true;
  while (!at_end(in)) is_sound &= read_whole_line(in, [&] { return read_pair(in, order, pairs); });
  if (pairs.pins.empty() && is_sound) unexpected(in, {{}, in.at}, "missing-line", "a pair of names");
  give_to_audit(in, pairs);
  lists.ncells = pairs.cells.size();
  lists.nnets = pairs.nets.size();
  group_by_net(lists, pairs.pins);
  lists.cell_names = texts_of(pairs.cells);
  lists.net_names = texts_of(pairs.nets);
}

}  // namespace

void read_edge_list(Scanner& in, NetLists& lists, const ReadOptions& options) {
  if (options.pairs == Pairs::kNone)
    read_nets(in, lists);
  else
    read_pairs(in, lists, options.pairs);
}

namespace {

// A label as a word of a list: without the quotes where these are not needed.
std::string_view word_of(std::string_view label) {
  if (label.front() != '"' || label.size() == 2) return label;
  const std::string_view word = label.substr(1, label.size() - 2);
  const bool needs_quotes = word.find_first_of(" ,\\") != std::string_view::npos ||
                            word.starts_with(kByteOrderMark) ||  // of the first name in a file
                            is_one_of(word.front(), kCommentSigns) || is_integer(word) || is_fraction(word);
  return needs_quotes ? label : word;
}

std::int64_t count_cells_without_nets(const Hypergraph& h) {
  return std::count_if(h._clst + 1, h._clst + h._c + 1,
                       [](const Cell& cell) { return nets_of(cell).empty(); });
}

}  // namespace

void write_edge_list(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  const bool has_names = options.labels != nullptr && !options.labels->cells.empty();
  if (has_names) check_name_bytes(h, options.labels->cells, {});
  TextWriter out(filename, "quillon convert: hyperedge list");
  for (int j = 1; j <= h._n; ++j) {
    const std::span<const int> pins = pins_of(h._nlst[j]);
    for (const int& i : pins) {
      if (has_names)
        out.text(word_of(options.labels->cells[static_cast<std::size_t>(i)]));
      else
        out.number(i);
      out.character(&i == &pins.back() ? '\n' : ' ');
    }
  }
  out.close();
}

void find_losses_of_edge_list(const Hypergraph& h, const WriteOptions& options, Losses& losses) {
  const std::int64_t nempty = count_nets_of_size(h, 0, any_weight);
  note_lost_weights(losses, h, false, false);
  note(losses.lost, nempty, "net", " without pins");
  note(losses.lost, count_cells_without_nets(h), "cell", " without nets");
  if (options.labels != nullptr) note(losses.lost, count_names(options.labels->nets), "net name");
  if (h._n == nempty) losses.refused.emplace_back("no names, which makes it no list");
}

}  // namespace quillon::formats
