#pragma once
// Help on topics, and the parts of it that come from the table of formats.

#include <string>
#include <vector>

namespace quillon::tool {

/// Something that `quillon help` explains, beside the commands.
struct Topic {
  std::string name;
  std::string summary;
  std::string text;
};

std::vector<Topic> all_topics();

/// A line for each format: name, suffixes, summary.
std::string format_lines();

/// A line for each name: the name, padded, and what it is.
std::string lines_of(const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace quillon::tool
