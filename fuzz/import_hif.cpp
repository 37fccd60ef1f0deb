#include "fuzz/driver.h"
#include "fuzz/importer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  fuzz::try_importer({tool::import_hif, tool::export_hif, tool::import_hif}, data, size);
  return 0;
}
