#pragma once
// Where `uprintf` goes.

#include "util/util.h"

namespace quillon::tool {

/// Redirects `uprintf` for as long as it lives.
class DivertedOutput {
 public:
  explicit DivertedOutput(TextHandler to) : previous_(set_output_handler(to)) {}
  ~DivertedOutput() { set_output_handler(previous_); }
  DivertedOutput(const DivertedOutput&) = delete;
  DivertedOutput& operator=(const DivertedOutput&) = delete;

 private:
  TextHandler previous_;
};

}  // namespace quillon::tool
