// Mistakes planted in sound files of every format: lint finds each at its place and no other error, and what
// mend writes has no errors.

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "formats/lint.h"
#include "formats/mend.h"
#include "tests/formats/lint_text.h"
#include "tests/formats/temp_folder.h"

namespace quillon::formats {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using Words = std::vector<std::string>;

class Random {
 public:
  explicit Random(unsigned seed) : bits_(seed) {}

  // From 0 to bound - 1.
  std::size_t below(std::size_t bound) { return bits_() % bound; }
  int from_to(int least, int most) {
    return least + static_cast<int>(below(static_cast<std::size_t>(most - least) + 1));
  }
  template <typename Entry>
  void shuffle(std::vector<Entry>& entries) {
    for (std::size_t k = entries.size(); k > 1; --k) std::swap(entries[k - 1], entries[below(k)]);
  }

 private:
  std::mt19937 bits_;
};

// A file by words. Lines and words count from 0.
struct File {
  std::string format;
  std::vector<Words> lines;
  std::size_t nets = 1;  // first line of a net, vertex, entry or clause
  std::size_t nnets = 0;
  std::size_t head = 0;     // words before the pins of a line
  std::size_t tail = 0;     // words after them
  std::size_t weights = 0;  // first line of cell weights; 0: none
  int ncells = 0;
  int first = 1;  // number of the first cell
  int model = 0;  // which kind of file
  ReadOptions read = {};

  [[nodiscard]] std::string text() const {
    std::string text;
    for (const Words& line : lines) {
      for (std::size_t k = 0; k < line.size(); ++k) text.append(k > 0 ? " " : "").append(line[k]);
      text += "\n";
    }
    return text;
  }

  // Of a word, or of the end of the line.
  [[nodiscard]] std::string place(std::size_t line, std::size_t word) const {
    std::size_t column = word > 0 && word == lines[line].size() ? 0 : 1;
    for (std::size_t k = 0; k < word; ++k) column += lines[line][k].size() + 1;
    return std::to_string(line + 1) + ":" + std::to_string(column);
  }

  [[nodiscard]] std::string end() const { return std::to_string(lines.size() + 1) + ":1"; }

  Words& net(std::size_t j) { return lines[nets + j]; }
  [[nodiscard]] std::size_t size(std::size_t j) const { return lines[nets + j].size() - head - tail; }
  std::string& pin(std::size_t j, std::size_t k) { return net(j)[head + k]; }
  [[nodiscard]] std::string place_of_pin(std::size_t j, std::size_t k) const {
    return place(nets + j, head + k);
  }

  // Gives a net other pins, and adjusts what counts them.
  void set_pins(std::size_t j, const Words& pins) {
    Words& line = net(j);
    const Words after(line.end() - static_cast<std::ptrdiff_t>(tail), line.end());
    line.resize(head);
    line.insert(line.end(), pins.begin(), pins.end());
    line.insert(line.end(), after.begin(), after.end());
    if (format == "kub") line[1] = std::to_string(pins.size());
    if (format != "quillon") return;
    std::size_t npins = 0;
    for (std::size_t n = 0; n < nnets; ++n) npins += size(n);
    lines[0][3] = std::to_string(npins);
  }
};

File file_of(const std::string& format, int model = 0) {
  File file;
  file.format = format;
  file.model = model;
  return file;
}

std::string number(std::size_t value) { return std::to_string(value); }

// Cells of nets: the first net has all, and no two nets the same.
std::vector<std::vector<int>> random_nets(Random& random, int ncells, std::size_t nnets) {
  std::vector<int> cells(static_cast<std::size_t>(ncells));
  std::iota(cells.begin(), cells.end(), 0);
  std::vector<std::vector<int>> nets{cells};
  std::set<std::vector<int>> seen{cells};
  while (nets.size() < nnets) {
    random.shuffle(cells);
    std::vector<int> net(cells.begin(), cells.begin() + random.from_to(2, 4));
    std::vector<int> sorted = net;
    std::sort(sorted.begin(), sorted.end());
    if (seen.insert(sorted).second) nets.push_back(net);
  }
  return nets;
}

void add_nets(File& file, const std::vector<std::vector<int>>& nets, const std::function<Words(int)>& head,
              const std::function<std::string(int)>& name, const Words& tail = {}) {
  file.nets = file.lines.size();
  file.nnets = nets.size();
  for (const std::vector<int>& net : nets) {
    Words line = head(static_cast<int>(net.size()));
    file.head = line.size();
    for (const int cell : net) line.push_back(name(cell));
    line.insert(line.end(), tail.begin(), tail.end());
    file.lines.push_back(line);
  }
  file.tail = tail.size();
}

// hmetis, quillon and kub. The model is the weights: 1 cells, 2 nets, 3 both.
File net_file(const std::string& format, int model, Random& random) {
  File file = file_of(format, model);
  file.ncells = random.from_to(6, 20);
  const std::size_t nnets = static_cast<std::size_t>(file.ncells) + 1 + random.below(20);
  const std::vector<std::vector<int>> nets = random_nets(random, file.ncells, nnets);
  std::size_t npins = 0;
  for (const std::vector<int>& net : nets) npins += net.size();
  const std::string ncells = std::to_string(file.ncells);
  file.first = format == "kub" ? 0 : format == "quillon" ? random.from_to(0, 1) : 1;
  constexpr const char* kOfHmetis[] = {"0", "10", "1", "11"};
  if (format == "hmetis") file.lines = {{number(nnets), ncells, kOfHmetis[model]}};
  if (format == "quillon")
    file.lines = {{std::to_string(file.first), ncells, number(nnets), number(npins), std::to_string(model)}};
  if (format == "kub") file.lines = {{ncells}, {number(nnets)}};
  const auto head = [&](int size) {
    Words words;
    if ((model & 2) != 0) words.push_back(std::to_string(random.from_to(1, 9)));
    if (format == "kub") words.push_back(std::to_string(size));
    return words;
  };
  add_nets(file, nets, head, [&](int cell) { return std::to_string(cell + file.first); });
  if ((model & 1) == 0) return file;
  file.weights = file.lines.size();
  for (int i = 0; i < file.ncells; ++i) file.lines.push_back({std::to_string(random.from_to(1, 9))});
  return file;
}

// The model tells whether lines are nets or pairs.
File edge_list(int model, Random& random) {
  File file = file_of("edges", model);
  file.ncells = random.from_to(6, 20);
  const std::vector<std::vector<int>> nets = random_nets(random, file.ncells, 20);
  const auto name = [](int cell) { return "c" + std::to_string(cell); };
  if (model == 0) {
    add_nets(
        file, nets, [](int) { return Words{}; }, name);
    return file;
  }
  file.read.pairs = Pairs::kNetCell;
  file.nets = 0;
  for (std::size_t j = 0; j < nets.size(); ++j)
    for (const int cell : nets[j]) file.lines.push_back({"n" + number(j), name(cell)});
  file.nnets = file.lines.size();
  return file;
}

File formula(Random& random) {
  File file = file_of("cnf");
  file.ncells = random.from_to(6, 20);
  file.lines = {{"c", "a", "comment"}, {"p", "cnf", std::to_string(file.ncells), "25"}};
  add_nets(
      file, random_nets(random, file.ncells, 25), [](int) { return Words{}; },
      [&](int cell) { return std::to_string(random.below(2) == 0 ? cell + 1 : -cell - 1); }, {"0"});
  return file;
}

// The model is the weights.
File graph(int model, Random& random) {
  File file = file_of("metis", model);
  file.ncells = random.from_to(8, 20);
  std::map<std::pair<int, int>, int> edges;
  for (int u = 1; u < file.ncells; ++u) edges[{u, u + 1}] = random.from_to(1, 9);
  for (int k = 0; k < 2 * file.ncells; ++k) {
    const int u = random.from_to(1, file.ncells);
    const int v = random.from_to(1, file.ncells);
    if (u < v) edges.emplace(std::pair(u, v), random.from_to(1, 9));
  }
  constexpr const char* kFormats[] = {"0", "10", "1", "11"};
  file.lines = {{std::to_string(file.ncells), number(edges.size()), kFormats[model]}};
  file.nnets = static_cast<std::size_t>(file.ncells);
  file.head = (model & 1) != 0 ? 1 : 0;
  for (int u = 1; u <= file.ncells; ++u) {
    Words line(file.head, "5");
    for (const auto& [ends, weight] : edges) {
      if (ends.first != u && ends.second != u) continue;
      line.push_back(std::to_string(ends.first == u ? ends.second : ends.first));
      if ((model & 2) != 0) line.push_back(std::to_string(weight));
    }
    file.lines.push_back(line);
  }
  return file;
}

constexpr const char* kSymmetries[] = {"general", "symmetric", "skew-symmetric"};

// The model is a symmetry, and values if 3 is added.
File matrix(int model, Random& random) {
  File file = file_of("mtx", model);
  file.ncells = random.from_to(6, 12);
  const bool is_triangle = model % 3 != 0;
  std::vector<std::pair<int, int>> entries;
  for (int row = 1; row <= file.ncells; ++row)
    for (int column = 1; column <= file.ncells; ++column) {
      const bool is_wanted = !is_triangle || column < row || (column == row && model % 3 == 1);
      if (is_wanted && (row == file.ncells || column == 1 || random.below(2) == 0))
        entries.emplace_back(row, column);
    }
  random.shuffle(entries);
  file.nnets = entries.size();
  const std::string order = std::to_string(file.ncells);
  file.lines = {
      {"%%MatrixMarket", "matrix", "coordinate", model < 3 ? "pattern" : "real", kSymmetries[model % 3]},
      {order, order, number(entries.size())}};
  file.nets = 2;
  file.tail = model < 3 ? 0 : 1;
  for (const auto& [row, column] : entries) {
    Words line{std::to_string(row), std::to_string(column)};
    if (file.tail > 0) line.push_back("1.5e3");
    file.lines.push_back(line);
  }
  return file;
}

// Records are lines: `{ "node": 1 , "weight": 5 } ,`. The nets are the incidences.
File document(Random& random) {
  File file = file_of("hif");
  file.ncells = random.from_to(6, 12);
  const std::vector<std::vector<int>> nets = random_nets(random, file.ncells, 10);
  file.lines = {{"{", "\"nodes\":", "["}};
  for (int i = 1; i <= file.ncells; ++i)
    file.lines.push_back({"{", "\"node\":", std::to_string(i), ",", "\"weight\":", "5", "}", ","});
  file.lines.back().pop_back();
  file.lines.push_back({"]", ",", "\"edges\":", "["});
  for (std::size_t j = 1; j <= nets.size(); ++j)
    file.lines.push_back({"{", "\"edge\":", number(j), "}", ","});
  file.lines.back().pop_back();
  file.lines.push_back({"]", ",", "\"incidences\":", "["});
  file.nets = file.lines.size();
  for (std::size_t j = 0; j < nets.size(); ++j)
    for (const int cell : nets[j])
      file.lines.push_back(
          {"{", "\"edge\":", number(j + 1), ",", "\"node\":", std::to_string(cell + 1), "}", ","});
  file.nnets = file.lines.size() - file.nets;
  file.lines.back().pop_back();
  file.lines.push_back({"]", "}"});
  return file;
}

std::vector<File> sound_files(Random& random) {
  std::vector<File> files;
  for (int model = 0; model <= 3; ++model)
    for (const char* const format : {"hmetis", "quillon"}) files.push_back(net_file(format, model, random));
  files.push_back(net_file("kub", 3, random));
  for (int model = 0; model <= 1; ++model) files.push_back(edge_list(model, random));
  files.push_back(formula(random));
  for (int model = 0; model <= 3; ++model) files.push_back(graph(model, random));
  for (int model = 0; model <= 5; ++model) files.push_back(matrix(model, random));
  files.push_back(document(random));
  return files;
}

// Plants a mistake. Returns its place as "LINE:COLUMN", "0:0" for the whole file; empty if the file cannot
// have it.
using Plant = std::string (*)(File&, Random&);

struct Mistake {
  const char* rule;
  std::vector<std::string> formats;
  Plant plant;
};

std::size_t any_net(const File& file, Random& random) { return 1 + random.below(file.nnets - 1); }

std::string replace_pin(File& file, Random& random, const std::string& by) {
  const std::size_t j = random.below(file.nnets);
  const std::size_t step = file.format == "metis" && (file.model & 2) != 0 ? 2 : 1;
  const std::size_t k = step * random.below(file.size(j) / step);
  file.pin(j, k) = by;
  return file.place_of_pin(j, k);
}

std::string out_of_range(File& file, Random& random) {
  return replace_pin(file, random, std::to_string(file.ncells + 5 + file.first));
}
std::string too_large(File& file, Random& random) { return replace_pin(file, random, "4294967296"); }
std::string no_number(File& file, Random& random) { return replace_pin(file, random, "x1"); }
std::string nul_byte(File& file, Random& random) { return replace_pin(file, random, std::string(1, '\0')); }

std::string text_after_pins(File& file, Random& random) {
  const std::size_t j = random.below(file.nnets);
  file.net(j).push_back("x1");
  return file.place(file.nets + j, file.net(j).size() - 1);
}

std::string duplicate(File& file, Random& random) {
  const std::size_t j = random.below(file.nnets);
  const std::size_t k = 1 + random.below(file.size(j) - 1);
  file.pin(j, k) = file.pin(j, random.below(k));
  return file.place_of_pin(j, k);
}

std::string opposed(File& file, Random& random) {
  const std::size_t j = random.below(file.nnets);
  const std::size_t k = 1 + random.below(file.size(j) - 1);
  const std::string& other = file.pin(j, random.below(k));
  file.pin(j, k) = other.front() == '-' ? other.substr(1) : "-" + other;
  return file.place_of_pin(j, k);
}

std::string one_pin(File& file, Random& random) {
  const std::size_t j = any_net(file, random);
  file.set_pins(j, {file.pin(j, 0)});
  return file.place(file.nets + j, 0);
}

std::string no_pins(File& file, Random& random) {
  const std::size_t j = any_net(file, random);
  file.set_pins(j, {});
  return file.place(file.nets + j, 0);
}

std::string parallel(File& file, Random& random) {
  const std::size_t j = 2 + random.below(file.nnets - 2);
  const std::size_t other = 1 + random.below(j - 1);
  Words pins;
  for (std::size_t k = 0; k < file.size(other); ++k) pins.push_back(file.pin(other, k));
  random.shuffle(pins);
  file.set_pins(j, pins);
  return file.place(file.nets + j, 0);
}

std::string set_net_weight(File& file, Random& random, const char* weight) {
  if ((file.model & 2) == 0) return "";
  const std::size_t j = random.below(file.nnets);
  file.net(j)[0] = weight;
  return file.place(file.nets + j, 0);
}

std::string set_cell_weight(File& file, Random& random, const char* weight) {
  if (file.weights == 0) return "";
  const std::size_t line = file.weights + random.below(static_cast<std::size_t>(file.ncells));
  file.lines[line][0] = weight;
  return file.place(line, 0);
}

std::string zero_net(File& file, Random& random) { return set_net_weight(file, random, "0"); }
std::string negative_net(File& file, Random& random) { return set_net_weight(file, random, "-7"); }
std::string zero_cell(File& file, Random& random) { return set_cell_weight(file, random, "0"); }
std::string negative_cell(File& file, Random& random) { return set_cell_weight(file, random, "-7"); }
std::string word_cell(File& file, Random& random) { return set_cell_weight(file, random, "w"); }

std::string large_weights(File& file, Random& random) {
  if (file.weights == 0) return "";
  set_cell_weight(file, random, "2147483647");
  return "0:0";
}

// A word of the header.
std::string set_header(File& file, std::size_t line, std::size_t word, const std::string& text) {
  file.lines[line][word] = text;
  return file.place(line, word);
}

std::size_t header_line(const File& file) { return file.format == "mtx" || file.format == "cnf" ? 1 : 0; }

std::string no_header(File& file, Random&) {
  file.lines.clear();
  return "1:1";
}

std::string short_header(File& file, Random&) {
  const std::size_t line = file.format == "kub" ? 1 : header_line(file);
  Words& words = file.lines[line];
  if (file.format == "kub")
    words.clear();
  else
    words.resize(file.format == "cnf" ? 3 : 1);
  return file.place(line, words.size());
}

std::string negative_count(File& file, Random&) {
  const std::size_t word = file.format == "cnf" ? 3 : file.format == "kub" ? 0 : 1;
  return set_header(file, header_line(file), word, "-5");
}

std::string unknown_weights(File& file, Random&) {
  return set_header(file, 0, file.lines[0].size() - 1, file.format == "metis" ? "100" : "7");
}

std::string unknown_base(File& file, Random&) { return set_header(file, 0, 0, "2"); }

std::string other_pin_count(File& file, Random&) {
  return set_header(file, 0, 3, std::to_string(std::stoi(file.lines[0][3]) + 1));
}

std::string other_edge_count(File& file, Random&) {
  return set_header(file, 0, 1, std::to_string(std::stoi(file.lines[0][1]) + 1));
}

std::string more_columns(File& file, Random&) {
  if (file.model % 3 == 0) return "";
  return set_header(file, 1, 1, std::to_string(file.ncells + 1));
}

std::string one_percent_sign(File& file, Random&) { return set_header(file, 0, 0, "%MatrixMarket"); }
std::string misspelt_symmetry(File& file, Random&) { return set_header(file, 0, 4, "symetric"); }
std::string other_formula(File& file, Random&) { return set_header(file, 1, 1, "dnf"); }

std::string swapped_counts(File& file, Random&) {
  if (file.format == "metis" && file.lines[0][0] == file.lines[0][1]) return "";
  const std::size_t word = file.format == "quillon" ? 1 : 0;
  std::swap(file.lines[0][word], file.lines[0][word + 1]);
  return file.place(0, 0);
}

std::string line_too_many(File& file, Random&) {
  file.lines.push_back(file.weights > 0 ? Words{"3"} : file.lines.back());
  return file.place(file.lines.size() - 1, 0);
}

std::string line_too_few(File& file, Random&) {
  file.lines.pop_back();
  return file.end();
}

std::string cell_too_many(File& file, Random&) {
  if (file.weights > 0) return "";
  const std::size_t word = file.format == "hmetis" || file.format == "quillon" ? 1 : 2;
  const std::size_t line = header_line(file);
  file.lines[line][word] = std::to_string(file.ncells + 1);
  return "0:0";
}

// All cells count from the other number.
std::string shifted(File& file, int by) {
  std::string place;
  const bool has_values = file.format == "metis" && (file.model & 2) != 0;
  const std::string outside = std::to_string(by < 0 ? file.first - 1 : file.ncells + file.first);
  for (std::size_t j = 0; j < file.nnets; ++j)
    for (std::size_t k = 0; k < file.size(j); k += has_values ? 2 : 1) {
      file.pin(j, k) = std::to_string(std::stoi(file.pin(j, k)) + by);
      if (place.empty() && file.pin(j, k) == outside) place = file.place_of_pin(j, k);
    }
  return place;
}

std::string from_0(File& file, Random&) { return file.first == 1 ? shifted(file, -1) : ""; }
std::string from_1(File& file, Random&) { return file.first == 0 ? shifted(file, 1) : ""; }

std::string weight_missing(File& file, Random&) {
  if (file.weights == 0) return "";
  file.lines.pop_back();
  return file.end();
}

std::string pin_missing(File& file, Random& random) {
  const std::size_t j = random.below(file.nnets);
  file.net(j).pop_back();
  return file.place(file.nets + j, file.net(j).size());
}

std::string pin_too_many(File& file, Random& random) {
  const std::size_t j = any_net(file, random);
  file.net(j).push_back(file.format == "edges" ? "c7" : "1");
  return file.place(file.nets + j, file.net(j).size() - 1);
}

std::string comment(File& file, Random& random) {
  const std::size_t line = random.below(file.lines.size() + 1);
  file.lines.insert(file.lines.begin() + static_cast<std::ptrdiff_t>(line), {"% by hand"});
  return file.place(line, 0);
}

// Of the first line of the counts.
std::string blank_after_header(File& file, Random&) {
  const std::size_t line = header_line(file);
  std::size_t length = 0;
  for (const std::string& word : file.lines[line]) length += word.size() + 1;
  file.lines[line].push_back("");
  return std::to_string(line + 1) + ":" + std::to_string(length);
}

std::string nul_after_pins(File& file, Random& random) {
  const std::size_t j = random.below(file.nnets);
  file.net(j).push_back(std::string(1, '\0'));
  return file.place(file.nets + j, file.net(j).size() - 1);
}

std::string cell_weights_of_2(File& file, Random&) {
  if (file.model != 0) return "";
  for (int i = 0; i < file.ncells; ++i) file.lines.push_back({"2"});
  return set_header(file, 0, 4, "1");
}

std::string comment_for_weight(File& file, Random& random) {
  if (weight_missing(file, random).empty()) return "";
  file.lines.push_back({"%"});
  return "0:0";
}

// Of vertices in a ring.
std::string neighbours(File& file, Random&) {
  if (file.model != 0) return "";
  const int n = file.ncells;
  file.lines = {{std::to_string(n), std::to_string(n)}};
  for (int u = 0; u < n; ++u)
    file.lines.push_back({std::to_string((u + 1) % n + 1), std::to_string((u + n - 1) % n + 1)});
  return "0:0";
}

// ---- Lists of names, formulas ----

std::string fraction_as_name(File& file, Random& random) { return replace_pin(file, random, "0.5"); }

std::string numbers_after_pairs(File& file, Random& random) {
  for (Words& line : file.lines) line = {line[0], line[1], std::to_string(random.from_to(1, 9))};
  return "0:0";
}

std::string pair_again(File& file, Random& random) {
  const std::size_t k = any_net(file, random);
  file.net(k) = file.net(random.below(k));
  return file.place(file.nets + k, 0);
}

std::string no_zero(File& file, Random&) {
  file.lines.back().pop_back();
  return file.end();
}

// ---- Graphs ----

std::string no_edges(File& file, Random&) {
  for (Words& line : file.lines) line.resize(file.head);
  file.lines[0] = {std::to_string(file.ncells), "0", file.head > 0 ? "10" : "0"};
  return file.place(0, 1);
}

std::string append_mention(File& file, std::size_t vertex, const std::string& name) {
  Words& line = file.net(vertex);
  line.push_back(name);
  if ((file.model & 2) != 0) line.push_back("1");
  return file.place(file.nets + vertex, line.size() - ((file.model & 2) != 0 ? 2 : 1));
}

std::string loop(File& file, Random& random) {
  const std::size_t u = random.below(file.nnets);
  return append_mention(file, u, number(u + 1));
}

std::string half_an_edge(File& file, Random& random) {
  const std::size_t u = random.below(file.nnets);
  const std::size_t step = (file.model & 2) != 0 ? 2 : 1;
  for (std::size_t v = 1; v <= file.nnets; ++v) {
    bool is_named = v == u + 1;
    for (std::size_t k = 0; k < file.size(u); k += step) is_named = is_named || file.pin(u, k) == number(v);
    if (!is_named) return append_mention(file, u, number(v));
  }
  return "";
}

std::string edge_again(File& file, Random& random) {
  const std::size_t u = random.below(file.nnets);
  const std::string name = file.pin(u, 0);
  const std::string weight = file.net(u).back();
  const std::string place = append_mention(file, u, name);
  if ((file.model & 2) != 0) file.net(u).back() = file.pin(u, 1);
  return place;
}

std::string negative_edge(File& file, Random& random) {
  if ((file.model & 2) == 0) return "";
  const std::size_t u = random.below(file.nnets);
  file.pin(u, 1) = "-4";
  return file.place_of_pin(u, 1);
}

// The line of the larger end is where the weights are found to differ.
std::string unequal_weights(File& file, Random& random) {
  if ((file.model & 2) == 0) return "";
  const std::size_t u = 1 + random.below(file.nnets - 1);
  file.pin(u, 1) += "0";  // the first neighbour of all vertices but the first has a smaller number
  return file.place_of_pin(u, 0);
}

// ---- Matrices ----

std::string bad_value(File& file, Random& random) {
  if (file.tail == 0) return "";
  const std::size_t k = random.below(file.nnets);
  file.net(k).back() = "high";
  return file.place(file.nets + k, 2);
}

std::string no_value(File& file, Random& random) { return file.tail == 0 ? "" : pin_missing(file, random); }

std::string entry_again(File& file, Random& random) {
  const std::size_t k = any_net(file, random);
  file.net(k) = file.net(random.below(k));
  return file.place(file.nets + k, 0);
}

std::string above_diagonal(File& file, Random& random) {
  const std::size_t k = random.below(file.nnets);
  if (file.model % 3 == 0 || file.pin(k, 0) == file.pin(k, 1)) return "";
  std::swap(file.pin(k, 0), file.pin(k, 1));
  return file.place(file.nets + k, 0);
}

std::string on_diagonal(File& file, Random& random) {
  if (file.model % 3 != 2) return "";
  const std::size_t k = random.below(file.nnets);
  file.pin(k, 1) = file.pin(k, 0);
  return file.place(file.nets + k, 0);
}

// ---- Documents ----

// Words of a record: { "edge": 1 , "node": 2 }
constexpr std::size_t kNodeKey = 4;
constexpr std::size_t kNode = 5;

std::string set_word(File& file, std::size_t record, std::size_t word, const std::string& text) {
  file.net(record)[word] = text;
  return file.place(file.nets + record, word);
}

std::string no_json(File& file, Random& random) {
  return set_word(file, random.below(file.nnets), kNode, "@");
}
std::string fraction(File& file, Random& random) {
  return set_word(file, random.below(file.nnets), kNode, "1.5");
}
std::string unknown_key(File& file, Random& random) {
  return set_word(file, random.below(file.nnets), kNodeKey, "\"vertex\":");
}
std::string key_again(File& file, Random& random) {
  return set_word(file, random.below(file.nnets), kNodeKey, "\"edge\":");
}
std::string key_missing(File& file, Random& random) {
  const std::size_t k = random.below(file.nnets);
  file.net(k).erase(file.net(k).begin() + 3, file.net(k).begin() + 6);
  return file.place(file.nets + k, 0);
}
std::string node_again(File& file, Random& random) {
  const auto i = 2 + random.below(static_cast<std::size_t>(file.ncells) - 1);
  file.lines[i][2] = file.lines[1 + random.below(i - 1)][2];
  return file.place(i, 0);
}
std::string half_weight(File& file, Random& random) {
  const auto i = 1 + random.below(static_cast<std::size_t>(file.ncells));
  file.lines[i][5] = "0.5";
  return file.place(i, 0);
}
std::string text_as_id(File& file, Random& random) {
  const std::size_t k = random.below(file.nnets);
  set_word(file, k, kNode, "\"" + file.net(k)[kNode] + "\"");
  return file.place(file.nets + k, 0);
}
std::string unlisted(File& file, Random& random) {
  const std::size_t k = random.below(file.nnets);
  set_word(file, k, kNode, "99");
  return file.place(file.nets + k, 0);
}
std::string unlisted_edge(File& file, Random& random) {
  const std::size_t k = random.below(file.nnets);
  set_word(file, k, 2, "99");
  return file.place(file.nets + k, 0);
}
std::string incidence_again(File& file, Random& random) {
  const std::size_t k = any_net(file, random);
  const std::size_t other = random.below(k);
  for (const std::size_t word : {std::size_t{2}, kNode}) file.net(k)[word] = file.net(other)[word];
  return file.place(file.nets + k, 0);
}
std::string no_incidences(File& file, Random&) {
  const std::size_t line = file.nets - 1;
  file.lines.resize(line);
  file.lines.push_back({"]", "}"});
  return file.end();
}
std::string metadata(File& file, Random&) {
  file.lines.back() = {"]", ",", "\"metadata\":", "{", "}", "}"};
  return "0:0";
}

// Longer than other functions: a row for each mistake.
std::vector<Mistake> all_mistakes() {
  const std::vector<std::string> lists{"hmetis", "quillon", "kub"};
  const std::vector<std::string> numbers{"hmetis", "quillon", "kub", "cnf", "metis", "mtx"};
  const std::vector<std::string> words{"hmetis", "kub", "cnf", "metis", "mtx"};
  const std::vector<std::string> nets{"hmetis", "quillon", "kub", "cnf", "edges"};
  return {
      {"cell-out-of-range", numbers, out_of_range},
      {"number-too-large", numbers, too_large},
      {"not-a-number", words, no_number},
      {"not-a-number", words, nul_byte},
      {"not-a-number", {"hmetis", "kub"}, word_cell},
      {"ignored-text", {"quillon"}, text_after_pins},
      {"duplicate-pin", nets, duplicate},
      {"opposed-literals", {"cnf"}, opposed},
      {"one-pin-net", nets, one_pin},
      {"empty-net", {"hmetis", "quillon", "kub", "cnf"}, no_pins},
      {"parallel-net", nets, parallel},
      {"zero-net-weight", lists, zero_net},
      {"zero-cell-weight", lists, zero_cell},
      {"bad-weight", {"hmetis", "kub"}, negative_net},
      {"bad-weight", {"hmetis", "kub"}, negative_cell},
      {"bad-weight", {"metis"}, negative_edge},
      {"negative-weight", {"quillon"}, negative_net},
      {"negative-weight", {"quillon"}, negative_cell},
      {"total-too-large", lists, large_weights},
      {"header-missing", words, no_header},
      {"header-missing", {"quillon"}, no_header},
      {"header-short", numbers, short_header},
      {"bad-count", numbers, negative_count},
      {"bad-format-code", {"hmetis", "quillon", "metis"}, unknown_weights},
      {"bad-numbering", {"quillon"}, unknown_base},
      {"pin-count", {"quillon"}, other_pin_count},
      {"edge-count", {"metis"}, other_edge_count},
      {"not-square", {"mtx"}, more_columns},
      {"bad-banner", {"mtx"}, one_percent_sign},
      {"bad-banner", {"mtx"}, misspelt_symmetry},
      {"bad-banner", {"cnf"}, other_formula},
      {"swapped-header", {"hmetis", "metis"}, swapped_counts},
      {"trailing-text", {"hmetis", "kub", "metis", "mtx", "cnf"}, line_too_many},
      {"ignored-lines", {"quillon"}, line_too_many},
      {"missing-line", {"hmetis", "metis", "mtx", "cnf"}, line_too_few},
      {"isolated-cell", {"hmetis", "quillon", "cnf"}, cell_too_many},
      {"counts-from-0", {"hmetis", "quillon", "metis", "mtx"}, from_0},
      {"counts-from-1", {"quillon", "kub"}, from_1},
      {"missing-weights", {"quillon"}, weight_missing},
      {"missing-pin", {"kub"}, pin_missing},
      {"trailing-text", {"kub", "mtx"}, pin_too_many},
      {"comment", {"hmetis", "metis"}, comment},
      {"self-loop", {"metis"}, loop},
      {"asymmetric-edge", {"metis"}, half_an_edge},
      {"asymmetric-edge", {"metis"}, unequal_weights},
      {"repeated-edge", {"metis"}, edge_again},
      {"bad-value", {"mtx"}, bad_value},
      {"bad-value", {"mtx"}, no_value},
      {"repeated-entry", {"mtx"}, entry_again},
      {"entry-above-diagonal", {"mtx"}, above_diagonal},
      {"diagonal-entry", {"mtx"}, on_diagonal},
      {"bad-json", {"hif"}, no_json},
      {"bad-json-value", {"hif"}, fraction},
      {"unknown-key", {"hif"}, unknown_key},
      {"repeated-key", {"hif"}, key_again},
      {"missing-key", {"hif"}, key_missing},
      {"missing-incidences", {"hif"}, no_incidences},
      {"repeated-record", {"hif"}, node_again},
      {"weight-not-whole", {"hif"}, half_weight},
      {"mixed-ids", {"hif"}, text_as_id},
      {"unlisted-node", {"hif"}, unlisted},
      {"unlisted-edge", {"hif"}, unlisted_edge},
      {"repeated-entry", {"hif"}, incidence_again},
      {"repeated-entry", {"edges"}, pair_again},
      {"data-not-kept", {"hif"}, metadata},
      {"header-blanks", {"hmetis", "quillon", "kub", "metis", "mtx", "cnf"}, blank_after_header},
      {"nul-byte", {"quillon"}, nul_after_pins},
      {"weight-format", {"quillon"}, cell_weights_of_2},
      {"endless-wait", {"quillon"}, comment_for_weight},
      {"looks-like-metis", {"hmetis"}, neighbours},
      {"bad-name", {"edges"}, fraction_as_name},
      {"maybe-weights", {"edges"}, numbers_after_pairs},
      {"missing-zero", {"cnf"}, no_zero},
      {"no-edges", {"metis"}, no_edges},
  };
}

std::vector<std::string> places_of(const LintResult& result, std::string_view rule) {
  std::vector<std::string> places;
  for (const Finding& finding : result.findings)
    if (finding.rule == rule)
      places.push_back(std::to_string(finding.line) + ":" + std::to_string(finding.column));
  return places;
}

// Whether a file could be mended. What was written has no errors then.
bool mends(const std::string& file, const LintResult& found, const LintOptions& options,
           const TempFolder& folder) {
  Record record;
  Labels names;
  try {
    Mended mended = mend(file, found, options, {});
    names = {std::move(mended.lists.cell_names), std::move(mended.lists.net_names)};
    to_record(std::move(mended.lists), record);
  } catch (const BadFile& error) {
    EXPECT_FALSE(error.finding().message.empty());
    return false;
  }
  const bool is_written = found.format->write != nullptr && options.read.pairs == Pairs::kNone &&
                          (found.format->refusal == nullptr || found.format->refusal({}).empty());
  LintOptions of_result = options;
  if (!is_written) of_result.format = format_named("quillon");
  const std::string out = folder.write("mended", "");
  of_result.format->write(record.h, {.labels = &names}, out.c_str());
  const LintResult again = lint(out, of_result);
  EXPECT_THAT(rules_of(again, Severity::kError), IsEmpty()) << folder.contents("mended");
  return true;
}

void expect_found(const Mistake& mistake, const LintResult& result, const std::string& place) {
  EXPECT_THAT(places_of(result, mistake.rule), Contains(place));
  if (rule_named(mistake.rule)->severity != Severity::kError) {
    EXPECT_THAT(rules_of(result, Severity::kError), IsEmpty());
    return;
  }
  EXPECT_THAT(rules_of(result, Severity::kError), ElementsAre(mistake.rule));
  EXPECT_EQ(result.count(mistake.rule), 1);
}

TEST(Lint, FindsEveryPlantedMistakeAndNoOtherError) {
  const TempFolder folder;
  Random random(1);
  std::map<std::string, int> nplanted;
  std::map<std::string, int> nmended;
  for (int round = 0; round < 4; ++round) {
    for (const File& good : sound_files(random)) {
      LintOptions options;
      options.format = format_named(good.format);
      options.read = good.read;
      const LintResult sound = lint(folder.write("good", good.text()), options);
      ASSERT_THAT(rules_of(sound, Severity::kError), IsEmpty()) << good.text();
      ASSERT_TRUE(mends(folder.at("good"), sound, options, folder));
      for (const Mistake& mistake : all_mistakes()) {
        if (std::find(mistake.formats.begin(), mistake.formats.end(), good.format) == mistake.formats.end() ||
            (good.format == "edges" && (good.model == 1) != (mistake.plant == pair_again)))
          continue;
        File bad = good;
        const std::string place = mistake.plant(bad, random);
        if (place.empty()) continue;
        SCOPED_TRACE(good.format + " " + mistake.rule + "\n" + bad.text());
        const LintResult result = lint(folder.write("bad", bad.text()), options);
        expect_found(mistake, result, place);
        ++nplanted[mistake.rule];
        nmended[mistake.rule] += mends(folder.at("bad"), result, options, folder) ? 1 : 0;
      }
    }
  }
  for (const Mistake& mistake : all_mistakes()) EXPECT_GT(nplanted[mistake.rule], 0) << mistake.rule;
  for (const char* const rule :
       {"counts-from-0", "counts-from-1", "pin-count", "edge-count", "swapped-header", "duplicate-pin",
        "repeated-entry", "trailing-text", "missing-line"})
    EXPECT_GT(nmended[rule], 0) << rule;
  for (const char* const rule : {"not-a-number", "cell-out-of-range", "bad-weight", "asymmetric-edge"})
    EXPECT_EQ(nmended[rule], 0) << rule;
}

// Mistakes that any text can have.
struct ByteMistake {
  const char* rule;
  std::vector<std::string> but;  // formats of which it is no mistake
  std::string (*plant)(std::string& text, Random& random);
};

std::string place_in(const std::string& text, std::size_t at) {
  const std::size_t line = 1 + static_cast<std::size_t>(std::count(
                                   text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n'));
  const std::size_t begin = at == 0 ? 0 : text.rfind('\n', at - 1) + 1;
  return std::to_string(line) + ":" + std::to_string(at - begin + 1);
}

std::string byte_order_mark(std::string& text, Random&) {
  text.insert(0, "\xEF\xBB\xBF");
  return "1:1";
}

// Of a line other than the last, so that another kind of line end is more frequent.
std::string one_crlf(std::string& text, Random& random) {
  const auto nlines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  if (nlines < 3) return "";
  std::size_t at = text.find('\n');
  for (std::size_t k = random.below(nlines); k > 0; --k) at = text.find('\n', at + 1);
  text.insert(at, "\r");
  return place_in(text, at + 1);
}

std::string all_crlf(std::string& text, Random&) {
  std::string crlf;
  for (const char c : text) crlf.append(c == '\n' ? "\r" : "") += c;
  text = crlf;
  return place_in(text, text.find('\n'));
}

std::string no_final_newline(std::string& text, Random&) {
  if (!text.ends_with('\n') || text.size() < 2 || text[text.size() - 2] == '\n') return "";
  text.pop_back();
  return place_in(text, text.size());
}

std::string tab(std::string& text, Random& random) {
  std::vector<std::size_t> blanks;
  for (std::size_t at = text.find(' '); at != std::string::npos; at = text.find(' ', at + 1))
    blanks.push_back(at);
  if (blanks.empty()) return "";
  const std::size_t at = blanks[random.below(blanks.size())];
  text[at] = '\t';
  return place_in(text, at);
}

// Each good file of every format.
std::vector<std::pair<std::string, std::string>> good_files() {
  const std::string folder = QUILLON_CONFORMANCE_CORPUS;
  std::ifstream in(folder + "/index.json");
  std::vector<std::pair<std::string, std::string>> files;
  const nlohmann::json index = nlohmann::json::parse(in);
  for (const nlohmann::json& file : index.at("files")) {
    if (file.contains("error") || file.contains("model")) continue;
    std::ifstream text(folder + "/" + file.at("file").get<std::string>(), std::ios::binary);
    files.emplace_back(file.at("format"), std::string(std::istreambuf_iterator<char>(text), {}));
  }
  return files;
}

TEST(Lint, FindsPlantedBytesInEachGoodFileOfEveryFormat) {
  std::vector<std::string> all_but_quillon;
  for (const Format& format : all_formats())
    if (format.name != "quillon") all_but_quillon.emplace_back(format.name);
  const std::vector<ByteMistake> mistakes{{"byte-order-mark", {"hif"}, byte_order_mark},
                                          {"mixed-line-ends", {}, one_crlf},
                                          {"crlf", {}, all_crlf},
                                          {"no-final-newline", {"quillon"}, no_final_newline},
                                          {"lost-last-line", all_but_quillon, no_final_newline},
                                          {"tab", {"hif"}, tab}};
  Random random(2);
  std::map<std::string, int> nplanted;
  const TempFolder folder;
  for (const auto& [format, good] : good_files()) {
    LintOptions options;
    options.format = format_named(format);
    const LintResult sound = lint(folder.write("good", good), options);
    EXPECT_THAT(rules_of(sound, Severity::kError), IsEmpty()) << good;
    for (const ByteMistake& mistake : mistakes) {
      const bool is_mistake = std::find(mistake.but.begin(), mistake.but.end(), format) == mistake.but.end();
      if (!is_mistake || good.find_first_of("\r\t") != std::string::npos) continue;
      std::string bad = good;
      const std::string place = mistake.plant(bad, random);
      if (place.empty()) continue;
      SCOPED_TRACE(format + " " + mistake.rule + " " + testing::PrintToString(bad));
      const LintResult result = lint(folder.write("bad", bad), options);
      EXPECT_THAT(places_of(result, mistake.rule), ElementsAre(place));
      const bool is_error = rule_named(mistake.rule)->severity == Severity::kError;
      EXPECT_EQ(result.count(Severity::kError), is_error ? 1 : 0);
      EXPECT_TRUE(mends(folder.at("bad"), result, options, folder));
      ++nplanted[format];
    }
  }
  EXPECT_EQ(nplanted.size(), all_formats().size());
}

// Cut off, or with another byte in the checksum.
TEST(Lint, FindsDamagedDataOfEachGoodFileOfEveryFormat) {
  constexpr std::size_t kHeader = 10;
  Random random(3);
  const TempFolder folder;
  for (const auto& [format, good] : good_files()) {
    const std::string packed = gzipped(good);
    LintOptions options;
    options.format = format_named(format);
    EXPECT_THAT(rules_of(lint(folder.write("good.gz", packed), options), Severity::kError), IsEmpty());
    std::string changed = packed;
    changed[packed.size() - 8 + random.below(4)] ^= 1;
    for (const std::string& bad :
         {packed.substr(0, kHeader + random.below(packed.size() - kHeader)), changed}) {
      SCOPED_TRACE(format + " " + testing::PrintToString(bad));
      const LintResult result = lint(folder.write("bad.gz", bad), options);
      EXPECT_THAT(rules_of(result, Severity::kError), ElementsAre("bad-compression"));
      EXPECT_FALSE(mends(folder.at("bad.gz"), result, options, folder));
    }
  }
}

}  // namespace
}  // namespace quillon::formats
