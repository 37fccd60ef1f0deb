#include "formats/json_text.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <charconv>
#include <vector>
#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)
#include <emmintrin.h>
#endif

#include "formats/json_name.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

// Inside a string: neither its end nor anything that must be looked at.
bool is_plain_byte(char c) { return static_cast<signed char>(c) >= 0x20 && c != '"' && c != '\\'; }

// Moves past bytes of a string that need no look.
const char* skip_plain(const char* at, const char* end) {
#if defined(__SSE2__) && !defined(QUILLON_PORTABLE)
  for (; end - at >= 16; at += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i escapes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const __m128i others = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));  // 0x80 and more are negative
    const int odd = _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(quotes, escapes), others));
    if (odd != 0) return at + std::countr_zero(static_cast<unsigned>(odd));
  }
#endif
  while (at < end && is_plain_byte(*at)) ++at;
  return at;
}

bool in_word(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '+' || c == '.';
}

std::string name_of(const JsonWord& word) {
  switch (word.kind) {
    case JsonKind::kEnd:
      return "end of input";
    case JsonKind::kPunctuation:
      return "'" + std::string(word.text()) + "'";
    case JsonKind::kString:
      return "string literal";
    case JsonKind::kNumber:
      return "number literal";
    case JsonKind::kTrue:
      return "true literal";
    case JsonKind::kFalse:
      return "false literal";
    case JsonKind::kNull:
      return "null literal";
    case JsonKind::kBad:
      break;
  }
  return "";
}

bool opens(const JsonWord& word, char bracket) {
  return word.kind == JsonKind::kPunctuation && *word.begin == bracket;
}

bool is_value(const JsonWord& word) {
  if (word.kind == JsonKind::kPunctuation) return opens(word, '{') || opens(word, '[');
  return word.kind != JsonKind::kEnd && word.kind != JsonKind::kBad;
}

// Whether a number that no double can hold is too large, not too small: by the power of ten of its first
// digit other than 0, which is far from 0.
bool is_too_large(std::string_view number) {
  const std::size_t exponent_at = number.find_first_of("eE");
  std::string_view digits = number.substr(0, exponent_at);
  if (digits.starts_with('-')) digits.remove_prefix(1);
  const std::size_t point = std::min(digits.find('.'), digits.size());
  const std::size_t first = digits.find_first_of("123456789");
  if (first == std::string_view::npos) return false;
  const auto power = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first);
  if (exponent_at == std::string_view::npos) return power > 0;

  std::string_view text = number.substr(exponent_at + 1);
  if (text.starts_with('+')) text.remove_prefix(1);
  std::int64_t exponent = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), exponent);
  if (error != std::errc()) return !text.starts_with('-');
  return exponent > -power;
}

struct Double {
  double value;
  bool is_finite;
};

Double as_double(std::string_view number) {
  double value = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (error == std::errc()) return {value, true};
  return {0, !is_too_large(number)};
}

// Numbers that cannot be larger than a double are not converted to see it.
bool may_be_too_large(const JsonWord& number) {
  constexpr std::ptrdiff_t kMostDigits = 300;
  if (number.end - number.begin > kMostDigits) return true;
  return !number.is_plain && !as_double(number.text()).is_finite;
}

void append_utf8(std::string& text, unsigned code) {
  const auto append = [&text](unsigned byte) { text.push_back(static_cast<char>(byte)); };
  if (code < 0x80) return append(code);
  if (code < 0x800) {
    append(0xC0 | code >> 6);
  } else {
    if (code < 0x10000) {
      append(0xE0 | code >> 12);
    } else {
      append(0xF0 | code >> 18);
      append(0x80 | (code >> 12 & 0x3F));
    }
    append(0x80 | (code >> 6 & 0x3F));
  }
  append(0x80 | (code & 0x3F));
}

unsigned hex_at(const char* at) {
  unsigned value = 0;
  std::from_chars(at, at + 4, value, 16);
  return value;
}

// Appends the character of an escape, which is sound. Returns its end.
const char* append_escaped(std::string& text, const char* at) {
  constexpr std::string_view kLetters = "bfnrt";
  constexpr std::string_view kMeanings = "\b\f\n\r\t";
  if (at[1] != 'u') {
    const std::size_t k = kLetters.find(at[1]);
    text.push_back(k == std::string_view::npos ? at[1] : kMeanings[k]);
    return at + 2;
  }
  const unsigned code = hex_at(at + 2);
  if (code < 0xD800 || code > 0xDFFF) {
    append_utf8(text, code);
    return at + 6;
  }
  append_utf8(text, 0x10000 + ((code & 0x3FF) << 10) + (hex_at(at + 8) & 0x3FF));
  return at + 12;
}

}  // namespace

void JsonText::skip_byte_order_mark() {
  if (*at_ != kByteOrderMark[0]) return;
  for (const char c : kByteOrderMark) {
    if (*at_ != c) unexpected(bad_word(at_, "invalid byte order mark"), "");
    ++at_;
  }
}

const char* JsonText::end_of_string(const char* at, bool& is_plain) {
  while (at != nullptr) {
    at = skip_plain(at, end_);
    const char c = *at;
    if (c == '"') return at + 1;
    if (c == '\\') {
      is_plain = false;
      at = skip_escape(at);
    } else if (static_cast<signed char>(c) < 0) {
      at = skip_utf8(at);
    } else if (at == end_) {
      return bad(at, "invalid string: no closing quote");
    } else {
      return bad(at, "invalid string: control characters must be escaped");
    }
  }
  return nullptr;
}

const char* JsonText::skip_escape(const char* at) {
  ++at;
  if (*at != 'u') {
    if (at == end_ || std::string_view("\"\\/bfnrt").find(*at) == std::string_view::npos)
      return bad(at, "invalid string: no escape begins so");
    return at + 1;
  }
  constexpr const char* kFirstAlone = "invalid string: first half of a surrogate pair alone";
  unsigned code = 0;
  at = skip_hex(at + 1, code);
  if (at == nullptr) return nullptr;
  if (code >= 0xDC00 && code <= 0xDFFF)
    return bad(at - 1, "invalid string: second half of a surrogate pair alone");
  if (code < 0xD800 || code > 0xDFFF) return at;
  for (const char c : {'\\', 'u'})
    if (*at++ != c) return bad(at - 1, kFirstAlone);
  at = skip_hex(at, code);
  if (at != nullptr && (code < 0xDC00 || code > 0xDFFF)) return bad(at - 1, kFirstAlone);
  return at;
}

const char* JsonText::skip_hex(const char* at, unsigned& value) {
  for (int k = 0; k < 4; ++k)
    if (std::isxdigit(static_cast<unsigned char>(at[k])) == 0)
      return bad(at + k, "invalid string: \\u needs four hexadecimal digits");
  value = hex_at(at);
  return at + 4;
}

// The shortest encoding of a character other than a surrogate.
const char* JsonText::skip_utf8(const char* at) {
  const auto in_range = [this](const char* byte, unsigned min, unsigned max) {
    const unsigned value = static_cast<unsigned char>(*byte);
    return byte != end_ && value >= min && value <= max;
  };
  constexpr const char* kWhat = "invalid string: no UTF-8";
  if (!in_range(at, 0xC2, 0xF4)) return bad(at, kWhat);
  const unsigned lead = static_cast<unsigned char>(*at);
  const int length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  const unsigned min = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned max = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (!in_range(at + 1, min, max)) return bad(at + 1, kWhat);
  for (int k = 2; k < length; ++k)
    if (!in_range(at + k, 0x80, 0xBF)) return bad(at + k, kWhat);
  return at + length;
}

JsonWord JsonText::literal(std::string_view text, JsonKind kind) {
  const char* const begin = at_;
  for (const char c : text) {
    if (*at_ != c) return bad_word(at_, "invalid literal");
    ++at_;
  }
  return {kind, true, begin, at_};
}

JsonWord JsonText::number() {
  const char* const begin = at_;
  const auto skip_digits = [this] {
    const char* const first = at_;
    while (is_digit(*at_)) ++at_;
    return at_ != first;
  };
  if (*at_ == '-') ++at_;
  if (*at_ == '0')
    ++at_;
  else if (!skip_digits())
    return bad_word(at_, "invalid number: no digit after the minus");
  bool is_whole = true;
  if (*at_ == '.') {
    is_whole = false;
    ++at_;
    if (!skip_digits()) return bad_word(at_, "invalid number: no digit after the point");
  }
  if (*at_ == 'e' || *at_ == 'E') {
    is_whole = false;
    ++at_;
    if (*at_ == '+' || *at_ == '-') ++at_;
    if (!skip_digits()) return bad_word(at_, "invalid number: no digit in the exponent");
  }
  return {JsonKind::kNumber, is_whole, begin, at_};
}

JsonWord JsonText::word() {
  const char c = peek();
  if (c == '"') return string_or_bad();
  if (c == '-' || is_digit(c)) return number();
  switch (c) {
    case 't':
      return literal("true", JsonKind::kTrue);
    case 'f':
      return literal("false", JsonKind::kFalse);
    case 'n':
      return literal("null", JsonKind::kNull);
    case '\0':
      if (at_ == end_) return {JsonKind::kEnd, true, at_, at_};
      break;
    default:
      break;
  }
  if (std::string_view("[]{}:,").find(c) == std::string_view::npos) return bad_word(at_, "invalid literal");
  ++at_;
  return {JsonKind::kPunctuation, true, at_ - 1, at_};
}

JsonWord JsonText::value() {
  const JsonWord word = this->word();
  if (!is_value(word)) unexpected(word, "'[', '{', or a literal");
  if (word.kind == JsonKind::kNumber && may_be_too_large(word))
    throw BadJson(start_of_word(offset_of(word.end) - 1),
                  "found a number too large, expected one of double precision");
  return word;
}

void JsonText::skip_object() {
  std::vector<bool> is_array{false};  // by depth
  bool at_start = true;               // of an object or an array
  while (!is_array.empty()) {
    const char close = is_array.back() ? ']' : '}';
    if (at_start ? accept(close) : !accept(',')) {
      if (!at_start) expect(close);
      is_array.pop_back();
      at_start = false;
      continue;
    }
    if (!is_array.back()) {
      key();
      expect(':');
    }
    const JsonWord word = value();
    at_start = word.kind == JsonKind::kPunctuation;
    if (at_start) is_array.push_back(opens(word, '['));
  }
}

void JsonText::expect_end() {
  const JsonWord word = this->word();
  if (word.kind != JsonKind::kEnd) unexpected(word, "end of input");
}

void JsonText::expected_byte(char c) { unexpected(word(), std::string("'") + c + "'"); }

void JsonText::expected_key() { unexpected(word(), "string literal"); }

const char* JsonText::bad(const char* at, const char* what) {
  bad_at_ = at;
  what_is_bad_ = what;
  return nullptr;
}

JsonWord JsonText::bad_word(const char* at, const char* what) {
  bad(at, what);
  return {JsonKind::kBad, false, at, at};
}

void JsonText::unexpected(const JsonWord& word, const std::string& expected) const {
  if (word.kind == JsonKind::kBad)
    throw BadJson(offset_of(bad_at_), std::string("found no JSON: ") + what_is_bad_);
  const std::size_t end = offset_of(word.end);
  throw BadJson(word.kind == JsonKind::kEnd ? end : start_of_word(end - 1),
                "found " + name_of(word) + ", expected " + expected);
}

std::size_t JsonText::start_of_word(std::size_t last) const {
  const char* at = begin_ + last;
  if (at == end_) return last;
  if (*at == '"') {
    while (at > begin_) {
      if (*--at != '"') continue;
      const char* before = at;
      while (before > begin_ && before[-1] == '\\') --before;
      if ((at - before) % 2 == 0) return offset_of(at);
    }
    return last;
  }
  if (in_word(*at))
    while (at > begin_ && in_word(at[-1])) --at;
  return offset_of(at);
}

std::size_t JsonText::last_of(const JsonWord& word) const {
  const bool goes_on = word.kind == JsonKind::kNumber && word.end != end_ && in_word(*word.end);
  return offset_of(word.end) - (goes_on ? 0 : 1);
}

std::string JsonText::value_of(const JsonWord& string) {
  const std::string_view inside = string.text().substr(1, string.text().size() - 2);
  if (string.is_plain) return std::string(inside);
  std::string value;
  for (const char* at = inside.data(); at != inside.data() + inside.size();) {
    if (*at == '\\')
      at = append_escaped(value, at);
    else
      value.push_back(*at++);
  }
  return value;
}

double JsonText::number_of(const JsonWord& number) { return as_double(number.text()).value; }

std::string canonical(const JsonWord& string) {
  if (string.is_plain) return std::string(string.text());
  constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  constexpr std::string_view kHex = "0123456789abcdef";
  std::string text = "\"";
  for (const char c : JsonText::value_of(string)) {
    if (const std::size_t k = kEscaped.find(c); k != std::string_view::npos)
      text.append({'\\', kLetters[k]});
    else if (const auto code = static_cast<unsigned char>(c); code < 0x20)
      text.append("\\u00").append({kHex[code >> 4], kHex[code & 15]});
    else
      text.push_back(c);
  }
  text.push_back('"');
  return text;
}

std::optional<std::string> canonical_integer(std::string_view digits) {
  const char* const end = digits.data() + digits.size();
  std::uint64_t magnitude = 0;
  std::int64_t negative = 0;
  if (digits.starts_with('-')) {
    if (std::from_chars(digits.data(), end, negative).ec != std::errc()) return std::nullopt;
    return std::to_string(negative);
  }
  if (std::from_chars(digits.data(), end, magnitude).ec != std::errc()) return std::nullopt;
  return std::to_string(magnitude);
}

std::optional<std::string> json_name(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const std::string copy(text);
  JsonText json(copy);
  const JsonWord word = json.word();
  if (word.kind == JsonKind::kBad || json.word().kind != JsonKind::kEnd) return std::nullopt;
  if (word.kind == JsonKind::kString) return canonical(word);
  if (word.kind == JsonKind::kNumber && word.is_plain) return canonical_integer(word.text());
  return std::nullopt;
}

}  // namespace quillon::formats
