#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/throwing.h"
#include "tests/util/page_faults.h"
#include "tests/util/variant.h"
#include "util/util.h"

#ifdef QUILLON_TESTS_ADDRESS_SANITIZER
// No leak check in the children of death tests: their leaks do not matter, and it would need a second to
// search a pool that is one large heap block. The test program itself is checked.
extern "C" int __lsan_is_turned_off() {  // NOLINT(bugprone-reserved-identifier)
  return static_cast<int>(testing::internal::InDeathTestChild());
}
#endif

namespace quillon {
namespace {

using testing::ExitedWithCode;
using testing::HasSubstr;
using testing::KilledBySignal;
using testing::StrEq;

constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

char* take(int pool, std::uint64_t bytes) {
  return static_cast<char*>(poolalloc(pool, bytes, "test: block"));
}

int release(int pool, void* block) { return poolfree_upto(pool, block, "test: release"); }

// The address of the next block of a pool.
char* next_address(int pool) {
  char* const block = take(pool, 0);
  release(pool, block);
  return block;
}

// Every test checks that it has restored the pools: all tests start with empty ones.
class Pools : public testing::Test {
 protected:
  void SetUp() override {
    for (const int pool : {0, 1}) bottom[pool] = next_address(pool);
  }

  void TearDown() override {
    for (const int pool : {0, 1}) {
      const bool empty = next_address(pool) == bottom[pool];
      EXPECT_TRUE(empty) << "pool " << pool << " still holds a block";
      if (!empty) release(pool, bottom[pool]);
    }
  }

  char* bottom[2] = {};
};

class Poolalloc : public Pools {};
class PoolfreeUpto : public Pools {};

// A request for the n-th block of a sequence that mixes small, middle and large ones.
std::uint64_t mixed_size(int n) {
  constexpr std::uint64_t kSizes[] = {0, 1, 63, 64, 65, 4096, 100'000, 3 * kMiB + 1};
  return kSizes[n % 8];
}

std::uint64_t count_of(char value, const char* at, std::uint64_t bytes) {
  return static_cast<std::uint64_t>(std::count(at, at + bytes, value));
}

struct Block {
  char* at;
  std::uint64_t bytes;
};

std::vector<Block> take_filled_blocks(int pool, int count) {
  std::vector<Block> blocks;
  for (int n = 0; n < count; ++n) {
    blocks.push_back({take(pool, mixed_size(n)), mixed_size(n)});
    std::memset(blocks.back().at, n % 128, blocks.back().bytes);
  }
  return blocks;
}

void expect_filled(const std::vector<Block>& blocks) {
  for (std::size_t n = 0; n < blocks.size(); ++n)
    EXPECT_EQ(count_of(static_cast<char>(n % 128), blocks[n].at, blocks[n].bytes), blocks[n].bytes)
        << "block " << n;
}

std::string not_held(int pool, const void* block, const std::string& newest) {
  char address[32];
  std::snprintf(address, sizeof address, "%p", block);
  return "poolfree_upto: pool " + std::to_string(pool) + " does not hold block " + address +
         " for \"test: release\"; its newest is " + newest;
}

// Resident memory of this process in bytes, or 0 if the system does not tell.
std::uint64_t resident() {
  std::ifstream statm("/proc/self/statm");
  std::uint64_t total = 0;
  std::uint64_t pages = 0;
  statm >> total >> pages;
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

TEST_F(Poolalloc, GivesBlocksAtIncreasingAddresses) {
  for (const int pool : {0, 1}) {
    const char* end = bottom[pool];
    for (int n = 0; n < 80; ++n) {
      const char* const block = take(pool, mixed_size(n));
      EXPECT_GE(block, end) << "block " << n;
      end = block + std::max<std::uint64_t>(mixed_size(n), 1);
    }
    EXPECT_EQ(release(pool, bottom[pool]), 80);
  }
}

TEST_F(Poolalloc, AlignsBlocksTo64Bytes) {
  for (const int pool : {0, 1}) {
    for (int n = 0; n < 300; ++n)
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(take(pool, static_cast<std::uint64_t>(n))) % 64, 0U);
    EXPECT_EQ(release(pool, bottom[pool]), 300);
  }
}

TEST_F(Poolalloc, GivesEmptyBlocksAddressesOfTheirOwn) {
  char* const first = take(0, 0);
  char* const second = take(0, 0);
  char* const third = take(0, 1);

  EXPECT_LT(first, second);
  EXPECT_LT(second, third);
  EXPECT_EQ(release(0, third), 1);
  EXPECT_EQ(release(0, second), 1);
  EXPECT_EQ(release(0, first), 1);
}

TEST_F(Poolalloc, NeverMovesBlocksNorTouchesTheirContents) {
  // 10 rounds of the mixed sizes are more than 30 MiB in each pool.
  const std::vector<Block> left = take_filled_blocks(0, 80);
  const std::vector<Block> right = take_filled_blocks(1, 80);

  expect_filled(left);
  expect_filled(right);

  EXPECT_EQ(release(0, left[40].at), 40);
  EXPECT_EQ(release(1, right[0].at), 80);
  expect_filled({left.begin(), left.begin() + 40});
  EXPECT_EQ(release(0, left[0].at), 40);
}

TEST_F(Poolalloc, FillsLargeBlocksWithFewPageFaults) {
  constexpr std::uint64_t kBytes = 192 * kMiB;  // more than a pool keeps after a release
  constexpr std::uint64_t kFew = kBytes / 4096 / 4;
  if (kPortable || kAddressSanitizer)
    GTEST_SKIP() << "this build asks for no huge pages, or fills shadow pages too";
  if (faults_at_best(kBytes) > kFew) GTEST_SKIP() << "the system gives no huge pages";

  char* const block = take(0, kBytes);
  EXPECT_LT(faults_of_filling(block, kBytes), kFew);
  release(0, block);
}

TEST_F(Poolalloc, KeepsThePoolsApart) {
  char* const left = take(0, 10 * kMiB);
  char* const right = take(1, 10 * kMiB);
  std::memset(left, 1, 10 * kMiB);
  std::memset(right, 2, 10 * kMiB);

  EXPECT_EQ(release(0, left), 1);
  EXPECT_EQ(count_of(2, right, 10 * kMiB), 10 * kMiB);
  EXPECT_EQ(take(0, 1), left);
  EXPECT_EQ(release(1, right), 1);
  EXPECT_EQ(release(0, left), 1);
}

TEST_F(Poolalloc, RefusesAnUnknownPool) {
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(2, 8, "test: block"); }),
            "poolalloc: there is no pool 2 for \"test: block\"");
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(-1, 8, "test: block"); }),
            "poolalloc: there is no pool -1 for \"test: block\"");
}

TEST_F(Poolalloc, FailsWhenThePoolHasNoRoom) {
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(0, kMost, "test: all"); }),
            "poolalloc: pool 0 cannot provide 18446744073709551615 bytes for \"test: all\"");
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(1, kMost / 2 + 1, "test: half"); }),
            "poolalloc: pool 1 cannot provide 9223372036854775808 bytes for \"test: half\"");
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(1, std::uint64_t{1} << 40, "test: 1 TiB"); }),
            "poolalloc: pool 1 cannot provide 1099511627776 bytes for \"test: 1 TiB\"");
}

TEST_F(Poolalloc, HasOneGiBWithoutTheSystemsOwnCalls) {
  if (!kPortable) GTEST_SKIP() << "this build reserves address space";
  constexpr std::uint64_t kGiB = 1024 * kMiB;
  EXPECT_EQ(release(0, take(0, kGiB - 4 * kMiB)), 1);
  EXPECT_EQ(fatal_text([&] { (void)poolalloc(0, kGiB, "test: 1 GiB"); }),
            "poolalloc: pool 0 cannot provide 1073741824 bytes for \"test: 1 GiB\"");
}

TEST_F(Poolalloc, FailsForSizesThatWrapAroundWhenRoundedUp) {
  for (const std::uint64_t below : {62U, 63U, 127U}) {
    const std::string bytes = std::to_string(kMost - below);
    EXPECT_EQ(fatal_text([&] { (void)poolalloc(0, kMost - below, "test: wraps"); }),
              "poolalloc: pool 0 cannot provide " + bytes + " bytes for \"test: wraps\"");
  }
}

TEST_F(PoolfreeUpto, ReturnsTheTopToWhereItWas) {
  char* const first = take(0, 100);
  char* const second = take(0, 5 * kMiB);
  char* const third = take(0, 1);

  EXPECT_EQ(release(0, third), 1);
  EXPECT_EQ(take(0, 200), third);
  EXPECT_EQ(release(0, third), 1);
  EXPECT_EQ(release(0, second), 1);
  EXPECT_EQ(take(0, 0), second);
  EXPECT_EQ(release(0, first), 2);
  EXPECT_EQ(next_address(0), first);
}

TEST_F(PoolfreeUpto, ReleasesTheYoungerBlocksToo) {
  char* blocks[5];
  for (char*& block : blocks) block = take(1, 1000);

  EXPECT_EQ(release(1, blocks[2]), 3);
  EXPECT_EQ(next_address(1), blocks[2]);
  EXPECT_EQ(release(1, blocks[0]), 2);
  EXPECT_EQ(next_address(1), blocks[0]);
}

TEST_F(PoolfreeUpto, RefusesAnUnknownPool) {
  char* const block = take(0, 8);
  EXPECT_EQ(fatal_text([&] { release(2, block); }),
            "poolfree_upto: there is no pool 2 for \"test: release\"");
  EXPECT_EQ(fatal_text([&] { release(-1, block); }),
            "poolfree_upto: there is no pool -1 for \"test: release\"");
  EXPECT_EQ(release(0, block), 1);
}

TEST_F(PoolfreeUpto, RefusesEverythingWhenThePoolIsEmpty) {
  int outside = 0;
  EXPECT_EQ(fatal_text([&] { release(0, nullptr); }), not_held(0, nullptr, "\"none\" of 0 bytes"));
  EXPECT_EQ(fatal_text([&] { release(1, bottom[1]); }), not_held(1, bottom[1], "\"none\" of 0 bytes"));
  EXPECT_EQ(fatal_text([&] { release(1, &outside); }), not_held(1, &outside, "\"none\" of 0 bytes"));
}

TEST_F(PoolfreeUpto, RefusesWhatIsNoBlock) {
  char* const oldest = take(0, 100);
  char* const newest = take(0, 200);
  int outside = 0;
  const std::string last = "\"test: block\" of 200 bytes";

  EXPECT_EQ(fatal_text([&] { release(0, nullptr); }), not_held(0, nullptr, last));
  EXPECT_EQ(fatal_text([&] { release(0, &outside); }), not_held(0, &outside, last));
  for (char* const address : {oldest - 1, oldest + 1, oldest + 64, newest - 64, newest + 1, newest + 256}) {
    SCOPED_TRACE(address - oldest);
    EXPECT_EQ(fatal_text([&] { release(0, address); }), not_held(0, address, last));
  }
  EXPECT_EQ(release(0, oldest), 2);
}

TEST_F(PoolfreeUpto, NamesTheNewestByWhatItsTagWasThen) {
  std::string tag = "test: long " + std::string(100, 'x');
  void* const block = poolalloc(0, 8, tag.c_str());
  const std::string seen = tag.substr(0, 47);
  tag.assign(tag.size(), '-');

  EXPECT_EQ(fatal_text([&] { release(0, nullptr); }), not_held(0, nullptr, "\"" + seen + "\" of 8 bytes"));
  EXPECT_EQ(release(0, block), 1);
}

TEST_F(PoolfreeUpto, RefusesASecondRelease) {
  char* const kept = take(1, 24);
  char* const block = take(1, 8);
  EXPECT_EQ(release(1, block), 1);

  EXPECT_EQ(fatal_text([&] { release(1, block); }), not_held(1, block, "\"test: block\" of 24 bytes"));
  EXPECT_EQ(release(1, kept), 1);
}

TEST_F(PoolfreeUpto, RefusesABlockOfTheOtherPool) {
  char* const left = take(0, 8);
  char* const right = take(1, 24);

  EXPECT_EQ(fatal_text([&] { release(1, left); }), not_held(1, left, "\"test: block\" of 24 bytes"));
  EXPECT_EQ(fatal_text([&] { release(0, right); }), not_held(0, right, "\"test: block\" of 8 bytes"));
  EXPECT_EQ(release(0, left), 1);
  EXPECT_EQ(release(1, right), 1);
}

TEST_F(PoolfreeUpto, LetsALargePoolGrowAgain) {
  for (const char fill : {'a', 'b', 'c'}) {
    char* const small = take(0, 100);
    char* const large = take(0, 150 * kMiB);
    std::memset(small, fill, 100);
    std::memset(large, fill, 150 * kMiB);

    EXPECT_EQ(count_of(fill, large, 150 * kMiB), 150 * kMiB);
    EXPECT_EQ(release(0, large), 1);
    EXPECT_EQ(count_of(fill, small, 100), 100U);
    EXPECT_EQ(release(0, small), 1);
  }
}

TEST_F(PoolfreeUpto, GivesMemoryBackToTheSystemAndKeepsSomeForTheNextBlocks) {
  if (kPortable) GTEST_SKIP() << "this build keeps the memory";
  if (resident() == 0) GTEST_SKIP() << "the system does not tell how much memory is used";

  char* const block = take(0, 250 * kMiB);
  std::memset(block, 1, 250 * kMiB);
  const std::uint64_t filled = resident();
  EXPECT_GE(filled, 250 * kMiB);

  // All memory of the pool except 64 MiB, rounded up, is returned.
  EXPECT_EQ(release(0, block), 1);
  EXPECT_LT(resident() + 180 * kMiB, filled);
  EXPECT_GT(resident() + 190 * kMiB, filled);
}

TEST_F(PoolfreeUpto, KeepsTheBlocksBelowWhatItGivesBack) {
  // More than the 64 MiB that a pool keeps above its top.
  const std::vector<Block> kept = take_filled_blocks(1, 200);
  ASSERT_GT(kept.back().at - kept.front().at, 70 * kMiB);
  char* const block = take(1, 150 * kMiB);
  std::memset(block + 149 * kMiB, 1, kMiB);

  EXPECT_EQ(release(1, block), 1);
  expect_filled(kept);
  EXPECT_EQ(release(1, kept[0].at), 200);
}

TEST_F(PoolfreeUpto, MakesMemoryGivenBackUnusable) {
  if (kPortable || kAddressSanitizer) GTEST_SKIP() << "this build keeps the memory, or watches it otherwise";
  char* const block = take(0, 150 * kMiB);
  std::memset(block, 1, 150 * kMiB);
  release(0, block);

  EXPECT_EXIT(*const_cast<volatile char*>(block + 100 * kMiB) = 1, KilledBySignal(SIGSEGV), StrEq(""));
}

// Tests that the address sanitizer detects invalid accesses.
class PoolsUnderTheAddressSanitizer : public Pools {
 protected:
  void SetUp() override {
    if (!kAddressSanitizer) GTEST_SKIP() << "without the address sanitizer nothing watches the blocks";
    Pools::SetUp();
  }
  void TearDown() override {
    if (kAddressSanitizer) Pools::TearDown();
  }

  static void expect_unaddressable(char* byte) {
    volatile char* const watched = byte;
    EXPECT_DEATH((void)*watched, HasSubstr("use-after-poison"));
    EXPECT_DEATH(*watched = 1, HasSubstr("use-after-poison"));
  }
};

TEST_F(PoolsUnderTheAddressSanitizer, BlocksEndAtTheirLastByte) {
  for (const std::uint64_t bytes : {1U, 7U, 8U, 13U, 63U, 64U, 100U, 5'000'000U}) {
    SCOPED_TRACE(bytes);
    char* const block = take(0, bytes);
    char* const next = take(0, 8);
    block[0] = block[bytes - 1] = 1;

    expect_unaddressable(block + bytes);
    next[0] = next[7] = 1;
    release(0, block);
  }
}

TEST_F(PoolsUnderTheAddressSanitizer, BlocksBeginAtTheirFirstByte) {
  char* const first = take(1, 64);
  char* const second = take(1, 64);

  expect_unaddressable(first - 1);
  expect_unaddressable(second - 1);
  expect_unaddressable(second - 64);
  first[0] = second[0] = 1;
  release(1, first);
}

TEST_F(PoolsUnderTheAddressSanitizer, EmptyBlocksHaveNoByte) {
  char* const empty = take(0, 0);
  expect_unaddressable(empty);
  take(0, 8);
  expect_unaddressable(empty);
  release(0, empty);
}

TEST_F(PoolsUnderTheAddressSanitizer, ReleasedBlocksAreGone) {
  char* const kept = take(0, 100);
  char* const middle = take(0, 1000);
  char* const last = take(0, 1000);

  release(0, middle);
  for (char* const byte : {middle, middle + 999, last, last + 999}) expect_unaddressable(byte);
  kept[99] = 1;

  // A shorter block in the same place does not make the rest addressable.
  EXPECT_EQ(take(0, 10), middle);
  middle[9] = 1;
  expect_unaddressable(middle + 10);
  expect_unaddressable(last);
  release(0, kept);
}

TEST_F(PoolsUnderTheAddressSanitizer, LargeReleasedBlocksAreGoneAndOpenAgain) {
  // No other test allocates as much: the memory after the block was never used.
  for (int round = 0; round < 2; ++round) {
    char* const block = take(1, 300 * kMiB);
    block[0] = block[300 * kMiB - 1] = 1;
    expect_unaddressable(block + 300 * kMiB);
    release(1, block);
    expect_unaddressable(block);
  }
}

TEST_F(PoolsUnderTheAddressSanitizer, ARefusedReleaseLooksAtNoForeignMemory) {
  char* const block = take(0, 8);
  expect_unaddressable(block - 64);
  EXPECT_EQ(fatal_text([&] { release(0, block + 1); }), not_held(0, block + 1, "\"test: block\" of 8 bytes"));
  release(0, block);
}

// Tests that run in new processes, in which no pool has been used, under a limit on memory.
class PoolsUnderALimit : public testing::Test {
 protected:
  void SetUp() override {
    if (kAddressSanitizer)
      GTEST_SKIP() << "the address sanitizer needs more address space than the limit leaves";
    GTEST_FLAG_SET(death_test_style, "threadsafe");
  }

  static void limit(int resource, std::uint64_t bytes) {
    const rlimit value{bytes, bytes};
    if (setrlimit(static_cast<decltype(RLIMIT_AS)>(resource), &value) != 0) std::exit(2);
  }

  static void take_filled(int pool, std::uint64_t bytes) { std::memset(take(pool, bytes), pool + 1, bytes); }

  [[noreturn]] static void fill_with_blocks_of(int pool, std::uint64_t bytes) {
    while (true) take_filled(pool, bytes);
  }
};

void use_pools_and_heap_and_return(std::uint64_t pool_bytes, std::uint64_t heap_bytes) {
  for (const int pool : {0, 1}) {
    for (const char fill : {'a', 'b'}) {
      char* const block = take(pool, pool_bytes);
      std::memset(block, fill, pool_bytes);
      if (std::count(block, block + pool_bytes, fill) != static_cast<std::ptrdiff_t>(pool_bytes))
        std::exit(3);
      if (fill == 'a') release(pool, block);
    }
  }
  void* const block = umalloc(heap_bytes, "test: heap");
  std::memset(block, 7, heap_bytes);
  _usfree(block);
}

TEST_F(PoolsUnderALimit, LeaveRoomForTheHeap) {
  const auto run = [] {
    limit(RLIMIT_AS, 512 * kMiB);
    use_pools_and_heap_and_return(50 * kMiB, 50 * kMiB);
    std::exit(0);
  };
  EXPECT_EXIT(run(), ExitedWithCode(0), StrEq(""));
}

TEST_F(PoolsUnderALimit, UseAQuarterOfTheAddressSpaceEach) {
  if (kPortable) GTEST_SKIP() << "this build knows no limits";
  const auto run = [] {
    limit(RLIMIT_AS, 512 * kMiB);
    use_pools_and_heap_and_return(125 * kMiB, 220 * kMiB);
    std::exit(0);
  };
  EXPECT_EXIT(run(), ExitedWithCode(0), StrEq(""));
}

TEST_F(PoolsUnderALimit, RefuseWhatIsLargerThanThePool) {
  const auto run = [] {
    limit(RLIMIT_AS, 512 * kMiB);
    take_filled(0, kMiB);
    (void)poolalloc(0, 512 * kMiB, "test: large");
  };
  EXPECT_EXIT(
      run(), ExitedWithCode(1),
      StrEq("quillon: error: poolalloc: pool 0 cannot provide 536870912 bytes for \"test: large\"\n"));
}

TEST_F(PoolsUnderALimit, RefuseMoreThanAQuarterOfTheAddressSpace) {
  if (kPortable) GTEST_SKIP() << "this build knows no limits";
  const auto run = [] {
    limit(RLIMIT_AS, 512 * kMiB);
    (void)poolalloc(1, 128 * kMiB, "test: quarter");
  };
  EXPECT_EXIT(
      run(), ExitedWithCode(1),
      StrEq("quillon: error: poolalloc: pool 1 cannot provide 134217728 bytes for \"test: quarter\"\n"));
}

TEST_F(PoolsUnderALimit, CanBeFilledToTheirEnd) {
  const auto run = [](int nfirst, std::uint64_t bytes) {
    limit(RLIMIT_AS, 256 * kMiB);
    for (int i = 0; i < nfirst; ++i) take_filled(1, 64);
    fill_with_blocks_of(1, bytes);
  };
  EXPECT_EXIT(run(0, 64), ExitedWithCode(1),
              StrEq("quillon: error: poolalloc: pool 1 cannot provide 64 bytes for \"test: block\"\n"));
  EXPECT_EXIT(run(0, 100'000), ExitedWithCode(1),
              StrEq("quillon: error: poolalloc: pool 1 cannot provide 100000 bytes for \"test: block\"\n"));

  // Each block has three lines: at the end of the pool 0, 1 and 2 lines remain, one case each.
  for (const int nfirst : {0, 1, 2}) {
    EXPECT_EXIT(run(nfirst, 65), ExitedWithCode(1),
                StrEq("quillon: error: poolalloc: pool 1 cannot provide 65 bytes for \"test: block\"\n"));
  }
}

TEST_F(PoolsUnderALimit, AreSmallerWhereOtherMappingsUseTheAddressSpace) {
  if (kPortable) GTEST_SKIP() << "this build knows no limits";
  // Less than 112 MiB of 512 MiB are left: too few for a quarter, enough for an eighth.
  const auto run = [](std::uint64_t bytes) {
    if (mmap(nullptr, 400 * kMiB, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED) std::exit(2);
    limit(RLIMIT_AS, 512 * kMiB);
    take_filled(0, bytes);
    std::exit(0);
  };
  EXPECT_EXIT(run(60 * kMiB), ExitedWithCode(0), StrEq(""));
  EXPECT_EXIT(run(64 * kMiB), ExitedWithCode(1),
              StrEq("quillon: error: poolalloc: pool 0 cannot provide 67108864 bytes for \"test: block\"\n"));
}

TEST_F(PoolsUnderALimit, RefuseAllBlocksWhereNoAddressSpaceIsLeft) {
  const auto run = [] {
    if (mmap(nullptr, 64 * kMiB, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED) std::exit(2);
    limit(RLIMIT_AS, 64 * kMiB);
    (void)poolalloc(0, 0, "test: empty");
  };
  EXPECT_EXIT(run(), ExitedWithCode(1),
              StrEq("quillon: error: poolalloc: pool 0 cannot provide 0 bytes for \"test: empty\"\n"));
}

TEST_F(PoolsUnderALimit, RefuseABlockThatTheSystemHasNoMemoryFor) {
  if (kPortable) GTEST_SKIP() << "this build takes the memory of a pool at once";
  const auto run = [] {
    limit(RLIMIT_DATA, 128 * kMiB);
    take_filled(1, 10 * kMiB);
    (void)poolalloc(1, 200 * kMiB, "test: large");
  };
  EXPECT_EXIT(
      run(), ExitedWithCode(1),
      StrEq("quillon: error: poolalloc: pool 1 cannot provide 209715200 bytes for \"test: large\"\n"));
}

}  // namespace
}  // namespace quillon
