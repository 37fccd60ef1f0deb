// Writes a hypergraph of a given number of pins, and its expected summary.
//
//   make_large CELLS PINS FILE      on standard output: the summary of the hypergraph in FILE

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int kLeastSize = 2;
constexpr int kMostSize = 38;

// The generator of Steele, Lea and Flood ("Fast splittable pseudorandom number generators", 2014).
std::uint64_t draw(std::uint64_t& state) {
  std::uint64_t z = state += 0x9e3779b97f4a7c15U;
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
  return z ^ (z >> 31);
}

std::uint64_t draw_below(std::uint64_t& state, std::uint64_t count) { return draw(state) % count; }

// Sizes of the nets, which add up to the pins.
std::vector<std::uint8_t> draw_sizes(std::uint64_t npins) {
  std::uint64_t state = 1;
  std::vector<std::uint8_t> sizes;
  while (npins > 0) {
    std::uint64_t size = kLeastSize + draw_below(state, kMostSize - kLeastSize + 1);
    if (npins < size + kLeastSize) size = npins;
    sizes.push_back(static_cast<std::uint8_t>(size));
    npins -= size;
  }
  return sizes;
}

// The cells of a net are a constant step apart, so that no cell is named twice.
void write_nets(const std::vector<std::uint8_t>& sizes, std::vector<int>& degrees, std::FILE* file) {
  const std::uint64_t ncells = degrees.size();
  std::uint64_t state = 2;
  char line[(kMostSize + kLeastSize) * 12];
  for (const std::uint8_t size : sizes) {
    std::uint64_t cell = draw_below(state, ncells);
    const std::uint64_t step = 1 + draw_below(state, ncells / (kMostSize + kLeastSize));
    char* at = line;
    for (int k = 0; k < size; ++k) {
      ++degrees[cell];
      at = std::to_chars(at, line + sizeof line, cell + 1).ptr;
      *at++ = ' ';
      cell = (cell + step) % ncells;
    }
    *at++ = '\n';
    std::fwrite(line, 1, static_cast<std::size_t>(at - line), file);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::uint64_t ncells = argc == 4 ? std::strtoull(argv[1], nullptr, 10) : 0;
  const std::uint64_t npins = argc == 4 ? std::strtoull(argv[2], nullptr, 10) : 0;
  std::FILE* const file =
      ncells < kMostSize + kLeastSize || npins < kLeastSize ? nullptr : std::fopen(argv[3], "w");
  if (file == nullptr) {
    std::fprintf(stderr, "usage: make_large CELLS PINS FILE\n");
    return EXIT_FAILURE;
  }

  const std::vector<std::uint8_t> sizes = draw_sizes(npins);
  std::vector<int> degrees(ncells, 0);
  const auto count = [](std::uint64_t value) { return static_cast<unsigned long long>(value); };
  std::fprintf(file, "1 %llu %llu %llu 0\n", count(ncells), count(sizes.size()), count(npins));
  write_nets(sizes, degrees, file);
  if (std::fclose(file) != 0) {
    std::perror(argv[3]);
    return EXIT_FAILURE;
  }

  const auto [least, largest] = std::minmax_element(degrees.begin(), degrees.end());
  std::printf("\nH(%llu, %llu, %llu) MWCD=%d MINCD=%d TOTCW=%llu\nTOTNW=%llu TOTINW=0 VN=0\n", count(ncells),
              count(sizes.size()), count(npins), *largest, *least, count(ncells), count(sizes.size()));
  return EXIT_SUCCESS;
}
