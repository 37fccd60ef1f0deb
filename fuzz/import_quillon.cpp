#include "fuzz/driver.h"
#include "fuzz/importer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  const auto write = [](const Hypergraph* h, const tool::Labels& /*labels*/, const char* filename) {
    write_hypergraph(h, filename, 0, 3);
  };
  fuzz::try_importer({tool::import_quillon, write, tool::import_quillon}, data, size);
  return 0;
}
