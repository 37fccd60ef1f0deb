#include "fuzz/driver.h"
#include "fuzz/importer.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  fuzz::try_importer({tool::import_kub, fuzz::write_kub, tool::import_kub}, data, size);
  return 0;
}
