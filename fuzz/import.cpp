// The reader of one format on any text: an accepted text becomes a record, the record a file, and the file
// the same record. Built once per format; QUILLON_FUZZ_FORMAT is its name.

#include "fuzz/driver.h"
#include "fuzz/round_trip.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  static const formats::Format& format = *formats::format_named(QUILLON_FUZZ_FORMAT);
  const std::string text(reinterpret_cast<const char*>(data), size);
  if ((format.options & formats::kModelOption) == 0) {
    fuzz::try_round_trip(format, text, {});
    return 0;
  }
  using formats::Model;
  for (const Model model : {Model::kRowNet, Model::kColumnNet, Model::kFineGrain})
    for (const bool add_diagonal : {false, true}) fuzz::try_round_trip(format, text, {model, add_diagonal});
  return 0;
}
