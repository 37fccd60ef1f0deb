#pragma once
// Files that appear whole or not at all: written without a name where the system has such files and beside
// their targets elsewhere, and renamed when every one of them is done.

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace quillon::tool {

struct StagedFile {
  std::string written;          // what `write` made
  std::string target;           // as the user named it
  std::string place;            // where a regular file lies or is to lie, behind links
  std::FILE* passed = nullptr;  // for what is no regular file: holds the bytes that are to be passed on
  int unnamed = -1;             // descriptor of a file that gets its first name when it is published
};

struct Outputs {
  std::vector<StagedFile> staged;
};

/// Has `write` make the file that is to become `target`, or what is to go to standard output for - and
/// /dev/stdout. A target named twice is an error. When the program ends before `publish`, what was staged is
/// removed.
void stage(Outputs& outputs, const std::string& target,
           const std::function<void(const char* filename)>& write);

/// Puts every staged file in its target's place, with the permissions of the file that was there. Standard
/// output, pipes and devices come first, and get the bytes.
void publish(const Outputs& outputs);

/// Ends the program if `target` is one of the files that are to be read.
void refuse_to_replace(const std::vector<std::string>& inputs, const std::string& target);

/// Whether what is written to a target goes to standard output.
bool is_standard_output(const std::string& target);

/// What messages call an output.
std::string shown_target(const std::string& target);

}  // namespace quillon::tool
