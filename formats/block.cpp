#include "formats/block.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "formats/word_lines.h"
#include "hypergraph/detail/scan.h"
#include "util/digits.h"

namespace quillon::formats {
namespace {

// The text to scan: it ends in white space, and bytes that are no text follow.
struct Extent {
  const char* begin;  // of the block
  const char* end;
};

Extent closed_text(Block& block) {
  char* const end = block.text.data() + block.size;
  std::memset(end, 0, kSpareBytes);
  const bool is_closed = !block.is_last || (block.size > 0 && end[-1] == '\n');
  if (!is_closed) *end = '\n';
  return {block.text.data(), end + (is_closed ? 0 : 1)};
}

// After the line that `at` is on.
const char* next_line(const char* at, const char* end) {
  const void* const line_end = std::memchr(at, '\n', static_cast<std::size_t>(end - at));
  return line_end == nullptr ? end : static_cast<const char*>(line_end) + 1;
}

// What has been found up to the start of a line.
struct Mark {
  const char* line;
  int nnumbers;
  int nlines;
  int nodd;             // odd words
  const char* scanned;  // end of what has been scanned, on this line
};

// Collects the runs of a block.
class Runs {
 public:
  Runs(Block& block, const Mark& start) : block_(block), start_(start) { block_.runs.clear(); }

  // Ends the run before a line that belongs to none.
  void end(const Mark& mark) {
    const char* const text = block_.text.data();
    const auto begin = static_cast<std::size_t>(start_.line - text);
    const std::size_t end = std::min(static_cast<std::size_t>(mark.line - text), block_.size);
    if (end > begin)
      block_.runs.push_back({begin, end, start_.nnumbers, mark.nnumbers - start_.nnumbers, start_.nlines,
                             mark.nlines - start_.nlines, start_.nodd, mark.nodd - start_.nodd});
  }

  void begin(const Mark& mark) { start_ = mark; }

 private:
  Block& block_;
  Mark start_;
};

// Appends what was scanned to the numbers and lines before `mark`, which moves on. Returns the number of
// numbers in all, those after the last line end included.
int append(Block& block, const Scanned& scanned, int nnumbers, Mark& mark, bool by_line) {
  const char* const text = mark.scanned;
  std::copy_n(scanned.numbers, scanned.count, block.numbers.data() + nnumbers);
  if (scanned.nlines > 0) {
    int* const starts = block.starts.data() + mark.nlines + 1;
    for (int k = 0; by_line && k < scanned.nlines; ++k) starts[k] = nnumbers + scanned.lines[k].count;
    const Scanned::Line& last = scanned.lines[scanned.nlines - 1];
    mark.line = text + last.end;
    mark.nnumbers = nnumbers + last.count;
    mark.nlines += by_line ? scanned.nlines : 0;
  }
  mark.scanned = text + scanned.size;
  return nnumbers + scanned.count;
}

// Appends numbers of one or two digits as long as there is nothing else, for a reader to whom lines do not
// matter. Returns the number of numbers in all.
int append_short(Block& block, const Extent& text, int nnumbers, Mark& mark) {
  const char* const begin = mark.scanned;
  const int room = static_cast<int>(block.numbers.capacity()) - nnumbers;
  const ShortNumbers shorts = scan_short_numbers(begin, text.end, block.numbers.data() + nnumbers, room);
  mark.scanned = begin + shorts.size;
  nnumbers += shorts.count;
  block.nline_ends += static_cast<std::size_t>(shorts.nlines);
  return nnumbers;
}

// Appends a word without an end in the next 64 bytes, and moves past it. Returns false if it has none in this
// block.
bool add_long_word(Block& block, const Extent& text, const char*& at, int& nnumbers, int& nodd) {
  const char* end = at;
  while (end < text.end && !is_space(*end)) ++end;
  if (end == text.end) return false;
  block.numbers.data()[nnumbers++] = -1;
  block.odd_words.data()[nodd++] = static_cast<int>(at - text.begin);
  at = end;
  return true;
}

// Scans lines of any kind, word by word, until there are several plain ones in a row.
class AnyLines {
 public:
  // `mark` is that of an odd line. Ends the run before it.
  AnyLines(Block& block, const Extent& text, Mark& mark, Runs& runs)
      : block_(block), text_(text), mark_(mark), runs_(runs), nnumbers_(mark.nnumbers), nodd_(mark.nodd) {
    block.odd_words.make_room(block.size / 2 + 2);  // only once if the blocks of a text are alike
    runs.end(mark);
    runs.begin(mark);
  }

  // Moves the mark past all lines, after which the last run has not ended.
  void scan() {
    const char* at = mark_.line;
    while (at < text_.end && nplain_ < kManyPlain) {
      const WordPiece piece = find_words(at, text_.end);
      if (piece.size > 0)
        add_piece(at, piece);
      else if (!add_long_word(block_, text_, at, nnumbers_, nodd_))
        break;
    }
    mark_.scanned = mark_.line;
    if (nplain_ < kManyPlain && mark_.line < text_.end) pass_line(text_.end);
  }

 private:
  static constexpr int kManyPlain = 16;

  enum class Kind { kPlain, kOdd, kComment };

  void add_piece(const char*& at, const WordPiece& piece) {
    convert_words(at, piece, block_.numbers.data() + nnumbers_, text_.begin, block_.odd_words.data() + nodd_);
    for (std::uint64_t line_ends = piece.line_ends; line_ends != 0; line_ends &= line_ends - 1) {
      const std::uint64_t before = line_ends ^ (line_ends - 1);
      end_line(at + lowest_bit(line_ends) + 1, nnumbers_ + count_bits(piece.ends & before),
               nodd_ + count_bits(piece.odd_ends & before));
    }
    nnumbers_ += count_bits(piece.ends);
    nodd_ += count_bits(piece.odd_ends);
    at += piece.size;
  }

  void end_line(const char* end, int nnumbers, int nodd) {
    const Kind kind = *mark_.line == '%' ? Kind::kComment : nodd > mark_.nodd ? Kind::kOdd : Kind::kPlain;
    if (kind != kind_) {
      runs_.end(mark_);
      runs_.begin(mark_);
    }
    kind_ = kind;
    nplain_ = kind == Kind::kPlain ? nplain_ + 1 : 0;
    block_.starts.data()[++mark_.nlines] = nnumbers;
    ++block_.nline_ends;
    mark_.line = end;
    mark_.nnumbers = nnumbers;
    mark_.nodd = nodd;
    if (kind == Kind::kComment) runs_.begin(mark_);
  }

  // Leaves the last line out: it has no end.
  void pass_line(const char* end) {
    runs_.end(mark_);
    mark_.line = mark_.scanned = end;
    runs_.begin(mark_);
  }

  Block& block_;
  const Extent& text_;
  Mark& mark_;
  Runs& runs_;
  int nnumbers_;
  int nodd_;
  int nplain_ = 0;            // plain lines in a row
  Kind kind_ = Kind::kPlain;  // of the line before; there is no run before the first one
};

// Scans words of any kind that begin here, until there are only numbers for a while, for a reader to whom
// lines do not matter. Moves the mark past them.
void scan_words(Block& block, const Extent& text, Mark& mark) {
  constexpr int kManyPlain = 16;  // pieces in a row
  int nplain = 0;
  block.odd_words.make_room(block.size / 2 + 2);  // only once if the blocks of a text are alike
  while (mark.line < text.end && nplain < kManyPlain) {
    const WordPiece piece = find_words(mark.line, text.end);
    if (piece.size > 0) {
      convert_words(mark.line, piece, block.numbers.data() + mark.nnumbers, text.begin,
                    block.odd_words.data() + mark.nodd);
      mark.nnumbers += count_bits(piece.ends);
      mark.nodd += count_bits(piece.odd_ends);
      mark.line += piece.size;
      block.nline_ends += static_cast<std::size_t>(count_bits(piece.line_ends));
      nplain = piece.odd_ends == 0 ? nplain + 1 : 0;
    } else if (!add_long_word(block, text, mark.line, mark.nnumbers, mark.nodd)) {
      break;
    }
  }
}

void scan_lines(Block& block, const Extent& text, const char* at, bool by_line) {
  Scanned scanned;
  int nnumbers = 0;
  std::size_t nline_ends = 0;
  Mark mark{at, 0, 0, 0, at};
  Runs runs(block, mark);
  while (mark.scanned < text.end) {
    if (!by_line) nnumbers = append_short(block, text, nnumbers, mark);
    scan_numbers(mark.scanned, text.end, scanned);
    nline_ends += static_cast<std::size_t>(scanned.nlines);
    nnumbers = append(block, scanned, nnumbers, mark, by_line);
    if (scanned.size > 0) continue;

    if (by_line) {
      AnyLines(block, text, mark, runs).scan();
      nnumbers = mark.nnumbers;
      continue;
    }
    mark.line = mark.scanned;
    mark.nnumbers = nnumbers;
    runs.end(mark);
    runs.begin(mark);
    scan_words(block, text, mark);
    runs.end(mark);
    // No progress: a word without an end in this block is left out.
    mark.scanned = mark.line = mark.line == mark.scanned ? text.end : mark.line;
    nnumbers = mark.nnumbers;
    runs.begin(mark);
  }
  if (!by_line) {
    mark.line = mark.scanned;
    mark.nnumbers = nnumbers;
  }
  runs.end(mark);
  block.nline_ends += nline_ends;
}

bool is_blank(char c) { return is_space(c) && c != '\n'; }

const char* skip_blanks(const char* at) {
  while (is_blank(*at)) ++at;
  return at;
}

const char* skip_digits(const char* at) {
  while (is_digit(*at)) ++at;
  return at;
}

// Moves past a number of up to nine digits that white space follows.
bool scan_index(const char*& at, int& index) {
  const char* const end = skip_digits(at);
  if (end == at || end - at > kMostDigits || !is_space(*end)) return false;
  index = 0;
  for (; at < end; ++at) index = 10 * index + (*at - '0');
  return true;
}

// Moves past a decimal number that white space follows.
bool scan_value(const char*& at, bool whole) {
  const char* p = *at == '-' || *at == '+' ? at + 1 : at;
  const char* const digits = p;
  p = skip_digits(p);
  std::ptrdiff_t ndigits = p - digits;
  if (!whole && *p == '.') {
    const char* const fraction = ++p;
    p = skip_digits(p);
    ndigits += p - fraction;
  }
  if (ndigits == 0) return false;
  if (!whole && (*p == 'e' || *p == 'E')) {
    ++p;
    if (*p == '-' || *p == '+') ++p;
    const char* const exponent = p;
    p = skip_digits(p);
    if (p == exponent) return false;
  }
  at = p;
  return is_space(*p);
}

// Moves to the next line if this one is blank, or has two numbers and the values.
bool scan_entry(const char*& at, const LineShape& shape, int* indices, int& count) {
  const char* p = skip_blanks(at);
  count = 0;
  if (*p != '\n') {
    if (!scan_index(p, indices[0])) return false;
    p = skip_blanks(p);
    if (!scan_index(p, indices[1])) return false;
    for (int k = 0; k < shape.nvalues; ++k) {
      p = skip_blanks(p);
      if (!scan_value(p, shape.whole_values)) return false;
    }
    p = skip_blanks(p);
    if (*p != '\n') return false;
    count = 2;
  }
  at = p + 1;
  return true;
}

// Stores the lines of two indices and a number without a sign that begin here, and blank ones, many at a
// time. Moves past them. Returns whether there were any.
bool scan_plain_entries(Block& block, const Extent& text, Mark& mark, Scanned& scanned) {
  const char* const begin = mark.line;
  scan_numbers(begin, text.end, scanned);
  int* number = block.numbers.data() + mark.nnumbers;
  int* const starts = block.starts.data();
  int before = 0;  // numbers of the lines before, values included
  for (int k = 0; k < scanned.nlines; ++k) {
    const int count = scanned.lines[k].count - before;
    if (count != 3 && count != 0) break;
    number[0] = scanned.numbers[before];
    number[1] = scanned.numbers[before + 1];
    number += count == 0 ? 0 : 2;
    before += count;
    starts[++mark.nlines] = static_cast<int>(number - block.numbers.data());
    mark.line = begin + scanned.lines[k].end;
  }
  mark.nnumbers = static_cast<int>(number - block.numbers.data());
  return mark.line != begin;
}

void scan_entries(Block& block, const Extent& text, const char* at, const LineShape& shape) {
  // Lines to scan one by one when one is not plain: more of them may follow, twice as many each time.
  constexpr int kFewSingle = 16;
  constexpr int kManySingle = 1024;
  const bool may_be_plain = shape.whole_values && shape.nvalues == 1;
  int nsingle = may_be_plain ? 0 : std::numeric_limits<int>::max();
  int nnext_single = kFewSingle;
  Scanned scanned;
  int* const numbers = block.numbers.data();
  int* const starts = block.starts.data();
  int nodd = 0;
  Mark mark{at, 0, 0, 0, at};
  Runs runs(block, mark);
  while (mark.line < text.end) {
    if (nsingle == 0) {
      const bool are_plain = scan_plain_entries(block, text, mark, scanned);
      if (!are_plain) nsingle = nnext_single;
      nnext_single = are_plain ? kFewSingle : std::min(2 * nnext_single, kManySingle);
      continue;
    }
    --nsingle;
    int count = 0;
    if (scan_entry(mark.line, shape, numbers + mark.nnumbers, count)) {
      mark.nnumbers += count;
      starts[++mark.nlines] = mark.nnumbers;
      continue;
    }
    runs.end(mark);
    mark.line = next_line(mark.line, text.end);
    nodd += mark.line[-1] == '\n' ? 1 : 0;
    runs.begin(mark);
  }
  runs.end(mark);
  block.nline_ends += static_cast<std::size_t>(mark.nlines + nodd);
}

}  // namespace

void count_line_ends(Block& block) { block.nline_ends = count_line_ends({block.text.data(), block.size}); }

// In bytes, many of which fit into a vector register: so many of the text at a time that no sum overflows.
std::size_t count_line_ends(std::string_view text) {
  constexpr std::size_t kStep = 240;
  std::size_t count = 0;
  for (; text.size() >= kStep; text.remove_prefix(kStep)) {
    unsigned char sum = 0;
    for (std::size_t k = 0; k < kStep; ++k) sum = static_cast<unsigned char>(sum + (text[k] == '\n' ? 1 : 0));
    count += sum;
  }
  return count + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

void scan(Block& block, std::size_t from, const LineShape& shape) {
  const Extent text = closed_text(block);
  const std::size_t bytes = block.size - from + 1;
  block.numbers.make_room(bytes / 2 + 1 + kSpareNumbers);
  block.starts.make_room(bytes + 2);
  block.starts.data()[0] = 0;
  const char* at = text.begin + from;
  if (block.begins_inside && from == 0) at = next_line(at, text.end);
  block.nline_ends = count_line_ends({text.begin, static_cast<std::size_t>(at - text.begin)});
  if (shape.nvalues > 0)
    scan_entries(block, text, at, shape);
  else
    scan_lines(block, text, at, shape.by_line);
}

}  // namespace quillon::formats
