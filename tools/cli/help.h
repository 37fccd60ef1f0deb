#pragma once
// Help on topics, and on formats.

#include <string>
#include <utility>
#include <vector>

#include "formats/format.h"

namespace quillon::tool {

/// A topic of `quillon help`, other than a command.
struct Topic {
  std::string name;
  std::string summary;
  std::string text;
};

std::vector<Topic> all_topics();

/// The options of `convert` that a format has, as "--model".
std::vector<std::string> options_for(const formats::Format& format);

/// A line for each name: the name, padded, and its description.
std::string lines_of(const std::vector<std::pair<std::string, std::string>>& entries);

}  // namespace quillon::tool
