#include <array>
#include <bit>
#include <utility>

#include "util/mix.h"
#include "util/util.h"

namespace quillon {
namespace {

using State = std::array<std::uint64_t, 4>;

constexpr State seeded(std::uint64_t seed) {
  State words{};
  for (std::uint64_t& word : words) {
    seed += kMixStep;
    word = mixed(seed);
  }
  return words;
}

constinit State state = seeded(0);

std::uint32_t next_upper_half() {
  const std::uint64_t result = std::rotl(state[1] * 5, 7) * 9;
  const std::uint64_t shifted = state[1] << 17;
  state[2] ^= state[0];
  state[3] ^= state[1];
  state[1] ^= state[2];
  state[0] ^= state[3];
  state[2] ^= shifted;
  state[3] = std::rotl(state[3], 45);
  return static_cast<std::uint32_t>(result >> 32);
}

}  // namespace

void uSeed(std::uint64_t seed) { state = seeded(seed); }

int uRandom(int m) {
  if (m < 1) errexit("uRandom: bound %d is below 1", m);
  const auto bound = static_cast<std::uint32_t>(m);

  // Rejecting products whose low half is below 2^32 mod m leaves floor(2^32 / m) of them for each result. The
  // remainder is below m, so it is computed only when the low half is too.
  std::uint64_t product = std::uint64_t{next_upper_half()} * bound;
  if (static_cast<std::uint32_t>(product) < bound) {
    const std::uint32_t surplus = (0 - bound) % bound;
    while (static_cast<std::uint32_t>(product) < surplus) product = std::uint64_t{next_upper_half()} * bound;
  }
  return static_cast<int>(product >> 32);
}

void PermuteInPlace(std::int32_t* values, int count) {
  for (int i = count; i > 1; --i) std::swap(values[i - 1], values[uRandom(i)]);
}

}  // namespace quillon
