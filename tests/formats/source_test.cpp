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

Finding badly_compressed(const std::string& file, const std::string& reason) {
  return error_of_file("bad-compression", file, "cannot read '" + file + "': " + reason);
}

// A zstd frame that decompressors skip.
std::string skippable(const std::string& text) {
  std::string frame("\x5a\x2a\x4d\x18", 4);
  for (const unsigned shift : {0U, 8U, 16U, 24U}) frame += static_cast<char>(text.size() >> shift & 0xffU);
  return frame + text;
}

TEST(ReadAll, ReadsPlainAndCompressedFilesOfAnySize) {
  const TempFolder folder;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2}, std::size_t{262143},
                                 std::size_t{262144}, std::size_t{262145}, std::size_t{1500000}}) {
    SCOPED_TRACE(size);
    const std::string text = numbers(300000).substr(0, size);
    EXPECT_EQ(read_all(folder.write("plain", text)), text);
    EXPECT_EQ(read_all(folder.write("packed", gzipped(text))), text);
    EXPECT_EQ(read_all(folder.write("packed", zstd_packed(text))), text);
  }
  const std::string parts = gzipped("12 ") + gzipped("") + gzipped("34\n");
  EXPECT_EQ(read_all(folder.write("parts", parts)), "12 34\n");
  const std::string frames =
      skippable("a") + zstd_packed("12 ") + skippable("") + zstd_packed("34\n") + skippable("b");
  EXPECT_EQ(read_all(folder.write("frames", frames)), "12 34\n");
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

TEST(Source, GivesTheNextBytesWithoutConsumingThem) {
  const TempFolder folder;
  const std::string text = numbers(400000);
  for (const std::string& file : {folder.write("plain", text), folder.write("packed", gzipped(text)),
                                  folder.write("frames", zstd_packed(text))}) {
    SCOPED_TRACE(file);
    Source source(file);
    EXPECT_EQ(source.peek(0), "");
    EXPECT_EQ(source.peek(3), text.substr(0, 3));
    EXPECT_EQ(source.peek(100000), text.substr(0, 100000));
    EXPECT_EQ(source.peek(5), text.substr(0, 5));
    std::string read(7, '-');
    EXPECT_EQ(source.read(read.data(), 7), 7U);
    EXPECT_EQ(read, text.substr(0, 7));
    constexpr std::size_t kPeeked = std::size_t{1} << 20;
    EXPECT_EQ(source.peek(text.size()), text.substr(7, kPeeked));
    read.assign(text.size(), '-');
    EXPECT_EQ(source.read(read.data(), read.size()), text.size() - 7);
    EXPECT_EQ(read.substr(0, text.size() - 7), text.substr(7));
    EXPECT_EQ(source.peek(1), "");
  }
  Source shorter(folder.write("a", "12"));
  EXPECT_EQ(shorter.peek(3), "12");
}

TEST(Source, GoesOnElsewhereInPlainFilesOnly) {
  const TempFolder folder;
  Source plain(folder.write("plain", "0123456789"));
  Source packed(folder.write("packed", gzipped("0123456789")));
  char bytes[10];
  EXPECT_EQ(plain.read(bytes, 10), 10U);
  EXPECT_EQ(plain.read(bytes, 10), 0U);
  ASSERT_TRUE(plain.move_to(7));
  EXPECT_EQ(std::string(bytes, plain.read(bytes, 10)), "789");
  EXPECT_EQ(plain.peek(10), "");
  ASSERT_TRUE(plain.move_to(2));
  EXPECT_EQ(plain.peek(4), "2345");
  EXPECT_FALSE(packed.move_to(7));
  EXPECT_EQ(std::string(bytes, packed.read(bytes, 10)), "0123456789");
}

TEST(Source, KnowsRegularFiles) {
  const TempFolder folder;
  EXPECT_TRUE(Source(folder.write("a", "1")).is_regular());
  EXPECT_TRUE(Source(folder.write("b", gzipped("1"))).is_regular());
  EXPECT_FALSE(Source("/dev/null").is_regular());
}

TEST(Source, RefusesCompressedDataCutOffAnywhere) {
  const TempFolder folder;
  const auto refuse_from = [&](std::size_t first, const std::string& packed) {
    for (std::size_t size = first; size < packed.size(); ++size) {
      const std::string file = folder.write("cut", packed.substr(0, size));
      ASSERT_EQ(finding_of([&] { read_all(file); }),
                badly_compressed(file, "its compressed data is cut off after byte " + std::to_string(size)))
          << packed.size() << " bytes";
    }
  };
  refuse_from(2, gzipped(numbers(500)));
  refuse_from(4, zstd_packed(numbers(500)));
  refuse_from(4, skippable("abc"));
}

TEST(Source, RefusesDamagedData) {
  const TempFolder folder;
  const auto reason_with = [&](std::string packed, std::size_t at, char flip) {
    packed[at] = static_cast<char>(packed[at] ^ flip);
    const std::string file = folder.write("damaged", packed);
    const Finding finding = finding_of([&] { read_all(file); });
    EXPECT_EQ(finding, badly_compressed(file, finding.message.substr(file.size() + 16)));
    return finding.message.substr(file.size() + 16);
  };
  const std::string damaged = "its compressed data is damaged near byte ";
  const std::string gzip = gzipped(numbers(500));
  const std::string size = std::to_string(gzip.size());
  EXPECT_EQ(reason_with(gzip, 2, 8 ^ 1), damaged + "4: unknown compression method");
  EXPECT_EQ(reason_with(gzip, 10, static_cast<char>(gzip[10] ^ '\xff')), damaged + "11: invalid block type");
  EXPECT_EQ(reason_with(gzip, gzip.size() - 6, 1),
            damaged + std::to_string(gzip.size() - 4) + ": incorrect data check");
  EXPECT_EQ(reason_with(gzip, gzip.size() - 1, 1), damaged + size + ": incorrect length check");

  // zstd does not tell how far it came in the block that it was given.
  const std::string frame = zstd_packed(numbers(500));
  EXPECT_EQ(reason_with(frame, frame.size() - 1, 1),
            "its compressed data is damaged after byte 4: Restored data doesn't match checksum");
}

TEST(Source, ReadsWhatEachDamagedByteLeavesOrRefusesIt) {
  const TempFolder folder;
  const std::string text = numbers(200);
  for (const std::string& packed : {gzipped(text), zstd_packed(text)}) {
    for (std::size_t at = 0; at < packed.size(); ++at) {
      std::string damaged = packed;
      damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
      const std::string file = folder.write("damaged", damaged);
      std::string read = text;
      const Finding finding = finding_of([&] { read = read_all(file); });
      if (finding.rule == "bad-compression") continue;
      // Other magic bytes make it a plain file. The header of gzip has fields that mean nothing here.
      EXPECT_EQ(finding.rule, kNoFinding) << at;
      EXPECT_TRUE(read == text || read == damaged) << at;
    }
  }
}

TEST(Source, RefusesWhatFollowsCompressedData) {
  const TempFolder folder;
  for (const std::string& packed : {gzipped(numbers(50)), zstd_packed(numbers(50)), skippable("abc")}) {
    for (const std::string& more :
         {std::string("1"), std::string("1 2 3\n"), std::string(100, '\0'), std::string("\x1f")}) {
      const std::string file = folder.write("more", packed + more);
      EXPECT_EQ(finding_of([&] { read_all(file); }),
                badly_compressed(file, "something else follows its compressed data after byte " +
                                           std::to_string(packed.size())));
    }
  }
  const std::string mixed = folder.write("mixed", gzipped("1") + zstd_packed("2"));
  EXPECT_EQ(finding_of([&] { read_all(mixed); }).rule, "bad-compression");
}

TEST(Source, FindsTheNextFrameAcrossBlocks) {
  const TempFolder folder;
  constexpr std::size_t kBlock = std::size_t{1} << 18;
  constexpr std::size_t kHeader = 8;
  for (std::size_t size = kBlock - 5; size <= kBlock + 1; ++size) {
    const std::string first = skippable(std::string(size - kHeader, 'x'));
    EXPECT_EQ(read_all(folder.write("a", first + zstd_packed("12"))), "12") << size;
  }
}

TEST(Source, EndsItsThreadWhileAPipeIsSilent) {
  const TempFolder folder;
  const std::string packed = gzipped(numbers(1000));
  for (const std::size_t written : {std::size_t{4}, packed.size() / 2, packed.size()}) {
    const std::string fifo = folder.at("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int both_ends = open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(both_ends, packed.data(), written), static_cast<ssize_t>(written));
    {
      Source source(fifo);
      EXPECT_EQ(source.peek(0), "");  // returns once the thread has begun
    }
    close(both_ends);
    std::filesystem::remove(fifo);
  }
}

TEST(Source, StopsReadingWhenItIsDestroyed) {
  const TempFolder folder;
  const int before = open_descriptors();
  const std::string file = folder.write("a", gzipped(std::string(std::size_t{1} << 24, '0')));
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{1} << 20}) {
    Source source(file);
    std::string bytes(size, '-');
    EXPECT_EQ(source.read(bytes.data(), size), size);
  }
  EXPECT_EQ(open_descriptors(), before);
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
  EXPECT_EQ(finding_of([&] { source.finish(); }),
            badly_compressed(
                cut, "its compressed data is cut off after byte " + std::to_string(packed.size() - 3)));

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

  void poll() override {
    ++npolls;
    if (npolls == fails_at_poll) throw std::runtime_error("interrupted");
  }

  std::vector<std::string> events;
  bool fails = false;
  int npolls = 0;
  int fails_at_poll = 0;

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
  EXPECT_EQ(finding_of([&] { read_all(packed); }).rule, "bad-compression");
  EXPECT_THAT(watcher.events, ElementsAre("reading " + packed + " of 20", "read 20"));

  watcher.events.clear();
  const std::string broken = folder.write("a.hgr", "1 2\n3\n");
  EXPECT_EQ(finding_of([&] { read_file(broken, format("hmetis"), {}); }).rule, "cell-out-of-range");
  EXPECT_THAT(watcher.events, ElementsAre("reading " + broken + " of 6", "read 6"));

  watcher.events.clear();
  const std::string text = folder.write("a.json", "{}");
  EXPECT_EQ(finding_of([&] { read_file(text, format("hif"), {}); }).rule, "missing-incidences");
  EXPECT_THAT(watcher.events, ElementsAre("reading " + text + " of 2", "read 2", "parsing " + text + " of 2",
                                          testing::StartsWith("read ")));
}

TEST(Watcher, EndsAReadWhenItsPollThrows) {
  const TempFolder folder;
  Recorder watcher;
  std::string hif = R"({"incidences": [)";
  for (int k = 0; k < 200000; ++k) hif += R"({"edge": 1, "node": 2},)";
  hif.back() = ']';
  const std::string lines = folder.write("a.hgr", "200000 9\n" + std::string(400000, '\n'));
  const std::string whole = folder.write("a.json", hif + "}");
  const int before = open_descriptors();
  for (const auto& [file, name] : {std::pair{lines, "hmetis"}, std::pair{whole, "hif"}}) {
    watcher.npolls = 0;
    watcher.fails_at_poll = 2;
    EXPECT_THROW(read_file(file, format(name), {}), std::runtime_error) << name;
    EXPECT_EQ(open_descriptors(), before);
  }
}

TEST(Source, ReadsAnOpenFileUnderAnyNameAndClosesIt) {
  const TempFolder folder;
  const std::string file = folder.write("a", "1234567");
  const int before = open_descriptors();
  {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(lseek(descriptor, 2, SEEK_SET), 2);
    Source source(descriptor, "some name");
    EXPECT_EQ(source.name(), "some name");
    EXPECT_FALSE(source.can_be_reopened());
    EXPECT_EQ(source.peek(9), "34567");
  }
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_TRUE(Source(file).can_be_reopened());
  EXPECT_FALSE(Source("/dev/null").can_be_reopened());
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

TEST(Source, TellsCompressedFilesByTheirFirstBytes) {
  const TempFolder folder;
  EXPECT_TRUE(Source(folder.write("named.txt", gzipped("1 2\n"))).is_compressed());
  EXPECT_TRUE(Source(folder.write("named", skippable("x"))).is_compressed());
  EXPECT_FALSE(Source(folder.write("named.gz", "1 2\n")).is_compressed());
  EXPECT_FALSE(Source(folder.write("empty", "")).is_compressed());

  Source plain(folder.write("plain", "1 2\n"));
  EXPECT_FALSE(plain.is_compressed());
  EXPECT_EQ(plain.peek(4), "1 2\n");  // nothing is consumed
}

}  // namespace
}  // namespace quillon::formats
