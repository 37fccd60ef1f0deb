#include "formats/byte_audit.h"

#include <algorithm>

#include "util/digits.h"

namespace quillon::formats {
namespace {

constexpr std::size_t kMostNuls = 1000;

// What a piece of a text consists of.
struct Contents {
  std::size_t nline_ends = 0;
  bool has_odd_bytes = false;  // control characters other than LF

  void add(const Contents& other) {
    nline_ends += other.nline_ends;
    has_odd_bytes = has_odd_bytes || other.has_odd_bytes;
  }
};

Contents contents_by_bytes(std::string_view piece) {
  Contents contents;
  for (const char c : piece) {
    contents.nline_ends += c == '\n' ? 1 : 0;
    contents.has_odd_bytes = contents.has_odd_bytes || (static_cast<unsigned char>(c) < 0x20 && c != '\n');
  }
  return contents;
}

#ifdef QUILLON_AVX2

constexpr std::size_t kVector = sizeof(__m256i);

// Of vectors, so few that the counts of their bytes do not overflow.
[[gnu::target("avx2")]] Contents contents_of_vectors(const char* text, std::size_t count) {
  const __m256i line_end = _mm256_set1_epi8('\n');
  __m256i minus_line_ends = _mm256_setzero_si256();
  __m256i smallest = _mm256_set1_epi8(-1);  // of unsigned bytes other than LF
  for (std::size_t k = 0; k < count; ++k) {
    const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + k * kVector));
    const __m256i is_line_end = _mm256_cmpeq_epi8(bytes, line_end);
    minus_line_ends = _mm256_add_epi8(minus_line_ends, is_line_end);
    smallest = _mm256_min_epu8(smallest, _mm256_or_si256(bytes, is_line_end));
  }
  const __m256i is_control = _mm256_cmpeq_epi8(_mm256_min_epu8(smallest, _mm256_set1_epi8(0x1F)), smallest);
  const __m256i nline_ends = _mm256_sub_epi8(_mm256_setzero_si256(), minus_line_ends);
  std::uint64_t sums[4];
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums), _mm256_sad_epu8(nline_ends, _mm256_setzero_si256()));
  return {sums[0] + sums[1] + sums[2] + sums[3], _mm256_movemask_epi8(is_control) != 0};
}

#endif

Contents contents_of(std::string_view piece) {
  Contents contents;
#ifdef QUILLON_AVX2
  constexpr std::size_t kMostVectors = 255;
  if (__builtin_cpu_supports("avx2")) {
    while (piece.size() >= kVector) {
      const std::size_t count = std::min(piece.size() / kVector, kMostVectors);
      contents.add(contents_of_vectors(piece.data(), count));
      piece.remove_prefix(count * kVector);
    }
  }
#endif
  contents.add(contents_by_bytes(piece));
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

// Of whole lines: most have no other odd byte than a CR before the LF.
void ByteAudit::look_at_lines(std::string_view lines) {
  while (!lines.empty()) {
    const std::string_view line = lines.substr(0, lines.find('\n') + 1);
    const std::size_t first_cr = line.find('\r');
    const bool is_crlf = line.size() > 1 && first_cr == line.size() - 2;
    const bool is_common = (is_crlf || first_cr == std::string_view::npos) &&
                           line.find('\t') == std::string_view::npos &&
                           line.find('\0') == std::string_view::npos;
    if (is_common) {
      line_start_ = line.front();
      note(is_crlf ? crlf : lf, line.size());
      end_line(line.size());
    } else {
      look_closely(line);
    }
    last_byte_ = '\n';
    lines.remove_prefix(line.size());
  }
}

void ByteAudit::look_at_odd(std::string_view piece) {
  const std::size_t first = std::min(piece.find('\n'), piece.size() - 1) + 1;
  const std::size_t last = std::max(piece.rfind('\n') + 1, first);  // 0 if there is none
  look_closely(piece.substr(0, first));
  look_at_lines(piece.substr(first, last - first));
  look_closely(piece.substr(last));
}

void ByteAudit::look_at(std::string_view piece) {
  if (piece.empty()) return;
  size_ += piece.size();
  const Contents contents = contents_of(piece);
  if (last_byte_ == '\r' || contents.has_odd_bytes) return look_at_odd(piece);
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
