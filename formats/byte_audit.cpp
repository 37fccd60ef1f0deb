#include "formats/byte_audit.h"

#include <algorithm>

namespace quillon::formats {
namespace {

constexpr std::size_t kMostNuls = 1000;

// Whether a piece has control characters other than LF.
bool has_odd_bytes(std::string_view piece) {
  unsigned odd = 0;
  for (const char c : piece) odd |= static_cast<unsigned char>(c) < 0x20 && c != '\n' ? 1U : 0U;
  return odd != 0;
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
  if (last_byte_ == '\r' || has_odd_bytes(piece)) return look_closely(piece);
  const std::size_t last = piece.rfind('\n');
  if (column_ == 0) line_start_ = piece.front();
  last_byte_ = piece.back();
  if (last == std::string_view::npos) {
    column_ += piece.size();
    return;
  }
  const std::size_t first = piece.find('\n');
  const auto count = static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
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
