// Output files are published completely or not at all.

#include "formats/sink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "formats/source.h"
#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/resources.h"
#include "tests/support/throwing.h"
#include "util/scope.h"
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

// Longer than what is written to the disk at once, with time for it.
TEST(Outputs, AreWholeIfTheyWereWrittenBackEarly) {
  const TempFolder folder;
  const std::string block(std::size_t{10} << 20, 'x');
  Outputs outputs;
  outputs.write(folder.at("long"), [&](const char* filename) {
    std::FILE* const file = ufopen(filename, "w", "sink_test");
    for (int k = 0; k < 3; ++k) {
      std::fwrite(block.data(), 1, block.size(), file);
      std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    ufclose(file);
  });
  outputs.publish();
  EXPECT_EQ(folder.contents("long"), block + block + block);
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
  const int device = open(full.c_str(), O_WRONLY | O_CLOEXEC);
  if (device < 0) GTEST_SKIP() << "devices cannot be opened here";
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

// Redirects a descriptor to a new file during its lifetime.
class Redirected {
 public:
  Redirected(int descriptor, const std::string& file, int flags = O_WRONLY)
      : descriptor_(descriptor), saved_(dup(descriptor)) {
    const int opened = open(file.c_str(), flags | O_CREAT, 0600);
    dup2(opened, descriptor);
    close(opened);
  }
  ~Redirected() {
    if (saved_ >= 0)
      dup2(saved_, descriptor_);
    else
      close(descriptor_);
    close(saved_);
  }
  Redirected(const Redirected&) = delete;
  Redirected& operator=(const Redirected&) = delete;

 private:
  int descriptor_;
  int saved_;
};

TEST(Outputs, PassTheirBytesToOpenDescriptorsWithoutTruncatingTheirFile) {
  const TempFolder folder;
  constexpr int kFree = 57;
  const Redirected stream(kFree, folder.at("file"), O_WRONLY | O_APPEND);
  ASSERT_EQ(write(kFree, "before\n", 7), 7);
  Outputs outputs;
  outputs.write("/dev/fd/57", writer_of("1\n"));
  EXPECT_EQ(folder.contents("file"), "before\n");
  outputs.publish();
  EXPECT_EQ(folder.contents("file"), "before\n1\n");
  EXPECT_EQ(fatal_text([&] { outputs.write("/proc/self/fd/57", writer_of("1\n")); }),
            "'/proc/self/fd/57' is named for two outputs");
  EXPECT_EQ(fatal_text([&] { outputs.write(folder.at("file"), writer_of("1\n")); }),
            "'" + folder.at("file") + "' is named for two outputs");
}

TEST(Outputs, RefuseDescriptorsThatAreClosedOrOnlyRead) {
  const TempFolder folder;
  Outputs outputs;
  EXPECT_EQ(fatal_text([&] { outputs.write("/dev/fd/58", writer_of("1\n")); }),
            "cannot write '/dev/fd/58': Bad file descriptor");
  const Redirected stream(58, folder.at("file"), O_RDONLY);
  EXPECT_EQ(fatal_text([&] { outputs.write("/dev/fd/58", writer_of("1\n")); }),
            "cannot write '/dev/fd/58': Bad file descriptor");
}

TEST(Outputs, WriteNothingToTheNullDevice) {
  Outputs outputs;
  for (int n = 0; n < 2; ++n)
    outputs.write("/dev/null", [](const char* filename) {
      EXPECT_STREQ(filename, "/dev/null");
      write_text(filename, "1\n");
    });
  outputs.publish();
  struct stat status {};
  ASSERT_EQ(stat("/dev/null", &status), 0);
  EXPECT_TRUE(S_ISCHR(status.st_mode));
}

// Sets a variable of the environment during its lifetime.
class Environment {
 public:
  Environment(const char* name, const std::string& value) : name_(name) {
    if (const char* const before = std::getenv(name)) before_ = before;
    setenv(name, value.c_str(), 1);
  }
  ~Environment() {
    if (before_)
      setenv(name_, before_->c_str(), 1);
    else
      unsetenv(name_);
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

TEST(Outputs, KeepWhatGoesToStreamsInTheTemporaryFolder) {
  const TempFolder folder;
  const Environment temporary("TMPDIR", folder.at("missing"));
  Outputs outputs;
  EXPECT_EQ(fatal_text([&] { outputs.write("-", writer_of("1\n")); }),
            "cannot make a temporary file in '" + folder.at("missing") + "': No such file or directory");
}

TEST(Outputs, CompressBySuffix) {
  const TempFolder folder;
  std::string text;
  for (int i = 0; i < 200000; ++i) text += std::to_string(i * 7919 % 100003) + "\n";
  const int before = open_descriptors();
  {
    Outputs outputs;
    for (const char* const name : {"a.gz", "b.zst", "c"})
      outputs.write(folder.at(name), writer_of(text.c_str()));
    outputs.write(folder.at("empty.gz"), writer_of(""));
    outputs.publish();
  }
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_EQ(folder.contents("c"), text);
  for (const char* const name : {"a.gz", "b.zst"}) {
    EXPECT_LT(folder.contents(name).size(), text.size()) << name;
    EXPECT_EQ(read_all(folder.at(name)), text) << name;
  }
  EXPECT_EQ(folder.contents("a.gz").substr(0, 2), "\x1f\x8b");
  EXPECT_EQ(folder.contents("b.zst").substr(0, 4), "\x28\xb5\x2f\xfd");
  EXPECT_EQ(folder.contents("empty.gz").size(), 20U);
  EXPECT_EQ(read_all(folder.at("empty.gz")), "");
}

TEST(Outputs, LeaveNothingWhenAWriterOfCompressedBytesFails) {
  const TempFolder folder;
  for (const char* const name : {"a.gz", "b.zst"}) {
    const Scope scope;  // closes the file that the writer leaves open, with bytes in its buffer
    const ThrowingHandler throwing;
    Outputs outputs;
    EXPECT_EQ(not_written([&] {
                outputs.write(folder.at(name), [](const char* filename) {
                  std::fputs("half", ufopen(filename, "w", "sink_test"));
                  errexit("no more");
                });
              }),
              "cannot write '" + folder.at(name) + "'\nno more");
    outputs.publish();
  }
  EXPECT_THAT(folder.names(), ElementsAre());
}

TEST(Outputs, DropSetuidAndSetgid) {
  const TempFolder folder;
  const std::string name = folder.write("a", "old");
  ASSERT_EQ(chmod(name.c_str(), 06755), 0);
  Outputs outputs;
  outputs.write(name, writer_of("1\n"));
  outputs.publish();
  struct stat status {};
  ASSERT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0755U);
}

// Becomes an ordinary user during its lifetime, which root can.
class OrdinaryUser {
 public:
  OrdinaryUser() : is_root_(geteuid() == 0) {
    if (is_root_ && (setegid(kNobody) != 0 || seteuid(kNobody) != 0)) std::abort();
  }
  ~OrdinaryUser() {
    if (is_root_ && (seteuid(0) != 0 || setegid(0) != 0)) std::abort();
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;

  static constexpr unsigned kNobody = 65534;

 private:
  bool is_root_;
};

TEST(Outputs, KeepOwnerAndGroupOfTheFileTheyReplace) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const TempFolder folder;
  const std::string name = folder.write("a", "old");
  ASSERT_EQ(chown(name.c_str(), 1234, 5678), 0);
  ASSERT_EQ(chmod(name.c_str(), 0664), 0);
  Outputs outputs;
  outputs.write(name, writer_of("1\n"));
  outputs.publish();
  struct stat status {};
  ASSERT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 1234U);
  EXPECT_EQ(status.st_gid, 5678U);
  EXPECT_EQ(status.st_mode & 07777U, 0664U);
}

TEST(Outputs, GiveAnotherGroupNoMoreThanEveryone) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a file of another user";
  const TempFolder folder;
  ASSERT_EQ(chmod(folder.at("").c_str(), 0777), 0);
  const std::string name = folder.write("a", "old");
  ASSERT_EQ(chown(name.c_str(), 1234, 5678), 0);
  ASSERT_EQ(chmod(name.c_str(), 0676), 0);
  const OrdinaryUser nobody;
  Outputs outputs;
  outputs.write(name, writer_of("1\n"));
  outputs.publish();
  struct stat status {};
  ASSERT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, OrdinaryUser::kNobody);
  EXPECT_EQ(status.st_mode & 07777U, 0666U);
}

TEST(Outputs, RefuseWriteProtectedFilesUnlessForced) {
  const TempFolder folder;
  ASSERT_EQ(chmod(folder.at("").c_str(), 0777), 0);
  const std::string name = folder.write("a", "old");
  ASSERT_EQ(chmod(name.c_str(), 0444), 0);
  const OrdinaryUser nobody;
  Outputs outputs;
  EXPECT_EQ(fatal_text([&] { outputs.write(name, writer_of("1\n")); }),
            "cannot replace '" + name + "': it is write-protected");
  Outputs forced(true);
  forced.write(name, writer_of("1\n"));
  forced.publish();
  EXPECT_EQ(folder.contents("a"), "1\n");
}

TEST(Outputs, FollowOnlyTrustedLinksInSharedFolders) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make links of other users";
  const TempFolder folder;
  (void)folder.write("file", "old");
  const std::string shared = folder.at("shared");
  std::filesystem::create_directory(shared);
  ASSERT_EQ(chmod(shared.c_str(), 01777), 0);
  ASSERT_EQ(chown(shared.c_str(), 1234, 1234), 0);
  const auto link_of = [&](uid_t owner, const std::string& to) {
    const std::string link = shared + "/link-" + std::to_string(owner);
    std::filesystem::create_symlink(to, link);
    EXPECT_EQ(lchown(link.c_str(), owner, owner), 0);
    return link;
  };
  const std::string others = link_of(5678, folder.at("file"));
  const std::string folders = link_of(1234, folder.at("file"));
  const std::string ours = link_of(0, folder.at("file"));
  Outputs outputs;
  EXPECT_EQ(fatal_text([&] { outputs.write(others, writer_of("1\n")); }),
            "cannot write '" + others + "': Permission denied");
  // A chain of links is as good as its worst one.
  std::filesystem::create_symlink(others, folder.at("chain"));
  EXPECT_EQ(fatal_text([&] { outputs.write(folder.at("chain"), writer_of("1\n")); }),
            "cannot write '" + folder.at("chain") + "': Permission denied");
  for (const std::string& link : {folders, ours}) {
    Outputs trusted;
    trusted.write(link, writer_of(link.c_str()));
    trusted.publish();
    EXPECT_EQ(folder.contents("file"), link);
  }
  ASSERT_EQ(chmod(shared.c_str(), 0777), 0);  // not sticky: everyone could replace the link anyway
  Outputs unprotected;
  unprotected.write(others, writer_of("3\n"));
  unprotected.publish();
  EXPECT_EQ(folder.contents("file"), "3\n");
}

TEST(Outputs, PutEverythingBackWhenOneCannotBeMoved) {
  const TempFolder folder;
  const std::string old = folder.write("old", "old");
  const std::string made = folder.at("made");
  const std::string last = folder.at("last");
  Outputs outputs;
  for (const std::string& name : {old, made, last}) outputs.write(name, writer_of("1\n"));
  std::filesystem::create_directories(last + "/full");  // meanwhile
  ASSERT_EQ(std::filesystem::exists(last), true);
  const std::string text = fatal_text([&] { outputs.publish(); });
  EXPECT_EQ(text, "cannot write '" + last + "': Is a directory");
  EXPECT_EQ(folder.contents("old"), "old");
  EXPECT_FALSE(std::filesystem::exists(made));
  EXPECT_TRUE(std::filesystem::is_directory(last + "/full"));
}

TEST(Outputs, AreNotPublishedWhenStandardOutputFails) {
  const TempFolder folder;
  testing::internal::CaptureStdout();
  std::string text;
  {
    const Redirected full(STDOUT_FILENO, "/dev/full");
    std::printf("a report\n");
    Outputs outputs;
    outputs.write(folder.at("a"), writer_of("1\n"));
    text = fatal_text([&] { outputs.publish(); });
  }
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(text, "cannot write standard output: No space left on device");
  EXPECT_THAT(folder.names(), ElementsAre());
  EXPECT_EQ(std::ferror(stdout), 0);
}

TEST(RefuseNamedTwice, KnowsAllNamesOfAFile) {
  const TempFolder folder;
  const std::string file = folder.write("a", "1");
  std::filesystem::create_hard_link(file, folder.at("hard"));
  std::filesystem::create_symlink("a", folder.at("link"));
  std::filesystem::create_symlink("new", folder.at("dangling"));
  refuse_named_twice({});
  refuse_named_twice({file, "", "", folder.at("b"), "-", "/dev/null", "/dev/null"});
  const auto refusal = [](const std::vector<std::string>& names) {
    return fatal_text([&] { refuse_named_twice(names); });
  };
  for (const std::string& other : {file, folder.at("hard"), folder.at("link")})
    EXPECT_EQ(refusal({file, "-", other}), "'" + other + "' is named for two outputs");
  EXPECT_EQ(refusal({folder.at("new"), folder.at("dangling")}),
            "'" + folder.at("dangling") + "' is named for two outputs");
  EXPECT_EQ(refusal({"-", "/dev/fd/1"}), "standard output is named for two outputs");
}

TEST(RefuseToReplace, ProtectsInputsByAnyName) {
  const TempFolder folder;
  const std::string name = folder.write("a", "1");
  std::filesystem::create_symlink("a", folder.at("link"));
  std::filesystem::create_hard_link(name, folder.at("hard"));
  const Redirected stream(57, name);
  for (const std::string& target :
       {name, folder.at("./a"), folder.at("link"), folder.at("hard"), std::string("/dev/fd/57")})
    EXPECT_EQ(fatal_text([&] {
                refuse_to_replace({"-", "", name}, target);
              }),
              "'" + target + "' is an input; refusing to overwrite it");
  refuse_to_replace({"-", "", name}, "-");
  refuse_to_replace({"-", "", name}, "");
  refuse_to_replace({"-", "", name}, folder.at("b"));
  refuse_to_replace({}, name);
  {
    const Redirected input(STDIN_FILENO, name, O_RDONLY);
    EXPECT_EQ(fatal_text([&] { refuse_to_replace({"-"}, name); }),
              "'" + name + "' is an input; refusing to overwrite it");
  }
  // Names that the system cannot resolve are not taken for the same file.
  std::filesystem::create_symlink("loop", folder.at("loop"));
  std::filesystem::create_symlink("ring", folder.at("ring"));
  refuse_to_replace({folder.at("loop")}, folder.at("ring"));
  EXPECT_EQ(fatal_text([&] { refuse_to_replace({folder.at("loop")}, folder.at("loop")); }),
            "'" + folder.at("loop") + "' is an input; refusing to overwrite it");
}

TEST(StandardOutput, HasManyNames) {
  EXPECT_TRUE(is_standard_output("-"));
  const TempFolder folder;
  std::filesystem::create_symlink("/dev/stdout", folder.at("link"));
  const std::string process = "/proc/" + std::to_string(getpid()) + "/fd/1";
  for (const std::string& name :
       {std::string("/dev/stdout"), std::string("/dev/fd/1"), std::string("/proc/self/fd/1"), process,
        std::string("/dev/../dev/stdout"), folder.at("link")})
    EXPECT_TRUE(is_standard_output(name)) << name;
  for (const char* const name : {"/dev/stderr", "/dev/fd/2", "/dev/fd/1x", "/dev/fd/", "/dev/null", "1", ""})
    EXPECT_FALSE(is_standard_output(name)) << name;
  EXPECT_FALSE(is_standard_output(""));
  EXPECT_FALSE(is_standard_output("./-"));
  EXPECT_EQ(shown_target("-"), "standard output");
  EXPECT_EQ(shown_target("/dev/stdout"), "standard output");
  EXPECT_EQ(shown_target("a b"), "'a b'");
}

}  // namespace
}  // namespace quillon::formats
