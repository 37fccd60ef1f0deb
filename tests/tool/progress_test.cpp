#include "tools/cli/progress.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "tools/cli/console.h"

namespace quillon::tool_test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using tool::progress_line;

TEST(ProgressLine, ShowsShareBytesAndTime) {
  EXPECT_EQ(progress_line("reading x.hgr", 25000000, 100000000, 30, 100),
            "reading x.hgr   25%  [#####...............]  25.0 of 100.0 MB  1:30 left");
  EXPECT_EQ(progress_line("reading x.hgr", 0, 100000000, 30, 100),
            "reading x.hgr    0%  [....................]  0.0 of 100.0 MB");
  // A file may grow while it is read.
  EXPECT_EQ(progress_line("reading x.hgr", 2000000, 1000000, 3, 100),
            "reading x.hgr  100%  [####################]  2.0 of 1.0 MB  0:00 left");
  EXPECT_EQ(progress_line("reading standard input", 1234567, 0, 65, 100),
            "reading standard input  1.2 MB  1:05");
}

TEST(ProgressLine, FitsTheTerminal) {
  const std::string name = "reading a-very-long-name-of-a-file-in-a-deep-folder.hgr";
  for (int columns = 0; columns <= 150; ++columns) {
    const std::string line = progress_line(name, 1, 2, 1, columns);
    EXPECT_LE(static_cast<int>(line.size()), std::max(0, columns - 1)) << columns;
  }
  EXPECT_EQ(progress_line(name, 1, 2, 1, 40), "reading a-very-long-name-of-a-...   50%");
}

class Progress : public testing::Test {
 protected:
  void SetUp() override {
    int terminal = -1;
    int program = -1;
    if (openpty(&terminal, &program, nullptr, nullptr, nullptr) != 0) GTEST_SKIP() << "no pseudo-terminal";
    close(terminal);
    close(program);
  }
};

// The output of a program whose standard error is a terminal.
std::string on_terminal(void (*program)()) {
  int terminal = -1;
  winsize size{24, 100, 0, 0};
  std::fflush(nullptr);  // otherwise the child would write buffered text again
  const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    setenv("TERM", "xterm", 1);
    program();
    std::exit(0);
  }
  std::string text;
  char block[4096];
  for (ssize_t length = 0; (length = read(terminal, block, sizeof block)) > 0;)
    text.append(block, static_cast<std::size_t>(length));
  close(terminal);
  waitpid(child, nullptr, 0);
  return text;
}

// Never returns if nothing is drawn.
void wait_for_looks(const std::atomic<int>& looks, int count) {
  while (looks < count) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

TEST_F(Progress, DrawsOverItsOwnLineAndLeavesNothing) {
  const std::string text = on_terminal([] {
    std::atomic<int> looks = 0;
    {
      const tool::Progress progress(
          "reading x", 4000000, [&looks] { return ++looks > 1 ? 3000000U : 1000000U; },
          std::chrono::milliseconds(0));
      wait_for_looks(looks, 3);
    }
    std::fputs("done\n", stderr);
  });
  EXPECT_THAT(text, StartsWith("\r\x1b[Kreading x   25%  [#####...............]  1.0 of 4.0 MB"));
  EXPECT_THAT(text, HasSubstr("\r\x1b[Kreading x   75%  [###############.....]  3.0 of 4.0 MB"));
  EXPECT_THAT(text, EndsWith("\r\x1b[Kdone\r\n"));
}

TEST_F(Progress, LetsMessagesStandAboveIt) {
  const std::string text = on_terminal([] {
    std::atomic<int> looks = 0;
    const tool::Progress progress(
        "reading x", 0, [&looks] { return ++looks > 0 ? 5000000U : 0U; }, std::chrono::milliseconds(0));
    wait_for_looks(looks, 2);
    tool::print_warning("number 1");
    const int seen = looks;
    wait_for_looks(looks, seen + 2);
    tool::print_error("number 2");
  });
  EXPECT_THAT(text, HasSubstr("5.0 MB  0:00\r\x1b[Kquillon: warning: number 1\r\n\r\x1b[Kreading x  5.0 MB"));
  EXPECT_THAT(text, EndsWith("5.0 MB  0:00\r\x1b[Kquillon: error: number 2\r\n"));
}

TEST_F(Progress, IsNotSeenWhereReadingTakesNoTime) {
  EXPECT_EQ(on_terminal([] {
              const tool::Progress progress("reading x", 1, [] { return std::uint64_t{1}; });
              std::fputs("fast\n", stderr);
            }),
            "fast\r\n");
}

}  // namespace
}  // namespace quillon::tool_test
