#pragma once
/// @file
/// Findings on single bytes of a text. Internal to `formats/`.

#include <string>

#include "formats/byte_audit.h"
#include "formats/finding_store.h"

namespace quillon::formats {

/// What a text is, for `add_byte_findings`.
struct TextTraits {
  std::string file;                 ///< As messages name it.
  bool has_mark = false;            ///< It begins with a byte order mark, which is no part of it.
  bool may_lose_last_line = false;  ///< Readers of the library ignore a last line without a newline.
  bool needs_no_newline = false;    ///< At the end of the last line.
};

/// Adds findings on a byte order mark, bytes of value 0, line ends and a missing last one.
///
/// @param bytes  Has looked at the whole text, unless the file is damaged.
/// @param store  Has all errors of the text.
void add_byte_findings(const ByteAudit& bytes, const TextTraits& text, FindingStore& store);

}  // namespace quillon::formats
