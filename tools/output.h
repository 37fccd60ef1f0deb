#pragma once
// Files that appear whole or not at all: written beside their targets, and renamed when every one of them is
// done.

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quillon::tool {

struct Outputs {
  std::vector<std::pair<std::string, std::string>> staged;  // the file written, the target it is for
};

/// Has `write` make the file that is to become `target`. A target that is there and not a regular file, such
/// as a pipe, is written at once. A target named twice is an error. When the program ends before `publish`,
/// what was staged is removed.
void stage(Outputs& outputs, const std::string& target,
           const std::function<void(const char* filename)>& write);

/// Puts every staged file in its target's place, with the permissions of the file that was there.
void publish(Outputs& outputs);

}  // namespace quillon::tool
