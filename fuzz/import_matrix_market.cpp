#include "fuzz/driver.h"
#include "fuzz/importer.h"

namespace quillon::fuzz {
namespace {

void import_as(tool::Model model, bool add_diagonal, const std::uint8_t* data, std::size_t size) {
  using tool::Model;
  const bool is_written = model != Model::kFineGrain;
  RoundTrip trip;
  trip.import = [=](tool::Tokenizer& in, tool::Arrays& arrays) {
    tool::import_matrix_market(in, arrays, model, add_diagonal);
  };
  trip.write = [=](const Hypergraph* h, const tool::Labels& labels, const char* filename) {
    if (is_written)
      tool::export_matrix_market(h, model, filename);
    else
      write_kub(h, labels, filename);
  };
  trip.import_back = [=](tool::Tokenizer& in, tool::Arrays& arrays) {
    if (is_written)
      tool::import_matrix_market(in, arrays, model, false);
    else
      tool::import_kub(in, arrays);
  };
  try_importer(trip, data, size);
}

}  // namespace
}  // namespace quillon::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using quillon::tool::Model;
  for (const Model model : {Model::kRowNet, Model::kColumnNet, Model::kFineGrain})
    for (const bool add_diagonal : {false, true}) quillon::fuzz::import_as(model, add_diagonal, data, size);
  return 0;
}
