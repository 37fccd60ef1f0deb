#pragma once
/// @file
/// Words of a JSON text. Internal to `formats/`.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "hypergraph/detail/scan.h"

namespace quillon::formats {

/// What is wrong with a text that is no JSON.
class BadJson : public std::runtime_error {
 public:
  /// @param place    Offset in the text.
  /// @param message  Without a place.
  BadJson(std::size_t place, const std::string& message) : runtime_error(message), place_(place) {}

  [[nodiscard]] std::size_t place() const { return place_; }

 private:
  std::size_t place_;
};

enum class JsonKind : unsigned char {
  kEnd,  ///< Of the text.
  kPunctuation,
  kString,
  kNumber,
  kTrue,
  kFalse,
  kNull,
  kBad,  ///< Text that is no word.
};

/// A word of a JSON text.
struct JsonWord {
  JsonKind kind;
  bool is_plain;  ///< A string without escapes; a number without fraction and exponent.
  const char* begin;
  const char* end;  ///< After the last byte.

  /// The bytes of the word, of a string with its quotes.
  [[nodiscard]] std::string_view text() const { return {begin, static_cast<std::size_t>(end - begin)}; }
};

/// Reads a JSON text word by word, in the order that the grammar (RFC 8259) allows: the caller knows which
/// word can come next. All functions but `word` throw BadJson where the text breaks the grammar.
class JsonText {
 public:
  /// @param text  Followed by a byte of value 0, as in a std::string.
  explicit JsonText(std::string_view text)
      : begin_(text.data()), end_(text.data() + text.size()), at_(text.data()) {}

  /// Skips a byte order mark at the start of the text.
  void skip_byte_order_mark();

  /// @return  Where the next byte is that is not white space.
  const char* skip_blanks() {
    while (is_blank(*at_)) ++at_;
    return at_;
  }

  /// @return  That byte, 0 at the end of the text.
  char peek() { return *skip_blanks(); }

  /// Moves past a byte of punctuation if it comes next.
  bool accept(char c) {
    if (peek() != c) return false;
    ++at_;
    return true;
  }

  /// Moves past some text if it comes next, without blanks before it.
  bool accept_exactly(std::string_view text) {
    if (static_cast<std::size_t>(end_ - at_) < text.size() || std::memcmp(at_, text.data(), text.size()) != 0)
      return false;
    at_ += text.size();
    return true;
  }

  /// Moves past a byte of punctuation.
  void expect(char c) {
    if (!accept(c)) expected_byte(c);
  }

  /// Reads a string that is the key of an object, up to the colon.
  JsonWord key() {
    if (peek() != '"') expected_key();
    return string();
  }

  /// Reads a string; its quote comes next.
  JsonWord string() {
    const JsonWord word = string_or_bad();
    if (word.kind == JsonKind::kBad) unexpected(word, "");
    return word;
  }

  /// Reads an integer from 0 that has at most 18 digits.
  ///
  /// @param value  Out.
  /// @return       False if something else comes next; the text stays there.
  bool short_integer(std::uint64_t& value) {
    constexpr int kMostDigits = 18;
    if (*at_ == '0' && is_digit(at_[1])) return false;
    const char* at = at_;
    value = 0;
    if (end_ - at >= 8) at += leading_digits(at, value);
    for (; is_digit(*at); ++at) value = 10 * value + static_cast<std::uint64_t>(*at - '0');
    if (at == at_ || at - at_ > kMostDigits || *at == '.' || *at == 'e' || *at == 'E') return false;
    at_ = at;
    return true;
  }

  /// Reads the next word of any kind. After one of `kBad` nothing else can be read.
  JsonWord word();

  /// Reads the next value. Of an object or an array, only the bracket that opens it.
  JsonWord value();

  /// Reads on from a place that has been read before.
  void go_back_to(const char* at) { at_ = at; }

  /// Skips the rest of an object, to any depth. One that holds itself to a depth of n needs n bits.
  void skip_object();

  /// Checks that nothing follows.
  void expect_end();

  /// The value of a string.
  static std::string value_of(const JsonWord& string);

  /// The value of a number as the nearest double; it is none of those that are too large for one.
  static double number_of(const JsonWord& number);

  /// First byte of the string, number or literal that ends with the byte at `last`; `last` for other text.
  [[nodiscard]] std::size_t start_of_word(std::size_t last) const;

  /// Last byte that messages show of a word.
  [[nodiscard]] std::size_t last_of(const JsonWord& word) const;

  [[nodiscard]] std::size_t offset_of(const char* at) const { return static_cast<std::size_t>(at - begin_); }
  [[nodiscard]] std::size_t offset() const { return offset_of(at_); }

 private:
  static bool is_blank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

  // Value and number of the digits that eight bytes begin with, all at once.
  static int leading_digits(const char* at, std::uint64_t& value) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
    bytes ^= 0x3030303030303030U;  // digits become 0 to 9, other bytes more
    const std::uint64_t others = ((bytes + 0x0606060606060606U) | bytes) & 0xF0F0F0F0F0F0F0F0U;
    const int ndigits = std::countr_zero(others) / 8;
    if (ndigits == 0) return 0;
    bytes <<= 64 - 8 * ndigits;  // zeros first
    bytes = (bytes * 10 + (bytes >> 8)) & 0x00FF00FF00FF00FFU;
    bytes = (bytes * 100 + (bytes >> 16)) & 0x0000FFFF0000FFFFU;
    value = (bytes * 10000 + (bytes >> 32)) & 0xFFFFFFFFU;
    return ndigits;
  }

  // The end of what is skipped. Null after `bad`.
  const char* end_of_string(const char* at, bool& is_plain);
  const char* skip_escape(const char* at);
  const char* skip_hex(const char* at, unsigned& value);
  const char* skip_utf8(const char* at);
  JsonWord string_or_bad() {
    const char* const begin = at_;
    bool is_plain = true;
    const char* const end = end_of_string(begin + 1, is_plain);
    if (end == nullptr) return {JsonKind::kBad, false, begin, begin};
    at_ = end;
    return {JsonKind::kString, is_plain, begin, end};
  }
  JsonWord number();
  JsonWord literal(std::string_view text, JsonKind kind);
  [[noreturn]] void expected_byte(char c);
  [[noreturn]] void expected_key();
  [[noreturn]] void unexpected(const JsonWord& word, const std::string& expected) const;
  const char* bad(const char* at, const char* what);  // returns null
  JsonWord bad_word(const char* at, const char* what);

  const char* begin_;
  const char* end_;
  const char* at_;
  const char* bad_at_ = nullptr;  // of the last `kBad`
  const char* what_is_bad_ = nullptr;
};

/// The canonical text of a string with its quotes: with no more escapes than needed.
std::string canonical(const JsonWord& string);

/// The canonical text of an integer; none if it needs more than 64 bits, with its sign or without.
std::optional<std::string> canonical_integer(std::string_view digits);

}  // namespace quillon::formats
