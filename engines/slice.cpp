#include "engines/slice.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "engines/byte_reader.h"

namespace quillon::engines {
namespace {

constexpr std::int64_t kMostItems = std::int64_t{1} << 62;
constexpr std::int64_t kMostWeight = std::numeric_limits<std::int32_t>::max();

// A number that must be there.
std::int64_t number_of(ByteReader& in, std::int64_t least, std::int64_t most, const std::string& what) {
  const std::optional<std::int64_t> number = next_number(in);
  if (!number || *number < least || *number > most)
    in.fail("expected " + what + ", from " + std::to_string(least) + " to " + std::to_string(most) +
            (number ? ", found " + std::to_string(*number) : ""));
  return *number;
}

std::int64_t count_of(ByteReader& in, const char* what) {
  return number_of(in, 0, kMostItems, std::string("the number of ") + what);
}

void read_quillon_header(ByteReader& in, FileHeader& header) {
  header.first_cell = number_of(in, 0, 1, "the number of the first cell");
  header.ncells = count_of(in, "cells");
  header.nnets = count_of(in, "nets");
  header.npins = count_of(in, "pins");
  const std::int64_t weights = next_number(in).value_or(0);
  if (weights < 0 || weights > 3) in.fail("expected a weight format from 0 to 3");
  header.cell_weights = (weights & 1) != 0;
  header.net_weights = (weights & 2) != 0;
  header.weights_per_cell = next_number(in).value_or(1);
  if (header.weights_per_cell < 1) in.fail("expected the number of weights per cell, from 1");
}

void expect_line_end(ByteReader& in) {
  if (find_word(in)) in.fail("expected the end of the line");
}

void read_hmetis_header(ByteReader& in, FileHeader& header) {
  header.nnets = count_of(in, "nets");
  header.ncells = count_of(in, "cells");
  const std::int64_t weights = next_number(in).value_or(0);
  if (weights != 0 && weights != 1 && weights != 10 && weights != 11)
    in.fail("expected a format: none, 0, 1, 10 or 11");
  header.cell_weights = weights >= 10;
  header.net_weights = weights % 10 == 1;
  expect_line_end(in);
}

// Moves to the first line that begins in a range, or to its end.
void begin_range(ByteReader& in, const FileHeader& header, Range bytes) {
  if (bytes.begin > header.body.begin) skip_line(in, bytes.end);
}

// One byte early, to see whether the range begins with a line.
std::int64_t start_of(const FileHeader& header, Range bytes) {
  return std::max(bytes.begin - 1, header.body.begin);
}

bool is_in(const ByteReader& in, Range bytes) { return in.offset() < bytes.end && in.offset() < in.size(); }

template <typename Number>
class SliceReader {
 public:
  SliceReader(const FileHeader& header, Slice<Number>& slice) : header_(header), slice_(slice) {}

  void read_net(ByteReader& in) {
    const std::string net = "net " + std::to_string(slice_.first_net + slice_.nnets() + 1);
    if (header_.net_weights)
      slice_.net_weights.push_back(
          static_cast<Number>(number_of(in, 0, kMostWeight, "the weight of " + net)));
    const std::int64_t last_cell = header_.first_cell + header_.ncells - 1;
    while (const std::optional<std::int64_t> cell = next_number(in)) {
      if (*cell < header_.first_cell || *cell > last_cell)
        in.fail(net + " names cell " + std::to_string(*cell) + ", expected " +
                std::to_string(header_.first_cell) + " to " + std::to_string(last_cell));
      slice_.pins.push_back(static_cast<Number>(*cell - header_.first_cell));
      ++slice_.npins_in_file;
      expect_word_end(in);
    }
    end_line(in);
    end_net();
  }

  // Lines after the nets: cell weights, or text that one format ignores.
  void read_weights(ByteReader& in) {
    if (!header_.cell_weights) {
      end_line(in);
      return;
    }
    while (const std::optional<std::int64_t> weight = next_number(in)) {
      if (*weight < 0 || *weight > kMostWeight)
        in.fail("a cell weighs " + std::to_string(*weight) + ", expected 0 to " +
                std::to_string(kMostWeight));
      slice_.weight_numbers.push_back(static_cast<Number>(*weight));
      expect_word_end(in);
    }
    end_line(in);
  }

 private:
  // Our own format ignores text after the last number of a line, hMETIS has none.
  void expect_word_end(ByteReader& in) const {
    const int byte = in.peek();
    const bool ends = is_blank(byte) || byte == '\n' || byte == ByteReader::kEnd;
    if (header_.format == FileFormat::kHmetis && !ends) in.fail("expected a number");
  }
  void end_line(ByteReader& in) const {
    if (header_.format == FileFormat::kHmetis) expect_line_end(in);
    skip_line(in);
  }

  void end_net() {
    const auto first = slice_.pins.begin() + slice_.starts.back();
    std::sort(first, slice_.pins.end());
    slice_.pins.erase(std::unique(first, slice_.pins.end()), slice_.pins.end());
    slice_.starts.push_back(static_cast<std::int64_t>(slice_.pins.size()));
  }

  const FileHeader& header_;
  Slice<Number>& slice_;
};

}  // namespace

Range share_of(std::int64_t total, std::int64_t index, std::int64_t count) {
  const std::int64_t size = total / count;
  const std::int64_t larger = total % count;  // ranges with one more
  const std::int64_t begin = size * index + std::min(index, larger);
  return {begin, begin + size + (index < larger ? 1 : 0)};
}

FileHeader read_header(const std::string& filename, FileFormat format) {
  ByteReader in(filename, 0);
  skip_comments(in);
  FileHeader header;
  header.format = format;
  if (format == FileFormat::kQuillon)
    read_quillon_header(in, header);
  else
    read_hmetis_header(in, header);
  skip_line(in);
  header.body = {in.offset(), in.size()};
  return header;
}

Survey survey(const std::string& filename, const FileHeader& header, Range bytes) {
  ByteReader in(filename, start_of(header, bytes));
  begin_range(in, header, bytes);
  Survey counts;
  for (skip_comments(in); is_in(in, bytes); skip_comments(in)) {
    ++counts.nlines;
    while (find_word(in)) {
      ++counts.nwords;
      while (!is_blank(in.peek()) && in.peek() != '\n' && in.peek() != ByteReader::kEnd) in.skip();
    }
    skip_line(in);
  }
  return counts;
}

template <typename Number>
Slice<Number> read_slice(const std::string& filename, const FileHeader& header, Range bytes, Survey counts,
                         std::int64_t first_line) {
  Slice<Number> slice;
  slice.first_net = std::min(first_line, header.nnets);
  const std::int64_t nnets = std::min(counts.nlines, header.nnets - slice.first_net);
  slice.starts.reserve(static_cast<std::size_t>(nnets) + 1);
  if (nnets > 0) slice.pins.reserve(static_cast<std::size_t>(counts.nwords));
  if (header.net_weights) slice.net_weights.reserve(static_cast<std::size_t>(nnets));

  ByteReader in(filename, start_of(header, bytes));
  begin_range(in, header, bytes);
  SliceReader<Number> reader(header, slice);
  for (skip_comments(in); is_in(in, bytes); skip_comments(in)) {
    if (slice.nnets() < nnets)
      reader.read_net(in);
    else
      reader.read_weights(in);
  }
  return slice;
}

template Slice<std::int32_t> read_slice(const std::string&, const FileHeader&, Range, Survey, std::int64_t);
template Slice<std::int64_t> read_slice(const std::string&, const FileHeader&, Range, Survey, std::int64_t);

std::vector<std::int64_t> read_fixed(const std::string& filename, std::int64_t ncells, std::int64_t nparts) {
  ByteReader in(filename, 0);
  std::vector<std::int64_t> parts;
  for (; in.peek() != ByteReader::kEnd; skip_line(in))
    while (find_word(in))
      parts.push_back(
          number_of(in, -1, nparts - 1, "-1 or the part of cell " + std::to_string(parts.size() + 1)));
  if (static_cast<std::int64_t>(parts.size()) != ncells)
    in.fail("expected " + std::to_string(ncells) + " numbers, found " + std::to_string(parts.size()));
  return parts;
}

}  // namespace quillon::engines
