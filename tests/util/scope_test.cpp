#include "util/scope.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "tests/support/resources.h"
#include "tests/support/temp_file.h"
#include "tests/support/throwing.h"
#include "tests/util/variant.h"
#include "util/util.h"

namespace {
bool out_of_memory = false;  // for operator new, which the bookkeeping uses and umalloc does not
}

void* operator new(std::size_t bytes) {
  void* const block = out_of_memory ? nullptr : std::malloc(bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new(std::size_t bytes, const std::nothrow_t& /*nothrow*/) noexcept {
  return out_of_memory ? nullptr : std::malloc(bytes);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*bytes*/) noexcept { std::free(block); }

namespace quillon {
namespace {

using testing::ExitedWithCode;
using testing::StrEq;

char* allocate(std::uint64_t bytes) { return static_cast<char*>(umalloc(bytes, "test: block")); }

char* resize(void* block, std::uint64_t bytes) {
  return static_cast<char*>(urealloc(block, bytes, "test: block"));
}

char* pool_block(int pool) { return static_cast<char*>(poolalloc(pool, 100, "test: block")); }

int release(int pool, void* block) { return poolfree_upto(pool, block, "test: release"); }

// The address of the next block of a pool.
char* next_address(int pool) {
  char* const block = pool_block(pool);
  release(pool, block);
  return block;
}

std::FILE* open(const char* name, const char* mode = "r") { return ufopen(name, mode, "test: file"); }

// Runs a call while operator new fails; memory is available again after the first fatal error.
template <typename Call>
std::string fatal_text_out_of_memory(Call call) {
  return fatal_text([&] {
    const FatalHandler previous = set_fatal_handler([](const char* message) {
      out_of_memory = false;
      throw FatalError(message);
    });
    out_of_memory = true;
    call();
    out_of_memory = false;
    set_fatal_handler(previous);
  });
}

class ScopeOfBlocks : public testing::Test {
 protected:
  void SetUp() override {
    if (!heap_is_counted()) GTEST_SKIP() << "nothing counts the heap blocks of this process";
    before_ = held_bytes();
  }
  [[nodiscard]] std::int64_t held() const { return static_cast<std::int64_t>(held_bytes() - before_); }

 private:
  std::uint64_t before_ = 0;
};

TEST_F(ScopeOfBlocks, FreesBlocksOfEveryKind) {
  {
    const Scope scope;
    allocate(100'000)[99'999] = 1;
    allocate(0);
    (void)imalloc(50'000, "test: ints");
    resize(nullptr, 70'000);
    EXPECT_GE(held(), 370'000);
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, FreesManyBlocks) {
  {
    const Scope scope;
    std::vector<char*> blocks;
    for (int n = 0; n < 20'000; ++n) blocks.push_back(allocate(static_cast<std::uint64_t>(n % 100)));
    for (int n = 0; n < 20'000; n += 3) _usfree(blocks[static_cast<std::size_t>(n)]);
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, KeepsThemWhenTold) {
  char* block = nullptr;
  char* late = nullptr;
  {
    Scope scope;
    block = allocate(1000);
    scope.keep();
    late = allocate(1000);
  }
  block[999] = late[999] = 1;
  EXPECT_GE(held(), 2000);
  _usfree(block);
  _usfree(late);
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, LeavesBlocksFromBefore) {
  char* const older = allocate(1000);
  {
    const Scope scope;
    allocate(1000);
  }
  older[999] = 1;
  _usfree(older);
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, AllowsFreeingBlocksOfBothSides) {
  char* const older = allocate(1000);
  {
    const Scope scope;
    char* const block = allocate(1000);
    _usfree(older);
    _usfree(block);
    _usfree(nullptr);
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, ForgetsTheAddressOfAFreedBlock) {
  void* other = nullptr;
  {
    const Scope scope;
    char* const block = allocate(1000);
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    _usfree(block);
    other = std::malloc(1000);  // not through the utility layer
    if (!kAddressSanitizer) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(other), address);
    }
  }
  std::memset(other, 1, 1000);
  std::free(other);
}

TEST_F(ScopeOfBlocks, FollowsItsBlocksToNewAddresses) {
  {
    const Scope scope;
    char* block = allocate(10);
    char* const wall = allocate(10);  // prevents the first block from growing in place
    for (const std::uint64_t bytes : {100'000U, 30U, 1'000'000U, 0U, 5'000'000U})
      block = resize(block, bytes);
    block[4'999'999] = wall[9] = 1;
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, DoesNotOwnAResizedBlockFromBefore) {
  char* older = allocate(10);
  char* const wall = allocate(10);
  {
    const Scope scope;
    older = resize(older, 1'000'000);
  }
  older[999'999] = 1;
  _usfree(older);
  _usfree(wall);
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, OwnsABlockThatCouldNotBeResized) {
  {
    const Scope scope;
    char* const block = allocate(1000);
    EXPECT_EQ(fatal_text([&] { resize(block, std::uint64_t{1} << 63); }),
              "urealloc: cannot allocate 9223372036854775808 bytes for \"test: block\"");
    block[999] = 1;
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, FreesOnlyItsOwnInsideAnother) {
  {
    const Scope outer;
    char* const block = allocate(1000);
    {
      const Scope inner;
      allocate(3000);
    }
    block[999] = 1;
    EXPECT_GE(held(), 1000);
    EXPECT_LT(held(), 3000);
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, HandsWhatItKeepsToTheOuterOne) {
  {
    const Scope outer;
    char* block = nullptr;
    {
      Scope middle;
      {
        Scope inner;
        block = allocate(1000);
        inner.keep();
      }
      middle.keep();
    }
    block[999] = 1;
  }
  EXPECT_EQ(held(), 0);
}

TEST_F(ScopeOfBlocks, WithoutMemoryToNoteABlockTheRequestFails) {
  const Scope scope;
  EXPECT_EQ(fatal_text_out_of_memory([] { (void)umalloc(8, "test: block"); }),
            "umalloc: cannot allocate 8 bytes for \"test: block\"");
  EXPECT_EQ(fatal_text_out_of_memory([] { (void)imalloc(5, "test: ints"); }),
            "imalloc: cannot allocate 20 bytes for \"test: ints\"");
  EXPECT_EQ(fatal_text_out_of_memory([] { (void)urealloc(nullptr, 8, "test: block"); }),
            "urealloc: cannot allocate 8 bytes for \"test: block\"");
}

TEST_F(ScopeOfBlocks, ResizingNeedsNoMemoryForItsNotes) {
  {
    const Scope scope;
    char* const block = allocate(8);
    EXPECT_EQ(fatal_text_out_of_memory([&] { resize(block, 100'000)[99'999] = 1; }), kNoFatalError);
  }
  EXPECT_EQ(held(), 0);
}

class ScopeOfPools : public testing::TestWithParam<int> {
 protected:
  void SetUp() override { bottom_ = next_address(GetParam()); }
  void TearDown() override { EXPECT_EQ(next_address(GetParam()), bottom_); }

  static char* block() { return pool_block(GetParam()); }
  static int release(void* block) { return quillon::release(GetParam(), block); }
  [[nodiscard]] static char* top() { return next_address(GetParam()); }
  [[nodiscard]] char* bottom() const { return bottom_; }

 private:
  char* bottom_ = nullptr;
};

TEST_P(ScopeOfPools, ReleasesItsBlocks) {
  const Scope scope;
  block();
  block();
}

TEST_P(ScopeOfPools, SetsBothPoolsBack) {
  char* const tops[] = {next_address(0), next_address(1)};
  {
    const Scope scope;
    pool_block(0);
    pool_block(1);
    pool_block(0);
  }
  EXPECT_EQ(next_address(0), tops[0]);
  EXPECT_EQ(next_address(1), tops[1]);
}

TEST_P(ScopeOfPools, LeavesBlocksFromBefore) {
  char* const older = block();
  {
    const Scope scope;
    block();
  }
  older[99] = 1;
  EXPECT_EQ(release(older), 1);
}

TEST_P(ScopeOfPools, KeepsItsBlocksWhenTold) {
  char* kept = nullptr;
  {
    Scope scope;
    kept = block();
    block();
    scope.keep();
  }
  kept[99] = 1;
  EXPECT_EQ(release(kept), 2);
}

TEST_P(ScopeOfPools, WithNothingHeldReleasesNothing) {
  char* const older = block();
  {
    const Scope scope;
    release(block());
  }
  EXPECT_EQ(release(older), 1);
}

TEST_P(ScopeOfPools, ReleasesItsBlocksWhereOlderOnesStood) {
  char* const first = block();
  char* const second = block();
  {
    const Scope scope;
    release(second);
    EXPECT_EQ(block(), second);
    block();
  }
  EXPECT_EQ(top(), second);
  first[99] = 1;
  EXPECT_EQ(release(first), 1);
}

TEST_P(ScopeOfPools, LeavesThePoolEmptyWhenAllOlderBlocksWereReleased) {
  char* const first = block();
  block();
  {
    const Scope scope;
    release(first);
    block();
    block();
    block();
  }
  EXPECT_EQ(top(), bottom());
}

TEST_P(ScopeOfPools, HandsWhatItKeepsToTheOuterOne) {
  char* const older = block();
  {
    const Scope outer;
    block();
    {
      Scope inner;
      block();
      inner.keep();
    }
    EXPECT_NE(top(), older);
  }
  EXPECT_EQ(release(older), 1);
}

TEST_P(ScopeOfPools, PassesLowerMarksToTheOuterOne) {
  for (const bool kept : {false, true}) {
    char* const first = block();
    char* const second = block();
    {
      const Scope outer;
      block();
      {
        Scope inner;
        release(second);
        block();
        block();
        if (kept) inner.keep();
      }
      block();
    }
    EXPECT_EQ(top(), second);
    EXPECT_EQ(release(first), 1);
  }
}

TEST_P(ScopeOfPools, ReleasesOnlyItsOwnInsideAnother) {
  const Scope outer;
  char* const first = block();
  {
    const Scope inner;
    block();
  }
  char* const second = block();
  first[99] = second[99] = 1;
  EXPECT_EQ(release(first), 2);
}

INSTANTIATE_TEST_SUITE_P(Each, ScopeOfPools, testing::Values(0, 1));

TEST(ScopeOfPoolsNeverUsed, SetsThemBack) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [] {
    char* first = nullptr;
    {
      const Scope scope;
      first = pool_block(1);
      pool_block(1);
    }
    std::exit(next_address(1) == first ? 0 : 3);
  };
  EXPECT_EXIT(run(), ExitedWithCode(0), StrEq(""));
}

class ScopeOfStreams : public testing::Test {
 protected:
  void SetUp() override {
    before_ = open_descriptors();
    if (before_ < 0) GTEST_SKIP() << "the system does not tell which descriptors are open";
  }
  void TearDown() override { EXPECT_EQ(descriptors(), 0) << "a stream is still open"; }
  [[nodiscard]] int descriptors() const { return open_descriptors() - before_; }

  const TempFile file{"0123456789"};

 private:
  int before_ = 0;
};

TEST_F(ScopeOfStreams, ClosesThem) {
  if (kPortable) GTEST_SKIP() << "this build leaves them open";
  const TempFile output;
  {
    const Scope scope;
    open(file.name());
    std::fputs("written", open(output.name(), "w"));
    EXPECT_EQ(descriptors(), 2);
  }
  EXPECT_EQ(output.contents(), "written");
}

TEST_F(ScopeOfStreams, WithoutDescriptorsLeavesThemOpen) {
  if (!kPortable) GTEST_SKIP() << "this build closes them";
  std::FILE* stream = nullptr;
  {
    const Scope scope;
    stream = open(file.name());
  }
  EXPECT_EQ(std::fgetc(stream), '0');
  std::fclose(stream);
}

TEST_F(ScopeOfStreams, KeepsThemWhenTold) {
  std::FILE* stream = nullptr;
  {
    Scope scope;
    stream = open(file.name());
    scope.keep();
  }
  EXPECT_EQ(std::fgetc(stream), '0');
  ufclose(stream);
}

TEST_F(ScopeOfStreams, HandsWhatItKeepsToTheOuterOne) {
  if (kPortable) GTEST_SKIP() << "this build leaves them open";
  const Scope outer;
  Scope inner;
  open(file.name());
  inner.keep();
}

TEST_F(ScopeOfStreams, LeavesStreamsFromBeforeAndFromElsewhere) {
  std::FILE* const older = open(file.name());
  std::FILE* other = nullptr;
  {
    const Scope scope;
    other = std::fopen(file.name(), "r");
  }
  EXPECT_EQ(std::fgetc(older), '0');
  EXPECT_EQ(std::fgetc(other), '0');
  ufclose(older);
  std::fclose(other);
}

TEST_F(ScopeOfStreams, ClosesNothingThatWasClosed) {
  const Scope scope;
  ufclose(open(file.name()));
  std::fclose(open(file.name()));
  std::fclose(open(file.name()));
}

TEST_F(ScopeOfStreams, LeavesAStreamThatHasTheAddressOfAClosedOne) {
  std::FILE* other = nullptr;
  {
    const Scope scope;
    std::FILE* const stream = open(file.name());
    const auto address = reinterpret_cast<std::uintptr_t>(stream);
    std::fclose(stream);
    other = std::fopen(file.name(), "r");
    if (!kAddressSanitizer) {
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(other), address);
    }
  }
  EXPECT_EQ(std::fgetc(other), '0');
  std::fclose(other);
}

TEST_F(ScopeOfStreams, LeavesAFileThatHasTheDescriptorOfAClosedOne) {
  int descriptor = -1;
  {
    const Scope scope;
    std::FILE* const stream = open(file.name());
    descriptor = fileno(stream);
    std::fclose(stream);
    const int other = ::open("/dev/null", O_RDONLY);
    ASSERT_EQ(dup2(other, descriptor), descriptor);
    if (other != descriptor) close(other);
  }
  EXPECT_EQ(close(descriptor), 0);
}

TEST_F(ScopeOfStreams, ClosesAStreamThatHasTheDescriptorOfAClosedOneOnce) {
  if (kPortable) GTEST_SKIP() << "this build leaves them open";
  const Scope scope;
  std::FILE* const closed = open(file.name());
  const int descriptor = fileno(closed);
  std::FILE* const between = open(file.name());
  std::fclose(closed);
  EXPECT_EQ(fileno(open(file.name())), descriptor);
  std::fclose(between);
}

TEST_F(ScopeOfStreams, LeavesAStreamForWhichThereIsNoHighDescriptor) {
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit low{64, limit.rlim_max};
  std::FILE* stream = nullptr;
  {
    const Scope scope;
    setrlimit(RLIMIT_NOFILE, &low);
    stream = open(file.name());
    setrlimit(RLIMIT_NOFILE, &limit);
  }
  EXPECT_EQ(std::fgetc(stream), '0');
  std::fclose(stream);
}

TEST_F(ScopeOfStreams, OpensInEveryModeAsFopenDoes) {
  const Scope scope;
  for (const char* const mode : {"r", "rb", "r+", "a", "a+", "w", "w+", "wb"}) {
    SCOPED_TRACE(mode);
    const TempFile expected("0123456789");
    const TempFile found("0123456789");
    std::FILE* const streams[] = {std::fopen(expected.name(), mode), open(found.name(), mode)};
    std::string seen[2];
    for (const int i : {0, 1}) {
      std::FILE* const stream = streams[i];
      seen[i] += "at " + std::to_string(std::ftell(stream)) + ", " + std::to_string(std::fgetc(stream));
      std::fseek(stream, 4, SEEK_SET);
      seen[i] +=
          ", at " + std::to_string(std::ftell(stream)) + ", " + std::to_string(std::fputc('x', stream));
      seen[i] += ", at " + std::to_string(std::ftell(stream));
      std::fclose(stream);
    }
    EXPECT_EQ(seen[0], seen[1]);
    EXPECT_EQ(expected.contents(), found.contents());
  }
}

TEST_F(ScopeOfStreams, KeepsTheFlagOfClosingOnExec) {
  const Scope scope;
  std::FILE* const inherited = open(file.name(), "r");
  std::FILE* const closed = open(file.name(), "re");
  EXPECT_EQ(fcntl(fileno(inherited), F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(fcntl(fileno(closed), F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  ufclose(inherited);
  ufclose(closed);
}

TEST_F(ScopeOfStreams, WithoutMemoryOpensNothing) {
  const std::string text = std::string("ufopen: cannot open '") + file.name() +
                           "' with mode \"r\" for \"test: file\": Cannot allocate memory";
  for (int n = 0; n < 3; ++n) EXPECT_EQ(fatal_text_out_of_memory([this] { open(file.name()); }), text);
}

// The test has no Scope: the failing calls close their streams themselves.
TEST(AnError, LeavesNoStreamOpen) {
  const ThrowingHandler throwing;
  const TempFile file("1 x");
  const int before = open_descriptors();
  std::int32_t array[2] = {};

  EXPECT_THROW(read_array(file.name(), array, 2, 0), FatalError);
  EXPECT_THROW(read_array(file.name(), array, 3, 0), FatalError);
  EXPECT_THROW(read_array("no/such/file", array, 1, 0), FatalError);
  std::FILE* const unreadable = ufopen(file.name(), "w", "test: file");
  EXPECT_EQ(std::fgetc(unreadable), EOF);
  EXPECT_THROW(ufclose(unreadable), FatalError);
  EXPECT_EQ(open_descriptors(), before);
}

TEST(AnError, LeavesThePoolsUsable) {
  const ThrowingHandler throwing;
  char* const block = pool_block(0);
  EXPECT_THROW((void)poolalloc(0, ~std::uint64_t{0}, "test: all"), FatalError);
  EXPECT_THROW(release(0, block + 1), FatalError);
  EXPECT_THROW(release(2, block), FatalError);
  block[99] = 1;
  EXPECT_EQ(release(0, block), 1);
}

}  // namespace
}  // namespace quillon
