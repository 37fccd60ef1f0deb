#include "formats/item_names.h"

#include <charconv>
#include <numeric>

#include "hypergraph/detail/scan.h"

namespace quillon::formats {

int ItemNames::add(int origin) {
  origins_.push_back(origin);
  return size();
}

// Of a text that may have just been added.
int ItemNames::number_of_text(int text_number) {
  if (by_integer_.empty()) return text_number <= size() ? text_number : add(-text_number);
  const auto k = static_cast<std::size_t>(text_number) - 1;
  if (k == numbers_of_texts_.size()) numbers_of_texts_.push_back(add(-text_number));
  return numbers_of_texts_[k];
}

void ItemNames::numbers_of(std::span<const std::string_view> texts, int* numbers) {
  texts_.numbers_of(texts, numbers);
  for (std::size_t k = 0; k < texts.size(); ++k) numbers[k] = number_of_text(numbers[k]);
}

// Of an integer that the index does not know.
int ItemNames::number_of_new(std::uint64_t integer) {
  const std::string text = std::to_string(integer);
  if (!is_indexed(integer)) return number_of_text(texts_.number_of(text));
  if (by_integer_.empty()) {
    numbers_of_texts_.resize(origins_.size());
    std::iota(numbers_of_texts_.begin(), numbers_of_texts_.end(), 1);
  }
  if (integer >= by_integer_.size())
    by_integer_.resize(std::max<std::size_t>(integer + 1, 2 * by_integer_.size()));
  // It is among the texts if it came when the index was shorter.
  const int known = texts_.size() == 0 ? 0 : texts_.find(text);
  return by_integer_[integer] = known == 0 ? add(static_cast<int>(integer)) : number_of_text(known);
}

std::string ItemNames::text_of(int number) const {
  const int origin = origins_[static_cast<std::size_t>(number) - 1];
  return origin >= 0 ? std::to_string(origin) : std::string(texts_.name_of(-origin));
}

bool ItemNames::spells_other(int number) const {
  const int origin = origins_[static_cast<std::size_t>(number) - 1];
  if (origin >= 0) return false;
  const std::string_view text = texts_.name_of(-origin);
  return text.front() == '"' && knows_integer(text.substr(1, text.size() - 2));
}

// Of any text. Integers are among the texts if they are not indexed.
bool ItemNames::knows_integer(std::string_view digits) const {
  if (digits.empty() || (digits.front() != '-' && !is_digit(digits.front()))) return false;
  std::uint64_t integer = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, integer);
  const bool is_canonical =
      error == std::errc() && stopped == end && (digits.front() != '0' || digits == "0");
  if (is_canonical && integer < by_integer_.size() && by_integer_[integer] != 0) return true;
  return texts_.find(digits) != 0;
}

}  // namespace quillon::formats
