#pragma once
// What the user may have meant.

#include <string>
#include <string_view>
#include <vector>

namespace quillon::tool {

/// By how many letters to insert, drop, replace or swap with their neighbour two words differ.
int edit_distance(std::string_view a, std::string_view b);

/// The candidate that is nearest to a word, the first of several; none if a third of the longer word would
/// have to change. A word that a candidate begins with is near, too.
std::string nearest(std::string_view word, const std::vector<std::string>& candidates);

/// "; did you mean 'X'?", or nothing.
std::string did_you_mean(std::string_view word, const std::vector<std::string>& candidates);

}  // namespace quillon::tool
