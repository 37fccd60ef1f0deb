#include "formats/threads.h"

#include <sched.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

namespace quillon::formats {
namespace {

constexpr int kMost = 1024;

int number_set = 0;

int of_environment() {
  const char* const text = std::getenv("QUILLON_THREADS");
  if (text == nullptr) return 0;
  int count = 0;
  const char* const end = text + std::strlen(text);
  const auto [stopped, error] = std::from_chars(text, end, count);
  return error == std::errc() && stopped == end && count >= 1 && count <= kMost ? count : 0;
}

int processors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  return sched_getaffinity(0, sizeof set, &set) == 0 ? std::max(1, CPU_COUNT(&set)) : 1;
}

}  // namespace

void set_threads(int count) { number_set = std::clamp(count, 0, kMost); }

int threads() {
  if (number_set > 0) return number_set;
  const int wanted = of_environment();
  return wanted > 0 ? wanted : processors();
}

}  // namespace quillon::formats
