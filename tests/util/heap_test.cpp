#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>
#include <set>
#include <vector>

#include "tests/support/throwing.h"
#include "tests/util/page_faults.h"
#include "tests/util/variant.h"
#include "util/util.h"

namespace quillon {
namespace {

using testing::ExitedWithCode;
using testing::StrEq;

unsigned char* bytes_of(void* block) { return static_cast<unsigned char*>(block); }

void expect_aligned_for_any_type(const void* block) {
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U) << block;
}

// Allocates each kind of block in turn, in total far more than the limit: a leak of any kind ends the
// program.
void allocate_and_free_under_a_limit() {
  const rlimit limit{1024 * kMiB, 1024 * kMiB};
  if (setrlimit(RLIMIT_AS, &limit) != 0) std::exit(2);
  for (int round = 0; round < 100; ++round) {
    _usfree(umalloc(64 * kMiB, "test: block"));
    _usfree(imalloc(16 * kMiB, "test: numbers"));
    _usfree(urealloc(umalloc(64 * kMiB, "test: grown"), 128 * kMiB, "test: grown"));
  }
  std::exit(0);
}

TEST(Umalloc, GivesABlockThatCanBeWrittenToItsLastByte) {
  for (const std::uint64_t bytes : {1U, 7U, 64U, 4096U, 1'000'003U}) {
    unsigned char* const block = bytes_of(umalloc(bytes, "test: block"));
    std::memset(block, 0xa5, bytes);
    EXPECT_EQ(std::count(block, block + bytes, 0xa5), bytes);
    _usfree(block);
  }
}

TEST(Umalloc, GivesABlockOfItsOwnForNoBytes) {
  std::set<void*> blocks;
  for (int i = 0; i < 4; ++i) blocks.insert(umalloc(0, "test: empty"));
  for (int i = 0; i < 4; ++i) blocks.insert(imalloc(0, "test: empty"));
  for (int i = 0; i < 4; ++i) blocks.insert(urealloc(nullptr, 0, "test: empty"));

  EXPECT_EQ(blocks.size(), 12U);
  EXPECT_EQ(blocks.count(nullptr), 0U);
  for (void* const block : blocks) _usfree(block);
}

TEST(Umalloc, AlignsBlocksForAnyType) {
  std::vector<void*> blocks;
  for (std::uint64_t bytes = 0; bytes < 100; ++bytes) blocks.push_back(umalloc(bytes, "test: block"));
  blocks.push_back(umalloc(4 * kMiB, "test: block"));
  blocks.push_back(imalloc(3, "test: block"));
  blocks.push_back(urealloc(nullptr, 3, "test: block"));

  for (void* const block : blocks) {
    expect_aligned_for_any_type(block);
    _usfree(block);
  }
}

TEST(Umalloc, GivesALargeBlockThatHoldsItsContents) {
  constexpr std::uint64_t kNumbers = 64 * kMiB / 8;
  auto* const numbers = static_cast<std::uint64_t*>(umalloc(8 * kNumbers, "test: large"));
  std::iota(numbers, numbers + kNumbers, std::uint64_t{1});

  EXPECT_EQ(numbers[kNumbers - 1], kNumbers);
  EXPECT_EQ(std::accumulate(numbers, numbers + kNumbers, std::uint64_t{0}), kNumbers * (kNumbers + 1) / 2);
  _usfree(numbers);
}

TEST(Umalloc, FillsLargeBlocksWithFewPageFaults) {
  constexpr std::uint64_t kBytes = 64 * kMiB;
  constexpr std::uint64_t kFew = kBytes / 4096 / 4;
  if (kPortable || kAddressSanitizer)
    GTEST_SKIP() << "this build asks for no huge pages, or fills shadow pages too";
  if (faults_at_best(kBytes) > kFew) GTEST_SKIP() << "the system gives no huge pages";

  void* const block = umalloc(kBytes, "test: large");
  EXPECT_LT(faults_of_filling(block, kBytes), kFew);
  _usfree(block);

  void* const grown = urealloc(urealloc(nullptr, 16, "test: grown"), kBytes, "test: grown");
  EXPECT_LT(faults_of_filling(grown, kBytes), kFew);
  _usfree(grown);
}

TEST(Umalloc, FailsWhenABlockIsBeyondTheAddressSpace) {
  EXPECT_EQ(fatal_text([&] { (void)umalloc(std::numeric_limits<std::uint64_t>::max(), "test: all"); }),
            "umalloc: cannot allocate 18446744073709551615 bytes for \"test: all\"");
  EXPECT_EQ(fatal_text([&] { (void)umalloc(std::uint64_t{0} - 15, "test: wraps"); }),
            "umalloc: cannot allocate 18446744073709551601 bytes for \"test: wraps\"");
  EXPECT_EQ(fatal_text([&] { (void)umalloc(std::uint64_t{1} << 63, "test: half"); }),
            "umalloc: cannot allocate 9223372036854775808 bytes for \"test: half\"");
}

TEST(Umalloc, FailsWhenTheSystemHasNotEnough) {
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer ends the program itself";
  EXPECT_EQ(fatal_text([&] { (void)umalloc(std::uint64_t{1} << 62, "test: most"); }),
            "umalloc: cannot allocate 4611686018427387904 bytes for \"test: most\"");
  EXPECT_EQ(fatal_text([&] { (void)umalloc((std::uint64_t{1} << 63) - 1, "test: half"); }),
            "umalloc: cannot allocate 9223372036854775807 bytes for \"test: half\"");
}

TEST(Imalloc, CountsElements) {
  std::int32_t* const numbers = imalloc(1'000'003, "test: numbers");
  std::iota(numbers, numbers + 1'000'003, -500'001);

  EXPECT_EQ(numbers[0], -500'001);
  EXPECT_EQ(numbers[1'000'002], 500'001);
  EXPECT_EQ(std::accumulate(numbers, numbers + 1'000'003, std::int64_t{0}), 0);
  _usfree(numbers);
}

TEST(Imalloc, RefusesANegativeCount) {
  EXPECT_EQ(fatal_text([&] { (void)imalloc(-1, "test: none"); }),
            "imalloc: negative count -1 for \"test: none\"");
  EXPECT_EQ(fatal_text([&] { (void)imalloc(std::numeric_limits<std::int64_t>::min(), "test: least"); }),
            "imalloc: negative count -9223372036854775808 for \"test: least\"");
}

TEST(Imalloc, FailsWhenABlockIsBeyondTheAddressSpace) {
  // 2^61 ints are 2^63 bytes; the byte count of 2^62 ints no longer fits in 64 bits.
  EXPECT_EQ(fatal_text([&] { (void)imalloc(std::int64_t{1} << 61, "test: half"); }),
            "imalloc: cannot allocate 9223372036854775808 bytes for \"test: half\"");
  EXPECT_EQ(fatal_text([&] { (void)imalloc(std::int64_t{1} << 62, "test: wraps"); }),
            "imalloc: cannot allocate 18446744073709551615 bytes for \"test: wraps\"");
  EXPECT_EQ(fatal_text([&] { (void)imalloc(std::numeric_limits<std::int64_t>::max(), "test: all"); }),
            "imalloc: cannot allocate 18446744073709551615 bytes for \"test: all\"");
}

TEST(Imalloc, FailsWhenTheSystemHasNotEnough) {
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer ends the program itself";
  EXPECT_EQ(fatal_text([&] { (void)imalloc(std::int64_t{1} << 60, "test: most"); }),
            "imalloc: cannot allocate 4611686018427387904 bytes for \"test: most\"");
}

TEST(Urealloc, AllocatesANewBlockForNull) {
  unsigned char* const block = bytes_of(urealloc(nullptr, 1000, "test: block"));
  ASSERT_NE(block, nullptr);
  std::memset(block, 3, 1000);
  EXPECT_EQ(std::count(block, block + 1000, 3), 1000);
  _usfree(block);
}

TEST(Urealloc, KeepsTheContentsWhenABlockGrows) {
  std::int32_t* numbers = imalloc(10, "test: numbers");
  std::iota(numbers, numbers + 10, 0);

  std::int64_t count = 10;
  for (; count < 3'000'000; count *= 3) {
    numbers = static_cast<std::int32_t*>(
        urealloc(numbers, 12 * static_cast<std::uint64_t>(count), "test: numbers"));
    std::iota(numbers + count, numbers + 3 * count, static_cast<std::int32_t>(count));
  }

  for (std::int64_t i = 0; i < count; ++i) ASSERT_EQ(numbers[i], i);
  _usfree(numbers);
}

TEST(Urealloc, KeepsTheFirstPartWhenABlockShrinks) {
  auto* numbers = static_cast<std::int32_t*>(umalloc(16 * kMiB, "test: numbers"));
  std::iota(numbers, numbers + 4 * kMiB, 0);

  for (std::uint64_t count = 4 * kMiB; count >= 1; count /= 8) {
    numbers = static_cast<std::int32_t*>(urealloc(numbers, 4 * count, "test: numbers"));
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(numbers[i], i);
  }
  _usfree(numbers);
}

TEST(Urealloc, MovesALargeBlockWithoutCopyingIt) {
#ifndef MREMAP_MAYMOVE
  GTEST_SKIP() << "the system cannot move memory";
#endif
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer always copies";
  auto* const numbers = static_cast<std::int32_t*>(umalloc(64 * kMiB, "test: numbers"));
  std::iota(numbers, numbers + 16 * kMiB, 0);

  // A copy would cost 32 page faults even if all pages were huge.
  const std::uint64_t before = minor_faults();
  auto* const grown = static_cast<std::int32_t*>(urealloc(numbers, 256 * kMiB, "test: numbers"));
  EXPECT_LT(minor_faults() - before, 16U);

  for (int i = 0; i < static_cast<int>(16 * kMiB); ++i) ASSERT_EQ(grown[i], i);
  _usfree(grown);
}

TEST(Urealloc, GivesABlockWhenNothingIsLeft) {
  void* const block = urealloc(umalloc(100, "test: block"), 0, "test: block");
  ASSERT_NE(block, nullptr);

  unsigned char* const grown = bytes_of(urealloc(block, 100, "test: block"));
  std::memset(grown, 1, 100);
  EXPECT_EQ(std::count(grown, grown + 100, 1), 100);
  _usfree(grown);
}

TEST(Urealloc, FailsWhenABlockIsBeyondTheAddressSpace) {
  void* const block = umalloc(8, "test: block");
  EXPECT_EQ(fatal_text([&] { (void)urealloc(block, std::uint64_t{0} - 1, "test: all"); }),
            "urealloc: cannot allocate 18446744073709551615 bytes for \"test: all\"");
  EXPECT_EQ(fatal_text([&] { (void)urealloc(nullptr, std::uint64_t{1} << 63, "test: half"); }),
            "urealloc: cannot allocate 9223372036854775808 bytes for \"test: half\"");
  _usfree(block);
}

TEST(Urealloc, FailsWhenTheSystemHasNotEnough) {
  if (kAddressSanitizer) GTEST_SKIP() << "the address sanitizer ends the program itself";
  void* const block = umalloc(8, "test: block");
  EXPECT_EQ(fatal_text([&] { (void)urealloc(block, std::uint64_t{1} << 62, "test: most"); }),
            "urealloc: cannot allocate 4611686018427387904 bytes for \"test: most\"");
  _usfree(block);
}

TEST(Usfree, AllowsNull) { EXPECT_EXIT((_usfree(nullptr), std::exit(0)), ExitedWithCode(0), StrEq("")); }

TEST(Usfree, LetsMemoryBeAllocatedAgain) {
  if (kAddressSanitizer)
    GTEST_SKIP() << "the address sanitizer needs more address space than the limit leaves";
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a new process, without pools
  EXPECT_EXIT(allocate_and_free_under_a_limit(), ExitedWithCode(0), StrEq(""));
}

}  // namespace
}  // namespace quillon
