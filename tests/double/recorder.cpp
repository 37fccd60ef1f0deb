#include "tests/double/recorder.h"

#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <map>
#include <utility>

#include "tests/util/variant.h"
#include "util/util.h"

namespace quillon {
namespace recorder {
namespace {

struct Block {
  int pool;  // -1 for the heap
  void* address;
  std::uint64_t bytes;
  std::string tag;
};

// A pool is one array: younger blocks have higher addresses, as the module requires.
using PoolRegion = std::array<char, std::size_t{1} << 20>;

struct Record {
  std::vector<std::string> requests;
  std::vector<std::string> warnings;
  std::string printed;
  std::vector<Block> held;
  std::map<std::FILE*, std::string> files;
  std::array<std::size_t, 2> pool_tops = {};
  int allocations_until_failure = 0;
  std::uint64_t most_bytes = 0;  // of a request; 0: no limit
  std::deque<int> draws;
  std::deque<std::vector<int>> permutations;
  std::string overrun;  // the tag of a block with writes after its end
};

Record record;

// Shared by all tests, because sanitizers make new ones slow: the pools, and a block for the line buffer of
// the readers while it is free. Its beginning is poisoned then, like freed memory.
std::array<PoolRegion, 2> pools;
constexpr std::uint64_t kLineBytes = 16777216;
constexpr std::size_t kWatchedBytes = std::size_t{1} << 18;
void* spare_line = nullptr;

std::string formatted(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  std::string text(static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
  va_end(again);
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

void note(const std::string& request) { record.requests.push_back(request); }

void note_allocation(const std::string& request, std::uint64_t bytes, const char* tag) {
  note(request + " " + tag);
  if (record.most_bytes > 0 && bytes > record.most_bytes)
    throw FatalError(std::string("out of memory: ") + tag);
  if (record.allocations_until_failure > 0 && --record.allocations_until_failure == 0) throw FatalError(tag);
}

std::vector<Block>::iterator find_block(int pool, const void* address) {
  return std::find_if(record.held.begin(), record.held.end(), [pool, address](const Block& block) {
    return block.pool == pool && block.address == address;
  });
}

// Bytes after each heap block, which nobody may write. The address sanitizer watches them itself.
constexpr std::size_t kFence = kAddressSanitizer ? 0 : 4096;
constexpr unsigned char kFenceByte = 0x5c;

void raise_fence(void* block, std::uint64_t bytes) {
  std::fill_n(static_cast<unsigned char*>(block) + bytes, kFence, kFenceByte);
}

bool is_fence_whole(const Block& block) {
  const auto* const fence = static_cast<const unsigned char*>(block.address) + block.bytes;
  return std::all_of(fence, fence + kFence, [](unsigned char byte) { return byte == kFenceByte; });
}

void* take(std::uint64_t bytes) {
  if (bytes != kLineBytes || spare_line == nullptr) {
    const std::uint64_t all = std::max<std::uint64_t>(bytes, 1) + kFence;
    return all < bytes ? nullptr : std::malloc(all);
  }
  ASAN_UNPOISON_MEMORY_REGION(spare_line, kWatchedBytes);
  return std::exchange(spare_line, nullptr);
}

void give_back(const Block& block) {
  if (!is_fence_whole(block)) record.overrun = block.tag;
  if (block.bytes != kLineBytes || spare_line != nullptr) {
    std::free(block.address);
    return;
  }
  ASAN_POISON_MEMORY_REGION(block.address, kWatchedBytes);
  spare_line = block.address;
}

// New blocks hold a pattern, so that tests see which bytes were not written.
void* heap_block(std::uint64_t bytes, const char* tag) {
  auto* const block = static_cast<unsigned char*>(take(bytes));
  if (block == nullptr) throw FatalError(std::string("out of memory: ") + tag);
  std::fill_n(block, std::min<std::uint64_t>(bytes, 4096), static_cast<unsigned char>(0xa5));
  raise_fence(block, bytes);
  record.held.push_back({-1, block, bytes, tag});
  return block;
}

}  // namespace

void reset() {
  for (const Block& block : record.held)
    if (block.pool < 0) give_back(block);
  for (const auto& [stream, name] : record.files) std::fclose(stream);
  const std::string overrun = record.overrun;
  record = Record{};
  if (!overrun.empty()) throw Misuse("a write after the end of " + overrun);
}

std::vector<std::string> requests() { return record.requests; }

std::vector<std::string> requests(const std::vector<std::string>& words) {
  std::vector<std::string> chosen;
  for (const std::string& request : record.requests)
    if (std::count(words.begin(), words.end(), request.substr(0, request.find(' '))) != 0)
      chosen.push_back(request);
  return chosen;
}

std::vector<std::string> warnings() { return record.warnings; }

std::string printed() { return record.printed; }

std::vector<std::string> held() {
  std::vector<std::string> tags;
  for (const Block& block : record.held) tags.push_back(block.tag);
  return tags;
}

void forget_files() { record.files.clear(); }

void script_random(const std::vector<int>& draws) { record.draws.assign(draws.begin(), draws.end()); }

void script_permutations(const std::vector<std::vector<int>>& permutations) {
  record.permutations.assign(permutations.begin(), permutations.end());
}

void limit_requests(std::uint64_t bytes) { record.most_bytes = bytes; }

void fail_allocation(int n) { record.allocations_until_failure = n; }

}  // namespace recorder

using recorder::record;

void* umalloc(std::uint64_t bytes, const char* tag) {
  recorder::note_allocation("umalloc " + std::to_string(bytes), bytes, tag);
  return recorder::heap_block(bytes, tag);
}

std::int32_t* imalloc(std::int64_t count, const char* tag) {
  const std::uint64_t bytes = 4 * static_cast<std::uint64_t>(count);
  recorder::note_allocation("imalloc " + std::to_string(count), bytes, tag);
  return static_cast<std::int32_t*>(recorder::heap_block(bytes, tag));
}

void* urealloc(void* block, std::uint64_t bytes, const char* tag) {
  recorder::note_allocation("urealloc " + std::to_string(bytes), bytes, tag);
  if (block == nullptr) return recorder::heap_block(bytes, tag);
  const auto old = recorder::find_block(-1, block);
  if (old == record.held.end()) throw recorder::Misuse("urealloc of a block that is not held");
  if (!recorder::is_fence_whole(*old)) record.overrun = old->tag;
  void* const moved = std::realloc(block, bytes + recorder::kFence);
  if (moved == nullptr) throw recorder::FatalError(std::string("out of memory: ") + tag);
  recorder::raise_fence(moved, bytes);
  *old = {-1, moved, bytes, tag};
  return moved;
}

void _usfree(void* block) {
  if (block == nullptr) return;
  const auto known = recorder::find_block(-1, block);
  if (known == record.held.end()) throw recorder::Misuse("_usfree of a block that is not held");
  recorder::note("free " + known->tag);
  recorder::give_back(*known);
  record.held.erase(known);
}

void* poolalloc(int pool, std::uint64_t bytes, const char* tag) {
  recorder::note_allocation("poolalloc " + std::to_string(pool) + " " + std::to_string(bytes), bytes, tag);
  recorder::PoolRegion& region = recorder::pools.at(static_cast<std::size_t>(pool));
  std::size_t& top = record.pool_tops.at(static_cast<std::size_t>(pool));
  const std::size_t span = (bytes + 64) / 64 * 64;
  if (span > region.size() - top) throw recorder::FatalError(std::string("pool is full: ") + tag);
  char* const block = region.data() + top;
  std::fill_n(block, bytes, static_cast<char>(0xa5));
  top += span;
  record.held.push_back({pool, block, bytes, tag});
  return block;
}

int poolfree_upto(int pool, void* block, const char* tag) {
  const auto known = recorder::find_block(pool, block);
  if (known == record.held.end())
    throw recorder::Misuse(std::string("poolfree_upto of a block that is not held: ") + tag);
  recorder::note("poolfree " + std::to_string(pool) + " " + tag + " <- " + known->tag);
  const auto index = static_cast<std::size_t>(pool);
  record.pool_tops.at(index) =
      static_cast<std::size_t>(static_cast<char*>(block) - recorder::pools.at(index).data());
  const auto kept =
      std::remove_if(known, record.held.end(), [pool](const recorder::Block& b) { return b.pool == pool; });
  const auto nreleased = static_cast<int>(record.held.end() - kept);
  record.held.erase(kept, record.held.end());
  return nreleased;
}

void errexit(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = recorder::formatted(format, arguments);
  va_end(arguments);
  throw recorder::FatalError(text);
}

void uwarning(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  record.warnings.push_back(recorder::formatted(format, arguments));
  va_end(arguments);
}

int uprintf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = recorder::formatted(format, arguments);
  va_end(arguments);
  record.printed += text;
  return static_cast<int>(text.size());
}

std::FILE* ufopen(const char* name, const char* mode, const char* tag) {
  recorder::note(std::string("ufopen ") + name + " " + mode + " " + tag);
  std::FILE* const stream = std::fopen(name, mode);
  if (stream == nullptr) throw recorder::FatalError(std::string("ufopen: ") + name + ": " + tag);
  record.files[stream] = name;
  return stream;
}

void ufclose(std::FILE* stream) {
  const auto known = record.files.find(stream);
  if (known == record.files.end()) throw recorder::Misuse("ufclose of a stream that is not open");
  recorder::note("ufclose " + known->second);
  record.files.erase(known);
  std::fclose(stream);
}

void read_array(const char* filename, std::int32_t* array, int count, int first) {
  recorder::note(std::string("read_array ") + filename + " " + std::to_string(count) + " " +
                 std::to_string(first));
  std::ifstream file(filename);
  for (int i = 0; i < count; ++i)
    if (!(file >> array[first + i])) throw recorder::FatalError("read_array");
}

void uqsorti(std::uint64_t count, std::int32_t* values) {
  recorder::note("uqsorti " + std::to_string(count));
  std::sort(values, values + count);
}

void PermuteInPlace(std::int32_t* values, int count) {
  recorder::note("PermuteInPlace " + std::to_string(count));
  if (record.permutations.empty()) return;
  const std::vector<int> permutation = record.permutations.front();
  record.permutations.pop_front();
  if (permutation.size() != static_cast<std::size_t>(count)) throw recorder::Misuse("script does not fit");
  const std::vector<int> old(values, values + count);
  for (std::size_t i = 0; i < permutation.size(); ++i)
    values[i] = old.at(static_cast<std::size_t>(permutation[i]));
}

int uRandom(int m) {
  recorder::note("uRandom " + std::to_string(m));
  if (record.draws.empty()) return m - 1;
  const int draw = record.draws.front();
  record.draws.pop_front();
  if (draw < 0 || draw >= m) throw recorder::Misuse("script does not fit");
  return draw;
}

void uSeed(std::uint64_t /*seed*/) {}

}  // namespace quillon
