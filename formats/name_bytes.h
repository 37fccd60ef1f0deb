#pragma once
/// @file
/// A bound on the names that writers repeat at every pin. Internal to `formats/`.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hypergraph/detail/lists.h"
#include "util/util.h"

namespace quillon::formats {

/// Fatal if the names at all pins have more than 1 GiB and 1 KiB for each pin. Names come from a file of
/// their own that may be small: a name of a megabyte at each pin must not become terabytes.
///
/// @param cells  Names written at every pin of a cell, by number; or empty.
/// @param nets   Names written at every pin of a net, by number; or empty.
inline void check_name_bytes(const Hypergraph& h, const std::vector<std::string>& cells,
                             const std::vector<std::string>& nets) {
  constexpr std::uint64_t kAlways = std::uint64_t{1} << 30;
  constexpr std::uint64_t kPerPin = std::uint64_t{1} << 10;
  const auto size_of = [](const std::vector<std::string>& names, int number) {
    return names.empty() ? 0 : std::uint64_t{names[static_cast<std::size_t>(number)].size()};
  };
  if (cells.empty() && nets.empty()) return;
  std::uint64_t nbytes = 0;
  for (int j = 1; j <= h._n; ++j) {
    const std::span<const int> pins = pins_of(h._nlst[j]);
    nbytes += pins.size() * size_of(nets, j);
    for (const int i : pins) nbytes += size_of(cells, i);
  }
  if (nbytes > kAlways + kPerPin * static_cast<std::uint64_t>(h._p))
    errexit("the names of the incidences would have %llu bytes, more than 1 GiB and 1 KiB for each",
            static_cast<unsigned long long>(nbytes));
}

}  // namespace quillon::formats
