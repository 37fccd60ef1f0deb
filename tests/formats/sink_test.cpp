// Output files are published completely or not at all.

#include "formats/sink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <thread>

#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/resources.h"
#include "tests/support/throwing.h"
#include "util/util.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

void write_text(const char* filename, const char* text) {
  std::FILE* const file = ufopen(filename, "w", "sink_test");
  std::fputs(text, file);
  ufclose(file);
}

auto writer_of(const char* text) {
  return [text](const char* filename) { write_text(filename, text); };
}

// The message of NotWritten and, after a line end, of its nested exception.
template <typename Call>
std::string not_written(Call call) {
  try {
    call();
  } catch (const NotWritten& error) {
    try {
      std::rethrow_if_nested(error);
    } catch (const std::exception& cause) {
      return std::string(error.what()) + "\n" + cause.what();
    }
    return error.what();
  }
  return "(written)";
}

TEST(Outputs, AppearWhenTheyArePublished) {
  const TempFolder folder;
  Outputs outputs;
  outputs.write(folder.at("a"), writer_of("1\n"));
  outputs.write(folder.at("b"), writer_of(""));
  EXPECT_THAT(folder.names(), ElementsAre());
  outputs.publish();
  EXPECT_THAT(folder.names(), ElementsAre("a", "b"));
  EXPECT_EQ(folder.contents("a"), "1\n");
  EXPECT_EQ(folder.contents("b"), "");
}

TEST(Outputs, LeaveNothingUnlessPublished) {
  const TempFolder folder;
  (void)folder.write("old", "old\n");
  const int before = open_descriptors();
  {
    Outputs outputs;
    outputs.write(folder.at("new"), writer_of("1\n"));
    outputs.write(folder.at("old"), writer_of("2\n"));
  }
  EXPECT_THAT(folder.names(), ElementsAre("old"));
  EXPECT_EQ(folder.contents("old"), "old\n");
  EXPECT_EQ(open_descriptors(), before);
}

struct Odd {};

TEST(Outputs, LeaveNothingWhenAnExceptionPasses) {
  const TempFolder folder;
  const int before = open_descriptors();
  try {
    Outputs outputs;
    outputs.write(folder.at("a"), writer_of("1\n"));
    outputs.write(folder.at("b"), [](const char* filename) {
      write_text(filename, "half");
      throw Odd();
    });
    FAIL() << "nothing thrown";
  } catch (const NotWritten& error) {
    EXPECT_THROW(std::rethrow_if_nested(error), Odd);
  }
  EXPECT_THAT(folder.names(), ElementsAre());
  EXPECT_EQ(open_descriptors(), before);
}

TEST(Outputs, AreNotPublishedAfterTheyFailedToBeWritten) {
  const TempFolder folder;
  (void)folder.write("b", "old\n");
  Outputs outputs;
  outputs.write(folder.at("a"), writer_of("1\n"));
  const auto fail = [&] {
    outputs.write(folder.at("b"), [](const char* filename) {
      write_text(filename, "half");
      throw std::runtime_error("no more");
    });
  };
  EXPECT_EQ(not_written(fail), "cannot write '" + folder.at("b") + "'\nno more");
  outputs.publish();
  EXPECT_THAT(folder.names(), ElementsAre("a", "b"));
  EXPECT_EQ(folder.contents("b"), "old\n");
}

TEST(Outputs, NameTheTargetAndTheCauseOfAFatalError) {
  const TempFolder folder;
  const ThrowingHandler throwing;
  Outputs outputs;
  EXPECT_EQ(not_written(
                [&] { outputs.write(folder.at("a"), [](const char* /*filename*/) { errexit("no kub"); }); }),
            "cannot write '" + folder.at("a") + "'\nno kub");
  EXPECT_EQ(
      not_written([&] {
        outputs.write("-", [](const char* /*filename*/) { throw BadFile({"a-b", {}, "f", 0, 0, "m", ""}); });
      }),
      "cannot write standard output\nerror: m");
}

TEST(Outputs, RefuseATargetNamedTwice) {
  const TempFolder folder;
  std::filesystem::create_directory(folder.at("d"));
  std::filesystem::create_symlink(folder.at("a"), folder.at("link"));
  for (const std::string& other :
       {folder.at("a"), folder.at("d/../a"), folder.at("./a"), folder.at("link")}) {
    Outputs outputs;
    outputs.write(folder.at("a"), writer_of("1\n"));
    EXPECT_EQ(fatal_text([&] { outputs.write(other, writer_of("2\n")); }),
              "'" + other + "' is named for two outputs");
    outputs.write(folder.at("b"), writer_of("3\n"));
  }
  Outputs outputs;
  outputs.write("-", [](const char* /*filename*/) {});
  EXPECT_EQ(fatal_text([&] { outputs.write("-", [](const char* /*filename*/) {}); }),
            "standard output is named for two outputs");
  EXPECT_THAT(folder.names(), ElementsAre("d", "link"));
}

TEST(Outputs, KeepThePermissionsOfTheFileTheyReplace) {
  const TempFolder folder;
  const std::string name = folder.write("a", "old");
  ASSERT_EQ(chmod(name.c_str(), 0640), 0);
  Outputs outputs;
  outputs.write(name, writer_of("1\n"));
  const mode_t mask = umask(027);
  outputs.write(folder.at("new"), writer_of("2\n"));
  umask(mask);
  outputs.publish();
  struct stat status {};
  ASSERT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_EQ(folder.contents("a"), "1\n");
  ASSERT_EQ(stat(folder.at("new").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);  // 0666 without the bits of the mask
}

TEST(Outputs, FollowLinks) {
  const TempFolder folder;
  (void)folder.write("file", "old");
  std::filesystem::create_symlink("file", folder.at("link"));
  std::filesystem::create_symlink("link", folder.at("chain"));
  std::filesystem::create_symlink("none", folder.at("dangling"));
  std::filesystem::create_symlink("loop", folder.at("loop"));
  Outputs outputs;
  outputs.write(folder.at("chain"), writer_of("1\n"));
  outputs.write(folder.at("dangling"), writer_of("2\n"));
  EXPECT_EQ(fatal_text([&] { outputs.write(folder.at("loop"), writer_of("3\n")); }),
            "cannot write '" + folder.at("loop") + "': Too many levels of symbolic links");
  outputs.publish();
  EXPECT_THAT(folder.names(), ElementsAre("chain", "dangling", "file", "link", "loop", "none"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.at("chain")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.at("link")));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.at("dangling")));
  EXPECT_EQ(folder.contents("file"), "1\n");
  EXPECT_EQ(folder.contents("none"), "2\n");
}

TEST(Outputs, RefuseTargetsThatAreNoFiles) {
  const TempFolder folder;
  Outputs outputs;
  const auto refusal = [&](const std::string& target) {
    return fatal_text([&] { outputs.write(target, writer_of("1\n")); });
  };
  EXPECT_EQ(refusal(folder.at("")), "cannot write '" + folder.at("") + "': Is a directory");
  EXPECT_EQ(refusal(folder.at("no/a")),
            "cannot write '" + folder.at("no/a") + "': No such file or directory");
  const std::string file = folder.write("f", "");
  EXPECT_EQ(refusal(file + "/a"), "cannot write '" + file + "/a': Not a directory");
  outputs.publish();
  EXPECT_THAT(folder.names(), ElementsAre("f"));
}

TEST(Outputs, AcceptNamesWithAnyBytes) {
  const TempFolder folder;
  const std::string odd = "a\n\x1b[31m\xff b";
  const std::string length(255, 'x');  // the longest name that the system allows: no suffix fits
  Outputs outputs;
  outputs.write(folder.at(odd), writer_of("1\n"));
  outputs.write(folder.at(length), writer_of("2\n"));
  outputs.publish();
  EXPECT_THAT(folder.names(), ElementsAre(odd, length));
  EXPECT_EQ(folder.contents(length), "2\n");
}

TEST(Outputs, PassTheirBytesToAPipe) {
  const TempFolder folder;
  const std::string fifo = folder.at("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string read;
  std::thread reader([&] { read = folder.contents("fifo"); });
  Outputs outputs;
  outputs.write(fifo, writer_of("1 2 3\n"));
  outputs.publish();
  reader.join();
  EXPECT_EQ(read, "1 2 3\n");
  EXPECT_THAT(folder.names(), ElementsAre("fifo"));
}

// The test makes its own device: a failing test might replace the system's.
TEST(Outputs, CloseADeviceThatIsFull) {
  const TempFolder folder;
  const std::string full = folder.at("full");
  if (mknod(full.c_str(), S_IFCHR | 0666, makedev(1, 7)) != 0) GTEST_SKIP() << "no device can be made here";
  if (const int device = open(full.c_str(), O_WRONLY | O_CLOEXEC); device < 0)
    GTEST_SKIP() << "devices cannot be opened here";
  else
    close(device);
  const int before = open_descriptors();
  for (int round = 0; round < 3; ++round) {
    Outputs outputs;
    outputs.write(full, writer_of("1\n"));
    outputs.write(folder.at("a"), writer_of("1\n"));
    EXPECT_EQ(fatal_text([&] { outputs.publish(); }), "cannot write '" + full + "': No space left on device");
  }
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_THAT(folder.names(), ElementsAre("full"));
}

TEST(Outputs, RefuseAStandardOutputThatIsClosed) {
  const int saved = dup(STDOUT_FILENO);
  close(STDOUT_FILENO);
  Outputs outputs;
  const std::string text = fatal_text([&] { outputs.write("-", writer_of("1\n")); });
  dup2(saved, STDOUT_FILENO);
  close(saved);
  EXPECT_EQ(text, "cannot write standard output: Bad file descriptor");
}

TEST(Outputs, WriteToStandardOutput) {
  testing::internal::CaptureStdout();
  std::printf("before\n");
  {
    Outputs outputs;
    outputs.write("-", writer_of("1\n"));
    outputs.publish();
  }
  std::printf("after\n");
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "before\n1\nafter\n");
}

TEST(RefuseToReplace, ProtectsInputsByAnyName) {
  const TempFolder folder;
  const std::string name = folder.write("a", "1");
  std::filesystem::create_symlink("a", folder.at("link"));
  for (const std::string& target : {name, folder.at("./a"), folder.at("link")})
    EXPECT_EQ(fatal_text([&] {
                refuse_to_replace({"-", "", name}, target);
              }),
              "'" + target + "' is an input; refusing to overwrite it");
  refuse_to_replace({"-", "", name}, "-");
  refuse_to_replace({"-", "", name}, "");
  refuse_to_replace({"-", "", name}, folder.at("b"));
  refuse_to_replace({}, name);
  // Names that the system cannot resolve are not taken for the same file.
  std::filesystem::create_symlink("loop", folder.at("loop"));
  std::filesystem::create_symlink("ring", folder.at("ring"));
  refuse_to_replace({folder.at("loop")}, folder.at("ring"));
  EXPECT_EQ(fatal_text([&] { refuse_to_replace({folder.at("loop")}, folder.at("loop")); }),
            "'" + folder.at("loop") + "' is an input; refusing to overwrite it");
}

TEST(StandardOutput, HasTwoNames) {
  EXPECT_TRUE(is_standard_output("-"));
  EXPECT_TRUE(is_standard_output("/dev/stdout"));
  EXPECT_FALSE(is_standard_output(""));
  EXPECT_FALSE(is_standard_output("./-"));
  EXPECT_EQ(shown_target("-"), "standard output");
  EXPECT_EQ(shown_target("/dev/stdout"), "standard output");
  EXPECT_EQ(shown_target("a b"), "'a b'");
}

}  // namespace
}  // namespace quillon::formats
