#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/throwing.h"
#include "tests/util/variant.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::StrEq;

// A function, because compilers warn of an empty literal as a format.
const char* empty_text() { return ""; }

// Redirects standard output to standard error; it keeps its own buffer.
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

TEST(Uwarning, PrintsPercentSignsOfAnArgumentAsText) {
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

// Receives warnings and output in place of the streams.
class Texts {
 public:
  Texts() : warning_(set_warning_handler(add)), output_(set_output_handler(add)) { seen.clear(); }
  ~Texts() {
    set_warning_handler(warning_);
    set_output_handler(output_);
  }
  Texts(const Texts&) = delete;
  Texts& operator=(const Texts&) = delete;

  static inline std::vector<std::string> seen;

 private:
  static void add(const char* text) { seen.emplace_back(text); }

  TextHandler warning_;
  TextHandler output_;
};

void ignore(const char* /*text*/) {}
void print(const char* text) { std::fprintf(stderr, "[%s]", text); }

using Setter = TextHandler (*)(TextHandler);
class SetHandler : public testing::TestWithParam<Setter> {};

TEST_P(SetHandler, ReturnsThePreviousHandler) {
  const Setter set = GetParam();
  EXPECT_EQ(set(ignore), nullptr);
  EXPECT_EQ(set(print), ignore);
  EXPECT_EQ(set(set(ignore)), ignore);
  EXPECT_EQ(set(nullptr), print);
  EXPECT_EQ(set(nullptr), nullptr);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, SetHandler,
                         testing::Values(set_fatal_handler, set_warning_handler, set_output_handler));

TEST(FatalHandlers, ReceiveTheTextAsFormatted) {
  EXPECT_EQ(fatal_text([] { errexit("net %d is %s", 7, "empty"); }), "net 7 is empty");
  EXPECT_EQ(fatal_text([] { errexit("100%%\n"); }), "100%\n");
  EXPECT_EQ(fatal_text([] { errexit(empty_text(), 0); }), "");
}

TEST(FatalHandlers, ReceiveTextsOfEveryLength) {
  for (const std::size_t length : {4094U, 4095U, 4096U, 4097U, 17'000'000U}) {
    const std::string text(length, 'x');
    EXPECT_TRUE(fatal_text([&] { errexit("%s!", text.c_str()); }) == text + "!") << length;
  }
}

TEST(FatalHandlers, LeaveTheStreamsAlone) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  fatal_text([] { errexit("net 7"); });
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(FatalHandlersDeathTest, ThatReturnAreAnsweredByTheDefault) {
  set_fatal_handler(print);
  EXPECT_EXIT(errexit("net %d", 7), ExitedWithCode(1), StrEq("[net 7]quillon: error: net 7\n"));
  set_fatal_handler(nullptr);
}

TEST(FatalHandlersDeathTest, NullRestoresTheDefault) {
  set_fatal_handler(print);
  set_fatal_handler(nullptr);
  EXPECT_EXIT(errexit("net %d", 7), ExitedWithCode(1), StrEq("quillon: error: net 7\n"));
}

TEST(FatalHandlersDeathTest, ThatFailThemselvesGetTheDefault) {
  set_fatal_handler([](const char* message) { errexit("while reporting \"%s\"", message); });
  EXPECT_EXIT(errexit("net %d", 7), ExitedWithCode(1), StrEq("quillon: error: while reporting \"net 7\"\n"));
  set_fatal_handler(nullptr);
}

// Leaves a process no address space to allocate.
void end_all_memory() {
  const rlimit none{0, 0};
  if (setrlimit(RLIMIT_AS, &none) != 0) std::exit(2);
}

TEST(FatalHandlersDeathTest, ReceiveTheBeginningOfALongTextWhenThereIsNoMemory) {
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer ends the program itself";
  const std::string text(100'000'000, 'x');
  set_fatal_handler([](const char* message) {
    std::exit(std::strlen(message) == 4095 && std::strspn(message, "x") == 4095 ? 0 : 3);
  });
  EXPECT_EXIT((end_all_memory(), errexit("%s", text.c_str())), ExitedWithCode(0), StrEq(""));
  set_fatal_handler(nullptr);
}

TEST(OutputHandlersDeathTest, ReceiveTheBeginningOfALongTextWhenThereIsNoMemory) {
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer ends the program itself";
  const std::string text(100'000'000, 'x');
  set_output_handler([](const char* piece) { std::fprintf(stderr, "%zu", std::strlen(piece)); });
  EXPECT_EXIT((end_all_memory(), std::exit(uprintf("%s", text.c_str()) < 0 ? 0 : 3)), ExitedWithCode(0),
              StrEq("4095"));
  set_output_handler(nullptr);
}

TEST(TextHandlers, ReceiveWarningsAndOutputAsFormatted) {
  const std::string large(100'000, 'x');
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  std::vector<int> written;
  {
    const Texts texts;
    uwarning("cell %d", 3);
    uwarning("cell %d\n", 4);
    written = {uprintf("%d cells, ", 5), uprintf("%s", ""), uprintf("%s\n", large.c_str())};
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(Texts::seen, ElementsAre("cell 3", "cell 4\n", "5 cells, ", "", large + "\n"));
  EXPECT_THAT(written, ElementsAre(9, 0, 100'001));
}

TEST(TextHandlers, MayThrowAndStaySet) {
  const auto previous = set_warning_handler([](const char* text) { throw FatalError(text); });
  EXPECT_THROW(uwarning("cell %d", 3), FatalError);
  EXPECT_THROW(uwarning("cell %d", 4), FatalError);
  set_warning_handler(previous);
}

TEST(TextHandlers, MayReportAFatalError) {
  const auto previous = set_warning_handler([](const char* text) { errexit("%s is an error", text); });
  EXPECT_EQ(fatal_text([] { uwarning("cell %d", 3); }), "cell 3 is an error");
  set_warning_handler(previous);
}

TEST(TextHandlers, MayUseTheDefault) {
  const auto previous = set_output_handler([](const char* text) { uprintf("(%s)", text); });
  testing::internal::CaptureStdout();
  uprintf("text");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "(text)");
  set_output_handler(previous);
}

}  // namespace
}  // namespace quillon
