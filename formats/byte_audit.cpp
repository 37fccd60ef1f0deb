#include "formats/byte_audit.h"

#include <algorithm>

namespace quillon::formats {
namespace {

constexpr std::size_t kMostNuls = 1000;

// What a piece of a text consists of.
struct Contents {
  std::size_t nline_ends = 0;
  bool has_odd_bytes = false;  // control characters other than LF
};

// Counts in bytes, many of which fit into a vector register: so much of a text at a time that they do not
// overflow.
Contents contents_of(std::string_view piece) {
  constexpr std::size_t kStep = 240;
  Contents contents;
  unsigned char odd = 0;
  for (std::size_t begin = 0; begin < piece.size(); begin += kStep) {
    const std::string_view step = piece.substr(begin, kStep);
    unsigned char nline_ends = 0;
    for (const char c : step) {
      const auto is_line_end = static_cast<unsigned char>(c == '\n' ? 1 : 0);
      nline_ends = static_cast<unsigned char>(nline_ends + is_line_end);
      odd = static_cast<unsigned char>(odd | ((static_cast<unsigned char>(c) < 0x20 ? 1 : 0) ^ is_line_end));
    }
    contents.nline_ends += nline_ends;
  }
  contents.has_odd_bytes = odd != 0;
  return contents;
}

}  // namespace

void ByteAudit::note(Occurrences& occurrences, std::size_t column) {
  if (occurrences.count++ == 0) occurrences.first = {nlines_ + 1, column};
}

void ByteAudit::end_line(std::size_t length) {
  if (length > kLongLine) note(long_line, 1);
  ++nlines_;
  column_ = 0;
}

void ByteAudit::look_closely(std::string_view piece) {
  for (const char c : piece) {
    if (column_++ == 0) line_start_ = c;
    const bool after_cr = last_byte_ == '\r';
    if (after_cr && c != '\n') note(cr, column_ - 1);
    last_byte_ = c;
    if (c == '\t') note(tab, column_);
    if (c == '\0' && nnul++ < static_cast<std::int64_t>(kMostNuls)) nul.push_back({nlines_ + 1, column_});
    if (c != '\n') continue;
    note(after_cr ? crlf : lf, column_);
    end_line(column_);
  }
}

void ByteAudit::look_at(std::string_view piece) {
  if (piece.empty()) return;
  size_ += piece.size();
  const Contents contents = contents_of(piece);
  if (last_byte_ == '\r' || contents.has_odd_bytes) return look_closely(piece);
  const std::size_t last = piece.rfind('\n');
  if (column_ == 0) line_start_ = piece.front();
  last_byte_ = piece.back();
  if (last == std::string_view::npos) {
    column_ += piece.size();
    return;
  }
  const std::size_t first = piece.find('\n');
  const std::size_t count = contents.nline_ends;
  note(lf, column_ + first + 1);
  lf.count += static_cast<std::int64_t>(count) - 1;
  end_line(column_ + first + 1);
  nlines_ += count - 1;
  column_ = piece.size() - last - 1;
  if (column_ > 0)
    line_start_ = piece[last + 1];
  else if (count > 1)
    line_start_ = piece[piece.rfind('\n', last - 1) + 1];
}

}  // namespace quillon::formats
