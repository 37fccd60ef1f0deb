#include "formats/detect.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "formats/formats.h"
#include "hypergraph/detail/scan.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kHeaderBytes = 4096;
constexpr std::size_t kSampleBytes = std::size_t{1} << 20;

using Numbers = std::vector<std::int64_t>;

// The lines of a sample. A line that it does not hold to the end is not among them.
class Lines {
 public:
  explicit Lines(const Sample& sample) : rest_(sample.text), is_whole_(sample.is_whole) {}

  std::optional<std::string_view> next() {
    const std::size_t line_end = rest_.find('\n');
    if (line_end == std::string_view::npos && (rest_.empty() || !is_whole_)) return std::nullopt;
    const std::string_view line = rest_.substr(0, line_end);
    rest_.remove_prefix(line_end == std::string_view::npos ? rest_.size() : line_end + 1);
    return line;
  }

  std::optional<std::string_view> next_without_comments() {
    std::optional<std::string_view> line = next();
    while (line && line->starts_with('%')) line = next();
    return line;
  }

 private:
  std::string_view rest_;
  bool is_whole_;
};

std::string_view without_leading_space(std::string_view text) {
  text.remove_prefix(
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_space) - text.begin()));
  return text;
}

// Reads the leading numbers of a line; returns the rest.
std::string_view read_numbers(std::string_view line, Numbers& numbers) {
  numbers.clear();
  for (line = without_leading_space(line); !line.empty(); line = without_leading_space(line)) {
    std::int64_t number = 0;
    const auto [stopped, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    const auto length = static_cast<std::size_t>(stopped - line.data());
    if (error != std::errc() || (length < line.size() && !is_space(line[length]))) break;
    numbers.push_back(number);
    line.remove_prefix(length);
  }
  return line;
}

// Whether a line consists of numbers, or is blank.
bool has_only_numbers(std::string_view line, Numbers& numbers) { return read_numbers(line, numbers).empty(); }

bool is_between(std::int64_t number, std::int64_t least, std::int64_t most) {
  return number >= least && number <= most;
}

// The header of a hypergraph or graph, for hMETIS and METIS.
struct Header {
  std::int64_t nlines;   // that follow: nets, or vertices
  std::int64_t nothers;  // cells, or edges
  std::int64_t fmt = 0;  // its decimal digits are 0 or 1
  std::int64_t nweights = 1;
};

bool is_format_code(std::int64_t fmt) {
  return is_between(fmt, 0, 111) && fmt % 10 <= 1 && fmt / 10 % 10 <= 1;
}

std::optional<Header> read_header(Lines& lines, std::size_t most_numbers) {
  const std::optional<std::string_view> line = lines.next_without_comments();
  Numbers numbers;
  if (!line || !has_only_numbers(*line, numbers) || numbers.size() < 2 || numbers.size() > most_numbers)
    return std::nullopt;
  if (numbers[0] < 0 || numbers[1] < 0) return std::nullopt;
  Header header{numbers[0], numbers[1]};
  if (numbers.size() > 2) header.fmt = numbers[2];
  if (numbers.size() > 3) header.nweights = numbers[3];
  const bool has_vertex_weights = header.fmt / 10 % 10 == 1;
  if (!is_format_code(header.fmt) || header.nweights < 1 || (numbers.size() > 3 && !has_vertex_weights))
    return std::nullopt;
  return header;
}

// Whether the sample ends before its first line that is not a comment does.
bool lacks_header(const Sample& sample) { return !sample.is_whole && !Lines(sample).next_without_comments(); }

bool obeys_hmetis(Lines& lines, const Header& header, bool is_whole) {
  const bool net_weights = header.fmt % 10 == 1;
  const std::int64_t nweight_lines = header.fmt >= 10 ? header.nothers : 0;
  Numbers numbers;
  std::int64_t nread = 0;
  for (auto line = lines.next_without_comments(); line; line = lines.next_without_comments(), ++nread) {
    if (!has_only_numbers(*line, numbers)) return false;
    if (nread >= header.nlines) {
      if (numbers.size() != (nread < header.nlines + nweight_lines ? 1 : 0)) return false;
      continue;
    }
    if (net_weights && numbers.empty()) return false;
    for (std::size_t k = net_weights ? 1 : 0; k < numbers.size(); ++k)
      if (!is_between(numbers[k], 1, header.nothers)) return false;
  }
  return !is_whole || nread >= header.nlines + nweight_lines;
}

// The neighbours in the lines of a METIS graph, as (smaller, larger) for each mention.
struct Mentions {
  std::vector<std::pair<std::int64_t, std::int64_t>> pairs;
  std::int64_t nlines = 0;
};

bool read_neighbours(const Numbers& numbers, const Header& header, Mentions& mentions) {
  const bool edge_weights = header.fmt % 10 == 1;
  const std::int64_t before = (header.fmt >= 100 ? 1 : 0) + (header.fmt / 10 % 10 == 1 ? header.nweights : 0);
  if (std::ssize(numbers) < before) return false;
  const std::int64_t vertex = mentions.nlines;
  const std::size_t step = edge_weights ? 2 : 1;
  const auto first = static_cast<std::size_t>(before);
  if ((numbers.size() - first) % step != 0) return false;
  for (std::size_t k = first; k < numbers.size(); k += step) {
    if (!is_between(numbers[k], 1, header.nlines) || numbers[k] == vertex) return false;
    mentions.pairs.emplace_back(std::min(vertex, numbers[k]), std::max(vertex, numbers[k]));
  }
  return true;
}

// Whether there are edges between the vertices seen, and each is on the lines of both its ends.
bool are_edges_mutual(Mentions& mentions) {
  auto& pairs = mentions.pairs;
  std::erase_if(pairs, [&mentions](const auto& pair) { return pair.second > mentions.nlines; });
  std::sort(pairs.begin(), pairs.end());
  for (std::size_t k = 0; k < pairs.size(); k += 2)
    if (k + 1 == pairs.size() || pairs[k] != pairs[k + 1]) return false;
  return !pairs.empty();
}

bool obeys_metis(Lines& lines, const Header& header, bool is_whole) {
  Mentions mentions;
  Numbers numbers;
  for (auto line = lines.next_without_comments(); line; line = lines.next_without_comments()) {
    if (!has_only_numbers(*line, numbers)) return false;
    if (mentions.nlines == header.nlines) {
      if (!numbers.empty()) return false;
      continue;
    }
    ++mentions.nlines;
    if (!read_neighbours(numbers, header, mentions)) return false;
  }
  if (is_whole && (mentions.nlines < header.nlines || std::ssize(mentions.pairs) != 2 * header.nothers))
    return false;
  return are_edges_mutual(mentions);
}

Fit fit_of(const Format& format, const Sample& sample) {
  return format.fit == nullptr ? Fit::kNone : format.fit(sample);
}

// The first format of this fit. Null if there is none.
const Format* first_of_fit(Fit fit, const Sample& sample) {
  for (const Format& format : all_formats())
    if (fit_of(format, sample) == fit) return &format;
  return nullptr;
}

}  // namespace

Fit fit_quillon(const Sample& sample) {
  const std::optional<std::string_view> line = Lines(sample).next_without_comments();
  if (!line) return sample.is_whole ? Fit::kNone : Fit::kPossible;
  Numbers numbers;
  read_numbers(*line, numbers);
  return numbers.size() >= 4 && is_between(numbers[0], 0, 1) ? Fit::kCertain : Fit::kNone;
}

// A sample that is a METIS graph as well is more likely to be one.
Fit fit_hmetis(const Sample& sample) {
  if (lacks_header(sample)) return Fit::kPossible;
  Lines lines(sample);
  const std::optional<Header> header = read_header(lines, 3);
  if (!header || header->fmt > 11) return Fit::kNone;
  return obeys_hmetis(lines, *header, sample.is_whole) && fit_metis(sample) != Fit::kCertain ? Fit::kCertain
                                                                                             : Fit::kPossible;
}

Fit fit_kub(const Sample& sample) {
  Lines lines(sample);
  Numbers numbers;
  for (int k = 0; k < 2; ++k) {
    const std::optional<std::string_view> line = lines.next();
    if (!line) return sample.is_whole ? Fit::kNone : Fit::kPossible;
    if (!has_only_numbers(*line, numbers) || numbers.size() != 1) return Fit::kNone;
  }
  if (const std::optional<std::string_view> line = lines.next(); line && numbers[0] > 0) {
    const bool has_size =
        has_only_numbers(*line, numbers) && numbers.size() >= 2 && numbers[1] == std::ssize(numbers) - 2;
    if (!has_size) return Fit::kPossible;
  }
  return Fit::kCertain;
}

Fit fit_matrix_market(const Sample& sample) {
  constexpr std::string_view kBanner = "%%matrixmarket";
  const bool has_banner = sample.text.size() >= kBanner.size() &&
                          std::equal(kBanner.begin(), kBanner.end(), sample.text.begin(), [](char a, char b) {
                            return a == std::tolower(static_cast<unsigned char>(b));
                          });
  return has_banner ? Fit::kCertain : Fit::kNone;
}

Fit fit_metis(const Sample& sample) {
  if (lacks_header(sample)) return Fit::kPossible;
  Lines lines(sample);
  const std::optional<Header> header = read_header(lines, 4);
  if (!header) return Fit::kNone;
  return obeys_metis(lines, *header, sample.is_whole) ? Fit::kCertain : Fit::kPossible;
}

Fit fit_hif(const Sample& sample) {
  return without_leading_space(sample.text).starts_with('{') ? Fit::kCertain : Fit::kNone;
}

Fit fit_cnf(const Sample& sample) {
  Lines lines(sample);
  std::optional<std::string_view> line = lines.next();
  while (line && (line->starts_with('c') || without_leading_space(*line).empty())) line = lines.next();
  if (!line) return sample.is_whole ? Fit::kNone : Fit::kPossible;
  return line->starts_with("p cnf ") ? Fit::kCertain : Fit::kNone;
}

const Format* format_of_text(const Sample& sample) {
  const Format* const certain = first_of_fit(Fit::kCertain, sample);
  return certain != nullptr ? certain : first_of_fit(Fit::kPossible, sample);
}

Choice choose_format(const std::string& filename, const std::function<Sample(std::size_t)>& peek) {
  const Format* const named = format_of_file(filename);
  if (named == nullptr) return {format_of_text(peek(kSampleBytes)), true};
  if (named->fit == nullptr || named->fit(peek(kHeaderBytes)) != Fit::kNone) return {named, false};
  const Format* const other = first_of_fit(Fit::kCertain, peek(kSampleBytes));
  return other == nullptr ? Choice{named, false} : Choice{other, true};
}

}  // namespace quillon::formats
