#pragma once
// Pages of a hypergraph as output files.

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "formats/lint.h"
#include "formats/sink.h"
#include "formats/source.h"
#include "tools/commands/common_options.h"
#include "tools/report/html_report.h"
#include "util/util.h"

namespace quillon::tool {

/// A file name without its folder, for the heading.
inline std::string heading_of(const std::string& file) {
  return file == "-" ? formats::shown_name(file) : std::filesystem::path(file).filename().string();
}

/// What lint finds in an input, for its page. None for what can be read only once.
inline std::optional<formats::LintResult> lint_for_page(const std::string& file, const InputOptions& input) {
  if (file == "-" || !formats::Source(file).is_regular()) return std::nullopt;
  return formats::lint(file, {input.from, read_options(input), /*most_kept=*/1});
}

/// Adds a page to the output files of a command.
inline void write_page(formats::Outputs& outputs, const std::string& target, const PageModel& model) {
  outputs.write(target, [page = html_page(model)](const char* filename) {
    std::FILE* const file = ufopen(filename, "w", "quillon report: page");
    std::fwrite(page.data(), 1, page.size(), file);
    ufclose(file);
  });
}

}  // namespace quillon::tool
