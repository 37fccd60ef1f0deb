#pragma once
// From a text to a record, to a file, and back.

#include <string>

#include "formats/formats.h"

namespace quillon::fuzz {

/// Reads a text. If the reader accepts it, writes the record in the same format, or as kub if the format
/// or its pairs are only read, and reads it again.
///
/// Finds are: net lists that break the guarantees of `NetLists`, an exception other than a BadFile with a
/// place in the text, and a record that differs after the second read.
void try_round_trip(const formats::Format& format, const std::string& text,
                    const formats::ReadOptions& options);

}  // namespace quillon::fuzz
