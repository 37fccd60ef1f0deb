#include "formats/hif.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/audit.h"
#include "formats/item_names.h"
#include "formats/json_text.h"
#include "formats/line_errors.h"
#include "formats/name_bytes.h"
#include "formats/notes.h"
#include "formats/text_writer.h"
#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

// Keys of the document, as bits.
enum Section : unsigned { kIncidences = 1, kNodes = 2, kEdges = 4, kNetworkType = 8, kMetadata = 16 };

// Keys of the records in its lists, as bits.
enum Key : unsigned { kEdge = 1, kNode = 2, kWeight = 4, kDirection = 8, kAttributes = 16 };

template <std::size_t N>
using KeyTable = std::array<std::pair<std::string_view, unsigned>, N>;

constexpr KeyTable<5> kSections{{{"incidences", kIncidences},
                                 {"nodes", kNodes},
                                 {"edges", kEdges},
                                 {"network-type", kNetworkType},
                                 {"metadata", kMetadata}}};
constexpr KeyTable<5> kKeys{{{"edge", kEdge},
                             {"node", kNode},
                             {"weight", kWeight},
                             {"direction", kDirection},
                             {"attrs", kAttributes}}};

constexpr const char* kNetworkTypes = "a network type: undirected, directed or asc";

// 0 if there is no such key.
unsigned bit_of(const KeyTable<5>& table, std::string_view name) {
  if (name.empty()) return 0;
  for (const auto& [known, bit] : table)
    if (known.front() == name.front() && known == name) return bit;
  return 0;
}

// Nodes or edges. Those in a list of their own come before those that only incidences name.
struct Items {
  ItemNames names;
  std::vector<int> listed;      // numbers in `names`, by order of the list
  std::vector<bool> is_listed;  // by number
  std::vector<int> weights;     // by number, as far as there are any
};

// Consecutive pins of one net.
struct Run {
  int net;
  int begin;  // first of its pins
};

// The pins themselves are in `NetLists`.
struct Document {
  Items nodes;
  Items edges;
  std::vector<Run> runs;
  std::vector<std::size_t> offsets;  // of the incidences, for `lint` only
  std::int64_t nrepeated_records = 0;
  std::int64_t nincidence_weights = 0;
  std::int64_t ndirections = 0;
  std::int64_t nattributes = 0;
  std::int64_t nunfit_weights = 0;
  bool has_metadata = false;
  std::string network_type = "undirected";
};

// An identifier: an integer looked up by index, or the canonical text of another one.
struct Id {
  bool is_there = false;
  bool is_indexed = false;
  std::uint64_t integer = 0;
  std::string_view text;
};

struct Record {
  const char* begin = nullptr;    // null outside of records
  std::size_t ntexts_before = 0;  // texts of identifiers of the records before that are still kept
  unsigned keys = 0;
  Id edge;
  Id node;
  std::optional<double> weight;
};

constexpr std::size_t kAtOnce = 64;  // records whose names are looked up together

// Identifiers of a few records, all looked up by index or all texts: numbers go in the order of the records.
class Batch {
 public:
  explicit Batch(ItemNames& names) : names_(&names) {}

  // Whether an identifier can be added.
  [[nodiscard]] bool has_room_for(const Id& id) const {
    return size_ == 0 || (size_ < kAtOnce && id.is_indexed == (ntexts_ == 0));
  }

  void add(const Id& id) {
    if (id.is_indexed) {
      names_->prefetch(id.integer);
      places_[size_++] = id.integer;
      return;
    }
    // Incidences often come net by net.
    if (ntexts_ == 0 || texts_[ntexts_ - 1] != id.text) texts_[ntexts_++] = id.text;
    places_[size_++] = ntexts_ - 1;
  }

  // The numbers of the identifiers.
  const std::array<int, kAtOnce>& look_up() {
    if (ntexts_ == 0) {
      for (std::size_t k = 0; k < size_; ++k) numbers_[k] = names_->number_of(places_[k]);
      return numbers_;
    }
    names_->numbers_of({texts_.data(), ntexts_}, text_numbers_.data());
    for (std::size_t k = 0; k < size_; ++k) numbers_[k] = text_numbers_[places_[k]];
    return numbers_;
  }

  void clear() { size_ = ntexts_ = 0; }

 private:
  ItemNames* names_;
  std::size_t size_ = 0;
  std::size_t ntexts_ = 0;
  std::array<std::uint64_t, kAtOnce> places_{};  // the integers, or where their texts are in `texts_`
  std::array<int, kAtOnce> numbers_{};
  std::array<std::string_view, kAtOnce> texts_{};
  std::array<int, kAtOnce> text_numbers_{};
};

// Reads the document once, in its order.
class Reader {
 public:
  Reader(Scanner& in, NetLists& lists, Document& document)
      : in_(in),
        lists_(lists),
        document_(document),
        json_(in.text),
        nodes_(document.nodes.names),
        edges_(document.edges.names) {}

  void read() {
    json_.skip_byte_order_mark();
    if (const JsonWord word = json_.value(); !is(word, '{')) bad_value(word, "an object");
    if (!json_.accept('}')) {
      do read_section();
      while (json_.accept(','));
      json_.expect('}');
    }
    json_.expect_end();
    if ((sections_ & kIncidences) == 0)
      bad_text(in_, in_.text.size(), "missing-incidences",
               "found no \"incidences\", expected an array of that name");
  }

  // A byte of value 0 is the error that counts, whatever it leads to.
  void check_bytes() const {
    if (has_checked_bytes_) return;
    if (const std::size_t nul = in_.text.find('\0'); nul != std::string_view::npos)
      bad_text(in_, nul, "bad-json", "found a byte of value 0, expected JSON");
    has_checked_bytes_ = true;  // once: there may be an error in each record
  }

 private:
  static bool is(const JsonWord& word, char bracket) {
    return word.kind == JsonKind::kPunctuation && *word.begin == bracket;
  }

  // What messages show of a word: strings without their quotes.
  [[nodiscard]] Token token_of(const JsonWord& word) const {
    const std::size_t last = json_.last_of(word);
    const std::size_t begin = json_.start_of_word(last);
    std::string_view shown = in_.text.substr(begin, last + 1 - begin);
    if (shown.size() > 2 && shown.front() == '"') shown = shown.substr(1, shown.size() - 2);
    return {shown, begin};
  }

  // For errors after which the read cannot go on.
  [[noreturn]] void bad_value(const JsonWord& word, const char* expected,
                              const char* rule = "bad-json-value") const {
    check_bytes();
    unexpected(in_, token_of(word), rule, expected);
  }

  // For errors in a record, which is skipped then if somebody listens. Return false.
  bool refuse_value(const JsonWord& word, const char* expected, const char* rule = "bad-json-value") const {
    check_bytes();
    if (wants_text(in_, rule)) report_unexpected(in_, token_of(word), rule, expected, "");
    return false;
  }

  bool refuse_without_key(const char* message) const {
    check_bytes();
    if (!wants_text(in_, "missing-key")) return false;
    const Place place = place_of(in_, json_.offset_of(record_.begin));
    report(in_, {"missing-key", Severity::kError, in_.name, place.line, place.column, message, ""});
    return false;
  }

  // Reads a key and the colon. `seen` gets its bit. Returns 0 after an error in a record.
  unsigned read_key(const KeyTable<5>& table, unsigned allowed, unsigned& seen, const char* expected) {
    const JsonWord word = json_.key();
    const std::string_view plain = word.text().substr(1, word.text().size() - 2);
    const unsigned bit = bit_of(table, word.is_plain ? plain : std::string_view(JsonText::value_of(word)));
    if ((bit & allowed) == 0) return refuse_key(word, expected, "unknown-key");
    if ((bit & seen) != 0) return refuse_key(word, "each key once", "repeated-key");
    seen |= bit;
    json_.expect(':');
    return bit;
  }

  unsigned refuse_key(const JsonWord& word, const char* expected, const char* rule) const {
    if (record_.begin == nullptr) bad_value(word, expected, rule);
    refuse_value(word, expected, rule);
    return 0;
  }

  void read_section() {
    section_ = static_cast<Section>(
        read_key(kSections, ~0U, sections_, "incidences, nodes, edges, network-type or metadata"));
    const JsonWord word = json_.value();
    if (section_ == kNetworkType) {
      document_.network_type = word.kind == JsonKind::kString ? JsonText::value_of(word) : "";
      const std::string& type = document_.network_type;
      if (type != "undirected" && type != "directed" && type != "asc") bad_value(word, kNetworkTypes);
    } else if (section_ == kMetadata) {
      if (!is(word, '{')) bad_value(word, "an object");
      document_.has_metadata = true;
      json_.skip_object();
    } else {
      if (!is(word, '[')) bad_value(word, "an array");
      read_list();
    }
  }

  void read_list() {
    if (json_.accept(']')) return;
    do {
      begin_record(json_.skip_blanks());
      read_or_skip_record();
    } while (json_.accept(','));
    json_.expect(']');
    flush();
    record_.begin = nullptr;
  }

  // A record with an error is skipped.
  void read_or_skip_record() {
    if (!json_.accept('{')) return refuse_record(json_.value());
    if (read_record() && store_record()) return;
    texts_.resize(record_.ntexts_before);
    json_.go_back_to(record_.begin + 1);
    json_.skip_object();
  }

  void refuse_record(const JsonWord& word) const {
    const char* const expected = section_ == kNodes   ? "an object for each of the nodes"
                                 : section_ == kEdges ? "an object for each of the edges"
                                                      : "an object for each of the incidences";
    if (is(word, '[')) bad_value(word, expected);
    refuse_value(word, expected);
  }

  // To assign a new record would be slower: it stores every byte.
  void begin_record(const char* begin) {
    record_.begin = begin;
    record_.ntexts_before = texts_.size();
    record_.keys = 0;
    record_.edge.is_there = false;
    record_.node.is_there = false;
    record_.weight.reset();
  }

  [[nodiscard]] std::pair<unsigned, const char*> keys_of_section() const {
    if (section_ == kNodes) return {kNode | kWeight | kAttributes, "node, weight or attrs"};
    if (section_ == kEdges) return {kEdge | kWeight | kAttributes, "edge, weight or attrs"};
    return {~0U, "edge, node, weight, direction or attrs"};
  }

  // Fast path: the keys as nearly all files write them. Returns 0 after an error.
  unsigned read_record_key(unsigned allowed, const char* expected) {
    const unsigned open = allowed & ~record_.keys;
    json_.skip_blanks();
    const auto accept = [&](Key key, std::string_view text) {
      if ((open & key) == 0 || !json_.accept_exactly(text)) return false;
      record_.keys |= key;
      return true;
    };
    if (accept(kEdge, "\"edge\":")) return kEdge;
    if (accept(kNode, "\"node\":")) return kNode;
    if (accept(kWeight, "\"weight\":")) return kWeight;
    if (accept(kDirection, "\"direction\":")) return kDirection;
    if (accept(kAttributes, "\"attrs\":")) return kAttributes;
    return read_key(kKeys, allowed, record_.keys, expected);
  }

  // Returns whether there was no error, as do the functions that it calls.
  bool read_record() {
    if (json_.accept('}')) return true;
    const auto [allowed, expected] = keys_of_section();
    do {
      if (!read_member(read_record_key(allowed, expected))) return false;
    } while (json_.accept(','));
    json_.expect('}');
    return true;
  }

  bool read_member(unsigned key) {
    switch (key) {
      case kEdge:
        return read_id(record_.edge, "a string or an integer for \"edge\"");
      case kNode:
        return read_id(record_.node, "a string or an integer for \"node\"");
      case kWeight:
        return read_weight();
      case kDirection:
        return read_direction();
      case kAttributes:
        return skip_attributes();
      default:
        return false;
    }
  }

  bool read_id(Id& id, const char* expected) {
    id.is_there = true;
    const char* const begin = json_.skip_blanks();
    const bool is_string = *begin == '"';
    if (!is_string && json_.short_integer(id.integer)) {
      id.text = {begin, json_.offset() - json_.offset_of(begin)};
    } else {
      const JsonWord word = is_string ? json_.string() : json_.value();
      if (word.kind == JsonKind::kString && word.is_plain) {
        id.text = word.text();
      } else {
        std::optional<std::string> text = canonical_id(word, expected);
        if (!text) return false;
        id.text = texts_.emplace_back(std::move(*text));
      }
      // Of the integers that are not short, only -0 is an index.
      id.integer = id.text == "0" ? 0 : std::numeric_limits<std::uint64_t>::max();
    }
    const ItemNames& names = &id == &record_.edge ? document_.edges.names : document_.nodes.names;
    id.is_indexed = names.is_indexed(id.integer);
    return true;
  }

  // None after an error.
  [[nodiscard]] std::optional<std::string> canonical_id(const JsonWord& word, const char* expected) const {
    if (word.kind == JsonKind::kString) return canonical(word);
    const bool is_integer = word.kind == JsonKind::kNumber && word.is_plain;
    std::optional<std::string> text;
    if (is_integer) text = canonical_integer(word.text());
    if (!text) refuse_value(word, is_integer ? "an integer of 64 bits, or a string" : expected);
    return text;
  }

  bool read_weight() {
    const JsonWord word = json_.value();
    if (word.kind == JsonKind::kString) return refuse_value(word, "a number without quotes");
    if (word.kind != JsonKind::kNumber) return refuse_value(word, "a number");
    record_.weight = JsonText::number_of(word);
    return true;
  }

  bool read_direction() {
    const JsonWord word = json_.value();
    const std::string direction = word.kind == JsonKind::kString ? JsonText::value_of(word) : "";
    if (direction != "head" && direction != "tail") return refuse_value(word, "head or tail");
    ++document_.ndirections;
    return true;
  }

  bool skip_attributes() {
    if (const JsonWord word = json_.value(); !is(word, '{')) return refuse_value(word, "an object");
    ++document_.nattributes;
    json_.skip_object();
    return true;
  }

  bool has_keys() const {
    const bool has_edge = record_.edge.is_there;
    const bool has_node = record_.node.is_there;
    if (section_ != kNodes && !has_edge)
      return refuse_without_key(section_ == kEdges
                                    ? "found an object without edge, expected it in each of the edges"
                                    : "found an incidence without edge, expected both edge and node");
    if (section_ != kEdges && !has_node)
      return refuse_without_key(section_ == kNodes
                                    ? "found an object without node, expected it in each of the nodes"
                                    : "found an incidence without node, expected both edge and node");
    return true;
  }

  // Returns whether there was no error.
  bool store_record() {
    const Id& edge = record_.edge;
    const Id& node = record_.node;
    if (!has_keys()) return false;
    if (section_ == kIncidences && record_.weight) ++document_.nincidence_weights;

    const bool has_room =
        (!edge.is_there || edges_.has_room_for(edge)) && (!node.is_there || nodes_.has_room_for(node));
    if (!has_room) flush();
    if (edge.is_there) edges_.add(edge);
    if (node.is_there) nodes_.add(node);
    begins_[size_] = json_.offset_of(record_.begin);
    weights_[size_++] = record_.weight;
    return true;
  }

  // Stores the records whose names were not looked up yet.
  void flush() {
    if (section_ == kIncidences)
      store_pins(edges_.look_up(), nodes_.look_up());
    else if (section_ == kNodes)
      list_items(document_.nodes, nodes_.look_up());
    else
      list_items(document_.edges, edges_.look_up());
    edges_.clear();
    nodes_.clear();
    size_ = 0;
    texts_.erase(texts_.begin(), texts_.begin() + static_cast<std::ptrdiff_t>(record_.ntexts_before));
    record_.ntexts_before = 0;
    in_.seen.store(json_.offset(), std::memory_order_relaxed);
  }

  void store_pins(const std::array<int, kAtOnce>& nets, const std::array<int, kAtOnce>& cells) {
    check_pins(lists_.nadj.size() + size_);
    std::vector<Run>& runs = document_.runs;
    for (std::size_t k = 0; k < size_; ++k) {
      if (runs.empty() || runs.back().net != nets[k])
        runs.push_back({nets[k], static_cast<int>(lists_.nadj.size())});
      lists_.nadj.push_back(cells[k]);
      if (in_.audit != nullptr) document_.offsets.push_back(begins_[k]);
    }
  }

  void list_items(Items& items, const std::array<int, kAtOnce>& numbers) {
    items.is_listed.resize(static_cast<std::size_t>(items.names.size()) + 1);
    for (std::size_t k = 0; k < size_; ++k) {
      const auto item = static_cast<std::size_t>(numbers[k]);
      if (items.is_listed[item]) {
        ++document_.nrepeated_records;
        note_record(k, "repeated-record", "has been listed before; the first record counts");
        continue;
      }
      items.is_listed[item] = true;
      items.listed.push_back(numbers[k]);
      if (weights_[k] && !set_weight(items, item, *weights_[k]))
        note_record(k, "weight-not-whole", "has a weight that is no integer of 32 bits; 1 is used");
    }
  }

  void note_record(std::size_t k, const char* rule, const char* what) const {
    note_oddity_at(in_, begins_[k], rule,
                   [&] { return std::string(section_ == kNodes ? "this node " : "this edge ") + what; });
  }

  // Returns whether the weight fits.
  bool set_weight(Items& items, std::size_t item, double w) {
    constexpr double kLeast = std::numeric_limits<int>::min();
    constexpr double kLargest = std::numeric_limits<int>::max();
    if (w < kLeast || w > kLargest || w != std::floor(w)) {
      ++document_.nunfit_weights;
      return false;
    }
    if (item >= items.weights.size()) items.weights.resize(items.is_listed.size(), 1);
    items.weights[item] = static_cast<int>(w);
    return true;
  }

  Scanner& in_;
  NetLists& lists_;
  Document& document_;
  JsonText json_;
  Section section_ = kMetadata;
  unsigned sections_ = 0;                   // seen so far
  mutable bool has_checked_bytes_ = false;  // there is none of value 0
  Record record_;

  // Records that are not stored yet.
  std::size_t size_ = 0;
  Batch nodes_;
  Batch edges_;
  std::array<std::optional<double>, kAtOnce> weights_{};
  std::array<std::size_t, kAtOnce> begins_{};  // offsets
  std::deque<std::string> texts_;              // of identifiers with escapes
};

// Numbers of the hypergraph by those in `items.names`, entry 0 not used: listed items first, then the others
// in the order of the incidences, which `for_each_named` visits.
template <typename ForEachNamed>
std::vector<int> final_numbers(const Items& items, ForEachNamed for_each_named) {
  std::vector<int> numbers(static_cast<std::size_t>(items.names.size()) + 1, 0);
  int next = 0;
  for (const int item : items.listed) numbers[static_cast<std::size_t>(item)] = ++next;
  if (next < items.names.size())
    for_each_named([&](int item) {
      int& number = numbers[static_cast<std::size_t>(item)];
      if (number == 0) number = ++next;
    });
  return numbers;
}

std::vector<std::string> names_by_number(const Items& items, const std::vector<int>& numbers) {
  std::vector<std::string> names(numbers.size());
  for (int item = 1; item <= items.names.size(); ++item)
    names[static_cast<std::size_t>(numbers[static_cast<std::size_t>(item)])] = items.names.text_of(item);
  return names;
}

std::vector<int> weights_by_number(const Items& items, const std::vector<int>& numbers) {
  if (items.weights.empty()) return {};
  std::vector<int> weights(numbers.size(), 1);
  weights[0] = 0;
  for (std::size_t item = 1; item < items.weights.size(); ++item)
    weights[static_cast<std::size_t>(numbers[item])] = items.weights[item];
  return weights;
}

// Whether every net has one run at most, by increasing number.
bool is_grouped(const std::vector<Run>& runs) {
  for (std::size_t r = 1; r < runs.size(); ++r)
    if (runs[r].net <= runs[r - 1].net) return false;
  return true;
}

// Fills `xnadj`, and puts the pins into the order of the nets; those of one net keep theirs.
void group_pins(NetLists& lists, const std::vector<Run>& runs) {
  const auto size_of = [&](std::size_t r) {
    return (r + 1 < runs.size() ? runs[r + 1].begin : static_cast<int>(lists.nadj.size())) - runs[r].begin;
  };
  lists.xnadj.assign(static_cast<std::size_t>(lists.nnets) + 2, 0);
  for (std::size_t r = 0; r < runs.size(); ++r)
    lists.xnadj[static_cast<std::size_t>(runs[r].net) + 1] += size_of(r);
  for (std::size_t j = 1; j < lists.xnadj.size(); ++j) lists.xnadj[j] += lists.xnadj[j - 1];
  if (is_grouped(runs)) return;

  std::vector<int> next(lists.xnadj.begin(), lists.xnadj.end());
  Ints grouped("NetLists: nadj");
  grouped.extend(lists.nadj.size());
  for (std::size_t r = 0; r < runs.size(); ++r) {
    int& at = next[static_cast<std::size_t>(runs[r].net)];
    const int size = size_of(r);
    std::copy_n(lists.nadj.begin() + runs[r].begin, size, grouped.begin() + at);
    at += size;
  }
  lists.nadj = std::move(grouped);
}

void note_losses(NetLists& lists, const Document& document) {
  note(lists.remarks, document.nrepeated_records, "record",
       " of nodes or edges listed twice; the first is used");
  note(lists.losses, document.nincidence_weights, "incidence weight");
  note(lists.losses, document.nunfit_weights, "weight",
       " of nodes or edges, not whole or out of range, set to 1");
  note(lists.losses, document.ndirections, "direction", " of incidences");
  note(lists.losses, document.nattributes, "set", " of attributes");
  if (document.has_metadata) lists.losses.emplace_back("the metadata");
  if (document.network_type != "undirected")
    lists.losses.push_back("the network type " + document.network_type);
}

void number_cells(NetLists& lists, Items nodes) {
  const std::vector<int> cells = final_numbers(nodes, [&lists](auto visit) {
    for (const int item : lists.nadj) visit(item);
  });
  lists.ncells = nodes.names.size();
  for (int& pin : lists.nadj) pin = cells[static_cast<std::size_t>(pin)];
  lists.cell_weights = weights_by_number(nodes, cells);
  lists.cell_names = names_by_number(nodes, cells);
}

void number_nets(NetLists& lists, Items edges, std::vector<Run> runs) {
  const std::vector<int> nets = final_numbers(edges, [&runs](auto visit) {
    for (const Run& run : runs) visit(run.net);
  });
  lists.nnets = edges.names.size();
  for (Run& run : runs) run.net = nets[static_cast<std::size_t>(run.net)];
  group_pins(lists, runs);
  lists.net_weights = weights_by_number(edges, nets);
  lists.net_names = names_by_number(edges, nets);
}

// Net of each pin, in the order of the file.
std::vector<int> nets_of_pins(const std::vector<Run>& runs, std::size_t npins) {
  std::vector<int> nets(npins);
  for (std::size_t r = 0; r < runs.size(); ++r) {
    const std::size_t end = r + 1 < runs.size() ? static_cast<std::size_t>(runs[r + 1].begin) : npins;
    std::fill(nets.begin() + runs[r].begin, nets.begin() + static_cast<std::ptrdiff_t>(end), runs[r].net);
  }
  return nets;
}

// Calls visit(item, offset) for each of the items that incidences name, at the first one.
template <typename Visit>
void for_each_first(std::vector<bool> is_known, std::span<const int> named,
                    const std::vector<std::size_t>& offsets, Visit visit) {
  for (std::size_t k = 0; k < named.size(); ++k) {
    const auto item = static_cast<std::size_t>(named[k]);
    if (is_known[item]) continue;
    is_known[item] = true;
    visit(named[k], offsets[k]);
  }
}

// Nodes, or edges, that only incidences name, though there is a list of them.
void note_unlisted(const Scanner& in, const Items& items, std::span<const int> named,
                   const std::vector<std::size_t>& offsets, const std::string& kind) {
  if (items.listed.empty() || std::ssize(items.listed) == items.names.size()) return;
  std::vector<bool> is_listed = items.is_listed;
  is_listed.resize(static_cast<std::size_t>(items.names.size()) + 1);
  const std::string rule = "unlisted-" + kind;
  for_each_first(std::move(is_listed), named, offsets, [&](int item, std::size_t offset) {
    note_oddity_at(in, offset, rule.c_str(), [&] {
      return kind + " " + items.names.text_of(item) + " is not in the list of " + kind + "s";
    });
  });
}

// Strings that spell an integer which is a name too.
void note_mixed(const Scanner& in, const Items& items, std::span<const int> named,
                const std::vector<std::size_t>& offsets, const std::string& kind) {
  std::vector<bool> is_other(static_cast<std::size_t>(items.names.size()) + 1);
  int nothers = 0;
  for (int item = 1; item <= items.names.size(); ++item) {
    if (items.names.spells_other(item)) continue;
    is_other[static_cast<std::size_t>(item)] = true;
    ++nothers;
  }
  if (nothers == items.names.size()) return;
  for_each_first(std::move(is_other), named, offsets, [&](int item, std::size_t offset) {
    note_oddity_at(in, offset, "mixed-ids", [&] {
      const std::string text = items.names.text_of(item);
      return kind + " " + text + " and " + kind + " " + text.substr(1, text.size() - 2) + " differ";
    });
  });
}

// For `lint`.
void audit_document(const Scanner& in, const NetLists& lists, const Document& document) {
  const std::vector<int> nets = nets_of_pins(document.runs, lists.nadj.size());
  const std::span<const int> cells(lists.nadj.data(), lists.nadj.size());
  note_unlisted(in, document.nodes, cells, document.offsets, "node");
  note_unlisted(in, document.edges, nets, document.offsets, "edge");
  note_mixed(in, document.nodes, cells, document.offsets, "node");
  note_mixed(in, document.edges, nets, document.offsets, "edge");
  // The items after the listed ones have their order in the file.
  const std::vector<int> final_nets = final_numbers(document.edges, [&nets](auto visit) {
    for (const int net : nets) visit(net);
  });
  const std::vector<int> final_cells = final_numbers(document.nodes, [&cells](auto visit) {
    for (const int cell : cells) visit(cell);
  });
  std::vector<int> numbers;
  numbers.reserve(2 * nets.size());
  for (std::size_t k = 0; k < nets.size(); ++k)
    numbers.insert(numbers.end(), {final_nets[static_cast<std::size_t>(nets[k])],
                                   final_cells[static_cast<std::size_t>(cells[k])]});
  in.audit->pins(
      {numbers, document.edges.names.size(), document.nodes.names.size(), false, document.offsets});
}

}  // namespace

void read_hif(Scanner& in, NetLists& lists, const ReadOptions& /*options*/) {
  Document document;
  Reader reader(in, lists, document);
  try {
    reader.read();
  } catch (const BadJson& error) {
    reader.check_bytes();
    bad_text(in, error.place(), "bad-json", error.what());
  }
  note_losses(lists, document);
  if (in.audit != nullptr && in.audit->pins) audit_document(in, lists, document);
  number_cells(lists, std::move(document.nodes));  // before its pins get the order of the nets
  number_nets(lists, std::move(document.edges), std::move(document.runs));
}

namespace {

void write_name(TextWriter& out, const std::vector<std::string>& names, int number) {
  if (names.empty())
    out.number(number);
  else
    out.text(names[static_cast<std::size_t>(number)]);
}

// "weight" is written only if it is not 1, the default of readers.
void write_item(TextWriter& out, std::string_view key, const std::vector<std::string>& names, int number,
                int w) {
  out.text(number > 1 ? ",\n{" : "\n{");
  out.text(key);
  write_name(out, names, number);
  if (w != 1) {
    out.text(",\"weight\":");
    out.number(w);
  }
  out.character('}');
}

constexpr std::size_t kMostStart = 48;

// All of an incidence up to the name of its node.
std::string start_of_incidence(const std::vector<std::string>& net_names, int j) {
  return ",\n{\"edge\":" + (net_names.empty() ? std::to_string(j) : net_names[static_cast<std::size_t>(j)]) +
         ",\"node\":";
}

// Cells without names, after a start that is at most `kMostStart` bytes long.
void write_numbered_cells(TextWriter& out, const std::string& start, std::span<const int> cells) {
  char bytes[kMostStart] = {};  // copied whole: a length known to the compiler makes no call
  start.copy(bytes, kMostStart);
  for (const int i : cells) {
    char* at = out.room(kMostStart + TextWriter::kNumber);
    std::memcpy(at, bytes, kMostStart);
    at = print(at + start.size(), i);
    *at++ = '}';
    out.end(at);
  }
}

void write_incidences(TextWriter& out, const Hypergraph& h, const Labels& labels) {
  bool is_first = true;
  for (int j = 1; j <= h._n; ++j) {
    const std::string start = start_of_incidence(labels.nets, j);
    std::span<const int> cells = pins_of(h._nlst[j]);
    if (cells.empty()) continue;
    if (std::exchange(is_first, false)) {
      out.text(std::string_view(start).substr(1));  // no comma
      write_name(out, labels.cells, cells.front());
      out.character('}');
      cells = cells.subspan(1);
    }
    if (labels.cells.empty() && start.size() <= kMostStart) {
      write_numbered_cells(out, start, cells);
      continue;
    }
    for (const int i : cells) {
      out.text(start);
      write_name(out, labels.cells, i);
      out.character('}');
    }
  }
}

}  // namespace

void write_hif(const Hypergraph& h, const WriteOptions& options, const char* filename) {
  static const Labels kNone{};
  const Labels& labels = options.labels == nullptr ? kNone : *options.labels;
  check_name_bytes(h, labels.cells, labels.nets);
  TextWriter out(filename, "quillon convert: HIF");
  out.text("{\"network-type\":\"undirected\",\n\"nodes\":[");
  for (int i = 1; i <= h._c; ++i) write_item(out, "\"node\":", labels.cells, i, h._clst[i].w);
  out.text("],\n\"edges\":[");
  for (int j = 1; j <= h._n; ++j) write_item(out, "\"edge\":", labels.nets, j, h._nlst[j].w);
  out.text("],\n\"incidences\":[");
  write_incidences(out, h, labels);
  out.text("]}\n");
  out.close();
}

}  // namespace quillon::formats
