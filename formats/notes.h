#pragma once
/// @file
/// Counts in the words of messages.

#include <cstdint>
#include <string>
#include <vector>

namespace quillon::formats {

/// "3 nets" or "1 net".
inline std::string counted(std::int64_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// Counts names that differ from the numbers of their items.
inline std::int64_t count_names(const std::vector<std::string>& names) {
  std::int64_t count = 0;
  for (std::size_t k = 1; k < names.size(); ++k) count += names[k] != std::to_string(k) ? 1 : 0;
  return count;
}

/// Adds "3 weights of 0", made of the count, what it counts and more, unless the count is 0.
inline void note(std::vector<std::string>& notes, std::int64_t count, const std::string& what,
                 const std::string& more = {}) {
  if (count > 0) notes.push_back(counted(count, what) + more);
}

}  // namespace quillon::formats
