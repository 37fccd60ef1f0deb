#pragma once
// The file formats by name and by suffix.

#include <optional>
#include <string>

#include "formats/load.h"
#include "formats/net_lists.h"
#include "formats/readers.h"

namespace quillon::tool {

enum class Format { kQuillon, kHmetis, kKub, kMatrixMarket, kMetis, kHif };

/// The format that a file name's suffix stands for, before which .gz does not count.
std::optional<Format> format_of_name(const std::string& name);

/// What an importer has to know beside the file.
struct ImportOptions {
  Model model = Model::kRowNet;
  bool add_diagonal = false;
};

/// Reads a file of the format given, or of that which its name stands for, or else our own. Nets of one pin
/// or none are kept.
void load_any(Loaded& loaded, const std::string& name, std::optional<Format> format);

/// Reads a file of any format.
Arrays import_file(const std::string& name, Format format, const ImportOptions& options);

}  // namespace quillon::tool
