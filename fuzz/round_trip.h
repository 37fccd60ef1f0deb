#pragma once
// A text of a format to a record, to a file, and back.

#include <string>

#include "formats/formats.h"

namespace quillon::fuzz {

/// Reads a text. If the reader accepts it, writes the record in the same format, or as kub where that cannot
/// be written, and reads it again.
///
/// A find is: a reader that promises less than `NetLists` says, an exception other than a BadFile that names
/// a place in the text, and a record that does not come back.
void try_round_trip(const formats::Format& format, const std::string& text,
                    const formats::ReadOptions& options);

}  // namespace quillon::fuzz
