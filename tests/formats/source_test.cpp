// Reading bytes of files, pipes and compressed files.

#include "formats/source.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/formats/finding_of.h"
#include "tests/formats/temp_folder.h"
#include "tests/support/resources.h"

namespace quillon::formats {
namespace {

using testing::ElementsAre;

std::string numbers(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += std::to_string(i) + (i % 10 == 9 ? "\n" : " ");
  return text;
}

Finding unreadable(const std::string& file, const std::string& reason) {
  return error_of_file("cannot-read", file, "cannot read '" + file + "': " + reason);
}

TEST(ReadAll, ReadsPlainAndCompressedFilesOfAnySize) {
  const TempFolder folder;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{262143},
                                 std::size_t{262144}, std::size_t{262145}, std::size_t{1500000}}) {
    SCOPED_TRACE(size);
    const std::string text = numbers(300000).substr(0, size);
    EXPECT_EQ(read_all(folder.write("plain", text)), text);
    EXPECT_EQ(read_all(folder.write("packed", gzipped(text))), text);
  }
  const std::string parts = gzipped("12 ") + gzipped("34\n");
  EXPECT_EQ(read_all(folder.write("parts", parts)), "12 34\n");
  EXPECT_EQ(read_all(folder.write("nul", std::string("1\0002", 3))), std::string("1\0002", 3));
}

TEST(Source, FillsAsFarAsTheInputGoes) {
  const TempFolder folder;
  Source source(folder.write("a", "123456789"));
  char bytes[6] = "-----";
  EXPECT_EQ(source.read(bytes, 4), 4U);
  EXPECT_EQ(std::string(bytes, 5), "1234-");
  EXPECT_EQ(source.read(bytes, 0), 0U);
  EXPECT_EQ(source.read(bytes, 5), 5U);
  EXPECT_EQ(source.read(bytes, 5), 0U);
  EXPECT_EQ(source.read(bytes, 5), 0U);
}

TEST(Source, RefusesCompressedDataCutOffAnywhere) {
  const TempFolder folder;
  const std::string packed = gzipped(numbers(500));
  for (std::size_t size = 2; size < packed.size(); ++size) {
    const std::string file = folder.write("cut", packed.substr(0, size));
    ASSERT_EQ(finding_of([&] { read_all(file); }), unreadable(file, "its compressed data is cut off"))
        << size << " of " << packed.size() << " bytes";
  }
}

TEST(Source, RefusesDamagedData) {
  const TempFolder folder;
  const std::string packed = gzipped(numbers(500));
  const auto reason_with = [&](std::size_t at, char byte) {
    std::string damaged = packed;
    damaged[at] = byte;
    const std::string file = folder.write("damaged", damaged);
    const Finding finding = finding_of([&] { read_all(file); });
    EXPECT_EQ(finding, unreadable(file, finding.message.substr(file.size() + 16)));
    return finding.message.substr(file.size() + 16);
  };
  const std::string damaged = "its compressed data is damaged: ";
  EXPECT_EQ(reason_with(2, '\1'), damaged + "unknown compression method");
  EXPECT_EQ(reason_with(10, '\xff'), damaged + "invalid block type");
  EXPECT_EQ(reason_with(packed.size() - 6, static_cast<char>(packed[packed.size() - 6] ^ 1)),
            damaged + "incorrect data check");
  EXPECT_EQ(reason_with(packed.size() - 1, static_cast<char>(packed[packed.size() - 1] ^ 1)),
            damaged + "incorrect length check");
}

TEST(Source, RefusesNamesThatAreNoFile) {
  const TempFolder folder;
  EXPECT_EQ(finding_of([&] { Source(folder.at("missing")); }),
            error_of_file("cannot-open", folder.at("missing"),
                          "cannot open '" + folder.at("missing") + "': No such file or directory"));
  EXPECT_EQ(finding_of([&] { read_all(folder.at("")); }), unreadable(folder.at(""), "Is a directory"));
  EXPECT_EQ(finding_of([] { Source(""); }),
            error_of_file("cannot-open", "", "cannot open '': No such file or directory"));
  const std::string odd = folder.at("a\n\x1b[31m");
  EXPECT_EQ(finding_of([&] { Source{odd}; }).file, odd);
}

TEST(Source, ReadsAPipe) {
  const TempFolder folder;
  const std::string fifo = folder.at("fifo");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const std::string text = numbers(100000);
  std::thread writer([&] { std::ofstream(fifo, std::ios::binary) << text; });
  const std::string read = read_all(fifo);
  writer.join();
  EXPECT_EQ(read, text);
}

// Replaces standard input during its lifetime.
class StandardInput {
 public:
  explicit StandardInput(int descriptor) : saved_(dup(STDIN_FILENO)) {
    if (descriptor < 0)
      close(STDIN_FILENO);
    else
      dup2(descriptor, STDIN_FILENO);
  }
  ~StandardInput() {
    dup2(saved_, STDIN_FILENO);
    close(saved_);
  }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

 private:
  int saved_;
};

TEST(Source, ReadsStandardInputAndLeavesItOpen) {
  const TempFolder folder;
  const int file = open(folder.write("a", "1 2\n").c_str(), O_RDONLY | O_CLOEXEC);
  {
    const StandardInput input(file);
    EXPECT_EQ(Source("-").name(), "standard input");
    EXPECT_EQ(read_all("-"), "1 2\n");
    EXPECT_GE(fcntl(STDIN_FILENO, F_GETFD), 0);
    EXPECT_EQ(read_all("-"), "");
  }
  close(file);
  const StandardInput closed(-1);
  EXPECT_EQ(
      finding_of([] { read_all("-"); }),
      error_of_file("cannot-open", "standard input", "cannot open 'standard input': Bad file descriptor"));
}

TEST(Source, IsNotInheritedByOtherPrograms) {
  const TempFolder folder;
  const int first_free = dup(STDIN_FILENO);
  close(first_free);
  const Source file(folder.write("a", "1\n"));
  const Source input("-");
  for (int descriptor = first_free; descriptor < first_free + 2; ++descriptor)
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC) << descriptor;
}

TEST(Source, FinishesCompressedDataAndLeavesPlainFiles) {
  const TempFolder folder;
  const std::string packed = gzipped(numbers(50000));
  const std::string cut = folder.write("cut", packed.substr(0, packed.size() - 3));
  Source source(cut);
  char byte = 0;
  EXPECT_EQ(source.read(&byte, 1), 1U);
  EXPECT_EQ(finding_of([&] { source.finish(); }), unreadable(cut, "its compressed data is cut off"));

  Source whole(folder.write("whole", packed));
  whole.finish();
  EXPECT_EQ(whole.read(&byte, 1), 0U);

  Source plain(folder.write("plain", "12"));
  plain.finish();
  EXPECT_EQ(plain.read(&byte, 1), 1U);
}

class Recorder : public Watcher {
 public:
  Recorder() : previous_(set_watcher(this)) {}
  ~Recorder() override { set_watcher(previous_); }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  void begin(const std::string& what, std::uint64_t total, std::function<std::uint64_t()> done) override {
    if (fails) throw std::runtime_error("no terminal");
    events.push_back(what + " of " + std::to_string(total));
    done_ = std::move(done);
  }
  void end() override {
    events.push_back("read " + std::to_string(done_()));
    done_ = nullptr;
  }

  std::vector<std::string> events;
  bool fails = false;

 private:
  Watcher* previous_;
  std::function<std::uint64_t()> done_;
};

TEST(Watcher, IsToldOfEachReadAndItsEndAlsoWhenItFails) {
  const TempFolder folder;
  Recorder watcher;
  const std::string plain = folder.write("plain", "1234567");
  read_all(plain);
  EXPECT_THAT(watcher.events, ElementsAre("reading " + plain + " of 7", "read 7"));

  watcher.events.clear();
  const std::string packed = folder.write("packed", gzipped(numbers(9)).substr(0, 20));
  EXPECT_EQ(finding_of([&] { read_all(packed); }).rule, "cannot-read");
  EXPECT_THAT(watcher.events, ElementsAre("reading " + packed + " of 20", "read 20"));

  watcher.events.clear();
  const std::string broken = folder.write("a.hgr", "1 2\n3\n");
  EXPECT_EQ(finding_of([&] { read_file(broken, format("hmetis"), {}); }).rule, "cell-out-of-range");
  EXPECT_THAT(watcher.events,
              ElementsAre("reading " + broken + " of 6", "read 6", "parsing " + broken + " of 6", "read 5"));
}

TEST(Source, ClosesItsFileWhenTheWatcherFails) {
  const TempFolder folder;
  const std::string file = folder.write("a", "1\n");
  Recorder watcher;
  watcher.fails = true;
  const int before = open_descriptors();
  EXPECT_THROW(Source{file}, std::runtime_error);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_THAT(watcher.events, ElementsAre());
}

TEST(Source, LeavesNoDescriptorOpen) {
  const TempFolder folder;
  const std::string plain = folder.write("plain", "1\n");
  const std::string cut = folder.write("cut", gzipped("1\n").substr(0, 12));
  const Recorder watcher;
  const int before = open_descriptors();
  for (int round = 0; round < 3; ++round) {
    read_all(plain);
    finding_of([&] { read_all(cut); });
    finding_of([&] { read_all(folder.at("")); });
    finding_of([&] { read_all(folder.at("missing")); });
  }
  EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
}  // namespace quillon::formats
