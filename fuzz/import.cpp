// The reader of one format on any text: an accepted text becomes a record, the record a file, and the file
// the same record. Built once per format; QUILLON_FUZZ_FORMAT is its name.

#include "fuzz/driver.h"
#include "fuzz/round_trip.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace quillon;
  static const formats::Format& format = *formats::format_named(QUILLON_FUZZ_FORMAT);
  const std::string text(reinterpret_cast<const char*>(data), size);
  if ((format.options & formats::kPairsOption) != 0)
    for (const formats::Pairs order : {formats::Pairs::kNetCell, formats::Pairs::kCellNet})
      fuzz::try_round_trip(format, text, {.pairs = order});
  if (format.models.empty()) fuzz::try_round_trip(format, text, {});
  const bool has_diagonal = (format.options & formats::kDiagonalOption) != 0;
  for (const formats::Model model : format.models) {
    fuzz::try_round_trip(format, text, {.model = model});
    if (has_diagonal) fuzz::try_round_trip(format, text, {.model = model, .add_diagonal = true});
  }
  return 0;
}
