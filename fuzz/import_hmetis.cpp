#include "fuzz/driver.h"
#include "fuzz/importer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const auto write = [](const Hypergraph* h, const tool::Labels& /*labels*/, const char* filename) {
    write_hmetis_hypergraph(h, filename);
  };
  fuzz::try_importer({tool::import_hmetis, write, tool::import_hmetis}, data, size);
  return 0;
}
