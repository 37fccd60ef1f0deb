#include "formats/formats.h"

#include <memory>

#include "tools/cli/progress.h"

namespace quillon::tool {

std::optional<Format> format_of_name(const std::string& name) {
  static const std::vector<std::pair<std::string, Format>> suffixes{
      {".qhg", Format::kQuillon}, {".hgr", Format::kHmetis}, {".hmetis", Format::kHmetis},
      {".hg", Format::kHmetis},   {".kub", Format::kKub},    {".mtx", Format::kMatrixMarket},
      {".graph", Format::kMetis}, {".json", Format::kHif}};
  std::string_view plain = name;
  if (plain.ends_with(".gz")) plain.remove_suffix(3);
  for (const auto& [suffix, format] : suffixes)
    if (plain.ends_with(suffix)) return format;
  return std::nullopt;
}

namespace {

// The parser of JSON has no count of bytes that a watcher may look at.
std::unique_ptr<Progress> watch(const Tokenizer& in, Format format) {
  if (format == Format::kHif) return nullptr;
  return watch_count("parsing " + in.name, in.text.size(),
                     [&in] { return in.seen.load(std::memory_order_relaxed); });
}

}  // namespace

Arrays import_file(const std::string& name, Format format, const ImportOptions& options) {
  Tokenizer in = open_tokenizer(name);
  const std::unique_ptr<Progress> progress = watch(in, format);
  Arrays arrays;
  switch (format) {
    case Format::kQuillon:
      import_quillon(in, arrays);
      break;
    case Format::kHmetis:
      import_hmetis(in, arrays);
      break;
    case Format::kKub:
      import_kub(in, arrays);
      break;
    case Format::kMatrixMarket:
      import_matrix_market(in, arrays, options.model, options.add_diagonal);
      break;
    case Format::kMetis:
      import_metis(in, arrays);
      break;
    case Format::kHif:
      import_hif(in, arrays);
      break;
  }
  return arrays;
}

void load_any(Loaded& loaded, const std::string& name, std::optional<Format> format) {
  const Format known = format.value_or(format_of_name(name).value_or(Format::kQuillon));
  if (known == Format::kQuillon)
    load(loaded, name, SmallNets::kKeep, false);
  else
    to_record(import_file(name, known, {}), loaded);
}

}  // namespace quillon::tool
