#include "measures/partition.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <optional>

#include "formats/scanner.h"

namespace quillon::tool {

std::vector<int> read_parts(const std::string& file, int ncells, int nparts) {
  Tokenizer in = open_tokenizer(file);
  const bool is_bounded = nparts < std::numeric_limits<int>::max();
  const int last = nparts == 0 ? ncells - 1 : is_bounded ? nparts - 1 : nparts;
  const std::string range =
      is_bounded ? ", from 0 to " + std::to_string(last) + ", of cell " : ", from 0, of cell ";
  std::vector<int> parts{0};
  for (int i = 1; i <= ncells; ++i) {
    const Token token = next_token(in);
    const std::optional<int> part = number_in(token, {0, last, {}});
    if (!part) {
      const bool is_large = nparts == 0 && number_in(token, {0, std::numeric_limits<int>::max(), {}});
      unexpected(in, token, "the part number" + range + std::to_string(i),
                 is_large ? "if there are more parts than cells, say it with -k" : "");
    }
    parts.push_back(*part);
  }
  expect_end(in, "the parts of " + std::to_string(ncells) + " cells");
  return parts;
}

PartSizes part_sizes(const Hypergraph& h, const std::vector<int>& parts, int nparts) {
  const auto count = static_cast<std::size_t>(nparts);
  PartSizes sizes{std::vector<std::int64_t>(count, 0), std::vector<std::int64_t>(count, 0)};
  for (int i = 1; i <= h._c; ++i) {
    const auto part = static_cast<std::size_t>(parts[static_cast<std::size_t>(i)]);
    ++sizes.ncells[part];
    sizes.weights[part] += h._clst[i].w;
  }
  return sizes;
}

CutSizes cut_sizes(const Hypergraph& h, const std::vector<int>& parts, int nparts) {
  // last_net[p] is the last net seen with a pin in part p. Nets count from 1, so one clearing serves all.
  std::vector<int> last_net(static_cast<std::size_t>(nparts), 0);
  CutSizes sizes;
  for (int j = 1; j <= h._n; ++j) {
    const Net& net = h._nlst[j];
    int connectivity = 0;
    for (const int* pin = net.pins; pin <= net.pinsend; ++pin) {
      int& last = last_net[static_cast<std::size_t>(parts[static_cast<std::size_t>(*pin)])];
      if (last != j) ++connectivity;
      last = j;
    }
    if (connectivity < 2) continue;
    const std::int64_t w = net.w;
    ++sizes.ncut_nets;
    sizes.cut += w;
    sizes.connectivity_minus_one += w * (connectivity - 1);
    sizes.sum_of_external_degrees += w * connectivity;
  }
  return sizes;
}

double imbalance(const PartSizes& sizes) {
  const std::int64_t total = std::accumulate(sizes.weights.begin(), sizes.weights.end(), std::int64_t{0});
  if (total == 0) return 0;
  const auto heaviest = static_cast<double>(*std::max_element(sizes.weights.begin(), sizes.weights.end()));
  return heaviest * static_cast<double>(sizes.weights.size()) / static_cast<double>(total) - 1;
}

}  // namespace quillon::tool
