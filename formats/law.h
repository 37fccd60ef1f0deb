#pragma once
/// @file
/// Distributions of whole numbers, for generated hypergraphs.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility push(default)
#endif

namespace quillon::formats {

class Draws;

/// Thrown for a law or a generator that cannot exist; the text says why.
class BadRecipe : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
  ~BadRecipe() override;
};

/// A distribution of whole numbers from 0.
class Law {
 public:
  /// The same chance for each value.
  ///
  /// @param first, last  Smallest and largest value.
  Law(int first, int last);

  /// Parses a law:
  ///
  /// | text | meaning |
  /// |---|---|
  /// | `5` | always 5 |
  /// | `2..14` | from 2 to 14, each with the same chance |
  /// | `power:2.3:2..1000` | from 2 to 1000, the chance of k in proportion to k to the power of -2.3 |
  /// | `2=60,3..9=40` | chances in proportion to 60 and 40; those of a range share theirs evenly |
  ///
  /// @param text       Exponents have up to three decimals.
  /// @throws BadRecipe if it has none of these forms.
  static Law parse(const std::string& text);

  /// Makes a law of values from 0 whose chances grow by the same factor from one to the next.
  ///
  /// @param nvalues      Number of values, 1 to 32.
  /// @param thousandths  Logarithm of the factor to base 2, from 0 to 1000.
  static Law growing(int nvalues, int thousandths);

  [[nodiscard]] int min() const { return steps_.front().first; }
  [[nodiscard]] int max() const;

  /// @param draws  Advances by one number, or two for a list that contains a range; not for a single value.
  /// @return       A random value.
  int draw(Draws& draws) const;

  /// Divides items among the values without chance: up to each value as many as are due to it, rounded.
  ///
  /// @param nitems     Number of items.
  /// @return           Values in increasing order, each with its number of items, none of which is 0.
  /// @throws BadRecipe if there are more than 4194304 values.
  [[nodiscard]] std::vector<std::pair<int, int>> shares(int nitems) const;

 private:
  struct Step {
    int first;  // values first .. first + count - 1, with equal chances
    int count;
    std::uint64_t end;  // sum of the chances up to this step
  };

  Law() = default;
  void add(int first, int last, std::uint64_t chance);
  static Law power(const std::string& text);
  static Law list(const std::string& text);

  std::vector<Step> steps_;  // in increasing order of values
};

/// Parses a decimal number with up to three decimals.
///
/// @param text       Such as "2.3".
/// @param what       Names the number in errors.
/// @return           In thousandths.
/// @throws BadRecipe if it is no such number from 0 to 1000.
int parse_thousandths(const std::string& text, const std::string& what);

}  // namespace quillon::formats

#ifdef QUILLON_SHARED_BUILD
#pragma GCC visibility pop
#endif
