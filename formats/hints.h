#pragma once
/// @file
/// Hints and remarks of readers that the user of a program follows by an option or an argument of it.
/// Internal to `formats/` and the programs of this project.

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

namespace quillon::formats {

inline constexpr char kMayBeMetis[] = "is this a METIS graph?";
inline constexpr char kLikeMetis[] = "line j names i whenever line i names j, as in a METIS graph";
inline constexpr char kNameTheFormat[] = "name the format";
inline constexpr char kManyParts[] = "are there more parts than cells?";
inline constexpr char kPartsFrom1[] = "do the parts count from 1?";

/// How a program lets its user follow a hint.
struct Advice {
  std::string_view hint;
  std::string_view words;  ///< To follow those of the hint.
};

/// The text, followed by the advice on it if there is any.
inline std::string advised(std::string_view text, std::span<const Advice> advice) {
  const auto found = std::find_if(advice.begin(), advice.end(),
                                  [text](const Advice& candidate) { return candidate.hint == text; });
  return std::string(text).append(found == advice.end() ? std::string_view() : found->words);
}

}  // namespace quillon::formats
