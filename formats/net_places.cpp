#include "formats/net_places.h"

#include <memory>
#include <utility>

#include "formats/hmetis.h"
#include "formats/kub.h"
#include "formats/quillon.h"
#include "formats/scanner.h"
#include "formats/source.h"

namespace quillon::formats {
namespace {

constexpr int kNoLines = -1;

// Lines before that of the first net, without comments.
int lines_before_nets(const Format& format) {
  if (format.read == read_quillon || format.read == read_hmetis) return 1;
  return format.read == read_kub ? 2 : kNoLines;
}

}  // namespace

std::vector<std::size_t> lines_of_nets(const std::string& filename, const Format& format,
                                       const std::vector<int>& nets) {
  std::vector<std::size_t> lines(nets.size(), 0);
  const int nbefore = lines_before_nets(format);
  if (nbefore == kNoLines || nets.empty() || filename == "-") return lines;
  auto source = std::make_unique<Source>(filename);
  if (!source->is_regular()) return lines;
  Scanner in(std::move(source));
  std::size_t line = 0;
  int nread = 0;  // lines that are no comments
  for (std::size_t k = 0; k < nets.size() && !at_end(in);) {
    ++line;
    if (in.text[in.at] != '%' && ++nread == nbefore + nets[k]) lines[k++] = line;
    skip_line(in);
  }
  return lines;
}

}  // namespace quillon::formats
