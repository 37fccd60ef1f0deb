#include "formats/writers.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <utility>

#include "util/util.h"

namespace quillon::tool {
namespace {

std::uintmax_t digits(int value) {
  char text[std::numeric_limits<int>::digits10 + 3];
  return static_cast<std::uintmax_t>(std::to_chars(text, text + sizeof text, value).ptr - text);
}

// How long a whole kub file is.
std::uintmax_t kub_bytes(const Hypergraph* h) {
  std::uintmax_t bytes = digits(h->_c) + 1 + digits(h->_n);
  for (int j = 1; j <= h->_n; ++j) {
    const Net& net = h->_nlst[j];
    bytes += 1 + digits(net.w) + 1 + digits(size_of(net));
    for (const int* pin = net.pins; pin <= net.pinsend; ++pin) bytes += 1 + digits(*pin - 1);
  }
  for (int i = 1; i <= h->_c; ++i) bytes += 1 + digits(h->_clst[i].w);
  return bytes;
}

std::string name_or_number(const std::vector<std::string>& names, int number) {
  return names.empty() ? std::to_string(number) : names[static_cast<std::size_t>(number)];
}

// "weight" only where it is not 1, which is what readers take when there is none.
void write_item(std::FILE* file, const char* separator, const char* key, const std::string& name, int w) {
  std::fprintf(file, "%s\n{\"%s\":%s", separator, key, name.c_str());
  if (w != 1) std::fprintf(file, ",\"weight\":%d", w);
  std::fputc('}', file);
}

}  // namespace

void export_kub(const Hypergraph* h, const char* filename) {
  write_kub_hypergraph(h, filename);
  std::error_code error;
  const bool is_file = std::filesystem::is_regular_file(filename, error);
  if (is_file && std::filesystem::file_size(filename, error) != kub_bytes(h))
    errexit("the kub file is not whole, data was lost: is the disk full?");
}

void export_matrix_market(const Hypergraph* h, Model model, const char* filename) {
  std::vector<int> last_net(static_cast<std::size_t>(h->_c) + 1, 0);
  const auto is_repeated = [&last_net](int i, int j) {
    return std::exchange(last_net[static_cast<std::size_t>(i)], j) == j;
  };
  int nentries = 0;
  for (int j = 1; j <= h->_n; ++j)
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      if (!is_repeated(*pin, j)) ++nentries;
  std::fill(last_net.begin(), last_net.end(), 0);

  const bool by_row = model == Model::kRowNet;
  std::FILE* const file = ufopen(filename, "w", "quillon convert: matrix");
  std::fprintf(file, "%%%%MatrixMarket matrix coordinate pattern general\n");
  std::fprintf(file, "%d %d %d\n", by_row ? h->_n : h->_c, by_row ? h->_c : h->_n, nentries);
  for (int j = 1; j <= h->_n; ++j)
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin)
      if (!is_repeated(*pin, j)) std::fprintf(file, "%d %d\n", by_row ? j : *pin, by_row ? *pin : j);
  ufclose(file);
}

void export_hif(const Hypergraph* h, const Labels& labels, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon convert: HIF");
  std::fprintf(file, "{\"network-type\":\"undirected\",\n\"nodes\":[");
  for (int i = 1; i <= h->_c; ++i)
    write_item(file, i > 1 ? "," : "", "node", name_or_number(labels.cells, i), h->_clst[i].w);
  std::fprintf(file, "],\n\"edges\":[");
  for (int j = 1; j <= h->_n; ++j)
    write_item(file, j > 1 ? "," : "", "edge", name_or_number(labels.nets, j), h->_nlst[j].w);
  std::fprintf(file, "],\n\"incidences\":[");
  const char* separator = "";
  for (int j = 1; j <= h->_n; ++j) {
    const std::string net = name_or_number(labels.nets, j);
    for (const int* pin = h->_nlst[j].pins; pin <= h->_nlst[j].pinsend; ++pin) {
      std::fprintf(file, "%s\n{\"edge\":%s,\"node\":%s}", separator, net.c_str(),
                   name_or_number(labels.cells, *pin).c_str());
      separator = ",";
    }
  }
  std::fprintf(file, "]}\n");
  ufclose(file);
}

void write_labels(const Labels& labels, const char* filename) {
  std::FILE* const file = ufopen(filename, "w", "quillon convert: labels");
  for (std::size_t i = 1; i < labels.cells.size(); ++i)
    std::fprintf(file, "cell %zu %s\n", i, labels.cells[i].c_str());
  for (std::size_t j = 1; j < labels.nets.size(); ++j)
    std::fprintf(file, "net %zu %s\n", j, labels.nets[j].c_str());
  ufclose(file);
}

}  // namespace quillon::tool
