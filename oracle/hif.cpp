#include "oracle/hif.h"

#include <cctype>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string_view>

namespace quillon::oracle {
namespace {

using nlohmann::json;

[[noreturn]] void throw_finding(std::size_t offset, const char* rule, const std::string& message) {
  throw HifFinding{rule, offset, message};
}

std::string shown(std::string_view word) {
  constexpr std::size_t kShownCharacters = 40;
  std::string printable(word.substr(0, kShownCharacters));
  for (char& c : printable)
    if (std::isprint(static_cast<unsigned char>(c)) == 0) c = '?';
  return "\"" + printable + (word.size() > kShownCharacters ? "...\"" : "\"");
}

// The input of the parser, which records how far it has been read.
struct WatchedText {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  const char* at;
  const char** seen;

  const char& operator*() const { return *at; }
  WatchedText& operator++() {
    *seen = ++at;
    return *this;
  }
  bool operator==(const WatchedText& other) const { return at == other.at; }
  bool operator!=(const WatchedText& other) const { return at != other.at; }
};

enum class Section { kIncidences, kNodes, kEdges, kNetworkType, kMetadata };

// Identifiers as JSON texts, so that 1 and "1" differ, in order of appearance.
struct Names {
  std::map<std::string, int> numbers;
  std::vector<std::string> texts;

  int number_of(const std::string& text) {
    const auto [it, is_new] = numbers.emplace(text, static_cast<int>(texts.size()));
    if (is_new) texts.push_back(text);
    return it->second;
  }
};

// Nodes or edges: those in a list of their own come before those that only incidences name.
struct Items {
  Names names;
  std::vector<int> listed;  // by order of the list
  std::map<int, int> weights;
};

struct Incidence {
  int edge;
  int node;
};

struct Document {
  Items nodes;
  Items edges;
  std::vector<Incidence> incidences;
  std::int64_t nrepeated_records = 0;
  std::int64_t nincidence_weights = 0;
  std::int64_t ndirections = 0;
  std::int64_t nattributes = 0;
  std::int64_t nunfit_weights = 0;
  bool has_metadata = false;
  std::string network_type = "undirected";
};

struct Record {
  std::size_t offset = 0;
  std::string edge;  // as JSON, empty if not there
  std::string node;
  std::optional<double> weight;
  std::vector<std::string> keys;
};

constexpr double kLeastWeight = std::numeric_limits<int>::min();
constexpr double kLargestWeight = std::numeric_limits<int>::max();

// Receives the document as it is parsed. Depth 1 is inside the outermost object, 2 inside its lists, 3 inside
// their records; the contents of attributes and metadata is skipped.
class Reader : public nlohmann::json_sax<json> {
 public:
  Reader(const std::string& text, const char* const& seen, Document& document)
      : text_(text), seen_(seen), document_(document) {}

  bool null() override { return no_number_or_text(); }
  bool boolean(bool /*value*/) override { return no_number_or_text(); }
  bool number_integer(number_integer_t value) override {
    return number(std::to_string(value), static_cast<double>(value), true);
  }
  bool number_unsigned(number_unsigned_t value) override {
    return number(std::to_string(value), static_cast<double>(value), true);
  }
  bool number_float(number_float_t value, const string_t& text) override {
    return number(text, value, false);
  }
  bool binary(binary_t& /*value*/) override { return false; }  // JSON has none

  bool string(string_t& value) override {
    if (skipped_ > 0) return true;
    if (depth_ == 1 && section_ == Section::kNetworkType) {
      if (value != "undirected" && value != "directed" && value != "asc")
        bad_value("a network type: undirected, directed or asc");
      document_.network_type = value;
      return true;
    }
    if (depth_ == 3 && (key_ == "edge" || key_ == "node")) return store_id(json(value).dump());
    if (depth_ == 3 && key_ == "direction" && (value == "head" || value == "tail")) {
      ++document_.ndirections;
      return true;
    }
    bad_value(expected_value() + (depth_ == 3 && key_ == "weight" ? " without quotes" : ""));
  }

  bool start_object(std::size_t /*elements*/) override {
    if (skipped_ > 0 || may_skip_object()) {
      ++skipped_;
      return true;
    }
    if (depth_ == 0 || depth_ == 2) {
      ++depth_;
      record_ = Record{};
      record_.offset = offset() - 1;
      return true;
    }
    bad_value(expected_value());
  }

  bool key(string_t& name) override {
    if (skipped_ > 0) return true;
    key_ = name;
    if (depth_ == 1)
      begin_section(name);
    else
      check_key_of_record(name);
    return true;
  }

  bool end_object() override {
    if (skipped_ > 0) {
      --skipped_;
      return true;
    }
    --depth_;
    if (depth_ == 2) store_record();
    return true;
  }

  bool start_array(std::size_t /*elements*/) override {
    if (skipped_ > 0) {
      ++skipped_;
      return true;
    }
    const bool is_list = depth_ == 1 && section_ != Section::kNetworkType && section_ != Section::kMetadata;
    if (!is_list) bad_value(expected_value());
    ++depth_;
    return true;
  }

  bool end_array() override {
    if (skipped_ > 0)
      --skipped_;
    else
      --depth_;
    return true;
  }

  // `position` counts what has been read, the end of the file included.
  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const json::exception& error) override {
    const std::size_t at = std::min(position == 0 ? 0 : position - 1, text_.size());
    const std::string text = error.what();
    const std::size_t begin = text.find(" - ");
    if (begin == std::string::npos)  // not of the syntax: the value of a number
      throw_finding(start_of_word(at), "bad-json",
                    "found a number too large, expected one of double precision");
    std::string what = text.substr(begin + 3);
    constexpr std::string_view kUnexpected = "unexpected ";
    if (!what.starts_with(kUnexpected))
      throw_finding(at, "bad-json", "found no JSON: " + what.substr(0, what.find("; last read: ")));
    what.erase(0, kUnexpected.size());
    if (const std::size_t separator = what.find("; expected "); separator != std::string::npos)
      what[separator] = ',';
    throw_finding(start_of_word(at), "bad-json", "found " + what);
  }

  // At the end of the document.
  void check_complete() const {
    if (!has_incidences_)
      throw_finding(text_.size(), "missing-incidences",
                    "found no \"incidences\", expected an array of that name");
  }

 private:
  [[nodiscard]] std::size_t offset() const { return static_cast<std::size_t>(seen_ - text_.data()); }

  [[nodiscard]] bool in_word(std::size_t at) const {
    const char c = text_[at];
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '+' || c == '.';
  }

  // Start of the string, number or literal that ends with the byte at `last`; `last` for other text.
  [[nodiscard]] std::size_t start_of_word(std::size_t last) const {
    if (last == text_.size()) return last;
    if (text_[last] == '"') return start_of_string(last);
    std::size_t at = last;
    while (in_word(last) && at > 0 && in_word(at - 1)) --at;
    return at;
  }

  // The opening quote of the string whose closing one is at `end`.
  [[nodiscard]] std::size_t start_of_string(std::size_t end) const {
    for (std::size_t at = end; at-- > 0;) {
      if (text_[at] != '"') continue;
      std::size_t nescapes = 0;
      while (nescapes < at && text_[at - 1 - nescapes] == '\\') ++nescapes;
      if (nescapes % 2 == 0) return at;
    }
    return end;
  }

  // Strings are shown without their quotes.
  [[noreturn]] void bad_value_at(std::size_t last, const std::string& expected,
                                 const char* rule = "bad-json-value") const {
    const std::size_t begin = start_of_word(last);
    std::string_view word = std::string_view(text_).substr(begin, last + 1 - begin);
    if (word.size() > 2 && word.front() == '"') word = word.substr(1, word.size() - 2);
    throw_finding(begin, rule, "found " + shown(word) + ", expected " + expected);
  }

  // The value is what the parser has read last.
  [[noreturn]] void bad_value(const std::string& expected) const { bad_value_at(offset() - 1, expected); }
  [[noreturn]] void bad_key(const std::string& expected, const char* rule) const {
    bad_value_at(offset() - 1, expected, rule);
  }

  // The parser has read one byte after a number, if there is one.
  [[noreturn]] void bad_number(const std::string& expected) const {
    const std::size_t last = offset() - 1;
    bad_value_at(in_word(last) ? last : last - 1, expected);
  }

  [[nodiscard]] std::string expected_value() const {
    if (depth_ == 0) return "an object";
    if (depth_ == 2) return "an object for each of the " + key_of_section();
    if (depth_ == 1) {
      if (section_ == Section::kMetadata) return "an object";
      return section_ == Section::kNetworkType ? "a network type: undirected, directed or asc" : "an array";
    }
    if (key_ == "weight") return "a number";
    if (key_ == "attrs") return "an object";
    if (key_ == "direction") return "head or tail";
    return "a string or an integer for \"" + key_ + "\"";
  }

  [[nodiscard]] std::string key_of_section() const {
    if (section_ == Section::kIncidences) return "incidences";
    return section_ == Section::kNodes ? "nodes" : "edges";
  }

  [[nodiscard]] bool may_skip_object() {
    if (depth_ == 1 && section_ == Section::kMetadata) {
      document_.has_metadata = true;
      return true;
    }
    if (depth_ != 3 || key_ != "attrs") return false;
    ++document_.nattributes;
    return true;
  }

  void begin_section(const std::string& name) {
    static const std::map<std::string, Section> sections{{"incidences", Section::kIncidences},
                                                         {"nodes", Section::kNodes},
                                                         {"edges", Section::kEdges},
                                                         {"network-type", Section::kNetworkType},
                                                         {"metadata", Section::kMetadata}};
    const auto found = sections.find(name);
    if (found == sections.end()) bad_key("incidences, nodes, edges, network-type or metadata", "unknown-key");
    for (const Section seen : sections_)
      if (seen == found->second) bad_key("each key once", "repeated-key");
    section_ = found->second;
    sections_.push_back(section_);
    if (section_ == Section::kIncidences) has_incidences_ = true;
  }

  void check_key_of_record(const std::string& name) {
    const bool known = name == "weight" || name == "attrs" ||
                       (name == "edge" && section_ != Section::kNodes) ||
                       (name == "node" && section_ != Section::kEdges) ||
                       (name == "direction" && section_ == Section::kIncidences);
    if (!known) {
      const std::string keys = section_ == Section::kNodes   ? "node, weight or attrs"
                               : section_ == Section::kEdges ? "edge, weight or attrs"
                                                             : "edge, node, weight, direction or attrs";
      bad_key(keys, "unknown-key");
    }
    for (const std::string& seen : record_.keys)
      if (seen == name) bad_key("each key once", "repeated-key");
    record_.keys.push_back(name);
  }

  bool number(const std::string& text, double value, bool is_integer) {
    if (skipped_ > 0) return true;
    if (depth_ == 3 && key_ == "weight") {
      record_.weight = value;
      return true;
    }
    if (depth_ == 3 && (key_ == "edge" || key_ == "node")) {
      if (is_integer) return store_id(text);
      if (text.find_first_of(".eE") == std::string::npos) bad_number("an integer of 64 bits, or a string");
    }
    bad_number(expected_value());
  }

  bool no_number_or_text() {
    if (skipped_ > 0) return true;
    bad_value(expected_value());
  }

  bool store_id(const std::string& id) {
    (key_ == "edge" ? record_.edge : record_.node) = id;
    return true;
  }

  void store_record() {
    if (section_ == Section::kIncidences) {
      if (record_.edge.empty() || record_.node.empty())
        throw_finding(record_.offset, "missing-key",
                      std::string("found an incidence without ") + (record_.edge.empty() ? "edge" : "node") +
                          ", expected both edge and node");
      document_.incidences.push_back(
          {document_.edges.names.number_of(record_.edge), document_.nodes.names.number_of(record_.node)});
      if (record_.weight) ++document_.nincidence_weights;
      return;
    }
    const bool is_node = section_ == Section::kNodes;
    const std::string& id = is_node ? record_.node : record_.edge;
    if (id.empty())
      throw_finding(record_.offset, "missing-key",
                    is_node ? "found an object without node, expected it in each of the nodes"
                            : "found an object without edge, expected it in each of the edges");
    list_item(is_node ? document_.nodes : document_.edges, id);
  }

  void list_item(Items& items, const std::string& id) {
    const int item = items.names.number_of(id);
    if (!listed_[&items == &document_.nodes ? 0 : 1].insert(item).second) {
      ++document_.nrepeated_records;
      return;
    }
    items.listed.push_back(item);
    if (!record_.weight) return;
    const double w = *record_.weight;
    if (w >= kLeastWeight && w <= kLargestWeight && w == std::floor(w))
      items.weights[item] = static_cast<int>(w);
    else
      ++document_.nunfit_weights;
  }

  const std::string& text_;
  const char* const& seen_;
  Document& document_;
  int depth_ = 0;
  std::size_t skipped_ = 0;  // depth inside attributes or metadata
  Section section_ = Section::kMetadata;
  std::vector<Section> sections_;
  bool has_incidences_ = false;
  std::string key_;
  Record record_;
  std::set<int> listed_[2];  // nodes, edges
};

// Final numbers, from 1: listed items first, then the others in the order of the incidences.
std::vector<int> final_numbers(const Items& items, const std::vector<int>& named) {
  std::vector<int> numbers(items.names.texts.size(), 0);
  int next = 0;
  for (const int item : items.listed) numbers[static_cast<std::size_t>(item)] = ++next;
  for (const int item : named)
    if (numbers[static_cast<std::size_t>(item)] == 0) numbers[static_cast<std::size_t>(item)] = ++next;
  return numbers;
}

std::vector<std::string> names_by_number(const Items& items, const std::vector<int>& numbers) {
  std::vector<std::string> names(numbers.size() + 1);
  for (std::size_t k = 0; k < numbers.size(); ++k)
    names[static_cast<std::size_t>(numbers[k])] = items.names.texts[k];
  return names;
}

std::vector<int> weights_by_number(const Items& items, const std::vector<int>& numbers) {
  if (items.weights.empty()) return {};
  std::vector<int> weights(numbers.size() + 1, 1);
  weights[0] = 0;
  for (const auto& [item, w] : items.weights)
    weights[static_cast<std::size_t>(numbers[static_cast<std::size_t>(item)])] = w;
  return weights;
}

void note(std::vector<std::string>& notes, std::int64_t count, const std::string& what,
          const std::string& more = {}) {
  if (count > 0) notes.push_back(std::to_string(count) + " " + what + (count == 1 ? "" : "s") + more);
}

void note_losses(HifContents& contents, const Document& document) {
  note(contents.remarks, document.nrepeated_records, "record",
       " of nodes or edges listed twice; the first is used");
  note(contents.losses, document.nincidence_weights, "incidence weight");
  note(contents.losses, document.nunfit_weights, "weight",
       " of nodes or edges, not whole or out of range, set to 1");
  note(contents.losses, document.ndirections, "direction", " of incidences");
  note(contents.losses, document.nattributes, "set", " of attributes");
  if (document.has_metadata) contents.losses.emplace_back("the metadata");
  if (document.network_type != "undirected")
    contents.losses.push_back("the network type " + document.network_type);
}

}  // namespace

HifContents read_hif(const std::string& text) {
  if (const std::size_t nul = text.find('\0'); nul != std::string::npos)
    throw_finding(nul, "bad-json", "found a byte of value 0, expected JSON");

  Document document;
  const char* seen = text.data();
  Reader reader(text, seen, document);
  json::sax_parse(WatchedText{text.data(), &seen}, WatchedText{text.data() + text.size(), nullptr}, &reader);
  reader.check_complete();

  std::vector<int> named_edges;
  std::vector<int> named_nodes;
  for (const Incidence& incidence : document.incidences) {
    named_edges.push_back(incidence.edge);
    named_nodes.push_back(incidence.node);
  }
  const std::vector<int> nets = final_numbers(document.edges, named_edges);
  const std::vector<int> cells = final_numbers(document.nodes, named_nodes);
  HifContents contents;
  contents.pins.resize(nets.size());
  for (const Incidence& incidence : document.incidences)
    contents.pins[static_cast<std::size_t>(nets[static_cast<std::size_t>(incidence.edge)] - 1)].push_back(
        cells[static_cast<std::size_t>(incidence.node)]);
  contents.cell_names = names_by_number(document.nodes, cells);
  contents.net_names = names_by_number(document.edges, nets);
  contents.cell_weights = weights_by_number(document.nodes, cells);
  contents.net_weights = weights_by_number(document.edges, nets);
  note_losses(contents, document);
  return contents;
}

}  // namespace quillon::oracle
