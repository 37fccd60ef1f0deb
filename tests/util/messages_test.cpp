#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "util/util.h"

namespace quillon {
namespace {

using testing::ExitedWithCode;
using testing::StrEq;

// The compiler warns of a literal that is empty.
const char* empty_text() { return ""; }

// From here on standard output ends where standard error does, still with a buffer of its own.
void send_standard_output_to_standard_error() {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  std::setvbuf(stdout, nullptr, _IOFBF, 4096);
}

void print_then_fail() {
  send_standard_output_to_standard_error();
  uprintf("%d cells, ", 3);
  std::fputs("written directly, ", stdout);
  errexit("net %d is empty", 7);
}

void print_then_warn() {
  send_standard_output_to_standard_error();
  uprintf("late ");
  uwarning("net %d is empty", 7);
  std::exit(0);
}

void print_to_a_full_disk() {
  if (std::freopen("/dev/full", "w", stdout) == nullptr) std::exit(2);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  std::exit(uprintf("text") < 0 ? 0 : 3);
}

std::string warning_of(int cell, const char* text) {
  testing::internal::CaptureStderr();
  uwarning("cell %d: %s", cell, text);
  return testing::internal::GetCapturedStderr();
}

TEST(Errexit, WritesOneLineAndExitsWithStatus1) {
  EXPECT_EXIT(errexit("cell %d of \"%s\" is %5.2f%%", 12, "a b", 0.5), ExitedWithCode(1),
              StrEq("quillon: error: cell 12 of \"a b\" is  0.50%\n"));
}

TEST(Errexit, DoesNotDoubleALineEndOfTheFormat) {
  EXPECT_EXIT(errexit("no net\n"), ExitedWithCode(1), StrEq("quillon: error: no net\n"));
}

TEST(Errexit, KeepsLineEndsInsideTheText) {
  EXPECT_EXIT(errexit("first\nsecond"), ExitedWithCode(1), StrEq("quillon: error: first\nsecond\n"));
}

TEST(Errexit, EndsTheLineOfAnEmptyText) {
  EXPECT_EXIT(errexit(empty_text(), 0), ExitedWithCode(1), StrEq("quillon: error: \n"));
}

TEST(Errexit, WritesWhatWasPrintedBeforeIt) {
  EXPECT_EXIT(print_then_fail(), ExitedWithCode(1),
              StrEq("3 cells, written directly, quillon: error: net 7 is empty\n"));
}

TEST(Errexit, WritesNothingToStandardOutput) {
  testing::internal::CaptureStdout();
  EXPECT_EXIT(errexit("no net"), ExitedWithCode(1), StrEq("quillon: error: no net\n"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Errexit, WritesALongTextWhole) {
  const std::string text(100'000, 'x');
  EXPECT_EXIT(errexit("%s!", text.c_str()), ExitedWithCode(1), StrEq("quillon: error: " + text + "!\n"));
}

TEST(Uwarning, WritesOneLineAndReturns) {
  EXPECT_EQ(warning_of(3, "no pins"), "quillon: warning: cell 3: no pins\n");
}

TEST(Uwarning, DoesNotDoubleALineEndOfTheFormat) {
  testing::internal::CaptureStderr();
  uwarning("no net %d\n", 4);
  uwarning("no cell");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "quillon: warning: no net 4\nquillon: warning: no cell\n");
}

TEST(Uwarning, TakesPercentSignsOfAnArgumentAsText) {
  EXPECT_EQ(warning_of(3, "100%d"), "quillon: warning: cell 3: 100%d\n");
}

TEST(Uwarning, EndsTheLineOfAnEmptyText) {
  testing::internal::CaptureStderr();
  uwarning(empty_text(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "quillon: warning: \n");
}

TEST(Uwarning, WritesNothingToStandardOutput) {
  testing::internal::CaptureStdout();
  warning_of(3, "no pins");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Uwarning, LeavesStandardOutputWaiting) {
  EXPECT_EXIT(print_then_warn(), ExitedWithCode(0), StrEq("quillon: warning: net 7 is empty\nlate "));
}

TEST(Uprintf, AddsNothingToTheText) {
  testing::internal::CaptureStdout();
  uprintf("%d", 5);
  uprintf("%s|\n", "a%d");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "5a%d|\n");
}

TEST(Uprintf, ReturnsTheNumberOfBytes) {
  testing::internal::CaptureStdout();
  const int written = uprintf("%d cells\n", 12);
  const int none = uprintf("%s", "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "12 cells\n");
  EXPECT_EQ(written, 9);
  EXPECT_EQ(none, 0);
}

TEST(Uprintf, WritesNothingToStandardError) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  uprintf("text");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "text");
}

TEST(Uprintf, ReturnsANegativeNumberAfterAFailure) {
  if (access("/dev/full", W_OK) != 0) GTEST_SKIP() << "the system has no device that is always full";
  EXPECT_EXIT(print_to_a_full_disk(), ExitedWithCode(0), StrEq(""));
}

}  // namespace
}  // namespace quillon
