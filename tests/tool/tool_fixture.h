#pragma once
// What tests of commands that write files share.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/tool/run_tool.h"

namespace quillon::tool_test {

class WritingTool : public testing::Test {
 protected:
  /// Everything in the folder, a name a line.
  [[nodiscard]] std::string folder() const { return place_.run("ls -A").out; }
  [[nodiscard]] std::string contents(const std::string& file) const { return place_.run("cat " + file).out; }

  void succeed(const std::string& command) const {
    const Outcome outcome = place_.run(command);
    EXPECT_EQ(outcome.status, 0) << command;
    EXPECT_EQ(outcome.err, "") << command;
  }

  /// Runs what is to fail with the given files there, which have to stay as they are, and gives the messages.
  [[nodiscard]] std::string failure(const std::string& command,
                                    const std::map<std::string, std::string>& files) const {
    for (const auto& [name, text] : files) place_.write(name, text);
    const std::string before = folder();
    const Outcome outcome = place_.run(command);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(folder(), before);
    for (const auto& [name, text] : files) EXPECT_EQ(contents(name), text);
    return outcome.err;
  }

  Workplace place_;
};

}  // namespace quillon::tool_test
